// The pure routines of the summarize kernels: the percentile rule with and without weights, the
// interpolating definition, selection of ranks against a full sort, and the join of moments against
// the moments of the whole.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "data/summarize_smp.h"

using namespace data;

namespace {

std::vector<double> pct(std::vector<double> x, std::vector<double> w, std::vector<double> ps,
                        bool alt = false) {
    std::vector<double> out;
    percentiles(x, w, ps, alt, out);
    return out;
}

TEST(SummarizePercentiles, OddAndEvenCounts) {
    EXPECT_EQ(pct({5, 3, 1, 4, 2}, {}, {1, 10, 25, 50, 75, 90, 99}),
              (std::vector<double>{1, 1, 2, 3, 4, 5, 5}));
    EXPECT_EQ(pct({10, 9, 8, 7, 6, 5, 4, 3, 2, 1}, {}, {1, 5, 10, 25, 50, 75, 90, 95, 99}),
              (std::vector<double>{1, 1, 1.5, 3, 5.5, 8, 9.5, 10, 10}));
    EXPECT_EQ(pct({7}, {}, {0, 50, 100}), (std::vector<double>{7, 7, 7}));
}

TEST(SummarizePercentiles, QuantilesOfThirdsMeetTheirBoundaries) {
    // 100/3 percent of 3 values is a boundary: the first and second values are averaged
    EXPECT_EQ(pct({3, 1, 2}, {}, {100.0 / 3, 200.0 / 3}), (std::vector<double>{1.5, 2.5}));
}

TEST(SummarizePercentiles, FrequencyWeightsAreTheExpandedData) {
    const std::vector<double> ps = {1, 10, 25, 33, 50, 75, 90, 99};
    EXPECT_EQ(pct({4, 1, 3, 2}, {4, 1, 3, 2}, ps), pct({1, 2, 2, 3, 3, 3, 4, 4, 4, 4}, {}, ps));
}

TEST(SummarizePercentiles, Altdef) {
    // positions (n+1)p/100 of 1..10: 2.75, 8.25; below the first and beyond the last
    EXPECT_EQ(pct({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {}, {25, 75, 5, 95}, true),
              (std::vector<double>{2.75, 8.25, 1, 10}));
}

TEST(SummarizeSelect, RanksAgainstSort) {
    std::vector<double> x;
    for (int i = 0; i < 5000; ++i)
        x.push_back(std::fmod(i * 7919.0, 1009.0) - 500);
    std::vector<double> s = x;
    std::sort(s.begin(), s.end());
    const std::vector<int64_t> ranks = {4999, 0, 1, 2, 3, 2500, 2499, 4996, 4997, 4998, 1250, 1250};
    std::vector<double> out;
    select_ranks(x, ranks, out);
    for (size_t k = 0; k < ranks.size(); ++k)
        EXPECT_EQ(out[k], s[(size_t)ranks[k]]) << k;
}

TEST(SummarizeSelect, Extremes) {
    double lo[4] = {0, 0, 0, 0}, hi[4] = {0, 0, 0, 0};
    extremes4({5, 1, 9, 1, 7, 3, 8, 2}, lo, hi);
    EXPECT_EQ(std::vector<double>(lo, lo + 4), (std::vector<double>{1, 1, 2, 3}));
    EXPECT_EQ(std::vector<double>(hi, hi + 4), (std::vector<double>{9, 8, 7, 5}));
    double l2[4] = {-1, -1, -1, -1}, h2[4] = {-1, -1, -1, -1};
    extremes4({4, 2}, l2, h2);
    EXPECT_EQ(std::vector<double>(l2, l2 + 4), (std::vector<double>{2, 4, -1, -1}));
    EXPECT_EQ(std::vector<double>(h2, h2 + 4), (std::vector<double>{4, 2, -1, -1}));
}

Moments direct(const std::vector<double> &x) {
    Moments m;
    m.n = m.w = (double)x.size();
    for (double v : x)
        m.sum += v;
    m.mean = m.sum / m.n;
    for (double v : x)
        m.m2 += (v - m.mean) * (v - m.mean);
    m.min = *std::min_element(x.begin(), x.end());
    m.max = *std::max_element(x.begin(), x.end());
    return m;
}

TEST(SummarizeMoments, JoinEqualsWhole) {
    const std::vector<double> a = {1, 2, 3, 4}, b = {10, 20, 5};
    std::vector<double> ab = a;
    ab.insert(ab.end(), b.begin(), b.end());
    const Moments j = moments_join(direct(a), direct(b)), d = direct(ab);
    EXPECT_EQ(j.n, 7);
    EXPECT_NEAR(j.mean, d.mean, 1e-14);
    EXPECT_NEAR(j.m2, d.m2, 1e-12);
    EXPECT_EQ(j.min, 1);
    EXPECT_EQ(j.max, 20);
    EXPECT_EQ(moments_join(Moments{}, direct(a)).m2, direct(a).m2);
}

TEST(SummarizeMoments, HigherMoments) {
    double m3 = 0, m4 = 0;
    sum_higher({1, 2, 3, 10}, {}, 4, &m3, &m4);
    EXPECT_EQ(m3, -27 - 8 - 1 + 216);
    EXPECT_EQ(m4, 81 + 16 + 1 + 1296);
    sum_higher({1, 3}, {2, 1}, 2, &m3, &m4);
    EXPECT_EQ(m3, -2 + 1);
    EXPECT_EQ(m4, 2 + 1);
}

} // namespace
