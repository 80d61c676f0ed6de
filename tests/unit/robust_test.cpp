// The robust variance kernel: the sum of outer products against a plain loop, by observation and by
// cluster, the weights, the small-sample factors, D M D, and the same bits with one thread or two.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "estimate/frame.h"
#include "estimate/robust.h"
#include "estimate/robust_smp.h"
#include "msg_capture.h"
#include "session/state.h"

using namespace est;

namespace {

// Rows of x1, x2, a score, a weight and a cluster number, from a fixed recurrence.
struct Data {
    std::vector<double> x1, x2, s, w;
    std::vector<int> g;
    explicit Data(int n) {
        unsigned st = 12345;
        auto next = [&] {
            st = st * 1103515245u + 12345u;
            return (double)((st >> 8) % 10000) / 10000.0;
        };
        for (int i = 0; i < n; ++i) {
            x1.push_back(next() * 4 - 2);
            x2.push_back(next() * 10);
            s.push_back(next() - 0.5);
            w.push_back(1 + (int)(next() * 3));
            g.push_back(i % 7);
        }
    }
    // x1, x2 and the constant, one score
    RobustInput input() const {
        RobustInput in;
        in.rows = (int64_t)x1.size();
        in.x = {x1.data(), x2.data(), nullptr};
        in.eq = {0, 0, 0};
        in.score = {s.data()};
        return in;
    }
};

// M by the definition, one observation (or cluster) at a time.
std::vector<double> naive_meat(const Data &d, bool cluster, const double *w, bool pw) {
    std::vector<double> M(9, 0.0);
    const int n = (int)d.x1.size();
    auto u_of = [&](int i, double *u) {
        const double f = d.s[i] * (w && pw ? w[i] : 1);
        u[0] = f * d.x1[i];
        u[1] = f * d.x2[i];
        u[2] = f;
    };
    if (!cluster) {
        for (int i = 0; i < n; ++i) {
            double u[3];
            u_of(i, u);
            const double o = w && !pw ? w[i] : 1;
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    M[a * 3 + b] += o * u[a] * u[b];
        }
        return M;
    }
    for (int c = 0; c < 7; ++c) {
        double z[3] = {0, 0, 0};
        for (int i = 0; i < n; ++i) {
            if (d.g[i] != c) continue;
            double u[3];
            u_of(i, u);
            const double o = w && !pw ? w[i] : 1;
            for (int a = 0; a < 3; ++a)
                z[a] += o * u[a];
        }
        for (int a = 0; a < 3; ++a)
            for (int b = 0; b < 3; ++b)
                M[a * 3 + b] += z[a] * z[b];
    }
    return M;
}

// The rows in cluster order and where the clusters start.
void cluster_order(const Data &d, std::vector<int32_t> &order, RobustInput &in) {
    order.clear();
    in.cluster_start.clear();
    for (int c = 0; c < 7; ++c) {
        in.cluster_start.push_back((int64_t)order.size());
        for (int i = 0; i < (int)d.g.size(); ++i)
            if (d.g[i] == c) order.push_back(i);
    }
    in.cluster_start.push_back((int64_t)order.size());
    in.order = order.data();
}

void expect_close(const std::vector<double> &a, const std::vector<double> &b) {
    ASSERT_EQ(a.size(), b.size());
    for (size_t j = 0; j < a.size(); ++j)
        EXPECT_NEAR(a[j], b[j], 1e-9 * (1 + std::fabs(b[j]))) << "element " << j;
}

class Robust : public ::testing::Test {
  protected:
    void SetUp() override {
        session::break_clear();
        processors_init(1);
    }
    void TearDown() override { processors_init(1); }
};

} // namespace

TEST_F(Robust, MeatByObservationAndByCluster) {
    const Data d(1000);
    RobustInput in = d.input();
    std::vector<double> M;
    double nobs = 0, ncl = 0;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    expect_close(M, naive_meat(d, false, nullptr, false));
    EXPECT_EQ(nobs, 1000);
    std::vector<int32_t> order;
    cluster_order(d, order, in);
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    expect_close(M, naive_meat(d, true, nullptr, false));
    EXPECT_EQ(ncl, 7);
}

TEST_F(Robust, WeightsEnterTheScoreOrTheOuterProduct) {
    const Data d(500);
    RobustInput in = d.input();
    in.w = d.w.data();
    std::vector<double> M;
    double nobs = 0, ncl = 0;
    in.wtype = RBW_P;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    expect_close(M, naive_meat(d, false, d.w.data(), true));
    EXPECT_EQ(nobs, 500);
    in.wtype = RBW_F;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    expect_close(M, naive_meat(d, false, d.w.data(), false));
    double sumw = 0;
    for (double w : d.w)
        sumw += w;
    EXPECT_EQ(nobs, sumw);
    // analytic weights are scaled to sum to the count
    in.wtype = RBW_A;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    std::vector<double> want = naive_meat(d, false, d.w.data(), false);
    for (double &v : want)
        v *= 500 / sumw;
    expect_close(M, want);
    // within a cluster every weight multiplies the score
    std::vector<int32_t> order;
    cluster_order(d, order, in);
    in.wtype = RBW_F;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    expect_close(M, naive_meat(d, true, d.w.data(), true));
}

