// What the serial and the parallel sort share: the sort generator, the order of one cell against
// another, the comparison of observations, the quicksort, the radix sort of one 64-bit key, and the
// parallel sorts by regular sampling. Tests reach the engines through these too.
//
// The order a sort gives is total: keys first, then (with `stable`) the position before the sort,
// then the position after the shuffle. Two engines give it. The comparison engine sorts positions by
// the comparison of observations: the quicksort, or smpsort with a team. The radix engine takes one
// key at a time from the last (a string key in pieces of 8 bytes) as a 64-bit number and sorts it
// keeping the order of equal keys: radix_sort1, or smpsort1 with a team. Both give the one order, so
// the result does not depend on which engine ran or on the number of threads.
#pragma once
#include <cstdint>
#include <cstring>

#include "data/dataset.h"
#include "data/types.h"
#include "estimate/frame.h"

namespace data {

// ---- The sort generator ----------------------------------------------------------------------------

inline constexpr uint32_t SORTGEN_MASK = 0x7fffffff;
inline uint32_t sortgen_step(uint32_t x) { return (uint32_t)(((uint64_t)x * 68969u) & SORTGEN_MASK); }
// One draw over [lo, hi]: the state steps, then trunc(x / 2147483646 * (hi - lo) + 0.5) + lo. The
// largest states would reach hi + 1 on ranges of more than 2^30; those stay at hi.
inline int64_t sortgen_draw(uint32_t *x, int64_t lo, int64_t hi) {
    *x = sortgen_step(*x);
    const int64_t d = (int64_t)((double)*x / 2147483646.0 * (double)(hi - lo) + 0.5) + lo;
    return d > hi ? hi : d;
}

// The state k steps on from x: x times 68969^k, in 31 bits.
inline uint32_t sortgen_jump(uint32_t x, int64_t k) {
    uint64_t m = 68969, r = 1;
    for (; k > 0; k >>= 1) {
        if (k & 1) r = (r * m) & SORTGEN_MASK;
        m = (m * m) & SORTGEN_MASK;
    }
    return (uint32_t)((r * x) & SORTGEN_MASK);
}

// ---- The order of cells ----------------------------------------------------------------------------

// A number as an unsigned key in the order of the doubles: -0 is 0, and the missing values sort above
// every number in their own order because that is their order as doubles. A NaN, which no cell
// writer stores, goes behind everything so that the order stays total.
inline uint64_t num_key(double d) {
    if (d == 0) return 0x8000000000000000ull;
    if (d != d) return ~0ull;
    const uint64_t u = dbits(d);
    return (u >> 63) ? ~u : (u | 0x8000000000000000ull);
}

// Two string cells of width w, byte by byte as unsigned, up to the first NUL.
inline int str_cmp(const unsigned char *a, const unsigned char *b, int w) {
    for (int i = 0; i < w; ++i) {
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
        if (!a[i]) return 0;
    }
    return 0;
}

inline int cell_cmp(const char *a, const char *b, int type) {
    if (is_string_type(type))
        return str_cmp(reinterpret_cast<const unsigned char *>(a), reinterpret_cast<const unsigned char *>(b),
                       type);
    const uint64_t x = num_key(cell_get(a, type)), y = num_key(cell_get(b, type));
    return x < y ? -1 : x > y ? 1 : 0;
}

// A key as the comparison reads it.
struct SortKey {
    int32_t off;
    uint8_t type;
};

// Compares the observations at positions a and b of a range (counted from 0) through its index
// entries: the keys, then the original position when orig is given (`stable`), then the position.
struct ObsCmp {
    const char *base;
    int64_t width;
    const int32_t *rows; // the index entries of the range
    const SortKey *keys;
    int nkeys;
    const int32_t *orig; // null, or the position of each entry before the shuffle

