// The matrix numerics against references worked out here in long double: the sweep inverse with
// its drops, trace, pivot order and bit-identical threads; sweep(); the LAPACK-backed routines on
// Hilbert matrices and the Longley cross-product; the small matrix functions; the library's error
// callback becoming 3930.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "data/expr.h"
#include "data/types.h"
#include "estimate/frame.h"
#include "matrix/numerics.h"
#include "matrix/sweep.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace {

using LD = long double;
constexpr double EPS = 0x1p-52;

struct Numerics : ::testing::Test {
    static void SetUpTestSuite() { ASSERT_TRUE(session::compute_limits()); }
    void TearDown() override { est::set_processors(1); }
};

// ---- References in long double -----------------------------------------------------------------

// Gauss-Jordan with partial pivoting; n by n, row-major, no stride.
std::vector<LD> gj_inverse(std::vector<LD> a, int n) {
    std::vector<LD> x((size_t)n * n, 0);
    for (int i = 0; i < n; ++i)
        x[(size_t)i * n + i] = 1;
    for (int k = 0; k < n; ++k) {
        int piv = k;
        for (int i = k + 1; i < n; ++i)
            if (fabsl(a[(size_t)i * n + k]) > fabsl(a[(size_t)piv * n + k])) piv = i;
        for (int j = 0; j < n; ++j) {
            std::swap(a[(size_t)k * n + j], a[(size_t)piv * n + j]);
            std::swap(x[(size_t)k * n + j], x[(size_t)piv * n + j]);
        }
        const LD d = a[(size_t)k * n + k];
        for (int j = 0; j < n; ++j) {
            a[(size_t)k * n + j] /= d;
            x[(size_t)k * n + j] /= d;
        }
        for (int i = 0; i < n; ++i) {
            if (i == k) continue;
            const LD f = a[(size_t)i * n + k];
            if (f == 0) continue;
            for (int j = 0; j < n; ++j) {
                a[(size_t)i * n + j] -= f * a[(size_t)k * n + j];
                x[(size_t)i * n + j] -= f * x[(size_t)k * n + j];
            }
        }
    }
    return x;
}

std::vector<LD> to_ld(const std::vector<double> &a) { return std::vector<LD>(a.begin(), a.end()); }

LD norm1(const std::vector<LD> &a, int n) {
    LD m = 0;
    for (int j = 0; j < n; ++j) {
        LD s = 0;
        for (int i = 0; i < n; ++i)
            s += fabsl(a[(size_t)i * n + j]);
        m = std::max(m, s);
    }
    return m;
}

// The 1-norm condition number of a scaled to a unit diagonal: the one that bounds the error of a
// symmetric elimination.
double cond_scaled(const std::vector<double> &a, int n) {
    std::vector<LD> l = to_ld(a);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            l[(size_t)i * n + j] /= sqrtl((LD)a[(size_t)i * n + i] * (LD)a[(size_t)j * n + j]);
    return (double)(norm1(l, n) * norm1(gj_inverse(l, n), n));
}

// The error of x against the reference r, element by element, relative to the scale of r's row and
// column: |x_ij - r_ij| / sqrt(|r_ii r_jj|). It is what a backward-stable inverse of a symmetric
// matrix gets to within the scaled condition number times the precision.
double scaled_err(const std::vector<double> &x, int ldx, const std::vector<LD> &r, int n) {
    double e = 0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            const LD s = sqrtl(fabsl(r[(size_t)i * n + i] * r[(size_t)j * n + j]));
            e = std::max(e, (double)(fabsl((LD)x[(size_t)i * ldx + j] - r[(size_t)i * n + j]) / s));
        }
    return e;
}

std::vector<double> hilbert(int n) {
    std::vector<double> h((size_t)n * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            h[(size_t)i * n + j] = 1.0 / (i + j + 1);
    return h;
}

// X'X of the constant and x1..x6 of the Longley data, the constant last.
std::vector<double> longley_xtx() {
    std::ifstream f(std::string(ORVAT_SOURCE_DIR) + "/tests/unit/data/Longley.dat");
    std::string line;
    std::vector<std::vector<double>> rows;
    int lineno = 0;
    while (std::getline(f, line)) {
        if (++lineno < 61) continue;
        std::istringstream in(line);
        std::vector<double> v(7);
        if (!(in >> v[0] >> v[1] >> v[2] >> v[3] >> v[4] >> v[5] >> v[6])) continue;
        std::vector<double> x(v.begin() + 1, v.end());
        x.push_back(1.0);
        rows.push_back(x);
    }
    EXPECT_EQ(rows.size(), 16u);
    std::vector<double> xtx(49, 0.0);
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 7; ++j) {
            LD s = 0;
            for (const auto &r : rows)
                s += (LD)r[i] * r[j];
            xtx[(size_t)i * 7 + j] = (double)s;
        }
    return xtx;
}

// A symmetric positive definite n by n matrix B'B + n I of pseudo-random B, at stride ld.
std::vector<double> random_spd(int n, int ld, uint64_t seed) {
    std::vector<double> b((size_t)n * n);
    for (double &x : b) {
        seed = seed * 6364136223846793005ull + 1442695040888963407ull;
        x = (double)(seed >> 11) / 9007199254740992.0 - 0.5;
    }
    std::vector<double> a((size_t)n * ld, 0.0);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j <= i; ++j) {
            double s = 0;
            for (int k = 0; k < n; ++k)
                s += b[(size_t)k * n + i] * b[(size_t)k * n + j];
            if (i == j) s += n;
            a[(size_t)i * ld + j] = a[(size_t)j * ld + i] = s;
        }
    return a;
}

// ---- invsym ------------------------------------------------------------------------------------

