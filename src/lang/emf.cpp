// Extended macro functions: the first word picks the function from an ordered table; each function
// reads the rest of the text and gives back a text.
#include "lang/emf.h"

#include <dirent.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/regex.h"
#include "data/varlist.h"
#include "lang/exprhook.h"
#include "lang/macro.h"
#include "lang/prog.h"
#include "matrix/constraint.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/display.h"
#include "output/log.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/options.h"
#include "session/settings.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::maxcmdlen;

namespace {

// ---- words of a text: blanks separate; "..." and `"..."' are one word each ----

struct Word {
    std::string raw;  // as written, quotes included
    std::string bare; // one level of quotes removed
};

std::vector<Word> words_of(std::string_view t) {
    std::vector<Word> w;
    size_t i = 0, n = t.size();
    for (;;) {
        while (i < n && t[i] == ' ')
            ++i;
        if (i >= n) break;
        size_t start = i;
        Word x;
        session::Quoted q;
        if (session::quoted_at(t, i, q)) {
            x.bare = std::string(t.substr(q.begin, q.end - q.begin));
            i = q.next;
        } else {
            while (i < n && t[i] != ' ')
                ++i;
            x.bare = std::string(t.substr(start, i - start));
        }
        x.raw = std::string(t.substr(start, i - start));
        w.push_back(std::move(x));
    }
    return w;
}

std::string trim(std::string_view s) {
    size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    return std::string(s.substr(b, s.find_last_not_of(' ') - b + 1));
}

// The first blank-separated word of s and the rest after it.
std::string first_word(std::string_view s, std::string_view *rest) {
    size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) {
        *rest = "";
        return "";
    }
    size_t e = s.find(' ', b);
    if (e == std::string_view::npos) e = s.size();
    *rest = s.substr(e);
    return std::string(s.substr(b, e - b));
}

bool to_long(const std::string &w, long long *v) {
    if (w.empty()) return false;
    char *end;
    *v = std::strtoll(w.c_str(), &end, 10);
    return *end == '\0';
}

// A word must be absent: 198 otherwise.
int nothing_more(std::string_view rest) { return trim(rest).empty() ? 0 : session::error(198); }

// "local name" or "global name": the macro's stored name.
int macro_ref(std::string_view &rest, std::string *stored) {
    std::string kind = first_word(rest, &rest);
    std::string name = first_word(rest, &rest);
    if (name.empty()) return session::error(198);
    bool local = session::cmdmatch(kind.c_str(), "local", 3);
    if (!local && !session::cmdmatch(kind.c_str(), "global", 3)) return session::error(198);
    std::string sn = local ? session::local_name(name) : name;
    if (!session::name_ok(sn)) return session::invalid_name(name);
    *stored = sn;
    return 0;
}

std::string macro_text(const std::string &stored) {
    const char *t = session::macro_get(stored.c_str());
    return t ? t : "";
}

// The options after a comma in rest: the words before it go to *before.
std::string split_options(std::string_view rest, std::string *before) {
    size_t comma = session::options_comma(rest);
    if (comma == std::string_view::npos) {
        *before = std::string(rest);
        return "";
    }
    *before = std::string(rest.substr(0, comma));
    return std::string(rest.substr(comma + 1));
}

// ---- the functions ----

// environment name
int f_environment(std::string_view rest, std::string &v) {
    std::string name = first_word(rest, &rest);
    if (int rc = nothing_more(rest)) return rc;
    const char *e = name.empty() ? nullptr : std::getenv(name.c_str());
    v = e ? std::string(e).substr(0, maxcmdlen - 1) : "";
    return 0;
}

// word count text ; word # of text
int f_word(std::string_view rest, std::string &v) {
    std::string a = first_word(rest, &rest);
    if (a == "count") {
        v = std::to_string(words_of(rest).size());
        return 0;
    }
    long long k;
    if (!to_long(a, &k)) return session::error(198);
    std::string of = first_word(rest, &rest);
    if (of != "of" || k <= 0) return session::error(198);
    std::vector<Word> w = words_of(rest);
    v = (size_t)k <= w.size() ? w[(size_t)k - 1].bare : "";
    return 0;
}

// The pattern the regular-expression functions compiled last, and the result of the last regexmatch
// for regexsubexp: a match, with its sub-expressions, or none.
data::Regex emf_rx;
struct RegexState {
    bool matched = false;
    std::vector<std::string> subs;
};
RegexState last_regex;

