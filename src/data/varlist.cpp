// Variable lists: the parser that turns list text into the list array, name look-up, wildcards,
// ranges, time-series operators, factor-variable groups and new variable lists.
#include "data/varlist.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace data {

bool varabbrev = true;
void set_varabbrev(bool on) { varabbrev = on; }

ParseState ps;

namespace {

using session::gettok;
using session::tk;
using session::ungettok;

// The command separators less `*`, `?` and `~`, which belong to wildcards; `.` is not one either.
constexpr char VLSEP[] = " \"'`:;,<>/!@|#$%^&()-+=[]{}";

bool is_e(int v) { return std::strcmp(ds.varname[v - 1], "(e)") == 0; }

bool has_wild(std::string_view s) { return s.find_first_of("*?~") != std::string_view::npos; }

void ensure_capacity() {
    const int32_t cap = std::max<int32_t>(ds.maxvar, 1) + LIST_MARGIN;
    if (ps.cap != cap || (int32_t)ps.var.size() != cap + 1) {
        ps.cap = cap;
        ps.var.assign(cap + 1, 0);
        ps.info.assign(cap + 1, ListInfo{nullptr, 0});
        ps.count = 0;
    }
}

// ---- Elements of the list text --------------------------------------------------------------------

// A word glued to a parenthesised part takes it and whatever is glued behind: "L(1/3).x", "i(a b)",
// "_skip(2)". A separator inside the parentheses does not end the element.
std::string glue_parens(const std::string &word) {
    std::string s = word;
    const char *p = tk.tokpos;
    while (*p == '(') {
        int depth = 0;
        do {
            if (*p == '(')
                ++depth;
            else if (*p == ')')
                --depth;
            s.push_back(*p++);
        } while (*p && depth > 0);
        while (*p && !std::strchr(VLSEP, *p))
            s.push_back(*p++);
    }
    tk.tokpos = p;
    return s;
}

bool stop_word(const char *t) {
    return std::strcmp(t, "if") == 0 || std::strcmp(t, "in") == 0 || std::strcmp(t, "using") == 0;
}

// The next token when it is a `-`; otherwise nothing is consumed.
bool next_is_dash() {
    const char *t = gettok(VLSEP);
    if (t[0] == '-' && t[1] == 0) return true;
    ungettok();
    return false;
}

// ---- Time-series operators --------------------------------------------------------------------------

struct OpPart {
    char letter;              // L F D S
    std::vector<long> values; // one value, or the expansion of a (numlist)
};

int op_invalid(std::string_view token) { return session::invalid_name(token); }

// Splits an operator string into letters with their numbers; "(numlist)" forms expand.
int op_parts(std::string_view opstr, std::string_view token, std::vector<OpPart> &parts) {
    if (opstr.size() > (size_t)MAXOPLEN) return session::op_too_long(token);
    // Blanks and dots go, but not inside a (numlist).
    std::string s;
    int depth = 0;
    for (char c : opstr) {
        depth += c == '(' ? 1 : c == ')' ? -1 : 0;
        if (depth > 0 || (c != ' ' && c != '.')) s.push_back(c);
    }
    size_t i = 0;
    while (i < s.size()) {
        char c = (char)std::toupper((unsigned char)s[i]);
        if (c != 'L' && c != 'F' && c != 'D' && c != 'S') return op_invalid(token);
        OpPart part{c, {}};
        ++i;
        if (i < s.size() && s[i] == '(') {
            size_t close = s.find(')', i);
            if (close == std::string::npos) return session::fail(198, "numlist in operator invalid\n");
            NumlistOpts o;
            o.integer = true;
            std::vector<double> v;
            if (numlist_parse(std::string_view(s).substr(i + 1, close - i - 1), o, v, true) || v.empty())
                return session::fail(198, "numlist in operator invalid\n");
            for (double x : v)
                part.values.push_back((long)x);
            i = close + 1;
        } else {
            size_t j = i;
            if (j < s.size() && (s[j] == '-' || s[j] == '+')) ++j;
            size_t k = j;
            while (k < s.size() && s[k] >= '0' && s[k] <= '9')
                ++k;
            if (k == j) {
                if (j != i) return op_invalid(token); // a sign with no digits
                part.values.push_back(1);
            } else {
                std::string num = s.substr(i, k - i);
                if (k - j > 9) return op_invalid(token);
                part.values.push_back(std::strtol(num.c_str(), nullptr, 10));
            }
            i = k;
        }
        parts.push_back(std::move(part));
    }
    return 0;
}

// Adds one letter with its number to op.
int op_apply(TsOp &op, char letter, long n, std::string_view token) {
    switch (letter) {
    case 'L':
        op.lag += (int32_t)n;
        return 0;
    case 'F':
        op.lag -= (int32_t)n;
        return 0;
    case 'D':
        if (n < 0) return op_invalid(token);
        if (op.diff + n > MAXDIFF) return session::op_invalid_diff(token);
        op.diff += (int32_t)n;
        return 0;
    case 'S': {
        if (n < 0) return op_invalid(token);
        if (n == 0) return 0;
        if (op.nseas >= MAXSEAS) return op_invalid(token);
        int k = op.nseas++;
        while (k > 0 && op.seas[k - 1] > n) {
            op.seas[k] = op.seas[k - 1];
            --k;
        }
        op.seas[k] = (int32_t)n;
        return 0;
    }
    }
    return op_invalid(token);
}

// Every operator an operator string stands for, in the order of its lists.
int op_expand(std::string_view opstr, std::string_view token, std::vector<TsOp> &out) {
    std::vector<OpPart> parts;
    if (int rc = op_parts(opstr, token, parts)) return rc;
    std::vector<size_t> at(parts.size(), 0);
    for (;;) {
        TsOp op{};
        for (size_t p = 0; p < parts.size(); ++p)
            if (int rc = op_apply(op, parts[p].letter, parts[p].values[at[p]], token)) return rc;
        out.push_back(op);
        // The last list turns fastest.
        size_t p = parts.size();
        while (p > 0) {
            --p;
            if (++at[p] < parts[p].values.size()) break;
            at[p] = 0;
            if (p == 0) return 0;
        }
        if (parts.empty()) return 0;
    }
}

// ---- Look-up ------------------------------------------------------------------------------------------

bool wild_rec(const char *p, const char *s) {
    for (; *p; ++p) {
        if (*p == '*' || *p == '~') {
            while (p[1] == '*' || p[1] == '~')
                ++p;
            if (!p[1]) return true;
            for (const char *t = s; *t; ++t)
                if (wild_rec(p + 1, t)) return true;
            return false;
        }
        if (!*s) return false;
        if (*p != '?' && *p != *s) return false;
        ++s;
    }
    return *s == 0;
}

// A wildcard element: every visible variable that matches, in dataset order.
int add_pattern(const std::string &tok, const TsOp *op, bool ts) {
    const bool tilde = tok.find('~') != std::string::npos;
    if (tilde && tok.find_first_of("*?") != std::string::npos)
        return session::fail(198, tok + ":  may not combine ~ and *-or-? notation\n");
    std::vector<int> hits;
    for (int v = 1; v <= ds.nvar_visible; ++v)
        if (!is_e(v) && wild_rec(tok.c_str(), ds.varname[v - 1])) hits.push_back(v);
    if (hits.empty()) return session::variable_not_found(tok);
    if (tilde && hits.size() > 1) return session::ambiguous(tok);
    for (int v : hits) {
        if (ts && op && is_string_type(ds.vartype[v - 1]))
            return session::fail(109, std::string(ds.varname[v - 1]) +
                                          ":  may not use time-series operators on string variables\n");
        if (int rc = list_add(v, op)) return rc;
    }
    return 0;
}

// One name or pattern with an operator (op may be null).
int add_operated(const std::string &base, const TsOp *op) {
    if (has_wild(base)) return add_pattern(base, op, true);
    int v = varlookup(base, true, varabbrev);
    if (v < 0) return -v;
    if (op && is_string_type(ds.vartype[v - 1]))
        return session::fail(109, std::string(ds.varname[v - 1]) +
                                      ":  may not use time-series operators on string variables\n");
    return list_add(v, op);
}

// ops.name: the text before the last `.` is the operator string.
int ts_element(const std::string &tok, unsigned flags) {
    if (!(flags & VL_TS)) return session::error(6101);
    size_t dot = tok.rfind('.');
    std::string base = tok.substr(dot + 1);
    std::vector<TsOp> ops;
    if (int rc = op_expand(std::string_view(tok).substr(0, dot), tok, ops)) return rc;
    if (base.empty()) return session::invalid_name(tok);
    for (const TsOp &o : ops) {
        int rc = 0;
        const TsOp *p = tsop_intern(o, &rc);
        if (rc) return rc;
        if ((rc = add_operated(base, p))) return rc;
    }
    return 0;
}

// name [- name]
int name_element(const std::string &tok) {
    int v1 = varlookup(tok, true, varabbrev);
    if (v1 < 0) return -v1;
    if (!next_is_dash()) return list_add(v1);
    const char *t = gettok(VLSEP);
    std::string second = t;
    if (second.empty() || std::strchr(VLSEP, second[0]) || has_wild(second)) return session::error(198);
    int v2 = varlookup(second, true, varabbrev);
    if (v2 < 0) return -v2;
    if (v2 < v1) return session::fail(111, "Variables out of order\n");
    if (int rc = list_add(v1)) return rc;
    for (int v = v1 + 1; v <= v2; ++v)
        if (!is_e(v))
            if (int rc = list_add(v)) return rc;
    return 0;
}

// _skip | _skip(#): # places of -1.
int skip_count(const std::string &tok, int *n) {
    if (tok == "_skip") {
        *n = 1;
        return 0;
    }
    if (tok.size() < 8 || tok.back() != ')') return session::error(198);
    std::string num = tok.substr(6, tok.size() - 7);
    NumlistOpts o;
    o.integer = true;
    o.min = 1;
    o.single = true;
    o.mincount = o.maxcount = 1;
    std::vector<double> v;
    if (int rc = numlist_parse(num, o, v, false)) return rc;
    *n = (int)v[0];
    return 0;
}

bool is_skip(const std::string &tok) { return tok == "_skip" || tok.rfind("_skip(", 0) == 0; }

// ---- Factor variables ----------------------------------------------------------------------------

struct FvScan {
    std::string_view s;
    size_t i = 0;
    void blanks() {
        while (i < s.size() && s[i] == ' ')
            ++i;
    }
    bool at(char c) {
        blanks();
        return i < s.size() && s[i] == c;
    }
    // A name: up to a blank, `(`, `)` or `*`.
    std::string word() {
        blanks();
        size_t j = i;
        while (i < s.size() && !std::strchr(" ()*", s[i]))
            ++i;
        return std::string(s.substr(j, i - j));
    }
};

// The levels of a factor: every nonmissing value, each a nonnegative integer.
int factor_levels(int v, std::map<double, int64_t> &lev) {
    if (is_string_type(ds.vartype[v - 1])) return session::error(109);
    for (int i = 1; i <= ds.nobs; ++i) {
        double x = get_num(v, i);
        if (is_missing(x)) continue;
        if (x != std::floor(x))
            return session::fail(459, std::string("factor ") + ds.varname[v - 1] +
                                          " contains noninteger values\n");
        if (x < 0)
            return session::fail(459,
                                 std::string("factor ") + ds.varname[v - 1] + " contains negative values\n");
        ++lev[x];
    }
    return 0;
}

// base := number | freq | none | word | "text"
int fv_base(std::string_view text, int v, FvFactorInfo &f) {
    std::string b(text);
    while (!b.empty() && b.back() == ' ')
        b.pop_back();
    while (!b.empty() && b.front() == ' ')
        b.erase(0, 1);
    if (b.empty() || b[0] == '#') return session::error(198);
    double x;
    if (b == "freq") {
        f.basepref = FVB_FREQ;
        return 0;
    }
    if (b == "none") {
        f.basepref = FVB_NONE;
        return 0;
    }
    if (b[0] != '"' && text_to_number(b, x, false)) {
        f.basepref = FVB_VALUE;
        f.baseidx = x;
        return 0;
    }
    std::string lbltext = b;
    if (lbltext[0] == '"') {
        lbltext.erase(0, 1);
        if (!lbltext.empty() && lbltext.back() == '"') lbltext.pop_back();
    }
    const char *lbl = ds.vallab[v - 1];
    if (!lbl[0])
        return session::fail(111,
                             std::string("variable ") + ds.varname[v - 1] + " does not have a value label\n");
    if (vl_value_of(lbl, lbltext, &x) != 0)
        return session::fail(111, "\"" + lbltext + "\" not found in value label " + lbl + "\n");
    f.basepref = FVB_VALUE;
    f.baseidx = x;
    return 0;
}

// term := c(name) | C(name) | name[(base)]
int fv_term(FvScan &sc, FvTerm &term) {
    std::string w = sc.word();
    const bool cont = (w == "c" || w == "C") && sc.i < sc.s.size() && sc.s[sc.i] == '(';
    if (cont) {
        ++sc.i;
        w = sc.word();
        if (!sc.at(')')) return session::error(198);
        ++sc.i;
    }
    if (w.empty()) return session::error(198);
    int v = varlookup(w, true, varabbrev);
    if (v < 0) return -v;
    FvVarInfo vi{v, cont ? 2 : 1, -1, (int32_t)ps.fv.terms.size()};
    if (cont) {
        if (is_string_type(ds.vartype[v - 1])) return session::error(109);
        if (++term.ncont > FV_MAXCONT) return session::fail(103, "too many terms in interaction\n");
    } else {
        if (++term.nfactors > FV_MAXFACTORS) return session::fail(103, "too many terms in interaction\n");
        FvFactorInfo f{};
        f.var = v;
        f.basepref = FVB_DEFAULT;
        f.baselevel = -1;
        f.term = vi.term;
        if (sc.i < sc.s.size() && sc.s[sc.i] == '(') {
            // The name is cut at its `(`; the base is one token up to the closing `)`.
            size_t close = sc.s.find(')', sc.i);
            if (close == std::string_view::npos) return session::error(198);
            if (int rc = fv_base(sc.s.substr(sc.i + 1, close - sc.i - 1), v, f)) return rc;
            sc.i = close + 1;
        }
        std::map<double, int64_t> lev;
        if (int rc = factor_levels(v, lev)) return rc;
        f.levoff = (int32_t)ps.fv.levels.size();
        f.nlevels = (int32_t)lev.size();
        int64_t best = -1;
        int idx = 0;
        for (auto &[x, n] : lev) {
            ps.fv.levels.push_back(x);
            if (f.basepref == FVB_DEFAULT && idx == 0) f.baseidx = x, f.baselevel = 0;
            if (f.basepref == FVB_FREQ && n > best) best = n, f.baseidx = x, f.baselevel = idx;
            if (f.basepref == FVB_VALUE && x == f.baseidx) f.baselevel = idx;
            ++idx;
        }
        f.minlevel = lev.empty() ? 0 : lev.begin()->first;
        f.maxlevel = lev.empty() ? 0 : lev.rbegin()->first;
        vi.factor = (int32_t)ps.fv.factors.size();
        ps.fv.factors.push_back(f);
    }
    ps.fv.varinfo.push_back(vi);
    ++term.nvars;
    return 0;
}

// i( element { element } ) with element := term { * term }
int fv_group(const std::string &tok) {
    if (tok.size() < 3 || tok.back() != ')') return session::error(198);
    FvScan sc{std::string_view(tok).substr(2, tok.size() - 3)};
    for (;;) {
        sc.blanks();
        if (sc.i >= sc.s.size()) break;
        FvTerm term{(int32_t)ps.fv.varinfo.size(), 0, 0, 0, ps.count, 1};
        for (;;) {
            if (int rc = fv_term(sc, term)) return rc;
            if (!sc.at('*')) break;
            ++sc.i;
        }
        for (int k = term.first; k < term.first + term.nvars; ++k)
            if (ps.fv.varinfo[k].factor >= 0)
                term.ncells *= std::max(1, ps.fv.factors[ps.fv.varinfo[k].factor].nlevels);
        ps.fv.terms.push_back(term);
        if (int rc = list_add(ps.fv.varinfo[term.first].var, nullptr, (int32_t)ps.fv.terms.size())) return rc;
    }
    return 0;
}

// The blocks other commands read, under their names in the named store.
int fv_store() {
    const FvState &fv = ps.fv;
    std::vector<int32_t> inter, interinfo, termlocs, ivarlocs(ps.count, 0);
    for (size_t t = 0; t < fv.terms.size(); ++t) {
        const FvTerm &tm = fv.terms[t];
        inter.insert(inter.end(), {tm.first, tm.nvars});
        interinfo.insert(interinfo.end(), {tm.nfactors, tm.ncont, tm.listpos, tm.ncells});
        termlocs.push_back(tm.listpos);
        if (tm.listpos < ps.count) ivarlocs[tm.listpos] = (int32_t)t + 1;
    }
    const int32_t toc[4] = {(int32_t)fv.terms.size(), (int32_t)fv.varinfo.size(), (int32_t)fv.factors.size(),
                            (int32_t)fv.levels.size()};
    int rc = 0;
    if (!rc)
        rc = fv_put_block("fv_varinfo", fv.varinfo.data(), fv.varinfo.size() * sizeof(FvVarInfo),
                          (int32_t)fv.varinfo.size());
    if (!rc)
        rc = fv_put_block("fv_factorinfo", fv.factors.data(), fv.factors.size() * sizeof(FvFactorInfo),
                          (int32_t)fv.factors.size());
    if (!rc) rc = fv_put_block("fv_interaction", inter.data(), inter.size() * 4, (int32_t)fv.terms.size());
    if (!rc)
        rc = fv_put_block("fv_interactioninfo", interinfo.data(), interinfo.size() * 4,
                          (int32_t)fv.terms.size());
    if (!rc) rc = fv_put_block("fv_toc", toc, sizeof toc, 4);
    if (!rc) rc = fv_put_block("fv_termlocs", termlocs.data(), termlocs.size() * 4, (int32_t)termlocs.size());
    if (!rc) rc = fv_put_block("fv_ivarlocs", ivarlocs.data(), ivarlocs.size() * 4, (int32_t)ivarlocs.size());
    if (!rc)
        rc = fv_put_block("fv_factorlevels", fv.levels.data(), fv.levels.size() * 8,
                          (int32_t)fv.levels.size());
    return rc;
}

} // namespace

