// The cross-products of matrix accum and vecaccum: X'X (or x1'X) over the sample, observations with
// a missing value in any variable or in the weight left out.
#include "matrix/accum.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

struct Cols {
    std::vector<int> var; // the variables, in order
    bool cons = true;
};

// The sums run over fixed chunks of the observation range, each chunk into its own slot, and the
// slots are added in chunk order on the main thread: the result has the same bits whatever the
// number of threads. A chunk is read SUB observations at a time, its cells gathered into columns,
// and each pair of columns adds one dot product.
constexpr int SUB = 256;
constexpr int64_t CHUNK_MIN = 16384;
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22; // doubles for the slots of all chunks together

// What every chunk reads.
struct Kernel {
    const Cols *c;
    int k; // columns, the constant included
    bool weighted;
    bool vec;             // vecaccum: only the first column times the others
    bool sums;            // the first pass of deviations: sums of the columns only
    const double *centre; // the means to take off, or null
    int32_t lo;           // the first observation of the range
    int64_t n;            // observations in the range
    int64_t chunk;        // observations of a chunk
    // A slot: the k by k products (lower triangle, or the first row for vecaccum), the k sums, the
    // count and the sum of the weights.
    size_t slot() const { return (size_t)k * (size_t)k + (size_t)k + 2; }
};

struct Scratch {
    std::vector<double> col, wa, w;
    std::vector<const char *> rowp;
    std::vector<unsigned char> miss;
    explicit Scratch(int k) : col((size_t)k * SUB), wa((size_t)k * SUB), w(SUB), rowp(SUB), miss(SUB) {}
};

// Dot products with running sums in a fixed order (even and odd rows apart), so that the bits
// depend only on the data. dot4 takes x against four columns at once, reading x once.
inline double dot(const double *__restrict x, const double *__restrict y, int n) {
    double s0 = 0, s1 = 0;
    int t = 0;
    for (; t + 2 <= n; t += 2) {
        s0 += x[t] * y[t];
        s1 += x[t + 1] * y[t + 1];
    }
    if (t < n) s0 += x[t] * y[t];
    return s0 + s1;
}

inline void dot4(const double *__restrict x, const double *__restrict y0, const double *__restrict y1,
                 const double *__restrict y2, const double *__restrict y3, int n, double *out) {
    double a0 = 0, a1 = 0, b0 = 0, b1 = 0, c0 = 0, c1 = 0, d0 = 0, d1 = 0;
    int t = 0;
    for (; t + 2 <= n; t += 2) {
        const double u = x[t], v = x[t + 1];
        a0 += u * y0[t];
        a1 += v * y0[t + 1];
        b0 += u * y1[t];
        b1 += v * y1[t + 1];
        c0 += u * y2[t];
        c1 += v * y2[t + 1];
        d0 += u * y3[t];
        d1 += v * y3[t + 1];
    }
    if (t < n) {
        a0 += x[t] * y0[t];
        b0 += x[t] * y1[t];
        c0 += x[t] * y2[t];
        d0 += x[t] * y3[t];
    }
    out[0] += a0 + a1;
    out[1] += b0 + b1;
    out[2] += c0 + c1;
    out[3] += d0 + d1;
}

// Column j of the m rows at rowp: the cells of one variable, its type's read chosen once.
template <int T> void gather_col(const char *const *rowp, int m, int off, double *col, unsigned char *miss) {
    const double dot_ = session::lim.dot;
    for (int t = 0; t < m; ++t) {
        const double v = data::cell_get(rowp[t] + off, T);
        col[t] = v;
        miss[t] |= !(v < dot_);
    }
}

void gather_var(const char *const *rowp, int m, int v, double *col, unsigned char *miss) {
    const int off = data::ds.offset[(size_t)v - 1];
    switch (data::ds.vartype[(size_t)v - 1]) {
    case data::T_DOUBLE:
        return gather_col<data::T_DOUBLE>(rowp, m, off, col, miss);
    case data::T_FLOAT:
        return gather_col<data::T_FLOAT>(rowp, m, off, col, miss);
    case data::T_LONG:
        return gather_col<data::T_LONG>(rowp, m, off, col, miss);
    case data::T_INT:
        return gather_col<data::T_INT>(rowp, m, off, col, miss);
    default:
        for (int t = 0; t < m; ++t) {
            const double x = data::cell_get(rowp[t] + off, data::ds.vartype[(size_t)v - 1]);
            col[t] = x;
            miss[t] |= data::is_missing(x);
        }
    }
}