int compile_pattern(const std::string &re) {
    if (data::regex_compile(emf_rx, re, true) == 0) return 0;
    return session::fail(198, "regular expression " + re + " invalid\n");
}

// regexmatch "text" "re"
int f_regexmatch(std::string_view rest, std::string &v) {
    std::vector<Word> w = words_of(rest);
    if (w.size() != 2) return session::error(198);
    if (int rc = compile_pattern(w[1].bare)) return rc;
    last_regex = RegexState();
    if (data::regex_match(emf_rx, w[0].bare)) {
        last_regex.matched = true;
        std::string t;
        for (long long k = 0; data::regex_sub(emf_rx, k, t) != data::RX_OUT_OF_RANGE; ++k)
            last_regex.subs.push_back(t);
    }
    v = last_regex.matched ? "1" : "0";
    return 0;
}

// regexreplace "text" "re" "replacement": the first match replaced; \0 to \9 stand for its parts
int f_regexreplace(std::string_view rest, std::string &v) {
    std::vector<Word> w = words_of(rest);
    if (w.size() != 3) return session::error(198);
    if (int rc = compile_pattern(w[1].bare)) return rc;
    v = data::regex_replace(emf_rx, w[0].bare, w[2].bare, true);
    return 0;
}

// regexsubexp #
int f_regexsubexp(std::string_view rest, std::string &v) {
    std::string a = first_word(rest, &rest);
    long long k;
    if (!to_long(a, &k) || !trim(rest).empty()) return session::error(198);
    if (!last_regex.matched) {
        session::fail(
            0, "a regular expression match function must be executed prior to retrieving a subexpression\n");
        return session::required("regex");
    }
    if (k < 0 || (size_t)k >= last_regex.subs.size()) {
        return session::fail(125, "subexpression " + std::to_string(k) + " out of range\n");
    }
    v = last_regex.subs[(size_t)k];
    return 0;
}

// ---- list ----

std::string list_join(const std::vector<std::string> &w) {
    std::string s;
    for (size_t i = 0; i < w.size(); ++i) {
        if (i) s.push_back(' ');
        s += w[i];
    }
    return s;
}

std::vector<std::string> list_words(const std::string &name) {
    std::vector<std::string> out;
    const char *t = session::macro_get(session::local_name(name).c_str());
    for (Word &w : words_of(t ? t : ""))
        out.push_back(w.raw);
    return out;
}

// A word needs its quotes when it holds a blank or a quote, or is empty.
std::string cleaned(const Word &w) {
    if (w.bare.empty() || w.bare.find_first_of(" \"") != std::string::npos) {
        if (w.bare.find('"') != std::string::npos) return "`\"" + w.bare + "\"'";
        return "\"" + w.bare + "\"";
    }
    return w.bare;
}

bool contains(const std::vector<std::string> &v, const std::string &x) {
    return std::find(v.begin(), v.end(), x) != v.end();
}

