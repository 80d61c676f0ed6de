// sort: the sort generator against numbers worked by hand, the order of cells, the team rule of the
// sort, the quicksort and its tie rule, the radix sort, and whole sorts checked against the order
// they promise (keys, then the position after the shuffle) by every engine and team, with Break,
// the sort list and index().
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/sort.h"
#include "data/sort_int.h"
#include "data_fixture.h"
#include "estimate/frame.h"
#include "session/state.h"

using namespace data;

namespace {

// ---- The sort generator ----------------------------------------------------------------------------

TEST(SortGen, StepsAndDrawsWorkedByHand) {
    // 1001 * 68969 = 69,037,969, below 2^31, so the mask leaves it.
    EXPECT_EQ(sortgen_step(1001), 69037969u);
    // 69,037,969 * 68969 = 4,761,479,683,961 = 2217 * 2^31 + 508,436,345.
    EXPECT_EQ(sortgen_step(69037969), 508436345u);
    EXPECT_EQ(sortgen_step(508436345), 85790113u);
    EXPECT_EQ(sortgen_step(85790113), 540853257u);
    // The mask keeps 31 bits: 2^31 - 1 times 68969 is 68968 * 2^31 + (2^31 - 68969).
    EXPECT_EQ(sortgen_step(0x7fffffffu), 0x7fffffffu - 68968u);
    EXPECT_EQ(sortgen_step(0), 0u);

    // Draws over [1, 1000]: 69037969 / 2147483646 * 999 + 0.5 = 32.62, so 32 + 1; then
    // 508436345 / 2147483646 * 999 + 0.5 = 237.02, so 237 + 1.
    uint32_t x = 1001;
    EXPECT_EQ(sortgen_draw(&x, 1, 1000), 33);
    EXPECT_EQ(x, 69037969u);
    EXPECT_EQ(sortgen_draw(&x, 1, 1000), 238);
    EXPECT_EQ(sortgen_draw(&x, 1, 1000), 41);
    EXPECT_EQ(sortgen_draw(&x, 1, 1000), 253);
    // Over [1, 10]: 0.29 + 0.5 truncates to 0, then 2.13 + 0.5 to 2.
    x = 1001;
    EXPECT_EQ(sortgen_draw(&x, 1, 10), 1);
    EXPECT_EQ(sortgen_draw(&x, 1, 10), 3);
    // A jump of k steps lands where k steps do.
    EXPECT_EQ(sortgen_jump(1001, 0), 1001u);
    EXPECT_EQ(sortgen_jump(1001, 1), 69037969u);
    EXPECT_EQ(sortgen_jump(1001, 4), 540853257u);
    x = 12345;
    for (int k = 0; k < 100000; ++k)
        x = sortgen_step(x);
    EXPECT_EQ(sortgen_jump(12345, 100000), x);
    // A range of one gives its one position; the largest state stays inside the widest range.
    x = 1001;
    EXPECT_EQ(sortgen_draw(&x, 7, 7), 7);
    uint32_t big = 0x7fffffffu;
    for (int k = 0; k < 1000; ++k)
        EXPECT_LE(sortgen_draw(&big, 1, 2147483647), 2147483647);
}

// ---- The order of cells ----------------------------------------------------------------------------

class SortFixture : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        ASSERT_EQ(data_init(64 << 20, 5000, 400), 0);
        session::se.sortseed = 1001;
        sort_engine = SE_AUTO;
        session::lp.version = 1010;
    }
    void TearDown() override {
        sort_engine = SE_AUTO;
        est::set_processors(1);
        session::break_clear();
        DataFixture::TearDown();
    }
    std::vector<int32_t> rows() const { return std::vector<int32_t>(ds.index, ds.index + ds.nobs); }
    std::string sortlist() const {
        std::string s;
        for (int k = 0; ds.sortlist[k]; ++k)
            s += std::string(k ? " " : "") + ds.varname[ds.sortlist[k] - 1];
        return s;
    }
    bool is_permutation_of_rows() const {
        std::vector<int32_t> r = rows();
        std::sort(r.begin(), r.end());
        for (int32_t i = 0; i < (int32_t)r.size(); ++i)
            if (r[i] != i) return false;
        return true;
    }
};

