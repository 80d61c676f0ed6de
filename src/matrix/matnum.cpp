// matrix symeigen, svd, eigenvalues: the decompositions stored as matrices with the input's names;
// matrix cat, which joins named matrices; matrix dissimilarity, distances between observations or
// variables.
#include "matrix/matnum.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/matexpr.h"
#include "matrix/matstore.h"
#include "matrix/numerics.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

// names... = exp: the result names before the equals sign, each checked, then the expression.
int read_targets(int count, std::vector<std::string> &names, Matrix &a) {
    names.clear();
    for (int k = 0; k < count; ++k) {
        const std::string w = gettok(SEP_STD);
        if (w.empty() || w == "=") return error(198);
        if (int rc = check_name(w)) return rc;
        names.push_back(w);
    }
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    ++rest;
    while (*rest == ' ')
        ++rest;
    if (!*rest) return error(198);
    return eval_matrix(rest, a);
}

// A row vector of values with the given column names.
Matrix row_vector(const std::vector<double> &v, const std::vector<StripeName> &cn) {
    Matrix m;
    m.resize(1, (int)v.size());
    m.v = v;
    if (cn.size() == v.size()) m.cn = cn;
    return m;
}

// Saves results in order; the first failure stops with its code (the message written by the store).
int assign_all(const std::vector<std::string> &names, const std::vector<const Matrix *> &ms) {
    for (size_t k = 0; k < names.size(); ++k)
        if (int rc = mat_assign(names[k].c_str(), ST_MATRIX, *ms[k])) return rc;
    return 0;
}

} // namespace

int cmd_symeigen(int) {
    std::vector<std::string> names;
    Matrix a;
    if (int rc = read_targets(2, names, a)) return rc;
    const int n = a.rows;
    if (int rc = check_matsize(a.rows, a.cols)) return rc;
    if (a.rows != a.cols) return error(503);
    Matrix x;
    x.resize(n, n);
    std::vector<double> vals((size_t)n);
    if (int rc = symeigen(a.v.data(), n, n, n, x.v.data(), n, vals.data())) return rc;
    x.rn = a.rn;
    x.cn = a.cn;
    const Matrix v = row_vector(vals, a.cn);
    return assign_all(names, {&x, &v});
}

int cmd_svd(int) {
    std::vector<std::string> names;
    Matrix a;
    if (int rc = read_targets(3, names, a)) return rc;
    if (int rc = check_matsize(a.rows, a.cols)) return rc;
    const int k = std::min(a.rows, a.cols);
    Matrix u, v;
    u.resize(a.rows, k);
    v.resize(a.cols, k);
    std::vector<double> w((size_t)k);
    if (int rc = svd(a.v.data(), a.rows, a.cols, a.cols, u.v.data(), k, w.data(), v.v.data(), k)) return rc;
    // The singular directions are named by the columns when there is one for each column.
    const std::vector<StripeName> dirs = k == a.cols ? a.cn : std::vector<StripeName>{};
    u.rn = a.rn;
    u.cn = dirs;
    v.rn = a.cn;
    v.cn = dirs;
    const Matrix wv = row_vector(w, dirs);
    return assign_all(names, {&u, &wv, &v});
}

int cmd_eigenvalues(int) {
    std::vector<std::string> names;
    Matrix a;
    if (int rc = read_targets(2, names, a)) return rc;
    if (int rc = check_matsize(a.rows, a.cols)) return rc;
    if (a.rows != a.cols) return error(503);
    const int n = a.rows;
    std::vector<double> re((size_t)n), im((size_t)n);
    if (int rc = eigenvalues(a.v.data(), n, n, n, re.data(), im.data())) return rc;
    const Matrix r = row_vector(re, a.cn), i = row_vector(im, a.cn);
    return assign_all(names, {&r, &i});
}

