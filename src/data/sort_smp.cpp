// The parallel sort by regular sampling: each thread sorts its chunk and takes regular samples; the
// sorted samples give the pivots; each thread cuts its chunk by them; the pieces go to their buckets
// and each thread merges the pieces of one bucket. smpsort works on observation positions with the
// comparison of observations, smpsort1 on one 64-bit key with its payload.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "data/sort_int.h"
#include "session/errors.h"

namespace data {

namespace {

// A run of a bucket: where it stands (the same place in both arrays) and its length.
struct Run {
    int64_t at, len;
};

// Chunk pieces are copied to their buckets by a plain loop when short, by a block copy otherwise.
template <class T> void copy_elems(T *dst, const T *src, int64_t len) {
    if (len < 801) {
        for (int64_t i = 0; i < len; ++i)
            dst[i] = src[i];
    } else {
        std::memcpy(dst, src, (size_t)len * sizeof(T));
    }
}

// The steps common to both forms. Ops holds the two arrays a and b and knows their elements:
//   sort_chunk(lo, hi, bp)      sorts a[lo, hi); 1 at a Break
//   sample(c, lo, j)            the element at a[lo + j], of chunk c, as a Sample
//   sample_cmp(x, y)            the order of two samples, -1, 0 or 1
//   cut(c, lo, hi, pivot)       the first position of chunk c's sorted a[lo, hi) not below the pivot
//   to_b(from, to, len)         a[from..] to b[to..]
//   merge2(from_b, x, y)        the adjacent runs x and y of one array merged into the other, at x.at;
//                               on equal elements the one of x comes first
//   move(from_b, x)             run x of one array copied to the other
template <class Ops> int regular_sampling(Ops &ops, const est::Team &tm) {
    using Sample = typename Ops::Sample;
    const int t = tm.size;
    std::vector<Sample> samples((size_t)t * t);
    std::vector<uint8_t> stopped(t, 0);

    // Region 1: the chunks, and t regular samples of each.
    int rc = est::run_region(tm, [&](int c, int64_t lo, int64_t hi) {
        BreakPoll bp;
        if (ops.sort_chunk(lo, hi, bp)) {
            stopped[c] = 1;
            return;
        }
        const int64_t len = hi - lo;
        for (int k = 0; k < t; ++k)
            samples[(size_t)c * t + k] = ops.sample(c, lo, len > 0 ? (int64_t)k * len / t : 0);
    });
    if (rc || std::find(stopped.begin(), stopped.end(), 1) != stopped.end()) return 1;

    // The samples in order, and the pivots.
    std::vector<int64_t> order((size_t)t * t);
    std::iota(order.begin(), order.end(), 0);
    auto sample_order = [&](int64_t x, int64_t y) { return ops.sample_cmp(samples[x], samples[y]); };
    BreakPoll bp;
    quicksort(order.data(), 0, (int64_t)order.size() - 1, sample_order, bp);
    std::vector<int64_t> piv(t > 1 ? t - 1 : 1);
    auto same = [&](int64_t x, int64_t y) {
        return ops.sample_cmp(samples[order[x]], samples[order[y]]) == 0;
    };
    if (!choose_pivots(t, (int64_t)order.size(), same, piv.data()))
        return session::fail(909, "failed to select pivot values!\n");
    std::vector<Sample> pivots(t > 1 ? t - 1 : 1);
    for (int k = 0; k + 1 < t; ++k)
        pivots[k] = samples[order[piv[k]]];

    // Region 2: each chunk cut by the pivots; row c of the table holds its t+1 bounds.
    std::vector<int64_t> bounds((size_t)t * (t + 1));
    rc = est::run_region(tm, [&](int c, int64_t lo, int64_t hi) {
        int64_t *row = &bounds[(size_t)c * (t + 1)];
        row[0] = lo;
        for (int k = 1; k < t; ++k)
            row[k] = std::max(row[k - 1], ops.cut(c, lo, hi, pivots[k - 1]));
        row[t] = hi;
    });
    if (rc) return 1;

    // The buckets' places, and the pieces of each copied there from a to b, in chunk order.
    std::vector<std::vector<Run>> runs(t);
    int64_t at = 0;
    for (int k = 0; k < t; ++k) {
        for (int c = 0; c < t; ++c) {
            const int64_t *row = &bounds[(size_t)c * (t + 1)];
            const int64_t len = row[k + 1] - row[k];
            if (len <= 0) continue;
            ops.to_b(row[k], at, len);
            runs[k].push_back({at, len});
            at += len;
        }
    }

    // Region 3: each bucket's pieces merged two at a time until one run stands in a. The runs of a
    // round are written over the list of the round before, so the threads allocate nothing.
    const est::Team buckets{t, t, 1, true};
    return est::run_region(buckets, [&](int k, int64_t, int64_t) {
        std::vector<Run> &cur = runs[k];
        if (cur.empty()) return;
        bool in_b = true;
        while (cur.size() > 1) {
            size_t w = 0;
            for (size_t i = 0; i + 1 < cur.size(); i += 2) {
                ops.merge2(in_b, cur[i], cur[i + 1]);
                cur[w++] = {cur[i].at, cur[i].len + cur[i + 1].len};
            }
            if (cur.size() % 2) {
                ops.move(in_b, cur.back());
                cur[w++] = cur.back();
            }
            cur.resize(w);
            in_b = !in_b;
        }
        if (in_b) ops.move(true, cur[0]);
    });
}

// Observation positions under the comparison of observations. The order is total, so equal elements
// never meet.
struct ObsOps {
    using Sample = int32_t;
    int32_t *a, *b;
    const ObsCmp &cmp;

