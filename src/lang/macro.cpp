// The macro store and the expansion of a command line in place.
#include "lang/macro.h"

#include <cctype>
#include <cstring>
#include <ctime>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/varlist.h"
#include "lang/cls.h"
#include "lang/emf.h"
#include "lang/exprhook.h"
#include "lang/flow.h"
#include "lang/prog.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/settings.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::lp;
using session::maxcmdlen;
using session::maxmaclen;

// ---- expansion ----

namespace {

int depth = 0;      // nesting of expand_at
size_t skiplen = 0; // set by macval at depth 1: the line scan passes over the value
bool substituted = false;
bool pct_pass = false; // the old % syntax is being expanded

bool name_start(char c) { return std::isalpha((unsigned char)c) || c == '_'; }
bool name_char(char c) { return std::isalnum((unsigned char)c) || c == '_'; }
bool sigil(char c) { return c == '$' || c == '`' || (pct_pass && c == '%'); }

bool plain_name(std::string_view s) {
    if (s.empty()) return false;
    for (char c : s)
        if (!name_char(c)) return false;
    return true;
}

// Replaces b[from, to) by text; 920 when the line would not fit, and then the line is left alone.
int splice(char *b, size_t from, size_t to, std::string_view text) {
    size_t n = std::strlen(b);
    if (n - (to - from) + text.size() >= (size_t)maxmaclen) return 920;
    std::memmove(b + from + text.size(), b + to, n - to + 1);
    std::memcpy(b + from, text.data(), text.size());
    substituted = true;
    return 0;
}

const char *months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// `_*`: the arguments _1, _2, ... of the current level up to the first that does not exist.
int all_args(std::string &v) {
    v.clear();
    for (int i = 1;; ++i) {
        std::string n = session::local_name(std::to_string(i));
        const char *t = session::macro_get(n.c_str());
        if (!t) break;
        if (i > 1) v.push_back(' ');
        v += t;
        if (v.size() >= (size_t)maxmaclen) return 920;
    }
    return 0;
}

// The text of a name met in the line: a local for a leading '_', else a global; S_DATE and S_TIME
// are made now.
int lookup(const std::string &name, std::string &v) {
    v.clear();
    if (name == "_*") return all_args(v);
    if (name == "S_DATE" || name == "S_TIME") {
        time_t t = time(nullptr);
        struct tm tmv;
        localtime_r(&t, &tmv);
        char buf[40];
        if (name == "S_DATE")
            std::snprintf(buf, sizeof buf, "%2d %s %d", tmv.tm_mday, months[tmv.tm_mon], tmv.tm_year + 1900);
        else
            std::snprintf(buf, sizeof buf, "%02d:%02d:%02d", tmv.tm_hour, tmv.tm_min, tmv.tm_sec);
        v = buf;
        return 0;
    }
    if (name.size() > 32) return 0;
    if (const char *t = session::macro_get(name.c_str())) v = t;
    return 0;
}

int expand_at(char *b, size_t pos, int *count);

// Expands every reference in b from q up to the byte that closes it (close, with open raising the
// nesting), finding the end again after each change. Returns 0 with *end at the closing byte, or
// -1 in *end when the text ends first.
int scan_to_close(char *b, size_t q, char open, char close, size_t *end) {
    int nest = 1;
    session::QuoteState qs; // compound quotes open inside a reference: their "' closes no reference
    for (;;) {
        char c = b[q];
        if (c == '\0') {
            *end = (size_t)-1;
            return 0;
        }
        if (open == '`') {
            if (int k = qs.feed_pair(c, b[q + 1])) {
                q += (size_t)k;
                continue;
            }
        }
        if (c == '$' || (c == '`' && b[q + 1] != '"') || (pct_pass && c == '%')) {
            int n = 0;
            if (int rc = expand_at(b, q, &n)) return rc;
            if (sigil(b[q])) { // a reference that could not be expanded stays as text
                if (b[q] == '`' && open == '`') ++nest;
                ++q;
            }
            continue;
        }
        if (c == open && open != '`')
            ++nest;
        else if (c == close && --nest == 0) {
            *end = q;
            return 0;
        }
        ++q;
    }
}

// ++name, --name, name++, name--: one is added or taken away; pre gives the new value, else the old.
} // namespace

