// The dataset store: adding variables, the partition and its moves, drop/keep/order/rename, promote,
// compress, set obs, observation removal and the memory figures.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"

using namespace data;

namespace {

constexpr uint64_t DOT = 0x7FE0000000000000ull;

std::vector<std::string> hook_log;

class Store : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(session::compute_limits());
        ASSERT_EQ(data_init(1 << 20, 5000, 400), 0);
        session::lp.byprefix = 0;
        session::break_clear();
        hook_log.clear();
        hook_rename_var = [](const char *a, const char *b) {
            hook_log.push_back(std::string("rename ") + a + " " + b);
        };
        hook_drop_var = [](const char *a) { hook_log.push_back(std::string("drop ") + a); };
        hook_clear = [] { hook_log.push_back("clear"); };
    }
    void TearDown() override {
        hook_rename_var = nullptr;
        hook_drop_var = nullptr;
        hook_clear = nullptr;
        session::lp.byprefix = 0;
        session::break_clear();
    }

    int add(const char *name, int type) {
        int v = 0;
        EXPECT_EQ(add_var(name, type, &v), 0) << name;
        return v;
    }
    void obs(int n) {
        MsgCapture c;
        ASSERT_EQ(set_obs(n), 0);
    }
    std::string names() {
        std::string s;
        for (int v = 1; v <= ds.nvar; ++v) {
            if (v > 1) s += ' ';
            s += ds.varname[v - 1];
        }
        return s;
    }
    std::vector<int> sortlist() {
        std::vector<int> r;
        for (int k = 0; ds.sortlist[k]; ++k)
            r.push_back(ds.sortlist[k]);
        return r;
    }
    void set_sortlist(std::vector<int> l) {
        for (size_t k = 0; k < l.size(); ++k)
            ds.sortlist[k] = (int16_t)l[k];
        ds.sortlist[l.size()] = 0;
    }
    // Offsets are the running sum of the widths, and the used width is their total.
    void expect_packed() {
        int32_t off = 0;
        for (int v = 1; v <= ds.nvar; ++v) {
            EXPECT_EQ(ds.offset[v - 1], off) << "variable " << v;
            off += type_width(ds.vartype[v - 1]);
        }
        EXPECT_EQ(ds.w_cur, off);
    }
    void expect_partition() {
        EXPECT_EQ(ds.width % 2, 0);
        EXPECT_GE(ds.width, 4);
        EXPECT_GE(ds.width, ds.w_cur);
        EXPECT_LE(ds.width, ds.maxwidth);
        EXPECT_EQ(((uintptr_t)ds.database) % 16, 0u);
        EXPECT_EQ((char *)ds.index, ds.base);
        EXPECT_EQ((char *)ds.index2, ds.base + 4 * (int64_t)ds.tmaxobs);
        EXPECT_GE(ds.database, ds.base + 8 * (int64_t)ds.tmaxobs);
        EXPECT_LE(ds.database + (int64_t)ds.maxobs * ds.width, ds.base + ds.dsize);
        EXPECT_LE(ds.maxobs, ds.tmaxobs);
        EXPECT_LE(ds.nobs, ds.maxobs);
        EXPECT_EQ(ds.k_cur, std::min(ds.width, ds.maxvar));
    }
};

// A value for every cell that each type holds exactly.
double value_of(int type, int v, int i) {
    switch (type) {
    case T_BYTE:
        return (i * 7 + v) % 200 - 99;
    case T_INT:
        return (i * 13 + v) % 60000 - 29999;
    case T_LONG:
        return i * 100003.0 + v;
    case T_FLOAT:
        return i + v + 0.5;
    default:
        return i / 3.0 + v;
    }
}
std::string text_of(int v, int i) { return std::to_string(v) + "-" + std::to_string(i); }

void fill_all() {
    for (int v = 1; v <= ds.nvar; ++v)
        for (int i = 1; i <= ds.nobs; ++i) {
            if (is_string_type(ds.vartype[v - 1]))
                put_str(v, i, text_of(v, i).c_str());
            else
                put_num(v, i, value_of(ds.vartype[v - 1], v, i));
        }
}