// list {uniq|dups|sort|sizeof|retokenize|clean} A ; list posof "word" in A ;
// list A {==|===|in|||&|-} B
int f_list(std::string_view rest, std::string &v) {
    std::vector<Word> w = words_of(rest);
    if (w.empty()) return session::error(198);
    const std::string &op = w[0].raw;
    std::vector<std::string> r;
    if (op == "posof") {
        if (w.size() != 4 || w[2].raw != "in") return session::error(198);
        std::vector<std::string> a = list_words(w[3].raw);
        size_t k = 0;
        for (size_t i = 0; i < a.size(); ++i) {
            for (Word &x : words_of(a[i]))
                if (x.bare == w[1].bare) k = i + 1;
            if (k) break;
        }
        v = std::to_string(k);
        return 0;
    }
    if (w.size() == 2) {
        std::vector<std::string> a = list_words(w[1].raw);
        if (op == "uniq") {
            for (const std::string &x : a)
                if (!contains(r, x)) r.push_back(x);
        } else if (op == "dups") {
            std::vector<std::string> seen;
            for (const std::string &x : a) {
                if (contains(seen, x))
                    r.push_back(x);
                else
                    seen.push_back(x);
            }
        } else if (op == "sort") {
            r = a;
            std::sort(r.begin(), r.end());
        } else if (op == "sizeof") {
            v = std::to_string(a.size());
            return 0;
        } else if (op.size() >= 5 && std::string("retokenize").compare(0, op.size(), op) == 0) {
            r = a;
        } else if (op == "clean") {
            const char *t = session::macro_get(session::local_name(w[1].raw).c_str());
            for (Word &x : words_of(t ? t : ""))
                r.push_back(cleaned(x));
        } else {
            return session::error(198);
        }
    } else if (w.size() == 3) {
        std::vector<std::string> a = list_words(w[0].raw), b = list_words(w[2].raw);
        const std::string &bop = w[1].raw;
        if (bop == "==") {
            v = a == b ? "1" : "0";
            return 0;
        }
        if (bop == "===") {
            std::vector<std::string> sa = a, sb = b;
            std::sort(sa.begin(), sa.end());
            sa.erase(std::unique(sa.begin(), sa.end()), sa.end());
            std::sort(sb.begin(), sb.end());
            sb.erase(std::unique(sb.begin(), sb.end()), sb.end());
            v = sa == sb ? "1" : "0";
            return 0;
        }
        if (bop == "in") {
            bool all = true;
            for (const std::string &x : a)
                all = all && contains(b, x);
            v = all ? "1" : "0";
            return 0;
        }
        if (bop == "|") {
            r = a;
            for (const std::string &x : b)
                if (!contains(r, x)) r.push_back(x);
        } else if (bop == "&") {
            for (const std::string &x : a)
                if (contains(b, x) && !contains(r, x)) r.push_back(x);
        } else if (bop == "-") {
            for (const std::string &x : a)
                if (!contains(b, x)) r.push_back(x);
        } else {
            return session::error(198);
        }
    } else {
        return session::error(198);
    }
    v = list_join(r);
    if (v.size() > (size_t)maxcmdlen - 1) {
        v.clear();
        return session::fail(1000, "extended macro function list:  resulting macro too long\n");
    }
    return 0;
}

// subinstr {local|global} name "from" "to" [, all count({local|global} name) word]
int f_subinstr(std::string_view rest, std::string &v) {
    std::string before;
    std::string opttext = split_options(rest, &before);
    std::string_view b = before;
    std::string src;
    if (int rc = macro_ref(b, &src)) return rc;
    std::vector<Word> w = words_of(b);
    if (w.size() != 2) return session::error(198);
    bool all = false, whole = false;
    std::string count_to, count;
    long long limit = -1;
    const session::OptSpec specs[] = {session::opt_flag("all", 3, all), session::opt_flag("word", 4, whole),
                                      session::opt_text("count", 5, count)};
    if (int rc = session::options_of(opttext, specs)) return rc;
    long long n;
    if (!count.empty() && to_long(count, &n)) {
        limit = n;
    } else if (!count.empty()) {
        std::string_view a = count;
        if (int rc = macro_ref(a, &count_to)) return rc;
        if (!trim(a).empty()) return session::option_invalid("count");
    }
    std::string text = macro_text(src);
    const std::string &from = w[0].bare, &to = w[1].bare;
    if (limit == 0) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text(
            "Setting count to zero prevents all substitutions.  Original string will be returned.\n");
        v = text;
        return 0;
    }
    long long max = limit > 0 ? limit : all ? -1 : 1;
    std::string out;
    long long done = 0;
    size_t i = 0;
    while (i < text.size()) {
        bool hit = !from.empty() && text.compare(i, from.size(), from) == 0 && (max < 0 || done < max);
        if (hit && whole) {
            bool left = i == 0 || text[i - 1] == ' ';
            size_t e = i + from.size();
            bool right = e >= text.size() || text[e] == ' ';
            hit = left && right;
        }
        if (hit) {
            out += to;
            i += from.size();
            ++done;
        } else {
            out.push_back(text[i++]);
        }
    }
    v = out.substr(0, maxcmdlen - 1);
    if (!count_to.empty()) session::macro_set(count_to.c_str(), std::to_string(done));
    return 0;
}

// sysdir NAME
int f_sysdir(std::string_view rest, std::string &v) {
    std::string n = first_word(rest, &rest);
    if (n.empty() || !trim(rest).empty()) return session::error(198);
    std::string up = n;
    for (char &c : up)
        c = (char)std::toupper((unsigned char)c);
    if (up == "ORVAT") {
        v = session::st.sysdir_orvat;
        return 0;
    }
    for (const char *s : {"UPDATES", "BASE", "SITE", "PLUS", "PERSONAL", "OLDPLACE"})
        if (up == s) {
            v = session::adopath_dir(s);
            return 0;
        }
    return session::fail(198, n + " is not a system directory\n");
}

