// The matrix side of the expression machine: a stack of matrix values, the operators and the
// functions of matrices, and the evaluation of a matrix expression.
#include "matrix/matexpr.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/exprint.h"
#include "data/types.h"
#include "matrix/constraint.h"
#include "matrix/numerics.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/store.h"

namespace mat {

int stripe_find(const Matrix &m, bool row, const std::string &want, const StripeName &e);

using namespace session;
using data::xp::MatFnRow;

namespace {

std::vector<Matrix> mstack;

double dot() { return lim.dot; }
bool missing(double x) { return data::is_missing(x); }

Matrix pop_matrix() {
    Matrix m = std::move(mstack.back());
    mstack.pop_back();
    return m;
}

int conform() { return error(503); }

// A matrix named in an expression: a user matrix, or e(x), r(x) as the stores hold them.
// Reads a matrix by its name or as a result matrix, e(name) or r(name); false when there is none.
int named_kind(const char *text, std::string &name) {
    const std::string_view t(text);
    if (t.size() > 3 && t.back() == ')' && (t.starts_with("e(") || t.starts_with("r("))) {
        name = std::string(t.substr(2, t.size() - 3));
        return t[0] == 'e' ? ST_E_MATRIX : ST_R_MATRIX;
    }
    name = text;
    return ST_MATRIX;
}
bool read_named(const char *text, Matrix &m) {
    std::string name;
    const int kind = named_kind(text, name);
    return mat_read(name.c_str(), kind, m);
}

int load_named(const char *text, Matrix &m) { return read_named(text, m) ? 0 : matrix_not_found(text); }

int make(Matrix &m, int r, int c, double fill = 0) {
    if (int rc = check_matsize(r, c)) return rc;
    m.resize(r, c, fill);
    return 0;
}

// ---- the functions of matrices -------------------------------------------------------------------

struct Args {
    std::vector<Matrix> m; // matrix arguments, first first
    std::vector<double> n; // number arguments, first first
    std::vector<std::string> s;
    const char *name = nullptr; // the name argument
};

int square(const Matrix &m) { return m.rows == m.cols ? 0 : conform(); }

int f_trace(Args &a, Matrix &, double &r) {
    const Matrix &m = a.m[0];
    return trace(m.v.data(), m.rows, m.cols, m.cols, &r);
}

int f_det(Args &a, Matrix &, double &r) {
    const Matrix &m = a.m[0];
    return det(m.v.data(), m.rows, m.cols, m.cols, &r);
}

int f_rowsof(Args &a, Matrix &, double &r) {
    r = a.m[0].rows;
    return 0;
}
int f_colsof(Args &a, Matrix &, double &r) {
    r = a.m[0].cols;
    return 0;
}
int f_diag0cnt(Args &a, Matrix &, double &r) {
    const Matrix &m = a.m[0];
    int n = 0;
    if (int rc = diag0cnt(m.v.data(), m.rows, m.cols, m.cols, &n)) return rc;
    r = n;
    return 0;
}
int f_matmissing(Args &a, Matrix &, double &r) {
    r = 0;
    for (double x : a.m[0].v)
        if (missing(x)) r = 1;
    return 0;
}
int f_issym(Args &a, Matrix &, double &r) {
    r = is_symmetric(a.m[0]) ? 1 : 0;
    return 0;
}

int count_arg(double x, int &n) {
    if (missing(x) || x < 1 || x != std::floor(x)) return error(198);
    if (x > MAX_SUBSCRIPT) return error(908);
    n = (int)x;
    return 0;
}

int f_I(Args &a, Matrix &m, double &) {
    int n;
    if (int rc = count_arg(a.n[0], n)) return rc;
    if (int rc = make(m, n, n)) return rc;
    for (int i = 0; i < n; ++i)
        m.at(i, i) = 1;
    m.sym = true;
    return 0;
}
int f_J(Args &a, Matrix &m, double &) {
    int r, c;
    if (int rc = count_arg(a.n[0], r)) return rc;
    if (int rc = count_arg(a.n[1], c)) return rc;
    return make(m, r, c, a.n[2]);
}
int f_matuniform(Args &a, Matrix &m, double &) {
    int r, c;
    if (int rc = count_arg(a.n[0], r)) return rc;
    if (int rc = count_arg(a.n[1], c)) return rc;
    if (int rc = make(m, r, c)) return rc;
    for (double &x : m.v)
        x = data::rng_uniform();
    return 0;
}
int f_diag(Args &a, Matrix &m, double &) {
    const Matrix &v = a.m[0];
    if (v.rows != 1 && v.cols != 1) return conform();
    const int n = std::max(v.rows, v.cols);
    if (int rc = make(m, n, n)) return rc;
    for (int i = 0; i < n; ++i)
        m.at(i, i) = v.v[(size_t)i];
    const std::vector<StripeName> &names = v.rows == 1 ? v.cn : v.rn;
    m.rn = m.cn = names;
    m.sym = true;
    return 0;
}
int f_vecdiag(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square(s)) return rc;
    if (int rc = make(m, 1, s.rows)) return rc;
    for (int i = 0; i < s.rows; ++i)
        m.at(0, i) = s.at(i, i);
    m.cn = s.cn;
    return 0;
}
int f_vec(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = make(m, s.rows * s.cols, 1)) return rc;
    const std::vector<StripeName> rn = full_stripe(s, true), cn = full_stripe(s, false);
    m.rn.clear();
    for (int j = 0; j < s.cols; ++j)
        for (int i = 0; i < s.rows; ++i) {
            m.at(j * s.rows + i, 0) = s.at(i, j);
            StripeName e = rn[(size_t)i];
            std::snprintf(e.equation, sizeof e.equation, "%s", cn[(size_t)j].name);
            m.rn.push_back(e);
        }
    return 0;
}
int f_hadamard(Args &a, Matrix &m, double &) {
    const Matrix &x = a.m[0], &y = a.m[1];
    if (x.rows != y.rows || x.cols != y.cols) return conform();
    m = x;
    for (size_t k = 0; k < m.v.size(); ++k)
        m.v[k] = missing(x.v[k]) || missing(y.v[k]) ? dot() : x.v[k] * y.v[k];
    m.sym = false;
    return 0;
}
int f_nullmat(Args &a, Matrix &m, double &) {
    if (!mat_read(a.name, ST_MATRIX, m)) m.resize(0, 0);
    return 0;
}
int f_get(Args &a, Matrix &m, double &) {
    const std::string n = a.name;
    const char *stored = n == "_b" ? "b" : n == "VCE" ? "V" : n == "Cns" ? "Cns" : nullptr;
    if (stored && mat_read(stored, ST_E_MATRIX, m)) return 0;
    if (n == "Cns" && cns_in_force(m)) return 0;
    return matrix_not_found(n);
}
int stripe_number(Args &a, bool row, double &r) {
    Matrix m;
    r = dot();
    if (!read_named(a.name, m)) return 0;
    // a name that is not there, or no name at all, is a missing number, never a failure
    StripeName e;
    if (!parse_stripe_entry(a.s[0], e)) return 0;
    const int i = stripe_find(m, row, a.s[0], e);
    if (i >= 0) r = i + 1;
    return 0;
}
int f_rownumb(Args &a, Matrix &, double &r) { return stripe_number(a, true, r); }
int f_colnumb(Args &a, Matrix &, double &r) { return stripe_number(a, false, r); }
int f_el(Args &a, Matrix &, double &r) {
    r = dot();
    std::string name;
    const int kind = named_kind(a.name, name);
    MatrixView v = mat_view(name.c_str(), kind);
    if (!v.block) return matrix_not_found(a.name);
    const double i = a.n[0], j = a.n[1];
    if (missing(i) || missing(j)) return 0;
    const long ii = (long)i, jj = (long)j;
    if (ii >= 1 && ii <= v.rows && jj >= 1 && jj <= v.cols) r = mat_get(v, (int)ii - 1, (int)jj - 1);
    return 0;
}
int f_mreldif(Args &a, Matrix &, double &r) {
    const Matrix &x = a.m[0], &y = a.m[1];
    if (x.rows != y.rows || x.cols != y.cols) return conform();
    r = 0;
    for (size_t k = 0; k < x.v.size(); ++k) {
        if (missing(x.v[k]) || missing(y.v[k])) {
            if (x.v[k] != y.v[k]) r = dot();
            continue;
        }
        if (!missing(r)) r = std::max(r, std::fabs(x.v[k] - y.v[k]) / (std::fabs(y.v[k]) + 1));
    }
    return 0;
}

