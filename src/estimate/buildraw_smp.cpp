// The parallel cross-product kernel: each thread adds the observations of its block into its own
// (k+1) square array, and the arrays are added into the result in thread order.
#include <cfloat>
#include <cstring>

#include "data/dataset.h"
#include "estimate/buildraw.h"
#include "estimate/buildraw_core.h"
#include "estimate/xprod.h"
#include "session/errors.h"
#include "session/state.h"

namespace est {

int brwrk_smp(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima,
              double *maxima, double *zeros, RawCounts *cnt) {
    const int k = s.k();
    const int64_t n = (int64_t)obs.size();
    const Team tm = choose_team(n, granularity("brwrk_smp"), true);
    std::vector<double> row;
    try {
        row.resize((size_t)session::st.matsize + 2 > (size_t)k + 2 ? (size_t)session::st.matsize + 2
                                                                   : (size_t)k + 2);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (!tm.parallel) return brwrk(s, obs, dev, xx, ld, minima, maxima, zeros, cnt, row.data());

    rawcore::Pass p;
    std::vector<double> mean;
    if (int rc = rawcore::start(s, obs, dev, xx, ld, minima, maxima, zeros, cnt, row.data(), &p, mean))
        return rc;
    if (cnt->nobs == 0) return 0;

    // per thread: the array, the extremes and zero counts, and a row buffer
    const size_t kk = (size_t)(k + 1) * (size_t)(k + 1), k1 = (size_t)k + 1;
    const size_t each = sizeof(double) * (kk + 3 * k1 + k1 + 1);
    ThreadStore store;
    if (int rc = store.alloc(tm.size, each)) return rc;
    for (int t = 0; t < tm.size; ++t) {
        double *a = store.at<double>(t);
        std::memset(a, 0, sizeof(double) * kk);
        for (size_t j = 0; j < k1; ++j) {
            a[kk + j] = DBL_MAX;
            a[kk + k1 + j] = -DBL_MAX;
            a[kk + 2 * k1 + j] = 0;
        }
    }
    const bool ext = minima != nullptr, zc = zeros != nullptr;
    const int brk = run_region(tm, [&](int t, int64_t lo, int64_t hi) {
        double *a = store.at<double>(t);
        double *mn = ext ? a + kk : nullptr, *mx = ext ? a + kk + k1 : nullptr,
               *zr = zc ? a + kk + 2 * k1 : nullptr;
        double *r = a + kk + 3 * k1;
        for (int64_t j = lo; j < hi; ++j) {
            if (break_pending()) return;
            if (get_obs_values(s, obs[(size_t)j], r, s.weightType))
                rawcore::add_obs(p, r, a, k + 1, mn, mx, zr);
        }
    });
    if (brk) return 1;
    for (int t = 0; t < tm.size; ++t) {
        const double *a = store.at<double>(t);
        for (int j = 0; j <= k; ++j)
            for (int i = 0; i <= j; ++i)
                xx[(size_t)j * (size_t)ld + (size_t)i] += a[(size_t)j * k1 + (size_t)i];
        for (size_t j = 1; j < k1; ++j) {
            if (ext) {
                if (a[kk + j] < minima[j]) minima[j] = a[kk + j];
                if (a[kk + k1 + j] > maxima[j]) maxima[j] = a[kk + k1 + j];
            }
            if (zc) zeros[j] += a[kk + 2 * k1 + j];
        }
    }
    rawcore::finish(p, xx, ld, rawcore::total(s, *cnt));
    return 0;
}

int brwrk_var_smp(const RawSpec &s, const std::vector<int> &sel, const ObsList &obs, bool dev, double *xx,
                  int ld, RawCounts *cnt) {
    RawSpec sub = s;
    sub.vars.clear();
    for (int j : sel)
        sub.vars.push_back(s.vars[(size_t)j]);
    return brwrk_smp(sub, obs, dev, xx, ld, nullptr, nullptr, nullptr, cnt);
}

int brwrk_line(const RawSpec &s, int32_t lo, int32_t hi, bool safe, bool dev, double *xx, int ld,
               uint8_t *marks, RawCounts *cnt) {
    const int k = s.k(), k1 = k + 1;
    xprod::Pass p;
    p.var = &s.vars;
    p.cons = !dev; // raw: a constant column after the variables, whose products are the sums
    p.moments = dev;
    p.weighted = s.weightType != RW_NONE;
    p.check = true;
    p.integer = s.weightType == RW_F;
    p.marks = marks;
    p.seq = true;
    p.lo = lo;
    p.hi = hi;
    *cnt = RawCounts{};
    cnt->awnote = s.weightType == RW_A;
    xprod::Sums r;
    int32_t bad = 0;
    if (int rc = xprod::run(p, safe, r, &bad)) {
        if (rc == 402) return session::fail(402, "negative weights encountered\n");
        if (rc == 401) return session::fail(401, "may not use noninteger frequency weights\n");
        return rc;
    }
    for (int j = 0; j <= k; ++j)
        std::memset(xx + (size_t)j * (size_t)ld, 0, sizeof(double) * (size_t)k1);
    cnt->nobs = r.nobs;
    cnt->sumw = r.sumw;
    if (r.nobs == 0 || r.sumw == 0) {
        cnt->nobs = 0;
        return 0;
    }
    // an aweight is scaled to sum to the count
    const double scale = s.weightType == RW_A ? r.nobs / r.sumw : 1;
    const double W = r.sumw;
    const int kp = dev ? k : k1; // the pass's columns
    auto P = [&](int a, int b) {
        return a >= b ? r.acc[(size_t)a * (size_t)kp + (size_t)b] : r.acc[(size_t)b * (size_t)kp + (size_t)a];
    };
    for (int i = 1; i <= k; ++i) {
        for (int j = 1; j <= i; ++j)
            xx[(size_t)i * (size_t)ld + (size_t)j] = P(i - 1, j - 1) * scale;
        // deviations: the mean; raw: the pass's column k is the constant, its products the sums
        xx[(size_t)i * (size_t)ld] = dev ? r.sum[(size_t)i - 1] / W : P(k, i - 1) * scale;
    }
    xx[0] = s.weightType == RW_A ? r.nobs : W;
    for (int j = 0; j <= k; ++j)
        for (int i = 0; i < j; ++i)
            xx[(size_t)i * (size_t)ld + (size_t)j] = xx[(size_t)j * (size_t)ld + (size_t)i];
    return 0;
}

} // namespace est
