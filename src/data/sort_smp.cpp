// The parallel sort by regular sampling: each thread sorts its chunk and takes regular samples; the
// sorted samples give the pivots; each thread cuts its chunk by them; each thread merges the pieces
// of one bucket into the bucket's place in the second array. smpsort works on observation positions with the
// comparison of observations, smpsort1 on one 64-bit key with its payload.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "data/sort_int.h"
#include "session/errors.h"

namespace data {

namespace {

// A sorted piece of a chunk, in a.
struct Run {
    int64_t at, len;
};

// Chunk pieces that stand alone in their bucket are copied by a plain loop when short, by a block
// copy otherwise.
template <class T> void copy_elems(T *dst, const T *src, int64_t len) {
    if (len < 801) {
        for (int64_t i = 0; i < len; ++i)
            dst[i] = src[i];
    } else {
        std::memcpy(dst, src, (size_t)len * sizeof(T));
    }
}

// The head of a run in the merge of more than two: on equal elements the run of the lower chunk
// comes first.
struct Head {
    int64_t pos, end;
    int run;
};

// The steps common to both forms. Ops holds the two arrays a and b and knows their elements:
//   sort_chunk(lo, hi, bp)     sorts a[lo, hi), the result in a or in b[lo, hi); 1 at a Break
//   in_b(lo)                   whether the chunk from lo stands in b
//   back(lo, hi)               the chunk from b to a
//   flip()                     a and b change places
//   sample(c, lo, j)           the element at lo + j of sorted chunk c, as a Sample
//   sample_cmp(x, y)           the order of two samples, -1, 0 or 1
//   cut(c, lo, hi, pivot)      the first position of chunk c's sorted a[lo, hi) not below the pivot
//   less(i, j)                 a[i] before a[j] (strictly)
//   put(i, o)                  a[i] to b[o]
//   copy(x, o)                 the run x of a to b[o..]
//   merge2(x, y, o)            the runs x and y of a merged into b[o..], x first on equal elements
// The sorted range stands in b at the end; when the chunks all came out in b, the arrays change places
// rather than the chunks being copied back, and *flipped tells it.
template <class Ops> int regular_sampling(Ops &ops, const est::Team &tm, bool *flipped) {
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
    int in_b = 0;
    for (int c = 0; c < t; ++c) {
        int64_t lo, hi;
        est::block_of(c, tm.n, tm.B, &lo, &hi);
        in_b += ops.in_b(lo) ? 1 : 0;
    }
    *flipped = in_b == t;
    if (*flipped) {
        ops.flip();
    } else if (in_b) {
        for (int c = 0; c < t; ++c) {
            int64_t lo, hi;
            est::block_of(c, tm.n, tm.B, &lo, &hi);
            if (ops.in_b(lo)) ops.back(lo, hi);
        }
    }

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

    // The place of each bucket in b, and its pieces in chunk order; what the merges need is set
    // out here, so that the threads allocate nothing.
    std::vector<int64_t> place(t + 1, 0);
    std::vector<std::vector<Run>> runs(t);
    std::vector<std::vector<Head>> heads(t);
    for (int k = 0; k < t; ++k) {
        int64_t size = 0;
        for (int c = 0; c < t; ++c) {
            const int64_t *row = &bounds[(size_t)c * (t + 1)];
            const int64_t len = row[k + 1] - row[k];
            if (len > 0) runs[k].push_back({row[k], len});
            size += len;
        }
        place[k + 1] = place[k] + size;
        heads[k].reserve(runs[k].size());
    }

    // Region 3: each thread merges the pieces of one bucket into its place in b.
    const est::Team buckets{t, t, 1, true};
    return est::run_region(buckets, [&](int k, int64_t, int64_t) {
        const std::vector<Run> &r = runs[k];
        int64_t o = place[k];
        if (r.size() == 1) {
            ops.copy(r[0], o);
        } else if (r.size() == 2) {
            ops.merge2(r[0], r[1], o);
        } else if (r.size() > 2) {
            std::vector<Head> &h = heads[k];
            for (size_t i = 0; i < r.size(); ++i)
                h.push_back({r[i].at, r[i].at + r[i].len, (int)i});
            // std's heap keeps the greatest on top: "after" is the order.
            auto after = [&](const Head &x, const Head &y) {
                if (ops.less(y.pos, x.pos)) return true;
                if (ops.less(x.pos, y.pos)) return false;
                return x.run > y.run;
            };
            std::make_heap(h.begin(), h.end(), after);
            while (!h.empty()) {
                std::pop_heap(h.begin(), h.end(), after);
                Head &top = h.back();
                ops.put(top.pos++, o++);
                if (top.pos < top.end)
                    std::push_heap(h.begin(), h.end(), after);
                else
                    h.pop_back();
            }
        }
    });
}

// Observation positions under the comparison of observations. The order is total, so equal elements
// never meet.
struct ObsOps {
    using Sample = int32_t;
    int32_t *a, *b;
    const ObsCmp &cmp;