// The sweep in long double, by the same tolerance rule: which columns it drops, in natural order.
std::vector<int> ld_dropped(const std::vector<double> &a, int n) {
    // Column p is dropped when its Schur complement on the kept columns before it is at or below
    // its tolerance; the complement is a_pp - a_pK A_KK^-1 a_Kp.
    std::vector<int> kept, dropped;
    for (int p = 0; p < n; ++p) {
        const int k = (int)kept.size();
        LD s = a[(size_t)p * n + p];
        if (k) {
            std::vector<LD> akk((size_t)k * k);
            for (int i = 0; i < k; ++i)
                for (int j = 0; j < k; ++j)
                    akk[(size_t)i * k + j] = a[(size_t)kept[i] * n + kept[j]];
            std::vector<LD> inv = gj_inverse(akk, k);
            for (int i = 0; i < k; ++i)
                for (int j = 0; j < k; ++j)
                    s -= (LD)a[(size_t)p * n + kept[i]] * inv[(size_t)i * k + j] * a[(size_t)kept[j] * n + p];
        }
        if (s <= (LD)mat::sweep_tolerance(a[(size_t)p * n + p]))
            dropped.push_back(p);
        else
            kept.push_back(p);
    }
    return dropped;
}

// invsym of a (no stride) against the long-double inverse of its kept columns.
void check_invsym(const std::vector<double> &a, int n, double factor, const char *what) {
    SCOPED_TRACE(what);
    const int ld = n + 3; // a stride wider than the matrix, as the matsize work arrays have
    std::vector<double> w((size_t)n * ld, -7.0);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            w[(size_t)i * ld + j] = a[(size_t)i * n + j];
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(w.data(), n, ld, {}, &out), 0);
    const std::vector<int> dropped = ld_dropped(a, n);
    std::vector<int> got;
    for (int j = 0; j < n; ++j)
        if (out.state[j] == mat::COL_DROPPED) got.push_back(j);
    ASSERT_EQ(got, dropped);
    EXPECT_EQ(out.dropped, (int)dropped.size());
    std::vector<int> kept;
    for (int j = 0; j < n; ++j)
        if (out.state[j] == mat::COL_SWEPT) kept.push_back(j);
    const int k = (int)kept.size();
    std::vector<double> sub((size_t)k * k), xs((size_t)k * k);
    for (int i = 0; i < k; ++i)
        for (int j = 0; j < k; ++j) {
            sub[(size_t)i * k + j] = a[(size_t)kept[i] * n + kept[j]];
            xs[(size_t)i * k + j] = w[(size_t)kept[i] * ld + kept[j]];
        }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            EXPECT_EQ(w[(size_t)i * ld + j], w[(size_t)j * ld + i]) << i << "," << j; // exactly symmetric
            if (out.state[i] == mat::COL_DROPPED || out.state[j] == mat::COL_DROPPED) {
                EXPECT_EQ(w[(size_t)i * ld + j], 0.0);
                EXPECT_FALSE(std::signbit(w[(size_t)i * ld + j]));
            }
        }
    for (int i = 0; i < n; ++i)
        for (int j = n; j < ld; ++j)
            EXPECT_EQ(w[(size_t)i * ld + j], -7.0); // beyond the columns nothing is touched
    if (!k) return;
    const double cond = cond_scaled(sub, k);
    const double err = scaled_err(xs, k, gj_inverse(to_ld(sub), k), k);
    EXPECT_LE(err, cond * k * EPS * factor) << "cond " << cond;
}

TEST_F(Numerics, InvsymHilbert) {
    for (int n = 1; n <= 10; ++n)
        check_invsym(hilbert(n), n, 1, ("hilbert " + std::to_string(n)).c_str());
}

TEST_F(Numerics, InvsymLongley) {
    std::vector<double> a = longley_xtx();
    check_invsym(a, 7, 1, "longley");
    // The design is nearly collinear but every column is kept.
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(a.data(), 7, 7, {}, &out), 0);
    EXPECT_EQ(out.dropped, 0);
}

TEST_F(Numerics, InvsymRandomSpd) {
    const int n = 60;
    check_invsym(random_spd(n, n, 99), n, 1, "random spd");
}

// x3 = x1 + x2 exactly: the third column's complement vanishes and it is dropped; the trace marks
// it and its tolerance is 1e-9 times its diagonal.
TEST_F(Numerics, InvsymDropsSumOfTwoColumns) {
    const double x[6][3] = {{1, 2, 3}, {2, 1, 3}, {3, 5, 8}, {4, 3, 7}, {5, 8, 13}, {6, 2, 8}};
    std::vector<double> a(16, 0.0); // with a constant last: 4 columns
    for (const auto &r : x) {
        const double v[4] = {r[0], r[1], r[2], 1};
        for (int i = 0; i < 4; ++i)
            for (int j = 0; j < 4; ++j)
                a[(size_t)i * 4 + j] += v[i] * v[j];
    }
    const std::vector<double> orig = a;
    mat::InvsymOpts o;
    o.trace = true;
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(a.data(), 4, 4, o, &out), 0);
    EXPECT_EQ(out.dropped, 1);
    EXPECT_EQ(out.state, (std::vector<unsigned char>{1, 1, 2, 1}));
    ASSERT_EQ(out.steps.size(), 4u);
    EXPECT_FALSE(out.steps[0].dropped);
    EXPECT_TRUE(out.steps[2].dropped);
    EXPECT_EQ(out.steps[2].pivot, 3);
    EXPECT_EQ(out.steps[2].tol, 1e-9 * orig[10]);
    EXPECT_EQ(out.steps[0].diag, orig[0]);
    EXPECT_EQ(mat::sweep_trace_line(out.steps[2]).substr(0, 3), "* 3");
    EXPECT_EQ(mat::sweep_trace_line(out.steps[0]).substr(0, 3), "  1");
    char buf[64];
    std::snprintf(buf, sizeof buf, "* 3 %12.5e %12.5e", out.steps[2].diag, out.steps[2].tol);
    EXPECT_EQ(mat::sweep_trace_line(out.steps[2]), buf);
    // The kept block is the inverse of the kept columns: A_kept * X_kept = I.
    const int kept[3] = {0, 1, 3};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double s = 0;
            for (int m = 0; m < 3; ++m)
                s += orig[(size_t)kept[i] * 4 + kept[m]] * a[(size_t)kept[m] * 4 + kept[j]];
            EXPECT_NEAR(s, i == j ? 1.0 : 0.0, 1e-9);
        }
    for (int j = 0; j < 4; ++j) {
        EXPECT_EQ(a[2 * 4 + j], 0.0);
        EXPECT_EQ(a[j * 4 + 2], 0.0);
    }
}

