// The tokenizer and the abbreviation test.
#include <gtest/gtest.h>

#include "session/tok.h"

using namespace session;

TEST(Tok, WordsSeparatorsAndTwoCharacterOperators) {
    settok("  gen y=x<=3 & z!=4");
    EXPECT_STREQ(gettok(SEP_STD), "gen");
    EXPECT_STREQ(gettok(SEP_STD), "y");
    EXPECT_STREQ(gettok(SEP_STD), "=");
    EXPECT_STREQ(gettok(SEP_STD), "x");
    EXPECT_STREQ(gettok(SEP_STD), "<=");
    EXPECT_STREQ(gettok(SEP_STD), "3");
    EXPECT_STREQ(gettok(SEP_STD), "&");
    EXPECT_STREQ(gettok(SEP_STD), "z");
    EXPECT_STREQ(gettok(SEP_STD), "!=");
    EXPECT_STREQ(gettok(SEP_STD), "4");
    EXPECT_STREQ(gettok(SEP_STD), "");
}

TEST(Tok, QuotedTokensKeepTheirOpeningQuote) {
    settok("\"a b\" `\"x \"y\" `\"n\"' z\"' w");
    EXPECT_STREQ(gettok(SEP_STD), "\"a b");
    EXPECT_STREQ(gettok(SEP_STD), "\"x \"y\" `\"n\"' z");
    EXPECT_STREQ(gettok(SEP_STD), "w");
}

TEST(Tok, UnclosedQuotesRunToTheEnd) {
    settok("\"abc");
    EXPECT_STREQ(gettok(SEP_STD), "\"abc");
    EXPECT_STREQ(gettok(SEP_STD), "");
    settok("`\"abc");
    EXPECT_STREQ(gettok(SEP_STD), "\"abc");
}

TEST(Tok, NumberAndDotSets) {
    settok("-1.5e+3 a.b");
    EXPECT_STREQ(gettok(SEP_NUM), "-1.5e+3");
    EXPECT_STREQ(gettok(SEP_DOT), "a");
    EXPECT_STREQ(gettok(SEP_DOT), ".");
    EXPECT_STREQ(gettok(SEP_DOT), "b");
    settok("x-y");
    EXPECT_STREQ(gettok(SEP_STD), "x");
    EXPECT_STREQ(gettok(SEP_STD), "-");
}

TEST(Tok, PushBackAndSaveRestore) {
    settok("a b c");
    EXPECT_STREQ(gettok(SEP_STD), "a");
    ungettok();
    EXPECT_STREQ(gettok(SEP_STD), "a");
    EXPECT_TRUE(tk.tokagain);
    TokState s;
    savetok(s);
    EXPECT_STREQ(gettok(SEP_STD), "b");
    ungettok();
    restoretok(s);
    EXPECT_FALSE(tk.tokpushed);
    EXPECT_STREQ(gettok(SEP_STD), "b");
    EXPECT_FALSE(tk.tokagain);
    EXPECT_STREQ(tokrest(), "c");
}

TEST(Tok, LongWordStopsAtTheLimitAndTheRestStaysUnread) {
    std::string w(600, 'a');
    settok(w.c_str());
    EXPECT_EQ(std::string(gettok(SEP_STD)).size(), (size_t)tokenlen);
    EXPECT_EQ(std::string(gettok(SEP_STD)).size(), 600u - tokenlen);
}

TEST(Tok, Cmdmatch) {
    EXPECT_TRUE(cmdmatch("di", "display", 2));
    EXPECT_FALSE(cmdmatch("d", "display", 2));
    EXPECT_TRUE(cmdmatch("display", "display", 2));
    EXPECT_FALSE(cmdmatch("displayx", "display", 2));
    EXPECT_FALSE(cmdmatch("Di", "display", 2));
    EXPECT_FALSE(cmdmatch("discard", "display", 2));
}