TEST_F(Robust, FrequencyWeightsAreRepeatedRows) {
    // a row with weight 2 adds what the row twice adds
    Data d(300), dup(0);
    for (int i = 0; i < 300; ++i) {
        d.w[i] = 1 + i % 2;
        for (int r = 0; r < (int)d.w[i]; ++r) {
            dup.x1.push_back(d.x1[i]);
            dup.x2.push_back(d.x2[i]);
            dup.s.push_back(d.s[i]);
        }
    }
    RobustInput a = d.input(), b = dup.input();
    a.w = d.w.data();
    a.wtype = RBW_F;
    std::vector<double> D(9, 0.0), Va, Vb;
    for (int j = 0; j < 3; ++j)
        D[j * 4] = 1 + j;
    RobustSpec sa, sb;
    sa.k = sb.k = 3;
    ASSERT_EQ(robust_variance(sa, a, D, Va), 0);
    ASSERT_EQ(robust_variance(sb, b, D, Vb), 0);
    EXPECT_EQ(sa.N, sb.N);
    expect_close(Va, Vb);
}

TEST_F(Robust, Factors) {
    RobustSpec s;
    s.k = 3;
    s.N = 10;
    EXPECT_DOUBLE_EQ(robust_factor(s, false), 10.0 / 7);
    s.N = 3; // N equal to k
    EXPECT_EQ(robust_factor(s, false), 0);
    s.N = 10;
    s.minusFactor = 1;
    EXPECT_DOUBLE_EQ(robust_factor(s, false), 10.0 / 9);
    s.minusFactor = -1;
    EXPECT_DOUBLE_EQ(robust_factor(s, true), 10.0 / 9);
    s.N = 1; // one cluster
    EXPECT_EQ(robust_factor(s, true), 0);
    // the regression form
    s.N = 5;
    s.n = 100;
    s.minusFactor = 3;
    EXPECT_DOUBLE_EQ(robust_factor(s, true), 5.0 / 4 * 99.0 / 97);
    s.unitScale = true;
    EXPECT_EQ(robust_factor(s, true), 1);
    s.noScale = true;
    EXPECT_EQ(robust_factor(s, true), 0);
}

TEST_F(Robust, SandwichAndScaling) {
    const Data d(200);
    RobustInput in = d.input();
    std::vector<double> D = {2, 0.5, 0.1, 0.5, 1, 0.2, 0.1, 0.2, 3}, V;
    RobustSpec s;
    s.k = 3;
    ASSERT_EQ(robust_variance(s, in, D, V), 0);
    EXPECT_EQ(s.N, 200);
    EXPECT_DOUBLE_EQ(s.factor, 200.0 / 197);
    std::vector<double> M = naive_meat(d, false, nullptr, false), want(9, 0.0);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    want[i * 3 + j] += D[i * 3 + a] * M[a * 3 + b] * s.factor * D[b * 3 + j];
    expect_close(V, want);
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            EXPECT_EQ(V[i * 3 + j], V[j * 3 + i]);
    // noScale leaves the plain sum; one cluster gives 0
    s.noScale = true;
    ASSERT_EQ(robust_variance(s, in, D, V), 0);
    for (double &v : want)
        v /= 200.0 / 197;
    expect_close(V, want);
    s.noScale = false;
    in.cluster_start = {0, 200};
    ASSERT_EQ(robust_variance(s, in, D, V), 0);
    for (double v : V)
        EXPECT_EQ(v, 0);
}

TEST_F(Robust, NonConformingSizesLeaveTheResult) {
    const Data d(10);
    RobustInput in = d.input();
    std::vector<double> D(4, 1.0), V = {7};
    RobustSpec s;
    s.k = 3;
    MsgCapture cap;
    EXPECT_EQ(robust_variance(s, in, D, V), 503);
    EXPECT_EQ(V.size(), 1u);
}