// A constant column twice: the second is dropped in natural order.
TEST_F(Numerics, InvsymDropsRepeatedConstant) {
    const double x[5] = {1, 4, 2, 8, 5};
    std::vector<double> a(9, 0.0);
    for (double xi : x) {
        const double v[3] = {1, xi, 1};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                a[(size_t)i * 3 + j] += v[i] * v[j];
    }
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(a.data(), 3, 3, {}, &out), 0);
    EXPECT_EQ(out.state, (std::vector<unsigned char>{1, 1, 2}));
    EXPECT_EQ(out.dropped, 1);
}

TEST_F(Numerics, InvsymEdgeCases) {
    // All zero: a zero inverse, every column dropped.
    std::vector<double> z(16, 0.0);
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(z.data(), 4, 4, {}, &out), 0);
    EXPECT_EQ(out.dropped, 4);
    for (double v : z)
        EXPECT_EQ(v, 0.0);
    // A diagonal of 1e-30: tolerance 1e-19, dropped; the other column is inverted.
    std::vector<double> t = {1e-30, 0, 0, 4};
    mat::InvsymOpts traced;
    traced.trace = true;
    ASSERT_EQ(mat::invsym(t.data(), 2, 2, traced, &out), 0);
    EXPECT_EQ(out.steps[0].tol, 1e-19);
    EXPECT_TRUE(out.steps[0].dropped);
    EXPECT_EQ(t, (std::vector<double>{0, 0, 0, 0.25}));
    // Tolerances: negative counts as 0, 0 gives 1e-9, else 1e-9 times it with a floor of 1e-19.
    EXPECT_EQ(mat::sweep_tolerance(-5), 1e-9);
    EXPECT_EQ(mat::sweep_tolerance(0), 1e-9);
    EXPECT_EQ(mat::sweep_tolerance(4), 4e-9);
    EXPECT_EQ(mat::sweep_tolerance(1e-11), 1e-19);
    // A negative diagonal is dropped.
    std::vector<double> neg = {-2, 0, 0, 2};
    ASSERT_EQ(mat::invsym(neg.data(), 2, 2, {}, &out), 0);
    EXPECT_EQ(neg, (std::vector<double>{0, 0, 0, 0.5}));
    // Two identical columns: the second goes.
    std::vector<double> id = {2, 2, 1, 2, 2, 1, 1, 1, 3};
    ASSERT_EQ(mat::invsym(id.data(), 3, 3, {}, &out), 0);
    EXPECT_EQ(out.state, (std::vector<unsigned char>{1, 2, 1}));
    // A missing value: the result is all missing, no failure.
    std::vector<double> m = {2, 1, 1, session::lim.dot};
    ASSERT_EQ(mat::invsym(m.data(), 2, 2, {}, &out), 0);
    EXPECT_TRUE(out.missing);
    for (double v : m)
        EXPECT_EQ(v, session::lim.dot);
}

TEST_F(Numerics, InvsymFailures) {
    MsgCapture cap;
    mat::InvsymOut out;
    std::vector<double> ns = {1, 2, 3, 4};
    EXPECT_EQ(mat::invsym(ns.data(), 2, 2, {}, &out), 505);
    EXPECT_EQ(cap.text(), "matrix not symmetric\n");
    EXPECT_EQ(ns, (std::vector<double>{1, 2, 3, 4}));
    cap.reset();
    const int keep = session::st.matsize;
    session::st.matsize = 2;
    std::vector<double> big(9, 0.0);
    EXPECT_EQ(mat::invsym(big.data(), 3, 3, {}, &out), 908);
    session::st.matsize = keep;
    EXPECT_EQ(cap.text().substr(0, 18), "matsize too small\n");
}

// Pivoting: the greatest remaining diagonal goes next, the first of equals winning; forced columns
// go first in their order.
TEST_F(Numerics, InvsymPivotOrder) {
    // Diagonal 1, 5, 5, 3 and weak coupling: pivots 2 (first of the equal 5s), 3, 4, 1.
    std::vector<double> a = {1, .1, 0, 0, .1, 5, 0, 0, 0, 0, 5, .2, 0, 0, .2, 3};
    const std::vector<double> orig = a;
    mat::InvsymOpts o;
    o.pivoting = true;
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(a.data(), 4, 4, o, &out), 0);
    EXPECT_EQ(out.order, (std::vector<int>{1, 2, 3, 0}));
    // Forced 3 then 0, then by size.
    std::vector<double> b = orig;
    const int forced[2] = {3, 0};
    o.forced = forced;
    ASSERT_EQ(mat::invsym(b.data(), 4, 4, o, &out), 0);
    EXPECT_EQ(out.order[0], 3);
    EXPECT_EQ(out.order[1], 0);
    // After columns 3 and 0, column 1's diagonal is 5 - .01 = 4.99 and column 2's 5 - .04/3: 1 first.
    EXPECT_EQ(out.order[2], 1);
    EXPECT_EQ(out.order[3], 2);
    // Whatever the order, the inverse is the same to rounding.
    std::vector<double> c = orig;
    ASSERT_EQ(mat::invsym(c.data(), 4, 4, {}, &out), 0);
    EXPECT_EQ(out.order, (std::vector<int>{0, 1, 2, 3}));
    for (int i = 0; i < 16; ++i) {
        EXPECT_NEAR(a[i], c[i], 1e-14);
        EXPECT_NEAR(b[i], c[i], 1e-14);
    }
    // Pivoting decides which of two collinear columns goes: the greater one is kept.
    std::vector<double> d = {1, 2, 2, 4}; // column 2 is twice column 1
    mat::InvsymOpts piv;
    piv.pivoting = true;
    ASSERT_EQ(mat::invsym(d.data(), 2, 2, piv, &out), 0);
    EXPECT_EQ(out.state, (std::vector<unsigned char>{2, 1}));
    EXPECT_EQ(d, (std::vector<double>{0, 0, 0, 0.25}));
}

