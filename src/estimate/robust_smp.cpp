// The outer products of the robust variance, summed over fixed chunks on the parallel frame.
#include "estimate/robust_smp.h"

#include <algorithm>
#include <memory>
#include <new>

#include "estimate/frame.h"
#include "session/errors.h"

namespace est {

namespace {

// A chunk is read SUB rows at a time, the rows' u gathered into columns, and each pair of columns
// adds one dot product. The chunks' length depends on the rows and k alone, never on the team.
constexpr int SUB = 256;
constexpr int64_t CHUNK_MIN = 16384;
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22; // doubles for the slots of all chunks together

// Running sums in a fixed order (even and odd rows apart), so that the bits depend on the data only.
inline double dot(const double *__restrict a, const double *__restrict b, int m) {
    double s0 = 0, s1 = 0;
    int t = 0;
    for (; t + 2 <= m; t += 2) {
        s0 += a[t] * b[t];
        s1 += a[t + 1] * b[t + 1];
    }
    if (t < m) s0 += a[t] * b[t];
    return s0 + s1;
}

struct Meat {
    const RobustInput *in;
    int k;
    // A slot: the k by k products (lower triangle), the count, the clusters, the sum of the weights.
    size_t slot() const { return (size_t)k * (size_t)k + 3; }
    int64_t row(int64_t pos) const { return in->order ? in->order[pos] : pos; }
};

struct Scratch {
    std::vector<double> u, wu, z, t, S;
    explicit Scratch(int k)
        : u((size_t)k * SUB), wu((size_t)k * SUB), z((size_t)k), t((size_t)k), S((size_t)k * (size_t)k) {}
};

// u of row r, parameter p: the score of p's equation times x_p (1 at the constant).
inline double u_of(const RobustInput &in, int p, int64_t r) {
    const double s = in.score[in.score.size() == 1 ? 0 : (size_t)in.eq[(size_t)p]][r];
    const double *x = in.x[(size_t)p];
    return x ? s * x[r] : s;
}

void add_weights(const Meat &mt, int64_t r, double *cnt, double *sw) {
    const RobustInput &in = *mt.in;
    const double w = in.w ? in.w[r] : 1;
    *cnt += (in.wtype == RBW_F || in.wtype == RBW_I) ? w : 1;
    *sw += w;
}

// Positions [a, z) of the order, observation by observation.
void run_rows(const Meat &mt, int64_t a, int64_t z, Scratch &s, double *slot) {
    const RobustInput &in = *mt.in;
    const int k = mt.k;
    double *acc = slot, *cnt = slot + (size_t)k * (size_t)k, *sw = cnt + 2;
    const bool pw = in.w && in.wtype == RBW_P, ow = in.w && in.wtype != RBW_P;
    for (int64_t b = a; b < z; b += SUB) {
        if (break_pending()) return;
        const int m = (int)std::min<int64_t>(SUB, z - b);
        for (int p = 0; p < k; ++p) {
            double *u = &s.u[(size_t)p * SUB];
            if (in.order) {
                for (int t = 0; t < m; ++t) {
                    const int64_t r = mt.row(b + t);
                    u[t] = pw ? u_of(in, p, r) * in.w[r] : u_of(in, p, r);
                }
            } else {
                // one run of rows: the same products, in loops the compiler can vectorise
                const double *sc = in.score[in.score.size() == 1 ? 0 : (size_t)in.eq[(size_t)p]] + b;
                const double *x = in.x[(size_t)p] ? in.x[(size_t)p] + b : nullptr;
                if (x)
                    for (int t = 0; t < m; ++t)
                        u[t] = sc[t] * x[t];
                else
                    std::copy_n(sc, m, u);
                if (pw)
                    for (int t = 0; t < m; ++t)
                        u[t] *= in.w[b + t];
            }
            if (ow) {
                double *wu = &s.wu[(size_t)p * SUB];
                for (int t = 0; t < m; ++t)
                    wu[t] = u[t] * in.w[mt.row(b + t)];
            }
        }
        for (int t = 0; t < m; ++t)
            add_weights(mt, mt.row(b + t), cnt, sw);
        const double *left = ow ? s.wu.data() : s.u.data();
        for (int p = 0; p < k; ++p)
            for (int q = 0; q <= p; ++q)
                acc[(size_t)p * (size_t)k + (size_t)q] +=
                    dot(&left[(size_t)p * SUB], &s.u[(size_t)q * SUB], m);
    }
}

// The total u of the rows of cluster c into zz; the cluster's rows counted.
void cluster_total(const Meat &mt, int64_t c, double *zz, double *cnt, double *sw) {
    const RobustInput &in = *mt.in;
    const int k = mt.k;
    std::fill_n(zz, k, 0.0);
    const int64_t a = in.cluster_start[(size_t)c], z = in.cluster_start[(size_t)c + 1];
    if (in.order) {
        for (int64_t pos = a; pos < z; ++pos) {
            const int64_t r = mt.row(pos);
            const double w = in.w ? in.w[r] : 1;
            for (int p = 0; p < k; ++p)
                zz[p] += u_of(in, p, r) * w;
        }
    } else {
        // the cluster is one run of rows: a parameter at a time
        for (int p = 0; p < k; ++p) {
            const double *sc = in.score[in.score.size() == 1 ? 0 : (size_t)in.eq[(size_t)p]];
            const double *x = in.x[(size_t)p], *w = in.w;
            double t = 0;
            if (x && w)
                for (int64_t r = a; r < z; ++r)
                    t += sc[r] * x[r] * w[r];
            else if (x)
                for (int64_t r = a; r < z; ++r)
                    t += sc[r] * x[r];
            else if (w)
                for (int64_t r = a; r < z; ++r)
                    t += sc[r] * w[r];
            else
                for (int64_t r = a; r < z; ++r)
                    t += sc[r];
            zz[p] = t;
        }
    }
    for (int64_t pos = a; pos < z; ++pos)
        add_weights(mt, mt.row(pos), cnt, sw);
}

// Clusters [c0, c1): each adds u u', u the total of its rows.
void run_clusters(const Meat &mt, int64_t c0, int64_t c1, Scratch &s, double *slot) {
    const int k = mt.k;
    double *acc = slot, *cnt = slot + (size_t)k * (size_t)k, *ncl = cnt + 1, *sw = cnt + 2;
    double *zz = s.z.data();
    for (int64_t c = c0; c < c1; ++c) {
        if (break_pending()) return;
        cluster_total(mt, c, zz, cnt, sw);
        *ncl += 1;
        for (int p = 0; p < k; ++p)
            for (int q = 0; q <= p; ++q)
                acc[(size_t)p * (size_t)k + (size_t)q] += zz[p] * zz[q];
    }
}

// Strata [h0, h1): within a stratum of n_h PSUs the deviations of the PSU totals from their mean,
// squared and summed, times (1 - f_h) n_h / (n_h - 1); a stratum of one PSU adds nothing.
void run_strata(const Meat &mt, int64_t h0, int64_t h1, Scratch &s, double *slot) {
    const RobustInput &in = *mt.in;
    const int k = mt.k;
    const size_t kk = (size_t)k * (size_t)k;
    double *acc = slot, *cnt = slot + kk, *ncl = cnt + 1, *sw = cnt + 2;
    double *zz = s.z.data(), *t = s.t.data(), *S = s.S.data();
    for (int64_t h = h0; h < h1; ++h) {
        if (break_pending()) return;
        std::fill_n(t, k, 0.0);
        std::fill_n(S, kk, 0.0);
        const int64_t c0 = in.stratum_start[(size_t)h], c1 = in.stratum_start[(size_t)h + 1];
        for (int64_t c = c0; c < c1; ++c) {
            cluster_total(mt, c, zz, cnt, sw);
            for (int p = 0; p < k; ++p) {
                t[p] += zz[p];
                for (int q = 0; q <= p; ++q)
                    S[(size_t)p * (size_t)k + (size_t)q] += zz[p] * zz[q];
            }
        }
        const double nh = (double)(c1 - c0);
        *ncl += nh;
        if (nh < 2) continue;
        const double f = in.fpc.empty() ? 0 : in.fpc[(size_t)h];
        const double ch = (1 - f) * nh / (nh - 1);
        for (int p = 0; p < k; ++p)
            for (int q = 0; q <= p; ++q)
                acc[(size_t)p * (size_t)k + (size_t)q] +=
                    ch * (S[(size_t)p * (size_t)k + (size_t)q] - t[p] * t[q] / nh);
    }
}

} // namespace

int robust_meat_smp(int k, const RobustInput &in, std::vector<double> &M, double *nobs, double *nclust) {
    const Meat mt{&in, k};
    const bool clustered = !in.cluster_start.empty();
    const int64_t nclusters = clustered ? (int64_t)in.cluster_start.size() - 1 : 0;
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)mt.slot());
    const int64_t len = std::max(CHUNK_MIN, (in.rows + max_chunks - 1) / max_chunks);
    // chunk c covers rows [bound[c], bound[c+1]), or with clustering the clusters of those indices;
    // a chunk of clusters closes at the first cluster end at or beyond len rows
    std::vector<int64_t> bound;
    try {
        bound.push_back(0);
        if (!clustered) {
            for (int64_t r = len; r < in.rows; r += len)
                bound.push_back(r);
            bound.push_back(in.rows);
        } else {
            // units are clusters, or strata when stratified: a chunk closes at the first unit
            // end at or beyond len rows
            const bool strat = !in.stratum_start.empty();
            const int64_t units = strat ? (int64_t)in.stratum_start.size() - 1 : nclusters;
            auto first_row = [&](int64_t u) {
                return in.cluster_start[(size_t)(strat ? in.stratum_start[(size_t)u] : u)];
            };
            int64_t from = 0;
            for (int64_t u = 0; u < units; ++u)
                if (first_row(u + 1) - first_row(from) >= len) {
                    bound.push_back(u + 1);
                    from = u + 1;
                }
            if (bound.back() != units) bound.push_back(units);
        }
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const int64_t nchunks = (int64_t)bound.size() - 1;
    std::vector<double> slots;
    std::vector<std::unique_ptr<Scratch>> scratch;
    const Team tm = choose_team(in.rows, granularity("bi_robust"));
    const int threads = tm.parallel ? (int)std::min<int64_t>(tm.size, std::max<int64_t>(nchunks, 1)) : 1;
    try {
        slots.assign((size_t)std::max<int64_t>(nchunks, 0) * mt.slot(), 0.0);
        for (int t = 0; t < threads; ++t)
            scratch.push_back(std::make_unique<Scratch>(k));
        M.assign((size_t)k * (size_t)k, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    auto run_chunk = [&](int64_t ci, Scratch &s) {
        double *slot = &slots[(size_t)ci * mt.slot()];
        if (!in.stratum_start.empty())
            run_strata(mt, bound[(size_t)ci], bound[(size_t)ci + 1], s, slot);
        else if (clustered)
            run_clusters(mt, bound[(size_t)ci], bound[(size_t)ci + 1], s, slot);
        else
            run_rows(mt, bound[(size_t)ci], bound[(size_t)ci + 1], s, slot);
    };
    int brk;
    if (threads == 1) {
        for (int64_t ci = 0; ci < nchunks; ++ci)
            run_chunk(ci, *scratch[0]);
        brk = break_pending() ? 1 : 0;
    } else {
        const Team over{threads, nchunks, (nchunks + threads - 1) / threads, true};
        brk = run_region(over, [&](int t, int64_t a, int64_t z) {
            for (int64_t ci = a; ci < z; ++ci)
                run_chunk(ci, *scratch[(size_t)t]);
        });
    }
    if (brk) return session::error(1);
    double cnt = 0, ncl = 0, sumw = 0;
    const size_t kk = (size_t)k * (size_t)k;
    for (int64_t ci = 0; ci < nchunks; ++ci) {
        const double *sl = &slots[(size_t)ci * mt.slot()];
        for (size_t j = 0; j < kk; ++j)
            M[j] += sl[j];
        cnt += sl[kk];
        ncl += sl[kk + 1];
        sumw += sl[kk + 2];
    }
    // analytic weights scaled to sum to the count: once by observation, twice within a cluster sum
    if (in.w && in.wtype == RBW_A && sumw > 0) {
        const double a = cnt / sumw, s = clustered ? a * a : a;
        for (double &v : M)
            v *= s;
    }
    for (int p = 0; p < k; ++p)
        for (int q = 0; q < p; ++q)
            M[(size_t)q * (size_t)k + (size_t)p] = M[(size_t)p * (size_t)k + (size_t)q];
    *nobs = cnt;
    *nclust = ncl;
    return 0;
}

} // namespace est