TEST_F(Robust, SameBitsWithOneThreadOrTwo) {
    const Data d(200000);
    RobustInput in = d.input();
    std::vector<int32_t> order;
    for (int clustered = 0; clustered < 2; ++clustered) {
        if (clustered) cluster_order(d, order, in);
        std::vector<double> M1, M2;
        double n1, n2, c1, c2;
        processors_init(1);
        ASSERT_EQ(robust_meat_smp(3, in, M1, &n1, &c1), 0);
        if (processors_max() >= 2) {
            ASSERT_EQ(set_processors(2), 0);
        }
        ASSERT_EQ(robust_meat_smp(3, in, M2, &n2, &c2), 0);
        EXPECT_EQ(std::memcmp(M1.data(), M2.data(), M1.size() * sizeof(double)), 0);
        EXPECT_EQ(n1, n2);
    }
}

TEST_F(Robust, ClustersAsRunsOfRows) {
    // the rows already in cluster order, with no order array: the same sums as through the order
    const Data d(1000);
    Data sorted(0);
    std::vector<int32_t> order;
    RobustInput via = d.input();
    via.w = d.w.data();
    via.wtype = RBW_P;
    cluster_order(d, order, via);
    for (int32_t i : order) {
        sorted.x1.push_back(d.x1[i]);
        sorted.x2.push_back(d.x2[i]);
        sorted.s.push_back(d.s[i]);
        sorted.w.push_back(d.w[i]);
    }
    RobustInput run = sorted.input();
    run.w = sorted.w.data();
    run.wtype = RBW_P;
    run.cluster_start = via.cluster_start;
    std::vector<double> M1, M2;
    double n1, n2, c1, c2;
    ASSERT_EQ(robust_meat_smp(3, via, M1, &n1, &c1), 0);
    ASSERT_EQ(robust_meat_smp(3, run, M2, &n2, &c2), 0);
    expect_close(M2, naive_meat(d, true, d.w.data(), true));
    expect_close(M1, M2);
    EXPECT_EQ(c2, 7);
}

TEST_F(Robust, StrataCentreThePsuTotals) {
    // strata of rows [0,100) and [100,1000) with clusters of 10 rows; the second stratum sampled at
    // a rate of one quarter
    const Data d(1000);
    RobustInput in = d.input();
    for (int64_t r = 0; r <= 1000; r += 10)
        in.cluster_start.push_back(r);
    in.stratum_start = {0, 10, 100};
    in.fpc = {0, 0.25};
    std::vector<double> M, want(9, 0.0);
    double nobs = 0, ncl = 0;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    EXPECT_EQ(ncl, 100);
    for (int h = 0; h < 2; ++h) {
        const int c0 = h ? 10 : 0, c1 = h ? 100 : 10;
        const double nh = c1 - c0, f = h ? 0.25 : 0;
        std::vector<double> z((size_t)(c1 - c0) * 3, 0.0), mean(3, 0.0);
        for (int c = c0; c < c1; ++c)
            for (int i = c * 10; i < c * 10 + 10; ++i) {
                const double u[3] = {d.s[i] * d.x1[i], d.s[i] * d.x2[i], d.s[i]};
                for (int a = 0; a < 3; ++a)
                    z[(size_t)(c - c0) * 3 + a] += u[a];
            }
        for (int j = 0; j < c1 - c0; ++j)
            for (int a = 0; a < 3; ++a)
                mean[a] += z[(size_t)j * 3 + a] / nh;
        for (int j = 0; j < c1 - c0; ++j)
            for (int a = 0; a < 3; ++a)
                for (int b = 0; b < 3; ++b)
                    want[a * 3 + b] += (1 - f) * nh / (nh - 1) * (z[(size_t)j * 3 + a] - mean[a]) *
                                       (z[(size_t)j * 3 + b] - mean[b]);
    }
    expect_close(M, want);
}

TEST_F(Robust, OneScoreForEachEquation) {
    // equation 0 holds x1 and its constant, equation 1 its constant alone, each with its score
    const Data d(400);
    std::vector<double> s2(d.s.size());
    for (size_t i = 0; i < s2.size(); ++i)
        s2[i] = d.x2[i] / 10 - 0.5;
    RobustInput in;
    in.rows = 400;
    in.x = {d.x1.data(), nullptr, nullptr};
    in.eq = {0, 0, 1};
    in.score = {d.s.data(), s2.data()};
    std::vector<double> M, want(9, 0.0);
    double nobs = 0, ncl = 0;
    ASSERT_EQ(robust_meat_smp(3, in, M, &nobs, &ncl), 0);
    for (int i = 0; i < 400; ++i) {
        const double u[3] = {d.s[i] * d.x1[i], d.s[i], s2[i]};
        for (int a = 0; a < 3; ++a)
            for (int b = 0; b < 3; ++b)
                want[a * 3 + b] += u[a] * u[b];
    }
    expect_close(M, want);
    // an equation with no score does not conform
    RobustSpec s;
    s.k = 3;
    in.eq = {0, 0, 2};
    std::vector<double> D(9, 0.0), V;
    MsgCapture cap;
    EXPECT_EQ(robust_variance(s, in, D, V), 503);
}