// Checks each cell against the value written for variable `was` at observation `i_was`.
::testing::AssertionResult cell_is(int v, int i, int was, int i_was) {
    const int t = ds.vartype[v - 1];
    if (is_string_type(t)) {
        char buf[245];
        get_str(v, i, buf);
        std::string want = text_of(was, i_was).substr(0, t);
        if (want == buf) return ::testing::AssertionSuccess();
        return ::testing::AssertionFailure() << "var " << v << " obs " << i << ": " << buf << " not " << want;
    }
    double got = get_num(v, i), want = value_of(t, was, i_was);
    if (got == want) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "var " << v << " obs " << i << ": " << got << " not " << want;
}

} // namespace

TEST_F(Store, NewVariablesGetTheirDefaults) {
    EXPECT_EQ(add("x", T_FLOAT), 1);
    EXPECT_EQ(add("s", 3), 2);
    EXPECT_EQ(add("t", 20), 3);
    EXPECT_EQ(add("b", T_BYTE), 4);
    EXPECT_EQ(add("l", T_LONG), 5);
    EXPECT_EQ(add("d", T_DOUBLE), 6);
    EXPECT_STREQ(ds.fmt[0], "%9.0g");
    EXPECT_STREQ(ds.fmt[1], "%9s");
    EXPECT_STREQ(ds.fmt[2], "%20s");
    EXPECT_STREQ(ds.fmt[3], "%8.0g");
    EXPECT_STREQ(ds.fmt[4], "%12.0g");
    EXPECT_STREQ(ds.fmt[5], "%10.0g");
    EXPECT_STREQ(ds.vallab[0], "");
    EXPECT_EQ(ds.offset[1], 4);
    EXPECT_EQ(ds.offset[2], 7);
    EXPECT_EQ(ds.w_cur, 4 + 3 + 20 + 1 + 4 + 8);
    expect_packed();
    expect_partition();
    EXPECT_EQ(find_var("t"), 3);
    EXPECT_EQ(find_var("T"), 0);
    EXPECT_EQ(ds.tempvars, 0);
    add("__000001", T_BYTE);
    EXPECT_EQ(ds.tempvars, 1);
}

TEST_F(Store, NameRules) {
    add("x", T_BYTE);
    const int32_t changed = ds.changed, w = ds.w_cur;
    MsgCapture c;
    int v = 0;
    std::string n32(32, 'a'), n33(33, 'a');
    EXPECT_EQ(add_var(n33.c_str(), T_BYTE, &v), 198);
    for (const char *bad : {"1x", "x.y", "a-b", "a b", "é", "a?", "a~", "a/b", ""})
        EXPECT_EQ(add_var(bad, T_BYTE, &v), 198) << bad;
    EXPECT_EQ(add_var("x", T_BYTE, &v), 110);
    for (const char *res : {"with", "using", "if", "in", "_pred", "_b", "_n", "_N", "float", "double", "int",
                            "long", "_uniform", "_coef", "_rc", "_pi", "byte", "_cons"})
        EXPECT_EQ(add_var(res, T_BYTE, &v), 198) << res;
    c.reset();
    EXPECT_EQ(add_var("str5", T_BYTE, &v), 198);
    EXPECT_EQ(c.text(), "str5 invalid variable name\n");
    EXPECT_EQ(add_var("str244", T_BYTE, &v), 198);
    // None of the failures left a trace.
    EXPECT_EQ(ds.nvar, 1);
    EXPECT_EQ(ds.changed, changed);
    EXPECT_EQ(ds.w_cur, w);
    // These are names, not type words.
    for (const char *ok : {"str0", "str05", "str5a", "str", "_x", "X_1", n32.c_str(), "cons", "With"})
        EXPECT_EQ(add_var(ok, T_BYTE, &v), 0) << ok;
    EXPECT_EQ(ds.nvar, 10);
}

TEST_F(Store, ChangedCounter) {
    EXPECT_EQ(ds.changed, 0);
    add("x", T_BYTE);
    EXPECT_EQ(ds.changed, 1);
    add("_x", T_BYTE);
    add("__000001", T_BYTE);
    EXPECT_EQ(ds.changed, 1);
    ds.changed = 32765;
    bump_changed();
    EXPECT_EQ(ds.changed, 32766);
    bump_changed();
    EXPECT_EQ(ds.changed, 1);
}

