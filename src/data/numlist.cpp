// Number lists: the expansion of ranges and steps, the checks of the numlist family, and the
// `numlist` command.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "data/datacmd.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/varlist.h"
#include "lang/macro.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/store.h"
#include "session/tok.h"

namespace data {

namespace {

struct NlScan {
    std::string_view s;
    size_t i = 0;
    // Kinds: 0 end, 'n' a number item, or one of / ( ) [ ] : and 't' for `to`.
    int kind = 0;
    std::string text;
    void next() {
        while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
            ++i;
        text.clear();
        if (i >= s.size()) {
            kind = 0;
            return;
        }
        if (std::strchr("/()[]:", s[i])) {
            kind = s[i];
            text = s[i++];
            return;
        }
        size_t j = i;
        while (i < s.size() && !std::strchr(" \t/()[]:", s[i]))
            ++i;
        text = std::string(s.substr(j, i - j));
        kind = text == "to" ? 't' : 'n';
    }
};

int nl_fail(int code, const NumlistOpts &opt, bool quiet) {
    return quiet ? code : session::numlist_error(code, opt.single);
}

bool nl_number(const std::string &t, double &v) { return text_to_number(t, v, true); }

// a, a+d, ... up to b; d must point from a to b.
int nl_range(double a, double d, double b, const NumlistOpts &opt, std::vector<double> &out, bool quiet) {
    if (is_missing(a) || is_missing(b) || is_missing(d) || d == 0 || (b - a) * d < 0)
        return nl_fail(121, opt, quiet);
    const double eps = std::fabs(d) * 1e-9;
    for (int64_t k = 0;; ++k) {
        const double x = a + (double)k * d;
        if (d > 0 ? x > b + eps : x < b - eps) break;
        if ((int64_t)out.size() >= opt.maxcount) return nl_fail(123, opt, quiet);
        out.push_back(x);
    }
    return 0;
}

} // namespace

int numlist_parse(std::string_view text, const NumlistOpts &opt, std::vector<double> &out, bool quiet) {
    out.clear();
    NlScan sc;
    sc.s = text;
    sc.next();
    while (sc.kind) {
        double a, b, d;
        if (sc.kind != 'n' || !nl_number(sc.text, a)) return nl_fail(121, opt, quiet);
        sc.next();
        if (sc.kind == '/') {
            sc.next();
            if (sc.kind != 'n' || !nl_number(sc.text, b)) return nl_fail(121, opt, quiet);
            if (int rc = nl_range(a, b >= a ? 1 : -1, b, opt, out, quiet)) return rc;
            sc.next();
        } else if (sc.kind == '(' || sc.kind == '[') {
            const int close = sc.kind == '(' ? ')' : ']';
            sc.next();
            if (sc.kind != 'n' || !nl_number(sc.text, d)) return nl_fail(121, opt, quiet);
            sc.next();
            if (sc.kind != close) return nl_fail(121, opt, quiet);
            sc.next();
            if (sc.kind != 'n' || !nl_number(sc.text, b)) return nl_fail(121, opt, quiet);
            if (int rc = nl_range(a, d, b, opt, out, quiet)) return rc;
            sc.next();
        } else if (sc.kind == 'n') {
            // a b : c and a b to c step by b - a; otherwise a stands alone and b starts the next item.
            NlScan save = sc;
            if (!nl_number(sc.text, b)) return nl_fail(121, opt, quiet);
            sc.next();
            if (sc.kind == ':' || sc.kind == 't') {
                sc.next();
                double c;
                if (sc.kind != 'n' || !nl_number(sc.text, c)) return nl_fail(121, opt, quiet);
                if (int rc = nl_range(a, b - a, c, opt, out, quiet)) return rc;
                sc.next();
            } else {
                sc = save;
                if ((int64_t)out.size() >= opt.maxcount) return nl_fail(123, opt, quiet);
                out.push_back(a);
            }
        } else if (sc.kind == 0) {
            if ((int64_t)out.size() >= opt.maxcount) return nl_fail(123, opt, quiet);
            out.push_back(a);
        } else {
            return nl_fail(121, opt, quiet);
        }
    }
    for (double x : out)
        if (is_missing(x) && !opt.missingok) return nl_fail(127, opt, quiet);
    if (opt.integer)
        for (double x : out)
            if (!is_missing(x) && x != std::floor(x)) return nl_fail(126, opt, quiet);
    for (double x : out) {
        if (is_missing(x)) continue;
        if (x < opt.min || x > opt.max || (opt.minopen && x == opt.min) || (opt.maxopen && x == opt.max))
            return nl_fail(125, opt, quiet);
    }
    if ((int)out.size() < opt.mincount) return nl_fail(122, opt, quiet);
    if ((int)out.size() > opt.maxcount) return nl_fail(123, opt, quiet);
    for (size_t k = 1; k < out.size(); ++k) {
        if (opt.ascending && out[k] < out[k - 1]) return nl_fail(124, opt, quiet);
        if (opt.descending && out[k] > out[k - 1]) return nl_fail(124, opt, quiet);
    }
    if (opt.sort) std::stable_sort(out.begin(), out.end());
    return 0;
}

std::string numlist_text(const std::vector<double> &v) {
    std::string s;
    for (size_t k = 0; k < v.size(); ++k) {
        if (k) s.push_back(' ');
        s += lang::number_text(v[k]);
    }
    return s;
}

namespace {

using session::cmdmatch;
using session::gettok;
using session::SEP_NUM;
using session::SEP_STD;

// ( number )
int paren_number(double *v) {
    if (std::strcmp(gettok(SEP_STD), "(") != 0) return session::error(198);
    std::string t = gettok(SEP_NUM);
    if (!text_to_number(t, *v, false)) return session::error(198);
    if (std::strcmp(gettok(SEP_STD), ")") != 0) return session::error(198);
    return 0;
}

// range( {>=|>|<=|<} number ... )
int range_option(NumlistOpts &o) {
    if (std::strcmp(gettok(SEP_STD), "(") != 0) return session::error(198);
    for (;;) {
        std::string op = gettok(SEP_NUM);
        if (op == ")") return 0;
        if (op != ">=" && op != ">" && op != "<=" && op != "<") return session::error(198);
        double v;
        if (!text_to_number(gettok(SEP_NUM), v, false)) return session::error(198);
        if (op[0] == '>') {
            o.min = v;
            o.minopen = op.size() == 1;
        } else {
            o.max = v;
            o.maxopen = op.size() == 1;
        }
    }
}

} // namespace

// numlist "text" [, integer missingokay ascending descending sort min(#) max(#) range(...)]
int cmd_numlist(int) {
    command_begin();
    std::string text = gettok(SEP_STD);
    if (text.empty() || text == ",") return session::required("numlist");
    if (text[0] == '"') text.erase(0, 1);
    NumlistOpts o;
    std::string w = gettok(SEP_STD);
    if (w == ",") {
        for (;;) {
            w = gettok(SEP_STD);
            if (w.empty()) break;
            const char *p = w.c_str();
            if (cmdmatch(p, "integer", 3))
                o.integer = true;
            else if (cmdmatch(p, "missingokay", 4))
                o.missingok = true;
            else if (cmdmatch(p, "ascending", 1))
                o.ascending = true;
            else if (cmdmatch(p, "descending", 1))
                o.descending = true;
            else if (cmdmatch(p, "sort", 4))
                o.sort = true;
            else if (cmdmatch(p, "min", 3)) {
                double v;
                if (int rc = paren_number(&v)) return rc;
                o.mincount = (int)v;
            } else if (cmdmatch(p, "max", 3)) {
                double v;
                if (int rc = paren_number(&v)) return rc;
                o.maxcount = (int)v;
            } else if (cmdmatch(p, "range", 5)) {
                if (int rc = range_option(o)) return rc;
            } else {
                return session::not_allowed("option " + w);
            }
        }
    } else if (!w.empty()) {
        return session::error(198);
    }
    std::vector<double> v;
    if (int rc = numlist_parse(text, o, v, false)) return rc;
    mat::r_clear();
    return mat::r_set_macro("numlist", numlist_text(v));
}

} // namespace data