int fv_put_block(const char *name, const void *bytes, size_t size, int32_t count) {
    int32_t len;
    if (void *old = session::store_find(name, ST_FVBLOCK, &len)) session::store_delete(old);
    if (!session::store_add_copy(name, ST_FVBLOCK, count, bytes, (int64_t)size)) return 950;
    return 0;
}

namespace {

// ---- New variable lists ------------------------------------------------------------------------

int default_new_type() { return session::se.type == T_DOUBLE ? T_DOUBLE : T_FLOAT; }

bool listed_new(const std::string &name) {
    for (const NewVar &n : ps.newvars)
        if (n.name == name) return true;
    return false;
}

int new_name(const std::string &name, int type, unsigned flags) {
    if (int rc = check_newname(name.c_str())) return rc;
    if (listed_new(name)) return session::already_defined(name);
    ps.newvars.push_back(NewVar{name, type, ""});
    if (flags & VL_CREATE) {
        int v;
        if (int rc = add_var(name.c_str(), type ? type : default_new_type(), &v)) return rc;
        fill_missing(v, 1);
        return list_add(v);
    }
    return 0;
}

// "x12" into "x" and 12; false without trailing digits.
bool stem_number(const std::string &s, std::string &stem, long &n) {
    size_t k = s.size();
    while (k > 0 && s[k - 1] >= '0' && s[k - 1] <= '9')
        --k;
    if (k == s.size() || s.size() - k > 9) return false;
    stem = s.substr(0, k);
    n = std::strtol(s.c_str() + k, nullptr, 10);
    return true;
}

// new := { [(type)] [type] name[:label] | name#-name# | _skip[(#)] }
int parse_newlist(unsigned flags) {
    int group = 0;
    for (;;) {
        const char *t = gettok(VLSEP);
        std::string tok = t;
        if (tok.empty()) return 0;
        if (tok == "(") {
            if (!(flags & VL_TYPEPAREN)) return session::error(198);
            std::string w = gettok(VLSEP);
            int ty = type_from_name(w.c_str());
            if (!ty) return session::invalid_text(w);
            if (std::string(gettok(VLSEP)) != ")") return session::error(198);
            group = w == "float" ? 0 : ty;
            continue;
        }
        if (tok[0] == '"' || std::strchr(VLSEP, tok[0]) || stop_word(tok.c_str())) {
            ungettok();
            return 0;
        }
        if (*tk.tokpos == '(') tok = glue_parens(tok);
        if ((flags & VL_SKIP) && is_skip(tok)) {
            int n;
            if (int rc = skip_count(tok, &n)) return rc;
            for (int k = 0; k < n; ++k) {
                ps.newvars.push_back(NewVar{"", 0, ""});
                if (flags & VL_CREATE)
                    if (int rc = list_add(-1)) return rc;
            }
            continue;
        }
        int type = group;
        if (int ty = type_from_name(tok.c_str())) {
            type = tok == "float" ? 0 : ty;
            tok = gettok(VLSEP);
            if (tok.empty() || std::strchr(VLSEP, tok[0]) || tok[0] == '"') return session::error(198);
        }
        if (next_is_dash()) {
            std::string last = gettok(VLSEP), s1, s2;
            long n1, n2;
            if (!stem_number(tok, s1, n1) || !stem_number(last, s2, n2) || s1 != s2 || n2 < n1)
                return session::error(198);
            for (long n = n1; n <= n2; ++n) {
                char name[64];
                std::snprintf(name, sizeof name, "%s%ld", s1.c_str(), n);
                if (int rc = new_name(name, type, flags)) return rc;
            }
            continue;
        }
        if (int rc = new_name(tok, type, flags)) return rc;
        if (!(flags & VL_LABEL)) continue;
        if (std::strcmp(gettok(VLSEP), ":") != 0) {
            ungettok();
            continue;
        }
        {
            std::string lbl = gettok(VLSEP);
            const int ty = type ? type : default_new_type();
            if (is_string_type(ty)) return session::error(181);
            if (!session::name_ok(lbl)) return session::invalid_name(lbl);
            ps.newvars.back().vallab = lbl;
            if (flags & VL_CREATE) {
                int v = ps.var[ps.count - 1];
                std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s", lbl.c_str());
            }
        }
    }
}

} // namespace