TEST_F(Store, ScratchVariableUsesTheReservedSlot) {
    ASSERT_EQ(data_init(1 << 20, 3, 400), 0);
    MsgCapture c;
    add("a", T_BYTE);
    add("b", T_BYTE);
    int v = 0;
    EXPECT_EQ(add_var("c", T_BYTE, &v), 900); // the last slot is kept back from the user
    const int32_t changed = ds.changed;
    int s = add_scratch(T_BYTE);
    EXPECT_EQ(s, 3);
    EXPECT_STREQ(ds.varname[2], "_delete");
    EXPECT_EQ(ds.changed, changed);
    EXPECT_EQ(ds.nvar, ds.maxvar);
    EXPECT_EQ(add_scratch(T_BYTE), -900);
    // The failure is remembered until it is reset, even when room comes back.
    uint8_t flags[3] = {0, 0, 1};
    ASSERT_EQ(drop_vars(flags), 0);
    EXPECT_EQ(ds.nvar, 2);
    EXPECT_EQ(add_scratch(T_BYTE), -900);
    scratch_reset();
    EXPECT_EQ(add_scratch(T_BYTE), 3);
}

TEST_F(Store, FullRowRepartitionsForTheNextVariable) {
    // Four one-byte scratch variables fill a row of width 4 exactly.
    ASSERT_EQ(ds.width, 4);
    const int64_t r0 = ds.n_repart;
    for (int k = 0; k < 4; ++k)
        ASSERT_GT(add_scratch(T_BYTE), 0);
    EXPECT_EQ(ds.width, 4);
    EXPECT_EQ(ds.n_repart, r0);
    obs(50);
    fill_all();
    const int64_t before = ds.n_repart;
    int v = add("e", T_BYTE);
    EXPECT_EQ(v, 5);
    EXPECT_GT(ds.n_repart, before);
    EXPECT_GT(ds.width, 5);
    expect_partition();
    for (int u = 1; u <= 4; ++u)
        for (int i = 1; i <= 50; ++i)
            EXPECT_TRUE(cell_is(u, i, u, i));
}

TEST_F(Store, RepartitionKeepsEveryCell) {
    ASSERT_EQ(data_init(16 << 20, 5000, 400), 0);
    const int types[] = {T_BYTE, T_INT, T_LONG, T_FLOAT, T_DOUBLE, 7, 1, 30};
    char name[16];
    for (int k = 0; k < 40; ++k) {
        std::snprintf(name, sizeof name, "v%d", k + 1);
        add(name, types[k % 8]);
    }
    obs(3000);
    fill_all();
    // Give the index a permutation, as a sort would.
    for (int i = 1; i <= 1500; ++i)
        swap_obs(i, 3001 - i);
    for (int i = 1; i + 7 <= 3000; i += 11)
        swap_obs(i, i + 7);
    // Remember what each observation holds now.
    std::vector<std::vector<std::string>> held(3001, std::vector<std::string>(41));
    char buf[245];
    for (int i = 1; i <= 3000; ++i)
        for (int v = 1; v <= 40; ++v) {
            if (is_string_type(ds.vartype[v - 1]))
                get_str(v, i, buf);
            else
                std::snprintf(buf, sizeof buf, "%.17g", get_num(v, i));
            held[i][v] = buf;
        }
    auto unchanged = [&] {
        int bad = 0;
        for (int i = 1; i <= 3000 && bad < 5; ++i)
            for (int v = 1; v <= 40; ++v) {
                if (is_string_type(ds.vartype[v - 1]))
                    get_str(v, i, buf);
                else
                    std::snprintf(buf, sizeof buf, "%.17g", get_num(v, i));
                if (held[i][v] != buf) {
                    ADD_FAILURE() << "var " << v << " obs " << i << ": " << buf << " not " << held[i][v];
                    ++bad;
                }
            }
        return bad == 0;
    };
    const int64_t r0 = ds.n_repart;
    // Wider rows, fewer of them: the data base moves down and the stride grows.
    ASSERT_EQ(repartition(600, 0), 0);
    expect_partition();
    EXPECT_TRUE(unchanged());
    // More rows, narrower: the index grows while the stride shrinks.
    ASSERT_EQ(repartition(0, ds.maxobs / 2), 0);
    expect_partition();
    EXPECT_TRUE(unchanged());
    // Narrower than the used width is refused.
    EXPECT_EQ(repartition(ds.w_cur - ds.width - 2, 0), 901);
    // Wider than the maximum width is refused.
    EXPECT_EQ(repartition(ds.maxwidth, 0), 1010);
    EXPECT_TRUE(unchanged());
    // Many more variables, through add width.
    for (int k = 40; k < 200; ++k) {
        std::snprintf(name, sizeof name, "v%d", k + 1);
        add(name, types[k % 8]);
    }
    expect_partition();
    expect_packed();
    EXPECT_TRUE(unchanged());
    EXPECT_GT(ds.n_repart, r0 + 2);
    EXPECT_GT(ds.n_shift, 0);
    // And more observations.
    obs(9000);
    expect_partition();
    EXPECT_TRUE(unchanged());
    // Behind the observations the index is the identity.
    for (int32_t p = 9000; p < ds.tmaxobs; ++p)
        ASSERT_EQ(ds.index[p], p);
}

