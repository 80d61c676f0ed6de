// The parallel frame: the team rule with its worked examples, the granularity table, set processors,
// blocks and combination in thread order, Break, narrowing and restoring the team, and the
// observation-list builders giving the same lists with one and two threads.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "data/dataset.h"
#include "estimate/frame.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"

using namespace est;

namespace {

void expect_team(const Team &t, int size, int64_t B, bool parallel) {
    EXPECT_EQ(t.size, size);
    EXPECT_EQ(t.B, B);
    EXPECT_EQ(t.parallel, parallel);
}

TEST(TeamRule, WorkedExamples) {
    // 4 processors, D 100: 500 items make a 4, b 22: a team of 4 and B 125.
    expect_team(team_rule(500, 100, 4, true), 4, 125, true);
    // 300 items: a 2, b 17: a team of 2 and B 150.
    expect_team(team_rule(300, 100, 4, true), 2, 150, true);
    // 200 items: a 1: serial.
    expect_team(team_rule(200, 100, 4, true), 1, 200, false);
    // 2 processors, 30 items, D 20: no narrowing, B 15 is below 21: serial.
    expect_team(team_rule(30, 20, 2, false), 2, 15, false);
    // 4 processors, 1000 items, D 100: a 9, b 31, team 4, B 250.
    expect_team(team_rule(1000, 100, 4, true), 4, 250, true);
    // 8 processors, 101 items, D 100: a 1.
    expect_team(team_rule(101, 100, 8, true), 1, 101, false);
}

TEST(TeamRule, Boundaries) {
    // B must be at least D+1: 42 items on 2 threads give B 21 (D 20), 40 give 20.
    expect_team(team_rule(42, 20, 2, false), 2, 21, true);
    expect_team(team_rule(40, 20, 2, false), 2, 20, false);
    // B must exceed the team: with D 5 and 8 threads, 72 items give B 9 (parallel), 64 give 8 (not).
    EXPECT_TRUE(team_rule(72, 5, 8, false).parallel);
    EXPECT_FALSE(team_rule(64, 5, 8, false).parallel);
    // The square-root bound: 10 items, D 1, 8 processors: b is ceil(sqrt 10) - 1 = 3.
    EXPECT_EQ(team_rule(10, 1, 8, true).size, 3);
    // One processor is always serial; no items is never parallel.
    EXPECT_FALSE(team_rule(1000000, 20, 1, false).parallel);
    EXPECT_FALSE(team_rule(0, 20, 2, false).parallel);
}

TEST(Granularity, ByKernelName) {
    EXPECT_EQ(granularity("mlsum_smp"), 20);
    EXPECT_EQ(granularity("brwrk_smp"), 20);
    EXPECT_EQ(granularity("gen_wrk_smp"), 100);
    EXPECT_EQ(granularity("dpcalc_xx_obs"), 100);
    EXPECT_EQ(granularity("dpcalc_xwz2_col"), 5);
    EXPECT_EQ(granularity("assign_obs_smp"), 50);
    EXPECT_EQ(granularity("kde2_smp"), 10);
    EXPECT_EQ(granularity("sweep_smp"), 10);
    EXPECT_EQ(granularity("jdo2"), 5);
    EXPECT_EQ(granularity("buildobslist_smp"), 20);
    EXPECT_EQ(granularity("xtllcalc_u_smp"), 100);
    EXPECT_EQ(granularity("some_new_smp"), 100);
}

TEST(Blocks, ByThreadNumber) {
    int64_t lo, hi;
    block_of(0, 10, 4, &lo, &hi);
    EXPECT_EQ(lo, 0);
    EXPECT_EQ(hi, 4);
    block_of(2, 10, 4, &lo, &hi);
    EXPECT_EQ(lo, 8);
    EXPECT_EQ(hi, 10);
    block_of(3, 10, 4, &lo, &hi);
    EXPECT_EQ(lo, 10);
    EXPECT_EQ(hi, 10);
}

class Frames : public ::testing::Test {
  protected:
    void SetUp() override {
        session::break_clear();
        processors_init(1);
    }
    void TearDown() override {
        session::break_clear();
        processors_init(1);
    }
};

TEST_F(Frames, SetProcessorsRange) {
    MsgCapture c;
    EXPECT_EQ(set_processors(1), 0);
    EXPECT_EQ(c.text(), ""); // the notes are the set command's
    c.reset();
    EXPECT_EQ(set_processors(0), 125);
    EXPECT_EQ(c.text(), "invalid number, outside of allowed range\n");
    c.reset();
    EXPECT_EQ(set_processors(processors_max() + 1), 125);
    if (processors_max() >= 2) {
        c.reset();
        EXPECT_EQ(set_processors(2), 0);
        EXPECT_EQ(fr.processors, 2);
        EXPECT_EQ(fr.processorsNow, 2);
        EXPECT_FALSE(fr.adaptiveTeams);
    }
    processors_init(processors_max() + 5); // out of range at start-up: 1
    EXPECT_EQ(fr.processors, 1);
}

TEST_F(Frames, CombinationFollowsThreadOrder) {
    fr.processors = fr.processorsNow = 2;
    const Team tm = team_rule(1000, 20, 2, false);
    ASSERT_TRUE(tm.parallel);
    ThreadStore st;
    ASSERT_EQ(st.alloc(tm.size, sizeof(int64_t) * 2), 0);
    std::vector<int> seen(1000, 0);
    ASSERT_EQ(run_region(tm,
                         [&](int t, int64_t lo, int64_t hi) {
                             int64_t *s = st.at<int64_t>(t);
                             s[0] = lo;
                             s[1] = hi;
                             for (int64_t j = lo; j < hi; ++j)
                                 ++seen[j];
                         }),
              0);
    // Every item once, and the blocks in thread order tile the range.
    for (int k = 0; k < 1000; ++k)
        ASSERT_EQ(seen[k], 1) << k;
    int64_t end = 0;
    for (int t = 0; t < tm.size; ++t) {
        EXPECT_EQ(st.at<int64_t>(t)[0], end);
        end = st.at<int64_t>(t)[1];
    }
    EXPECT_EQ(end, 1000);
}

// A sum whose association depends on the team: per-thread partial sums combined from thread 0 up.
double sum_smp(const std::vector<double> &x, int processors) {
    fr.processors = fr.processorsNow = processors;
    const Team tm = team_rule((int64_t)x.size(), 20, processors, processors > 2);
    if (!tm.parallel) {
        double s = 0;
        for (double v : x)
            s += v;
        return s;
    }
    ThreadStore st;
    EXPECT_EQ(st.alloc(tm.size, sizeof(double)), 0);
    run_region(tm, [&](int t, int64_t lo, int64_t hi) {
        double s = 0;
        for (int64_t j = lo; j < hi; ++j)
            s += x[j];
        *st.at<double>(t) = s;
    });
    double s = 0;
    for (int t = 0; t < tm.size; ++t)
        s += *st.at<double>(t);
    return s;
}

TEST_F(Frames, SameTeamSameBitsAndTeamsAgreeWithinRounding) {
    std::vector<double> x(100000);
    for (size_t k = 0; k < x.size(); ++k)
        x[k] = 1.0 / (double)(k + 1) * ((k % 3) ? 1 : -0.7);
    const double a = sum_smp(x, 2), b = sum_smp(x, 2), serial = sum_smp(x, 1);
    EXPECT_EQ(data::dbits(a), data::dbits(b));
    EXPECT_NEAR(a, serial, 1e-12 * std::fabs(serial));
}

TEST_F(Frames, BreakStopsTheRegionAndTheTeamIsRestored) {
    // A team narrower than processors lowers the runtime's count for the region only.
    fr.processors = fr.processorsNow = 4;
    const Team tm = team_rule(100000, 20, 2, false);
    ASSERT_TRUE(tm.parallel);
    int64_t done = 0;
    int rc = run_region(tm, [&](int, int64_t lo, int64_t hi) {
        EXPECT_EQ(fr.processorsNow, 2);
        for (int64_t j = lo; j < hi; ++j) {
            if (break_pending()) break;
            if (j == lo + 10) __atomic_store_n(&session::lp.PendingBreak, 1, __ATOMIC_RELAXED);
#pragma omp atomic
            ++done;
        }
    });
    EXPECT_EQ(rc, 1);
    EXPECT_LT(done, 100000);
    EXPECT_EQ(fr.processorsNow, 4);
    EXPECT_EQ(fr.teamSize, 2);
}

// ---- Observation lists over the dataset --------------------------------------------------------------

class ObsLists : public Frames {
  protected:
    int mark = 0;
    void SetUp() override {
        Frames::SetUp();
        ASSERT_TRUE(session::compute_limits());
        ASSERT_EQ(data::data_init(16 << 20, 5000, 400), 0);
        MsgCapture c;
        ASSERT_EQ(data::add_var("m", data::T_BYTE, &mark), 0);
        ASSERT_EQ(data::add_var("w", data::T_DOUBLE, nullptr), 0);
        ASSERT_EQ(data::set_obs(50000), 0);
        for (int i = 1; i <= 50000; ++i) {
            // A pattern with runs and gaps, and missing values, which do not pass.
            const double m = (i % 7 == 0 || (i / 100) % 3 == 1) ? 1 : (i % 11 == 0 ? session::lim.dot : 0);
            data::put_num(1, i, m);
            data::put_num(2, i, 0.1 * (i % 13));
        }
    }
    static double weight(const void *, int32_t obs) { return data::get_num(2, obs); }
};

TEST_F(ObsLists, SerialAndParallelGiveTheSameList) {
    est::ObsList serial, one, two;
    ASSERT_EQ(buildobslist(1, 50000, obstest_marker, &mark, serial), 0);
    ASSERT_FALSE(serial.empty());
    for (size_t k = 1; k < serial.size(); ++k)
        ASSERT_LT(serial[k - 1], serial[k]);
    processors_init(1);
    ASSERT_EQ(buildobslist_smp(1, 50000, obstest_marker, &mark, one), 0);
    EXPECT_EQ(one, serial);
    fr.processors = fr.processorsNow = 2; // the frame's rule, whatever the machine has
    ASSERT_TRUE(choose_team(50000, D_OBSLIST).parallel);
    ASSERT_EQ(buildobslist_smp(1, 50000, obstest_marker, &mark, two), 0);
    EXPECT_EQ(two, serial);
    // A candidate range inside the data, and one too short for blocks of 21.
    est::ObsList a, b;
    ASSERT_EQ(buildobslist(17, 40001, obstest_marker, &mark, a), 0);
    ASSERT_EQ(buildobslist_smp(17, 40001, obstest_marker, &mark, b), 0);
    EXPECT_EQ(a, b);
    ASSERT_EQ(buildobslist(90, 130, obstest_marker, &mark, a), 0);
    ASSERT_EQ(buildobslist_smp(90, 130, obstest_marker, &mark, b), 0);
    EXPECT_EQ(a, b);
}

// A test that is not safe for threads (it counts its calls) runs on the main thread only.
int calls = 0;
bool counting_test(const void *ctx, int32_t obs) {
    ++calls;
    return obstest_marker(ctx, obs);
}

TEST_F(ObsLists, AnUnsafeTestStaysSerial) {
    est::ObsList serial, list;
    ASSERT_EQ(buildobslist(1, 50000, obstest_marker, &mark, serial), 0);
    fr.processors = fr.processorsNow = 2;
    calls = 0;
    ASSERT_EQ(buildobslist_smp(1, 50000, counting_test, &mark, list, false), 0);
    EXPECT_EQ(fr.teamSize, 1);
    EXPECT_EQ(calls, 50000);
    EXPECT_EQ(list, serial);
    ASSERT_EQ(buildobslist_smp(1, 50000, obstest_marker, &mark, list), 0);
    EXPECT_EQ(fr.teamSize, 2);
}

TEST_F(ObsLists, WeightedListsSumInThreadOrder) {
    est::ObsList serial, two;
    double ws = 0, w2 = 0, w2b = 0;
    ASSERT_EQ(buildobslistwithwgt(1, 50000, obstest_marker, weight, &mark, serial, &ws), 0);
    fr.processors = fr.processorsNow = 2;
    ASSERT_EQ(buildobslistwithwgt_smp(1, 50000, obstest_marker, weight, &mark, two, &w2), 0);
    ASSERT_EQ(buildobslistwithwgt_smp(1, 50000, obstest_marker, weight, &mark, two, &w2b), 0);
    EXPECT_EQ(two, serial);
    EXPECT_EQ(data::dbits(w2), data::dbits(w2b));
    EXPECT_NEAR(w2, ws, 1e-9 * ws);
}

TEST_F(ObsLists, BreakEmptiesTheListAndReturnsOne) {
    est::ObsList list;
    session::break_signal();
    fr.processors = fr.processorsNow = 2;
    EXPECT_EQ(buildobslist_smp(1, 50000, obstest_marker, &mark, list), 1);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(fr.processorsNow, 2);
    EXPECT_EQ(buildobslist(1, 50000, obstest_marker, &mark, list), 1);
}

} // namespace