// ---- Public routines --------------------------------------------------------------------------------

void parser_reset() {
    ensure_capacity();
    ps.count = 0;
    ps.nops = 0;
    ps.newvars.clear();
    ps.fv.varinfo.clear();
    ps.fv.factors.clear();
    ps.fv.terms.clear();
    ps.fv.levels.clear();
    ps.inrange = false;
    ps.in_lo = 1;
    ps.in_hi = ds.nobs;
}

int list_add(int32_t v, const TsOp *op, int32_t fvterm) {
    ensure_capacity();
    if (ps.count >= ps.cap) return session::error(103);
    ps.var[ps.count] = v;
    ps.info[ps.count] = ListInfo{op, fvterm};
    ++ps.count;
    ps.var[ps.count] = 0;
    ps.info[ps.count] = ListInfo{nullptr, 0};
    return 0;
}

int list_all() {
    for (int v = 1; v <= ds.nvar_visible; ++v)
        if (!is_e(v))
            if (int rc = list_add(v)) return rc;
    return 0;
}

void list_unique() {
    int k = 0;
    for (int j = 0; j < ps.count; ++j) {
        bool seen = false;
        for (int i = 0; i < k && !seen; ++i)
            seen = ps.var[i] == ps.var[j] && ps.info[i].op == ps.info[j].op &&
                   ps.info[i].fvterm == ps.info[j].fvterm;
        if (!seen) {
            ps.var[k] = ps.var[j];
            ps.info[k] = ps.info[j];
            ++k;
        }
    }
    ps.count = k;
    ps.var[k] = 0;
    ps.info[k] = ListInfo{nullptr, 0};
}

