// The scores of a least-squares fit on the parallel frame: the gather of the fit's columns with the
// residuals, and their HC2 and HC3 forms from the leverage.
#include <cmath>
#include <new>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "estimate/reg2score.h"
#include "session/errors.h"
#include "session/state.h"

namespace est {

namespace {

// A leverage this close to 1 is 1: the residual of such an observation is itself rounding noise,
// and dividing noise by noise would give a score of any size.
constexpr double LEV1_TOL = 1e-10;

} // namespace

int reg2score_smp(const ScoreRows &s, std::vector<std::vector<double>> &xcol, std::vector<double> &w,
                  std::vector<double> &e) {
    const std::vector<int32_t> &obs = *s.obs;
    const int64_t n = (int64_t)obs.size();
    const int k = (int)s.x->size();
    const bool weighted = s.weightType != 0;
    try {
        xcol.assign((size_t)k, {});
        for (auto &c : xcol)
            c.resize((size_t)n);
        e.resize((size_t)n);
        if (weighted) w.resize((size_t)n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    std::vector<int> off((size_t)k), type((size_t)k);
    for (int j = 0; j < k; ++j) {
        off[(size_t)j] = data::ds.offset[(size_t)(*s.x)[(size_t)j] - 1];
        type[(size_t)j] = data::ds.vartype[(size_t)(*s.x)[(size_t)j] - 1];
    }
    const int yoff = data::ds.offset[(size_t)s.y - 1], ytype = data::ds.vartype[(size_t)s.y - 1];
    const double *b = s.b->data();
    const double b0 = s.cons ? b[k] : 0;
    const Team tm = choose_team(n, granularity("reg2score_smp"), s.safe);
    const int brk = run_region(tm, [&](int, int64_t lo, int64_t hi) {
        for (int64_t r = lo; r < hi; ++r) {
            if (break_pending()) return;
            const int32_t i = obs[(size_t)r];
            const char *row = data::row_addr(i);
            double xb = 0;
            for (int j = 0; j < k; ++j) {
                const double x = data::cell_get(row + off[(size_t)j], type[(size_t)j]);
                xcol[(size_t)j][(size_t)r] = x;
                xb += b[j] * x;
            }
            e[(size_t)r] = data::cell_get(row + yoff, ytype) - (xb + b0);
            if (weighted) w[(size_t)r] = data::expr_xeqforby(data::wtexp, i);
        }
    });
    if (brk) return session::error(1);
    return 0;
}

int reg2score2_smp(int form, const std::vector<std::vector<double>> &xcol, bool cons,
                   const std::vector<double> &D, const double *w, double wscale, bool wtimes,
                   std::vector<double> &e, int64_t *lev1) {
    const int k = (int)xcol.size(), kc = k + (cons ? 1 : 0);
    const int64_t n = (int64_t)e.size();
    const Team tm = choose_team(n, granularity("reg2score2_smp"));
    std::vector<int64_t> count((size_t)tm.size, 0);
    std::vector<std::vector<double>> scratch((size_t)tm.size, std::vector<double>((size_t)kc));
    const int brk = run_region(tm, [&](int t, int64_t lo, int64_t hi) {
        double *x = scratch[(size_t)t].data();
        int64_t c = 0;
        for (int64_t r = lo; r < hi; ++r) {
            if (break_pending()) break;
            for (int j = 0; j < k; ++j)
                x[j] = xcol[(size_t)j][(size_t)r];
            if (cons) x[k] = 1;
            // h = x'Dx over the lower triangle, the off-diagonal terms twice
            double h = 0;
            for (int i = 0; i < kc; ++i) {
                if (x[i] == 0) continue;
                const double *Di = &D[(size_t)i * (size_t)kc];
                double s = 0;
                for (int j = 0; j < i; ++j)
                    s += Di[j] * x[j];
                h += x[i] * (2 * s + Di[i] * x[i]);
            }
            if (w && wtimes) h *= w[r] * wscale;
            const double m = 1 - h;
            if (m <= LEV1_TOL) {
                e[(size_t)r] = session::lim.dot;
                ++c;
            } else {
                e[(size_t)r] /= form == SCORE_HC2 ? std::sqrt(m) : m;
            }
        }
        count[(size_t)t] = c;
    });
    if (brk) return session::error(1);
    int64_t c = 0;
    for (int64_t v : count)
        c += v;
    *lev1 = c;
    return 0;
}

} // namespace est