// Serial and parallel give the same bits, with one thread and with two.
TEST_F(Numerics, InvsymSerialAndSmpBitIdentical) {
    ASSERT_GE(est::processors_max(), 2);
    const int n = 200, ld = 211;
    const std::vector<double> a = random_spd(n, ld, 7);
    std::vector<double> serial = a, one = a, two = a;
    mat::InvsymOut out;
    mat::InvsymOpts o;
    o.parallel = false;
    ASSERT_EQ(mat::invsym(serial.data(), n, ld, o, &out), 0);
    ASSERT_EQ(est::set_processors(1), 0);
    ASSERT_EQ(mat::invsym(one.data(), n, ld, {}, &out), 0);
    ASSERT_EQ(est::set_processors(2), 0);
    ASSERT_EQ(mat::invsym(two.data(), n, ld, {}, &out), 0);
    EXPECT_EQ(est::fr.teamSize, 2); // the region really ran on two threads
    EXPECT_EQ(std::memcmp(serial.data(), one.data(), a.size() * sizeof(double)), 0);
    EXPECT_EQ(std::memcmp(serial.data(), two.data(), a.size() * sizeof(double)), 0);
    // And with drops and pivoting on the way: make column 50 a copy of column 10.
    std::vector<double> c = a;
    for (int j = 0; j < n; ++j)
        c[(size_t)50 * ld + j] = c[(size_t)10 * ld + j];
    for (int i = 0; i < n; ++i)
        c[(size_t)i * ld + 50] = c[(size_t)i * ld + 10];
    c[(size_t)50 * ld + 50] = c[(size_t)10 * ld + 10];
    std::vector<double> c1 = c, c2 = c;
    o.pivoting = true;
    ASSERT_EQ(mat::invsym(c1.data(), n, ld, o, &out), 0);
    EXPECT_EQ(out.dropped, 1);
    o.parallel = true;
    ASSERT_EQ(mat::invsym(c2.data(), n, ld, o, &out), 0);
    EXPECT_EQ(std::memcmp(c1.data(), c2.data(), c.size() * sizeof(double)), 0);
}

TEST_F(Numerics, InvsymBreak) {
    std::vector<double> a = random_spd(20, 20, 3);
    session::break_signal();
    mat::InvsymOut out;
    EXPECT_EQ(mat::invsym(a.data(), 20, 20, {}, &out), 1);
    session::break_clear();
}

TEST_F(Numerics, InvsymTraceMatrix) {
    const double a[4] = {2, 1, 1, 3};
    EXPECT_EQ(mat::sweep_trace_matrix("input", a, 2, 2),
              "input\n  2.00000e+00   1.00000e+00 \n  1.00000e+00   3.00000e+00 \n");
}

// ---- sweep() -----------------------------------------------------------------------------------

TEST_F(Numerics, SweepEveryPivotInverts) {
    std::vector<double> a = {4, 1, 2, 0, 3, 1, 1, 2, 5}; // not symmetric: sweep() does not need it
    const std::vector<LD> r = gj_inverse(to_ld(a), 3);
    for (int k = 1; k <= 3; ++k)
        ASSERT_EQ(mat::sweep(a.data(), 3, 3, 3, k), 0);
    for (int i = 0; i < 9; ++i)
        EXPECT_NEAR(a[i], (double)r[i], 1e-15);
    // One step by hand: (k,k) 1/a_kk, row k over a_kk, column k over -a_kk, the rest less the product.
    std::vector<double> b = {2, 4, 6, 3};
    ASSERT_EQ(mat::sweep(b.data(), 2, 2, 2, 1), 0);
    EXPECT_EQ(b, (std::vector<double>{0.5, 2, -3, 3 - 6 * 4 / 2.0}));
}

TEST_F(Numerics, SweepMessages) {
    MsgCapture cap;
    std::vector<double> a = {0, 1, 1, 0, 2, 3};
    EXPECT_EQ(mat::sweep(a.data(), 2, 3, 3, 1), 503);
    EXPECT_EQ(mat::sweep(a.data(), 2, 2, 3, 3), 503);
    EXPECT_EQ(mat::sweep(a.data(), 2, 2, 2, 1), 508);
    a[1] = session::lim.dot;
    EXPECT_EQ(mat::sweep(a.data(), 2, 2, 2, 2), 504);
    EXPECT_EQ(cap.text(),
              "sweep(): conformability error\nsweep(): conformability error\n"
              "sweep(): matrix has zero values on diagonal\nsweep(): matrix has missing values\n");
}

// ---- LAPACK-backed routines against long double -------------------------------------------------

// The 1-norm condition number of a.
double cond1(const std::vector<double> &a, int n) {
    std::vector<LD> l = to_ld(a);
    return (double)(norm1(l, n) * norm1(gj_inverse(l, n), n));
}

// Cholesky in long double: the lower factor.
std::vector<LD> ld_cholesky(const std::vector<double> &a, int n) {
    std::vector<LD> l((size_t)n * n, 0);
    for (int j = 0; j < n; ++j) {
        LD s = a[(size_t)j * n + j];
        for (int k = 0; k < j; ++k)
            s -= l[(size_t)j * n + k] * l[(size_t)j * n + k];
        l[(size_t)j * n + j] = sqrtl(s);
        for (int i = j + 1; i < n; ++i) {
            LD t = a[(size_t)i * n + j];
            for (int k = 0; k < j; ++k)
                t -= l[(size_t)i * n + k] * l[(size_t)j * n + k];
            l[(size_t)i * n + j] = t / l[(size_t)j * n + j];
        }
    }
    return l;
}