using SortCells = SortFixture;

TEST_F(SortCells, NumbersThenMissingValuesInTheirOrder) {
    const double minus_zero = -0.0;
    std::vector<double> v = {-1e300,
                             -2.5,
                             minus_zero,
                             0.0,
                             1e-300,
                             3.0,
                             1e300,
                             missing_value(0),
                             missing_value(1),
                             missing_value(2),
                             missing_value(26)};
    for (size_t i = 0; i + 1 < v.size(); ++i)
        EXPECT_LE(num_key(v[i]), num_key(v[i + 1])) << i;
    EXPECT_EQ(num_key(minus_zero), num_key(0.0));
    EXPECT_LT(num_key(3.0), num_key(missing_value(0)));
    EXPECT_LT(num_key(missing_value(0)), num_key(missing_value(1))); // . before .a
    // Cells of each numeric type compare through their doubles: a float `.a` above a float number,
    // a byte `.` below a byte `.z`.
    char a[8], b[8];
    cell_put(a, T_FLOAT, 1e30);
    cell_put(b, T_FLOAT, missing_value(1));
    EXPECT_EQ(cell_cmp(a, b, T_FLOAT), -1);
    cell_put(a, T_BYTE, missing_value(26));
    cell_put(b, T_BYTE, missing_value(0));
    EXPECT_EQ(cell_cmp(a, b, T_BYTE), 1);
    cell_put(a, T_LONG, -7);
    cell_put(b, T_LONG, -7);
    EXPECT_EQ(cell_cmp(a, b, T_LONG), 0);
}

TEST_F(SortCells, StringsByUnsignedBytesUpToTheNul) {
    auto cmp = [](const char *x, const char *y, int w) {
        char a[8] = {}, b[8] = {};
        cell_put_str(a, w, x);
        cell_put_str(b, w, y);
        // The bytes behind a NUL are undefined in a cell: make them differ.
        for (int i = (int)std::strlen(x) + 1; i < w; ++i)
            a[i] = 'q';
        return cell_cmp(a, b, w);
    };
    EXPECT_EQ(cmp("ab", "ab", 5), 0);
    EXPECT_EQ(cmp("ab", "abc", 5), -1);
    EXPECT_EQ(cmp("b", "abc", 5), 1);
    EXPECT_EQ(cmp("\xe9", "z", 3), 1); // 0xE9 is above 'z' as unsigned
    EXPECT_EQ(cmp("", "a", 3), -1);    // the empty string first
    EXPECT_EQ(cmp("Z", "a", 3), -1);
    EXPECT_EQ(cmp("abc", "abd", 3), -1); // full width, no NUL
}

// ---- The team rule of the sort -----------------------------------------------------------------------

TEST(SortTeam, TheRuleWithGranularity100) {
    const int D = est::granularity("smpsort");
    EXPECT_EQ(D, 100);
    EXPECT_EQ(est::granularity("smpsort1"), 100);
    // At 2 processors the team is 2: 200 observations give chunks of 100, serial; 201 give 101.
    EXPECT_FALSE(est::team_rule(200, D, 2, false).parallel);
    EXPECT_TRUE(est::team_rule(201, D, 2, false).parallel); // chunks of 101
    // With 200 or fewer observations the sort is serial whatever processors says.
    for (int p = 1; p <= 64; ++p)
        for (int n : {2, 100, 150, 199, 200})
            EXPECT_FALSE(est::team_rule(n, D, p, p > 2).parallel) << p << " " << n;
    // Above 2 processors: t = min(p, max(1, ceil(n/100) - 1), max(1, ceil(sqrt n) - 1)).
    EXPECT_EQ(est::team_rule(500, D, 4, true).size, 4);
    EXPECT_TRUE(est::team_rule(500, D, 4, true).parallel); // chunks of 125
    EXPECT_EQ(est::team_rule(300, D, 4, true).size, 2);    // ceil(3) - 1
    EXPECT_TRUE(est::team_rule(300, D, 4, true).parallel); // chunks of 150
    EXPECT_EQ(est::team_rule(1000, D, 8, true).size, 8);   // min(8, 9, 31)
    EXPECT_EQ(est::team_rule(10000000, D, 64, true).size, 64);
    EXPECT_EQ(est::team_rule(201, D, 8, true).size, 2); // ceil(2.01) - 1 = 2
    EXPECT_TRUE(est::team_rule(201, D, 8, true).parallel);
}

