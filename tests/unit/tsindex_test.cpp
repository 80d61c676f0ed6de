// tsindex: the look-up of lags on the time grid, against positions worked by hand, and the rule of
// the operators over it.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "data/tsindex.h"

using namespace data;

namespace {

constexpr double DOT = 8.98846567431158e307; // any value at or above it counts as missing here

double miss() { return INFINITY; }

TEST(TsIndex, OneSeriesWithAGapInShuffledOrder) {
    // times 4 1 2 6 5: no time 3
    const std::vector<double> t = {4, 1, 2, 6, 5};
    TsIndex ix;
    ASSERT_EQ(ts_index_build(t.data(), nullptr, 5, 1, ix), TSB_OK);
    EXPECT_FALSE(ix.sorted);
    ASSERT_EQ(ix.panels.size(), 1u);
    EXPECT_EQ(ix.panels[0].span, 6);
    // lag 1 of time 2 (observation 2) is time 1 (observation 1); of time 4 (obs 0) nothing
    EXPECT_EQ(ts_find(ix, 2, 1), 1);
    EXPECT_EQ(ts_find(ix, 0, 1), -1);
    EXPECT_EQ(ts_find(ix, 0, 2), 2);
    EXPECT_EQ(ts_find(ix, 3, 1), 4);
    // leads are negative lags; beyond the ends nothing
    EXPECT_EQ(ts_find(ix, 1, -1), 2);
    EXPECT_EQ(ts_find(ix, 3, -1), -1);
    EXPECT_EQ(ts_find(ix, 1, 1), -1);
    EXPECT_EQ(ts_find(ix, 1, 0), 1);
}

TEST(TsIndex, PanelsAndMissingTimes) {
    const std::vector<double> p = {1, 2, 1, 2, 1, miss()};
    const std::vector<double> t = {1, 1, 2, 2, miss(), 2};
    TsIndex ix;
    int32_t bad = -1;
    ASSERT_EQ(ts_index_build(t.data(), p.data(), 6, 1, ix, &bad), TSB_OK);
    EXPECT_TRUE(ix.sorted == false);
    ASSERT_EQ(ix.panels.size(), 2u);
    EXPECT_EQ(ts_find(ix, 2, 1), 0);  // panel 1, time 2 -> time 1
    EXPECT_EQ(ts_find(ix, 3, 1), 1);  // panel 2
    EXPECT_EQ(ts_find(ix, 1, 1), -1); // never into the other panel
    EXPECT_EQ(ts_find(ix, 4, 0), -1); // missing time: outside
    EXPECT_EQ(ts_find(ix, 5, 0), -1); // missing panel: outside
    EXPECT_EQ(ix.pos[4], -1);
}

TEST(TsIndex, RepeatsAndBadTimesAreFound) {
    TsIndex ix;
    int32_t bad = -1;
    const std::vector<double> t = {1, 2, 2};
    EXPECT_EQ(ts_index_build(t.data(), nullptr, 3, 1, ix, &bad), TSB_REPEAT);
    const std::vector<double> p = {1, 2, 2};
    EXPECT_EQ(ts_index_build(t.data(), p.data(), 3, 1, ix, &bad), TSB_REPEAT_PANEL);
    EXPECT_EQ(bad, 2);
    const std::vector<double> p2 = {1, 1, 2};
    EXPECT_EQ(ts_index_build(t.data(), p2.data(), 3, 1, ix), TSB_OK);
    const std::vector<double> f = {1, 2.5};
    EXPECT_EQ(ts_index_build(f.data(), nullptr, 2, 1, ix), TSB_NONINT);
    const std::vector<double> g = {1, 3, 4};
    EXPECT_EQ(ts_index_build(g.data(), nullptr, 3, 2, ix), TSB_OFFGRID);
}

TEST(TsIndex, DeltaSpacesTheGrid) {
    const std::vector<double> t = {10, 20, 40};
    TsIndex ix;
    ASSERT_EQ(ts_index_build(t.data(), nullptr, 3, 10, ix), TSB_OK);
    EXPECT_TRUE(ix.sorted);
    EXPECT_EQ(ts_find(ix, 1, 1), 0);
    EXPECT_EQ(ts_find(ix, 2, 1), -1);
    EXPECT_EQ(ts_find(ix, 2, 2), 1);
}

TEST(TsIndex, WideSpansAreSearched) {
    // two observations a million steps apart in one panel, and a dense panel beside it: the tables
    // would hold far more cells than observations, so the wide panel is searched
    const std::vector<double> p = {1, 1, 2, 2, 2};
    const std::vector<double> t = {0, 1000000, 5, 6, 7};
    TsIndex ix;
    ASSERT_EQ(ts_index_build(t.data(), p.data(), 5, 1, ix), TSB_OK);
    EXPECT_LT(ix.cells.size(), 100u);
    EXPECT_EQ(ix.panels[0].cells, -1);
    EXPECT_EQ(ts_find(ix, 1, 1000000), 0);
    EXPECT_EQ(ts_find(ix, 1, 1), -1);
    EXPECT_EQ(ts_find(ix, 4, 2), 2);
    EXPECT_EQ(ts_find(ix, 3, -1), 4);
}

TEST(TsIndex, TheRuleOfTheOperators) {
    // x = t^2 at t = 1..6 but no t = 4
    const std::vector<double> t = {1, 2, 3, 5, 6};
    const std::vector<double> x = {1, 4, 9, 25, 36};
    TsIndex ix;
    ASSERT_EQ(ts_index_build(t.data(), nullptr, 5, 1, ix), TSB_OK);
    auto get = [&](int32_t j) { return x[(size_t)j]; };
    auto val = [&](TsOp op, int32_t o) { return ts_apply(ix, op, o, DOT, get); };
    TsOp L{1, 0, 0, {}}, D{0, 1, 0, {}}, D2{0, 2, 0, {}}, S2{0, 0, 1, {2}}, LD{1, 1, 0, {}}, F{-1, 0, 0, {}};
    EXPECT_EQ(val(L, 2), 4);
    EXPECT_EQ(val(L, 3), DOT); // t = 5: no t = 4
    EXPECT_EQ(val(F, 1), 9);
    EXPECT_EQ(val(D, 2), 5);
    EXPECT_EQ(val(D, 4), 11);
    EXPECT_EQ(val(D2, 2), 2);   // (9-4) - (4-1)
    EXPECT_EQ(val(D2, 4), DOT); // needs t = 4
    EXPECT_EQ(val(S2, 2), 8);
    EXPECT_EQ(val(S2, 3), 16);  // 25 - 9
    EXPECT_EQ(val(S2, 4), DOT); // needs t = 4
    EXPECT_EQ(val(LD, 2), 3);   // D at t = 2
    EXPECT_EQ(val(LD, 4), DOT); // D at t = 5 needs t = 4
    // a seasonal lag longer than the panel's grid meets only missing values
    TsOp S9{0, 0, 1, {9}};
    EXPECT_EQ(val(S9, 4), DOT);
}

} // namespace