// Cyclic Jacobi in long double: eigenvalues descending, eigenvectors as columns with the same sign
// rule as the routine (the element of greatest size positive).
void ld_jacobi(const std::vector<LD> &in, int n, std::vector<LD> &vals, std::vector<LD> &vecs) {
    std::vector<LD> a = in, v((size_t)n * n, 0);
    for (int i = 0; i < n; ++i)
        v[(size_t)i * n + i] = 1;
    for (int sweep = 0; sweep < 100; ++sweep) {
        LD off = 0, all = 0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                all += a[(size_t)i * n + j] * a[(size_t)i * n + j];
                if (i != j) off += a[(size_t)i * n + j] * a[(size_t)i * n + j];
            }
        if (off <= all * 1e-44L) break;
        for (int p = 0; p < n; ++p)
            for (int q = p + 1; q < n; ++q) {
                const LD apq = a[(size_t)p * n + q];
                if (apq == 0) continue;
                const LD theta = (a[(size_t)q * n + q] - a[(size_t)p * n + p]) / (2 * apq);
                const LD t = (theta >= 0 ? 1 : -1) / (fabsl(theta) + sqrtl(theta * theta + 1));
                const LD c = 1 / sqrtl(t * t + 1), s = t * c;
                for (int k = 0; k < n; ++k) { // columns p, q
                    const LD kp = a[(size_t)k * n + p], kq = a[(size_t)k * n + q];
                    a[(size_t)k * n + p] = c * kp - s * kq;
                    a[(size_t)k * n + q] = s * kp + c * kq;
                }
                for (int k = 0; k < n; ++k) { // rows p, q
                    const LD pk = a[(size_t)p * n + k], qk = a[(size_t)q * n + k];
                    a[(size_t)p * n + k] = c * pk - s * qk;
                    a[(size_t)q * n + k] = s * pk + c * qk;
                }
                for (int k = 0; k < n; ++k) {
                    const LD kp = v[(size_t)k * n + p], kq = v[(size_t)k * n + q];
                    v[(size_t)k * n + p] = c * kp - s * kq;
                    v[(size_t)k * n + q] = s * kp + c * kq;
                }
            }
    }
    std::vector<int> ord(n);
    for (int i = 0; i < n; ++i)
        ord[i] = i;
    std::sort(ord.begin(), ord.end(),
              [&](int x, int y) { return a[(size_t)x * n + x] > a[(size_t)y * n + y]; });
    vals.assign(n, 0);
    vecs.assign((size_t)n * n, 0);
    for (int k = 0; k < n; ++k) {
        vals[k] = a[(size_t)ord[k] * n + ord[k]];
        int big = 0;
        for (int i = 1; i < n; ++i)
            if (fabsl(v[(size_t)i * n + ord[k]]) > fabsl(v[(size_t)big * n + ord[k]])) big = i;
        const LD f = v[(size_t)big * n + ord[k]] < 0 ? -1 : 1;
        for (int i = 0; i < n; ++i)
            vecs[(size_t)i * n + k] = f * v[(size_t)i * n + ord[k]];
    }
}

struct Case {
    std::string name;
    std::vector<double> a;
    int n;
};
std::vector<Case> spd_cases() {
    std::vector<Case> c;
    for (int n = 1; n <= 10; ++n)
        c.push_back({"hilbert " + std::to_string(n), hilbert(n), n});
    c.push_back({"longley", longley_xtx(), 7});
    return c;
}

// inv by LU: element errors relative to the scale of the inverse, within the condition number of
// the matrix scaled to a unit diagonal times n times the precision, and normwise within the
// unscaled 1-norm condition number times n times the precision.
TEST_F(Numerics, InvHilbertLongley) {
    for (const Case &c : spd_cases()) {
        SCOPED_TRACE(c.name);
        const int n = c.n, ld = n + 2;
        std::vector<double> x((size_t)n * ld, -7.0);
        ASSERT_EQ(mat::inv(c.a.data(), n, n, n, x.data(), ld), 0);
        const std::vector<LD> r = gj_inverse(to_ld(c.a), n);
        const double cs = cond_scaled(c.a, n);
        EXPECT_LE(scaled_err(x, ld, r, n), cs * n * EPS) << "scaled cond " << cs;
        std::vector<LD> d((size_t)n * n);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                d[(size_t)i * n + j] = (LD)x[(size_t)i * ld + j] - r[(size_t)i * n + j];
        if (c.name != "longley") { // its unscaled condition number is beyond a double's range of use
            EXPECT_LE((double)(norm1(d, n) / norm1(r, n)), cond1(c.a, n) * n * EPS);
        }
        for (int i = 0; i < n; ++i)
            EXPECT_EQ(x[(size_t)i * ld + n], -7.0);
    }
}

// cholesky: the factor within the scaled condition number, and L L' = A to rounding whatever the
// condition.
TEST_F(Numerics, CholeskyHilbertLongley) {
    for (const Case &c : spd_cases()) {
        SCOPED_TRACE(c.name);
        const int n = c.n;
        std::vector<double> l((size_t)n * n, -7.0);
        ASSERT_EQ(mat::cholesky(c.a.data(), n, n, n, l.data(), n), 0);
        const std::vector<LD> r = ld_cholesky(c.a, n);
        const double cs = cond_scaled(c.a, n);
        double err = 0, back = 0;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) {
                if (j > i) {
                    EXPECT_EQ(l[(size_t)i * n + j], 0.0);
                }
                const LD si = sqrtl((LD)c.a[(size_t)i * n + i]);
                err = std::max(err, (double)(fabsl(l[(size_t)i * n + j] - r[(size_t)i * n + j]) / si));
                LD s = 0;
                for (int k = 0; k < n; ++k)
                    s += (LD)l[(size_t)i * n + k] * l[(size_t)j * n + k];
                back = std::max(back, (double)(fabsl(s - c.a[(size_t)i * n + j]) /
                                               (si * sqrtl((LD)c.a[(size_t)j * n + j]))));
            }
        EXPECT_LE(err, cs * n * EPS) << "scaled cond " << cs;
        EXPECT_LE(back, 2 * n * EPS);
    }
}