// The sweep's trace goes out as progress notes, shown only under the session's note flags.
bool trace_wanted() { return out::ch.noteflag1 || out::ch.noteflag2; }

// An inverse names its rows by the input's columns and its columns by the input's rows.
void swap_stripes(const Matrix &s, Matrix &m) {
    m.rn = s.cn;
    m.cn = s.rn;
}

// The result starts as a copy of the square input, checked against matsize first.
int square_copy(const Matrix &s, Matrix &m) {
    if (int rc = check_matsize(s.rows, s.cols)) return rc;
    if (int rc = square(s)) return rc;
    m = s;
    return 0;
}

int f_invsym(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square_copy(s, m)) return rc;
    InvsymOpts o;
    o.trace = trace_wanted();
    InvsymOut res;
    if (o.trace) out::out_note(sweep_trace_matrix("input", m.v.data(), m.rows, m.cols));
    if (int rc = invsym(m.v.data(), m.rows, m.cols, o, &res)) return rc == 1 ? error(1) : rc;
    if (o.trace) {
        for (const SweepStep &st : res.steps)
            out::out_note_nl(sweep_trace_line(st));
        out::out_note(sweep_trace_matrix("output", m.v.data(), m.rows, m.cols));
    }
    swap_stripes(s, m);
    m.sym = true;
    return 0;
}