// The observations [first, last] of a chunk, SUB at a time, into the slot.
void run_chunk(const Kernel &kr, int32_t first, int32_t last, Scratch &s, double *slot) {
    const int k = kr.k, nx = (int)kr.c->var.size();
    double *acc = slot, *sum = slot + (size_t)k * (size_t)k, *cnt = sum + k, *sw = cnt + 1;
    for (int32_t b = first; b <= last; b += SUB) {
        if (est::break_pending()) return;
        const int32_t e = std::min<int32_t>(last, b + SUB - 1);
        int m = 0;
        for (int32_t i = b; i <= e; ++i) {
            if (!data::if_true(i)) continue;
            double wt = 1;
            if (kr.weighted) {
                wt = data::expr_xeqforby(data::wtexp, i);
                if (data::is_missing(wt) || wt == 0) continue;
            }
            s.rowp[(size_t)m] = data::row_addr(i);
            s.w[(size_t)m] = wt;
            s.miss[(size_t)m] = 0;
            ++m;
        }
        if (m == 0) continue;
        for (int j = 0; j < nx; ++j)
            gather_var(s.rowp.data(), m, kr.c->var[(size_t)j], &s.col[(size_t)j * SUB], s.miss.data());
        // observations with a missing value leave, the others keep their order
        int kept = 0;
        for (int t = 0; t < m; ++t)
            kept += !s.miss[(size_t)t];
        if (kept < m) {
            for (int j = -1; j < nx; ++j) {
                double *col = j < 0 ? s.w.data() : &s.col[(size_t)j * SUB];
                int u = 0;
                for (int t = 0; t < m; ++t)
                    if (!s.miss[(size_t)t]) col[u++] = col[t];
            }
            m = kept;
            if (m == 0) continue;
        }
        if (kr.c->cons) std::fill_n(&s.col[(size_t)nx * SUB], m, 1.0);
        const double *w = s.w.data();
        *cnt += m;
        for (int t = 0; t < m; ++t)
            *sw += w[t];
        if (kr.sums) {
            for (int j = 0; j < k; ++j)
                sum[j] += dot(&s.col[(size_t)j * SUB], w, m);
            continue;
        }
        if (kr.centre)
            for (int j = 0; j < nx; ++j) {
                double *col = &s.col[(size_t)j * SUB];
                const double c = kr.centre[j];
                for (int t = 0; t < m; ++t)
                    col[t] -= c;
            }
        // the weighted columns: w x_a, against which every x_b is multiplied
        const double *wcol = s.col.data();
        if (kr.weighted) {
            for (int j = 0; j < (kr.vec ? 1 : k); ++j)
                for (int t = 0; t < m; ++t)
                    s.wa[(size_t)j * SUB + (size_t)t] = s.col[(size_t)j * SUB + (size_t)t] * w[t];
            wcol = s.wa.data();
        }
        if (kr.vec) {
            for (int j = 1; j < k; ++j)
                acc[j] += dot(wcol, &s.col[(size_t)j * SUB], m);
            continue;
        }
        for (int a = 0; a < k; ++a) {
            const double *x = &wcol[(size_t)a * SUB];
            double *row = &acc[(size_t)a * (size_t)k];
            int c = 0;
            for (; c + 4 <= a + 1; c += 4)
                dot4(x, &s.col[(size_t)c * SUB], &s.col[(size_t)(c + 1) * SUB], &s.col[(size_t)(c + 2) * SUB],
                     &s.col[(size_t)(c + 3) * SUB], m, row + c);
            for (; c <= a; ++c)
                row[c] += dot(x, &s.col[(size_t)c * SUB], m);
        }
    }
}

