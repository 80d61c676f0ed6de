// The buildraw kernels against sums written out by hand: raw and deviations forms, every weight
// type and the aweight scale, the extremes and zero counts, the serial twin against the parallel
// kernel, the means, the product with a matrix, a subset of the variables, and compensated sums.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "data/dataset.h"
#include "estimate/buildraw.h"
#include "estimate/frame.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"

using namespace est;

namespace {

constexpr int N = 3000;

class BuildRaw : public ::testing::Test {
  protected:
    int m = 0, w = 0, x1 = 0, x2 = 0, x3 = 0;
    void SetUp() override {
        ASSERT_TRUE(session::compute_limits());
        ASSERT_EQ(data::data_init(16 << 20, 5000, 400), 0);
        MsgCapture c;
        ASSERT_EQ(data::add_var("m", data::T_BYTE, &m), 0);
        ASSERT_EQ(data::add_var("w", data::T_DOUBLE, &w), 0);
        ASSERT_EQ(data::add_var("x1", data::T_DOUBLE, &x1), 0);
        ASSERT_EQ(data::add_var("x2", data::T_FLOAT, &x2), 0);
        ASSERT_EQ(data::add_var("x3", data::T_INT, &x3), 0);
        ASSERT_EQ(data::set_obs(N), 0);
        for (int i = 1; i <= N; ++i) {
            data::put_num(m, i, i % 5 == 0 ? 0 : (i % 3 == 0 ? 3 : 1));
            data::put_num(w, i, 0.5 + (i % 4));
            data::put_num(x1, i, 1000 + std::sin(i) * 3);
            data::put_num(x2, i, (float)(i % 7) / 4);
            data::put_num(x3, i, (i % 6) == 0 ? 1 : 0); // a sparse dummy
        }
        fr.processors = fr.processorsNow = 1;
    }
    void TearDown() override { fr.processors = fr.processorsNow = 1; }
    RawSpec spec(int wt) {
        RawSpec s;
        s.vars = {x1, x2, x3};
        s.marker = m;
        s.weightType = wt;
        s.weightVar = w;
        return s;
    }
    ObsList list(const RawSpec &s) {
        ObsList l;
        double sw = 0;
        EXPECT_EQ(raw_obslist(s, 1, N, l, &sw), 0);
        return l;
    }
    // The array written out by hand, in long double.
    std::vector<double> by_hand(const RawSpec &s, bool dev, double *nobs) {
        const int k = s.k();
        long double W = 0, n = 0;
        std::vector<long double> sum((size_t)k + 1, 0);
        for (int i = 1; i <= N; ++i) {
            if (data::get_num(m, i) == 0) continue;
            const long double wi = s.weightType ? data::get_num(w, i) : 1;
            W += wi;
            n += 1;
            for (int j = 1; j <= k; ++j)
                sum[(size_t)j] += wi * data::get_num(s.vars[(size_t)j - 1], i);
        }
        const long double scale = s.weightType == RW_A ? n / W : 1;
        std::vector<long double> mean((size_t)k + 1, 0);
        for (int j = 1; j <= k; ++j)
            mean[(size_t)j] = sum[(size_t)j] / W;
        std::vector<long double> a((size_t)(k + 1) * (size_t)(k + 1), 0);
        for (int i = 1; i <= N; ++i) {
            if (data::get_num(m, i) == 0) continue;
            const long double wi = (s.weightType ? data::get_num(w, i) : 1) * scale;
            std::vector<long double> x((size_t)k + 1, 1);
            for (int j = 1; j <= k; ++j)
                x[(size_t)j] = data::get_num(s.vars[(size_t)j - 1], i) - (dev ? mean[(size_t)j] : 0);
            for (int r = 0; r <= k; ++r)
                for (int c = 0; c <= k; ++c)
                    a[(size_t)r * (size_t)(k + 1) + (size_t)c] += wi * x[(size_t)r] * x[(size_t)c];
        }
        if (dev)
            for (int j = 1; j <= k; ++j)
                a[(size_t)j] = a[(size_t)j * (size_t)(k + 1)] = mean[(size_t)j];
        *nobs = (double)n;
        return std::vector<double>(a.begin(), a.end());
    }
    void expect_close(const std::vector<double> &got, const std::vector<double> &want, double rel) {
        ASSERT_EQ(got.size(), want.size());
        for (size_t j = 0; j < got.size(); ++j)
            EXPECT_NEAR(got[j], want[j], rel * (1 + std::fabs(want[j]))) << "element " << j;
    }
};

TEST_F(BuildRaw, RawAndDeviationsMatchSumsByHandForEveryWeight) {
    for (int wt : {RW_NONE, RW_A, RW_F, RW_I, RW_P})
        for (bool dev : {false, true}) {
            const RawSpec s = spec(wt);
            const ObsList l = list(s);
            std::vector<double> xx(16, -1.0);
            RawCounts c;
            ASSERT_EQ(brwrk_smp(s, l, dev, xx.data(), 4, nullptr, nullptr, nullptr, &c), 0);
            double n = 0;
            const std::vector<double> want = by_hand(s, dev, &n);
            EXPECT_EQ(c.nobs, n);
            EXPECT_EQ(c.awnote, wt == RW_A);
            expect_close(xx, want, 1e-9);
            for (int r = 0; r < 4; ++r) // full symmetric array
                for (int q = 0; q < 4; ++q)
                    EXPECT_EQ(xx[(size_t)r * 4 + (size_t)q], xx[(size_t)q * 4 + (size_t)r]);
        }
}

TEST_F(BuildRaw, AweightScaleSumsToTheCount) {
    const RawSpec s = spec(RW_A);
    const ObsList l = list(s);
    std::vector<double> xx(16);
    RawCounts c;
    ASSERT_EQ(brwrk_smp(s, l, false, xx.data(), 4, nullptr, nullptr, nullptr, &c), 0);
    EXPECT_NEAR(xx[0], (double)l.size(), 1e-9);
    EXPECT_GT(c.sumw, (double)l.size()); // the unscaled sum is reported for the note
}

TEST_F(BuildRaw, AweightsOfZeroGiveNoObservations) {
    for (int i = 1; i <= N; ++i)
        data::put_num(w, i, 0);
    const RawSpec s = spec(RW_A);
    const ObsList l = list(s);
    std::vector<double> xx(16, 7.0);
    RawCounts c;
    ASSERT_EQ(brwrk_smp(s, l, true, xx.data(), 4, nullptr, nullptr, nullptr, &c), 0);
    EXPECT_EQ(c.nobs, 0);
    EXPECT_TRUE(c.awnote);
    EXPECT_EQ(sumwgt_note(c.sumw), "(sum of wgt is   0.0000e+00)");
    EXPECT_EQ(sumwgt_note(1234.5), "(sum of wgt is   1.2345e+03)");
    for (int r = 0; r < 4; ++r)
        for (int q = 0; q <= r; ++q)
            EXPECT_EQ(xx[(size_t)r * 4 + (size_t)q], 0.0);
}

TEST_F(BuildRaw, ObservationRowsByWeightType) {
    const RawSpec s = spec(RW_F);
    double row[6];
    EXPECT_EQ(get_obs_values(s, 5, row, RW_F), 0); // marker 0
    ASSERT_EQ(get_obs_values(s, 3, row, RW_F), 1);
    EXPECT_EQ(row[0], 3.5); // the weight
    EXPECT_EQ(row[1], 2.0); // marker 3 minus 1
    EXPECT_EQ(row[2], data::get_num(x1, 3));
    EXPECT_EQ(row[4], 0.0);
    ASSERT_EQ(get_obs_values(s, 3, row, RW_A), 1);
    EXPECT_EQ(row[1], data::get_num(x1, 3));
    ASSERT_EQ(get_obs_values(s, 6, row, RW_NONE), 1);
    EXPECT_EQ(row[0], 1.0);
    EXPECT_EQ(row[3], 1.0);
}

TEST_F(BuildRaw, ExtremesAndZeroCounts) {
    const RawSpec s = spec(RW_NONE);
    const ObsList l = list(s);
    std::vector<double> xx(16), mn(4), mx(4), zr(4);
    RawCounts c;
    ASSERT_EQ(brwrk_smp(s, l, true, xx.data(), 4, mn.data(), mx.data(), zr.data(), &c), 0);
    double lo2 = 1e300, hi2 = -1e300, z3 = 0;
    for (int32_t i : l) {
        lo2 = std::min(lo2, data::get_num(x2, i));
        hi2 = std::max(hi2, data::get_num(x2, i));
        z3 += data::get_num(x3, i) == 0;
    }
    EXPECT_EQ(mn[2], lo2);
    EXPECT_EQ(mx[2], hi2);
    EXPECT_EQ(mn[3], 0);
    EXPECT_EQ(mx[3], 1);
    EXPECT_EQ(zr[3], z3);
}

TEST_F(BuildRaw, SerialTwinAndTeamsAgree) {
    for (int wt : {RW_NONE, RW_A, RW_F}) {
        const RawSpec s = spec(wt);
        const ObsList l = list(s);
        std::vector<double> serial(16), one(16), two(16), again(16), buf((size_t)session::st.matsize + 2);
        RawCounts c;
        ASSERT_EQ(brwrk(s, l, true, serial.data(), 4, nullptr, nullptr, nullptr, &c, buf.data()), 0);
        ASSERT_EQ(brwrk_smp(s, l, true, one.data(), 4, nullptr, nullptr, nullptr, &c), 0);
        EXPECT_EQ(serial, one); // one thread runs the twin: the same bits
        fr.processors = fr.processorsNow = 2;
        ASSERT_TRUE(choose_team((int64_t)l.size(), granularity("brwrk_smp")).parallel);
        ASSERT_EQ(brwrk_smp(s, l, true, two.data(), 4, nullptr, nullptr, nullptr, &c), 0);
        ASSERT_EQ(brwrk_smp(s, l, true, again.data(), 4, nullptr, nullptr, nullptr, &c), 0);
        fr.processors = fr.processorsNow = 1;
        EXPECT_EQ(two, again);
        expect_close(two, serial, 1e-12);
    }
}

TEST_F(BuildRaw, MeansProductsAndSubsets) {
    const RawSpec s = spec(RW_I);
    const ObsList l = list(s);
    double n = 0;
    const std::vector<double> want = by_hand(s, true, &n);
    std::vector<double> means(3);
    double sw = 0;
    ASSERT_EQ(bwrkmean_u(s, l, means.data(), &sw), 0);
    for (int j = 0; j < 3; ++j)
        EXPECT_NEAR(means[(size_t)j], want[(size_t)j + 1], 1e-12 * std::fabs(want[(size_t)j + 1]));

    // b: 2 columns; the constant's row first
    const double b[8] = {1, 0, 2, 1, -1, 0, 10, 3};
    std::vector<double> out(l.size() * 2);
    ASSERT_EQ(bwrkmp_u(s, l, b, 2, out.data()), 0);
    const int32_t o = l[7];
    EXPECT_DOUBLE_EQ(out[14],
                     1 + 2 * data::get_num(x1, o) - data::get_num(x2, o) + 10 * data::get_num(x3, o));
    EXPECT_DOUBLE_EQ(out[15], data::get_num(x1, o) + 3 * data::get_num(x3, o));

    std::vector<double> sub(9), full(16);
    RawCounts c;
    ASSERT_EQ(brwrk_var_smp(s, {2, 0}, l, false, sub.data(), 3, &c), 0);
    ASSERT_EQ(brwrk_smp(s, l, false, full.data(), 4, nullptr, nullptr, nullptr, &c), 0);
    EXPECT_EQ(sub[1 * 3 + 1], full[3 * 4 + 3]); // x3 x3
    EXPECT_EQ(sub[2 * 3 + 2], full[1 * 4 + 1]); // x1 x1
    EXPECT_NEAR(sub[2 * 3 + 1], full[3 * 4 + 1], 1e-9 * std::fabs(full[13]));
}

TEST(CompSum, KeepsWhatPlainSumsLose) {
    CompSum s;
    double plain = 0;
    for (double x : {1e16, 1.0, -1e16, 1.0, 1e-3}) {
        s.add(x);
        plain += x;
    }
    EXPECT_EQ(s.value(), 2.001);
    EXPECT_NE(plain, 2.001);
}

} // namespace