int f_syminv(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square_copy(s, m)) return rc;
    InvsymOut res;
    if (int rc = syminv(s.v.data(), s.rows, s.cols, s.cols, m.v.data(), m.cols, &res))
        return rc == 1 ? error(1) : rc;
    swap_stripes(s, m);
    m.sym = true;
    return 0;
}

int f_inv(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square_copy(s, m)) return rc;
    if (int rc = inv(s.v.data(), s.rows, s.cols, s.cols, m.v.data(), m.cols)) return rc;
    swap_stripes(s, m);
    m.sym = false;
    return 0;
}

int f_cholesky(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square_copy(s, m)) return rc;
    if (int rc = cholesky(s.v.data(), s.rows, s.cols, s.cols, m.v.data(), m.cols)) return rc;
    m.sym = false;
    return 0;
}

int f_corr(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = square_copy(s, m)) return rc;
    if (int rc = corr(s.v.data(), s.rows, s.cols, s.cols, m.v.data(), m.cols)) return rc;
    m.sym = true;
    return 0;
}

// sweep(A, k): the pivot's row and column trade their names, as they trade their roles.
int f_sweep(Args &a, Matrix &m, double &) {
    const Matrix &s = a.m[0];
    if (int rc = check_matsize(s.rows, s.cols)) return rc;
    const double k = a.n[0];
    const int p = missing(k) || k != std::floor(k) || k < 1 || k > MAX_SUBSCRIPT ? 0 : (int)k;
    m = s;
    if (int rc = sweep(m.v.data(), m.rows, m.cols, m.cols, p)) return rc;
    if (!s.rn.empty() || !s.cn.empty()) {
        m.rn = full_stripe(s, true);
        m.cn = full_stripe(s, false);
        std::swap(m.rn[(size_t)p - 1], m.cn[(size_t)p - 1]);
    }
    m.sym = false;
    return 0;
}

using Impl = int (*)(Args &, Matrix &, double &);