// The term of entry k read back as the parser takes it: "i(c3)", "i(c3(2))", "i(c3*c(x1))".
static std::string fv_term_text(const FvTerm &tm) {
    std::string s = "i(";
    for (int k = tm.first; k < tm.first + tm.nvars; ++k) {
        const FvVarInfo &vi = ps.fv.varinfo[(size_t)k];
        if (k > tm.first) s += "*";
        const std::string name = ds.varname[vi.var - 1];
        if (vi.factor < 0) {
            s += "c(" + name + ")";
            continue;
        }
        const FvFactorInfo &f = ps.fv.factors[(size_t)vi.factor];
        s += name;
        if (f.basepref == FVB_FREQ) s += "(freq)";
        if (f.basepref == FVB_NONE) s += "(none)";
        if (f.basepref == FVB_VALUE) s += "(" + number_text(f.baseidx) + ")";
    }
    return s + ")";
}

std::string list_entry_text(int k) {
    const int v = ps.var[k];
    if (v < 0) return "_skip";
    if (ps.info[k].fvterm) return fv_term_text(ps.fv.terms[(size_t)ps.info[k].fvterm - 1]);
    return tsop_text(ps.info[k].op) + ds.varname[v - 1];
}

std::vector<std::string> varnames_beginning(std::string_view stem) {
    std::vector<std::string> out;
    for (int v = 1; v <= ds.nvar_visible; ++v)
        if (std::string_view(ds.varname[v - 1]).starts_with(stem)) out.emplace_back(ds.varname[v - 1]);
    return out;
}

