// The kernels of the binary-outcome likelihoods on the parallel frame: fixed chunks of rows, each
// summed into its own slot, the slots added in chunk order on the main thread.
#include <algorithm>
#include <cmath>
#include <memory>
#include <new>
#include <numbers>

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
    // exp of minus the absolute value, so that it cannot overflow; the two sides are chosen by
    // selection rather than by branches, which random outcomes and signs would mispredict
    static RowLf row(double y, double xb, bool derivs) {
        const double e = std::exp(-std::fabs(xb));
        const double near = 1 / (1 + e), far = e / (1 + e);
        const bool pos = xb >= 0;
        const double p = pos ? near : far, q = pos ? far : near;
        RowLf o;
        o.ll = std::log(y != 0 ? p : q);
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
        // above 0 the log of the complement of the upper tail: to working precision in absolute
        // terms, which is what the sum needs, and far cheaper than the log of one plus
        if (t > 0 && t < session::lim.dot)
            o.ll = std::log(1 - 0.5 * std::erfc(t / std::numbers::sqrt2));
        else
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
    std::vector<double> r, h;
    std::vector<const double *> cols; // the columns of the block, the constant's a row of ones
    explicit Scratch(int k) : xb(SUB), r(SUB), h(SUB), cols((size_t)k) {}
};

// The column of the constant in the products.
const double *ones() {
    static const std::vector<double> v(SUB, 1.0);
    return v.data();
}

typedef double v2d __attribute__((vector_size(16)));

inline v2d load2(const double *p) {
    v2d v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}

// g (k) += the sum over the len rows of r x_c, four columns at a time in two lanes each.
void gradient_block(const double *const *cols, int k, const double *r, int len, double *g) {
    for (int c0 = 0; c0 < k; c0 += 4) {
        const int nc = std::min(4, k - c0);
        const double *xc[4];
        for (int q = 0; q < 4; ++q)
            xc[q] = cols[c0 + std::min(q, nc - 1)];
        v2d a0 = {0, 0}, a1 = a0, a2 = a0, a3 = a0;
        int t = 0;
        for (; t + 2 <= len; t += 2) {
            const v2d rv = load2(r + t);
            a0 += rv * load2(xc[0] + t);
            a1 += rv * load2(xc[1] + t);
            a2 += rv * load2(xc[2] + t);
            a3 += rv * load2(xc[3] + t);
        }
        if (t < len) {
            a0[0] += r[t] * xc[0][t];
            a1[0] += r[t] * xc[1][t];
            a2[0] += r[t] * xc[2][t];
            a3[0] += r[t] * xc[3][t];
        }
        const double sm[4] = {a0[0] + a0[1], a1[0] + a1[1], a2[0] + a2[1], a3[0] + a3[1]};
        for (int q = 0; q < nc; ++q)
            g[c0 + q] += sm[q];
    }
}

// H (k by k, lower triangle) += the sum over the len rows of h x_j x_c. The triangle is walked in
// tiles of two rows by four columns, each entry summed in two lanes (even and odd rows) and the
// lanes added at the end: the tile keeps its eight sums in registers, and every load serves four or
// two products. The order of the sums depends on k and len alone.
void hessian_block(const double *const *cols, int k, const double *h, int len, double *H) {
    for (int j0 = 0; j0 < k; j0 += 2) {
        const int nj = std::min(2, k - j0);
        const double *xj0 = cols[j0], *xj1 = cols[j0 + nj - 1];
        for (int c0 = 0; c0 < j0 + nj; c0 += 4) {
            const int nc = std::min(4, j0 + nj - c0);
            const double *xc[4];
            for (int q = 0; q < 4; ++q)
                xc[q] = cols[c0 + std::min(q, nc - 1)];
            v2d a00 = {0, 0}, a01 = a00, a02 = a00, a03 = a00, a10 = a00, a11 = a00, a12 = a00, a13 = a00;
            int t = 0;
            for (; t + 2 <= len; t += 2) {
                const v2d hv = load2(h + t);
                const v2d u0 = hv * load2(xj0 + t), u1 = hv * load2(xj1 + t);
                const v2d c0v = load2(xc[0] + t), c1v = load2(xc[1] + t), c2v = load2(xc[2] + t),
                          c3v = load2(xc[3] + t);
                a00 += u0 * c0v;
                a01 += u0 * c1v;
                a02 += u0 * c2v;
                a03 += u0 * c3v;
                a10 += u1 * c0v;
                a11 += u1 * c1v;
                a12 += u1 * c2v;
                a13 += u1 * c3v;
            }
            if (t < len) {
                // the odd row joins the even lane, as in a plain sum of two lanes
                const double u0 = h[t] * xj0[t], u1 = h[t] * xj1[t];
                a00[0] += u0 * xc[0][t];
                a01[0] += u0 * xc[1][t];
                a02[0] += u0 * xc[2][t];
                a03[0] += u0 * xc[3][t];
                a10[0] += u1 * xc[0][t];
                a11[0] += u1 * xc[1][t];
                a12[0] += u1 * xc[2][t];
                a13[0] += u1 * xc[3][t];
            }
            const double sm[2][4] = {{a00[0] + a00[1], a01[0] + a01[1], a02[0] + a02[1], a03[0] + a03[1]},
                                     {a10[0] + a10[1], a11[0] + a11[1], a12[0] + a12[1], a13[0] + a13[1]}};
            for (int i = 0; i < nj; ++i)
                for (int q = 0; q < nc; ++q)
                    if (c0 + q <= j0 + i) H[(size_t)(j0 + i) * (size_t)k + (size_t)(c0 + q)] += sm[i][q];
        }
    }
}

// xb of rows [a, a+m) in extended precision: the regressors, the constant, the offset. Row by row,
// so that the running sums stay in the extended registers across the columns. The coefficients are
// kept as doubles: the product is formed in extended precision all the same, and a double is read
// from memory faster than an extended number.
void linear(const BinModel &m, const std::vector<double> &b, int64_t a, int len, long double *xb) {
    const int nx = (int)m.x.size();
    const long double c = m.cons ? (long double)b[(size_t)nx] : 0.0L;
    constexpr int NX_STACK = 64;
    const double *xs_stack[NX_STACK];
    double bs_stack[NX_STACK];
    std::vector<const double *> xs_heap;
    std::vector<double> bs_heap;
    const double **xs = xs_stack;
    double *bs = bs_stack;
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
    // two rows at a time: each coefficient read serves both
    int t = 0;
    for (; t + 2 <= len; t += 2) {
        long double a0 = c, a1 = c;
        if (off) {
            a0 += off[t];
            a1 += off[t + 1];
        }
        for (int j = 0; j < nx; ++j) {
            const long double bj = bs[j];
            a0 += bj * xs[j][t];
            a1 += bj * xs[j][t + 1];
        }
        xb[t] = a0;
        xb[t + 1] = a1;
    }
    for (; t < len; ++t) {
        long double acc = c;
        if (off) acc += off[t];
        for (int j = 0; j < nx; ++j)
            acc += (long double)bs[j] * xs[j][t];
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
        // the gradient and the lower triangle of the Hessian
        for (int j = 0; j < k; ++j)
            s.cols[(size_t)j] = j == nx ? ones() : m.x[(size_t)j].data() + a;
        gradient_block(s.cols.data(), k, s.r.data(), len, g);
        hessian_block(s.cols.data(), k, s.h.data(), len, H);
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