// matrix cat C = A B ... [, columns]: the named matrices stacked, or side by side with columns.
int cmd_cat(int) {
    const std::string target = gettok(SEP_STD);
    if (target.empty()) return error(198);
    if (int rc = check_name(target)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    std::vector<std::string> parts;
    while (*tokrest() && *tokrest() != ',')
        parts.push_back(gettok(SEP_STD));
    if (parts.empty()) return error(198);
    bool columns = false;
    const OptSpec specs[] = {opt_flag("columns", 3, columns)};
    if (int rc = parse_options(specs)) return rc;
    std::vector<Matrix> ms(parts.size());
    for (size_t k = 0; k < parts.size(); ++k)
        if (int rc = mat_load(parts[k].c_str(), ST_MATRIX, ms[k])) return rc;
    Matrix c = ms[0];
    for (size_t k = 1; k < ms.size(); ++k) {
        const Matrix &b = ms[k];
        Matrix m;
        if (columns) {
            if (b.rows != c.rows) return error(503);
            if (int rc = check_matsize(c.rows, c.cols + b.cols)) return rc;
            m.resize(c.rows, c.cols + b.cols);
            for (int i = 0; i < c.rows; ++i) {
                std::copy_n(&c.v[(size_t)i * c.cols], c.cols, &m.v[(size_t)i * m.cols]);
                std::copy_n(&b.v[(size_t)i * b.cols], b.cols, &m.v[(size_t)i * m.cols + c.cols]);
            }
            m.rn = c.rn;
            if (!c.cn.empty() || !b.cn.empty()) {
                m.cn = full_stripe(c, false);
                for (const StripeName &s : full_stripe(b, false))
                    m.cn.push_back(s);
            }
        } else {
            if (b.cols != c.cols) return error(503);
            if (int rc = check_matsize(c.rows + b.rows, c.cols)) return rc;
            m.resize(c.rows + b.rows, c.cols);
            std::copy(c.v.begin(), c.v.end(), m.v.begin());
            std::copy(b.v.begin(), b.v.end(), m.v.begin() + (long)c.v.size());
            m.cn = c.cn;
            if (!c.rn.empty() || !b.rn.empty()) {
                m.rn = full_stripe(c, true);
                for (const StripeName &s : full_stripe(b, true))
                    m.rn.push_back(s);
            }
        }
        c = std::move(m);
    }
    c.sym = false;
    return mat_assign(target.c_str(), ST_MATRIX, c);
}

// ---- dissimilarity ---------------------------------------------------------------------------------

namespace {

enum Measure { M_L2, M_L2SQ, M_L1, M_LINF, M_LPOW, M_CANBERRA, M_CORR, M_ANGULAR };

// The dissimilarity of two vectors of n values (x[t*sx], y[t*sy]); `.` where it is not defined.
double dissim(Measure m, double p, const double *x, int sx, const double *y, int sy, int n) {
    double s = 0;
    switch (m) {
    case M_L2:
    case M_L2SQ:
        for (int t = 0; t < n; ++t) {
            const double d = x[(size_t)t * sx] - y[(size_t)t * sy];
            s += d * d;
        }
        return m == M_L2 ? std::sqrt(s) : s;
    case M_L1:
        for (int t = 0; t < n; ++t)
            s += std::fabs(x[(size_t)t * sx] - y[(size_t)t * sy]);
        return s;
    case M_LINF:
        for (int t = 0; t < n; ++t)
            s = std::max(s, std::fabs(x[(size_t)t * sx] - y[(size_t)t * sy]));
        return s;
    case M_LPOW:
        for (int t = 0; t < n; ++t)
            s += std::pow(std::fabs(x[(size_t)t * sx] - y[(size_t)t * sy]), p);
        return std::pow(s, 1 / p);
    case M_CANBERRA:
        for (int t = 0; t < n; ++t) {
            const double a = x[(size_t)t * sx], b = y[(size_t)t * sy];
            const double den = std::fabs(a) + std::fabs(b);
            if (den > 0) s += std::fabs(a - b) / den;
        }
        return s;
    case M_CORR:
    case M_ANGULAR: {
        double mx = 0, my = 0;
        if (m == M_CORR && n > 0) {
            for (int t = 0; t < n; ++t) {
                mx += x[(size_t)t * sx];
                my += y[(size_t)t * sy];
            }
            mx /= n;
            my /= n;
        }
        double sxy = 0, sxx = 0, syy = 0;
        for (int t = 0; t < n; ++t) {
            const double a = x[(size_t)t * sx] - mx, b = y[(size_t)t * sy] - my;
            sxy += a * b;
            sxx += a * a;
            syy += b * b;
        }
        if (!(sxx > 0 && syy > 0)) return lim.dot;
        return 1 - sxy / std::sqrt(sxx * syy);
    }
    }
    return lim.dot;
}

} // namespace

int cmd_dissimilarity(int) {
    const std::string target = gettok(SEP_STD);
    if (target.empty()) return error(198);
    if (int rc = check_name(target)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    data::ParseSpec spec;
    spec.varlist = data::PO_OPTIONAL;
    if (int rc = data::std_parse(spec)) return rc;
    bool f[12] = {};
    double lpow = lim.dot;
    bool vars = false, obs = false;
    std::string names;
    const std::vector<OptSpec> specs = {
        opt_flag("L2", 2, f[0]),        opt_flag("Euclidean", 9, f[1]),    opt_flag("L2squared", 9, f[2]),
        opt_flag("L1", 2, f[3]),        opt_flag("absolute", 3, f[4]),     opt_flag("cityblock", 4, f[5]),
        opt_flag("manhattan", 9, f[6]), opt_flag("Linfinity", 4, f[7]),    opt_flag("maximum", 3, f[8]),
        opt_flag("Canberra", 8, f[9]),  opt_flag("correlation", 4, f[10]), opt_flag("angular", 5, f[11]),
        opt_real("Lpower", 6, lpow),    opt_flag("variables", 3, vars),    opt_flag("observations", 3, obs),
        opt_name("names", 5, names)};
    if (int rc = data::std_options(specs)) return rc;
    static const Measure of_flag[12] = {M_L2, M_L2,   M_L2SQ, M_L1,       M_L1,   M_L1,
                                        M_L1, M_LINF, M_LINF, M_CANBERRA, M_CORR, M_ANGULAR};
    Measure m = M_L2;
    int given = 0;
    for (int k = 0; k < 12; ++k)
        if (f[k]) {
            m = of_flag[k];
            ++given;
        }
    if (!data::is_missing(lpow)) {
        if (!(lpow >= 1)) return fail(198, "Lpower() must be at least 1\n");
        m = M_LPOW;
        ++given;
    }
    if (given > 1) return fail(198, "only one measure may be specified\n");
    if (vars && obs) return fail(198, "options variables and observations may not be combined\n");
    if (vars && !names.empty()) return fail(198, "option names() may not be combined with variables\n");
    std::vector<int> v;
    if (data::ps.count == 0) {
        for (int j = 1; j <= data::ds.nvar_visible; ++j)
            if (!data::is_string_type(data::ds.vartype[(size_t)j - 1])) v.push_back(j);
    } else {
        for (int32_t k = 0; k < data::ps.count; ++k)
            v.push_back(data::ps.var[(size_t)k]);
    }
    for (int j : v)
        if (data::is_string_type(data::ds.vartype[(size_t)j - 1])) return error(109);
    if (v.empty()) return error(102);
    int namevar = 0;
    if (!names.empty()) {
        namevar = data::varlookup(names, true, data::varabbrev);
        if (namevar < 0) return -namevar;
        if (!data::is_string_type(data::ds.vartype[(size_t)namevar - 1])) return error(109);
    }
    // the observations of the sample with a value in every variable
    std::vector<int32_t> sample, keep;
    if (int rc = data::sample_obs(sample)) return rc;
    const int k = (int)v.size();
    std::vector<double> x; // row-major: one row an observation
    for (int32_t i : sample) {
        bool miss = false;
        const size_t at = x.size();
        for (int j : v) {
            const double z = data::get_num(j, i);
            if (data::is_missing(z)) miss = true;
            x.push_back(z);
        }
        if (miss)
            x.resize(at);
        else
            keep.push_back(i);
    }
    const int n = (int)keep.size();
    if (n == 0) return error(2000);
    const int size = vars ? k : n;
    if (int rc = check_matsize(size, size)) return rc;
    Matrix d;
    d.resize(size, size);
    for (int a = 0; a < size; ++a)
        for (int b = 0; b <= a; ++b) {
            const double z = vars ? dissim(m, lpow, &x[(size_t)a], k, &x[(size_t)b], k, n)
                                  : dissim(m, lpow, &x[(size_t)a * k], 1, &x[(size_t)b * k], 1, k);
            d.at(a, b) = d.at(b, a) = a == b && !data::is_missing(z) ? 0 : z;
        }
    d.sym = true;
    if (vars) {
        for (int j : v) {
            StripeName s;
            std::snprintf(s.name, sizeof s.name, "%s", data::ds.varname[(size_t)j - 1]);
            d.rn.push_back(s);
        }
    } else if (namevar) {
        for (int32_t i : keep) {
            char buf[data::T_STRMAX + 1];
            data::get_str(namevar, i, buf);
            StripeName s;
            std::snprintf(s.name, sizeof s.name, "%s", buf);
            for (char *c = s.name; *c; ++c)
                if (*c == ' ' || *c == ':' || *c == '.') *c = '_';
            if (!s.name[0]) std::strcpy(s.name, "_");
            d.rn.push_back(s);
        }
    }
    d.cn = d.rn;
    return mat_assign(target.c_str(), ST_MATRIX, d);
}

} // namespace mat
