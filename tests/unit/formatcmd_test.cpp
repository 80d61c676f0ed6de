// format and assert on data made through the dataset API: formats set and refused, the listing of
// formats, and assertions over observations.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "data/assert.h"
#include "data/dataset.h"
#include "data/formatcmd.h"
#include "data/varlist.h"
#include "data_fixture.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/tok.h"

using namespace data;

namespace {

class FormatAssert : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        int v;
        ASSERT_EQ(add_var("x", T_DOUBLE, &v), 0);
        ASSERT_EQ(add_var("y", T_FLOAT, &v), 0);
        ASSERT_EQ(add_var("s", 8, &v), 0);
        ASSERT_EQ(set_obs(4), 0);
        for (int i = 1; i <= 4; ++i) {
            put_num(1, i, i);
            put_num(2, i, i * 10);
            put_str(3, i, i % 2 ? "odd" : "even");
        }
        ds.changed = 0;
    }
};

TEST_F(FormatAssert, FormatSetsTheFormatWithTheListOnEitherSide) {
    EXPECT_EQ(run(cmd_format, "x y %9.2f"), 0);
    EXPECT_STREQ(ds.fmt[0], "%9.2f");
    EXPECT_STREQ(ds.fmt[1], "%9.2f");
    EXPECT_NE(ds.changed, 0);
    EXPECT_EQ(run(cmd_format, "%-12s s"), 0);
    EXPECT_STREQ(ds.fmt[2], "%-12s");
    EXPECT_EQ(run(cmd_format, "x %tdDD_Mon_CCYY"), 0);
    EXPECT_STREQ(ds.fmt[0], "%tdDD_Mon_CCYY");
    EXPECT_EQ(msg(), "");
}

TEST_F(FormatAssert, FormatRefusesBadAndMismatchedFormats) {
    EXPECT_EQ(run(cmd_format, "x %9.2q"), 120);
    EXPECT_EQ(msg(), "invalid %format\n");
    EXPECT_EQ(run(cmd_format, "x s %9.2f"), 120);
    EXPECT_EQ(msg(), "%9.2f invalid for string variable s\n");
    EXPECT_EQ(run(cmd_format, "%10s x"), 120);
    EXPECT_EQ(msg(), "%10s invalid for numeric variable x\n");
    EXPECT_STREQ(ds.fmt[0], "%10.0g"); // nothing changed by a refused command
    EXPECT_EQ(run(cmd_format, "%9.2f"), 100);
    EXPECT_EQ(msg(), "varlist required\n");
    EXPECT_EQ(run(cmd_format, "nosuch %9.2f"), 111);
    EXPECT_EQ(run(cmd_format, "x %9.2f extra"), 198);
}

TEST_F(FormatAssert, FormatWithoutAFormatListsThem) {
    EXPECT_EQ(run(cmd_format, "x s"), 0);
    EXPECT_EQ(msg(), "\n"
                     "  variable name     display format\n"
                     "  ----------------------------------\n"
                     "  x                 %10.0g\n"
                     "  s                 %9s\n");
}

TEST_F(FormatAssert, AssertChecksEveryObservationChosen) {
    EXPECT_EQ(run(cmd_assert, "x < 5"), 0);
    EXPECT_EQ(msg(), "");
    EXPECT_EQ(run(cmd_assert, "y == x*10 & s != \"\""), 0);
    EXPECT_EQ(run(cmd_assert, "x < 4"), 9);
    EXPECT_EQ(msg(), "1 contradiction in 4 observations\nassertion is false\n");
    EXPECT_EQ(run(cmd_assert, "x < 3 in 2/4"), 9);
    EXPECT_EQ(msg(), "2 contradictions in 3 observations\nassertion is false\n");
    EXPECT_EQ(run(cmd_assert, "x < 4 if s == \"odd\""), 0);
    EXPECT_EQ(run(cmd_assert, "x == 4 in l"), 0);
    EXPECT_EQ(run(cmd_assert, "x == 4 if x > 3 in 3/4"), 0);
    EXPECT_EQ(run(cmd_assert, "x == 1 in 1/1"), 0);
    EXPECT_EQ(run(cmd_assert, "x > 10 if x > 10"), 0); // nothing chosen, nothing false
}

TEST_F(FormatAssert, AssertFailures) {
    EXPECT_EQ(run(cmd_assert, ""), 198);
    EXPECT_EQ(run(cmd_assert, "nosuch > 1"), 111);
    EXPECT_EQ(run(cmd_assert, "s"), 109);
    EXPECT_EQ(run(cmd_assert, "x > 0 in 7"), 198);
    EXPECT_EQ(msg(), "Obs. nos. out of range\n");
    EXPECT_EQ(run(cmd_assert, "x > 0, fast"), 101);
    EXPECT_EQ(msg(), "options not allowed\n");
}

TEST_F(FormatAssert, AssertWithoutObservationsChecksOnce) {
    clear_dataset();
    EXPECT_EQ(run(cmd_assert, "1 + 1 == 2"), 0);
    EXPECT_EQ(run(cmd_assert, "2 < 1"), 9);
    EXPECT_EQ(msg(), "assertion is false\n");
}

} // namespace