// ---- The quicksort and the radix sort ----------------------------------------------------------------

uint64_t mix(uint64_t &s) {
    uint64_t z = (s += 0x9e3779b97f4a7c15ull);
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
    return z ^ (z >> 31);
}

TEST(SortQuick, TheTieRuleOnAColumnOfFewValues) {
    // On keys alone equal elements meet, and the tie rule takes their runs out of the work.
    uint64_t s = 7;
    for (int n : {1, 2, 3, 10, 1000, 50000}) {
        std::vector<int> a(n);
        for (int &x : a)
            x = (int)(mix(s) % 3);
        std::vector<int> want = a;
        std::sort(want.begin(), want.end());
        int64_t compares = 0;
        auto cmp = [&](int x, int y) {
            ++compares;
            return x < y ? -1 : x > y ? 1 : 0;
        };
        BreakPoll bp;
        ASSERT_EQ(quicksort(a.data(), 0, n - 1, cmp, bp), 0);
        EXPECT_EQ(a, want) << n;
        // Three values: a few passes over the data, far from n log n.
        if (n == 50000) {
            EXPECT_LT(compares, 12 * n);
        }
    }
    // Sorted and reversed input, all equal, and two values.
    for (int kind = 0; kind < 4; ++kind) {
        std::vector<int> a(5000);
        for (int i = 0; i < 5000; ++i)
            a[i] = kind == 0 ? i : kind == 1 ? 5000 - i : kind == 2 ? 4 : i % 2;
        std::vector<int> want = a;
        std::sort(want.begin(), want.end());
        BreakPoll bp;
        ASSERT_EQ(quicksort(
                      a.data(), 0, 4999, [](int x, int y) { return x < y   ? -1
                                                                   : x > y ? 1
                                                                           : 0; }, bp),
                  0);
        EXPECT_EQ(a, want) << kind;
    }
}

TEST(SortQuick, ATotalOrderGivesTheOneResult) {
    // Keys with many ties, broken by the element's own number: the quicksort gives what a stable
    // sort of the numbers by key gives.
    uint64_t s = 11;
    const int n = 20000;
    std::vector<int> key(n);
    for (int &k : key)
        k = (int)(mix(s) % 10);
    std::vector<int32_t> a(n);
    std::iota(a.begin(), a.end(), 0);
    std::vector<int32_t> shuffled = a;
    for (int i = n - 1; i > 0; --i)
        std::swap(shuffled[i], shuffled[mix(s) % (i + 1)]);
    auto cmp = [&](int32_t x, int32_t y) {
        if (key[x] != key[y]) return key[x] < key[y] ? -1 : 1;
        return x < y ? -1 : x > y ? 1 : 0;
    };
    BreakPoll bp;
    ASSERT_EQ(quicksort(shuffled.data(), 0, n - 1, cmp, bp), 0);
    std::stable_sort(a.begin(), a.end(), [&](int32_t x, int32_t y) { return key[x] < key[y]; });
    EXPECT_EQ(shuffled, a);
}

TEST(SortRadix, KeepsTheOrderOfEqualKeys) {
    uint64_t s = 3;
    for (int n : {0, 1, 2, 7, 3000, 100000}) {
        // 1 << 20 in one counting pass at 100000 keys, byte by byte at 3000; all 64 bits.
        for (uint64_t spread : {1ull, 5ull, 1ull << 11, 1ull << 18, 1ull << 20, 1ull << 40, 0ull}) {
            const int bits = spread ? 64 - __builtin_clzll(spread) : 64;
            std::vector<uint64_t> k(n), kb(n);
            std::vector<int32_t> p(n), pb(n);
            for (int i = 0; i < n; ++i) {
                k[i] = spread ? mix(s) % spread : mix(s);
                p[i] = i;
            }
            std::vector<int32_t> want = p;
            std::stable_sort(want.begin(), want.end(), [&](int32_t x, int32_t y) { return k[x] < k[y]; });
            bool in_buffer = false;
            BreakPoll bp;
            ASSERT_EQ(radix_sort1(k.data(), p.data(), kb.data(), pb.data(), n, bits, &in_buffer, bp), 0);
            const std::vector<int32_t> &got = in_buffer ? pb : p;
            const std::vector<uint64_t> &gotk = in_buffer ? kb : k;
            EXPECT_EQ(got, want) << n << " " << spread;
            EXPECT_TRUE(std::is_sorted(gotk.begin(), gotk.end()));
        }
    }
}

