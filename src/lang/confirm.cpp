// confirm: a text tested for being what a program needs it to be. A test of a kind that fails is
// code 7 with "'<text>' found where <kind> expected"; variables, files and new names fail with the
// codes of their own families.
#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/varlist.h"
#include "lang/syntax.h"
#include "session/errors.h"
#include "session/tok.h"

namespace lang {

using session::gettok;
using session::SEP_STD;

namespace {

std::string trimmed(std::string_view s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    return std::string(s.substr(b, s.find_last_not_of(' ') - b + 1));
}

int not_a(const std::string &found, const std::string &kind) {
    if (found.empty()) return session::fail(7, "nothing found where " + kind + " expected\n");
    return session::fail(7, "'" + found + "' found where " + kind + " expected\n");
}

std::vector<std::string> words_of(const std::string &s) {
    std::vector<std::string> w;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        size_t j = i;
        while (j < s.size() && s[j] != ' ')
            ++j;
        if (j > i) w.push_back(s.substr(i, j - i));
        i = j;
    }
    return w;
}

// The whole text in one pair of quotes loses them.
std::string unquoted(const std::string &s) {
    session::Quoted q;
    if (session::quoted_at(s, 0, q) && q.closed && q.next == s.size())
        return s.substr(q.begin, q.end - q.begin);
    return s;
}

int confirm_number(const std::string &t, bool integer) {
    double v;
    if (t.find(' ') != std::string::npos || !data::text_to_number(t, v, false))
        return not_a(t, integer ? "integer" : "number");
    if (integer && v != (double)(long long)v) return not_a(t, "integer");
    return 0;
}

int confirm_file(const std::string &text, bool isnew) {
    const std::string f = unquoted(text);
    if (f.empty()) return session::error(7197);
    struct stat sb;
    const bool exists = stat(f.c_str(), &sb) == 0;
    if (!isnew) return exists && !S_ISDIR(sb.st_mode) ? 0 : session::file_error(601, f);
    if (exists) return session::file_error(602, f);
    // a new file must be one that can be made: made and taken away again
    FILE *fp = std::fopen(f.c_str(), "wx");
    if (!fp) return session::file_error(603, f);
    std::fclose(fp);
    std::remove(f.c_str());
    return 0;
}

// What a variable must be: a storage type, any string (0 with str), any number.
struct VarKind {
    int type = 0;        // a storage type code; 0 for none
    bool anystr = false; // str, string
    bool anynum = false; // numeric
    std::string word;    // as the message shows it
};

int confirm_variables(const VarKind &k, const char *rest) {
    session::settok(rest);
    if (!*session::tokrest()) return session::required("varlist");
    if (int rc = data::parse_varlist(data::VL_ANY)) return rc;
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    for (int i = 0; i < data::ps.count; ++i) {
        const int v = data::ps.var[i];
        if (v <= 0) continue;
        const int t = data::ds.vartype[v - 1];
        const bool str = data::is_string_type(t);
        const bool ok = k.anystr ? str : k.anynum ? !str : k.type ? t == k.type : true;
        if (!ok) return not_a(data::ds.varname[v - 1], k.word + " variable");
    }
    return 0;
}

int confirm_new_variables(const std::string &rest) {
    const std::vector<std::string> w = words_of(rest);
    if (w.empty()) return session::required("varlist");
    for (const std::string &n : w)
        if (int rc = data::check_newname(n.c_str())) return rc;
    return 0;
}

bool is_word(const std::string &w, const char *full, int minlen) {
    return session::cmdmatch(w.c_str(), full, minlen);
}

} // namespace

// confirm existence text | [new] file name | [integer] number text | name[s] text | format text
//       | [new|numeric|string|str|str#|byte|int|long|float|double] variable varlist
int cmd_confirm(int) {
    const std::string w1 = gettok(SEP_STD);
    const std::string rest1 = trimmed(session::tokrest());
    if (is_word(w1, "existence", 1)) {
        if (rest1.empty()) return session::fail(6, "nothing found where something expected\n");
        return 0;
    }
    if (w1 == "file") return confirm_file(rest1, false);
    if (is_word(w1, "number", 3)) return confirm_number(rest1, false);
    if (w1 == "names" || w1 == "name") {
        const std::vector<std::string> w = words_of(rest1);
        if (w.empty() || (w1 == "name" && w.size() > 1)) return not_a(rest1, "name");
        for (const std::string &n : w)
            if (!session::name_ok(n)) return not_a(n, "name");
        return 0;
    }
    if (is_word(w1, "format", 3)) {
        data::Fmt f;
        if (rest1.empty() || rest1.find(' ') != std::string::npos || data::fmt_parse(rest1, f, true))
            return not_a(rest1, "format");
        return 0;
    }
    if (is_word(w1, "variable", 1)) return confirm_variables(VarKind{}, rest1.c_str());
    // a word that qualifies the next one
    const std::string w2 = gettok(SEP_STD);
    const std::string rest2 = trimmed(session::tokrest());
    const bool var2 = is_word(w2, "variable", 1);
    if (w1 == "new") {
        if (w2 == "file") return confirm_file(rest2, true);
        if (var2) return confirm_new_variables(rest2);
        return session::error(198);
    }
    if (is_word(w1, "integer", 3) && is_word(w2, "number", 3)) return confirm_number(rest2, true);
    if (!var2) return session::error(198);
    VarKind k;
    k.word = w1;
    if (w1 == "numeric") {
        k.anynum = true;
    } else if (w1 == "string" || w1 == "str") {
        k.anystr = true;
        k.word = "string";
    } else if (const int t = data::type_from_name(w1.c_str())) {
        k.type = t;
    } else {
        return session::error(198);
    }
    return confirm_variables(k, rest2.c_str());
}

} // namespace lang