// symeigen: eigenvalues within n eps |A| (they are perfectly conditioned); each eigenvector within
// n eps |A| / gap, its condition number; V orthonormal.
TEST_F(Numerics, SymeigenHilbertLongley) {
    for (const Case &c : spd_cases()) {
        SCOPED_TRACE(c.name);
        const int n = c.n, ld = n + 1;
        std::vector<double> v((size_t)n * ld, -7.0), w(n);
        ASSERT_EQ(mat::symeigen(c.a.data(), n, n, n, v.data(), ld, w.data()), 0);
        std::vector<LD> rv, rx;
        ld_jacobi(to_ld(c.a), n, rv, rx);
        const double top = (double)rv[0];
        for (int k = 0; k < n; ++k) {
            EXPECT_LE(std::fabs(w[k] - (double)rv[k]), n * EPS * top) << k;
            if (k) {
                EXPECT_GE(w[k - 1], w[k]);
            }
            LD gap = INFINITY;
            for (int j = 0; j < n; ++j)
                if (j != k) gap = std::min(gap, fabsl(rv[j] - rv[k]));
            double e = 0;
            for (int i = 0; i < n; ++i)
                e = std::max(e, (double)fabsl(v[(size_t)i * ld + k] - rx[(size_t)i * n + k]));
            if (n > 1) {
                EXPECT_LE(e, n * EPS * top / (double)gap) << "vector " << k;
            }
            for (int j = 0; j < n; ++j) {
                LD s = 0;
                for (int i = 0; i < n; ++i)
                    s += (LD)v[(size_t)i * ld + k] * v[(size_t)i * ld + j];
                EXPECT_NEAR((double)s, j == k ? 1.0 : 0.0, 2 * n * EPS);
            }
        }
        std::vector<double> only(n);
        ASSERT_EQ(mat::symeigen(c.a.data(), n, n, n, nullptr, 0, only.data()), 0);
        for (int k = 0; k < n; ++k)
            EXPECT_LE(std::fabs(only[k] - (double)rv[k]), n * EPS * top);
    }
}

// svd of the symmetric positive definite cases: the singular values are the eigenvalues and V the
// eigenvectors; U = V.
TEST_F(Numerics, SvdHilbertLongley) {
    for (const Case &c : spd_cases()) {
        SCOPED_TRACE(c.name);
        const int n = c.n;
        std::vector<double> u((size_t)n * n), v((size_t)n * n), w(n);
        ASSERT_EQ(mat::svd(c.a.data(), n, n, n, u.data(), n, w.data(), v.data(), n), 0);
        std::vector<LD> rv, rx;
        ld_jacobi(to_ld(c.a), n, rv, rx);
        const double top = (double)rv[0];
        for (int k = 0; k < n; ++k) {
            EXPECT_LE(std::fabs(w[k] - (double)rv[k]), n * EPS * top) << k;
            LD gap = INFINITY;
            for (int j = 0; j < n; ++j)
                if (j != k) gap = std::min(gap, fabsl(rv[j] - rv[k]));
            double e = 0, eu = 0;
            for (int i = 0; i < n; ++i) {
                e = std::max(e, (double)fabsl(v[(size_t)i * n + k] - rx[(size_t)i * n + k]));
                eu = std::max(eu, std::fabs(u[(size_t)i * n + k] - v[(size_t)i * n + k]));
            }
            if (n > 1) {
                EXPECT_LE(e, n * EPS * top / (double)gap) << "vector " << k;
                EXPECT_LE(eu, 2 * n * EPS * top / (double)gap) << "vector " << k;
            }
        }
    }
}

// svd of the 16 by 7 Longley design itself: the singular values are the roots of the eigenvalues
// of X'X, and U diag(w) V' gives X back.
TEST_F(Numerics, SvdLongleyDesign) {
    std::ifstream f(std::string(ORVAT_SOURCE_DIR) + "/tests/unit/data/Longley.dat");
    std::string line;
    std::vector<double> x;
    int lineno = 0, r = 0;
    while (std::getline(f, line)) {
        if (++lineno < 61) continue;
        std::istringstream in(line);
        double v[7];
        if (!(in >> v[0] >> v[1] >> v[2] >> v[3] >> v[4] >> v[5] >> v[6])) continue;
        for (int j = 1; j < 7; ++j)
            x.push_back(v[j]);
        x.push_back(1);
        ++r;
    }
    ASSERT_EQ(r, 16);
    const int c = 7;
    std::vector<double> u((size_t)r * c), v((size_t)c * c), w(c);
    ASSERT_EQ(mat::svd(x.data(), r, c, c, u.data(), c, w.data(), v.data(), c), 0);
    std::vector<LD> xtx((size_t)c * c, 0), rv, rx;
    for (int i = 0; i < c; ++i)
        for (int j = 0; j < c; ++j)
            for (int k = 0; k < r; ++k)
                xtx[(size_t)i * c + j] += (LD)x[(size_t)k * c + i] * x[(size_t)k * c + j];
    ld_jacobi(xtx, c, rv, rx);
    for (int k = 0; k < c; ++k) {
        // sigma^2 = lambda: an error of e in sigma is one of 2 sigma e in lambda; the bound on sigma
        // is n eps sigma_max.
        EXPECT_LE(std::fabs(w[k] - (double)sqrtl(rv[k])), c * EPS * w[0]) << k;
    }
    for (int i = 0; i < r; ++i)
        for (int j = 0; j < c; ++j) {
            LD s = 0;
            for (int k = 0; k < c; ++k)
                s += (LD)u[(size_t)i * c + k] * w[k] * v[(size_t)j * c + k];
            EXPECT_LE(std::fabs((double)s - x[(size_t)i * c + j]), 4 * c * EPS * w[0]);
        }
    // A wide matrix: its transpose's values, k = 2 columns of U and V.
    const double wide[6] = {3, 0, 4, 0, 5, 0};
    std::vector<double> uw(4), vw(6), ww(2);
    ASSERT_EQ(mat::svd(wide, 2, 3, 3, uw.data(), 2, ww.data(), vw.data(), 2), 0);
    EXPECT_NEAR(ww[0], 5, 1e-15);
    EXPECT_NEAR(ww[1], 5, 1e-15);
}

// The library's error callback records the call instead of ending the process; la_status() turns
// it into 3930 with its message.
extern "C" void dgetrf_(const int *m, const int *n, double *a, const int *lda, int *ipiv, int *info);
TEST_F(Numerics, LapackErrorBecomes3930) {
    MsgCapture cap;
    mat::la_reset();
    EXPECT_EQ(mat::la_status(), 0);
    const int m = -1, n = 2, lda = 2;
    double a[4] = {1, 2, 3, 4};
    int ipiv[2], info = 0;
    dgetrf_(&m, &n, a, &lda, ipiv, &info);
    EXPECT_EQ(info, -1);
    EXPECT_STREQ(mat::la_last_routine(), "DGETRF");
    EXPECT_EQ(mat::la_last_argument(), 1);
    EXPECT_EQ(mat::la_status(), 3930);
    EXPECT_EQ(cap.text(), "error in LAPACK routine\n");
    EXPECT_EQ(mat::la_status(), 0); // read once
    // A routine after it starts clean.
    double y[4];
    EXPECT_EQ(mat::inv(a, 2, 2, 2, y, 2), 0);
}