// piece # # of "text" [, nobreak]: the #-th piece of at most # characters, broken at blanks
int f_piece(std::string_view rest, std::string &v) {
    std::string before;
    std::string opttext = split_options(rest, &before);
    std::string_view b = before;
    long long k = 0, len = 0;
    if (!to_long(first_word(b, &b), &k) || !to_long(first_word(b, &b), &len) || first_word(b, &b) != "of" ||
        k < 1 || len < 1)
        return session::error(198);
    std::vector<Word> w = words_of(b);
    if (w.size() != 1) return session::error(198);
    bool nobreak = false;
    const session::OptSpec specs[] = {session::opt_flag("nobreak", 7, nobreak)};
    if (int rc = session::options_of(opttext, specs)) return rc;
    const std::string &t = w[0].bare;
    std::vector<std::string> pieces;
    size_t i = 0;
    while (i < t.size()) {
        while (i < t.size() && t[i] == ' ')
            ++i;
        if (i >= t.size()) break;
        size_t end = std::min(t.size(), i + (size_t)len);
        if (end < t.size() && !nobreak) {
            size_t cut = t.rfind(' ', end);
            if (cut != std::string::npos && cut > i) end = cut;
        }
        std::string p = t.substr(i, end - i);
        while (!p.empty() && p.back() == ' ')
            p.pop_back();
        pieces.push_back(p);
        i = end;
    }
    v = (size_t)k <= pieces.size() ? pieces[(size_t)k - 1] : "";
    return 0;
}

// dir "dir" {files|dirs|other} "pattern" [, nofail respectcase]
int f_dir(std::string_view rest, std::string &v) {
    std::string before;
    std::string opttext = split_options(rest, &before);
    std::vector<Word> w = words_of(before);
    if (w.size() != 3) return session::error(198);
    bool nofail = false, respect = false;
    const session::OptSpec specs[] = {session::opt_flag("nofail", 6, nofail),
                                      session::opt_flag("respectcase", 11, respect)};
    if (int rc = session::options_of(opttext, specs)) return rc;
    int kind;
    const std::string &k = w[1].bare;
    if (k.size() >= 4 && std::string("files").compare(0, k.size(), k) == 0)
        kind = 0;
    else if (k.size() >= 3 && std::string("dirs").compare(0, k.size(), k) == 0)
        kind = 1;
    else if (k == "other")
        kind = 2;
    else
        return session::error(198);
    std::string dir = w[0].bare.empty() ? "." : w[0].bare;
    DIR *d = opendir(dir.c_str());
    if (!d) {
        return session::fail(601, "directory " + w[0].bare + " not found\n");
    }
    std::vector<std::string> names;
    while (struct dirent *e = readdir(d)) {
        std::string n = e->d_name;
        if (n == "." || n == "..") continue;
        struct stat sb;
        if (::stat((dir + "/" + n).c_str(), &sb) != 0) continue;
        int nk = S_ISREG(sb.st_mode) ? 0 : S_ISDIR(sb.st_mode) ? 1 : 2;
        if (nk != kind) continue;
        if (fnmatch(w[2].bare.c_str(), n.c_str(), respect ? 0 : FNM_CASEFOLD) != 0) continue;
        names.push_back(n);
    }
    closedir(d);
    std::sort(names.begin(), names.end());
    v.clear();
    for (const std::string &n : names) {
        std::string item = (v.empty() ? "" : " ") + std::string("\"") + n + "\"";
        if (v.size() + item.size() > (size_t)maxcmdlen - 1) {
            if (nofail) break;
            v.clear();
            return session::fail(134, "too many filenames\n");
        }
        v += item;
    }
    return 0;
}

// adosubdir "file": the letter directory the file goes in
int f_adosubdir(std::string_view rest, std::string &v) {
    std::vector<Word> w = words_of(rest);
    if (w.size() != 1) return session::error(198);
    const std::string &f = w[0].bare;
    size_t dot = f.rfind('.');
    std::string suffix = dot == std::string::npos ? "" : f.substr(dot + 1);
    v = session::adosubdir(dot == std::string::npos ? f : f.substr(0, dot), suffix);
    return 0;
}

// _length text
int f__length(std::string_view rest, std::string &v) {
    std::string t = trim(rest);
    if (t.size() >= 2 && t[0] == '"' && t.back() == '"') t = t.substr(1, t.size() - 2);
    v = std::to_string(t.size());
    return 0;
}

