// The likelihood evaluator aids: the model of the ML_ globals, and the six commands over the kernels
// of mleval_smp.cpp.
#include "estimate/mleval.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "data/dataset.h"
#include "data/scalar.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/matstore.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/store.h"
#include "session/tok.h"

namespace est::ml {

using namespace session;

namespace {

// The text of global ML_<stem><num> (num 0: none), or null.
const char *ml_macro(const char *stem, int num = 0) {
    char name[24];
    if (num)
        std::snprintf(name, sizeof name, "ML_%s%d", stem, num);
    else
        std::snprintf(name, sizeof name, "ML_%s", stem);
    return macro_get(name);
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return s;
}

// A whole number written alone; false otherwise.
bool whole_number(std::string_view text, long *out) {
    const std::string t(trim(text));
    if (t.empty()) return false;
    char *end;
    const double d = std::strtod(t.c_str(), &end);
    if (*end || !std::isfinite(d) || d != std::floor(d) || std::abs(d) > 1e9) return false;
    *out = (long)d;
    return true;
}

// An integer macro of an equation (ML_fp#, ML_lp#): 304 when absent, 305 when not a whole number.
int model_position(const char *stem, int eq, long *out) {
    const char *t = ml_macro(stem, eq);
    if (!t) return error(304);
    if (!whole_number(t, out)) return error(305);
    return 0;
}

// ---- The equation cache -----------------------------------------------------------------------
//
// Evaluators call the aids several times per iteration with the same macros: the list of an
// equation is kept while its macros read the same and each of its variables still stands under its
// name at its number. Only lists written as whole names are kept, so no new variable can change
// what they mean.

struct Cached {
    bool valid = false;
    std::string x, xo, xe, name, xn;
    bool xc = false;
    std::vector<std::string> names; // of eq.var, then of the offset
    Equation eq;
};
std::vector<Cached> cache;

std::string text_of(const char *p) { return p ? std::string(p) : std::string(); }

bool still_named(const Cached &c) {
    auto same = [&](int v, const std::string &n) {
        return v >= 1 && v <= data::ds.nvar_visible && n == data::ds.varname[(size_t)v - 1] &&
               !data::is_string_type(data::ds.vartype[(size_t)v - 1]);
    };
    size_t k = 0;
    for (int v : c.eq.var)
        if (!same(v, c.names[k++])) return false;
    return !c.eq.offset || same(c.eq.offset, c.names[k]);
}

// The words of a list separated by blanks.
std::vector<std::string> words(std::string_view s) {
    std::vector<std::string> w;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        const size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        if (i > b) w.emplace_back(s.substr(b, i - b));
    }
    return w;
}

// A variable list from a text of its own, through the list parser; the list array of the command is
// left as it was. ts: time-series operators are read (and refused as not built).
int text_varlist(const std::string &text, const char *what, std::vector<int> &out) {
    out.clear();
    if (trim(text).empty()) return 0;
    const int32_t before = data::ps.count;
    settok(text.c_str());
    int rc = data::parse_varlist(data::VL_NOALL | data::VL_TS);
    if (!rc) {
        const char *rest = tokrest();
        if (rest && !trim(rest).empty()) rc = invalid_rest(trim(rest));
    }
    if (!rc)
        for (int32_t k = before; k < data::ps.count && !rc; ++k) {
            if (data::ps.info[(size_t)k].op) rc = not_built(std::string("time-series operators in ") + what);
            out.push_back(data::ps.var[(size_t)k]);
        }
    data::ps.count = before;
    return rc;
}

} // namespace

int model_equations(int *n) {
    const char *t = ml_macro("n");
    if (!t) return error(304);
    long v;
    if (!whole_number(t, &v) || v < 0) return error(305);
    *n = (int)v;
    return 0;
}

int check_equation(int eq, int n) {
    if (eq >= 1 && eq <= n && eq <= MAX_EQ) return 0;
    return fail(198, "equation " + std::to_string(eq) + " out of range\n");
}