TEST_F(Store, WidthAndRowLimitsFollowTheMemory) {
    // With no observations the largest useful width is the maximum width.
    EXPECT_EQ(wmax(), 60000);
    add("x", T_DOUBLE);
    obs(100);
    // n w + 8(n+1) = D - 16 with D = 1048576 and n = 100 gives 10477.5, cut to even.
    if (ds.width <= 10476)
        EXPECT_EQ(wmax(), 10476);
    else
        EXPECT_EQ(wmax(), ds.width);
    // Rows of the used width (8) plus 4, plus the two index entries: 16 bytes each.
    EXPECT_EQ(obs_limit(), std::max<int64_t>(ds.maxobs, 1048576 / 16));
}

TEST_F(Store, SetObs) {
    int x = add("x", T_FLOAT);
    int s = add("s", 4);
    {
        MsgCapture c;
        EXPECT_EQ(set_obs(5), 0);
        EXPECT_EQ(c.text(), ""); // the note is the command's
        EXPECT_EQ(ds.nobs, 5);
    }
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(dbits(get_num(x, i)), DOT);
        char buf[245];
        get_str(s, i, buf);
        EXPECT_STREQ(buf, "");
    }
    put_num(x, 5, 42);
    {
        MsgCapture c;
        EXPECT_EQ(set_obs(5), 0); // the same count is not an error
        EXPECT_EQ(c.text(), "");
        EXPECT_EQ(set_obs(3), 125); // below the current count
        EXPECT_EQ(ds.nobs, 5);
        EXPECT_EQ(set_obs(2147483647LL), 901);
        EXPECT_EQ(ds.nobs, 5);
    }
    int e = add_var_raw("(e)", T_BYTE);
    ASSERT_GT(e, 0);
    const int32_t changed = ds.changed;
    obs(8);
    EXPECT_EQ(ds.changed, changed + 1);
    EXPECT_EQ(get_num(x, 5), 42.0);
    EXPECT_EQ(get_num(e, 8), 0.0);
    EXPECT_EQ(dbits(get_num(x, 8)), DOT);
    EXPECT_LT(ds.nobs, ds.maxobs); // a spare row stays
}

TEST_F(Store, DropVariables) {
    add("x1", T_INT);
    add("x2", T_INT);
    add("x3", 9);
    add("x4", T_INT);
    add("x5", T_DOUBLE);
    add("x6", T_BYTE);
    obs(20);
    fill_all();
    set_sortlist({1, 4, 2, 6});
    const int32_t changed = ds.changed;
    uint8_t flags[6] = {0, 1, 1, 0, 1, 0};
    ASSERT_EQ(drop_vars(flags), 0);
    EXPECT_EQ(names(), "x1 x4 x6");
    expect_packed();
    EXPECT_EQ(sortlist(), (std::vector<int>{1, 2})); // cut at x2, x4 renumbered
    EXPECT_EQ(ds.changed, changed + 3);
    EXPECT_EQ(hook_log, (std::vector<std::string>{"drop x2", "drop x3", "drop x5"}));
    for (int i = 1; i <= 20; ++i) {
        EXPECT_TRUE(cell_is(1, i, 1, i));
        EXPECT_TRUE(cell_is(2, i, 4, i));
        EXPECT_TRUE(cell_is(3, i, 6, i));
    }
    EXPECT_EQ(ds.nobs, 20);
    // The last variable goes by the cut at the end.
    uint8_t last[3] = {0, 0, 1};
    ASSERT_EQ(drop_vars(last), 0);
    EXPECT_EQ(names(), "x1 x4");
    for (int i = 1; i <= 20; ++i)
        EXPECT_TRUE(cell_is(2, i, 4, i));
    expect_packed();
}