// properties name
int f_properties(std::string_view rest, std::string &v) {
    std::string n = first_word(rest, &rest);
    if (n.empty() || !trim(rest).empty()) return session::error(198);
    ProgHeader *p = findprog(n.c_str());
    if (!p) return session::not_found("program " + n);
    v = p->properties;
    return 0;
}

int f_pwd(std::string_view rest, std::string &v) {
    if (int rc = nothing_more(rest)) return rc;
    char buf[4096];
    v = getcwd(buf, sizeof buf) ? buf : "";
    return 0;
}

int f_dirsep(std::string_view rest, std::string &v) {
    if (int rc = nothing_more(rest)) return rc;
    v = "/";
    return 0;
}

// tsnorm ops[.varname]: L and F net out as one lag or lead, D and S keep their counts.
int f_tsnorm(std::string_view rest, std::string &v) {
    std::string t = trim(rest);
    if (t.empty()) return session::error(198);
    std::string var;
    size_t dot = t.rfind('.');
    std::string ops = t;
    if (dot != std::string::npos) {
        ops = t.substr(0, dot);
        var = t.substr(dot + 1);
    }
    long long lag = 0, diff = 0;
    std::vector<long long> seas;
    size_t i = 0;
    std::string up;
    for (char c : ops)
        up.push_back((char)std::toupper((unsigned char)c));
    while (i < up.size()) {
        char c = up[i++];
        if (c == '.') continue;
        long long n = 0;
        bool digits = false;
        while (i < up.size() && std::isdigit((unsigned char)up[i])) {
            n = n * 10 + (up[i++] - '0');
            digits = true;
        }
        if (!digits) n = 1;
        if (c == 'L')
            lag += n;
        else if (c == 'F')
            lag -= n;
        else if (c == 'D')
            diff += n;
        else if (c == 'S')
            seas.push_back(n);
        else
            return session::error(198);
    }
    auto op = [](char c, long long n) {
        return n == 1 ? std::string(1, c) : std::string(1, c) + std::to_string(n);
    };
    v.clear();
    if (lag > 0)
        v += op('L', lag);
    else if (lag < 0)
        v += op('F', -lag);
    if (diff > 0) v += op('D', diff);
    std::sort(seas.begin(), seas.end());
    for (long long s : seas)
        v += op('S', s);
    if (!var.empty()) v += (v.empty() ? "" : ".") + var;
    return 0;
}

// length {local|global} name
int f_length(std::string_view rest, std::string &v) {
    std::string sn;
    if (int rc = macro_ref(rest, &sn)) return rc;
    if (int rc = nothing_more(rest)) return rc;
    int32_t len = 0;
    v = session::macro_get(sn.c_str(), &len) ? std::to_string(len) : "0";
    return 0;
}

// copy {local|global} name
int f_copy(std::string_view rest, std::string &v) {
    std::string sn;
    if (int rc = macro_ref(rest, &sn)) return rc;
    if (int rc = nothing_more(rest)) return rc;
    v = macro_text(sn);
    return 0;
}

// permname suggested [, length(#)]: a variable name not in use, made from the suggestion
int f_permname(std::string_view rest, std::string &v) {
    std::string before;
    std::string opttext = split_options(rest, &before);
    std::string name = trim(before);
    if (!session::name_ok(name)) return session::invalid_name(name);
    int len = 32;
    const session::OptSpec specs[] = {session::opt_int("length", 6, len, 8, 32)};
    if (int rc = session::options_of(opttext, specs)) return rc;
    std::string base = name.substr(0, (size_t)len);
    if (!data::find_var(base.c_str())) {
        v = base;
        return 0;
    }
    for (int k = 0; k < 100000; ++k) {
        std::string sfx = std::to_string(k);
        std::string cand = base.substr(0, std::min(base.size(), (size_t)len - sfx.size())) + sfx;
        if (!data::find_var(cand.c_str())) {
            v = cand;
            return 0;
        }
    }
    return session::error(198);
}

