// The kernels of the binary-outcome likelihoods on the parallel frame: fixed chunks of rows, each
// summed into its own slot, the slots added in chunk order on the main thread.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "data/exprmath.h"
#include "estimate/frame.h"
#include "estimate/logit.h"
#include "session/errors.h"
#include "session/hexfloat.h"

namespace est {

namespace {

// A chunk is read SUB rows at a time. The chunks' length depends on the rows and the parameters
// alone, never on the team: that is what keeps the bits.
constexpr int SUB = 256;
constexpr int64_t CHUNK_MIN = 4096;
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22; // doubles for the slots of all chunks together

// The probability of the other outcome below which a row counts as completely determined: rows
// that a fit along a direction of separation drives towards certainty, and whose part in the
// Hessian has all but gone when the objective test stops it.
constexpr double DETERMINED = 1e-6;

// One row's part: the log likelihood, its derivative with respect to xb, and the negative second
// derivative, for the outcome y at xb; and whether the row is determined.
struct RowLf {
    double ll, r, h;
    bool determined;
};

struct Logistic {
    static RowLf row(double y, double xb, bool derivs) {
        double p, q;
        if (xb >= 0) {
            const double e = std::exp(-xb);
            p = 1 / (1 + e);
            q = e / (1 + e);
        } else {
            const double e = std::exp(xb);
            p = e / (1 + e);
            q = 1 / (1 + e);
        }
        RowLf o;
        o.ll = y != 0 ? std::log(p) : std::log(q);
        if (derivs) {
            o.r = y - p;
            o.h = p * q;
        }
        o.determined = (y != 0 ? q : p) < DETERMINED;
        return o;
    }
};

struct Normal {
    static RowLf row(double y, double xb, bool derivs) {
        const double s = y != 0 ? 1 : -1, t = s * xb;
        RowLf o;
        o.ll = data::xm::lnnormal(t);
        if (std::isnan(xb)) o.ll = xb;
        if (derivs) {
            // the density over the distribution function, by their logs: finite far out
            const double lam = std::exp(data::xm::lnnormalden(t) - o.ll);
            o.r = s * lam;
            o.h = lam * (lam + t);
        }
        // ln(1 - e) is -e to working precision: the other outcome's probability is below the mark
        o.determined = o.ll > -DETERMINED;
        return o;
    }
};

struct Shape {
    int k;         // parameters
    int64_t n;     // rows
    int64_t chunk; // rows of a chunk
    // a slot: ll, g (k), H (k by k), the counts (4), the weighted counts (4), the determined rows
    // and their weight
    size_t slot() const { return 1 + (size_t)k + (size_t)k * (size_t)k + 10; }
};

struct Scratch {
    std::vector<long double> xb;
    std::vector<double> r, h, hx;
    explicit Scratch(int k) : xb(SUB), r(SUB), h(SUB), hx((size_t)k * SUB) {}
};

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

inline double sum(const double *x, int n) {
    double s0 = 0, s1 = 0;
    int t = 0;
    for (; t + 2 <= n; t += 2) {
        s0 += x[t];
        s1 += x[t + 1];
    }
    if (t < n) s0 += x[t];
    return s0 + s1;
}

// xb of rows [a, a+m) in extended precision: the regressors, the constant, the offset. Row by row,
// so that the running sum stays in the extended register across the columns.
void linear(const BinModel &m, const std::vector<double> &b, int64_t a, int len, long double *xb) {
    const int nx = (int)m.x.size();
    const long double c = m.cons ? (long double)b[(size_t)nx] : 0.0L;
    constexpr int NX_STACK = 64;
    const double *xs_stack[NX_STACK];
    long double bs_stack[NX_STACK];
    std::vector<const double *> xs_heap;
    std::vector<long double> bs_heap;
    const double **xs = xs_stack;
    long double *bs = bs_stack;
    if (nx > NX_STACK) {
        xs_heap.resize((size_t)nx);
        bs_heap.resize((size_t)nx);
        xs = xs_heap.data();
        bs = bs_heap.data();
    }
    for (int j = 0; j < nx; ++j) {
        xs[j] = m.x[(size_t)j].data() + a;
        bs[j] = b[(size_t)j];
    }
    const double *off = m.offset.empty() ? nullptr : m.offset.data() + a;
    for (int t = 0; t < len; ++t) {
        long double acc = c;
        if (off) acc += off[t];
        for (int j = 0; j < nx; ++j)
            acc += bs[j] * xs[j][t];
        xb[t] = acc;
    }
}

template <class Link>
void run_chunk(const BinModel &m, const std::vector<double> &b, bool derivs, const Shape &sh, int64_t first,
               int64_t last, Scratch &s, double *slot) {
    const int k = sh.k, nx = (int)m.x.size();
    double *ll = slot, *g = slot + 1, *H = g + k, *cnt = H + (size_t)k * (size_t)k, *cntw = cnt + 4,
           *det = cntw + 4;
    const bool weighted = !m.w.empty();
    for (int64_t a = first; a < last; a += SUB) {
        if (break_pending()) return;
        const int len = (int)std::min<int64_t>(SUB, last - a);
        linear(m, b, a, len, s.xb.data());
        const double *y = m.y.data() + a;
        const double *w = weighted ? m.w.data() + a : nullptr;
        double llsum = *ll;
        for (int t = 0; t < len; ++t) {
            const double xb = (double)s.xb[(size_t)t];
            const RowLf o = Link::row(y[t], xb, derivs);
            const double wt = weighted ? w[t] : 1;
            llsum += wt * o.ll;
            if (derivs) {
                s.r[(size_t)t] = wt * o.r;
                s.h[(size_t)t] = wt * o.h;
                const int c = (xb >= 0 ? 2 : 0) + (y[t] != 0 ? 1 : 0);
                cnt[c] += 1;
                cntw[c] += wt;
                if (o.determined) {
                    det[0] += 1;
                    det[1] += wt;
                }
            }
        }
        *ll = llsum;
        if (!derivs) continue;
        // the gradient and the lower triangle of the Hessian, column against column
        for (int j = 0; j < k; ++j) {
            const bool isc = j == nx;
            const double *x = isc ? nullptr : m.x[(size_t)j].data() + a;
            g[j] += isc ? sum(s.r.data(), len) : dot(s.r.data(), x, len);
            double *hx = &s.hx[(size_t)j * SUB];
            for (int t = 0; t < len; ++t)
                hx[t] = isc ? s.h[(size_t)t] : s.h[(size_t)t] * x[t];
            double *row = &H[(size_t)j * (size_t)k];
            for (int c = 0; c <= j; ++c)
                row[c] += c == nx ? sum(hx, len) : dot(hx, m.x[(size_t)c].data() + a, len);
        }
    }
}

template <class Link>
int lf_smp(const char *kernel, const BinModel &m, const std::vector<double> &b, bool derivs, BinSums &out) {
    Shape sh;
    sh.k = m.k();
    sh.n = m.rows;
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)sh.slot());
    sh.chunk = std::max(CHUNK_MIN, (sh.n + max_chunks - 1) / max_chunks);
    const int64_t nchunks = (sh.n + sh.chunk - 1) / sh.chunk;
    const Team tm = choose_team(sh.n, granularity(kernel));
    const int threads = tm.parallel ? (int)std::min<int64_t>(tm.size, nchunks) : 1;
    std::vector<double> slots;
    std::vector<std::unique_ptr<Scratch>> scratch;
    const size_t k = (size_t)sh.k;
    try {
        slots.assign((size_t)nchunks * sh.slot(), 0.0);
        for (int t = 0; t < threads; ++t)
            scratch.push_back(std::make_unique<Scratch>(sh.k));
        out.g.assign(derivs ? k : 0, 0.0);
        out.H.assign(derivs ? k * k : 0, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    auto one = [&](int t, int64_t ci) {
        const int64_t first = ci * sh.chunk, last = std::min(sh.n, (ci + 1) * sh.chunk);
        run_chunk<Link>(m, b, derivs, sh, first, last, *scratch[(size_t)t], &slots[(size_t)ci * sh.slot()]);
    };
    if (threads == 1) {
        for (int64_t ci = 0; ci < nchunks; ++ci)
            one(0, ci);
    } else {
        const Team over{threads, nchunks, (nchunks + threads - 1) / threads, true};
        run_region(over, [&](int t, int64_t a, int64_t z) {
            for (int64_t ci = a; ci < z; ++ci)
                one(t, ci);
        });
    }
    if (break_pending()) return session::error(1);
    out.ll = 0;
    out.determined = out.determined_w = 0;
    for (int s = 0; s < 2; ++s)
        for (int y = 0; y < 2; ++y)
            out.n[s][y] = out.nw[s][y] = 0;
    for (int64_t ci = 0; ci < nchunks; ++ci) {
        const double *sl = &slots[(size_t)ci * sh.slot()];
        out.ll += sl[0];
        if (!derivs) continue;
        for (size_t j = 0; j < k; ++j)
            out.g[j] += sl[1 + j];
        const double *H = sl + 1 + k;
        for (size_t j = 0; j < k; ++j)
            for (size_t c = 0; c <= j; ++c)
                out.H[j * k + c] += H[j * k + c];
        const double *cnt = H + k * k;
        for (int c = 0; c < 4; ++c) {
            out.n[c / 2][c % 2] += cnt[c];
            out.nw[c / 2][c % 2] += cnt[4 + c];
        }
        out.determined += cnt[8];
        out.determined_w += cnt[9];
    }
    for (size_t j = 0; j < out.H.size() / (k ? k : 1); ++j)
        for (size_t c = 0; c < j; ++c)
            out.H[c * k + j] = out.H[j * k + c];
    if (!std::isfinite(out.ll)) out.ll = session::lim.dot;
    return 0;
}

template <class Link>
int score_smp(const BinModel &m, const std::vector<double> &b, std::vector<double> &score) {
    try {
        score.assign((size_t)m.rows, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const int64_t nblocks = (m.rows + SUB - 1) / SUB;
    const Team tm = choose_team(m.rows, granularity("plscore_smp"));
    const Team over{tm.parallel ? tm.size : 1, nblocks,
                    (nblocks + (tm.parallel ? tm.size : 1) - 1) / (tm.parallel ? tm.size : 1), tm.parallel};
    run_region(over, [&](int, int64_t lo, int64_t hi) {
        long double xb[SUB];
        for (int64_t blk = lo; blk < hi; ++blk) {
            if (break_pending()) return;
            const int64_t a = blk * SUB;
            const int len = (int)std::min<int64_t>(SUB, m.rows - a);
            linear(m, b, a, len, xb);
            for (int t = 0; t < len; ++t)
                score[(size_t)(a + t)] = Link::row(m.y[(size_t)(a + t)], (double)xb[t], true).r;
        }
    });
    if (break_pending()) return session::error(1);
    return 0;
}

} // namespace

int loglf_smp(const BinModel &m, const std::vector<double> &b, bool derivs, BinSums &s) {
    return lf_smp<Logistic>("loglf_smp", m, b, derivs, s);
}

int problf_smp(const BinModel &m, const std::vector<double> &b, bool derivs, BinSums &s) {
    return lf_smp<Normal>("problf_smp", m, b, derivs, s);
}

int plscore_smp(const BinModel &m, const std::vector<double> &b, std::vector<double> &score) {
    return m.probit ? score_smp<Normal>(m, b, score) : score_smp<Logistic>(m, b, score);
}

} // namespace est
