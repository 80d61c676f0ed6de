// The kernels of the index likelihoods and of the conditional logit on the parallel frame: fixed
// chunks of rows (or of groups), each summed into its own slot, the slots added in chunk order on
// the main thread, so that the bits do not depend on the number of threads.
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <new>

#include "data/exprmath.h"
#include "estimate/family.h"
#include "estimate/frame.h"
#include "session/errors.h"
#include "session/hexfloat.h"

namespace est {

int IndexModel::k() const {
    int k = 0;
    for (const IndexEq &e : eqs)
        k += (int)e.cols.size() + (e.cons ? 1 : 0);
    return k;
}

namespace {

constexpr int SUB = 256;
constexpr int64_t CHUNK_MIN = 4096;
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22;
constexpr double INF = std::numeric_limits<double>::infinity();

// The distribution of the ordered models: F, the density f and its derivative.
struct Dist {
    double F, Fc, f, df; // F(x), 1 - F(x), f(x), f'(x)
};

Dist dist(bool probit, double x) {
    Dist d;
    if (std::isinf(x)) {
        d.F = x > 0 ? 1 : 0;
        d.Fc = 1 - d.F;
        d.f = d.df = 0;
        return d;
    }
    if (probit) {
        d.F = data::xm::normal(x);
        d.Fc = data::xm::normal(-x);
        d.f = data::xm::normalden(x);
        d.df = -x * d.f;
    } else {
        if (x >= 0) {
            const double e = std::exp(-x);
            d.F = 1 / (1 + e);
            d.Fc = e / (1 + e);
        } else {
            const double e = std::exp(x);
            d.F = e / (1 + e);
            d.Fc = 1 / (1 + e);
        }
        d.f = d.F * d.Fc;
        d.df = d.f * (d.Fc - d.F);
    }
    return d;
}

// Ordered: q[0] the index, q[1..ncat-1] the cut points; outcome j lies between cut j and cut j+1.
double ordered_row(const IndexModel &m, int j, const double *q, bool derivs, double *g, double *H) {
    const int K = m.ncat;
    const bool probit = m.kind == IK_OPROBIT;
    const double a = j < K - 1 ? q[j + 1] - q[0] : INF, c = j > 0 ? q[j] - q[0] : -INF;
    const Dist da = dist(probit, a), dc = dist(probit, c);
    // the difference from the nearer tail, so that far out it keeps its digits
    const double P = c > 0 ? dc.Fc - da.Fc : da.F - dc.F;
    const double ll = P > 0 ? std::log(P) : std::numeric_limits<double>::quiet_NaN();
    if (!derivs) return ll;
    for (int e = 0; e < K; ++e) {
        g[e] = 0;
        for (int f = 0; f < K; ++f)
            H[e * K + f] = 0;
    }
    if (!(P > 0)) return ll;
    const double ga = da.f / P, gc = -dc.f / P;
    const double haa = da.df / P - ga * ga, hcc = -dc.df / P - gc * gc, hac = -ga * gc;
    // a and c as sums of coefficient times index
    int ia[2] = {0, j + 1}, ic[2] = {0, j};
    const double sa[2] = {-1, 1}, sc[2] = {-1, 1};
    const int na = j < K - 1 ? 2 : 0, nc = j > 0 ? 2 : 0;
    for (int t = 0; t < na; ++t)
        g[ia[t]] += sa[t] * ga;
    for (int t = 0; t < nc; ++t)
        g[ic[t]] += sc[t] * gc;
    for (int s = 0; s < na; ++s)
        for (int t = 0; t < na; ++t)
            H[ia[s] * K + ia[t]] -= sa[s] * sa[t] * haa;
    for (int s = 0; s < nc; ++s)
        for (int t = 0; t < nc; ++t)
            H[ic[s] * K + ic[t]] -= sc[s] * sc[t] * hcc;
    for (int s = 0; s < na; ++s)
        for (int t = 0; t < nc; ++t) {
            H[ia[s] * K + ic[t]] -= sa[s] * sc[t] * hac;
            H[ic[t] * K + ia[s]] -= sa[s] * sc[t] * hac;
        }
    return ll;
}

// Censored normal: q[0] the index, q[1] the log of sigma.
double tobit_row(double y, int cens, const double *q, bool derivs, double *g, double *H) {
    const double lns = q[1], s = std::exp(lns);
    if (cens == 0) {
        const double z = (y - q[0]) / s;
        const double ll = data::xm::lnnormalden(z) - lns;
        if (derivs) {
            g[0] = z / s;
            g[1] = z * z - 1;
            H[0] = 1 / (s * s);
            H[1] = H[2] = 2 * z / s;
            H[3] = 2 * z * z;
        }
        return ll;
    }
    // from the left: Phi((y - xb)/s); from the right: Phi((xb - y)/s); sgn is the sign of xb in z
    const double sgn = cens < 0 ? -1 : 1;
    const double z = sgn * (q[0] - y) / s;
    const double ll = data::xm::lnnormal(z);
    if (derivs) {
        const double lam = std::exp(data::xm::lnnormalden(z) - ll);
        const double dl = -lam * (z + lam); // d lam / dz
        // dz/dxb = sgn/s, dz/dlns = -z
        g[0] = lam * sgn / s;
        g[1] = -lam * z;
        H[0] = -dl / (s * s);
        // d/dlns of lam sgn/s = sgn/s (dl (-z) - lam)
        H[1] = H[2] = -(sgn / s) * (-dl * z - lam);
        // d/dlns of -lam z = -(dl (-z) z + lam (-z))
        H[3] = -(dl * z * z + lam * z);
    }
    return ll;
}

// Multinomial: q[e] the index of the e-th outcome but the base, whose index is 0.
double mlogit_row(const IndexModel &m, int y, const double *q, bool derivs, double *g, double *H) {
    const int J = m.ncat - 1;
    double mx = 0;
    for (int e = 0; e < J; ++e)
        mx = std::max(mx, q[e]);
    double den = std::exp(-mx);
    for (int e = 0; e < J; ++e)
        den += std::exp(q[e] - mx);
    const int ey = y == m.base ? -1 : y < m.base ? y : y - 1;
    const double ll = (ey < 0 ? 0 : q[ey]) - mx - std::log(den);
    if (derivs) {
        for (int e = 0; e < J; ++e)
            g[e] = std::exp(q[e] - mx) / den;
        for (int e = 0; e < J; ++e)
            for (int f = 0; f < J; ++f)
                H[e * J + f] = g[e] * ((e == f ? 1 : 0) - g[f]);
        for (int e = 0; e < J; ++e)
            g[e] = (e == ey ? 1 : 0) - g[e];
    }
    return ll;
}

struct Shape {
    int k;
    int64_t n, chunk, nchunks;
    size_t slot() const { return 1 + (size_t)k + (size_t)k * (size_t)k; }
};

Shape shape_of(int k, int64_t n) {
    Shape sh;
    sh.k = k;
    sh.n = n;
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)sh.slot());
    sh.chunk = std::max(CHUNK_MIN, (n + max_chunks - 1) / max_chunks);
    sh.nchunks = std::max<int64_t>(1, (n + sh.chunk - 1) / sh.chunk);
    return sh;
}