TEST_F(Numerics, LapackFailures) {
    MsgCapture cap;
    double x[9];
    const double sing[4] = {1, 2, 2, 4};
    EXPECT_EQ(mat::inv(sing, 2, 2, 2, x, 2), 3352);
    const double nonpd[4] = {1, 2, 2, 1};
    EXPECT_EQ(mat::cholesky(nonpd, 2, 2, 2, x, 2), 506);
    const double rect[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(mat::inv(rect, 2, 3, 3, x, 3), 503);
    const double nsym[4] = {1, 2, 3, 4};
    EXPECT_EQ(mat::symeigen(nsym, 2, 2, 2, x, 2, x + 4), 505);
    const double miss[4] = {1, 0, 0, session::lim.dot};
    EXPECT_EQ(mat::svd(miss, 2, 2, 2, nullptr, 0, x, nullptr, 0), 504);
    EXPECT_EQ(cap.text(), "singular matrix\nmatrix not positive definite\nconformability error\n"
                          "matrix not symmetric\nmatrix has missing values\n");
}

// ---- The small functions --------------------------------------------------------------------------

// det by LU: within the 1-norm condition number times n eps of the long-double elimination.
TEST_F(Numerics, DetHilbert) {
    for (int n = 1; n <= 10; ++n) {
        const std::vector<double> h = hilbert(n);
        std::vector<LD> a = to_ld(h);
        LD d = 1;
        for (int k = 0; k < n; ++k) {
            int p = k;
            for (int i = k + 1; i < n; ++i)
                if (fabsl(a[(size_t)i * n + k]) > fabsl(a[(size_t)p * n + k])) p = i;
            if (p != k) {
                d = -d;
                for (int j = 0; j < n; ++j)
                    std::swap(a[(size_t)k * n + j], a[(size_t)p * n + j]);
            }
            d *= a[(size_t)k * n + k];
            for (int i = k + 1; i < n; ++i) {
                const LD f = a[(size_t)i * n + k] / a[(size_t)k * n + k];
                for (int j = k; j < n; ++j)
                    a[(size_t)i * n + j] -= f * a[(size_t)k * n + j];
            }
        }
        double got = 0;
        ASSERT_EQ(mat::det(h.data(), n, n, n, &got), 0);
        EXPECT_LE(std::fabs(got - (double)d) / (double)d, cond1(h, n) * n * EPS) << n;
    }
    double d = 0;
    const double perm[4] = {0, 1, 1, 0}; // one row swap
    ASSERT_EQ(mat::det(perm, 2, 2, 2, &d), 0);
    EXPECT_EQ(d, -1.0);
    const double sing[4] = {1, 2, 2, 4};
    ASSERT_EQ(mat::det(sing, 2, 2, 2, &d), 0);
    EXPECT_EQ(d, 0.0);
    EXPECT_FALSE(std::signbit(d));
    const double miss[4] = {1, session::lim.dot, 0, 1};
    ASSERT_EQ(mat::det(miss, 2, 2, 2, &d), 0);
    EXPECT_EQ(d, session::lim.dot);
}

TEST_F(Numerics, ScalarFunctions) {
    MsgCapture cap;
    // A 2 by 3 block inside a stride of 4; the fourth column is not part of it.
    const double a[8] = {1, 0, 3, 99, 0, 5, 0, 99};
    const double sq[9] = {1, 2, 3, 2, 0, 4, 3, 4, 0};
    double t = 0;
    int k = -1;
    EXPECT_EQ(mat::trace(sq, 3, 3, 3, &t), 0);
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(mat::diag0cnt(sq, 3, 3, 3, &k), 0);
    EXPECT_EQ(k, 2);
    EXPECT_TRUE(mat::issym(sq, 3, 3, 3));
    EXPECT_FALSE(mat::issym(a, 2, 3, 4));
    const double ns[4] = {1, 2, 2.0000000001, 1};
    EXPECT_FALSE(mat::issym(ns, 2, 2, 2));
    EXPECT_FALSE(mat::matmissing(a, 2, 3, 4));
    const double m[4] = {1, 2, 3, data::missing_value(26)};
    EXPECT_TRUE(mat::matmissing(m, 2, 2, 2));
    EXPECT_FALSE(mat::matmissing(m, 2, 1, 2)); // the missing value is outside the first column
    EXPECT_EQ(mat::trace(m, 2, 2, 2, &t), 0);
    EXPECT_EQ(t, session::lim.dot);
    EXPECT_EQ(cap.text(), "");
    EXPECT_EQ(mat::trace(a, 2, 3, 4, &t), 503);
    EXPECT_EQ(mat::diag0cnt(a, 2, 3, 4, &k), 503);
    EXPECT_EQ(mat::det(a, 2, 3, 4, &t), 503);
    EXPECT_EQ(cap.text(), "conformability error\nconformability error\nconformability error\n");
}

TEST_F(Numerics, Corr) {
    MsgCapture cap;
    const double v[9] = {4, 2, -3, 2, 9, 0, -3, 0, 1};
    double x[9];
    ASSERT_EQ(mat::corr(v, 3, 3, 3, x, 3), 0);
    EXPECT_EQ(x[0], 1.0);
    EXPECT_EQ(x[1], 2 / 6.0);
    EXPECT_EQ(x[2], -3 / 2.0);
    EXPECT_EQ(x[3], x[1]);
    EXPECT_EQ(x[5], 0.0);
    // In place.
    double w[9];
    std::memcpy(w, v, sizeof w);
    ASSERT_EQ(mat::corr(w, 3, 3, 3, w, 3), 0);
    EXPECT_EQ(std::memcmp(w, x, sizeof w), 0);
    const double z[4] = {1, 0, 0, 0};
    EXPECT_EQ(mat::corr(z, 2, 2, 2, x, 2), 508);
    const double neg[4] = {1, 0, 0, -1};
    EXPECT_EQ(mat::corr(neg, 2, 2, 2, x, 2), 508);
    EXPECT_EQ(cap.text(), "corr(): matrix has zero or negative values on diagonal\n"
                          "corr(): matrix has zero or negative values on diagonal\n");
    cap.reset();
    const double ns[4] = {1, 2, 3, 4};
    EXPECT_EQ(mat::corr(ns, 2, 2, 2, x, 2), 505);
    EXPECT_EQ(cap.text(), "matrix not symmetric\n");
}

TEST_F(Numerics, Syminv) {
    MsgCapture cap;
    const std::vector<double> h = hilbert(4);
    std::vector<double> viasweep = h, x(16);
    mat::InvsymOut out;
    ASSERT_EQ(mat::invsym(viasweep.data(), 4, 4, {}, &out), 0);
    ASSERT_EQ(mat::syminv(h.data(), 4, 4, 4, x.data(), 4, &out), 0);
    EXPECT_EQ(x, viasweep);
    EXPECT_EQ(h, hilbert(4)); // the input is left alone
    const double rect[6] = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(mat::syminv(rect, 2, 3, 3, x.data(), 3, &out), 503);
    const double ns[4] = {1, 2, 3, 4};
    EXPECT_EQ(mat::syminv(ns, 2, 2, 2, x.data(), 2, &out), 505);
    EXPECT_EQ(cap.text(), "conformability error\nmatrix not symmetric\n");
}

TEST_F(Numerics, ElementFunctions) {
    MsgCapture cap;
    const double a[6] = {1, 2, 3, 4, 5, 6};
    const double b[8] = {2, 0, -1, 9, session::lim.dot, 1, 0.5, 9}; // stride 4
    double x[9];
    ASSERT_EQ(mat::hadamard(a, 2, 3, 3, b, 2, 3, 4, x, 3), 0);
    EXPECT_EQ(std::vector<double>(x, x + 6), (std::vector<double>{2, 0, -3, session::lim.dot, 5, 3}));
    EXPECT_EQ(mat::hadamard(a, 2, 3, 3, b, 3, 2, 4, x, 3), 503);
    ASSERT_EQ(mat::vec(a, 2, 3, 3, x), 0);
    EXPECT_EQ(std::vector<double>(x, x + 6), (std::vector<double>{1, 4, 2, 5, 3, 6}));
    const double sq[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ASSERT_EQ(mat::vecdiag(sq, 3, 3, 3, x), 0);
    EXPECT_EQ(std::vector<double>(x, x + 3), (std::vector<double>{1, 5, 9}));
    EXPECT_EQ(mat::vecdiag(a, 2, 3, 3, x), 503);
    // diag of a row vector and of a column vector (stride 3: the first column of sq).
    ASSERT_EQ(mat::diag(a, 1, 3, 3, x, 3), 0);
    EXPECT_EQ(std::vector<double>(x, x + 9), (std::vector<double>{1, 0, 0, 0, 2, 0, 0, 0, 3}));
    ASSERT_EQ(mat::diag(sq, 3, 1, 3, x, 3), 0);
    EXPECT_EQ(std::vector<double>(x, x + 9), (std::vector<double>{1, 0, 0, 0, 4, 0, 0, 0, 7}));
    EXPECT_EQ(mat::diag(sq, 3, 3, 3, x, 3), 503);
    EXPECT_EQ(cap.text(), "conformability error\nconformability error\nconformability error\n");
    cap.reset();
    const int keep = session::st.matsize;
    session::st.matsize = 5;
    EXPECT_EQ(mat::vec(a, 2, 3, 3, x), 908); // 6 rows
    session::st.matsize = keep;
    EXPECT_EQ(cap.text().substr(0, 18), "matsize too small\n");
}

// matuniform draws from the session's generator, row by row.
TEST_F(Numerics, Matuniform) {
    ASSERT_EQ(data::rng_set_seed("12345"), 0);
    double x[8];
    ASSERT_EQ(mat::matuniform(2, 3, x, 4), 0);
    ASSERT_EQ(data::rng_set_seed("12345"), 0);
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(x[i * 4 + j], data::rng_uniform());
            EXPECT_GT(x[i * 4 + j], 0.0);
            EXPECT_LT(x[i * 4 + j], 1.0);
        }
}

// The eigenvalues of a general matrix: complex pairs and the order by real part, then imaginary.
TEST_F(Numerics, EigenvaluesGeneral) {
    double re[3], im[3];
    // The companion matrix of (x-1)(x-2)(x-3).
    const double comp[9] = {6, -11, 6, 1, 0, 0, 0, 1, 0};
    ASSERT_EQ(mat::eigenvalues(comp, 3, 3, 3, re, im), 0);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(re[k], 3 - k, 1e-13);
        EXPECT_EQ(im[k], 0.0);
    }
    // 5 beside the block [1 -1; 1 1], whose eigenvalues are 1 + i and 1 - i.
    const double blk[9] = {1, -1, 0, 1, 1, 0, 0, 0, 5};
    ASSERT_EQ(mat::eigenvalues(blk, 3, 3, 3, re, im), 0);
    EXPECT_NEAR(re[0], 5, 1e-14);
    EXPECT_EQ(im[0], 0.0);
    EXPECT_NEAR(re[1], 1, 1e-14);
    EXPECT_NEAR(im[1], 1, 1e-14);
    EXPECT_NEAR(re[2], 1, 1e-14);
    EXPECT_NEAR(im[2], -1, 1e-14);
    // A symmetric matrix agrees with symeigen.
    const std::vector<double> h = hilbert(5);
    double w[5], r5[5], i5[5];
    ASSERT_EQ(mat::symeigen(h.data(), 5, 5, 5, nullptr, 0, w), 0);
    ASSERT_EQ(mat::eigenvalues(h.data(), 5, 5, 5, r5, i5), 0);
    for (int k = 0; k < 5; ++k) {
        EXPECT_NEAR(r5[k], w[k], 5 * EPS * w[0]);
        EXPECT_EQ(i5[k], 0.0);
    }
}

} // namespace
