// The tokenizer, the abbreviation test and the quote scanners.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

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

// Every token of line, read with the standard set.
std::vector<std::string> tokens_of(const std::string &line) {
    std::vector<std::string> t;
    settok(line.c_str());
    for (std::string w = gettok(SEP_STD); !w.empty(); w = gettok(SEP_STD))
        t.push_back(w);
    return t;
}
using Words = std::vector<std::string>;

TEST(Tok, CompoundTokenKeepsNestedPairsAndCloses) {
    EXPECT_EQ(tokens_of("`\"a `\"b\"' c\"'d"), (Words{"\"a `\"b\"' c", "d"}));
    EXPECT_EQ(tokens_of("`\"\"'x"), (Words{"\"", "x"}));
}

// The tokenizer reads a compound quote a byte at a time: `"' inside opens and closes at once.
TEST(Tok, CompoundTokenReadsANestedOpenerFollowedByAnApostropheAsAClose) {
    EXPECT_EQ(tokens_of("`\"a `\"' b\"' c"), (Words{"\"a `\"' b", "c"}));
}

TEST(Tok, LongCompoundTokenStopsAtTheLimitAndTheRestStaysUnread) {
    std::string inside(600, 'a');
    const std::string head = inside.substr(0, tokenlen - 1), tail = inside.substr(tokenlen - 1);
    // the left-over closing pair opens a plain quote
    EXPECT_EQ(tokens_of("`\"" + inside + "\"' z"), (Words{"\"" + head, tail, "\"' z"}));
    // Exactly as long as the token holds: the closing pair is taken too.
    EXPECT_EQ(tokens_of("`\"" + head + "\"' z"), (Words{"\"" + head, "z"}));
}

constexpr size_t npos = std::string_view::npos;

TEST(Quotes, CqCloseCountsNesting) {
    std::string_view s = "`\"a `\"b\"' c\"'d";
    EXPECT_EQ(cq_close(s, 0), 13u);
    EXPECT_EQ(cq_close(s, 4), 9u);
    EXPECT_EQ(cq_close("x `\"y\"' z", 2), 7u);
}

TEST(Quotes, CqCloseUnclosedIsNpos) {
    EXPECT_EQ(cq_close("`\"abc", 0), npos);
    EXPECT_EQ(cq_close("`\"a `\"b\"' c", 0), npos); // the inner pair closes, the outer does not
    EXPECT_EQ(cq_close("`\"", 0), npos);
    EXPECT_EQ(cq_close("`\"abc\"", 0), npos); // a closing " with no ' after it at the very end
}

TEST(Quotes, CqCloseEmptyAndAdjacent) {
    EXPECT_EQ(cq_close("`\"\"'", 0), 4u);
    std::string_view s = "`\"a\"'`\"b\"'";
    EXPECT_EQ(cq_close(s, 0), 5u);
    EXPECT_EQ(cq_close(s, 5), 10u);
    EXPECT_EQ(cq_close("`\"`\"\"'\"'", 0), 8u);
}

TEST(Quotes, CqClosePlainQuotesInsideMeanNothing) {
    std::string_view s = "`\"say \"hi\" now\"' x";
    EXPECT_EQ(cq_close(s, 0), 16u);
    EXPECT_EQ(cq_close("`\"a \" b\"'", 0), 9u); // an odd plain quote too
}

TEST(Quotes, CqCloseReadsPairsWhole) {
    // `"' inside: an opening pair and a plain apostrophe, so the outer quote stays open one level deeper.
    std::string_view s = "`\"a `\"' b\"' c\"'";
    EXPECT_EQ(cq_close(s, 0), 15u);
    EXPECT_EQ(cq_close_overlapping(s, 0), 11u);
    // Where no " is shared the two readings agree.
    EXPECT_EQ(cq_close_overlapping("`\"a `\"b\"' c\"'d", 0), 13u);
    EXPECT_EQ(cq_close_overlapping("`\"abc", 0), npos);
    EXPECT_EQ(cq_close_overlapping("`\"\"'", 0), 4u);
}

TEST(Quotes, QuotedAtPlainAndCompound) {
    Quoted q;
    std::string_view s = "\"a b\" `\"c \"d\"' e";
    ASSERT_TRUE(quoted_at(s, 0, q));
    EXPECT_EQ(s.substr(q.begin, q.end - q.begin), "a b");
    EXPECT_EQ(q.next, 5u);
    EXPECT_TRUE(q.closed);
    ASSERT_TRUE(quoted_at(s, 6, q));
    EXPECT_EQ(s.substr(q.begin, q.end - q.begin), "c \"d");
    EXPECT_EQ(q.next, 14u);
    EXPECT_TRUE(q.closed);
    EXPECT_FALSE(quoted_at(s, 1, q));
    EXPECT_FALSE(quoted_at(s, s.size(), q));
    EXPECT_FALSE(quoted_at("`x", 0, q));
}