bool wildmatch(std::string_view pat, std::string_view name) {
    return wild_rec(std::string(pat).c_str(), std::string(name).c_str());
}

int varlookup(std::string_view name, bool report, bool abbrev) {
    const std::string n(name);
    if (!session::name_ok(n)) return -(report ? session::invalid_name(n) : 198);
    const int nv = ds.nvar_visible;
    for (int v = 1; v <= nv; ++v)
        if (std::strcmp(ds.varname[v - 1], n.c_str()) == 0) return v;
    if (abbrev) {
        int hit = 0, nhits = 0;
        for (int v = 1; v <= nv; ++v)
            if (std::strncmp(ds.varname[v - 1], n.c_str(), n.size()) == 0) {
                hit = v;
                ++nhits;
            }
        if (nhits == 1) return hit;
        if (nhits > 1) return -(report ? session::ambiguous(n) : 111);
    }
    return -(report ? session::variable_not_found(n) : 111);
}

int tsop_parse(std::string_view opstr, std::string_view token, TsOp &op) {
    std::vector<TsOp> ops;
    if (int rc = op_expand(opstr, token, ops)) return rc;
    if (ops.size() != 1) return session::fail(198, "numlist in operator invalid\n");
    op = ops[0];
    return 0;
}

const TsOp *tsop_intern(const TsOp &op, int *rc) {
    *rc = 0;
    static const TsOp zero{};
    if (std::memcmp(&op, &zero, sizeof op) == 0) return nullptr;
    for (int k = 0; k < ps.nops; ++k)
        if (std::memcmp(&ps.ops[k], &op, sizeof op) == 0) return &ps.ops[k];
    if (ps.nops >= MAXTSOPS) {
        *rc = session::fail(1000, "too many time-series operators\n");
        return nullptr;
    }
    ps.ops[ps.nops] = op;
    return &ps.ops[ps.nops++];
}