// The implementation of each function of the expression table, by its number.
struct ImplRow {
    data::xp::MatFn id;
    Impl impl;
};
constexpr ImplRow impls[] = {
    {data::xp::MFN_TRACE, f_trace},
    {data::xp::MFN_DET, f_det},
    {data::xp::MFN_ROWSOF, f_rowsof},
    {data::xp::MFN_COLSOF, f_colsof},
    {data::xp::MFN_DIAG0CNT, f_diag0cnt},
    {data::xp::MFN_MATMISSING, f_matmissing},
    {data::xp::MFN_ISSYM, f_issym},
    {data::xp::MFN_ISSYMM, f_issym},
    {data::xp::MFN_I, f_I},
    {data::xp::MFN_J, f_J},
    {data::xp::MFN_MATUNIFORM, f_matuniform},
    {data::xp::MFN_SYMINV, f_syminv},
    {data::xp::MFN_INVSYM, f_invsym},
    {data::xp::MFN_CORR, f_corr},
    {data::xp::MFN_DIAG, f_diag},
    {data::xp::MFN_VECDIAG, f_vecdiag},
    {data::xp::MFN_CHOLESKY, f_cholesky},
    {data::xp::MFN_INV, f_inv},
    {data::xp::MFN_VEC, f_vec},
    {data::xp::MFN_HADAMARD, f_hadamard},
    {data::xp::MFN_SWEEP, f_sweep},
    {data::xp::MFN_NULLMAT, f_nullmat},
    {data::xp::MFN_GET, f_get},
    {data::xp::MFN_ROWNUMB, f_rownumb},
    {data::xp::MFN_COLNUMB, f_colnumb},
    {data::xp::MFN_EL, f_el},
    {data::xp::MFN_MRELDIF, f_mreldif},
};
static_assert(sizeof impls / sizeof impls[0] == data::xp::MFN_COUNT, "every function of matrices has a row");

int call_function(int id, const char *text, const double *nums, const char (*strs)[data::EXPR_STRBUF],
                  double *out) {
    if (id < 0 || id >= data::xp::MFN_COUNT || impls[id].id != id) return error(198);
    const MatFnRow &row = data::xp::matfn_rows[id];
    Args a;
    a.name = text;
    int ni = 0, si = 0, nm = 0;
    for (const char *t = row.args; *t; ++t) {
        if (*t == 'n') a.n.push_back(nums[-(ni++)]);
        if (*t == 's') a.s.emplace_back(strs[-(si++)]);
        if (*t == 'm') ++nm;
    }
    // the matrices stand on the stack with the first argument on top
    for (int k = 0; k < nm; ++k)
        a.m.push_back(pop_matrix());
    Matrix res;
    double r = dot();
    try {
        if (int rc = impls[id].impl(a, res, r)) return rc;
    } catch (const std::bad_alloc &) {
        out_of_memory_for("<mat1>", ST_MATRIX);
        return 950;
    }
    if (row.result == 'm')
        mstack.push_back(std::move(res));
    else
        *out = r;
    return 0;
}

// ---- operators -----------------------------------------------------------------------------------

double add(double x, double y) { return missing(x) || missing(y) ? dot() : x + y; }
double mul(double x, double y) { return missing(x) || missing(y) ? dot() : x * y; }

int join(bool rows) {
    Matrix b = pop_matrix(), a = pop_matrix();
    if (a.rows == 0 && a.cols == 0) return mstack.push_back(std::move(b)), 0;
    if (b.rows == 0 && b.cols == 0) return mstack.push_back(std::move(a)), 0;
    Matrix m;
    if (rows) {
        if (a.cols != b.cols) return conform();
        if (int rc = make(m, a.rows + b.rows, a.cols)) return rc;
        std::copy(a.v.begin(), a.v.end(), m.v.begin());
        std::copy(b.v.begin(), b.v.end(), m.v.begin() + (long)a.v.size());
        if (!a.rn.empty() || !b.rn.empty()) {
            m.rn = full_stripe(a, true);
            for (const StripeName &s : full_stripe(b, true))
                m.rn.push_back(s);
        }
        m.cn = a.cn;
    } else {
        if (a.rows != b.rows) return conform();
        if (int rc = make(m, a.rows, a.cols + b.cols)) return rc;
        for (int i = 0; i < a.rows; ++i) {
            for (int j = 0; j < a.cols; ++j)
                m.at(i, j) = a.at(i, j);
            for (int j = 0; j < b.cols; ++j)
                m.at(i, a.cols + j) = b.at(i, j);
        }
        if (!a.cn.empty() || !b.cn.empty()) {
            m.cn = full_stripe(a, false);
            for (const StripeName &s : full_stripe(b, false))
                m.cn.push_back(s);
        }
        m.rn = a.rn;
    }
    mstack.push_back(std::move(m));
    return 0;
}