// All chunks into their slots: on the frame when the team rule allows, else in turn on this
// thread; the same arithmetic either way. 0, 909, or 1 on Break (messages written).
int run_chunks(const Kernel &kr, bool safe, std::vector<double> &slots, int64_t nchunks) {
    try {
        slots.assign((size_t)nchunks * kr.slot(), 0.0);
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    auto chunk_range = [&](int64_t ci, int32_t &first, int32_t &last) {
        first = kr.lo + (int32_t)(ci * kr.chunk);
        last = kr.lo + (int32_t)(std::min(kr.n, (ci + 1) * kr.chunk) - 1);
    };
    const est::Team tm = est::choose_team(kr.n, est::granularity("brwrk_smp"), safe);
    const int threads = tm.parallel ? (int)std::min<int64_t>(tm.size, nchunks) : 1;
    std::vector<std::unique_ptr<Scratch>> scratch;
    try {
        for (int t = 0; t < threads; ++t)
            scratch.push_back(std::make_unique<Scratch>(kr.k));
    } catch (const std::bad_alloc &) {
        return error(909);
    }
    if (threads == 1) {
        for (int64_t ci = 0; ci < nchunks; ++ci) {
            int32_t first, last;
            chunk_range(ci, first, last);
            run_chunk(kr, first, last, *scratch[0], &slots[(size_t)ci * kr.slot()]);
        }
        return est::break_pending() ? error(1) : 0;
    }
    const est::Team over{threads, nchunks, (nchunks + threads - 1) / threads, true};
    const int brk = est::run_region(over, [&](int t, int64_t a, int64_t z) {
        for (int64_t ci = a; ci < z; ++ci) {
            int32_t first, last;
            chunk_range(ci, first, last);
            run_chunk(kr, first, last, *scratch[(size_t)t], &slots[(size_t)ci * kr.slot()]);
        }
    });
    return brk ? error(1) : 0;
}

StripeName var_name(int v) {
    StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", data::ds.varname[v - 1]);
    return s;
}

StripeName cons_name() {
    StripeName s;
    std::strcpy(s.name, "_cons");
    return s;
}

// A numeric variable named by an option.
int option_var(const char *option, const std::string &name, int &v) {
    if (name.empty()) return required(std::string("option ") + option + "()");
    v = data::varlookup(name, true, data::varabbrev);
    if (v < 0) return -v;
    if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
    return 0;
}

// matrix glsaccum A = varlist [if] [in], group(gvar) glsmat(W) row(rvar) [noconstant]
// matrix opaccum A = varlist [if] [in], group(gvar) opvar(v) [noconstant]
// Groups are the distinct values of gvar, taken in ascending order wherever their observations
// stand; an observation with a missing value in any variable named is left out.
int accum_groups(int which) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = check_name(name)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    data::ParseSpec spec;
    spec.varlist = data::PO_REQUIRED;
    if (int rc = data::std_parse(spec)) return rc;
    bool nocons = false;
    std::string gname, wname, rname, oname;
    std::vector<OptSpec> specs = {opt_flag("noconstant", 3, nocons), opt_name("group", 2, gname)};
    if (which == ACC_GLS) {
        specs.push_back(opt_name("glsmat", 4, wname));
        specs.push_back(opt_name("row", 3, rname));
    } else {
        specs.push_back(opt_name("opvar", 3, oname));
    }
    if (int rc = data::std_options(specs)) return rc;
    std::vector<int> vars;
    for (int32_t j = 0; j < data::ps.count; ++j) {
        const int v = data::ps.var[(size_t)j];
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) return error(109);
        vars.push_back(v);
    }
    int gvar = 0, aux = 0;
    if (int rc = option_var("group", gname, gvar)) return rc;
    if (which == ACC_GLS) {
        if (wname.empty()) return required("option glsmat()");
        if (int rc = option_var("row", rname, aux)) return rc;
    } else if (int rc = option_var("opvar", oname, aux)) {
        return rc;
    }
    Matrix w;
    if (which == ACC_GLS) {
        if (int rc = mat_load(wname.c_str(), ST_MATRIX, w)) return rc;
        if (w.rows != w.cols) return error(503);
    }
    const int nx = (int)vars.size(), k = nx + (nocons ? 0 : 1);
    if (int rc = check_matsize(k, k)) return rc;

    std::vector<int32_t> sample;
    if (int rc = data::sample_obs(sample)) return rc;
    // the kept observations of each group, in the order of the data
    std::map<double, std::vector<int32_t>> groups;
    for (int32_t i : sample) {
        const double g = data::get_num(gvar, i), a = data::get_num(aux, i);
        bool miss = data::is_missing(g) || data::is_missing(a);
        for (size_t j = 0; j < vars.size() && !miss; ++j)
            miss = data::is_missing(data::get_num(vars[j], i));
        if (miss) continue;
        if (which == ACC_GLS && (a < 1 || a > w.rows || a != std::floor(a))) return error(503);
        groups[g].push_back(i);
    }
    std::vector<double> acc((size_t)k * (size_t)k, 0.0), xi((size_t)k), z((size_t)k);
    auto row_of = [&](int32_t i, double *x) {
        for (int j = 0; j < nx; ++j)
            x[j] = data::get_num(vars[(size_t)j], i);
        if (!nocons) x[nx] = 1;
    };
    double nobs = 0;
    for (const auto &[g, obs] : groups) {
        if (session::poll_break()) return error(1);
        const size_t ng = obs.size();
        nobs += (double)ng;
        std::vector<double> x(ng * (size_t)k);
        for (size_t t = 0; t < ng; ++t)
            row_of(obs[t], &x[t * (size_t)k]);
        if (which == ACC_OP) {
            // u = X_g' v_g; the group adds u u'
            std::fill(z.begin(), z.end(), 0.0);
            for (size_t t = 0; t < ng; ++t) {
                const double e = data::get_num(aux, obs[t]);
                for (int j = 0; j < k; ++j)
                    z[(size_t)j] += e * x[t * (size_t)k + (size_t)j];
            }
            for (int a = 0; a < k; ++a)
                for (int b = 0; b < k; ++b)
                    acc[(size_t)a * (size_t)k + (size_t)b] += z[(size_t)a] * z[(size_t)b];
            continue;
        }
        // X_g' W_g X_g, W_g the rows and columns of W that row() gives for the group
        std::vector<int> r(ng);
        for (size_t t = 0; t < ng; ++t)
            r[t] = (int)data::get_num(aux, obs[t]) - 1;
        for (size_t t = 0; t < ng; ++t) {
            std::fill(z.begin(), z.end(), 0.0);
            for (size_t u = 0; u < ng; ++u) {
                const double wt = w.at(r[t], r[u]);
                for (int j = 0; j < k; ++j)
                    z[(size_t)j] += wt * x[u * (size_t)k + (size_t)j];
            }
            for (int a = 0; a < k; ++a)
                for (int b = 0; b < k; ++b)
                    acc[(size_t)a * (size_t)k + (size_t)b] += x[t * (size_t)k + (size_t)a] * z[(size_t)b];
        }
    }
    if (nobs == 0) return error(2000);
    Matrix m;
    m.resize(k, k);
    m.v = acc;
    for (int v : vars)
        m.rn.push_back(var_name(v));
    if (!nocons) m.rn.push_back(cons_name());
    m.cn = m.rn;
    m.sym = is_symmetric(m);
    if (int rc = mat_assign(name.c_str(), ST_MATRIX, m)) return rc;
    r_clear();
    return r_set_scalar("N", nobs);
}

} // namespace