TEST(SortPivots, DuplicatesArePassedOverAndTooFewFail) {
    // 3 threads, 9 samples: candidates at 2, 5 and on; equal neighbours are passed over.
    std::vector<int> smp = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    auto same = [&](int64_t x, int64_t y) { return smp[x] == smp[y]; };
    int64_t piv[4];
    ASSERT_TRUE(choose_pivots(3, 9, same, piv));
    EXPECT_EQ(piv[0], 3); // k*t + t/2 - 1 for k = 1
    EXPECT_EQ(piv[1], 6);
    smp = {1, 1, 1, 1, 1, 1, 1, 2, 3};
    ASSERT_TRUE(choose_pivots(3, 9, same, piv));
    EXPECT_EQ(piv[0], 3);
    EXPECT_EQ(piv[1], 7); // 6 equals the pivot before
    smp = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_FALSE(choose_pivots(3, 9, same, piv));
    // 2 threads: one pivot, at position 2 of 4.
    smp = {1, 2, 3, 4};
    ASSERT_TRUE(choose_pivots(2, 4, same, piv));
    EXPECT_EQ(piv[0], 2);
}

TEST(SortSmp, RegularSamplingKeepsTheOrderOfEqualKeysAtAnyTeam) {
    uint64_t s = 5;
    const int64_t n = 30000;
    for (int t : {2, 3, 4, 5, 8}) {
        // A short key comes out of its chunks in the buffers, a long one in the arrays.
        for (uint64_t spread : {2ull, 50ull, 1ull << 20, 0ull}) {
            const int bits = spread ? 64 - __builtin_clzll(spread) : 64;
            std::vector<uint64_t> k(n), kb(n);
            std::vector<int32_t> p(n), pb(n);
            for (int64_t i = 0; i < n; ++i) {
                k[i] = spread ? mix(s) % spread : mix(s);
                p[i] = (int32_t)i;
            }
            std::vector<int32_t> want = p;
            std::stable_sort(want.begin(), want.end(), [&](int32_t x, int32_t y) { return k[x] < k[y]; });
            const est::Team tm{t, n, (n + t - 1) / t, true};
            bool in_buffer = false;
            ASSERT_EQ(smpsort1(k.data(), p.data(), kb.data(), pb.data(), bits, tm, &in_buffer), 0);
            EXPECT_EQ(in_buffer ? pb : p, want) << t << " " << spread;
            EXPECT_TRUE(std::is_sorted(in_buffer ? kb.begin() : k.begin(), in_buffer ? kb.end() : k.end()));
        }
    }
}

TEST(SortBreak, TheEnginesStopWithPermutations) {
    uint64_t s = 9;
    const int64_t n = 200000;
    std::vector<uint64_t> k(n), kb(n);
    std::vector<int32_t> p(n), pb(n);
    for (int64_t i = 0; i < n; ++i) {
        k[i] = mix(s);
        p[i] = pb[i] = (int32_t)i;
    }
    auto perm = [](std::vector<int32_t> v) {
        std::sort(v.begin(), v.end());
        for (int32_t i = 0; i < (int32_t)v.size(); ++i)
            if (v[i] != i) return false;
        return true;
    };
    session::break_signal();
    bool in_buffer = false;
    BreakPoll bp;
    EXPECT_EQ(radix_sort1(k.data(), p.data(), kb.data(), pb.data(), n, 64, &in_buffer, bp), 1);
    EXPECT_TRUE(perm(p));
    EXPECT_TRUE(perm(pb));
    const est::Team tm{2, n, n / 2, true};
    EXPECT_EQ(smpsort1(k.data(), p.data(), kb.data(), pb.data(), 64, tm, &in_buffer), 1);
    EXPECT_TRUE(perm(p));
    std::vector<int32_t> a(n);
    std::iota(a.begin(), a.end(), 0);
    BreakPoll bq;
    EXPECT_EQ(
        quicksort(
            a.data(), 0, n - 1, [&](int32_t x, int32_t y) { return k[x] < k[y] ? -1 : k[x] > k[y]; }, bq),
        1);
    EXPECT_TRUE(perm(a));
    session::break_clear();
}