int kron() {
    Matrix b = pop_matrix(), a = pop_matrix();
    Matrix m;
    if (int rc = make(m, a.rows * b.rows, a.cols * b.cols)) return rc;
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < a.cols; ++j)
            for (int k = 0; k < b.rows; ++k)
                for (int l = 0; l < b.cols; ++l)
                    m.at(i * b.rows + k, j * b.cols + l) = mul(a.at(i, j), b.at(k, l));
    mstack.push_back(std::move(m));
    return 0;
}

int transpose() {
    Matrix &a = mstack.back();
    Matrix m;
    m.resize(a.cols, a.rows);
    for (int i = 0; i < a.rows; ++i)
        for (int j = 0; j < a.cols; ++j)
            m.at(j, i) = a.at(i, j);
    m.rn = a.cn;
    m.cn = a.rn;
    m.sym = a.sym;
    a = std::move(m);
    return 0;
}

int addsub(bool minus) {
    Matrix b = pop_matrix();
    Matrix &a = mstack.back();
    if (a.rows != b.rows || a.cols != b.cols) return conform();
    for (size_t k = 0; k < a.v.size(); ++k)
        a.v[k] = add(a.v[k], missing(b.v[k]) ? b.v[k] : minus ? -b.v[k] : b.v[k]);
    a.sym = a.sym && b.sym;
    return 0;
}

void scale(Matrix &a, double s) {
    for (double &x : a.v)
        x = mul(x, s);
}

int multiply() {
    Matrix b = pop_matrix(), a = pop_matrix();
    if (a.cols != b.rows) {
        if (a.rows == 1 && a.cols == 1) {
            scale(b, a.v[0]);
            return mstack.push_back(std::move(b)), 0;
        }
        if (b.rows == 1 && b.cols == 1) {
            scale(a, b.v[0]);
            return mstack.push_back(std::move(a)), 0;
        }
        return conform();
    }
    Matrix m;
    if (int rc = make(m, a.rows, b.cols)) return rc;
    for (int i = 0; i < a.rows; ++i)
        for (int k = 0; k < a.cols; ++k) {
            const double x = a.at(i, k);
            for (int j = 0; j < b.cols; ++j)
                m.at(i, j) = add(m.at(i, j), mul(x, b.at(k, j)));
        }
    m.rn = a.rn;
    m.cn = b.cn;
    mstack.push_back(std::move(m));
    return 0;
}

// Splits "name[rows,cols]" into the name and the two subscript texts.
bool split_subscripts(const std::string &t, std::string &name, std::string &r, std::string &c) {
    const size_t open = t.find('[');
    if (open == std::string::npos || t.back() != ']') return false;
    name = t.substr(0, open);
    const std::string in = t.substr(open + 1, t.size() - open - 2);
    int depth = 0;
    bool quote = false;
    for (size_t k = 0; k < in.size(); ++k) {
        const char ch = in[k];
        if (ch == '"') quote = !quote;
        if (quote) continue;
        if (ch == '(' || ch == '[') ++depth;
        if (ch == ')' || ch == ']') --depth;
        if (ch == ',' && depth == 0) {
            r = in.substr(0, k);
            c = in.substr(k + 1);
            return true;
        }
    }
    return false;
}

std::string trim(std::string s) {
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    size_t k = 0;
    while (k < s.size() && s[k] == ' ')
        ++k;
    return s.substr(k);
}

