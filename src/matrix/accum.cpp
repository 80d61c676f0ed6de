// The cross-products of matrix accum and vecaccum: X'X (or x1'X) over the sample, observations with
// a missing value in any variable or in the weight left out.
#include "matrix/accum.h"

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/types.h"
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

constexpr int BLOCK = 2048; // observations gathered into columns before they are multiplied

struct Cols {
    std::vector<int> var; // the variables, in order
    bool cons = true;
};

// Gathers the usable observations of [lo, hi] into the row-major block x (k values an observation,
// the constant last) and their weights; returns how many.
int gather(const Cols &c, int32_t lo, int32_t hi, bool weighted, std::vector<double> &x,
           std::vector<double> &w) {
    const int k = (int)c.var.size() + (c.cons ? 1 : 0);
    int n = 0;
    for (int32_t i = lo; i <= hi; ++i) {
        if (!data::if_true(i)) continue;
        double wt = 1;
        if (weighted) {
            wt = data::expr_xeqforby(data::wtexp, i);
            if (data::is_missing(wt) || wt == 0) continue;
        }
        double *row = &x[(size_t)n * (size_t)k];
        bool miss = false;
        const char *cells = data::row_addr(i);
        for (size_t j = 0; j < c.var.size(); ++j) {
            const int v0 = c.var[j] - 1;
            const double v =
                data::cell_get(cells + data::ds.offset[(size_t)v0], data::ds.vartype[(size_t)v0]);
            if (data::is_missing(v)) {
                miss = true;
                break;
            }
            row[j] = v;
        }
        if (miss) continue;
        if (c.cons) row[k - 1] = 1;
        w[(size_t)n] = wt;
        ++n;
    }
    return n;
}

// The lower triangle of sum w x x' over a block, added into acc (k by k, row major).
void add_block(const double *x, const double *w, int n, int k, const double *centre, bool weighted,
               double *acc) {
    std::vector<double> d((size_t)k);
    for (int t = 0; t < n; ++t) {
        const double *row = x + (size_t)t * (size_t)k;
        if (centre) {
            for (int j = 0; j < k; ++j)
                d[(size_t)j] = row[j] - centre[j];
            row = d.data();
        }
        const double wt = weighted ? w[t] : 1.0;
        for (int a = 0; a < k; ++a) {
            const double da = row[a] * wt;
            double *out = acc + (size_t)a * (size_t)k;
            for (int b = 0; b <= a; ++b)
                out[b] += da * row[b];
        }
    }
}

StripeName var_name(int v) {
    StripeName s;
    std::snprintf(s.name, sizeof s.name, "%s", data::ds.varname[v - 1]);
    return s;
}

} // namespace

// matrix accum A = varlist [if] [in] [weight] [, noconstant deviations]
// matrix vecaccum a = varlist [if] [in] [weight] [, noconstant]
int cmd_accum(int which) {
    if (which == ACC_GLS || which == ACC_OP)
        return not_built(which == ACC_GLS ? "matrix glsaccum" : "matrix opaccum");
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
    // deviations need the means first: one pass for the sums, a second for the products
    for (int pass = dev ? 0 : 1; pass < 2; ++pass) {
        const est::Team tm = est::choose_team((int64_t)hi - lo + 1, est::granularity("brwrk_smp"), safe);
        struct Part {
            std::vector<double> acc, sum;
            double n = 0, sw = 0;
        };
        std::vector<Part> part((size_t)tm.size);
        for (Part &p : part) {
            p.acc.assign((size_t)k * (size_t)k, 0.0);
            p.sum.assign((size_t)k, 0.0);
        }
        const int brk = est::run_region(tm, [&](int t, int64_t a, int64_t z) {
            Part &p = part[(size_t)t];
            std::vector<double> x((size_t)BLOCK * (size_t)k), w((size_t)BLOCK);
            for (int64_t b = a; b < z; b += BLOCK) {
                if (est::break_pending()) return;
                const int32_t first = lo + (int32_t)b, last = lo + (int32_t)std::min(z, b + BLOCK) - 1;
                const int n = gather(c, first, last, weighted, x, w);
                for (int u = 0; u < n; ++u)
                    p.sw += w[(size_t)u];
                p.n += n;
                if (pass == 0) {
                    for (int u = 0; u < n; ++u)
                        for (int j = 0; j < k; ++j)
                            p.sum[(size_t)j] += w[(size_t)u] * x[(size_t)u * (size_t)k + (size_t)j];
                } else if (which == ACC_VEC) {
                    for (int u = 0; u < n; ++u) {
                        const double *row = &x[(size_t)u * (size_t)k];
                        for (int j = 1; j < k; ++j)
                            p.acc[(size_t)j] += w[(size_t)u] * row[0] * row[j];
                    }
                } else {
                    add_block(x.data(), w.data(), n, k, dev ? centre.data() : nullptr, weighted,
                              p.acc.data());
                }
            }
        });
        if (brk) return error(1);
        std::vector<double> sum((size_t)k, 0.0);
        nobs = sumw = 0;
        for (const Part &p : part) {
            nobs += p.n;
            sumw += p.sw;
            for (size_t j = 0; j < acc.size(); ++j)
                acc[j] += p.acc[j];
            for (int j = 0; j < k; ++j)
                sum[(size_t)j] += p.sum[(size_t)j];
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
