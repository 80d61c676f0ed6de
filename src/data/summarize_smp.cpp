// The kernels of summarize: moments by chunks joined in a fixed tree, values, order statistics.
#include "data/summarize_smp.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <type_traits>

#include "data/dataset.h"
#include "data/types.h"
#include "estimate/frame.h"
#include "session/errors.h"

namespace data {

using session::lim;

namespace {

// Observations of one chunk. Fixed, so that chunks, and with them the bits of every result, are the
// same whatever the team.
constexpr int64_t CHUNK = 4096;

// Calls f(i, x) for observations i0..i1 of numeric variable v, the storage type's reader chosen once
// for the whole run rather than once per cell.
template <class F> void each_value(int v, int32_t i0, int32_t i1, F &&f) {
    const int t = ds.vartype[(size_t)v - 1];
    const int32_t off = ds.offset[(size_t)v - 1];
    auto run = [&](auto tc) {
        for (int32_t i = i0; i <= i1; ++i)
            f(i, cell_get(row_addr(i) + off, decltype(tc)::value));
    };
    switch (t) {
    case T_DOUBLE:
        run(std::integral_constant<int, T_DOUBLE>{});
        break;
    case T_FLOAT:
        run(std::integral_constant<int, T_FLOAT>{});
        break;
    case T_LONG:
        run(std::integral_constant<int, T_LONG>{});
        break;
    case T_INT:
        run(std::integral_constant<int, T_INT>{});
        break;
    case T_BYTE:
        run(std::integral_constant<int, T_BYTE>{});
        break;
    default:
        for (int32_t i = i0; i <= i1; ++i)
            f(i, cell_get(row_addr(i) + off, t));
    }
}

// The gathered values of one chunk: the values less the shift, their weights, and what a first look
// at them gives (the count, the extremes and the weighted sum of the values as they stand).
struct Gathered {
    int64_t k = 0;
    double min = 0, max = 0, sum = 0;
};

// The moments of a chunk from its gathered values, by two passes: the mean of the first, corrected
// by the sum of the deviations of the second. W: the chunk has weights.
template <bool W> Moments chunk_moments(const double *y, const double *wv, const Gathered &g) {
    Moments m;
    if (g.k == 0) return m;
    m.n = (double)g.k;
    m.min = g.min;
    m.max = g.max;
    m.sum = g.sum;
    double sw = 0, swy = 0;
    for (int64_t j = 0; j < g.k; ++j) {
        const double w = W ? wv[j] : 1.0;
        sw += w;
        swy += w * y[j];
    }
    m.w = sw;
    if (sw == 0) return m;
    const double c = swy / sw;
    double d = 0, q = 0;
    for (int64_t j = 0; j < g.k; ++j) {
        const double e = y[j] - c;
        if (W) {
            d += wv[j] * e;
            q += wv[j] * e * e;
        } else {
            d += e;
            q += e * e;
        }
    }
    m.mean = c + d / sw;
    m.m2 = std::max(0.0, q - d * d / sw);
    return m;
}

// Joins parts in place, neighbours first, then neighbours of the joined, and so on: a fixed tree.
template <class T, class J> T join_tree(std::vector<T> &parts, J &&join) {
    if (parts.empty()) return T{};
    const size_t n = parts.size();
    for (size_t step = 1; step < n; step *= 2)
        for (size_t i = 0; i + step < n; i += 2 * step)
            parts[i] = join(parts[i], parts[i + step]);
    return parts[0];
}

} // namespace

Moments moments_join(const Moments &a, const Moments &b) {
    if (a.n == 0) return b;
    if (b.n == 0) return a;
    Moments m;
    m.n = a.n + b.n;
    m.w = a.w + b.w;
    m.sum = a.sum + b.sum;
    m.min = std::min(a.min, b.min);
    m.max = std::max(a.max, b.max);
    if (m.w == 0) return m;
    const double delta = b.mean - a.mean;
    m.mean = a.mean + delta * (b.w / m.w);
    m.m2 = a.m2 + b.m2 + delta * delta * (a.w * b.w / m.w);
    return m;
}

int sum_moments(int v, const SumSample &s, Moments *out) {
    *out = Moments{};
    if (s.hi < s.lo) return 0;
    // The shift: the first value of the sample, so that chunks reduce small numbers and the means of
    // values far from zero keep their low digits.
    double shift = 0;
    bool found = false;
    for (int32_t i = s.lo; i <= s.hi && !found; ++i) {
        const double x = get_num(v, i);
        if (!is_missing(x) && (!s.wt || s.wt[i - s.lo] != 0)) {
            shift = x;
            found = true;
        }
    }
    if (!found) return 0;

    const int64_t n = (int64_t)s.hi - s.lo + 1;
    const int64_t nchunks = (n + CHUNK - 1) / CHUNK;
    std::vector<Moments> parts;
    try {
        parts.resize((size_t)nchunks);
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    const est::Team tm = est::choose_team(nchunks, est::granularity("summarize_smp"));
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(double) * 2 * CHUNK)) return rc;
    const int rc = est::run_region(tm, [&](int t, int64_t c0, int64_t c1) {
        double *y = ts.at<double>(t), *wv = y + CHUNK;
        for (int64_t c = c0; c < c1; ++c) {
            if (est::break_pending()) return;
            const int32_t i0 = s.lo + (int32_t)(c * CHUNK);
            const int32_t i1 = (int32_t)std::min<int64_t>(s.hi, (int64_t)i0 + CHUNK - 1);
            Gathered g;
            g.min = lim.dot;
            g.max = -lim.dot;
            if (s.wt) {
                each_value(v, i0, i1, [&](int32_t i, double xi) {
                    const double w = s.wt[i - s.lo];
                    if (w == 0 || is_missing(xi)) return;
                    g.min = std::min(g.min, xi);
                    g.max = std::max(g.max, xi);
                    g.sum += w * xi;
                    y[g.k] = xi - shift;
                    wv[g.k++] = w;
                });
                parts[(size_t)c] = chunk_moments<true>(y, wv, g);
            } else {
                each_value(v, i0, i1, [&](int32_t, double xi) {
                    if (is_missing(xi)) return;
                    g.min = std::min(g.min, xi);
                    g.max = std::max(g.max, xi);
                    g.sum += xi;
                    y[g.k++] = xi - shift;
                });
                parts[(size_t)c] = chunk_moments<false>(y, nullptr, g);
            }
        }
    });
    if (rc) return rc;
    Moments m = join_tree(parts, moments_join);
    m.mean += shift;
    *out = m;
    return 0;
}