// ---- Whole sorts -----------------------------------------------------------------------------------

class Sorts : public SortFixture {
  protected:
    // n observations: g a byte of few values with missing values among them, x a double with ties,
    // f a float, s a str6 with ties and empty strings, h a long of whole numbers (keys of one counting
    // pass), w a double of whole numbers over a wide range, t a str20 and u a str12 of long common
    // beginnings, with bytes left behind their NUL by a longer value written first, l a str80 of
    // long values.
    void build(int n, uint64_t seed) {
        if (!ds.nvar) {
            add("g", T_BYTE);
            add("x", T_DOUBLE);
            add("f", T_FLOAT);
            add("s", 6);
            add("h", T_LONG);
            add("w", T_DOUBLE);
            add("t", 20);
            add("u", 12);
            add("l", 80);
        }
        ASSERT_EQ(set_obs(n), 0);
        uint64_t st = seed;
        static const char *words[] = {"", "a", "ab", "b", "\xe9t\xe9", "zz", "Zz"};
        for (int i = 1; i <= n; ++i) {
            const uint64_t r = mix(st);
            put_num(1, i, r % 7 == 0 ? missing_value((int)(r >> 8) % 3) : (double)(r % 5));
            put_num(2, i, (double)((r >> 16) % 40) / 4 - 3);
            put_num(3, i, (r >> 40) % 11 == 0 ? missing_value(1) : (double)((r >> 24) % 13) * 0.1);
            put_str(4, i, words[(r >> 32) % 7]);
            put_num(5, i, (double)((r >> 48) % 1000) - 500);
            put_num(6, i, (double)(int64_t)((r >> 12) % 3000) * 4398046511104.0 - 1e15);
            static const char *longs[] = {"",
                                          "abcdefg",
                                          "abcdefgh",
                                          "abcdefghi",
                                          "abcdefghZ",
                                          "abcdefghijklmnop",
                                          "abcdefghijklmnoq",
                                          "abcdefghijklmnopq",
                                          "abcdefghijklmnopqrst",
                                          "abcdefghijklmnopqrsu",
                                          "b"};
            put_str(7, i, "zzzzzzzzzzzzzzzzzzzz");
            put_str(7, i, longs[(r >> 20) % 11]);
            put_str(8, i, "yyyyyyyyyyyy");
            put_str(8, i, longs[(r >> 28) % 11]);
            // Values up to 80 bytes, most of them long: more pieces than the radix passes take.
            std::string lv(60 + (r >> 36) % 21, 'q');
            lv[lv.size() - 1 - (r >> 44) % 3] = (char)('a' + (r >> 50) % 3);
            put_str(9, i, lv.c_str());
        }
        cap->reset();
    }
    // The order promised: the shuffle of the generator from the current seed, then the keys, then
    // (stable) the position before it, then the position after it.
    std::vector<int32_t> expected(const std::vector<int> &vars, int32_t lo, int32_t hi, bool stable) {
        std::vector<int32_t> idx = rows();
        const int64_t n = hi - lo + 1;
        std::vector<int32_t> orig(n);
        std::iota(orig.begin(), orig.end(), 0);
        std::vector<int32_t> r(idx.begin() + (lo - 1), idx.begin() + hi);
        uint32_t x = (uint32_t)session::se.sortseed;
        for (int64_t k = 0; k < n; ++k) {
            const int64_t i = sortgen_draw(&x, lo, hi) - lo, j = sortgen_draw(&x, lo, hi) - lo;
            std::swap(r[i], r[j]);
            std::swap(orig[i], orig[j]);
        }
        std::vector<int32_t> pos(n);
        std::iota(pos.begin(), pos.end(), 0);
        std::stable_sort(pos.begin(), pos.end(), [&](int32_t a, int32_t b) {
            const char *ra = ds.database + (int64_t)r[a] * ds.width,
                       *rb = ds.database + (int64_t)r[b] * ds.width;
            for (int v : vars)
                if (int c = cell_cmp(ra + ds.offset[v - 1], rb + ds.offset[v - 1], ds.vartype[v - 1]))
                    return c < 0;
            return stable && orig[a] < orig[b];
        });
        for (int64_t i = 0; i < n; ++i)
            idx[lo - 1 + i] = r[pos[i]];
        return idx;
    }
    // Sorts by each engine and team from the same start; all must give the promised order.
    void check_all(const std::string &cmd, const std::vector<int> &vars, int32_t lo, int32_t hi,
                   bool stable) {
        const std::vector<int32_t> start = rows();
        const long long seed = session::se.sortseed;
        const std::vector<int32_t> want = expected(vars, lo, hi, stable);
        long long after = -1;
        for (int procs : {1, 2}) {
            if (procs > est::processors_max()) continue;
            ASSERT_EQ(est::set_processors(procs), 0);
            for (SortEngine e : {SE_AUTO, SE_COMPARE, SE_RADIX}) {
                std::copy(start.begin(), start.end(), ds.index);
                session::se.sortseed = seed;
                sort_engine = e;
                ASSERT_EQ(run(cmd_sort, cmd), 0) << cmd << ": " << msg();
                EXPECT_EQ(rows(), want) << cmd << " engine " << e << " processors " << procs;
                if (after < 0) after = session::se.sortseed;
                EXPECT_EQ(session::se.sortseed, after); // the generator moved on by the same draws
            }
        }
        sort_engine = SE_AUTO;
        est::set_processors(1);
    }
};