// The refusal under by is the commands' (drop, keep, rename): the store itself drops, as by's own
// clean-up between groups needs.
TEST_F(Store, TheStoreDropsUnderBy) {
    add("x", T_BYTE);
    add("y", T_BYTE);
    session::lp.byprefix = 1;
    uint8_t flags[2] = {1, 0};
    EXPECT_EQ(drop_vars(flags), 0);
    EXPECT_EQ(rename_var(1, "z"), 0);
    EXPECT_EQ(names(), "z");
    session::lp.byprefix = 0;
}

TEST_F(Store, DroppingEveryVariableClearsTheDataset) {
    add("x", T_BYTE);
    add("y", T_BYTE);
    obs(4);
    std::snprintf(ds.datalabel, sizeof ds.datalabel, "my data");
    set_sortlist({2, 1});
    uint8_t flags[2] = {1, 1};
    ASSERT_EQ(drop_vars(flags), 0);
    EXPECT_EQ(ds.nvar, 0);
    EXPECT_EQ(ds.nobs, 0);
    EXPECT_EQ(ds.w_cur, 0);
    EXPECT_STREQ(ds.datalabel, "");
    EXPECT_TRUE(sortlist().empty());
    EXPECT_EQ(ds.changed, 0);
    EXPECT_EQ(hook_log, (std::vector<std::string>{"clear"}));
    for (int32_t p = 0; p < ds.tmaxobs; p += 997)
        EXPECT_EQ(ds.index[p], p);
}

TEST_F(Store, KeepVariablesAndTheEstimationSample) {
    add("a", T_BYTE);
    add("b", T_LONG);
    ASSERT_GT(add_var_raw("(e)", T_BYTE), 0);
    add("c", 5);
    obs(6);
    fill_all();
    uint8_t keep[4] = {0, 1, 0, 1};
    ASSERT_EQ(keep_vars(keep), 0);
    EXPECT_EQ(names(), "b (e) c"); // keep never drops the sample
    for (int i = 1; i <= 6; ++i) {
        EXPECT_TRUE(cell_is(1, i, 2, i));
        EXPECT_TRUE(cell_is(3, i, 4, i));
    }
    // But it does not stay alone.
    uint8_t drop[3] = {1, 0, 1};
    ASSERT_EQ(drop_vars(drop), 0);
    EXPECT_EQ(ds.nvar, 0);
}

TEST_F(Store, OrderAndMove) {
    add("a", T_INT);
    add("b", 6);
    add("c", T_INT);
    add("d", T_DOUBLE);
    add("e", T_INT);
    obs(30);
    fill_all();
    for (int i = 1; i <= 15; ++i)
        swap_obs(i, 31 - i);
    set_sortlist({3, 4});
    const int list[] = {4, 2, 4};
    ASSERT_EQ(order_vars(list, 3), 0);
    EXPECT_EQ(names(), "d b a c e");
    expect_packed();
    EXPECT_EQ(sortlist(), (std::vector<int>{4, 1}));
    const int was[] = {4, 2, 1, 3, 5};
    for (int v = 1; v <= 5; ++v)
        for (int i = 1; i <= 30; ++i)
            EXPECT_TRUE(cell_is(v, i, was[v - 1], 31 - i));
    ASSERT_EQ(move_var(1, 5), 0);
    EXPECT_EQ(names(), "b a c e d");
    EXPECT_EQ(sortlist(), (std::vector<int>{3, 5}));
    expect_packed();
    const int was2[] = {2, 1, 3, 5, 4};
    for (int v = 1; v <= 5; ++v)
        for (int i = 1; i <= 30; ++i)
            EXPECT_TRUE(cell_is(v, i, was2[v - 1], 31 - i));
    EXPECT_STREQ(ds.fmt[4], "%10.0g"); // the attributes travel with the column
}