    int sort_chunk(int64_t lo, int64_t hi, BreakPoll &bp) { return quicksort(a, lo, hi - 1, cmp, bp); }
    Sample sample(int, int64_t lo, int64_t j) const { return a[lo + j]; }
    int sample_cmp(Sample x, Sample y) const { return cmp(x, y); }
    int64_t cut(int, int64_t lo, int64_t hi, Sample pv) const {
        return std::partition_point(a + lo, a + hi, [&](int32_t e) { return cmp(e, pv) < 0; }) - a;
    }
    void to_b(int64_t from, int64_t to, int64_t len) { copy_elems(b + to, a + from, len); }
    void merge2(bool from_b, Run x, Run y) {
        const int32_t *s = from_b ? b : a;
        int32_t *d = from_b ? a : b;
        int64_t i = x.at, j = y.at, o = x.at;
        const int64_t ie = x.at + x.len, je = y.at + y.len;
        while (i < ie && j < je)
            d[o++] = cmp(s[j], s[i]) < 0 ? s[j++] : s[i++];
        while (i < ie)
            d[o++] = s[i++];
        while (j < je)
            d[o++] = s[j++];
    }
    void move(bool from_b, Run x) {
        std::memcpy((from_b ? a : b) + x.at, (from_b ? b : a) + x.at, (size_t)x.len * sizeof(int32_t));
    }
};

// One key with its payload. Each chunk is sorted keeping the order of equal keys, so the order of the
// input positions is (chunk, place in the sorted chunk) among equal keys: samples carry both, a cut
// by a pivot of another chunk takes the whole run of its key to one side, and merges put the
// elements of lower chunks first.
struct KeyOps {
    struct Sample {
        uint64_t key;
        int chunk;
        int64_t j;
    };
    uint64_t *k, *kb;
    int32_t *p, *pb;

    int sort_chunk(int64_t lo, int64_t hi, BreakPoll &bp) {
        bool in_buffer = false;
        if (radix_sort1(k + lo, p + lo, kb + lo, pb + lo, hi - lo, &in_buffer, bp)) return 1;
        if (in_buffer) {
            std::memcpy(k + lo, kb + lo, (size_t)(hi - lo) * sizeof(uint64_t));
            std::memcpy(p + lo, pb + lo, (size_t)(hi - lo) * sizeof(int32_t));
        }
        return 0;
    }
    Sample sample(int c, int64_t lo, int64_t j) const { return {k[lo + j], c, j}; }
    int sample_cmp(const Sample &x, const Sample &y) const {
        if (x.key != y.key) return x.key < y.key ? -1 : 1;
        if (x.chunk != y.chunk) return x.chunk < y.chunk ? -1 : 1;
        return x.j < y.j ? -1 : x.j > y.j ? 1 : 0;
    }
    int64_t cut(int c, int64_t lo, int64_t hi, const Sample &pv) const {
        if (c == pv.chunk) return lo + pv.j;
        if (c < pv.chunk) return std::upper_bound(k + lo, k + hi, pv.key) - k;
        return std::lower_bound(k + lo, k + hi, pv.key) - k;
    }
    void to_b(int64_t from, int64_t to, int64_t len) {
        copy_elems(kb + to, k + from, len);
        copy_elems(pb + to, p + from, len);
    }
    void merge2(bool from_b, Run x, Run y) {
        const uint64_t *sk = from_b ? kb : k;
        const int32_t *sp = from_b ? pb : p;
        uint64_t *dk = from_b ? k : kb;
        int32_t *dp = from_b ? p : pb;
        int64_t i = x.at, j = y.at, o = x.at;
        const int64_t ie = x.at + x.len, je = y.at + y.len;
        while (i < ie && j < je) {
            const bool right = sk[j] < sk[i];
            const int64_t s = right ? j : i;
            dk[o] = sk[s];
            dp[o++] = sp[s];
            j += right;
            i += !right;
        }
        std::memcpy(dk + o, sk + i, (size_t)(ie - i) * sizeof(uint64_t));
        std::memcpy(dp + o, sp + i, (size_t)(ie - i) * sizeof(int32_t));
        o += ie - i;
        std::memcpy(dk + o, sk + j, (size_t)(je - j) * sizeof(uint64_t));
        std::memcpy(dp + o, sp + j, (size_t)(je - j) * sizeof(int32_t));
    }
    void move(bool from_b, Run x) {
        std::memcpy((from_b ? k : kb) + x.at, (from_b ? kb : k) + x.at, (size_t)x.len * sizeof(uint64_t));
        std::memcpy((from_b ? p : pb) + x.at, (from_b ? pb : p) + x.at, (size_t)x.len * sizeof(int32_t));
    }
};

} // namespace

int smpsort(int32_t *a, int32_t *b, int64_t, const ObsCmp &cmp, const est::Team &tm) {
    ObsOps ops{a, b, cmp};
    return regular_sampling(ops, tm);
}

int smpsort1(uint64_t *k, int32_t *p, uint64_t *kb, int32_t *pb, int64_t, const est::Team &tm) {
    KeyOps ops{k, kb, p, pb};
    return regular_sampling(ops, tm);
}

} // namespace data
