// testfv, fvdescribe and dumpfv on data made through the dataset API: the sample, the level
// shares, the cells of interactions and their means, bases, and the failures.
#include <gtest/gtest.h>

#include <string>

#include "data/dataset.h"
#include "data/fvcmd.h"
#include "data/varlist.h"
#include "data_fixture.h"
#include "matrix/results.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/loop.h"
#include "session/settings.h"
#include "session/tok.h"

using namespace data;

namespace {

class Fv : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        session::se.linesize = 79;
        fv_drop_blocks();
        // rep has a missing value in observation 5, so the sample of a list with rep is 5 long.
        const double rep[] = {1, 2, 2, 3, missing_value(0), 3}, foreign[] = {0, 0, 1, 1, 0, 1},
                     mpg[] = {10, 20, 30, 40, 50, 60};
        int v;
        ASSERT_EQ(add_var("rep", T_BYTE, &v), 0);
        ASSERT_EQ(add_var("foreign", T_BYTE, &v), 0);
        ASSERT_EQ(add_var("mpg", T_DOUBLE, &v), 0);
        ASSERT_EQ(add_var("make", 8, &v), 0);
        ASSERT_EQ(set_obs(6), 0);
        for (int i = 1; i <= 6; ++i) {
            put_num(1, i, rep[i - 1]);
            put_num(2, i, foreign[i - 1]);
            put_num(3, i, mpg[i - 1]);
            put_str(4, i, "car");
        }
    }
    void TearDown() override {
        DataFixture::TearDown();
        fv_drop_blocks();
    }
};

TEST_F(Fv, FactorAndVariableTermsOverTheNonmissingSample) {
    ASSERT_EQ(run(cmd_testfv, "i(rep) mpg"), 0);
    EXPECT_EQ(rscalar("N"), 5);
    EXPECT_EQ(rscalar("k"), 2);
    EXPECT_EQ(cap->text(), "No. of terms: 2\n\n"
                           "  Term  Variables                       Kind            Levels\n"
                           "--------------------------------------------------------------\n"
                           "     1  i(rep)                          factor              3\n"
                           "     2  mpg                             variable             \n");
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_EQ(cap->text(), "term 1: rep, factor\n"
                           "         level       share\n"
                           "             1b      0.2000\n"
                           "             2       0.4000\n"
                           "             3       0.4000\n");
}

TEST_F(Fv, InteractionCellsAreTheCombinationsSeen) {
    ASSERT_EQ(run(cmd_testfv, "i(foreign*rep)"), 0);
    EXPECT_NE(cap->text().find("i(foreign*rep)                  interaction    4 of 6\n"), std::string::npos)
        << cap->text();
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_EQ(cap->text(), "term 1: foreign*rep, interaction\n"
                           "  4 of 6 cells in the data\n"
                           "          cell        mean\n"
                           "           0 1      0.2000\n"
                           "           0 2      0.2000\n"
                           "           1 2      0.2000\n"
                           "           1 3      0.4000\n");
}

TEST_F(Fv, ContinuousPartMultipliesTheCellMean) {
    // rep 1: 10/5; rep 2: (20+30)/5; rep 3: (40+60)/5.
    ASSERT_EQ(run(cmd_testfv, "i(rep*c(mpg))"), 0);
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_NE(cap->text().find("             1      2.0000\n"
                               "             2     10.0000\n"
                               "             3     20.0000\n"),
              std::string::npos)
        << cap->text();
}

TEST_F(Fv, ChosenBasesAreMarked) {
    ASSERT_EQ(run(cmd_testfv, "i(rep(3) foreign(freq) c(mpg))"), 0);
    EXPECT_EQ(rscalar("k"), 3);
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    const std::string s = cap->text();
    EXPECT_NE(s.find("term 1: rep(3), factor\n"), std::string::npos) << s;
    EXPECT_NE(s.find("             3b      0.4000\n"), std::string::npos) << s;
    // foreign: 0 three times, 1 three times over all observations; the first most frequent wins.
    EXPECT_NE(s.find("term 2: foreign(freq), factor\n"), std::string::npos) << s;
    EXPECT_NE(s.find("             0b      0.4000\n"), std::string::npos) << s;
    EXPECT_NE(s.find("term 3: c(mpg), continuous\n"), std::string::npos) << s;
}

