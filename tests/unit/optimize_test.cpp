// The Newton optimiser on small functions: a quadratic in one step, a valley that needs halvings, a
// start where the objective cannot be evaluated, iterate(0), the iteration limit, the log lines.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "estimate/optimize.h"
#include "msg_capture.h"
#include "session/hexfloat.h"

using namespace est;

namespace {

// The missing value, which the optimiser tests objectives against, comes from the limits.
const bool limits_ready = session::compute_limits();

// f(b) = sum_j c_j (b_j - m_j)^2, with its exact derivatives.
struct Quadratic {
    std::vector<double> c{1, 4}, m{3, -2};
    int calls = 0, hess_calls = 0;
    int operator()(const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                   std::vector<double> &H) {
        ++calls;
        const size_t k = b.size();
        *f = 0;
        for (size_t j = 0; j < k; ++j)
            *f += c[j] * (b[j] - m[j]) * (b[j] - m[j]);
        if (want == EVAL_DERIVS) {
            ++hess_calls;
            g.assign(k, 0);
            H.assign(k * k, 0);
            for (size_t j = 0; j < k; ++j) {
                g[j] = 2 * c[j] * (b[j] - m[j]);
                H[j * k + j] = 2 * c[j];
            }
        }
        return 0;
    }
};

Optimizer quiet(std::function<int(const std::vector<double> &, int, double *, std::vector<double> &,
                                  std::vector<double> &)>
                    ev) {
    Optimizer o;
    o.evaluator = std::move(ev);
    o.showLog = false;
    o.negate = false;
    return o;
}

TEST(Optimize, QuadraticInOneNewtonStep) {
    ASSERT_TRUE(limits_ready);
    Quadratic q;
    Optimizer o = quiet(std::ref(q));
    std::vector<double> b{0, 0};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_DOUBLE_EQ(b[0], 3);
    EXPECT_DOUBLE_EQ(b[1], -2);
    EXPECT_TRUE(o.status == OPT_OBJ || o.status == OPT_COEF);
    // the first step lands on the minimum; the second confirms it
    EXPECT_LE(o.iterations, 2);
    EXPECT_DOUBLE_EQ(o.objective, 0);
    // V is the inverse Hessian
    EXPECT_DOUBLE_EQ(o.V[0], 0.5);
    EXPECT_DOUBLE_EQ(o.V[3], 0.125);
    EXPECT_DOUBLE_EQ(o.V[1], 0);
}

// A function whose Newton step from far away overshoots badly: f(b) = sqrt(1 + b^2) (convex, its
// Newton step from b is -b - b^3), and a second coordinate in a plain quadratic.
struct Overshoot {
    int objective_calls = 0;
    int operator()(const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                   std::vector<double> &H) {
        if (want == EVAL_OBJECTIVE) ++objective_calls;
        const double s = std::sqrt(1 + b[0] * b[0]);
        *f = s + (b[1] - 1) * (b[1] - 1);
        if (want == EVAL_DERIVS) {
            g = {b[0] / s, 2 * (b[1] - 1)};
            H = {1 / (s * s * s), 0, 0, 2};
        }
        return 0;
    }
};

TEST(Optimize, HalvingsBackUpAnOvershootingStep) {
    Overshoot ev;
    MsgCapture cap;
    Optimizer o;
    o.evaluator = std::ref(ev);
    o.negate = false;
    o.word = "f";
    std::vector<double> b{3, 0};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_NEAR(b[0], 0, 1e-6);
    EXPECT_NEAR(b[1], 1, 1e-9);
    // the first step (-30 from 3) rises, so it is halved until it falls
    EXPECT_GT(ev.objective_calls, o.iterations);
    const std::string t = cap.raw();
    EXPECT_NE(t.find("Iteration 0:   f = "), std::string::npos) << t;
    // three halvings at most on the way: none reaches six, so no line says it backed up
    EXPECT_EQ(t.find("backed up"), std::string::npos) << t;
}

// From far enough out the Newton step of sqrt(1 + b^2) needs six halvings or more.
TEST(Optimize, BackedUpFromSixHalvings) {
    Overshoot ev;
    MsgCapture cap;
    Optimizer o;
    o.evaluator = std::ref(ev);
    o.negate = false;
    o.word = "f";
    std::vector<double> b{40, 1};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_NEAR(b[0], 0, 1e-6);
    const std::string t = cap.raw();
    EXPECT_NE(t.find("Iteration 1:   f = "), std::string::npos) << t;
    EXPECT_NE(t.find("  (backed up)\n"), std::string::npos) << t;
}

TEST(Optimize, IterationLine) {
    EXPECT_EQ(iteration_line(0, "log likelihood", -338.06117198, 0),
              "{txt}Iteration 0:   log likelihood = {res}-338.06117\n");
    EXPECT_EQ(iteration_line(12, "log likelihood", -1.5, 6),
              "{txt}Iteration 12:  log likelihood = {res}      -1.5{txt}  (backed up)\n");
    EXPECT_EQ(iteration_line(123, "ll", -1.5, 5), "{txt}Iteration 123: ll = {res}      -1.5\n");
    EXPECT_EQ(iteration_line(1234, "ll", 2, 0), "{txt}Iteration 1234: ll = {res}         2\n");
}

TEST(Optimize, IterateZeroEvaluatesOnce) {
    Quadratic q;
    Optimizer o = quiet(std::ref(q));
    o.maxIterations = 0;
    std::vector<double> b{1, 1};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_EQ(o.status, OPT_ITER);
    EXPECT_EQ(o.iterations, 0);
    EXPECT_EQ(q.calls, 1);
    EXPECT_EQ(b[0], 1);
    EXPECT_DOUBLE_EQ(o.objective, 4 + 4 * 9);
    ASSERT_EQ(o.V.size(), 4u);
    EXPECT_DOUBLE_EQ(o.V[0], 0.5);
}

TEST(Optimize, IterationLimitGivesStatus3) {
    Overshoot ev;
    Optimizer o = quiet(std::ref(ev));
    o.maxIterations = 2;
    std::vector<double> b{3, 0};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_EQ(o.status, OPT_ITER);
    EXPECT_EQ(o.iterations, 2);
}

TEST(Optimize, MissingAtTheStartIsAFlatRegion) {
    MsgCapture cap;
    Optimizer o = quiet(
        [](const std::vector<double> &, int, double *f, std::vector<double> &g, std::vector<double> &H) {
            *f = session::lim.dot;
            g.assign(1, 0);
            H.assign(1, 1);
            return 0;
        });
    std::vector<double> b{0};
    EXPECT_EQ(optimize(o, b), 430);
    EXPECT_EQ(cap.raw(), "flat region resulting in a missing likelihood\n");
}

// The objective is missing everywhere but at the start: every step is halved until the count runs out.
TEST(Optimize, FiftyOneHalvingsIsNoConvergence) {
    MsgCapture cap;
    int calls = 0;
    Optimizer o = quiet(
        [&](const std::vector<double> &b, int, double *f, std::vector<double> &g, std::vector<double> &H) {
            ++calls;
            *f = b[0] == 0 ? 1 : session::lim.dot;
            g.assign(1, 1);
            H.assign(1, 1);
            return 0;
        });
    std::vector<double> b{0};
    EXPECT_EQ(optimize(o, b), 430);
    EXPECT_EQ(cap.raw(), "convergence not achieved\n");
    EXPECT_EQ(calls, 1 + 51);
    EXPECT_EQ(b[0], 0);
}

// A flat start: the objective does not change near the start, so the objective test stops at once.
TEST(Optimize, FlatStartConvergesOnTheObjective) {
    Optimizer o = quiet([](const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                           std::vector<double> &H) {
        *f = 7;
        if (want == EVAL_DERIVS) {
            g.assign(b.size(), 0);
            H.assign(b.size() * b.size(), 0);
            for (size_t j = 0; j < b.size(); ++j)
                H[j * b.size() + j] = 1;
        }
        return 0;
    });
    std::vector<double> b{0.5, -0.5};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_EQ(o.status, OPT_OBJ);
    EXPECT_EQ(o.iterations, 1);
    EXPECT_EQ(b[0], 0.5);
}

// The evaluator's code passes through unchanged.
TEST(Optimize, EvaluatorFailurePassesThrough) {
    int calls = 0;
    Optimizer o = quiet(
        [&](const std::vector<double> &, int, double *f, std::vector<double> &g, std::vector<double> &H) {
            *f = 1;
            g.assign(1, 1);
            H.assign(1, 1);
            return ++calls == 2 ? 459 : 0;
        });
    std::vector<double> b{0};
    EXPECT_EQ(optimize(o, b), 459);
}

// A collinear pair: the sweep drops the second column and the step moves only the first.
TEST(Optimize, SingularHessianDropsAColumn) {
    Optimizer o = quiet([](const std::vector<double> &b, int want, double *f, std::vector<double> &g,
                           std::vector<double> &H) {
        const double s = b[0] + b[1] - 2;
        *f = s * s;
        if (want == EVAL_DERIVS) {
            g = {2 * s, 2 * s};
            H = {2, 2, 2, 2};
        }
        return 0;
    });
    std::vector<double> b{0, 0};
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_EQ(o.ndropped, 1);
    EXPECT_EQ(o.dropped[1], 1);
    EXPECT_DOUBLE_EQ(b[0], 2);
    EXPECT_EQ(b[1], 0);
}

TEST(Optimize, ShowCoefficientsInRowsOfFive) {
    Quadratic q;
    q.c.assign(6, 1);
    q.m = {1, 2, 3, 4, 5, 6};
    MsgCapture cap;
    Optimizer o;
    o.evaluator = std::ref(q);
    o.showCoefficients = true;
    o.maxIterations = 0;
    std::vector<double> b(6, 0);
    ASSERT_EQ(optimize(o, b), 0);
    EXPECT_EQ(cap.raw(), "Iteration 0:   log likelihood =        -91\n"
                         "                    0          0          0          0          0\n"
                         "                    0\n");
}

} // namespace
