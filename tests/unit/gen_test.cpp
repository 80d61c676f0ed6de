// generate and replace: the type a replaced value needs, the kernels over by-groups against the loop
// once per group with one and two threads, the by-state (counts over the groups, the variable count
// put back on failure), what replace does to the sort list and the changed counter, and Break.
#include <gtest/gtest.h>

#include <omp.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/gen.h"
#include "data/xeq.h"
#include "data_fixture.h"
#include "estimate/frame.h"
#include "session/state.h"

using namespace data;

namespace {

// A match, so that regexs() has subexpressions to give: regexs(12) then fails at run time (125).
int regex_hook_match() {
    ExprValue v;
    return expr_eval_scalar("regexm(\"abc\", \"(b)\")", v);
}

TEST(ReplaceType, ByTheValue) {
    ASSERT_TRUE(session::compute_limits());
    const double dot = session::lim.dot;
    // values the type holds, and missing values, change nothing
    EXPECT_EQ(replace_type_for(T_BYTE, 100), T_BYTE);
    EXPECT_EQ(replace_type_for(T_BYTE, -127), T_BYTE);
    EXPECT_EQ(replace_type_for(T_BYTE, dot), T_BYTE);
    EXPECT_EQ(replace_type_for(T_BYTE, missing_value(26)), T_BYTE);
    // out of the byte range: int; out of the int range: long; out of the long range: double
    EXPECT_EQ(replace_type_for(T_BYTE, 101), T_INT);
    EXPECT_EQ(replace_type_for(T_BYTE, -128), T_INT);
    EXPECT_EQ(replace_type_for(T_BYTE, 32741), T_LONG);
    EXPECT_EQ(replace_type_for(T_INT, 32740), T_INT);
    EXPECT_EQ(replace_type_for(T_INT, 32741), T_LONG);
    EXPECT_EQ(replace_type_for(T_INT, -32768), T_LONG);
    EXPECT_EQ(replace_type_for(T_LONG, 2147483620), T_LONG);
    EXPECT_EQ(replace_type_for(T_LONG, 2147483621), T_DOUBLE);
    EXPECT_EQ(replace_type_for(T_BYTE, 2147483621), T_DOUBLE);
    EXPECT_EQ(replace_type_for(T_LONG, -2147483648.0), T_DOUBLE);
    // exponent 31 or more: double
    EXPECT_EQ(replace_type_for(T_INT, 3e9), T_DOUBLE);
    EXPECT_EQ(replace_type_for(T_BYTE, -1e300), T_DOUBLE);
    // a fraction: long to double, byte and int to float
    EXPECT_EQ(replace_type_for(T_BYTE, 0.5), T_FLOAT);
    EXPECT_EQ(replace_type_for(T_INT, -2.25), T_FLOAT);
    EXPECT_EQ(replace_type_for(T_LONG, 0.5), T_DOUBLE);
    // float and double never change, nor do strings
    EXPECT_EQ(replace_type_for(T_FLOAT, 1e300), T_FLOAT);
    EXPECT_EQ(replace_type_for(T_DOUBLE, 0.5), T_DOUBLE);
    EXPECT_EQ(replace_type_for(5, 0.5), 5);
}

// A dataset of n observations in groups of varying sizes (g) with a value x.
class Gen : public DataFixture {
  protected:
    int g = 0, x = 0;
    std::vector<ObsGroup> groups;