int model_sample(Sample &s) {
    s.lo = 1;
    s.hi = data::ds.nobs;
    const char *t = ml_macro("samp");
    if (!t) return error(304);
    const int v = data::varlookup(trim(t), false, false);
    if (v < 1 || data::ds.vartype[(size_t)v - 1] != data::T_BYTE) {
        error(109);
        return 305;
    }
    s.samp = v;
    s.wvar = 0;
    if (const char *w = ml_macro("w"); w && !trim(w).empty()) {
        const int wv = data::varlookup(trim(w), true, false);
        if (wv < 0) return -wv;
        if (data::is_string_type(data::ds.vartype[(size_t)wv - 1])) return error(109);
        s.wvar = wv;
    }
    return 0;
}

int model_equation(int num, const Equation *&out) {
    if (cache.empty()) cache.resize((size_t)MAX_EQ + 1);
    Cached &c = cache[(size_t)num];
    const char *x = ml_macro("x", num), *xo = ml_macro("xo", num), *xe = ml_macro("xe", num),
               *nm = ml_macro("eq", num), *xn = ml_macro("xn", num);
    const bool xc = ml_macro("xc", num) != nullptr;
    auto eqs = [](const std::string &s, const char *p) { return p ? s == p : s.empty(); };
    if (c.valid && c.xc == xc && eqs(c.x, x) && eqs(c.xo, xo) && eqs(c.xe, xe) && eqs(c.name, nm) &&
        eqs(c.xn, xn) && still_named(c)) {
        out = &c.eq;
        return 0;
    }
    c.valid = false;
    Equation eq;
    eq.num = num;
    eq.name = std::string(trim(text_of(nm)));
    if (eq.name.size() > 32) eq.name.resize(32);
    eq.cons = !xc;
    const std::string what = "ML_x" + std::to_string(num);
    if (int rc = text_varlist(text_of(x), what.c_str(), eq.var)) return rc;
    for (int v : eq.var)
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
    const std::string otext(trim(text_of(xo ? xo : xe)));
    if (!otext.empty()) {
        const int v = data::varlookup(otext, true, data::varabbrev);
        if (v < 0) return -v;
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        eq.offset = v;
        eq.exposure = !xo;
    }
    if (eq.k() == 0) return error(102);
    eq.label = words(text_of(xn));
    if (eq.label.size() != eq.var.size()) eq.label.clear();
    c.eq = eq;
    c.x = text_of(x);
    c.xo = text_of(xo);
    c.xe = text_of(xe);
    c.name = text_of(nm);
    c.xn = text_of(xn);
    c.xc = xc;
    c.names.clear();
    for (int v : eq.var)
        c.names.emplace_back(data::ds.varname[(size_t)v - 1]);
    if (eq.offset) c.names.emplace_back(data::ds.varname[(size_t)eq.offset - 1]);
    // kept only when written as whole names
    c.valid =
        words(c.x) == std::vector<std::string>(c.names.begin(), c.names.begin() + (long)eq.var.size()) &&
        (!eq.offset || otext == c.names.back());
    out = &c.eq;
    return 0;
}