// Runs one(thread, chunk) over the chunks, in parallel when the team rule allows.
template <class One> void over_chunks(const char *kernel, const Shape &sh, int threads, One &&one) {
    if (threads == 1) {
        for (int64_t ci = 0; ci < sh.nchunks; ++ci)
            one(0, ci);
    } else {
        const Team over{threads, sh.nchunks, (sh.nchunks + threads - 1) / threads, true};
        run_region(over, [&](int t, int64_t a, int64_t z) {
            for (int64_t ci = a; ci < z; ++ci)
                one(t, ci);
        });
    }
    (void)kernel;
}

int team_threads(const char *kernel, const Shape &sh, int64_t work) {
    const Team tm = choose_team(work, granularity(kernel));
    return tm.parallel ? (int)std::min<int64_t>(tm.size, sh.nchunks) : 1;
}

// The slots added in chunk order into s; the upper triangle mirrored.
int gather_slots(const Shape &sh, const std::vector<double> &slots, bool derivs, IndexSums &s) {
    if (break_pending()) return session::error(1);
    const size_t k = (size_t)sh.k;
    s.ll = 0;
    s.g.assign(derivs ? k : 0, 0.0);
    s.H.assign(derivs ? k * k : 0, 0.0);
    for (int64_t ci = 0; ci < sh.nchunks; ++ci) {
        const double *sl = &slots[(size_t)ci * sh.slot()];
        s.ll += sl[0];
        if (!derivs) continue;
        for (size_t j = 0; j < k; ++j)
            s.g[j] += sl[1 + j];
        for (size_t j = 0; j < k; ++j)
            for (size_t c = 0; c <= j; ++c)
                s.H[j * k + c] += sl[1 + k + j * k + c];
    }
    for (size_t j = 0; j < (derivs ? k : 0); ++j)
        for (size_t c = 0; c < j; ++c)
            s.H[c * k + j] = s.H[j * k + c];
    if (!std::isfinite(s.ll)) s.ll = session::lim.dot;
    return 0;
}

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