// matrix accum A = varlist [if] [in] [weight] [, noconstant deviations]
// matrix vecaccum a = varlist [if] [in] [weight] [, noconstant]
int cmd_accum(int which) {
    if (which == ACC_GLS || which == ACC_OP) return accum_groups(which);
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = check_name(name)) return rc;
    const char *rest = tokrest();
    if (*rest != '=') return error(198);
    settok(rest + 1);
    data::ParseSpec spec;
    spec.varlist = data::PO_REQUIRED;
    spec.weight = data::PO_OPTIONAL;
    spec.wmask = data::WT_F | data::WT_A | data::WT_I | data::WT_P;
    if (int rc = data::std_parse(spec)) return rc;
    bool nocons = false, dev = false;
    std::vector<OptSpec> specs = {opt_flag("noconstant", 3, nocons)};
    if (which == ACC_ACCUM) specs.push_back(opt_flag("deviations", 3, dev));
    if (int rc = data::std_options(specs)) return rc;
    Cols c;
    for (int32_t k = 0; k < data::ps.count; ++k) {
        const int v = data::ps.var[(size_t)k];
        if (data::is_string_type(data::ds.vartype[v - 1])) return error(109);
        c.var.push_back(v);
    }
    if (which == ACC_VEC && c.var.empty()) return error(102);
    c.cons = !nocons;
    const int k = (int)c.var.size() + (c.cons ? 1 : 0);
    if (int rc = check_matsize(k, k)) return rc;
    const bool weighted = data::sm.wtype != data::WT_NONE;
    const int32_t lo = data::sample_lo(), hi = data::sample_hi();
    if (data::sm.ifpresent) data::sample_ranges(data::ifexp);
    if (weighted) data::sample_ranges(data::wtexp);

    std::vector<double> acc((size_t)k * (size_t)k, 0.0), centre((size_t)k, 0.0);
    double nobs = 0, sumw = 0;
    const bool safe =
        (!data::sm.ifpresent || data::ifexp.expressionSafe) && (!weighted || data::wtexp.expressionSafe);
    Kernel kr{&c, k, weighted, which == ACC_VEC, false, nullptr, lo, (int64_t)hi - lo + 1, CHUNK_MIN};
    if (kr.n < 0) kr.n = 0;
    // the chunks' length depends on the data's size and k alone, never on the team
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)kr.slot());
    kr.chunk = std::max(CHUNK_MIN, (kr.n + max_chunks - 1) / max_chunks);
    const int64_t nchunks = (kr.n + kr.chunk - 1) / kr.chunk;
    std::vector<double> slots;
    // deviations need the means first: one pass for the sums, a second for the products
    for (int pass = dev ? 0 : 1; pass < 2; ++pass) {
        kr.sums = pass == 0;
        kr.centre = pass == 1 && dev ? centre.data() : nullptr;
        if (int rc = run_chunks(kr, safe, slots, nchunks)) return rc;
        std::vector<double> sum((size_t)k, 0.0);
        std::fill(acc.begin(), acc.end(), 0.0);
        nobs = sumw = 0;
        for (int64_t ci = 0; ci < nchunks; ++ci) {
            const double *sl = &slots[(size_t)ci * kr.slot()];
            for (size_t j = 0; j < acc.size(); ++j)
                acc[j] += sl[j];
            for (int j = 0; j < k; ++j)
                sum[(size_t)j] += sl[acc.size() + (size_t)j];
            nobs += sl[acc.size() + (size_t)k];
            sumw += sl[acc.size() + (size_t)k + 1];
        }
        if (pass == 0 && sumw > 0) {
            for (int j = 0; j < k; ++j)
                centre[(size_t)j] = sum[(size_t)j] / sumw;
            if (c.cons) centre[(size_t)k - 1] = 0;
        }
    }
    // analytic weights are scaled to sum to the number of observations
    if (data::sm.wtype == data::WT_A && sumw > 0) {
        for (double &v : acc)
            v *= nobs / sumw;
    }
    Matrix m;
    if (which == ACC_VEC) {
        m.resize(1, k - 1);
        for (int j = 1; j < k; ++j)
            m.at(0, j - 1) = acc[(size_t)j];
        m.rn.push_back(var_name(c.var[0]));
        for (size_t j = 1; j < c.var.size(); ++j)
            m.cn.push_back(var_name(c.var[j]));
    } else {
        m.resize(k, k);
        for (int a = 0; a < k; ++a)
            for (int b = 0; b <= a; ++b)
                m.at(a, b) = m.at(b, a) = acc[(size_t)a * (size_t)k + (size_t)b];
        m.sym = true;
        for (int v : c.var)
            m.rn.push_back(var_name(v));
    }
    if (c.cons) {
        StripeName s;
        std::strcpy(s.name, "_cons");
        (which == ACC_VEC ? m.cn : m.rn).push_back(s);
    }
    if (which != ACC_VEC) m.cn = m.rn;
    if (int rc = mat_assign(name.c_str(), ST_MATRIX, m)) return rc;
    r_clear();
    const bool fw = data::sm.wtype == data::WT_F;
    if (int rc = r_set_scalar("N", fw ? sumw : nobs)) return rc;
    if (weighted && !fw)
        if (int rc = r_set_scalar("sum_w", sumw)) return rc;
    return 0;
}

} // namespace mat