    int sort_chunk(int64_t lo, int64_t hi, BreakPoll &bp) { return quicksort(a, lo, hi - 1, cmp, bp); }
    bool in_b(int64_t) const { return false; }
    void back(int64_t, int64_t) {}
    void flip() { std::swap(a, b); }
    Sample sample(int, int64_t lo, int64_t j) const { return a[lo + j]; }
    int sample_cmp(Sample x, Sample y) const { return cmp(x, y); }
    int64_t cut(int, int64_t lo, int64_t hi, Sample pv) const {
        return std::partition_point(a + lo, a + hi, [&](int32_t e) { return cmp(e, pv) < 0; }) - a;
    }
    bool less(int64_t i, int64_t j) const { return cmp(a[i], a[j]) < 0; }
    void put(int64_t i, int64_t o) { b[o] = a[i]; }
    void copy(Run x, int64_t o) { copy_elems(b + o, a + x.at, x.len); }
    void merge2(Run x, Run y, int64_t o) {
        int64_t i = x.at, j = y.at;
        const int64_t ie = x.at + x.len, je = y.at + y.len;
        while (i < ie && j < je)
            b[o++] = cmp(a[j], a[i]) < 0 ? a[j++] : a[i++];
        while (i < ie)
            b[o++] = a[i++];
        while (j < je)
            b[o++] = a[j++];
    }
};

// One key with its payload. Each chunk is sorted keeping the order of equal keys, so among equal keys
// the order of the input positions is (chunk, place in the sorted chunk): samples carry both, a cut
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
    int bits;

    std::vector<uint8_t> &chunk_in_b; // by chunk start, set by sort_chunk
    int64_t B;                        // chunk length

    int sort_chunk(int64_t lo, int64_t hi, BreakPoll &bp) {
        bool in_buffer = false;
        if (radix_sort1(k + lo, p + lo, kb + lo, pb + lo, hi - lo, bits, &in_buffer, bp)) return 1;
        chunk_in_b[lo / B] = in_buffer;
        return 0;
    }
    bool in_b(int64_t lo) const { return chunk_in_b[lo / B] != 0; }
    void back(int64_t lo, int64_t hi) {
        std::memcpy(k + lo, kb + lo, (size_t)(hi - lo) * sizeof(uint64_t));
        std::memcpy(p + lo, pb + lo, (size_t)(hi - lo) * sizeof(int32_t));
    }
    void flip() {
        std::swap(k, kb);
        std::swap(p, pb);
    }
    Sample sample(int c, int64_t lo, int64_t j) const { return {(in_b(lo) ? kb : k)[lo + j], c, j}; }
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
    bool less(int64_t i, int64_t j) const { return k[i] < k[j]; }
    void put(int64_t i, int64_t o) {
        kb[o] = k[i];
        pb[o] = p[i];
    }
    void copy(Run x, int64_t o) {
        copy_elems(kb + o, k + x.at, x.len);
        copy_elems(pb + o, p + x.at, x.len);
    }
    void merge2(Run x, Run y, int64_t o) {
        int64_t i = x.at, j = y.at;
        const int64_t ie = x.at + x.len, je = y.at + y.len;
        while (i < ie && j < je) {
            const bool right = k[j] < k[i];
            const int64_t s = right ? j : i;
            kb[o] = k[s];
            pb[o++] = p[s];
            j += right;
            i += !right;
        }
        copy_elems(kb + o, k + i, ie - i);
        copy_elems(pb + o, p + i, ie - i);
        o += ie - i;
        copy_elems(kb + o, k + j, je - j);
        copy_elems(pb + o, p + j, je - j);
    }
};

} // namespace

int smpsort(int32_t *a, int32_t *b, const ObsCmp &cmp, const est::Team &tm) {
    ObsOps ops{a, b, cmp};
    bool flipped = false;
    return regular_sampling(ops, tm, &flipped);
}

int smpsort1(uint64_t *k, int32_t *p, uint64_t *kb, int32_t *pb, int bits, const est::Team &tm,
             bool *in_buffer) {
    std::vector<uint8_t> chunk_in_b(tm.size, 0);
    KeyOps ops{k, kb, p, pb, bits, chunk_in_b, tm.B};
    bool flipped = false;
    const int rc = regular_sampling(ops, tm, &flipped);
    *in_buffer = !flipped;
    return rc;
}

} // namespace data