TEST_F(Store, Rename) {
    add("a", T_BYTE);
    add("b", T_FLOAT);
    add("c", T_BYTE);
    obs(10);
    fill_all();
    set_sortlist({2, 3});
    const int32_t w = ds.w_cur, changed = ds.changed;
    ASSERT_EQ(rename_var(2, "zed"), 0);
    EXPECT_EQ(names(), "a zed c");
    EXPECT_EQ(sortlist(), (std::vector<int>{2, 3}));
    EXPECT_EQ(ds.w_cur, w);
    EXPECT_EQ(ds.changed, changed + 1);
    EXPECT_EQ(hook_log, (std::vector<std::string>{"rename b zed"}));
    for (int i = 1; i <= 10; ++i)
        EXPECT_TRUE(cell_is(2, i, 2, i));
    MsgCapture c;
    EXPECT_EQ(rename_var(2, "zed"), 110); // to its own name
    EXPECT_EQ(rename_var(2, "a"), 110);
    EXPECT_EQ(rename_var(2, "str8"), 198);
    EXPECT_EQ(rename_var(2, "_n"), 198);
    EXPECT_EQ(names(), "a zed c");
    EXPECT_EQ(ds.nvar, 3);
}

TEST_F(Store, PromoteKeepsValuesPositionAndAttributes) {
    add("a", T_BYTE);
    int b = add("b", T_BYTE);
    add("c", 4);
    obs(12);
    fill_all();
    put_num(b, 3, missing_value(17));
    std::snprintf(ds.fmt[b - 1], FMTLEN + 1, "%%6.2f");
    std::snprintf(ds.vallab[b - 1], VNAMELEN + 1, "lbl");
    set_sortlist({2, 1});
    ASSERT_EQ(promote(b, T_INT, ds.nobs), 0);
    EXPECT_EQ(names(), "a b c");
    EXPECT_EQ(ds.vartype[1], T_INT);
    EXPECT_STREQ(ds.fmt[1], "%6.2f");
    EXPECT_STREQ(ds.vallab[1], "lbl");
    EXPECT_EQ(sortlist(), (std::vector<int>{2, 1}));
    expect_packed();
    for (int i = 1; i <= 12; ++i) {
        EXPECT_TRUE(cell_is(1, i, 1, i));
        EXPECT_TRUE(cell_is(3, i, 3, i));
        if (i != 3) {
            EXPECT_EQ(get_num(2, i), value_of(T_BYTE, 2, i));
        }
    }
    EXPECT_EQ(dbits(get_num(2, 3)), DOT | (17ull << 40));
    ASSERT_EQ(promote(b, T_DOUBLE, ds.nobs), 0);
    EXPECT_EQ(dbits(get_num(2, 3)), DOT | (17ull << 40));
    EXPECT_EQ(get_num(2, 4), value_of(T_BYTE, 2, 4));
    EXPECT_TRUE(hook_log.empty()); // the name stays: its label and characteristics stay too
    // A string keeps the proportion of its format to its width.
    std::snprintf(ds.fmt[2], FMTLEN + 1, "%%-8s");
    ASSERT_EQ(promote(3, 8, ds.nobs), 0);
    EXPECT_STREQ(ds.fmt[2], "%-16s");
    for (int i = 1; i <= 12; ++i)
        EXPECT_TRUE(cell_is(3, i, 3, i));
    MsgCapture c;
    EXPECT_EQ(promote(3, T_INT, ds.nobs), 109);
}

TEST_F(Store, BreakDuringPromoteLeavesTheDataset) {
    add("a", T_BYTE);
    add("b", T_BYTE);
    obs(5);
    fill_all();
    const int32_t w = ds.w_cur, changed = ds.changed;
    session::break_signal();
    EXPECT_EQ(promote(1, T_DOUBLE, ds.nobs), 1);
    session::break_clear();
    EXPECT_EQ(names(), "a b");
    EXPECT_EQ(ds.vartype[0], T_BYTE);
    EXPECT_EQ(ds.w_cur, w);
    EXPECT_EQ(ds.changed, changed);
    for (int i = 1; i <= 5; ++i)
        EXPECT_TRUE(cell_is(1, i, 1, i));
}