TEST_F(Sorts, EveryEngineAndTeamGivesThePromisedOrder) {
    for (int n : {150, 250, 600, 5000}) {
        build(n, 100 + n);
        check_all("x", {2}, 1, n, false);
        check_all("g", {1}, 1, n, false);
        check_all("g x", {1, 2}, 1, n, false);
        check_all("f g", {3, 1}, 1, n, false);
        check_all("s", {4}, 1, n, false);
        check_all("s g", {4, 1}, 1, n, false);
        check_all("h", {5}, 1, n, false);
        check_all("w h", {6, 5}, 1, n, false);
        check_all("h x, stable", {5, 2}, 1, n, true);
        check_all("t", {7}, 1, n, false);
        check_all("u t g", {8, 7, 1}, 1, n, false);
        check_all("t, stable", {7}, 1, n, true);
        check_all("l g", {9, 1}, 1, n, false);
        check_all("g, stable", {1}, 1, n, true);
        check_all("s, stable", {4}, 1, n, true);
        check_all("x in 11/-20", {2}, 11, n - 19, false);
        check_all("g s in 2/-1, stable", {1, 4}, 2, n, true);
    }
}

TEST_F(Sorts, TwoSeedsGiveTwoRepeatableOrders) {
    build(3000, 1);
    const std::vector<int32_t> start = rows();
    auto sorted_with = [&](long long seed) {
        std::copy(start.begin(), start.end(), ds.index);
        session::se.sortseed = seed;
        EXPECT_EQ(run(cmd_sort, "g"), 0);
        return rows();
    };
    const std::vector<int32_t> a = sorted_with(1001), b = sorted_with(4242);
    EXPECT_NE(a, b);
    EXPECT_EQ(sorted_with(1001), a);
    EXPECT_EQ(sorted_with(4242), b);
    // Each sort goes on from the state the last one left.
    std::copy(start.begin(), start.end(), ds.index);
    session::se.sortseed = 1001;
    EXPECT_EQ(run(cmd_sort, "g"), 0);
    EXPECT_NE(session::se.sortseed, 1001);
}

