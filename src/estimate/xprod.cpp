// The chunked cross-product pass: fixed chunks of the range, each summed into its own slot, the
// slots added in chunk order on the main thread.
#include "estimate/xprod.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <new>

#include "data/dataset.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "session/errors.h"
#include "session/state.h"

namespace est::xprod {

namespace {

// A chunk is read SUB observations at a time. The chunks' length depends on the range and the
// columns alone, never on the team: that is what keeps the bits.
constexpr int SUB = 256;
constexpr int64_t CHUNK_MIN = 16384;
constexpr int64_t SLOT_BUDGET = int64_t(1) << 22; // doubles for the slots of all chunks together

struct Shape {
    int k;         // columns, the constant included
    int64_t n;     // observations in the range
    int64_t chunk; // observations of a chunk
    // A slot: the k by k products, the k sums and their k rounding errors, the count, the weight
    // sum, the first failing weight check (code and observation).
    size_t kk() const { return (size_t)k * (size_t)k; }
    size_t slot() const { return kk() + 2 * (size_t)k + 4; }
    size_t at_cnt() const { return kk() + 2 * (size_t)k; }
};

// Neumaier's step: s + x into s, its rounding error into c.
inline void comp_add(double &s, double &c, double x) {
    const double u = s + x;
    c += std::abs(x) > std::abs(s) ? (x - u) + s : (s - u) + x;
    s = u;
}

// Merges the weighted co-moments cb (about the mean mb, weight wb) into c (about the mean ma,
// weight wa), lower triangles of k by k: the two samples' means differ by d, and the product of
// the differences counts wa wb / (wa + wb) times.
inline void merge_moments(int k, double *c, const double *ma, double wa, const double *cb, const double *mb,
                          double wb, double *d) {
    if (wa == 0) {
        std::copy(cb, cb + (size_t)k * (size_t)k, c);
        return;
    }
    const double f = wa * wb / (wa + wb);
    for (int j = 0; j < k; ++j)
        d[j] = mb[j] - ma[j];
    for (int a = 0; a < k; ++a) {
        double *row = c + (size_t)a * (size_t)k;
        const double *rb = cb + (size_t)a * (size_t)k;
        const double da = d[a] * f;
        for (int b = 0; b <= a; ++b)
            row[b] += rb[b] + da * d[b];
    }
}

struct Scratch {
    std::vector<double> col, wa, w, tv, wv;
    std::vector<const char *> rowp;
    std::vector<int32_t> obs;
    std::vector<unsigned char> miss;
    std::vector<double> cb, mb, rb, ma, d; // a block's co-moments, means and sums of deviations
    explicit Scratch(int k)
        : col((size_t)k * SUB), wa((size_t)k * SUB), w(SUB), tv(SUB), wv(SUB), rowp(SUB), obs(SUB), miss(SUB),
          cb((size_t)k * (size_t)k), mb((size_t)k), rb((size_t)k), ma((size_t)k), d((size_t)k) {}
};

// The values of an `if` or a weight for the observations b..b+n-1, a block at a time where the
// expression allows it; an observation whose evaluation fails gets `.`, as one at a time.
void expr_values(data::ExprRecord &rec, int32_t b, int n, double *out) {
    if (data::expr_xeq_block(rec, b, n, out) == 0) return;
    for (int t = 0; t < n; ++t)
        out[t] = data::expr_xeqforby(rec, b + t);
}

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

// The same products added one observation at a time onto the running sums, in observation order:
// within a chunk the sums are those of a serial loop over the observations.
inline void dot_seq(const double *__restrict x, const double *__restrict y, int n, double *out) {
    double a = *out;
    for (int t = 0; t < n; ++t)
        a += x[t] * y[t];
    *out = a;
}

inline void dot4_seq(const double *__restrict x, const double *__restrict y0, const double *__restrict y1,
                     const double *__restrict y2, const double *__restrict y3, int n, double *out) {
    double a = out[0], b = out[1], c = out[2], d = out[3];
    for (int t = 0; t < n; ++t) {
        const double u = x[t];
        a += u * y0[t];
        b += u * y1[t];
        c += u * y2[t];
        d += u * y3[t];
    }
    out[0] = a;
    out[1] = b;
    out[2] = c;
    out[3] = d;
}

// The products of the m rows of the columns wcol (weighted) and col, SUB apart, added onto the
// lower triangle of acc (k by k).
void products(const double *wcol, const double *col, int k, int m, bool seq, double *acc) {
    for (int a = 0; a < k; ++a) {
        const double *x = &wcol[(size_t)a * SUB];
        double *row = &acc[(size_t)a * (size_t)k];
        int c = 0;
        if (seq) {
            for (; c + 4 <= a + 1; c += 4)
                dot4_seq(x, &col[(size_t)c * SUB], &col[(size_t)(c + 1) * SUB], &col[(size_t)(c + 2) * SUB],
                         &col[(size_t)(c + 3) * SUB], m, row + c);
            for (; c <= a; ++c)
                dot_seq(x, &col[(size_t)c * SUB], m, row + c);
            continue;
        }
        for (; c + 4 <= a + 1; c += 4)
            dot4(x, &col[(size_t)c * SUB], &col[(size_t)(c + 1) * SUB], &col[(size_t)(c + 2) * SUB],
                 &col[(size_t)(c + 3) * SUB], m, row + c);
        for (; c <= a; ++c)
            row[c] += dot(x, &col[(size_t)c * SUB], m);
    }
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
void run_chunk(const Pass &p, const Shape &sh, int32_t first, int32_t last, Scratch &s, double *slot) {
    const int k = sh.k, nx = (int)p.var->size();
    double *acc = slot, *sum = slot + sh.kk(), *sumc = sum + k, *cnt = slot + sh.at_cnt(), *sw = cnt + 1,
           *err = sw + 1;
    const bool ifp = data::sm.ifpresent;
    for (int32_t b = first; b <= last; b += SUB) {
        if (break_pending()) return;
        const int32_t e = std::min<int32_t>(last, b + SUB - 1);
        if (ifp) expr_values(data::ifexp, b, e - b + 1, s.tv.data());
        if (p.weighted) expr_values(data::wtexp, b, e - b + 1, s.wv.data());
        int m = 0;
        for (int32_t i = b; i <= e; ++i) {
            if (ifp && s.tv[(size_t)(i - b)] == 0) continue;
            double wt = 1;
            if (p.weighted) {
                wt = s.wv[(size_t)(i - b)];
                if (data::is_missing(wt) || wt == 0) continue;
                if (p.check && (wt < 0 || (p.integer && wt != std::floor(wt)))) {
                    // the chunk stops at its first bad weight; earlier chunks may hold an earlier one
                    err[0] = wt < 0 ? 402 : 401;
                    err[1] = i;
                    return;
                }
            }
            s.rowp[(size_t)m] = data::row_addr(i);
            s.obs[(size_t)m] = i;
            s.w[(size_t)m] = wt;
            s.miss[(size_t)m] = 0;
            ++m;
        }
        if (m == 0) continue;
        for (int j = 0; j < nx; ++j)
            gather_var(s.rowp.data(), m, (*p.var)[(size_t)j], &s.col[(size_t)j * SUB], s.miss.data());
        if (p.marks)
            for (int t = 0; t < m; ++t)
                p.marks[(size_t)s.obs[(size_t)t] - 1] = !s.miss[(size_t)t];
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
        if (p.cons) std::fill_n(&s.col[(size_t)nx * SUB], m, 1.0);
        const double *w = s.w.data();
        const double sw0 = *sw;
        *cnt += m;
        for (int t = 0; t < m; ++t)
            *sw += w[t];
        if (p.sums && p.seq) {
            // compensated: the sum in sum[j], its rounding errors in sumc[j]
            for (int j = 0; j < k; ++j) {
                const double *col = &s.col[(size_t)j * SUB];
                double su = sum[j], co = sumc[j];
                for (int t = 0; t < m; ++t)
                    comp_add(su, co, w[t] * col[t]);
                sum[j] = su;
                sumc[j] = co;
            }
            continue;
        }
        if (p.moments) {
            // the block about its own mean: wb the weight, mb the means, rb the weighted sums of the
            // deviations (what the rounding of mb left over), cb the co-moments
            double wb = 0;
            for (int t = 0; t < m; ++t)
                wb += w[t];
            for (int j = 0; j < k; ++j) {
                double *col = &s.col[(size_t)j * SUB];
                const double c = wb > 0 ? dot(col, w, m) / wb : 0;
                for (int t = 0; t < m; ++t)
                    col[t] -= c;
                s.mb[(size_t)j] = c;
                s.rb[(size_t)j] = dot(col, w, m);
            }
            const double *wcol = s.col.data();
            if (p.weighted) {
                for (int j = 0; j < k; ++j)
                    for (int t = 0; t < m; ++t)
                        s.wa[(size_t)j * SUB + (size_t)t] = s.col[(size_t)j * SUB + (size_t)t] * w[t];
                wcol = s.wa.data();
            }
            double *cb = s.cb.data();
            std::fill(cb, cb + sh.kk(), 0.0);
            products(wcol, s.col.data(), k, m, p.seq, cb);
            if (wb <= 0) continue;
            // about the block's exact mean mb + rb / wb
            for (int a = 0; a < k; ++a)
                for (int c = 0; c <= a; ++c)
                    cb[(size_t)a * (size_t)k + (size_t)c] -= s.rb[(size_t)a] * s.rb[(size_t)c] / wb;
            const double wa = sw0;
            for (int j = 0; j < k; ++j) {
                s.ma[(size_t)j] = wa > 0 ? (sum[j] + sumc[j]) / wa : 0;
                const double mj = s.mb[(size_t)j];
                s.mb[(size_t)j] = mj + s.rb[(size_t)j] / wb;
                // the block's sum: wb mb with the product's rounding error, and the deviations' sum
                const double pr = wb * mj;
                comp_add(sum[j], sumc[j], pr);
                comp_add(sum[j], sumc[j], std::fma(wb, mj, -pr));
                comp_add(sum[j], sumc[j], s.rb[(size_t)j]);
            }
            merge_moments(k, acc, s.ma.data(), wa, cb, s.mb.data(), wb, s.d.data());
            continue;
        }
        if (p.sums) {
            for (int j = 0; j < k; ++j)
                sum[j] += dot(&s.col[(size_t)j * SUB], w, m);
            continue;
        }
        if (p.centre)
            for (int j = 0; j < nx; ++j) {
                double *col = &s.col[(size_t)j * SUB];
                const double c = p.centre[j];
                for (int t = 0; t < m; ++t)
                    col[t] -= c;
            }
        // the weighted columns: w x_a, against which every x_b is multiplied
        const double *wcol = s.col.data();
        if (p.weighted) {
            for (int j = 0; j < (p.vec ? 1 : k); ++j)
                for (int t = 0; t < m; ++t)
                    s.wa[(size_t)j * SUB + (size_t)t] = s.col[(size_t)j * SUB + (size_t)t] * w[t];
            wcol = s.wa.data();
        }
        if (p.vec) {
            for (int j = 1; j < k; ++j)
                acc[j] += dot(wcol, &s.col[(size_t)j * SUB], m);
            continue;
        }
        products(wcol, s.col.data(), k, m, p.seq, acc);
    }
}

} // namespace

int run(const Pass &p, bool safe, Sums &out, int32_t *bad) {
    Shape sh;
    sh.k = (int)p.var->size() + (p.cons ? 1 : 0);
    sh.n = p.hi >= p.lo ? (int64_t)p.hi - p.lo + 1 : 0;
    const int64_t max_chunks = std::max<int64_t>(1, SLOT_BUDGET / (int64_t)sh.slot());
    sh.chunk = std::max(CHUNK_MIN, (sh.n + max_chunks - 1) / max_chunks);
    const int64_t nchunks = (sh.n + sh.chunk - 1) / sh.chunk;
    std::vector<double> slots;
    std::vector<std::unique_ptr<Scratch>> scratch;
    const Team tm = choose_team(sh.n, granularity("brwrk_smp"), safe);
    const int threads = tm.parallel ? (int)std::min<int64_t>(tm.size, nchunks) : 1;
    try {
        slots.assign((size_t)nchunks * sh.slot(), 0.0);
        for (int t = 0; t < threads; ++t)
            scratch.push_back(std::make_unique<Scratch>(sh.k));
        out.acc.assign((size_t)sh.k * (size_t)sh.k, 0.0);
        out.sum.assign((size_t)sh.k, 0.0);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    auto one = [&](int t, int64_t ci) {
        const int32_t first = p.lo + (int32_t)(ci * sh.chunk);
        const int32_t last = p.lo + (int32_t)(std::min(sh.n, (ci + 1) * sh.chunk) - 1);
        run_chunk(p, sh, first, last, *scratch[(size_t)t], &slots[(size_t)ci * sh.slot()]);
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
    const size_t kk = sh.kk(), k = (size_t)sh.k, ac = sh.at_cnt();
    out.nobs = out.sumw = 0;
    const bool comp = (p.sums && p.seq) || p.moments;
    std::vector<double> total(comp ? k : 0, 0.0), tc(comp ? k : 0, 0.0), err(comp ? k : 0, 0.0);
    std::vector<double> ma(p.moments ? k : 0), mb(p.moments ? k : 0), d(p.moments ? k : 0);
    for (int64_t ci = 0; ci < nchunks; ++ci) {
        const double *sl = &slots[(size_t)ci * sh.slot()];
        if (sl[ac + 2] != 0) {
            if (bad) *bad = (int32_t)sl[ac + 3];
            return (int)sl[ac + 2];
        }
        if (p.moments && sl[ac + 1] > 0) {
            // the chunks' co-moments merged in chunk order about the means so far
            const double wa = out.sumw, wb = sl[ac + 1];
            for (size_t j = 0; j < k; ++j) {
                ma[j] = wa > 0 ? ((total[j] + tc[j]) + err[j]) / wa : 0;
                mb[j] = (sl[kk + j] + sl[kk + k + j]) / wb;
            }
            merge_moments((int)k, out.acc.data(), ma.data(), wa, sl, mb.data(), wb, d.data());
        }
        if (comp) {
            // the chunks' sums by a compensated sum, their rounding errors added apart
            for (size_t j = 0; j < k; ++j) {
                comp_add(total[j], tc[j], sl[kk + j]);
                err[j] += sl[kk + k + j];
            }
        } else {
            for (size_t j = 0; j < kk; ++j)
                out.acc[j] += sl[j];
            for (size_t j = 0; j < k; ++j)
                out.sum[j] += sl[kk + j];
        }
        out.nobs += sl[ac];
        out.sumw += sl[ac + 1];
    }
    for (size_t j = 0; j < total.size(); ++j)
        out.sum[j] = (total[j] + tc[j]) + err[j];
    return 0;
}

} // namespace est::xprod