// all {globals | scalars | matrices} ["pattern"]
int f_all(std::string_view rest, std::string &v) {
    std::vector<Word> w = words_of(rest);
    if (w.empty()) return session::error(198);
    size_t at = 0;
    if (w[0].raw == "numeric" || w[0].raw == "string")
        return session::not_built("extended macro function all " + w[0].raw + " scalars");
    std::string kind = w[at++].raw;
    std::string pattern = at < w.size() ? w[at++].bare : "*";
    if (at != w.size()) return session::error(198);
    int type;
    if (kind == "globals")
        type = session::ST_GLOBAL;
    else if (kind == "scalars")
        type = session::ST_SCALAR;
    else if (kind == "matrices")
        type = session::ST_MATRIX;
    else
        return session::error(198);
    std::vector<std::string> names;
    const char *name;
    for (void *p = session::store_walk(nullptr, &name, type, nullptr); p;
         p = session::store_walk(p, &name, type, nullptr))
        if (fnmatch(pattern.c_str(), name, 0) == 0) names.push_back(name);
    std::reverse(names.begin(), names.end());
    v = list_join(names);
    return 0;
}

// type varname ; format varname: the storage type and the display format of a variable
int f_type(std::string_view rest, std::string &v) {
    std::string n = first_word(rest, &rest);
    if (n.empty()) return session::error(198);
    if (int rc = nothing_more(rest)) return rc;
    int k = data::varlookup(n, true, data::varabbrev);
    if (k < 0) return -k;
    char buf[16];
    v = data::type_name(data::ds.vartype[k - 1], buf);
    return 0;
}

int f_format(std::string_view rest, std::string &v) {
    std::string n = first_word(rest, &rest);
    if (n.empty()) return session::error(198);
    if (int rc = nothing_more(rest)) return rc;
    int k = data::varlookup(n, true, data::varabbrev);
    if (k < 0) return -k;
    v = data::ds.fmt[k - 1];
    return 0;
}

// value label varname ; variable label varname: the value-label name and the label of a variable
int var_attribute(std::string_view rest, bool vallab, std::string &v) {
    const std::string w = first_word(rest, &rest);
    if (!session::cmdmatch(w.c_str(), "label", 3)) return session::error(198);
    const std::string n = first_word(rest, &rest);
    if (n.empty()) return session::error(198);
    if (int rc = nothing_more(rest)) return rc;
    const int k = data::varlookup(n, true, data::varabbrev);
    if (k < 0) return -k;
    if (vallab) {
        v = data::ds.vallab[k - 1];
    } else if (const char *l = data::varlabel_get(data::ds.varname[k - 1])) {
        v = l;
    }
    return 0;
}
int f_value(std::string_view rest, std::string &v) { return var_attribute(rest, true, v); }
int f_variable(std::string_view rest, std::string &v) { return var_attribute(rest, false, v); }

// data label: the data label
int f_data(std::string_view rest, std::string &v) {
    const std::string w = first_word(rest, &rest);
    if (!session::cmdmatch(w.c_str(), "label", 3)) return session::error(198);
    if (int rc = nothing_more(rest)) return rc;
    v = data::ds.datalabel;
    return 0;
}

// char evarname[charname] ; char evarname[]: a characteristic, or the names of an owner's
// characteristics in their order
int f_char(std::string_view rest, std::string &v) {
    const std::string t = trim(rest);
    const size_t open = t.find('[');
    if (open == std::string::npos || open == 0 || t.back() != ']') return session::error(198);
    std::string owner = t.substr(0, open);
    const std::string name = t.substr(open + 1, t.size() - open - 2);
    if (owner != data::DTA_OWNER) {
        const int k = data::varlookup(owner, true, data::varabbrev);
        if (k < 0) return -k;
        owner = data::ds.varname[k - 1];
    }
    if (name.empty()) {
        for (const auto &c : data::char_list(owner.c_str()))
            v += (v.empty() ? "" : " ") + c.first;
        return 0;
    }
    if (!session::name_ok(name)) return session::invalid_name(name);
    if (const char *c = data::char_get(owner.c_str(), name.c_str())) v = c;
    return 0;
}