TEST_F(Sorts, PresortedDataCostOnePassAndKeepTheGenerator) {
    build(500, 2);
    ASSERT_EQ(run(cmd_sort, "x"), 0);
    EXPECT_EQ(sortlist(), "x");
    const long long seed = session::se.sortseed;
    std::vector<int32_t> sorted = rows();
    // Sorted: nothing moves and the generator does not move.
    ds.sortlist[0] = 0;
    ASSERT_EQ(run(cmd_sort, "x"), 0);
    EXPECT_EQ(rows(), sorted);
    EXPECT_EQ(session::se.sortseed, seed);
    EXPECT_EQ(sortlist(), "x"); // set when the data merely happen to be in order
    // Reversed: the range is reversed, ties included.
    std::reverse(ds.index, ds.index + ds.nobs);
    std::vector<int32_t> reversed = rows();
    ASSERT_EQ(run(cmd_sort, "x"), 0);
    std::reverse(reversed.begin(), reversed.end());
    EXPECT_EQ(rows(), reversed);
    EXPECT_EQ(session::se.sortseed, seed);
    // Stable on reversed data with ties is no reversal: equal keys keep their order.
    std::reverse(ds.index, ds.index + ds.nobs);
    const std::vector<int32_t> before = rows();
    ASSERT_EQ(run(cmd_sort, "x, stable"), 0);
    for (int i = 1; i < ds.nobs; ++i) {
        const double a = get_num(2, i), b = get_num(2, i + 1);
        ASSERT_LE(a, b);
        if (a == b) {
            const auto pa = std::find(before.begin(), before.end(), ds.index[i - 1]);
            const auto pb = std::find(before.begin(), before.end(), ds.index[i]);
            ASSERT_LT(pa, pb);
        }
    }
}

TEST_F(Sorts, TheSortListIsSetKeptAndCleared) {
    build(300, 3);
    ASSERT_EQ(run(cmd_sort, "g x g"), 0);
    EXPECT_EQ(sortlist(), "g x"); // a repeat once
    ASSERT_EQ(run(cmd_sort, "x in 1/100"), 0);
    EXPECT_EQ(sortlist(), ""); // a range leaves the dataset unsorted
    ASSERT_EQ(run(cmd_sort, "g x"), 0);
    EXPECT_EQ(sortlist(), "g x");
    ASSERT_EQ(run(cmd_sort, "g x in 1/10"), 0); // in order already, and still a range
    EXPECT_EQ(sortlist(), "");
    ASSERT_EQ(run(cmd_sort, "s"), 0);
    EXPECT_EQ(sortlist(), "s");
    ASSERT_EQ(run(cmd_sort, "s"), 0);
    EXPECT_EQ(sortlist(), "s");
    ASSERT_EQ(run(cmd_sort, "x in 1/-1"), 0); // the whole dataset, though written as a range
    EXPECT_EQ(sortlist(), "x");
}

TEST_F(Sorts, MissingValuesLastInTheirOrder) {
    add("m", T_DOUBLE);
    ASSERT_EQ(set_obs(8), 0);
    const double vals[8] = {
        missing_value(1), 2, missing_value(0), -1, missing_value(26), missing_value(0), 0, 5};
    for (int i = 1; i <= 8; ++i)
        put_num(1, i, vals[i - 1]);
    ASSERT_EQ(run(cmd_sort, "m"), 0);
    const double want[8] = {
        -1, 0, 2, 5, missing_value(0), missing_value(0), missing_value(1), missing_value(26)};
    for (int i = 1; i <= 8; ++i)
        EXPECT_EQ(dbits(get_num(1, i)), dbits(want[i - 1])) << i;
}

TEST_F(Sorts, BreakLeavesAPermutationAndNoSortList) {
    build(200000, 4);
    ASSERT_EQ(run(cmd_sort, "g"), 0);
    ASSERT_EQ(sortlist(), "g");
    for (int procs : {1, 2}) {
        if (procs > est::processors_max()) continue;
        est::set_processors(procs);
        for (const char *cmd : {"x", "s", "x, stable"}) {
            ds.sortlist[0] = 1;
            ds.sortlist[1] = 0;
            session::break_signal();
            EXPECT_EQ(run(cmd_sort, cmd), 1) << cmd;
            session::break_clear();
            EXPECT_TRUE(is_permutation_of_rows()) << cmd;
            EXPECT_EQ(sortlist(), "") << cmd;
            EXPECT_EQ(est::fr.processorsNow, est::fr.processors);
        }
    }
}

