// The robust variance of a least-squares fit: the sample in the sandwich's order, the scores, and
// D M D through the robust kernel.
#include "estimate/reg2score.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <string>
#include <utility>

#include "data/dataset.h"
#include "data/types.h"
#include "estimate/compsum.h"
#include "estimate/robust.h"
#include "session/errors.h"
#include "session/state.h"

namespace est {

namespace {

// The observations of the marks in lo..hi, in the data's order.
int marked_obs(const RegScoreSpec &s, std::vector<int32_t> &obs) {
    try {
        int64_t n = 0;
        for (int32_t i = s.lo; i <= s.hi; ++i)
            n += s.marks[(size_t)i - 1] != 0;
        obs.reserve((size_t)n);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (int32_t i = s.lo; i <= s.hi; ++i)
        if (s.marks[(size_t)i - 1]) obs.push_back(i);
    return 0;
}

// The observations put in cluster order, the data's order kept within a cluster, and where each
// cluster starts, with the count of observations last.
int cluster_order(int v, std::vector<int32_t> &obs, std::vector<int64_t> &start) {
    const size_t n = obs.size();
    try {
        std::vector<int32_t> sorted(n);
        std::vector<size_t> pos(n);
        if (data::is_string_type(data::ds.vartype[(size_t)v - 1])) {
            std::vector<std::string> key(n);
            char buf[data::T_STRMAX + 1];
            for (size_t r = 0; r < n; ++r) {
                data::get_str(v, obs[r], buf);
                key[r] = buf;
            }
            for (size_t r = 0; r < n; ++r)
                pos[r] = r;
            std::stable_sort(pos.begin(), pos.end(), [&](size_t a, size_t b) { return key[a] < key[b]; });
            for (size_t r = 0; r < n; ++r) {
                sorted[r] = obs[pos[r]];
                if (r == 0 || key[pos[r]] != key[pos[r - 1]]) start.push_back((int64_t)r);
            }
        } else {
            std::vector<double> key(n);
            double lo = 0, hi = 0;
            bool small = true;
            for (size_t r = 0; r < n; ++r) {
                const double g = key[r] = data::get_num(v, obs[r]);
                if (r == 0) lo = hi = g;
                lo = std::min(lo, g);
                hi = std::max(hi, g);
                small = small && g == std::floor(g);
            }
            small = small && hi - lo <= 4.0 * (double)n + 1024;
            if (small) {
                // whole numbers over a range not much wider than the data: counted into place
                std::vector<size_t> first((size_t)(hi - lo) + 2, 0);
                for (size_t r = 0; r < n; ++r)
                    ++first[(size_t)(key[r] - lo) + 1];
                for (size_t c = 1; c < first.size(); ++c)
                    first[c] += first[c - 1];
                for (size_t r = 0; r < n; ++r)
                    pos[first[(size_t)(key[r] - lo)]++] = r;
            } else {
                for (size_t r = 0; r < n; ++r)
                    pos[r] = r;
                std::stable_sort(pos.begin(), pos.end(), [&](size_t a, size_t b) { return key[a] < key[b]; });
            }
            for (size_t r = 0; r < n; ++r) {
                sorted[r] = obs[pos[r]];
                if (r == 0 || key[pos[r]] != key[pos[r - 1]]) start.push_back((int64_t)r);
            }
        }
        start.push_back((int64_t)n);
        obs.swap(sorted);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

// What the residual kernel reads of the fit s over the observations obs.
ScoreRows score_rows(const RegScoreSpec &s, const std::vector<int32_t> &obs) {
    ScoreRows rows;
    rows.obs = &obs;
    rows.y = s.y;
    rows.x = &s.x;
    rows.b = &s.b;
    rows.cons = s.cons;
    rows.weightType = s.weightType;
    rows.safe = s.safe;
    return rows;
}

} // namespace

int reg2_robust(const RegScoreSpec &s, RegScoreOut *out) {
    const int kx = (int)s.x.size(), k = kx + (s.cons ? 1 : 0);
    std::vector<int32_t> obs;
    if (int rc = marked_obs(s, obs)) return rc;
    if (obs.empty()) return session::error(2000);
    std::vector<int64_t> start;
    if (s.clusterVar)
        if (int rc = cluster_order(s.clusterVar, obs, start)) return rc;

    const ScoreRows rows = score_rows(s, obs);
    std::vector<std::vector<double>> xcol;
    std::vector<double> w, e;
    if (int rc = reg2score_smp(rows, xcol, w, e)) return rc;
    const bool weighted = s.weightType != 0;

    int64_t lev1 = 0;
    if (s.form != SCORE_PLAIN) {
        // aweights enter the fit scaled to sum to the count, and so they enter the leverage
        double scale = 1;
        if (s.weightType == 1) {
            double sw = 0;
            for (double v : w)
                sw += v;
            scale = sw > 0 ? (double)w.size() / sw : 1;
        }
        if (int rc = reg2score2_smp(s.form, xcol, s.cons, s.D, weighted ? w.data() : nullptr, scale,
                                    s.weightType != 2, e, &lev1))
            return rc;
        // a missing score adds nothing to the sum of outer products
        if (lev1)
            for (double &v : e)
                if (data::is_missing(v)) v = 0;
    }

    RobustSpec rs;
    rs.k = k;
    rs.clusterVar = s.clusterVar;
    rs.addConstant = s.cons;
    rs.minusFactor = s.params;
    rs.unitScale = s.form != SCORE_PLAIN;
    RobustInput in;
    in.rows = (int64_t)obs.size();
    for (int j = 0; j < kx; ++j)
        in.x.push_back(xcol[(size_t)j].data());
    if (s.cons) in.x.push_back(nullptr);
    in.eq.assign((size_t)k, 0);
    in.score.push_back(e.data());
    if (weighted) {
        in.w = w.data();
        in.wtype = s.weightType == 1 ? RBW_A : s.weightType == 2 ? RBW_F : s.weightType == 3 ? RBW_I : RBW_P;
    }
    in.cluster_start = std::move(start);
    std::vector<double> V;
    if (int rc = robust_variance(rs, in, s.D, V)) return rc;
    out->V.swap(V);
    out->nobs = rs.n;
    out->nclust = s.clusterVar ? rs.N : 0;
    out->lev1 = lev1;
    return 0;
}

int reg2ess_smp(const RegScoreSpec &s, double *ess) {
    std::vector<int32_t> obs;
    if (int rc = marked_obs(s, obs)) return rc;
    if (obs.empty()) return session::error(2000);
    const ScoreRows rows = score_rows(s, obs);
    std::vector<std::vector<double>> xcol;
    std::vector<double> w, e;
    if (int rc = reg2score_smp(rows, xcol, w, e)) return rc;
    double scale = 1;
    if (s.weightType == 1) {
        CompSum sw;
        for (double v : w)
            sw.add(v);
        scale = sw.value() > 0 ? (double)w.size() / sw.value() : 1;
    }
    CompSum r;
    for (size_t i = 0; i < e.size(); ++i)
        r.add(s.weightType ? w[i] * scale * e[i] * e[i] : e[i] * e[i]);
    *ess = r.value();
    return 0;
}

} // namespace est
