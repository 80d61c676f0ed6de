// The reader of linear expressions in coefficients: terms, products and quotients by constants,
// equations, factor levels, the two sides of `=`, the failures, and the text shown for a row.
#include <gtest/gtest.h>

#include <cstring>

#include "matrix/linexp.h"
#include "msg_capture.h"
#include "session/hexfloat.h"

using namespace mat;

namespace {

StripeName col(const char *eq, const char *name) {
    StripeName s;
    std::strncpy(s.equation, eq, 32);
    std::strncpy(s.name, name, 32);
    return s;
}

const std::vector<StripeName> plain = {col("", "x1"), col("", "x2"), col("", "1.c3"), col("", "2.c3"),
                                       col("", "_cons")};
const std::vector<StripeName> two_eq = {col("y1", "x1"), col("y1", "_cons"), col("y2", "x1"),
                                        col("y2", "_cons")};

std::vector<double> row(std::initializer_list<double> v) { return v; }

int parse(const char *text, const std::vector<StripeName> &s, LinRow &r, std::string *msg = nullptr) {
    MsgCapture cap;
    const int rc = parse_linexp(text, s, r);
    if (msg) *msg = cap.text();
    return rc;
}

} // namespace

TEST(LinExp, SingleNameIsZeroByDefault) {
    LinRow r;
    ASSERT_EQ(parse("x1", plain, r), 0);
    EXPECT_EQ(r.R, row({1, 0, 0, 0, 0}));
    EXPECT_EQ(r.r, 0);
}

TEST(LinExp, ProductsOnEitherSideAndSums) {
    LinRow r;
    ASSERT_EQ(parse("2*x1 + x2*3 - _cons", plain, r), 0);
    EXPECT_EQ(r.R, row({2, 3, 0, 0, -1}));
    ASSERT_EQ(parse("-x1 - -x2", plain, r), 0);
    EXPECT_EQ(r.R, row({-1, 1, 0, 0, 0}));
    EXPECT_EQ(parse("x1 - (-1)*x2", plain, r), 0);
    EXPECT_EQ(r.R, row({1, 1, 0, 0, 0}));
}

TEST(LinExp, EqualsMovesTermsLeftAndConstantsRight) {
    LinRow r;
    ASSERT_EQ(parse("x1 + 1 = 2*x2 + 4", plain, r), 0);
    EXPECT_EQ(r.R, row({1, -2, 0, 0, 0}));
    EXPECT_EQ(r.r, 3);
    ASSERT_EQ(parse("(1+2)*x1 = (10)/4", plain, r), 0);
    EXPECT_EQ(r.R, row({3, 0, 0, 0, 0}));
    EXPECT_EQ(r.r, 2.5);
    ASSERT_EQ(parse("x1/2 = x2", plain, r), 0);
    EXPECT_EQ(r.R, row({0.5, -1, 0, 0, 0}));
}

TEST(LinExp, FactorLevelsAndBracketForms) {
    LinRow r;
    ASSERT_EQ(parse("2.c3 - 1.c3", plain, r), 0);
    EXPECT_EQ(r.R, row({0, 0, -1, 1, 0}));
    ASSERT_EQ(parse("_b[x2] + 1.5e1*_b[_cons] = 1e-1", plain, r), 0);
    EXPECT_EQ(r.R, row({0, 1, 0, 0, 15}));
    EXPECT_DOUBLE_EQ(r.r, 0.1);
}

TEST(LinExp, EquationsSelectColumns) {
    LinRow r;
    ASSERT_EQ(parse("[y1]x1 - [y2]x1", two_eq, r), 0);
    EXPECT_EQ(r.R, row({1, 0, -1, 0}));
    ASSERT_EQ(parse("[y2]_b[_cons] + _b[y1:_cons] + _b[[y2]x1]", two_eq, r), 0);
    EXPECT_EQ(r.R, row({0, 1, 1, 1}));
    // without an equation a name is taken from the first
    ASSERT_EQ(parse("x1 = [#2]x1", two_eq, r), 0);
    EXPECT_EQ(r.R, row({1, 0, -1, 0}));
}

TEST(LinExp, NameNotInModel) {
    LinRow r;
    std::string msg;
    EXPECT_EQ(parse("x1 + x9", plain, r, &msg), 111);
    EXPECT_NE(msg.find("x9 not found"), std::string::npos) << msg;
    EXPECT_EQ(parse("[y3]x1", two_eq, r, &msg), 303);
    EXPECT_EQ(parse("[y2]x9", two_eq, r, &msg), 111);
    EXPECT_NE(msg.find("[y2]x9 not found"), std::string::npos) << msg;
}

TEST(LinExp, NonlinearTermsAre131) {
    LinRow r;
    std::string msg;
    EXPECT_EQ(parse("x1*x2", plain, r, &msg), 131);
    EXPECT_NE(msg.find("not possible with test"), std::string::npos) << msg;
    EXPECT_EQ(parse("2/x1", plain, r), 131);
    EXPECT_EQ(parse("(x1+1)*(x2)", plain, r), 131);
}

TEST(LinExp, SyntaxErrorsAre198) {
    LinRow r;
    EXPECT_EQ(parse("x1 +", plain, r), 198);
    EXPECT_EQ(parse("(x1", plain, r), 198);
    EXPECT_EQ(parse("x1 = x2 = 0", plain, r), 198);
    EXPECT_EQ(parse("x1 x2", plain, r), 198);
    EXPECT_EQ(parse("x1/0", plain, r), 198);
    EXPECT_EQ(parse("", plain, r), 198);
}

TEST(LinExp, TextOfARow) {
    ASSERT_TRUE(session::compute_limits());
    LinRow r;
    ASSERT_EQ(parse("x1 = x2", plain, r), 0);
    EXPECT_EQ(linrow_text(r, plain), "x1 - x2 = 0");
    ASSERT_EQ(parse("-2*x1 + 0.5*_cons = 3", plain, r), 0);
    EXPECT_EQ(linrow_text(r, plain), "- 2*x1 + .5*_cons = 3");
    ASSERT_EQ(parse("[y1]x1 = [y2]x1", two_eq, r), 0);
    EXPECT_EQ(linrow_text(r, two_eq), "[y1]x1 - [y2]x1 = 0");
}