TEST(Quotes, QuotedAtUnclosedRunsToTheEnd) {
    Quoted q;
    ASSERT_TRUE(quoted_at("x \"ab", 2, q));
    EXPECT_EQ(q.begin, 3u);
    EXPECT_EQ(q.end, 5u);
    EXPECT_EQ(q.next, 5u);
    EXPECT_FALSE(q.closed);
    ASSERT_TRUE(quoted_at("`\"ab\"", 0, q));
    EXPECT_EQ(q.begin, 2u);
    EXPECT_EQ(q.end, 5u);
    EXPECT_EQ(q.next, 5u);
    EXPECT_FALSE(q.closed);
    ASSERT_TRUE(quoted_at("\"", 0, q)); // a lone quote at the very end
    EXPECT_EQ(q.begin, 1u);
    EXPECT_EQ(q.end, 1u);
    EXPECT_FALSE(q.closed);
}

TEST(Quotes, QuotedAtEmpty) {
    Quoted q;
    ASSERT_TRUE(quoted_at("\"\"", 0, q));
    EXPECT_EQ(q.begin, q.end);
    EXPECT_EQ(q.next, 2u);
    EXPECT_TRUE(q.closed);
    ASSERT_TRUE(quoted_at("`\"\"'", 0, q));
    EXPECT_EQ(q.begin, q.end);
    EXPECT_EQ(q.next, 4u);
    EXPECT_TRUE(q.closed);
}

// The bytes of s that a QuoteState hands back to its caller (those outside quotes).
std::string outside(std::string_view s, QuoteState &qs) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        int k = qs.feed(s[i], i + 1 < s.size() ? s[i + 1] : '\0');
        if (k)
            i += (size_t)k - 1;
        else
            out.push_back(s[i]);
    }
    return out;
}

TEST(Quotes, FeedSkipsPlainAndCompoundQuotes) {
    QuoteState qs;
    EXPECT_EQ(outside("a \"b,c\" d `\"e `\"f\"' \"g\"' h", qs), "a  d  h");
    EXPECT_FALSE(qs.inside());
}

TEST(Quotes, FeedInsidePlainQuoteIgnoresPairsAndInsideCompoundIgnoresPlain) {
    QuoteState qs;
    EXPECT_EQ(outside("\"`\"x", qs), "x"); // the " of `" closes the plain quote
    EXPECT_FALSE(qs.inside());
    EXPECT_EQ(outside("`\"\"x\"'y", qs), "y"); // a lone " inside the compound quote opens nothing
    EXPECT_FALSE(qs.inside());
}

TEST(Quotes, FeedCarriesStateAcrossTexts) {
    QuoteState qs;
    EXPECT_EQ(outside("a `\"b", qs), "a ");
    EXPECT_TRUE(qs.inside());
    EXPECT_EQ(qs.cq, 1);
    EXPECT_EQ(outside("c\"' d \"e", qs), " d ");
    EXPECT_TRUE(qs.dq);
    EXPECT_EQ(outside("f\" g", qs), " g");
    EXPECT_FALSE(qs.inside());
}

TEST(Quotes, FeedAtTheVeryEnd) {
    QuoteState qs;
    EXPECT_EQ(qs.feed('`', '\0'), 0); // a backquote with nothing after it opens nothing
    EXPECT_EQ(qs.feed('"', '\0'), 1);
    EXPECT_TRUE(qs.dq);
    qs = QuoteState();
    EXPECT_EQ(outside("`\"a\"", qs), "");
    EXPECT_EQ(qs.cq, 1); // a " at the end is not a closing pair
}

TEST(Quotes, FeedPairClosesOnlyWhatItOpened) {
    QuoteState qs;
    EXPECT_EQ(qs.feed_pair('"', '\''), 0); // no compound quote open
    EXPECT_EQ(qs.feed_pair('"', 'x'), 0);  // plain quotes are the caller's
    EXPECT_FALSE(qs.dq);
    EXPECT_EQ(qs.feed_pair('`', '"'), 2);
    EXPECT_EQ(qs.feed_pair('`', '"'), 2);
    EXPECT_EQ(qs.cq, 2);
    EXPECT_EQ(qs.feed_pair('x', '"'), 0);
    EXPECT_EQ(qs.feed_pair('"', '\''), 2);
    EXPECT_EQ(qs.feed_pair('"', '\''), 2);
    EXPECT_EQ(qs.cq, 0);
    EXPECT_EQ(qs.feed_pair('"', '\''), 0);
}
