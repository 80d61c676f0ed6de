// The regression kernel: the sweep of the regressors' cross-products, the completion of the inverse
// for the constant, the sums of squares and the fit statistics.
#include "estimate/reg2.h"

#include <cmath>
#include <new>

#include "matrix/sweep.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace est {

namespace {
const double LOG2PI = std::log(2 * M_PI);
} // namespace

int reg2(const RegSpec &s, const ObsList &obs, RegFit *f) {
    const int nv = s.raw.k(), ld = nv + 1;
    if (nv > session::st.matsize - 2) return session::error(908);
    std::vector<double> xx;
    try {
        xx.assign((size_t)ld * (size_t)ld, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (int rc = brwrk_smp(s.raw, obs, reg2_dev(s), xx.data(), ld, nullptr, nullptr, nullptr, &f->cnt))
        return rc;
    return reg2_fit(s, xx, f);
}

void reg2_stats(const RegSpec &s, RegFit *f) {
    const double dot = session::lim.dot;
    const int p = f->p;
    f->mss = f->tss - f->rss < 0 ? 0 : f->tss - f->rss;
    const bool has_constant = s.cons || s.hascons;
    const int kept = p - f->ndropped;
    f->df_m = kept - (s.hascons ? 1 : 0);
    f->df_r = s.dof >= 0 ? s.dof : f->N - kept - (s.cons ? 1 : 0);
    const double s2 = (f->df_r <= 0 || s.mse1) ? 1 : f->rss / f->df_r;
    f->rmse = s.mse1 ? 1 : f->df_r > 0 ? std::sqrt(f->rss / f->df_r) : dot;
    for (size_t j = 0; j < f->inv.size(); ++j)
        f->V[j] = f->inv[j] * s2;
    f->F = (f->df_m > 0 && f->df_r > 0 && f->rss > 0) ? (f->mss / f->df_m) / (f->rss / f->df_r) : dot;
    f->r2 = f->tss > 0 ? f->mss / f->tss : dot;
    f->r2_a = (f->df_r > 0 && f->tss > 0) ? 1 - (1 - f->r2) * (f->N - (has_constant ? 1 : 0)) / f->df_r : dot;
    f->ll = f->rss > 0 ? -0.5 * f->N * (LOG2PI + std::log(f->rss / f->N) + 1) : dot;
    f->ll_0 = has_constant && f->tss > 0 ? -0.5 * f->N * (LOG2PI + std::log(f->tss / f->N) + 1) : dot;
}

int reg2_fit(const RegSpec &s, const std::vector<double> &xx, RegFit *f) {
    const int nv = s.raw.k(), p = nv - 1;
    if (nv > session::st.matsize - 2) return session::error(908);
    const double dot = session::lim.dot;
    const bool dev = reg2_dev(s);
    const int ld = nv + 1;
    std::vector<double> a;
    try {
        a.assign((size_t)(p > 0 ? p : 1) * (size_t)(p > 0 ? p : 1), 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (f->cnt.nobs == 0) return session::error(2000);
    auto X = [&](int i, int j) { return xx[(size_t)i * (size_t)ld + (size_t)j]; };
    const double W = X(0, 0);
    const bool freq = s.raw.weightType == RW_F || s.raw.weightType == RW_I;
    f->W = W;
    f->N = freq ? f->cnt.sumw : f->cnt.nobs;
    f->p = p;
    f->ncoef = p + (s.cons ? 1 : 0);

    // the regressors' block, swept in the order listed
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < p; ++j)
            a[(size_t)i * (size_t)p + (size_t)j] = X(i + 2, j + 2);
    mat::InvsymOut io;
    if (p > 0) {
        mat::InvsymOpts opts;
        if (int rc = mat::invsym(a.data(), p, p, opts, &io)) return rc;
        if (io.missing) return session::error(506);
    }
    auto Ai = [&](int i, int j) { return a[(size_t)i * (size_t)p + (size_t)j]; };
    f->dropped.assign((size_t)p, 0);
    f->ndropped = 0;
    for (int j = 0; j < p; ++j)
        if (io.state[(size_t)j] == mat::COL_DROPPED) {
            f->dropped[(size_t)j] = 1;
            ++f->ndropped;
        }

    // with hascons, the constant must lie in the span of the regressors: 1'1 - 1'X (X'X)^- X'1 is 0
    if (s.hascons) {
        CompSum r;
        r.add(W);
        for (int i = 0; i < p; ++i)
            for (int j = 0; j < p; ++j)
                r.add(-X(0, i + 2) * Ai(i, j) * X(0, j + 2));
        if (std::fabs(r.value()) > 1e-7 * W)
            return session::fail(481, "constant is not in the span of the regressors (hascons false)\n");
    }

    const int nc = f->ncoef;
    f->b.assign((size_t)nc, 0.0);
    f->V.assign((size_t)nc * (size_t)nc, 0.0);
    for (int j = 0; j < p; ++j) {
        CompSum bj;
        for (int i = 0; i < p; ++i)
            bj.add(Ai(j, i) * X(1, i + 2));
        f->b[(size_t)j] = f->dropped[(size_t)j] ? 0 : bj.value();
    }
    std::vector<double> inv((size_t)nc * (size_t)nc, 0.0);
    for (int i = 0; i < p; ++i)
        for (int j = 0; j < p; ++j)
            inv[(size_t)i * (size_t)nc + (size_t)j] = Ai(i, j);
    if (s.cons) {
        // the constant's row and column of the inverse, from the means
        std::vector<double> c0((size_t)p);
        for (int j = 0; j < p; ++j) {
            CompSum c;
            for (int i = 0; i < p; ++i)
                c.add(-X(0, i + 2) * Ai(i, j));
            c0[(size_t)j] = c.value();
            inv[(size_t)p * (size_t)nc + (size_t)j] = inv[(size_t)j * (size_t)nc + (size_t)p] = c0[(size_t)j];
        }
        CompSum v0, b0;
        v0.add(1 / W);
        b0.add(X(0, 1));
        for (int j = 0; j < p; ++j) {
            v0.add(-X(0, j + 2) * c0[(size_t)j]);
            b0.add(-X(0, j + 2) * f->b[(size_t)j]);
        }
        inv[(size_t)p * (size_t)nc + (size_t)p] = v0.value();
        f->b[(size_t)p] = b0.value();
    }

    // sums of squares: rss from the cross-products, the total about the mean where asked
    CompSum rss;
    rss.add(X(1, 1));
    for (int j = 0; j < p; ++j)
        rss.add(-f->b[(size_t)j] * X(1, j + 2));
    f->rss = rss.value() < 0 ? 0 : rss.value();
    const bool about_mean = s.cons || s.hascons || s.tsscons;
    f->tss = dev ? X(1, 1) : about_mean ? X(1, 1) - X(0, 1) * X(0, 1) / W : X(1, 1);
    if (f->tss < 0) f->tss = 0;

    f->inv.swap(inv);
    reg2_stats(s, f);

    // standardized coefficients: the regressor's spread over the dependent variable's
    f->beta.assign((size_t)nc, dot);
    const double syy = dev ? X(1, 1) : X(1, 1) - X(0, 1) * X(0, 1) / W;
    for (int j = 0; j < p; ++j) {
        const double sxx = dev ? X(j + 2, j + 2) : X(j + 2, j + 2) - X(0, j + 2) * X(0, j + 2) / W;
        if (!f->dropped[(size_t)j] && syy > 0 && sxx >= 0)
            f->beta[(size_t)j] = f->b[(size_t)j] * std::sqrt(sxx / syy);
    }
    return 0;
}

} // namespace est