TEST_F(Store, Compress) {
    int f = add("f", T_FLOAT);
    int g = add("g", T_FLOAT);
    int i2 = add("i2", T_INT);
    int i3 = add("i3", T_INT);
    int d = add("d", T_DOUBLE);
    int d2 = add("d2", T_DOUBLE);
    int l = add("l", T_LONG);
    int s = add("s", 10);
    int e = add("e", 6);
    obs(50);
    for (int i = 1; i <= 50; ++i) {
        put_num(f, i, i);
        put_num(g, i, i == 9 ? 40000 : i);
        put_num(i2, i, i == 7 ? 200 : i);
        put_num(i3, i, -i);
        put_num(d, i, i == 50 ? 100000 : i);
        put_num(d2, i, i == 2 ? 1.5 : i);
        put_num(l, i, 40000);
        put_str(s, i, i == 20 ? "abc" : "a");
        put_str(e, i, "");
    }
    put_num(f, 4, missing_value(1));
    MsgCapture c;
    const int all[] = {s, e, d, d2, f, g, i2, i3, l};
    std::vector<TypeChange> changes;
    ASSERT_EQ(compress(all, 9, &changes), 0);
    EXPECT_EQ(c.text(), ""); // the engine tells; the command writes the notes
    std::string told;
    char from[8], to[8];
    for (const TypeChange &t : changes)
        told += std::string(ds.varname[t.var - 1]) + " " + type_name(t.from, from) + " " +
                type_name(t.to, to) + ";";
    EXPECT_EQ(told, "f float byte;i3 int byte;d double long;s str10 str3;e str6 str1;");
    EXPECT_EQ(ds.vartype[f - 1], T_BYTE);
    EXPECT_EQ(ds.vartype[g - 1], T_FLOAT);   // 40000 would need a long: no gain on a float
    EXPECT_EQ(ds.vartype[i2 - 1], T_INT);    // 200 needs an int
    EXPECT_EQ(ds.vartype[d2 - 1], T_DOUBLE); // a fraction
    EXPECT_EQ(ds.vartype[l - 1], T_LONG);
    EXPECT_EQ(dbits(get_num(f, 4)), DOT | (1ull << 40));
    EXPECT_EQ(get_num(d, 50), 100000.0);
    char buf[245];
    get_str(s, 20, buf);
    EXPECT_STREQ(buf, "abc");
    EXPECT_EQ(names(), "f g i2 i3 d d2 l s e");
    expect_packed();
    changes.clear();
    EXPECT_EQ(compress(all, 9, &changes), 0);
    EXPECT_TRUE(changes.empty());
}

TEST_F(Store, CompressEdges) {
    MsgCapture c;
    EXPECT_EQ(compress(nullptr, 0), 3);
    c.reset();
    int x = add("x", T_DOUBLE);
    EXPECT_EQ(compress(&x, 1), 0); // no observations: nothing to do
    EXPECT_EQ(c.text(), "");
    EXPECT_EQ(ds.vartype[0], T_DOUBLE);
    obs(3);
    put_num(x, 1, 2147483620.0);
    put_num(x, 2, 0);
    put_num(x, 3, 1);
    EXPECT_EQ(compress(&x, 1), 0);
    EXPECT_EQ(ds.vartype[0], T_LONG);
    put_num(x, 1, 0);
    ASSERT_EQ(promote(x, T_DOUBLE, 3), 0);
    put_num(x, 1, 2147483621.0); // an integer beyond the range of a long
    EXPECT_EQ(compress(&x, 1), 0);
    EXPECT_EQ(ds.vartype[0], T_DOUBLE);
}

TEST_F(Store, DropObservationsKeepsLogicalOrder) {
    int x = add("x", T_LONG);
    int s = add("s", 5);
    obs(10);
    // A reversed index: the physical rows run the other way.
    for (int i = 1; i <= 5; ++i)
        swap_obs(i, 11 - i);
    for (int i = 1; i <= 10; ++i) {
        put_num(x, i, i);
        put_str(s, i, std::to_string(i).c_str());
    }
    std::vector<uint8_t> mask(10, 0);
    mask[1] = mask[2] = mask[6] = 1;
    const int32_t changed = ds.changed;
    MsgCapture c;
    int32_t removed = 0;
    ASSERT_EQ(drop_obs_mask(mask.data(), &removed), 0);
    EXPECT_EQ(removed, 3);
    EXPECT_EQ(c.text(), "");
    EXPECT_EQ(ds.nobs, 7);
    EXPECT_EQ(ds.nvar, 2);
    EXPECT_EQ(ds.changed, changed + 1);
    const int want[] = {1, 4, 5, 6, 8, 9, 10};
    char buf[245];
    for (int i = 1; i <= 7; ++i) {
        EXPECT_EQ(get_num(x, i), want[i - 1]);
        get_str(s, i, buf);
        EXPECT_EQ(std::string(buf), std::to_string(want[i - 1]));
        EXPECT_EQ(ds.index[i - 1], i - 1); // the i-th kept row is physical row i-1
    }
    c.reset();
    std::vector<uint8_t> one(7, 0);
    one[0] = 1;
    ASSERT_EQ(drop_obs_mask(one.data(), &removed), 0);
    EXPECT_EQ(removed, 1);
    EXPECT_EQ(get_num(x, 1), 4.0);
    c.reset();
    std::vector<uint8_t> none(6, 0);
    ASSERT_EQ(drop_obs_mask(none.data(), &removed), 0);
    EXPECT_EQ(removed, 0);
    EXPECT_EQ(ds.nobs, 6);
}