TEST_F(Fv, AGroupWithNoFactorKeepsEmptyBlocks) {
    ASSERT_EQ(run(cmd_testfv, "i(c(mpg))"), 0);
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    EXPECT_NE(cap->text().find("fv_factorinfo: 0 records, 0 bytes\n"), std::string::npos) << cap->text();
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_EQ(cap->text(), "term 1: c(mpg), continuous\n");
}

TEST_F(Fv, IfAndInNarrowTheSample) {
    ASSERT_EQ(run(cmd_testfv, "i(rep) if foreign in 1/4"), 0);
    EXPECT_EQ(rscalar("N"), 2);
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_NE(cap->text().find("             1b      0.0000\n"
                               "             2       0.5000\n"
                               "             3       0.5000\n"),
              std::string::npos)
        << cap->text();
}

TEST_F(Fv, DumpShowsEveryBlock) {
    ASSERT_EQ(run(cmd_testfv, "i(foreign*rep)"), 0);
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    const std::string s = cap->text();
    EXPECT_NE(s.find("fv_toc: 4 records, 16 bytes\n  1 2 2 5\n"), std::string::npos) << s;
    EXPECT_NE(s.find("fv_varinfo: 2 records, 32 bytes\n  2 1 0 0\n  1 1 1 0\n"), std::string::npos) << s;
    EXPECT_NE(s.find("fv_factorlevels: 5 records, 40 bytes\n  0 1 1 2 3\n"), std::string::npos) << s;
    EXPECT_NE(s.find("fv_intercells: 1 records, 12 bytes\n  0 4 0\n"), std::string::npos) << s;
    EXPECT_NE(s.find("fv_interlevels: 4 records, 64 bytes\n  0 1 0 2 1\n  2 1 3\n"), std::string::npos) << s;
}

TEST_F(Fv, NothingToShowBeforeAList) {
    ASSERT_EQ(run(cmd_fvdescribe, ""), 0);
    EXPECT_EQ(cap->text(), "(no factor-variable terms)\n");
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    EXPECT_EQ(cap->text(), "(no factor-variable blocks)\n");
    EXPECT_EQ(run(cmd_dumpfv, "extra"), 198);
}

TEST_F(Fv, FailuresLeaveTheBlocksOfTheLastGoodList) {
    EXPECT_EQ(run(cmd_testfv, ""), 102);
    EXPECT_EQ(cap->text(), "too few variables specified\n");
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    EXPECT_EQ(cap->text(), "(no factor-variable blocks)\n");

    ASSERT_EQ(run(cmd_testfv, "i(foreign*rep) mpg"), 0);
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    const std::string before = cap->text();
    EXPECT_EQ(run(cmd_testfv, "i(make)"), 109);
    EXPECT_EQ(run(cmd_testfv, "make"), 109);
    EXPECT_EQ(run(cmd_testfv, "i(rep) nosuch"), 111);
    EXPECT_EQ(cap->text(), "variable nosuch not found\n");
    EXPECT_EQ(run(cmd_testfv, "i(rep(#1))"), 198);
    // The parse of i(rep) has stored its blocks by the time the `if` fails.
    EXPECT_EQ(run(cmd_testfv, "i(rep) if"), 198);
    EXPECT_EQ(run(cmd_testfv, "i(rep) in 1/2 extra"), 198);
    put_num(3, 2, 2.5);
    EXPECT_EQ(run(cmd_testfv, "i(mpg)"), 459);
    EXPECT_EQ(cap->text(), "factor mpg contains noninteger values\n");
    ASSERT_EQ(run(cmd_dumpfv, ""), 0);
    EXPECT_EQ(cap->text(), before);
}

} // namespace
