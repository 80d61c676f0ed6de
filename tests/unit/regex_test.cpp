// The regular-expression engine: compile with its cache and faults, match, sub-expressions, replace.
#include <gtest/gtest.h>

#include <string>

#include "data/regex.h"
#include "msg_capture.h"

using namespace data;

TEST(Regex, MatchKeepsTheSubExpressions) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "([a-z]+)-([0-9]+)(x)?", true), 0);
    EXPECT_EQ(rx.fault, nullptr);
    ASSERT_TRUE(regex_match(rx, "id: abc-123 end"));
    std::string t;
    EXPECT_EQ(regex_sub(rx, 0, t), RX_TEXT);
    EXPECT_EQ(t, "abc-123");
    EXPECT_EQ(regex_sub(rx, 1, t), RX_TEXT);
    EXPECT_EQ(t, "abc");
    EXPECT_EQ(regex_sub(rx, 2, t), RX_TEXT);
    EXPECT_EQ(t, "123");
    EXPECT_EQ(regex_sub(rx, 3, t), RX_UNUSED); // (x)? took no part
    EXPECT_EQ(t, "");
    EXPECT_EQ(regex_sub(rx, 4, t), RX_OUT_OF_RANGE);
    EXPECT_EQ(regex_sub(rx, -1, t), RX_OUT_OF_RANGE);
}

TEST(Regex, TheMatchIsKeptOnACopyOfTheText) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "b+", true), 0);
    std::string s = "abbbc";
    ASSERT_TRUE(regex_match(rx, s));
    s = "zzzzz";
    std::string t;
    EXPECT_EQ(regex_sub(rx, 0, t), RX_TEXT);
    EXPECT_EQ(t, "bbb");
}

TEST(Regex, AFailedMatch) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "^[0-9]+$", true), 0);
    std::string t;
    EXPECT_EQ(regex_sub(rx, 0, t), RX_NOT_RUN);
    EXPECT_FALSE(regex_match(rx, "12a"));
    EXPECT_EQ(rx.matched, -1);
    EXPECT_EQ(regex_sub(rx, 0, t), RX_NO_MATCH);
    EXPECT_TRUE(regex_match(rx, "12"));
    EXPECT_EQ(regex_sub(rx, 0, t), RX_TEXT);
}

TEST(Regex, ANewPatternForgetsTheLastMatchAndTheSameOneKeepsIt) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "a", true), 0);
    ASSERT_TRUE(regex_match(rx, "a"));
    ASSERT_EQ(regex_compile(rx, "a", true), 0);
    EXPECT_EQ(rx.matched, 1);
    ASSERT_EQ(regex_compile(rx, "b", true), 0);
    EXPECT_EQ(rx.matched, 0);
}

TEST(Regex, BracesAreOrdinaryCharacters) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "^a{2}$", true), 0);
    EXPECT_FALSE(regex_match(rx, "aa"));
    EXPECT_TRUE(regex_match(rx, "a{2}"));
}

TEST(Regex, ABadPatternGivesItsFaultAndCode198) {
    struct Bad {
        const char *re, *fault;
    } bad[] = {{"(", "unmatched ()"},         {"a)", "unmatched ()"},
               {"*a", "?+* follows nothing"}, {"a|+b", "?+* follows nothing"},
               {"a**", "nested *?+"},         {"a\\", "trailing \\"},
               {"[ab", "unmatched []"},       {"(a)(a)(a)(a)(a)(a)(a)(a)(a)(a)", "too many ()"}};
    for (const Bad &b : bad) {
        Regex rx;
        MsgCapture c;
        EXPECT_EQ(regex_compile(rx, b.re, true), 198) << b.re;
        ASSERT_NE(rx.fault, nullptr) << b.re;
        EXPECT_STREQ(rx.fault, b.fault) << b.re;
        EXPECT_FALSE(rx.compiled) << b.re;
        EXPECT_EQ(c.text(), "") << b.re; // quiet: nothing written
        EXPECT_EQ(regex_compile(rx, b.re, false), 198) << b.re;
        EXPECT_EQ(c.text(), std::string(b.fault) + "\n") << b.re;
    }
}

TEST(Regex, ARefusedPatternLeavesNoMatch) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "a", true), 0);
    ASSERT_TRUE(regex_match(rx, "a"));
    EXPECT_EQ(regex_compile(rx, "(", true), 198);
    std::string t;
    EXPECT_EQ(regex_sub(rx, 0, t), RX_NOT_RUN);
    EXPECT_FALSE(regex_match(rx, "("));
    EXPECT_EQ(regex_replace(rx, "a(b", "x", false), "a(b");
}

TEST(Regex, ReplaceTheFirstMatch) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "[0-9]+", true), 0);
    EXPECT_EQ(regex_replace(rx, "a12b34", "#", false), "a#b34");
    EXPECT_EQ(regex_replace(rx, "ab", "#", false), "ab");
    EXPECT_EQ(regex_replace(rx, "7", "", false), "");
    ASSERT_EQ(regex_compile(rx, "x*", true), 0);
    EXPECT_EQ(regex_replace(rx, "abc", "-", false), "-abc"); // an empty match at the start
}

TEST(Regex, ReplaceWithReferencesToTheParts) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "([0-9]+)-([0-9]+)(z)?", true), 0);
    EXPECT_EQ(regex_replace(rx, "on 10-06 ok", "\\2/\\1[\\3][\\7]\\0\\x\\", true),
              "on 06/10[][]10-06\\x\\ ok");
    EXPECT_EQ(regex_replace(rx, "on 10-06 ok", "\\2/\\1", false),
              "on \\2/\\1 ok"); // without refs, as written
}

TEST(Regex, ReplaceLeavesTheLastMatchAlone) {
    Regex rx;
    ASSERT_EQ(regex_compile(rx, "(b)", true), 0);
    ASSERT_TRUE(regex_match(rx, "abc"));
    EXPECT_EQ(regex_replace(rx, "bbb", "x", false), "xbb");
    std::string t;
    EXPECT_EQ(regex_sub(rx, 1, t), RX_TEXT);
    EXPECT_EQ(t, "b");
    EXPECT_EQ(rx.subject, "abc");
}