// label {lblname | (varname)} {# | maxlength} [length] [, strict]: the label of a value, cut to length;
// without a label the value itself, or nothing under strict. maxlength: the length of the longest.
int f_label(std::string_view rest, std::string &v) {
    std::string before;
    const std::string opts = split_options(rest, &before);
    bool strict = false;
    const session::OptSpec specs[] = {session::opt_flag("strict", 6, strict)};
    if (int rc = session::options_of(opts, specs)) return rc;
    std::string_view b = before;
    std::string lbl = first_word(b, &b);
    const std::string what = first_word(b, &b);
    const std::string len = first_word(b, &b);
    if (lbl.empty() || what.empty()) return session::error(198);
    if (int rc = nothing_more(b)) return rc;
    if (lbl.size() > 2 && lbl.front() == '(' && lbl.back() == ')') {
        const int k = data::varlookup(lbl.substr(1, lbl.size() - 2), true, data::varabbrev);
        if (k < 0) return -k;
        lbl = data::ds.vallab[k - 1];
    } else if (!session::name_ok(lbl)) {
        return session::invalid_name(lbl);
    }
    long long cut = -1;
    if (!len.empty() && (!to_long(len, &cut) || cut < 0)) return session::error(198);
    if (what == "maxlength") {
        v = std::to_string(data::vl_widest(lbl.c_str()));
        return 0;
    }
    double x;
    if (!data::text_to_number(what, x, true)) return session::error(198);
    if (const char *t = data::vl_text(lbl.c_str(), x))
        v = t;
    else if (!strict)
        v = data::number_text(x);
    if (cut >= 0 && v.size() > (size_t)cut) v.resize((size_t)cut);
    return 0;
}

// set name: a setting's value
int f_set(std::string_view rest, std::string &v) {
    std::string n = first_word(rest, &rest);
    if (n.empty() || !trim(rest).empty()) return session::error(198);
    session::creturn_text(n, v);
    return 0;
}

// tempvar, tempfile: nothing may follow
int f_tempvar(std::string_view rest, std::string &v) {
    if (int rc = nothing_more(rest)) return rc;
    v = next_tempname();
    return 0;
}

int f_tempfile(std::string_view rest, std::string &v) {
    if (int rc = nothing_more(rest)) return rc;
    v = next_tempfile();
    return 0;
}

// e(scalars|macros|matrices|functions), s(macros): the names in a part of a result store
int result_part(char kind, std::string_view rest, std::string &v) {
    std::string t = trim(rest);
    if (t.size() < 2 || t.front() != '(' || t.back() != ')') return session::error(198);
    return mat::result_names(kind, trim(t.substr(1, t.size() - 2)), v);
}
int f_e(std::string_view rest, std::string &v) { return result_part('e', rest, v); }
int f_s(std::string_view rest, std::string &v) { return result_part('s', rest, v); }

// log [name]: the file of the unnamed log, or of the log of that name; nothing when it is closed
int f_log(std::string_view rest, std::string &v) {
    std::string name = trim(rest);
    if (name.find(' ') != std::string::npos) return session::error(198);
    if (name.empty()) {
        if (out::unnamed_log.fd) v = out::unnamed_log.filename;
        return 0;
    }
    int32_t len = 0;
    if (const auto *lf =
            static_cast<const out::LogFile *>(session::store_find(name.c_str(), out::LOG_STORE_TYPE, &len)))
        if (lf->fd) v = lf->filename;
    return 0;
}

// display directives, as text: the output of `display` with the same list
int f_display(std::string_view rest, std::string &v) {
    std::string text(rest);
    return out::display_to_text(text.c_str(), v);
}

using Fn = int (*)(std::string_view rest, std::string &value);

// rownames A, colnames e(b), roweq A, coleq A, rowfullnames A, colfullnames A
template <bool Row, int Part> int f_stripe(std::string_view rest, std::string &v) {
    std::string ref(rest);
    while (!ref.empty() && ref.front() == ' ')
        ref.erase(0, 1);
    while (!ref.empty() && ref.back() == ' ')
        ref.pop_back();
    std::string name;
    int kind;
    if (ref.empty()) return session::error(198);
    if (int rc = mat::matrix_ref(ref, name, kind, false)) return rc;
    mat::Matrix m;
    if (!mat::mat_read(name.c_str(), kind, m)) return session::matrix_not_found(ref);
    v.clear();
    for (const mat::StripeName &s : mat::full_stripe(m, Row)) {
        std::string w = Part == 1   ? std::string(s.equation[0] ? s.equation : "_")
                        : Part == 0 ? std::string(s.tsop) + s.name
                                    : mat::stripe_text(s);
        if (w.find(' ') != std::string::npos) w = "\"" + w + "\"";
        if (!v.empty()) v += ' ';
        v += w;
    }
    return 0;
}

