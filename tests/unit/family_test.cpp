// The row functions and the kernels of the index likelihoods and of the conditional logit: the
// analytic gradient and negative Hessian against central differences of the log likelihood.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "estimate/family.h"
#include "session/hexfloat.h"

using namespace est;

namespace {

const bool limits_ready = session::compute_limits();

// Central differences of one row's log likelihood at q, against its gradient and negative Hessian.
void check_row(const IndexModel &m, double y, int c, std::vector<double> q) {
    const int ne = (int)q.size();
    std::vector<double> g((size_t)ne), H((size_t)ne * ne), g1((size_t)ne), g2((size_t)ne),
        Hs((size_t)ne * ne);
    const double ll = index_row(m, y, c, q.data(), true, g.data(), H.data());
    ASSERT_TRUE(std::isfinite(ll));
    const double h = 1e-5;
    for (int e = 0; e < ne; ++e) {
        std::vector<double> qp = q, qm = q;
        qp[(size_t)e] += h;
        qm[(size_t)e] -= h;
        const double lp = index_row(m, y, c, qp.data(), true, g1.data(), Hs.data());
        const double lm = index_row(m, y, c, qm.data(), true, g2.data(), Hs.data());
        EXPECT_NEAR(g[(size_t)e], (lp - lm) / (2 * h), 1e-6 * (1 + std::fabs(g[(size_t)e])))
            << "kind " << m.kind << " y " << y << " c " << c << " index " << e;
        for (int f = 0; f < ne; ++f)
            EXPECT_NEAR(H[(size_t)e * ne + f], -(g1[(size_t)f] - g2[(size_t)f]) / (2 * h),
                        1e-5 * (1 + std::fabs(H[(size_t)e * ne + f])))
                << "kind " << m.kind << " y " << y << " c " << c << " at " << e << "," << f;
    }
}

TEST(FamilyRow, OrderedDerivatives) {
    ASSERT_TRUE(limits_ready);
    for (IndexKind kind : {IK_OLOGIT, IK_OPROBIT}) {
        IndexModel m;
        m.kind = kind;
        m.ncat = 4;
        for (int y = 0; y < 4; ++y) {
            check_row(m, y, 0, {0.3, -1.0, 0.2, 1.5});
            check_row(m, y, 0, {-2.5, -1.0, 0.2, 1.5});
            check_row(m, y, 0, {3.0, -1.0, 0.2, 1.5});
        }
    }
}

TEST(FamilyRow, TobitDerivatives) {
    IndexModel m;
    m.kind = IK_TOBIT;
    for (int c : {-1, 0, 1})
        for (double y : {-1.0, 0.4, 2.0})
            check_row(m, y, c, {0.5, std::log(1.3)});
}

TEST(FamilyRow, MlogitDerivatives) {
    IndexModel m;
    m.kind = IK_MLOGIT;
    m.ncat = 4;
    for (int base : {0, 2})
        for (int y = 0; y < 4; ++y) {
            m.base = base;
            check_row(m, y, 0, {0.3, -1.2, 2.0});
        }
}

// The kernel's sums against central differences of its log likelihood in every coefficient.
template <class Lf> void check_kernel(Lf lf, std::vector<double> b) {
    const size_t k = b.size();
    IndexSums s;
    ASSERT_EQ(lf(b, true, s), 0);
    const double h = 1e-6;
    for (size_t j = 0; j < k; ++j) {
        std::vector<double> bp = b, bm = b;
        bp[j] += h;
        bm[j] -= h;
        IndexSums sp, sm;
        ASSERT_EQ(lf(bp, true, sp), 0);
        ASSERT_EQ(lf(bm, true, sm), 0);
        EXPECT_NEAR(s.g[j], (sp.ll - sm.ll) / (2 * h), 1e-5 * (1 + std::fabs(s.g[j]))) << "coefficient " << j;
        for (size_t c = 0; c < k; ++c)
            EXPECT_NEAR(s.H[j * k + c], -(sp.g[c] - sm.g[c]) / (2 * h),
                        1e-4 * (1 + std::fabs(s.H[j * k + c])))
                << "at " << j << "," << c;
    }
}

std::vector<double> column(int n, double a, double f) {
    std::vector<double> x((size_t)n);
    for (int i = 0; i < n; ++i)
        x[(size_t)i] = std::sin(a + f * i);
    return x;
}

TEST(FamilyKernel, MlogitAndTobitSums) {
    const int n = 300;
    IndexModel m;
    m.kind = IK_MLOGIT;
    m.rows = n;
    m.ncat = 3;
    m.base = 1;
    m.x = {column(n, 0.1, 0.7), column(n, 1.0, 1.3)};
    for (int i = 0; i < n; ++i)
        m.y.push_back(i % 3);
    m.eqs = {{{0, 1}, true}, {{0, 1}, true}};
    m.w = column(n, 0.3, 0.2);
    for (double &w : m.w)
        w = 1.5 + w;
    check_kernel([&](const std::vector<double> &b, bool d, IndexSums &s) { return indexlf_smp(m, b, d, s); },
                 {0.2, -0.3, 0.1, 0.5, 0.4, -0.2});
    IndexModel t;
    t.kind = IK_TOBIT;
    t.rows = n;
    t.x = {column(n, 0.1, 0.7)};
    t.y = column(n, 2.0, 0.31);
    for (int i = 0; i < n; ++i)
        t.c.push_back((signed char)(i % 5 == 0 ? -1 : i % 7 == 0 ? 1 : 0));
    t.eqs = {{{0}, true}, {{}, true}};
    check_kernel([&](const std::vector<double> &b, bool d, IndexSums &s) { return indexlf_smp(t, b, d, s); },
                 {0.4, 0.1, std::log(0.8)});
}

TEST(FamilyKernel, ClogitSums) {
    GroupModel m;
    const int n = 60;
    m.rows = n;
    m.x = {column(n, 0.2, 0.9), column(n, 1.1, 0.4)};
    for (int i = 0; i < n; ++i)
        m.y.push_back(i % 4 == 0 || i % 5 == 1 ? 1 : 0);
    // groups of 3 to 7 rows
    for (int s = 0, len = 3; s < n; s += len, len = 3 + (len + 1) % 5)
        m.group_start.push_back(s);
    m.group_start.push_back(n);
    check_kernel([&](const std::vector<double> &b, bool d, IndexSums &s) { return clogitlf_smp(m, b, d, s); },
                 {0.6, -0.4});
    // the rows' scores times x sum to the gradient
    IndexSums s;
    std::vector<double> score;
    ASSERT_EQ(clogitlf_smp(m, {0.6, -0.4}, true, s, &score), 0);
    for (int j = 0; j < 2; ++j) {
        double g = 0;
        for (int i = 0; i < n; ++i)
            g += score[(size_t)i] * m.x[(size_t)j][(size_t)i];
        EXPECT_NEAR(g, s.g[(size_t)j], 1e-10);
    }
}

} // namespace