// The parameters in order: the equation of each, and its column (null for a constant).
struct Params {
    std::vector<int> eq;
    std::vector<int> col; // -1 for a constant
};

Params params_of(const IndexModel &m) {
    Params p;
    for (size_t e = 0; e < m.eqs.size(); ++e) {
        for (int c : m.eqs[e].cols) {
            p.eq.push_back((int)e);
            p.col.push_back(c);
        }
        if (m.eqs[e].cons) {
            p.eq.push_back((int)e);
            p.col.push_back(-1);
        }
    }
    return p;
}

// The indices of rows [a, a+len), row by row (m of them each).
void indices(const IndexModel &m, const std::vector<double> &b, int64_t a, int len, double *q) {
    const int ne = (int)m.eqs.size();
    size_t pb = 0;
    std::vector<long double> acc((size_t)len);
    for (int e = 0; e < ne; ++e) {
        const IndexEq &eq = m.eqs[(size_t)e];
        const long double c = eq.cons ? (long double)b[pb + eq.cols.size()] : 0.0L;
        for (int t = 0; t < len; ++t)
            acc[(size_t)t] = c;
        if (e == 0 && !m.offset.empty())
            for (int t = 0; t < len; ++t)
                acc[(size_t)t] += m.offset[(size_t)(a + t)];
        for (size_t j = 0; j < eq.cols.size(); ++j) {
            const long double bj = b[pb + j];
            const double *x = m.x[(size_t)eq.cols[j]].data() + a;
            for (int t = 0; t < len; ++t)
                acc[(size_t)t] += bj * x[t];
        }
        for (int t = 0; t < len; ++t)
            q[(size_t)t * ne + e] = (double)acc[(size_t)t];
        pb += eq.cols.size() + (eq.cons ? 1 : 0);
    }
}

void index_chunk(const IndexModel &m, const Params &pr, const std::vector<double> &b, bool derivs,
                 int64_t first, int64_t last, double *slot) {
    const int ne = (int)m.eqs.size(), k = (int)pr.eq.size();
    double *ll = slot, *G = slot + 1, *H = G + k;
    std::vector<double> q((size_t)SUB * ne), gr((size_t)SUB * ne), hr((size_t)SUB * ne * ne);
    std::vector<double> gcol((size_t)ne * SUB), hcol((size_t)ne * ne * SUB), hx(SUB);
    const bool weighted = !m.w.empty();
    for (int64_t a = first; a < last; a += SUB) {
        if (break_pending()) return;
        const int len = (int)std::min<int64_t>(SUB, last - a);
        indices(m, b, a, len, q.data());
        for (int t = 0; t < len; ++t) {
            const double wt = weighted ? m.w[(size_t)(a + t)] : 1;
            const int c = m.c.empty() ? 0 : m.c[(size_t)(a + t)];
            const double l = index_row(m, m.y[(size_t)(a + t)], c, &q[(size_t)t * ne], derivs,
                                       &gr[(size_t)t * ne], &hr[(size_t)t * ne * ne]);
            *ll += wt * l;
            if (!derivs) continue;
            for (int e = 0; e < ne; ++e) {
                gcol[(size_t)e * SUB + t] = wt * gr[(size_t)t * ne + e];
                for (int f = 0; f < ne; ++f)
                    hcol[((size_t)e * ne + f) * SUB + t] = wt * hr[(size_t)t * ne * ne + e * ne + f];
            }
        }
        if (!derivs) continue;
        for (int p = 0; p < k; ++p) {
            const int e = pr.eq[(size_t)p];
            const double *xp = pr.col[(size_t)p] < 0 ? nullptr : m.x[(size_t)pr.col[(size_t)p]].data() + a;
            const double *gc = &gcol[(size_t)e * SUB];
            double gs = 0;
            for (int t = 0; t < len; ++t)
                gs += xp ? gc[t] * xp[t] : gc[t];
            G[p] += gs;
            for (int qd = 0; qd <= p; ++qd) {
                const int f = pr.eq[(size_t)qd];
                const double *hc = &hcol[((size_t)e * ne + f) * SUB];
                for (int t = 0; t < len; ++t)
                    hx[(size_t)t] = xp ? hc[t] * xp[t] : hc[t];
                const int cq = pr.col[(size_t)qd];
                double hs = 0;
                if (cq < 0)
                    for (int t = 0; t < len; ++t)
                        hs += hx[(size_t)t];
                else
                    hs = dot(hx.data(), m.x[(size_t)cq].data() + a, len);
                H[(size_t)p * k + qd] += hs;
            }
        }
    }
}