TEST_F(Store, DropObservationsThroughACyclicPermutation) {
    int x = add("x", T_DOUBLE);
    obs(9);
    // Rotate the index so every physical row is wanted elsewhere.
    for (int i = 1; i < 9; ++i)
        swap_obs(i, i + 1);
    for (int i = 1; i <= 9; ++i)
        put_num(x, i, i * 1.25);
    std::vector<uint8_t> none(9, 0);
    ASSERT_EQ(drop_obs_mask(none.data()), 0);
    for (int i = 1; i <= 9; ++i)
        EXPECT_EQ(get_num(x, i), i * 1.25);
    for (int i = 1; i <= 9; ++i)
        EXPECT_EQ(ds.index[i - 1], i - 1);
}

TEST_F(Store, MemoryFigures) {
    add("x", T_DOUBLE);
    obs(1000);
    MemInfo m = data_memory_info();
    EXPECT_EQ(m.M_total, 1 << 20);
    EXPECT_EQ(m.N_cur, ds.maxobs);
    EXPECT_EQ(m.N_curmax, ds.tmaxobs);
    EXPECT_EQ(m.k_cur, ds.k_cur);
    EXPECT_EQ(m.w_cur, 8);
    EXPECT_EQ(m.width, ds.width);
    EXPECT_EQ(m.M_data, 1000LL * ds.width);
    EXPECT_EQ(m.M_oh, 1000LL * m.size_ptr);
    EXPECT_EQ(m.M_dyn, 0);
    EXPECT_EQ(m.n_repart, ds.n_repart);
}

TEST_F(Store, MemorySettings) {
    MsgCapture c;
    EXPECT_EQ(set_maxvar(2047), 198);
    EXPECT_EQ(c.text(), "# must be between 2048 and 32767\n");
    EXPECT_EQ(set_matsize(11001), 198);
    EXPECT_EQ(set_matsize(11000), 0);
    EXPECT_EQ(ds.matsize, 11000);
    EXPECT_EQ(set_maxvar(32767), 0);
    EXPECT_EQ(ds.maxwidth, 12 * 32767);
    EXPECT_EQ(set_memory(2 << 20), 0);
    EXPECT_EQ(ds.M_total, 2 << 20);
    expect_partition();
    add("x", T_BYTE);
    EXPECT_EQ(set_memory(4 << 20), 4);
    EXPECT_EQ(set_maxvar(5000), 4);
    EXPECT_EQ(set_matsize(400), 4);
    EXPECT_EQ(ds.M_total, 2 << 20);
    EXPECT_EQ(ds.nvar, 1);
}

TEST_F(Store, RepartitionBringsDownRowsBeyondTheCount) {
    int x = add("x", T_DOUBLE);
    int s = add("s", 12);
    obs(20);
    // Observations 3 and 7 live in physical rows behind the count, as a sort's table exchange can leave.
    std::swap(ds.index[2], ds.index[25]);
    std::swap(ds.index[6], ds.index[30]);
    for (int i = 1; i <= 20; ++i) {
        put_num(x, i, i * 10.5);
        put_str(s, i, text_of(s, i).c_str());
    }
    ASSERT_EQ(repartition(0, 50), 0);
    for (int i = 1; i <= 20; ++i) {
        EXPECT_EQ(get_num(x, i), i * 10.5);
        EXPECT_TRUE(cell_is(s, i, s, i));
        EXPECT_LT(ds.index[i - 1], 20);
    }
    for (int32_t p = 20; p < ds.tmaxobs; ++p)
        ASSERT_EQ(ds.index[p], p);
}