TEST_F(Sorts, TheCommandsRefusals) {
    build(20, 5);
    add("p", T_LONG);
    const std::vector<int32_t> start = rows();
    EXPECT_EQ(run(cmd_sort, "x if g > 1"), 101);
    EXPECT_EQ(msg(), "if not allowed\n");
    EXPECT_EQ(run(cmd_sort, ""), 100);
    EXPECT_EQ(msg(), "varlist required\n");
    EXPECT_EQ(run(cmd_sort, "x, index(p) stable"), 198);
    EXPECT_EQ(msg(), "index() may not be combined with stable\n");
    EXPECT_EQ(run(cmd_sort, "x in 1/5, index(p)"), 198);
    EXPECT_EQ(msg(), "index() may not be combined with in\n");
    EXPECT_EQ(run(cmd_sort, "x, index(x)"), 109);
    EXPECT_EQ(msg(), "x not long\n");
    EXPECT_EQ(run(cmd_sort, "x, nosuch"), 198);
    EXPECT_EQ(rows(), start);
}

TEST_F(Sorts, StableNeedsASlotForItsKey) {
    ASSERT_EQ(data_init(1 << 20, 3, 400), 0);
    add("a", T_BYTE);
    add("b", T_BYTE);
    ASSERT_EQ(set_obs(3), 0);
    EXPECT_EQ(run(cmd_sort, "a b, stable"), 0); // 2 keys and the scratch key: 3
    EXPECT_EQ(run(cmd_sort, "a b a, stable"), 103);
    EXPECT_EQ(msg(), "too many variables specified\n");
    EXPECT_EQ(run(cmd_sort, "a b a"), 0);
}

TEST_F(Sorts, AnIndexVariableOrdersByFollowingCycles) {
    add("v", T_DOUBLE);
    add("p", T_LONG);
    ASSERT_EQ(set_obs(6), 0);
    const int perm[6] = {4, 1, 6, 2, 3, 5};
    for (int i = 1; i <= 6; ++i) {
        put_num(1, i, 10 * i);
        put_num(2, i, perm[i - 1]);
    }
    ds.sortlist[0] = 2;
    ds.sortlist[1] = 0;
    const std::vector<int32_t> start = rows();
    // Not a permutation: a repeat, a value out of range, a missing value. Nothing moves.
    for (double bad : {4.0, 0.0, 7.0, missing_value(0)}) {
        put_num(2, 3, bad);
        EXPECT_EQ(run(cmd_sort, "v, index(p)"), 1);
        EXPECT_EQ(msg(), "variable p does not hold a permutation of 1 to 6\n");
        EXPECT_EQ(rows(), start);
        EXPECT_EQ(sortlist(), "p");
    }
    put_num(2, 3, 6);
    ASSERT_EQ(run(cmd_sort, "v, index(p)"), 0);
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(get_num(2, i), i);
    // The same order as sorting by the variable.
    const double want[6] = {20, 40, 50, 10, 60, 30};
    for (int i = 1; i <= 6; ++i)
        EXPECT_EQ(get_num(1, i), want[i - 1]);
    EXPECT_EQ(sortlist(), "v");
    // In order already: nothing moves.
    const std::vector<int32_t> sorted = rows();
    const int32_t changed = ds.changed;
    ASSERT_EQ(run(cmd_sort, "v, index(p)"), 0);
    EXPECT_EQ(rows(), sorted);
    EXPECT_EQ(ds.changed, changed);
}

TEST_F(Sorts, BelowVersion7TheSortIsSerial) {
    if (est::processors_max() < 2) GTEST_SKIP();
    build(5000, 6);
    est::set_processors(2);
    session::lp.version = 600;
    est::fr.teamSize = 0;
    ASSERT_EQ(run(cmd_sort, "x"), 0);
    EXPECT_EQ(est::fr.teamSize, 1);
    session::lp.version = 1010;
    std::reverse(ds.index, ds.index + 2000);
    ASSERT_EQ(run(cmd_sort, "g"), 0);
    EXPECT_EQ(est::fr.teamSize, 2);
    std::reverse(ds.index, ds.index + 2000);
    ASSERT_EQ(run(cmd_sort, "x, noparallel"), 0);
    EXPECT_EQ(est::fr.teamSize, 1);
}

} // namespace