namespace {

// ---- What the commands share ----------------------------------------------------------------------

// eq(#) or eq(#,#): both 1 when not given; the second equals the first when only one is written.
int read_eqs(const std::string &text, bool two, int *a, int *b) {
    *a = *b = 1;
    if (text.empty()) return 0;
    const size_t comma = text.find(',');
    long x, y;
    if (!whole_number(std::string_view(text).substr(0, comma), &x)) return option_invalid("eq");
    y = x;
    if (comma != std::string::npos && (!two || !whole_number(std::string_view(text).substr(comma + 1), &y)))
        return option_invalid("eq");
    *a = (int)x;
    *b = (int)y;
    return 0;
}

// A name the command stores under (a scalar or a matrix): the name rule.
int read_name(std::string &out) {
    out = gettok(SEP_STD);
    if (out.empty() || std::strchr(SEP_STD, out[0])) return error(198);
    return check_name(out);
}

// The sample of a command whose line has been parsed: the model's marker and weight, the `if`, and
// whether the kernels may evaluate the expressions in blocks and on the team.
int command_sample(Sample &s, data::ExprRecord *e) {
    if (int rc = model_sample(s)) return rc;
    s.useif = data::sm.ifpresent;
    if (s.useif) data::sample_ranges(data::ifexp);
    if (e) data::sample_ranges(*e);
    s.safe = (!s.useif || data::ifexp.expressionSafe) && (!e || e->expressionSafe);
    data::expr_lastrc = 0;
    return 0;
}

// The stripe of an equation's list: eqname:var, _cons last.
std::vector<mat::StripeName> stripe(const Equation &eq) {
    std::vector<mat::StripeName> s;
    auto put = [&](const char *name) {
        mat::StripeName n;
        std::snprintf(n.equation, sizeof n.equation, "%s", eq.name.c_str());
        std::snprintf(n.name, sizeof n.name, "%s", name);
        s.push_back(n);
    };
    for (size_t j = 0; j < eq.var.size(); ++j)
        put(eq.label.empty() ? data::ds.varname[(size_t)eq.var[j] - 1] : eq.label[j].c_str());
    if (eq.cons) put("_cons");
    return s;
}

// A poisoned result: the log likelihood becomes missing and the command succeeds.
int poison(const std::string &scalar) { return data::scalar_set(scalar.c_str(), session::lim.dot); }

int store_matrix(const std::string &name, int rows, int cols, bool sym, std::vector<double> &v,
                 std::vector<mat::StripeName> rn, std::vector<mat::StripeName> cn) {
    mat::Matrix m;
    m.rows = rows;
    m.cols = cols;
    m.sym = sym;
    m.v.swap(v);
    m.rn = std::move(rn);
    m.cn = std::move(cn);
    return mat::mat_save(name.c_str(), ST_MATRIX, m);
}

// The code of a kernel: a Break gets its message here.
int kernel_rc(int rc) {
    if (rc == 1) return error(1);
    if (rc) return rc;
    return data::expr_lastrc;
}

} // namespace

// mleval newvar = vecname [, eq(#) scalar]
int cmd_mleval(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty() || std::strcmp(gettok(SEP_STD), "=") != 0) return error(198);
    const std::string vec = gettok(SEP_STD);
    if (vec.empty()) return error(198);
    std::string eqtext;
    bool scalar = false;
    const OptSpec specs[] = {opt_text("eq", 2, eqtext), opt_flag("scalar", 2, scalar)};
    if (int rc = parse_options(specs)) return rc;
    int e, unused, n;
    if (int rc = read_eqs(eqtext, false, &e, &unused)) return rc;
    if (int rc = scalar ? check_name(name) : data::check_newname(name.c_str())) return rc;
    if (int rc = model_equations(&n)) return rc;
    if (int rc = check_equation(e, n)) return rc;
    mat::Matrix b;
    if (scalar) {
        const char *ip = ml_macro("ip", e);
        if (!ip || std::strcmp(ip, "1") != 0)
            return fail(198, "mleval, scalar: eq(" + std::to_string(e) + ") not constant\n");
        if (ml_macro("xo", e) || ml_macro("xe", e))
            return fail(198, "mleval, scalar: eq(" + std::to_string(e) + ") may not have offset\n");
        if (!mat::mat_read(vec.c_str(), ST_MATRIX, b)) return fail(111, "vector " + vec + " not found\n");
        long fp;
        if (int rc = model_position("fp", e, &fp)) return rc;
        if (b.rows != 1 || fp < 1 || fp > b.cols) return error(503);
        return data::scalar_set(name.c_str(), b.at(0, (int)fp - 1));
    }
    if (!mat::mat_read(vec.c_str(), ST_MATRIX, b)) return fail(111, "vector " + vec + " not found\n");
    const Equation *eq;
    if (int rc = model_equation(e, eq)) return rc;
    long fp, lp;
    if (int rc = model_position("fp", e, &fp)) return rc;
    if (int rc = model_position("lp", e, &lp)) return rc;
    if (b.rows != 1 || fp < 1 || lp > b.cols || lp - fp + 1 != eq->k()) return error(503);
    Sample s;
    if (int rc = model_sample(s)) return rc;
    const int before = data::ds.nvar;
    int v;
    if (int rc = data::add_var(name.c_str(), data::T_DOUBLE, &v)) return rc;
    if (int rc = mleval_u_smp(s, *eq, &b.v[(size_t)fp - 1], v)) {
        data::cut_vars(before);
        return kernel_rc(rc);
    }
    return 0;
}