// A range of a subscript: a, a..b, a..., "eq:" (the rows of an equation), into [lo, hi].
int subscript_range(const std::string &spec, const Matrix &m, bool row, int &lo, int &hi) {
    const std::string s = trim(spec);
    const int n = row ? m.rows : m.cols;
    if (s.size() >= 3 && s.front() == '"' && s[s.size() - 2] == ':' && s.back() == '"') {
        const std::string eq = s.substr(1, s.size() - 3);
        const std::vector<StripeName> st = full_stripe(m, row);
        lo = -1;
        for (int k = 0; k < n; ++k)
            if (eq == st[(size_t)k].equation) {
                if (lo < 0) lo = k;
                hi = k;
            }
        return lo < 0 ? equation_not_found(eq) : 0;
    }
    size_t dots = std::string::npos;
    bool quote = false;
    for (size_t k = 0; k + 1 < s.size(); ++k) {
        if (s[k] == '"') quote = !quote;
        if (!quote && s[k] == '.' && s[k + 1] == '.') {
            dots = k;
            break;
        }
    }
    if (dots == std::string::npos) {
        if (int rc = subscript_index(s, m, row, lo)) return rc;
        hi = lo;
        return 0;
    }
    if (int rc = subscript_index(s.substr(0, dots), m, row, lo)) return rc;
    const std::string rest = s.substr(dots + 2);
    if (rest == ".") {
        hi = n - 1;
        return 0;
    }
    if (int rc = subscript_index(rest, m, row, hi)) return rc;
    return hi < lo ? conform() : 0;
}

int submatrix(const char *text) {
    std::string name, rs, cs;
    if (!split_subscripts(text, name, rs, cs)) return error(198);
    Matrix a;
    if (int rc = load_named(name.c_str(), a)) return rc;
    int r0, r1, c0, c1;
    if (int rc = subscript_range(rs, a, true, r0, r1)) return rc;
    if (int rc = subscript_range(cs, a, false, c0, c1)) return rc;
    Matrix m;
    m.resize(r1 - r0 + 1, c1 - c0 + 1);
    for (int i = r0; i <= r1; ++i)
        for (int j = c0; j <= c1; ++j)
            m.at(i - r0, j - c0) = a.at(i, j);
    if (!a.rn.empty()) m.rn.assign(a.rn.begin() + r0, a.rn.begin() + r1 + 1);
    if (!a.cn.empty()) m.cn.assign(a.cn.begin() + c0, a.cn.begin() + c1 + 1);
    mstack.push_back(std::move(m));
    return 0;
}

int element(const char *name, const double *nums, double *out) {
    MatrixView v = mat_view(name, ST_MATRIX);
    if (!v.block) return matrix_not_found(name);
    const double i = nums[0], j = nums[-1];
    if (missing(i) || missing(j) || i < 1 || j < 1 || i > MAX_SUBSCRIPT || j > MAX_SUBSCRIPT)
        return conform();
    const int ii = (int)i, jj = (int)j;
    if (ii > v.rows || jj > v.cols) return conform();
    *out = mat_get(v, ii - 1, jj - 1);
    return 0;
}