    void SetUp() override {
        DataFixture::SetUp();
        g = add("g", T_LONG);
        x = add("x", T_DOUBLE);
        session::lp.version = 1010;
    }
    void TearDown() override {
        bys = ByState{};
        session::lp.byprefix = 0;
        one_thread();
        DataFixture::TearDown();
    }
    void build(int n) {
        ASSERT_EQ(set_obs(n), 0);
        groups.clear();
        int32_t lo = 1, k = 0;
        while (lo <= n) {
            const int32_t size = 1 + (k * 37) % 23; // 1 to 23 observations
            const int32_t hi = std::min<int32_t>(n, lo + size - 1);
            for (int32_t i = lo; i <= hi; ++i) {
                put_num(g, i, k);
                put_num(x, i, ((i * 7919) % 1000) / 7.0 - 50);
            }
            groups.push_back({lo, hi});
            lo = hi + 1;
            ++k;
        }
    }
    void two_threads() {
        est::fr.processors = est::fr.processorsNow = 2;
        est::fr.adaptiveTeams = false;
        omp_set_num_threads(2);
    }
    void one_thread() { est::processors_init(1); }
    // The command once per group, as the group loop of `by` runs it.
    int group_loop(int (*handler)(int), const std::string &text) {
        bys = ByState{};
        bys.nvar_at = ds.nvar;
        session::lp.byprefix = 1;
        for (size_t k = 0; k < groups.size(); ++k) {
            bys.state = k == 0 ? 1 : 2;
            bys.lo = groups[k].lo;
            bys.hi = groups[k].hi;
            bys.last = k + 1 == groups.size();
            if (int rc = run(handler, text)) {
                bys = ByState{};
                session::lp.byprefix = 0;
                return rc;
            }
        }
        bys = ByState{};
        session::lp.byprefix = 0;
        return 0;
    }
    int one_pass(int (*fn)(std::span<const ObsGroup>, bool *), const std::string &text, bool *taken) {
        command_begin();
        cap->reset();
        line = text;
        session::settok(line.c_str());
        session::lp.byprefix = 1;
        const int rc = fn(groups, taken);
        session::lp.byprefix = 0;
        return rc;
    }
    std::vector<uint64_t> bits(int v) {
        std::vector<uint64_t> b;
        for (int32_t i = 1; i <= ds.nobs; ++i)
            b.push_back(dbits(get_num(v, i)));
        return b;
    }
};

// generate over many groups in one pass gives, bit for bit, what the group loop gives: _n, _N,
// subscripts and running sums count within each group, with one thread and with two.
TEST_F(Gen, OnePassEqualsTheGroupLoop) {
    build(3000);
    const char *exps[] = {"_n", "_N - _n", "sum(x)", "x[_n-1]", "x*2 + x[1]/3 - (x>1)", "sqrt(x) if x > 3"};
    for (int threads = 1; threads <= 2; ++threads) {
        if (threads == 2) two_threads();
        for (const char *e : exps) {
            SCOPED_TRACE(std::string(e) + " threads " + std::to_string(threads));
            ASSERT_EQ(group_loop(cmd_generate, std::string("double a = ") + e), 0) << msg();
            const std::string loop_note = msg();
            const int a = find_var("a");
            ASSERT_GT(a, 0);
            bool taken = false;
            ASSERT_EQ(one_pass(gen_by_groups, std::string("double b = ") + e, &taken), 0) << msg();
            EXPECT_TRUE(taken);
            EXPECT_EQ(msg(), loop_note); // the missing values counted over all groups, once
            const int b = find_var("b");
            ASSERT_GT(b, 0);
            EXPECT_EQ(bits(a), bits(b));
            cut_vars(x);
        }
    }
}

TEST_F(Gen, OnePassReplaceEqualsTheGroupLoop) {
    build(2000);
    add("a", T_DOUBLE);
    add("b", T_DOUBLE);
    const char *exps[] = {"a[_n-1] + 1", "sum(x) if mod(_n, 3)", "x * _N"};
    for (int threads = 1; threads <= 2; ++threads) {
        if (threads == 2) two_threads();
        for (const char *e : exps) {
            SCOPED_TRACE(std::string(e) + " threads " + std::to_string(threads));
            for (int32_t i = 1; i <= ds.nobs; ++i) {
                put_num(3, i, 1);
                put_num(4, i, 1);
            }
            ASSERT_EQ(group_loop(cmd_replace, std::string("a = ") + e), 0) << msg();
            const std::string loop_note = msg();
            bool taken = false;
            std::string other = std::string("b = ") + e;
            for (size_t p = other.find("a["); p != std::string::npos; p = other.find("a[", p))
                other[p] = 'b';
            ASSERT_EQ(one_pass(rep_by_groups, other, &taken), 0) << msg();
            EXPECT_TRUE(taken);
            EXPECT_EQ(msg(), loop_note);
            EXPECT_EQ(bits(3), bits(4));
        }
    }
}

// An expression with a state is not run in one pass: nothing changes and the caller loops.
TEST_F(Gen, OnePassRefusesImpureExpressions) {
    build(300);
    bool taken = true;
    ASSERT_EQ(one_pass(gen_by_groups, "a = runiform()", &taken), 0) << msg();
    EXPECT_FALSE(taken);
    EXPECT_EQ(find_var("a"), 0);
    taken = true;
    ASSERT_EQ(one_pass(rep_by_groups, "x = 1 if runiform() < .5", &taken), 0) << msg();
    EXPECT_FALSE(taken);
}

// Under by the first group makes the variable and later ones fill it; the note comes with the last
// group and counts over all of them.
TEST_F(Gen, ByStateCountsOverTheGroups) {
    build(40);
    ASSERT_EQ(group_loop(cmd_generate, "a = 1 if _n == 1"), 0) << msg();
    EXPECT_EQ(msg(), "(" + std::to_string(40 - groups.size()) + " missing values generated)\n");
    const int a = find_var("a");
    for (const ObsGroup &gr : groups)
        for (int32_t i = gr.lo; i <= gr.hi; ++i)
            EXPECT_EQ(get_num(a, i), i == gr.lo ? 1 : session::lim.dot);
    ASSERT_EQ(group_loop(cmd_replace, "a = 2 if _n == _N"), 0) << msg();
    EXPECT_EQ(msg(), "(" + std::to_string(groups.size()) + " real changes made)\n");
}

// Outside of by, a failure part way leaves no variable and no change.
TEST_F(Gen, NoHalfMadeVariable) {
    build(50);
    ds.changed = 7;
    const int before = ds.nvar;
    ASSERT_EQ(regex_hook_match(), 0);
    EXPECT_EQ(run(cmd_generate, "s = regexs(cond(_n < 30, 0, 12))"), 125);
    EXPECT_EQ(ds.nvar, before);
    EXPECT_EQ(ds.changed, 7);
}

// A real change cuts the sort list at the variable and counts as a change of the dataset; none does
// neither.
TEST_F(Gen, ReplaceCutsTheSortListAndCounts) {
    build(10);
    const int y = add("y", T_DOUBLE);
    ds.sortlist[0] = (int16_t)g;
    ds.sortlist[1] = (int16_t)x;
    ds.sortlist[2] = (int16_t)y;
    ds.sortlist[3] = 0;
    ds.changed = 3;
    ASSERT_EQ(run(cmd_replace, "x = x"), 0);
    EXPECT_EQ(ds.sortlist[1], x);
    EXPECT_EQ(ds.changed, 3);
    ASSERT_EQ(run(cmd_replace, "x = x + 1 in 4"), 0);
    EXPECT_EQ(ds.sortlist[0], g);
    EXPECT_EQ(ds.sortlist[1], 0);
    EXPECT_EQ(ds.changed, 4);
    // a scratch variable does not count
    const int s = add("_s", T_DOUBLE);
    ASSERT_EQ(run(cmd_replace, "_s = 1"), 0);
    EXPECT_EQ(ds.changed, 4);
    (void)s;
}

// Break stops the loop; generate then leaves no variable, with one thread and with two.
TEST_F(Gen, BreakLeavesNoVariable) {
    build(20000);
    for (int threads = 1; threads <= 2; ++threads) {
        if (threads == 2) two_threads();
        const int before = ds.nvar;
        session::break_signal();
        EXPECT_EQ(run(cmd_generate, "double a = x * 2"), 1);
        session::break_clear();
        EXPECT_EQ(ds.nvar, before);
        EXPECT_EQ(est::fr.processorsNow, est::fr.processors);
    }
}

} // namespace