int sum_values(int v, const SumSample &s, std::vector<double> &x, std::vector<double> &w) {
    x.clear();
    w.clear();
    if (s.hi < s.lo) return 0;
    try {
        x.reserve((size_t)(s.hi - s.lo + 1));
        if (s.wt) w.reserve((size_t)(s.hi - s.lo + 1));
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    for (int32_t b = s.lo; b <= s.hi; b += (int32_t)CHUNK) {
        if (session::poll_break()) return 1;
        const int32_t e = (int32_t)std::min<int64_t>(s.hi, (int64_t)b + CHUNK - 1);
        if (!s.wt) {
            each_value(v, b, e, [&](int32_t, double xi) {
                if (!is_missing(xi)) x.push_back(xi);
            });
        } else {
            each_value(v, b, e, [&](int32_t i, double xi) {
                const double wi = s.wt[i - s.lo];
                if (wi == 0 || is_missing(xi)) return;
                x.push_back(xi);
                w.push_back(wi);
            });
        }
    }
    return 0;
}

void sum_higher(const std::vector<double> &x, const std::vector<double> &w, double mean, double *m3,
                double *m4) {
    struct P {
        double s3 = 0, s4 = 0;
    };
    std::vector<P> parts;
    for (size_t b = 0; b < x.size(); b += (size_t)CHUNK) {
        const size_t e = std::min(x.size(), b + (size_t)CHUNK);
        P p;
        for (size_t j = b; j < e; ++j) {
            const double d = x[j] - mean, d2 = d * d, wj = w.empty() ? 1.0 : w[j];
            p.s3 += wj * d2 * d;
            p.s4 += wj * d2 * d2;
        }
        parts.push_back(p);
    }
    const P t = join_tree(parts, [](const P &a, const P &b) { return P{a.s3 + b.s3, a.s4 + b.s4}; });
    *m3 = t.s3;
    *m4 = t.s4;
}

namespace {

// Places the ranks ranks[r0..r1) (ascending) within x[lo..hi): the middle one first, then each side
// within its own part.
void select_within(std::vector<double> &x, int64_t lo, int64_t hi, const std::vector<int64_t> &ranks,
                   size_t r0, size_t r1) {
    if (r0 >= r1 || lo >= hi) return;
    const size_t mid = r0 + (r1 - r0) / 2;
    const int64_t r = ranks[mid];
    // the end of a part (the neighbour of a rank already placed) is its extreme: one linear pass
    if (r == lo)
        std::iter_swap(x.begin() + lo, std::min_element(x.begin() + lo, x.begin() + hi));
    else if (r == hi - 1)
        std::iter_swap(x.begin() + r, std::max_element(x.begin() + lo, x.begin() + hi));
    else
        std::nth_element(x.begin() + lo, x.begin() + r, x.begin() + hi);
    select_within(x, lo, r, ranks, r0, mid);
    select_within(x, r + 1, hi, ranks, mid + 1, r1);
}

} // namespace

void select_ranks(std::vector<double> &x, const std::vector<int64_t> &ranks, std::vector<double> &out) {
    std::vector<int64_t> rs(ranks);
    std::sort(rs.begin(), rs.end());
    rs.erase(std::unique(rs.begin(), rs.end()), rs.end());
    select_within(x, 0, (int64_t)x.size(), rs, 0, rs.size());
    out.clear();
    for (int64_t r : ranks)
        out.push_back(x[(size_t)r]);
}

namespace {

// A percent given as a decimal (100k/nq for the quantiles) falls a rounding error off a boundary that
// it names exactly: such a position is taken as the boundary.
double snap(double P) {
    const double r = std::nearbyint(P);
    return std::abs(P - r) <= 1e-10 * std::max(1.0, std::abs(P)) ? r : P;
}

} // namespace

void extremes4(const std::vector<double> &x, double *lo, double *hi) {
    int n = 0;
    double a[4], b[4]; // ascending; descending
    for (double v : x) {
        if (n < 4) {
            int j = n++;
            for (; j > 0 && a[j - 1] > v; --j)
                a[j] = a[j - 1];
            a[j] = v;
            for (j = n - 1; j > 0 && b[j - 1] < v; --j)
                b[j] = b[j - 1];
            b[j] = v;
            continue;
        }
        if (v < a[3]) {
            int j = 3;
            for (; j > 0 && a[j - 1] > v; --j)
                a[j] = a[j - 1];
            a[j] = v;
        }
        if (v > b[3]) {
            int j = 3;
            for (; j > 0 && b[j - 1] < v; --j)
                b[j] = b[j - 1];
            b[j] = v;
        }
    }
    std::copy(a, a + n, lo);
    std::copy(b, b + n, hi);
}

void percentiles(std::vector<double> &x, std::vector<double> &w, const std::vector<double> &ps, bool altdef,
                 std::vector<double> &out) {
    out.clear();
    const int64_t n = (int64_t)x.size();
    auto clamp = [n](int64_t r) { return std::clamp<int64_t>(r, 0, n - 1); };
    if (w.empty()) {
        // each percentile reads two ranks: the same one twice, two neighbours to average (mid), or two
        // neighbours to interpolate between (frac)
        std::vector<int64_t> ranks;
        std::vector<double> frac;
        std::vector<char> mid;
        for (double p : ps) {
            const double P = snap(altdef ? (double)(n + 1) * p / 100 : (double)n * p / 100);
            const double fl = std::floor(P);
            const int64_t i = (int64_t)fl;
            int64_t r0 = clamp(i), r1 = r0;
            double h = 0;
            bool avg = false;
            if (altdef) {
                if (i >= 1 && i < n) {
                    r0 = i - 1;
                    r1 = i;
                    h = P - fl;
                } else {
                    r0 = r1 = i < 1 ? 0 : n - 1;
                }
            } else if (P == fl) {
                r0 = clamp(i - 1);
                r1 = clamp(i);
                avg = true;
            }
            ranks.push_back(r0);
            ranks.push_back(r1);
            frac.push_back(h);
            mid.push_back(avg);
        }
        std::vector<double> v;
        select_ranks(x, ranks, v);
        for (size_t k = 0; k < ps.size(); ++k) {
            const double a = v[2 * k], b = v[2 * k + 1];
            out.push_back(a == b ? a : mid[k] ? (a + b) / 2 : a + frac[k] * (b - a));
        }
        return;
    }
    // weighted: values in order with their weights, then the cumulative weights
    std::vector<size_t> order((size_t)n);
    for (size_t j = 0; j < order.size(); ++j)
        order[j] = j;
    std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return x[a] < x[b]; });
    std::vector<double> xs((size_t)n), cum((size_t)n);
    double c = 0;
    for (size_t j = 0; j < order.size(); ++j) {
        xs[j] = x[order[j]];
        c += w[order[j]];
        cum[j] = c;
    }
    for (double p : ps) {
        const double P = snap(c * p / 100);
        size_t i = (size_t)(std::lower_bound(cum.begin(), cum.end(), P) - cum.begin());
        if (i >= (size_t)n) i = (size_t)n - 1;
        if (cum[i] == P && i + 1 < (size_t)n && p < 100)
            out.push_back((xs[i] + xs[i + 1]) / 2);
        else
            out.push_back(xs[i]);
    }
}

} // namespace data