// mlsum scalarname = exp [if]
int cmd_mlsum(int) {
    std::string name;
    if (int rc = read_name(name)) return rc;
    data::ParseSpec spec;
    spec.exp = data::PO_REQUIRED;
    spec.in = data::PO_NONE;
    spec.options = data::PO_NONE;
    if (int rc = data::std_parse(spec)) return rc;
    Sample s;
    if (int rc = command_sample(s, &data::eqexp)) return rc;
    // with weights the sum must cover the whole estimation sample
    const bool check = s.useif && ml_macro("wtyp") != nullptr;
    double sum;
    SumResult r;
    if (int rc = kernel_rc(mlsum_smp(s, data::eqexp, check, &sum, r))) return rc;
    if (r.excluded)
        return fail(499, "mlsum must be over entire estimation sample when weights\nare specified\n");
    return data::scalar_set(name.c_str(), sum);
}

namespace {

// The line of mlvecsum and mlmatsum: the likelihood scalar's name, the result's name, `= exp`, an
// `if`, and the eq() option's text.
int read_sum_line(std::string &lnf, std::string &name, std::string &eqtext) {
    if (int rc = read_name(lnf)) return rc;
    if (int rc = read_name(name)) return rc;
    data::ParseSpec spec;
    spec.exp = data::PO_REQUIRED;
    spec.in = data::PO_NONE;
    if (int rc = data::std_parse(spec)) return rc;
    const OptSpec specs[] = {opt_text("eq", 2, eqtext)};
    return data::std_options(specs);
}

} // namespace

// mlvecsum scalarname vecname = exp [if] [, eq(#)]
int cmd_mlvecsum(int) {
    std::string lnf, name, eqtext;
    if (int rc = read_sum_line(lnf, name, eqtext)) return rc;
    int e, unused, n;
    if (int rc = read_eqs(eqtext, false, &e, &unused)) return rc;
    if (int rc = model_equations(&n)) return rc;
    if (int rc = check_equation(e, n)) return rc;
    Sample s;
    if (int rc = command_sample(s, &data::eqexp)) return rc;
    const Equation *eq;
    if (int rc = model_equation(e, eq)) return rc;
    if (int rc = mat::check_matsize(1, eq->k())) return rc;
    std::vector<double> g;
    SumResult r;
    if (int rc = kernel_rc(mlvecsum_u_smp(s, data::eqexp, *eq, g, r))) return rc;
    if (r.poisoned) return poison(lnf);
    return store_matrix(name, 1, eq->k(), false, g, {}, stripe(*eq));
}

// mlmatsum scalarname matname = exp [if] [, eq(#[,#])]
int cmd_mlmatsum(int) {
    std::string lnf, name, eqtext;
    if (int rc = read_sum_line(lnf, name, eqtext)) return rc;
    int ea, eb, n;
    if (int rc = read_eqs(eqtext, true, &ea, &eb)) return rc;
    if (int rc = model_equations(&n)) return rc;
    if (int rc = check_equation(ea, n)) return rc;
    if (int rc = check_equation(eb, n)) return rc;
    Sample s;
    if (int rc = command_sample(s, &data::eqexp)) return rc;
    const Equation *a, *b;
    if (int rc = model_equation(ea, a)) return rc;
    if (int rc = model_equation(eb, b)) return rc;
    if (int rc = mat::check_matsize(a->k(), b->k())) return rc;
    std::vector<double> H;
    SumResult r;
    if (int rc = kernel_rc(mlmatsum_uxx_smp(s, data::eqexp, *a, *b, ea == eb, H, r))) return rc;
    if (r.poisoned) return poison(lnf);
    return store_matrix(name, a->k(), b->k(), ea == eb, H, stripe(*a), stripe(*b));
}