std::string tsop_text(const TsOp *op) {
    if (!op) return "";
    std::string s;
    auto put = [&](char c, long n) {
        s.push_back(c);
        if (n != 1) s += std::to_string(n);
    };
    if (op->lag > 0) put('L', op->lag);
    if (op->lag < 0) put('F', -(long)op->lag);
    if (op->diff) put('D', op->diff);
    for (int k = 0; k < op->nseas; ++k)
        put('S', op->seas[k]);
    return s + ".";
}

int parse_varlist(unsigned flags) {
    ensure_capacity();
    if (flags & VL_NOTALLOWED) {
        const char *t = gettok(VLSEP);
        const bool elem = t[0] && t[0] != '"' && (!std::strchr(VLSEP, t[0]) || t[0] == '(') && !stop_word(t);
        ungettok();
        return elem ? session::not_allowed("varlist") : 0;
    }
    if (flags & VL_NEW) return parse_newlist(flags);
    const size_t nterms = ps.fv.terms.size();
    int rc = 0;
    for (;;) {
        const char *t = gettok(VLSEP);
        if (!t[0]) break;
        if (t[0] == '"' || std::strchr(VLSEP, t[0]) || stop_word(t)) {
            if (t[0] == '-' && !t[1]) {
                rc = session::error(198);
                break;
            }
            ungettok();
            break;
        }
        std::string tok = t;
        if (*tk.tokpos == '(') tok = glue_parens(tok);
        if (tok == "_all" && !(flags & VL_NOALL))
            rc = list_all();
        else if ((flags & VL_SKIP) && is_skip(tok)) {
            int n = 0;
            rc = skip_count(tok, &n);
            for (int k = 0; !rc && k < n; ++k)
                rc = list_add(-1);
        } else if ((flags & VL_FV) && (tok[0] == 'i' || tok[0] == 'I') && tok.size() > 1 && tok[1] == '(')
            rc = fv_group(tok);
        else if (tok.find('.', 1) != std::string::npos)
            rc = ts_element(tok, flags);
        else if (has_wild(tok))
            rc = add_pattern(tok, nullptr, false);
        else
            rc = name_element(tok);
        if (rc) break;
    }
    if (!rc && ps.fv.terms.size() > nterms) rc = fv_store();
    return rc;
}