// Functions whose subject is not built yet; emf_run says so for them.
// constraint # gives the text of constraint # (empty when it is not defined); constraint dir the
// numbers defined, in ascending order
int f_constraint(std::string_view rest, std::string &v) {
    const std::string t = trim(rest);
    v.clear();
    if (t == "dir") {
        for (int n : mat::cns_defined())
            v += (v.empty() ? "" : " ") + std::to_string(n);
        return 0;
    }
    char *end = nullptr;
    const long n = std::strtol(t.c_str(), &end, 10);
    if (t.empty() || *end || n < 1 || n > mat::CNS_MAX) return session::error(198);
    mat::cns_text((int)n, v);
    return 0;
}

int not_yet(std::string_view, std::string &) { return 199; }

struct EmfRow {
    const char *word;
    int minlen; // 0: exact
    Fn fn;
};

// Tried in this order.
const EmfRow emf_rows[] = {
    {"type", 1, f_type},
    {"format", 1, f_format},
    {"value", 3, f_value},
    {"variable", 3, f_variable},
    {"environment", 3, f_environment},
    {"tempvar", 5, f_tempvar},
    {"tempfile", 5, f_tempfile},
    {"rownames", 4, f_stripe<true, 0>},
    {"colnames", 4, f_stripe<false, 0>},
    {"roweq", 4, f_stripe<true, 1>},
    {"coleq", 4, f_stripe<false, 1>},
    {"rowfullnames", 4, f_stripe<true, 2>},
    {"colfullnames", 4, f_stripe<false, 2>},
    {"display", 2, f_display},
    {"word", 4, f_word},
    {"char", 4, f_char},
    {"label", 3, f_label},
    {"regexmatch", 5, f_regexmatch},
    {"regexreplace", 6, f_regexreplace},
    {"regexsubexp", 6, f_regexsubexp},
    {"list", 4, f_list},
    {"set", 3, f_set},
    {"log", 3, f_log},
    {"subinstr", 8, f_subinstr},
    {"sysdir", 6, f_sysdir},
    {"piece", 0, f_piece},
    {"data", 0, f_data},
    {"dir", 0, f_dir},
    {"adosubdir", 0, f_adosubdir},
    {"_length", 0, f__length},
    {"properties", 0, f_properties},
    {"pwd", 0, f_pwd},
    {"dirsep", 0, f_dirsep},
    {"tsnorm", 0, f_tsnorm},
    {"e", 0, f_e},
    {"s", 0, f_s},
    {"serset", 0, not_yet},
    {"length", 0, f_length},
    {"permname", 0, f_permname},
    {"constraint", 0, f_constraint},
    {"all", 0, f_all},
    {"copy", 0, f_copy},
};

const EmfRow *find_emf(const std::string &w) {
    for (const EmfRow &r : emf_rows) {
        if (r.minlen ? session::cmdmatch(w.c_str(), r.word, r.minlen) : w == r.word) return &r;
    }
    return nullptr;
}

// The tokenizer belongs to the command that asked; functions that use it give it back as it was.
struct TokKeep {
    session::Tok saved = session::tk;
    ~TokKeep() {
        char *buf = session::tk.cmdbuf;
        session::tk = saved;
        session::tk.cmdbuf = buf;
    }
};

bool is_not_built_fn(Fn f) { return f == not_yet; }

} // namespace

int emf_run(std::string_view text, std::string &value) {
    value.clear();
    TokKeep keep;
    std::string_view rest;
    std::string w = first_word(text, &rest);
    // e(part) and s(part) are one word with their argument.
    size_t paren = w.find('(');
    if (paren != std::string::npos && paren > 0) {
        size_t at = text.find('(');
        rest = text.substr(at);
        w.resize(paren);
    }
    const EmfRow *r = w.empty() ? nullptr : find_emf(w);
    if (!r) return session::not_allowed(w.empty() ? "extended macro function" : w);
    int rc = is_not_built_fn(r->fn) ? session::not_built(std::string("extended macro function ") + r->word)
                                    : r->fn(rest, value);
    if (rc) value.clear();
    if (value.size() > (size_t)maxcmdlen - 1) value.resize(maxcmdlen - 1);
    return rc;
}

int emf_in_reference(std::string_view text, std::string &value) {
    std::string_view rest;
    std::string w = first_word(text, &rest);
    const EmfRow *r = w.empty() ? nullptr : find_emf(w);
    if (r && is_not_built_fn(r->fn)) return emf_run(text, value);
    uint8_t level = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = emf_run(text, value);
    out::ch.OutputLevel = level;
    if (rc) value.clear();
    return 0;
}

} // namespace lang