namespace {

// What the two forms of mlmatbysum read from their lines.
struct BySum {
    const char *cmd;
    std::string lnf, name, bytext, eqtext;
    std::vector<int> vars; // A, B and C when given
};

// The panel sum once the line is read: the by variables, the equations, the model, the sums.
int bysum_run(BySum &q, bool positional) {
    const std::string cmd = q.cmd;
    if (trim(q.bytext).empty()) return fail(198, cmd + ": option -by()- required\n");
    int ea, eb, n;
    if (int rc = read_eqs(q.eqtext, true, &ea, &eb)) return rc;
    std::vector<int> by;
    if (int rc = text_varlist(q.bytext, "by()", by)) return rc;
    for (int v : by)
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1]))
            return fail(109, cmd + ": string variable not allowed in -by()- option\n");
    if (positional) {
        if (ea != eb && q.vars.size() != 3)
            return fail(102, cmd + ": three variables required when equation numbers are not equal\n");
        if (ea == eb && q.vars.size() != 2)
            return fail(103, cmd + ": only two variables allowed when equation numbers are equal\n");
    } else {
        if (ea == eb && q.vars.size() == 3)
            return fail(198, cmd + ": option c() not allowed when equation numbers equal\n");
        if (ea != eb && q.vars.size() != 3) return fail(198, "option c() required\n");
    }
    for (int v : q.vars)
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
    if (int rc = model_equations(&n)) return rc;
    if (int rc = check_equation(ea, n)) return rc;
    if (int rc = check_equation(eb, n)) return rc;
    // the sort list must begin with the by variables
    for (size_t k = 0; k < by.size(); ++k)
        if (data::ds.sortlist[k] != by[k]) return fail(5, cmd + ": data not sorted\n");
    Sample s;
    if (int rc = command_sample(s, nullptr)) return rc;
    const Equation *a, *b;
    if (int rc = model_equation(ea, a)) return rc;
    if (int rc = model_equation(eb, b)) return rc;
    if (int rc = mat::check_matsize(a->k(), b->k())) return rc;
    std::vector<double> H;
    SumResult r;
    const int rc = ea == eb ? mlmatbysum_uxx_smp(s, by, q.vars[0], q.vars[1], *a, H, r)
                            : mlmatbysum_uxy_smp(s, by, q.vars[0], q.vars[1], q.vars[2], *a, *b, H, r);
    if (int krc = kernel_rc(rc)) return krc;
    if (r.poisoned) return poison(q.lnf);
    return store_matrix(q.name, a->k(), b->k(), ea == eb, H, stripe(*a), stripe(*b));
}

} // namespace

// mlmatbysum scalarname matname varA varB [varC] [if], by(varlist) [eq(#[,#])]
int cmd_mlmatbysum(int) {
    BySum q;
    q.cmd = "mlmatbysum";
    if (int rc = read_name(q.lnf)) return rc;
    if (int rc = read_name(q.name)) return rc;
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    spec.vlflags = data::VL_NOALL;
    spec.in = data::PO_NONE;
    if (int rc = data::std_parse(spec)) return rc;
    const OptSpec specs[] = {opt_text("by", 2, q.bytext), opt_text("eq", 2, q.eqtext)};
    if (int rc = data::std_options(specs)) return rc;
    q.vars.assign(data::ps.var.begin(), data::ps.var.begin() + data::ps.count);
    return bysum_run(q, true);
}

// _mlmatbysum scalarname matname [if], a(varA) b(varB) [c(varC)] by(varlist) [eq(#[,#])]
int cmd__mlmatbysum(int) {
    BySum q;
    q.cmd = "_mlmatbysum";
    if (int rc = read_name(q.lnf)) return rc;
    if (int rc = read_name(q.name)) return rc;
    data::ParseSpec spec;
    spec.in = data::PO_NONE;
    if (int rc = data::std_parse(spec)) return rc;
    std::string at, bt, ct;
    const OptSpec specs[] = {opt_text("a", 1, at), opt_text("b", 1, bt), opt_text("c", 1, ct),
                             opt_text("by", 2, q.bytext), opt_text("eq", 2, q.eqtext)};
    if (int rc = data::std_options(specs)) return rc;
    for (const std::string *t : {&at, &bt, &ct}) {
        if (trim(*t).empty()) {
            if (t == &ct) break;
            if (trim(q.bytext).empty()) break; // the by() message comes first
            return fail(198, std::string("option ") + (t == &at ? "a" : "b") + "() required\n");
        }
        const int v = data::varlookup(trim(*t), true, data::varabbrev);
        if (v < 0) return -v;
        q.vars.push_back(v);
    }
    return bysum_run(q, false);
}

} // namespace est::ml