int newvars_create() {
    for (const NewVar &n : ps.newvars) {
        if (n.name.empty()) {
            if (int rc = list_add(-1)) return rc;
            continue;
        }
        int v;
        if (int rc = add_var(n.name.c_str(), n.type ? n.type : default_new_type(), &v)) return rc;
        fill_missing(v, 1);
        if (!n.vallab.empty()) std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s", n.vallab.c_str());
        if (int rc = list_add(v)) return rc;
    }
    return 0;
}

// The tokenizer is set to the text and put back afterwards, and the line's `in` range, which the
// parser's reset would forget, is kept.
int expand_varlist(const std::string &text, std::vector<int> &out) {
    session::TokState st;
    session::savetok(st);
    std::vector<char> buf(text.begin(), text.end());
    buf.push_back(0);
    session::settok(buf.data());
    const bool inrange = ps.inrange;
    const int32_t in_lo = ps.in_lo, in_hi = ps.in_hi;
    parser_reset();
    int rc = parse_varlist(VL_NOALL);
    if (!rc && *session::tokrest()) rc = session::invalid_rest(session::tokrest());
    if (!rc)
        for (int k = 0; k < ps.count; ++k)
            out.push_back(ps.var[(size_t)k]);
    parser_reset();
    ps.inrange = inrange;
    ps.in_lo = in_lo;
    ps.in_hi = in_hi;
    session::restoretok(st);
    return rc;
}

} // namespace data
