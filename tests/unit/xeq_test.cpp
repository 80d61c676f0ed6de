// The standard parse: each part by its policy, the messages, weights old and new, and the sample.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/xeq.h"
#include "data_fixture.h"
#include "session/state.h"

using namespace data;

namespace {

ParseSpec g_spec; // the spec the test command parses with

int parse_cmd(int) { return std_parse(g_spec); }

class Xeq : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        add("x", T_DOUBLE);
        add("w", T_DOUBLE);
        ASSERT_EQ(set_obs(6), 0);
        for (int i = 1; i <= 6; ++i) {
            put_num(1, i, i);
            put_num(2, i, 1);
        }
        g_spec = ParseSpec{};
        session::lp.version = 1010;
    }
    void TearDown() override {
        bys = ByState{};
        session::lp.version = 1010;
        DataFixture::TearDown();
    }
    int parse(const std::string &text) { return run(parse_cmd, text); }
    std::vector<int32_t> obs() {
        std::vector<int32_t> o;
        EXPECT_EQ(sample_obs(o), 0);
        return o;
    }
};

TEST_F(Xeq, PartsInAnyOrderAndTheSample) {
    g_spec.varlist = PO_OPTIONAL;
    ASSERT_EQ(parse("x in 2/5 if x != 3"), 0) << msg();
    EXPECT_EQ(ps.count, 1);
    EXPECT_EQ(obs(), (std::vector<int32_t>{2, 4, 5}));
    ASSERT_EQ(parse("if x > 4 in -3/l"), 0);
    EXPECT_EQ(obs(), (std::vector<int32_t>{5, 6}));
    ASSERT_EQ(parse("in f"), 0);
    EXPECT_EQ(obs(), (std::vector<int32_t>{1}));
    ASSERT_EQ(parse("if x > . | x < 2"), 0); // a missing result is true; none here
    EXPECT_EQ(obs(), (std::vector<int32_t>{1}));
}

TEST_F(Xeq, InRanges) {
    EXPECT_EQ(parse("in 5/3"), 198);
    EXPECT_EQ(msg(), "Obs. nos. out of range\n");
    EXPECT_EQ(parse("in 0"), 198);
    EXPECT_EQ(msg(), "'0' invalid obs no\n");
    EXPECT_EQ(parse("in 7"), 198);
    EXPECT_EQ(msg(), "Obs. nos. out of range\n");
    EXPECT_EQ(parse("in -7"), 198);
    EXPECT_EQ(parse("in 2/x"), 198);
    EXPECT_EQ(msg(), "'x' invalid obs no\n");
    EXPECT_EQ(parse("in 1 in 2"), 198);
    EXPECT_EQ(msg(), "'in 2' invalid\n");
    // A command that makes observations takes the numbers as they stand.
    g_spec.in = PO_OWN;
    ASSERT_EQ(parse("in 5/l"), 0);
    EXPECT_EQ(ps.in_lo, 5);
    EXPECT_EQ(ps.in_hi, 2147483646);
    session::lp.byprefix = 1;
    EXPECT_EQ(parse("in 1"), 190);
    EXPECT_EQ(msg(), "'in' may not be combined with 'by'\n");
    session::lp.byprefix = 0;
}

TEST_F(Xeq, PoliciesAndTheirMessages) {
    g_spec.varlist = PO_REQUIRED;
    EXPECT_EQ(parse(""), 100);
    EXPECT_EQ(msg(), "varlist required\n");
    g_spec = ParseSpec{};
    g_spec.exp = PO_REQUIRED;
    EXPECT_EQ(parse("if 1"), 100);
    EXPECT_EQ(msg(), "=exp required\n");
    ASSERT_EQ(parse("= x * 2 if x > 1"), 0);
    EXPECT_TRUE(sm.exppresent);
    EXPECT_EQ(parse("= 1 = 2"), 198);
    g_spec = ParseSpec{};
    g_spec.usingf = PO_REQUIRED;
    EXPECT_EQ(parse(""), 100);
    EXPECT_EQ(msg(), "using required\n");
    ASSERT_EQ(parse("using \"my file.dta\""), 0);
    EXPECT_EQ(sm.usingfile, "my file.dta");
    EXPECT_EQ(parse("using " + std::string(1025, 'f')), 198);
    g_spec = ParseSpec{};
    g_spec.need_one = "varlist or in range";
    g_spec.varlist = PO_OPTIONAL;
    EXPECT_EQ(parse(""), 100);
    EXPECT_EQ(msg(), "varlist or in range required\n");
    g_spec = ParseSpec{};
    EXPECT_EQ(parse("using a"), 101);
    EXPECT_EQ(msg(), "using not allowed\n");
    EXPECT_EQ(parse("x"), 198); // no variable list here: the word is left over
    EXPECT_EQ(msg(), "'x' invalid\n");
    g_spec.ifq = PO_NONE;
    EXPECT_EQ(parse("if 1"), 101);
    EXPECT_EQ(msg(), "if not allowed\n");
    g_spec.options = PO_NONE;
    EXPECT_EQ(parse(", opt"), 101);
    EXPECT_EQ(msg(), "options not allowed\n");
}