int macro_incdec(const std::string &name, bool up, bool pre, std::string &v) {
    if (!plain_name(name) || name.size() > 31) return session::error(198);
    std::string sn = session::local_name(name);
    int32_t len = 0;
    const char *t = session::macro_get(sn.c_str(), &len);
    if (!t) return session::macro_not_found(sn);
    std::string old(t, (size_t)std::min<int32_t>(len, 39));
    double x;
    if (!data::text_to_number(old, x, false)) return session::error(109);
    std::string nv = data::number_text(up ? x + 1 : x - 1);
    std::string oldfull = t;
    if (int rc = session::macro_set(sn.c_str(), nv)) return session::error(rc);
    v = pre ? nv : oldfull;
    return 0;
}

namespace {

// name(arg) inside a reference.
int macro_function(const std::string &fname, std::string arg, std::string &v) {
    data::PeriodDecimal period;
    size_t b = arg.find_first_not_of(' '), e = arg.find_last_not_of(' ');
    arg = b == std::string::npos ? "" : arg.substr(b, e - b + 1);
    v.clear();
    if (fname == "c") {
        session::creturn_text(arg, v);
    } else if (fname == "r" || fname == "e" || fname == "s") {
        v = mat::result_text(fname[0], arg.c_str());
    } else if (fname == "macval") {
        if (depth != 1 || arg.size() > 31) return 0;
        std::string sn = session::local_name(arg);
        if (const char *t = session::macro_get(sn.c_str())) v = t;
        skiplen = v.size();
    } else if (fname == "ferest") {
        if (!fl.felist.empty()) {
            int32_t len = 0;
            const char *t = session::macro_get(fl.felist.c_str(), &len);
            if (t && fl.felistpos < len) {
                const char *p = t + fl.felistpos;
                while (*p == ' ')
                    ++p;
                v = p;
            }
        }
    } else if (fname == "gdi" || fname == "_gedi") {
        return session::not_built("the macro function " + fname + "()");
    }
    if (v.size() >= (size_t)maxmaclen) return 920;
    return 0;
}

// evarname[charname]: the characteristic, or nothing when the owner or the characteristic is not there.
int char_reference(const std::string &owner, const std::string &name, std::string &v) {
    std::string o = owner;
    if (o != data::DTA_OWNER) {
        const int k = data::varlookup(o, false, data::varabbrev);
        if (k < 0) return 0;
        o = data::ds.varname[k - 1];
    }
    if (const char *t = data::char_get(o.c_str(), name.c_str())) v = t;
    return 0;
}

// What the text between ` and ' stands for.
int backtick_value(const std::string &s, std::string &v) {
    v.clear();
    if (s.empty()) return 0;
    if (s[0] == '=') {
        if (!expressions_available()) return eval_to_text(s.substr(1), v, true);
        if (eval_to_text(s.substr(1), v, true)) v.clear();
        return 0;
    }
    if (s[0] == ':') return emf_in_reference(s.substr(1), v);
    if (s[0] == '.') {
        // A member program run here expands lines of its own: this line's scan state is kept.
        int d = depth;
        size_t sk = skiplen;
        bool sub = substituted, pp = pct_pass;
        int rc = cls_macro_value(s, v);
        depth = d;
        skiplen = sk;
        substituted = sub;
        pct_pass = pp;
        return rc;
    }
    if (s == "*") return all_args(v);
    if (s.size() > 2 && (s.compare(0, 2, "++") == 0 || s.compare(0, 2, "--") == 0))
        return macro_incdec(s.substr(2), s[0] == '+', true, v);
    if (s.size() > 2 && (s.compare(s.size() - 2, 2, "++") == 0 || s.compare(s.size() - 2, 2, "--") == 0))
        return macro_incdec(s.substr(0, s.size() - 2), s[s.size() - 1] == '+', false, v);
    size_t paren = s.find('(');
    if (paren != std::string::npos && paren > 0 && s.back() == ')' && plain_name(s.substr(0, paren)))
        return macro_function(s.substr(0, paren), s.substr(paren + 1, s.size() - paren - 2), v);
    size_t brack = s.find('[');
    if (brack != std::string::npos && brack > 0 && s.back() == ']' && plain_name(s.substr(0, brack)))
        return char_reference(s.substr(0, brack), s.substr(brack + 1, s.size() - brack - 2), v);
    if (!plain_name(s) || s.size() > 31) return 0;
    return lookup(session::local_name(s), v);
}

// One replacement at b[pos] ($ or `); *did tells whether the text changed.
int expand_once(char *b, size_t pos, bool *did) {
    *did = false;
    std::string v;
    size_t end;
    if (b[pos] == '`') {
        if (b[pos + 1] == '"') return 0;
        size_t close;
        if (int rc = scan_to_close(b, pos + 1, '`', '\'', &close)) return rc;
        if (close == (size_t)-1) return 0;
        std::string inner(b + pos + 1, close - pos - 1);
        end = close + 1;
        if (int rc = backtick_value(inner, v)) return rc;
    } else {
        size_t p = pos + 1;
        if (sigil(b[p]) && b[p] != '%') {
            int n = 0;
            if (int rc = expand_at(b, p, &n)) return rc;
        }
        std::string name;
        if (b[p] == '{') {
            size_t close;
            if (int rc = scan_to_close(b, p + 1, '{', '}', &close)) return rc;
            if (close == (size_t)-1) return 0;
            name.assign(b + p + 1, close - p - 1);
            end = close + 1;
        } else if (b[p] == '_' && b[p + 1] == '*') {
            name = "_*";
            end = p + 2;
        } else if (name_start(b[p])) {
            size_t maxn = lp.version < 700 ? 8 : 32;
            size_t q = p;
            while (name_char(b[q]) && q - p < maxn)
                ++q;
            name.assign(b + p, q - p);
            end = q;
        } else {
            return 0;
        }
        if (int rc = lookup(name, v)) return rc;
    }
    if (int rc = splice(b, pos, end, v)) return rc;
    *did = true;
    return 0;
}

// Repeats while b[pos] is a reference: at most 20 replacements at one position.
int expand_at(char *b, size_t pos, int *count) {
    *count = 0;
    while (sigil(b[pos])) {
        ++depth;
        bool did = false;
        int rc = expand_once(b, pos, &did);
        --depth;
        if (rc) return rc;
        if (!did) break;
        if (++*count > 20) return 920;
        if (skiplen) break;
    }
    return 0;
}

// Removes b[at], shifting the rest left.
void remove_byte(char *b, size_t at) { std::memmove(b + at, b + at + 1, std::strlen(b + at)); }

int scan_line(char *b) {
    size_t pos = 0;
    while (b[pos]) {
        char c = b[pos];
        if (sigil(c)) {
            skiplen = 0;
            int n = 0;
            if (int rc = expand_at(b, pos, &n)) return rc;
            pos += skiplen ? skiplen : 1;
            skiplen = 0;
        } else if (c == '\\' && !pct_pass) {
            char nx = b[pos + 1];
            if (nx == '$' || nx == '`') {
                remove_byte(b, pos);
                pos += 1;
            } else if (nx == '\\') {
                char after = b[pos + 2];
                if (lp.version < 900 || after == '$' || after == '`') remove_byte(b, pos);
                pos += 1;
            } else {
                pos += 1;
            }
        } else {
            pos += 1;
        }
    }
    return 0;
}

} // namespace

int expand_macros(char *buf) {
    if (!lp.execflag) return 0;
    bool old_pct = lp.version < 320;
    const char *p = buf;
    for (; *p; ++p)
        if (*p == '$' || *p == '`' || *p == '\\' || (old_pct && *p == '%')) break;
    if (!*p) return 0;
    size_t len0 = std::strlen(buf);
    substituted = false;
    depth = 0;
    skiplen = 0;
    pct_pass = false;
    int rc = scan_line(buf);
    if (rc == 0 && old_pct && !substituted) {
        pct_pass = true;
        rc = scan_line(buf);
        pct_pass = false;
    }
    depth = 0;
    skiplen = 0;
    if (rc == 920) return session::error(920);
    if (rc == 0 && lp.in_prog && std::strlen(buf) != len0) trace_expanded(buf);
    return rc;
}

} // namespace lang