const char *index_kernel(const IndexModel &m) {
    return m.kind == IK_TOBIT ? "toblf_smp" : m.kind == IK_MLOGIT ? "mlogitlf_smp" : "ordpllf_smp";
}

} // namespace

double index_row(const IndexModel &m, double y, int c, const double *q, bool derivs, double *g, double *H) {
    switch (m.kind) {
    case IK_OLOGIT:
    case IK_OPROBIT:
        return ordered_row(m, (int)y, q, derivs, g, H);
    case IK_TOBIT:
        return tobit_row(y, c, q, derivs, g, H);
    case IK_MLOGIT:
        return mlogit_row(m, (int)y, q, derivs, g, H);
    }
    return 0;
}

int indexlf_smp(const IndexModel &m, const std::vector<double> &b, bool derivs, IndexSums &s) {
    const Params pr = params_of(m);
    const Shape sh = shape_of((int)pr.eq.size(), m.rows);
    std::vector<double> slots;
    try {
        slots.assign((size_t)sh.nchunks * sh.slot(), 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const int threads = team_threads(index_kernel(m), sh, m.rows);
    over_chunks(index_kernel(m), sh, threads, [&](int, int64_t ci) {
        const int64_t first = ci * sh.chunk, last = std::min(sh.n, (ci + 1) * sh.chunk);
        index_chunk(m, pr, b, derivs, first, last, &slots[(size_t)ci * sh.slot()]);
    });
    return gather_slots(sh, slots, derivs, s);
}

int indexscore_smp(const IndexModel &m, const std::vector<double> &b,
                   std::vector<std::vector<double>> &score) {
    const int ne = (int)m.eqs.size();
    try {
        score.assign((size_t)ne, std::vector<double>((size_t)m.rows, 0.0));
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const int64_t nblocks = (m.rows + SUB - 1) / SUB;
    const Team tm = choose_team(m.rows, granularity(index_kernel(m)));
    const int th = tm.parallel ? tm.size : 1;
    const Team over{th, nblocks, (nblocks + th - 1) / th, tm.parallel};
    run_region(over, [&](int, int64_t lo, int64_t hi) {
        std::vector<double> q((size_t)SUB * ne), g((size_t)ne), H((size_t)ne * ne);
        for (int64_t blk = lo; blk < hi; ++blk) {
            if (break_pending()) return;
            const int64_t a = blk * SUB;
            const int len = (int)std::min<int64_t>(SUB, m.rows - a);
            indices(m, b, a, len, q.data());
            for (int t = 0; t < len; ++t) {
                const int c = m.c.empty() ? 0 : m.c[(size_t)(a + t)];
                index_row(m, m.y[(size_t)(a + t)], c, &q[(size_t)t * ne], true, g.data(), H.data());
                for (int e = 0; e < ne; ++e)
                    score[(size_t)e][(size_t)(a + t)] = g[(size_t)e];
            }
        }
    });
    if (break_pending()) return session::error(1);
    return 0;
}

namespace {

// One group's term: rows [a, z) with xb given; into ll, gradient G and negative Hessian H (k by k,
// lower triangle), and the rows' scores. The subset sums B(j, m) over the first j rows with m of
// them chosen, with their first and second derivatives, by B(j,m) = B(j-1,m) + e_j B(j-1,m-1).
void group_term(const GroupModel &m, int64_t a, int64_t z, const double *xb, bool derivs, double wt,
                double *ll, double *G, double *H, double *score) {
    const int k = m.k();
    const int n = (int)(z - a);
    int d = 0;
    double mx = -INF, sumpos = 0;
    for (int i = 0; i < n; ++i) {
        mx = std::max(mx, xb[i]);
        if (m.y[(size_t)(a + i)] != 0) {
            ++d;
            sumpos += xb[i];
        }
    }
    if (d == 0 || d == n) return;
    std::vector<double> e((size_t)n);
    for (int i = 0; i < n; ++i)
        e[(size_t)i] = std::exp(xb[i] - mx);
    // by m = 0..d: B, D (k), S (k by k, lower)
    std::vector<double> B((size_t)d + 1, 0.0), D, S;
    B[0] = 1;
    if (derivs) {
        D.assign((size_t)(d + 1) * k, 0.0);
        S.assign((size_t)(d + 1) * k * k, 0.0);
    }
    std::vector<double> xi((size_t)k);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < k; ++j)
            xi[(size_t)j] = m.x[(size_t)j][(size_t)(a + i)];
        const int top = std::min(i + 1, d);
        for (int mm = top; mm >= 1; --mm) {
            const double ei = e[(size_t)i], Bp = B[(size_t)mm - 1];
            if (derivs) {
                const double *Dp = &D[(size_t)(mm - 1) * k];
                double *Dm = &D[(size_t)mm * k];
                const double *Sp = &S[(size_t)(mm - 1) * k * k];
                double *Sm = &S[(size_t)mm * k * k];
                for (int r = 0; r < k; ++r)
                    for (int c = 0; c <= r; ++c)
                        Sm[r * k + c] += ei * (Sp[r * k + c] + xi[(size_t)r] * Dp[c] + Dp[r] * xi[(size_t)c] +
                                               xi[(size_t)r] * xi[(size_t)c] * Bp);
                for (int r = 0; r < k; ++r)
                    Dm[r] += ei * (Dp[r] + xi[(size_t)r] * Bp);
            }
            B[(size_t)mm] += ei * Bp;
        }
    }
    const double Bd = B[(size_t)d];
    *ll += wt * (sumpos - d * mx - std::log(Bd));
    if (derivs) {
        const double *Dd = &D[(size_t)d * k];
        const double *Sd = &S[(size_t)d * k * k];
        for (int r = 0; r < k; ++r) {
            double pos = 0;
            for (int i = 0; i < n; ++i)
                if (m.y[(size_t)(a + i)] != 0) pos += m.x[(size_t)r][(size_t)(a + i)];
            G[r] += wt * (pos - Dd[r] / Bd);
            for (int c = 0; c <= r; ++c)
                H[(size_t)r * k + c] += wt * (Sd[r * k + c] / Bd - (Dd[r] / Bd) * (Dd[c] / Bd));
        }
    }
    if (score) {
        // the chance that row i is among the chosen: e_i times the sum over the others with d-1
        // chosen, over B
        std::vector<double> Bo((size_t)d);
        for (int i = 0; i < n; ++i) {
            std::fill(Bo.begin(), Bo.end(), 0.0);
            Bo[0] = 1;
            int seen = 0;
            for (int j = 0; j < n; ++j) {
                if (j == i) continue;
                ++seen;
                for (int mm = std::min(seen, d - 1); mm >= 1; --mm)
                    Bo[(size_t)mm] += e[(size_t)j] * Bo[(size_t)mm - 1];
            }
            score[i] = (m.y[(size_t)(a + i)] != 0 ? 1 : 0) - e[(size_t)i] * Bo[(size_t)d - 1] / Bd;
        }
    }
}

} // namespace

int clogitlf_smp(const GroupModel &m, const std::vector<double> &b, bool derivs, IndexSums &s,
                 std::vector<double> *score) {
    const int k = m.k();
    const int64_t ng = (int64_t)m.group_start.size() - 1;
    const Shape sh = shape_of(k, ng);
    // chunks of groups: the rows per chunk vary, the cut does not
    std::vector<double> slots;
    try {
        slots.assign((size_t)sh.nchunks * sh.slot(), 0.0);
        if (score) score->assign((size_t)m.rows, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const int threads = team_threads("workmorelf", sh, m.rows);
    over_chunks("workmorelf", sh, threads, [&](int, int64_t ci) {
        const int64_t g0 = ci * sh.chunk, g1 = std::min(ng, (ci + 1) * sh.chunk);
        double *slot = &slots[(size_t)ci * sh.slot()];
        std::vector<double> xb;
        for (int64_t gi = g0; gi < g1; ++gi) {
            if (break_pending()) return;
            const int64_t a = m.group_start[(size_t)gi], z = m.group_start[(size_t)gi + 1];
            xb.assign((size_t)(z - a), 0.0);
            for (int64_t r = a; r < z; ++r) {
                long double v = m.offset.empty() ? 0.0L : (long double)m.offset[(size_t)r];
                for (int j = 0; j < k; ++j)
                    v += (long double)b[(size_t)j] * m.x[(size_t)j][(size_t)r];
                xb[(size_t)(r - a)] = (double)v;
            }
            const double wt = m.w.empty() ? 1 : m.w[(size_t)a];
            group_term(m, a, z, xb.data(), derivs, wt, slot, slot + 1, slot + 1 + k,
                       score ? score->data() + a : nullptr);
        }
    });
    return gather_slots(sh, slots, derivs, s);
}

} // namespace est