    int keys_only(int32_t a, int32_t b) const {
        const char *ra = base + (int64_t)rows[a] * width, *rb = base + (int64_t)rows[b] * width;
        for (int k = 0; k < nkeys; ++k)
            if (int c = cell_cmp(ra + keys[k].off, rb + keys[k].off, keys[k].type)) return c;
        return 0;
    }
    int operator()(int32_t a, int32_t b) const {
        if (int c = keys_only(a, b)) return c;
        if (orig && orig[a] != orig[b]) return orig[a] < orig[b] ? -1 : 1;
        return a < b ? -1 : a > b ? 1 : 0;
    }
};

// ---- Break in long loops ---------------------------------------------------------------------------

// Polls Break once per so many elements of work; any thread may use its own.
struct BreakPoll {
    int64_t work = 0;
    bool hit = false;
    bool tick(int64_t n) {
        work += n;
        if (work < 65536) return hit;
        work = 0;
        if (est::break_pending()) hit = true;
        return hit;
    }
};

// ---- The quicksort ---------------------------------------------------------------------------------

// Sorts a[lo..hi] (inclusive) by cmp. The pivot is the last element of the span; i scans up while
// below it, j down while above it, and they swap until they meet. An element at i that is not equal
// to the pivot (or i at the pivot) takes the pivot's place, and the spans left and right of it
// remain. An element equal to the pivot starts a run: i goes on past every element equal to it, the
// first greater one changes places with the pivot, and the run, now ending with the pivot, is left
// out of all later work, together with the equal elements at the right end of the left span; that
// is what keeps a column of few values from degenerating. The smaller span is sorted by recursion and
// the larger by the loop, so the depth stays within log2 of the count; the result is the same in
// either order. Returns 1 at a Break (a still holds a permutation of what it held).
template <class T, class Cmp> int quicksort(T *a, int64_t lo, int64_t hi, const Cmp &cmp, BreakPoll &bp) {
    while (lo < hi) {
        if (bp.tick(hi - lo + 1)) return 1;
        const T pivot = a[hi];
        int64_t i = lo, j = hi - 1;
        for (;;) {
            while (cmp(a[i], pivot) < 0)
                ++i;
            while (j > i && cmp(a[j], pivot) > 0)
                --j;
            if (i >= j) break;
            std::swap(a[i], a[j]);
            ++i;
            --j;
        }
        int64_t llo, lhi, rlo, rhi; // the two spans still to sort
        if (i == hi || cmp(a[i], pivot) != 0) {
            std::swap(a[i], a[hi]);
            llo = lo, lhi = i - 1, rlo = i + 1, rhi = hi;
        } else {
            int64_t k = i + 1;
            while (k < hi && cmp(a[k], pivot) == 0)
                ++k;
            std::swap(a[k], a[hi]);
            int64_t h = i - 1;
            while (h >= lo && cmp(a[h], pivot) == 0)
                --h;
            llo = lo, lhi = h, rlo = k + 1, rhi = hi;
        }
        if (lhi - llo < rhi - rlo) {
            if (quicksort(a, llo, lhi, cmp, bp)) return 1;
            lo = rlo, hi = rhi;
        } else {
            if (quicksort(a, rlo, rhi, cmp, bp)) return 1;
            lo = llo, hi = lhi;
        }
    }
    return 0;
}

// ---- The radix sort of one key ---------------------------------------------------------------------

// Sorts k[0..n), keys below 2^bits, with its payload p by k, keeping the order of equal keys, through
// the buffers kb and pb of the same length: a short key in one counting pass, a longer one a byte a
// pass from the lowest, passing over a byte that is the same everywhere. *in_buffer tells whether the
// result stands in kb/pb. Returns 1 at a Break (between passes; each array still holds a permutation
// of what the two held).
int radix_sort1(uint64_t *k, int32_t *p, uint64_t *kb, int32_t *pb, int64_t n, int bits, bool *in_buffer,
                BreakPoll &bp);

// ---- The parallel sorts by regular sampling ----------------------------------------------------------

// smpsort: the observation positions a[0..n) of a range (counted from 0) by the comparison cmp, with
// the team tm, whose blocks are the chunks; the result stands in b, of the same length. 0; 1 at a
// Break; 909 with the message written when the pivots cannot be chosen.
int smpsort(int32_t *a, int32_t *b, const ObsCmp &cmp, const est::Team &tm);
// smpsort1: one key k[0..n) below 2^bits with its payload p, keeping the order of equal keys, through
// the buffers kb/pb; *in_buffer tells whether the result stands in them or in k/p. Codes as smpsort.
int smpsort1(uint64_t *k, int32_t *p, uint64_t *kb, int32_t *pb, int bits, const est::Team &tm,
             bool *in_buffer);
// The pivot choice of both, on samples already sorted: t-1 pivots, one at each step of t from
// position t/2-1 on, passing over samples equal to the pivot before. The positions of the pivots in
// piv; false when t-1 distinct ones cannot be found.
template <class Same> bool choose_pivots(int t, int64_t nsamples, const Same &same, int64_t *piv) {
    int got = 0;
    int64_t pos = 0;
    for (int k = 1; k < t; ++k) {
        if (pos < (int64_t)k * t + t / 2 - 1) pos = (int64_t)k * t + t / 2 - 1;
        while (pos < nsamples && got > 0 && same(piv[got - 1], pos))
            ++pos;
        if (pos >= nsamples) return false;
        piv[got++] = pos++;
    }
    return got == t - 1;
}

// Which engine runs: by the count and the length of string keys, or one forced (tests compare them).
enum SortEngine { SE_AUTO, SE_COMPARE, SE_RADIX };
extern SortEngine sort_engine;

} // namespace data