int hook(int word, int operand, const char *text, const double *nums, const char (*strs)[data::EXPR_STRBUF],
         double *out) {
    using namespace data::xp;
    switch (word) {
    case OP_MNAME: {
        Matrix m;
        if (int rc = load_named(text, m)) return rc;
        mstack.push_back(std::move(m));
        return 0;
    }
    case OP_MFROMN: {
        Matrix m;
        m.resize(1, 1, nums[0]);
        mstack.push_back(std::move(m));
        return 0;
    }
    case OP_MJOINR:
        return join(true);
    case OP_MJOINC:
        return join(false);
    case OP_MKRON:
        return kron();
    case OP_MTRANS:
        return transpose();
    case OP_MADD:
        return addsub(false);
    case OP_MSUB:
        return addsub(true);
    case OP_MMUL:
        return multiply();
    case OP_MNEG:
        for (double &x : mstack.back().v)
            if (!missing(x)) x = -x;
        return 0;
    case OP_MSCALE:
        scale(mstack.back(), nums[0]);
        return 0;
    case OP_MDIVN:
        for (double &x : mstack.back().v)
            x = missing(x) || missing(nums[0]) || nums[0] == 0 ? dot() : x / nums[0];
        return 0;
    case OP_MEXPAND: {
        Matrix m;
        m.resize(mstack.back().rows, mstack.back().cols, nums[0]);
        mstack.push_back(std::move(m));
        return 0;
    }
    case OP_MEL:
        return element(text, nums, out);
    case OP_MCALL:
        return call_function(operand, text, nums, strs, out);
    case OP_MSUBX:
        return submatrix(text);
    default:
        return error(198);
    }
}

bool matrix_exists(const char *name) { return mat_exists(name, ST_MATRIX); }

} // namespace

void matexpr_init() {
    data::expr_hook_mat = hook;
    data::expr_hook_matrix = matrix_exists;
}

// The position of a stripe entry among the rows or columns of m, or -1; an entry without an
// equation matches in any equation.
int stripe_find(const Matrix &m, bool row, const std::string &want, const StripeName &e) {
    const int n = row ? m.rows : m.cols;
    const std::vector<StripeName> st = full_stripe(m, row);
    const bool with_eq = want.find(':') != std::string::npos;
    for (int k = 0; k < n; ++k) {
        const StripeName &x = st[(size_t)k];
        if (std::strcmp(x.name, e.name) == 0 && std::strcmp(x.tsop, e.tsop) == 0 &&
            (!with_eq || std::strcmp(x.equation, e.equation) == 0))
            return k;
    }
    return -1;
}

int subscript_index(const std::string &spec, const Matrix &m, bool row, int &index) {
    const std::string s = trim(spec);
    const int n = row ? m.rows : m.cols;
    if (!s.empty() && s.front() == '"') {
        if (s.size() < 2 || s.back() != '"') return error(198);
        const std::string want = s.substr(1, s.size() - 2);
        StripeName e;
        if (!parse_stripe_entry(want, e)) return fail(198, "invalid matrix stripe\n");
        index = stripe_find(m, row, want, e);
        return index < 0 ? conform() : 0;
    }
    data::ExprValue v;
    if (int rc = data::expr_eval_scalar(s.c_str(), v, nullptr, data::XW_NUM)) return rc;
    if (missing(v.num) || v.num < 1 || v.num > MAX_SUBSCRIPT) return conform();
    index = (int)v.num - 1;
    if (index >= n) return conform();
    return 0;
}

int eval_num_or_matrix(const char *text, bool &is_num, double &num, Matrix &out, const char **end) {
    auto rec = std::make_unique<data::ExprRecord>();
    const char *stop = nullptr;
    if (int rc = data::expr_compile(text, *rec, data::XW_NUMMAT, &stop)) return rc;
    if (end)
        *end = stop;
    else {
        while (*stop == ' ')
            ++stop;
        if (*stop) return error(198);
    }
    const size_t depth = mstack.size();
    data::expr_set_ranges(*rec, 1, data::ds.nobs, 1, data::ds.nobs);
    int rc = data::expr_run(*rec, 1, &num, nullptr);
    if (rc == 0 && rec->restype == data::XT_MAT) {
        if (mstack.size() != depth + 1)
            rc = error(198);
        else
            out = pop_matrix();
    }
    mstack.resize(std::min(mstack.size(), depth));
    is_num = rec->restype != data::XT_MAT;
    if (rc == 0 && !is_num) rc = check_matsize(out.rows, out.cols);
    return rc;
}

int eval_matrix(const char *text, Matrix &out, const char **end) {
    bool is_num = false;
    double num = 0;
    if (int rc = eval_num_or_matrix(text, is_num, num, out, end)) return rc;
    if (is_num) out.resize(1, 1, num);
    return 0;
}

} // namespace mat