TEST_F(Xeq, OptionsCollectUpToSeventy) {
    // A second comma ends the list; other parts, and more options, may follow.
    ASSERT_EQ(parse("in 1, a b(c d), if x > 2, d"), 0);
    EXPECT_TRUE(sm.ifpresent);
    ASSERT_EQ(sm.options.size(), 3u);
    EXPECT_EQ(sm.options[1].arg, "c d");
    bool a = false, d = false;
    std::string b;
    const session::OptSpec specs[] = {session::opt_flag("a", 1, a), session::opt_text("b", 1, b),
                                      session::opt_flag("d", 1, d)};
    EXPECT_EQ(std_options(specs), 0);
    EXPECT_TRUE(a && d);
    EXPECT_EQ(b, "c d");
    std::string many = ",";
    for (int k = 0; k < 36; ++k)
        many += " o" + std::to_string(k);
    EXPECT_EQ(parse(many + ", in 1" + many), 1003); // two lists of 36 pass the limit together
    EXPECT_EQ(msg(), "too many options\n");
}

TEST_F(Xeq, WeightsBySpellingAndMask) {
    g_spec.weight = PO_OPTIONAL;
    g_spec.wmask = WT_F | WT_A;
    ASSERT_EQ(parse("[fw=w]"), 0);
    EXPECT_EQ(sm.wtype, WT_F);
    ASSERT_EQ(parse("[w = w*2]"), 0); // `weight` means the command's default
    EXPECT_EQ(sm.wtype, WT_F);
    ASSERT_EQ(parse("[cell=w]"), 0);
    EXPECT_EQ(sm.wtype, WT_A);
    ASSERT_EQ(parse("[freq=w] if x>1"), 0);
    EXPECT_EQ(sm.wtype, WT_F);
    ASSERT_EQ(parse("[ ]"), 0); // empty brackets: no weight
    EXPECT_EQ(sm.wtype, WT_NONE);
    ASSERT_EQ(parse("[aw=w[_n]]"), 0); // brackets inside the expression
    EXPECT_EQ(parse("[pw=w]"), 101);
    EXPECT_EQ(msg(), "pweight not allowed\n");
    EXPECT_EQ(parse("[fw=w] [aw=w]"), 198);
    EXPECT_EQ(msg(), "too many weights\n");
    EXPECT_EQ(parse("[xyz=w]"), 198);
    EXPECT_EQ(msg(), "xyz unknown weight type\n");
    EXPECT_EQ(parse("[f=w]"), 198); // one letter is not enough for fweight
    EXPECT_EQ(parse("[fw w]"), 198);
    EXPECT_EQ(parse("[fw=w"), 198);
    g_spec.weight = PO_NONE;
    EXPECT_EQ(parse("[fw=w]"), 101);
    EXPECT_EQ(msg(), "weights not allowed\n");
}

TEST_F(Xeq, OldStyleWeights) {
    g_spec.weight = PO_OPTIONAL;
    g_spec.wmask = WT_A;
    EXPECT_EQ(parse("= w"), 198); // refused since version 3
    session::lp.version = 200;
    ASSERT_EQ(parse("= w if x > 2"), 0);
    EXPECT_EQ(msg(), "(please avoid =exp old-style weight syntax)\n");
    EXPECT_EQ(sm.wtype, WT_A);
    EXPECT_TRUE(sm.ifpresent);
}

TEST_F(Xeq, TheByGroupBoundsTheSample) {
    bys.state = 1;
    bys.lo = 3;
    bys.hi = 4;
    ASSERT_EQ(parse(""), 0);
    EXPECT_EQ(sample_lo(), 3);
    EXPECT_EQ(sample_hi(), 4);
    ASSERT_EQ(parse("if x[_n-1] < 99"), 0); // a subscript counts within the group: . at its first
    EXPECT_EQ(obs(), (std::vector<int32_t>{4}));
}

} // namespace
