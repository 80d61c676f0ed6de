// The options reader: what it takes from a line, how arguments balance, and how options match.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "msg_capture.h"
#include "session/options.h"
#include "session/tok.h"

using namespace session;

namespace {

struct Read {
    int rc;
    std::vector<Option> opts;
    std::string rest; // what the tokenizer has left
    std::string msg;
};

Read read(const std::string &text) {
    static std::string line;
    line = text;
    MsgCapture c;
    settok(line.c_str());
    Read r;
    r.rc = read_options(r.opts);
    r.rest = tokrest();
    r.msg = c.text();
    return r;
}

} // namespace

TEST(Options, NamesArgumentsAndTheSecondComma) {
    Read r = read(" replace name( a b ) sep (3) x(\"),\" `\"q)\"') , rest of it");
    ASSERT_EQ(r.rc, 0) << r.msg;
    ASSERT_EQ(r.opts.size(), 4u);
    EXPECT_EQ(r.opts[0].name, "replace");
    EXPECT_FALSE(r.opts[0].paren);
    EXPECT_EQ(r.opts[1].name, "name");
    EXPECT_EQ(r.opts[1].arg, " a b ");
    EXPECT_TRUE(r.opts[1].paren);
    EXPECT_EQ(r.opts[2].name, "sep"); // a blank may stand before the parenthesis
    EXPECT_EQ(r.opts[2].arg, "3");
    EXPECT_EQ(r.opts[3].arg, "\"),\" `\"q)\"'"); // quotes hide parentheses and commas
    EXPECT_EQ(r.rest, "rest of it");
}

TEST(Options, NestingAndItsFaults) {
    Read r = read("f([a(b)]) g(())");
    ASSERT_EQ(r.rc, 0);
    EXPECT_EQ(r.opts[0].arg, "[a(b)]");
    EXPECT_EQ(r.opts[1].arg, "()");
    const struct {
        const char *text, *msg;
    } bad[] = {
        {"f(a", "invalid f: unmatched open parenthesis or bracket\n"},
        {"f(a]", "invalid f: unmatched close parenthesis or bracket\n"},
        {"f([a)", "invalid f: [ closed by )\n"},
        {"f((a])", "invalid f: ( closed by ]\n"},
        {"f(\"a)", "invalid f: quotes do not match\n"},
        {"f(`\"a\")", "invalid f: quotes do not match\n"},
    };
    for (const auto &b : bad) {
        Read e = read(b.text);
        EXPECT_EQ(e.rc, 198) << b.text;
        EXPECT_EQ(e.msg, b.msg) << b.text;
    }
    EXPECT_EQ(read("f(" + std::string(100, '(') + std::string(101, ')')).rc, 0);
    Read deep = read("f(" + std::string(101, '(') + std::string(102, ')'));
    EXPECT_EQ(deep.msg, "invalid f: too many nested parentheses or brackets\n");
}

TEST(Options, SeventyAtMost) {
    std::string line;
    for (int i = 0; i < 70; ++i)
        line += " o" + std::to_string(i);
    EXPECT_EQ(read(line).rc, 0);
    Read r = read(line + " one_more");
    EXPECT_EQ(r.rc, 1003);
    EXPECT_EQ(r.msg, "too many options\n");
}

TEST(Options, MatchingInTheOrderWritten) {
    bool rep = false, stop = true;
    int sep = 5;
    double lvl = 0;
    std::string name, text;
    const OptSpec specs[] = {
        opt_flag("replace", 7, rep), opt_onoff("stop", 1, stop), opt_int("separator", 3, sep, 0, 100),
        opt_real("level", 3, lvl),   opt_name("name", 1, name),  opt_text("title", 2, text)};
    auto run = [&](const std::string &text_in, std::string *msg = nullptr) {
        Read r = read(text_in);
        EXPECT_EQ(r.rc, 0);
        MsgCapture c;
        int rc = match_options(r.opts, specs);
        if (msg) *msg = c.text();
        return rc;
    };
    EXPECT_EQ(run("replace nos sep(7) lev(95.5) n(my) ti( a title )"), 0);
    EXPECT_TRUE(rep);
    EXPECT_FALSE(stop);
    EXPECT_EQ(sep, 7);
    EXPECT_EQ(lvl, 95.5);
    EXPECT_EQ(name, "my");
    EXPECT_EQ(text, "a title");
    EXPECT_EQ(run("stop sep(1) sep(2)"), 0); // a later one overrides
    EXPECT_TRUE(stop);
    EXPECT_EQ(sep, 2);
    std::string m;
    EXPECT_EQ(run("repl", &m), 198); // the whole word: minimum 7
    EXPECT_EQ(m, "option repl not allowed\n");
    EXPECT_EQ(run("bogus sep(x)", &m), 198); // the first fault written wins
    EXPECT_EQ(m, "option bogus not allowed\n");
    EXPECT_EQ(run("sep(101)", &m), 198);
    EXPECT_EQ(m, "option sep() invalid\n");
    EXPECT_EQ(run("sep", &m), 198);
    EXPECT_EQ(m, "option sep() required\n");
    EXPECT_EQ(run("sep( )", &m), 198);
    EXPECT_EQ(m, "option sep() required\n");
    EXPECT_EQ(run("replace(1)", &m), 198);
    EXPECT_EQ(m, "option replace() not allowed\n");
    EXPECT_EQ(run("name(1x)", &m), 198);
    EXPECT_EQ(m, "1x invalid name\n");
    EXPECT_EQ(run("level(1e999)", &m), 198);
}

TEST(Options, ParseOptionsAtTheEndOfALine) {
    bool rep = false;
    const OptSpec specs[] = {opt_flag("replace", 7, rep)};
    static std::string line;
    auto run = [&](const char *t, std::string *msg) {
        line = t;
        settok(line.c_str());
        MsgCapture c;
        int rc = parse_options(specs);
        *msg = c.text();
        return rc;
    };
    std::string m;
    EXPECT_EQ(run("", &m), 0);
    EXPECT_EQ(run(" , replace", &m), 0);
    EXPECT_TRUE(rep);
    EXPECT_EQ(run("junk here", &m), 198);
    EXPECT_EQ(m, "'junk here' invalid\n");
    EXPECT_EQ(run(", replace, more", &m), 198);
    EXPECT_EQ(m, "'more' invalid\n");
}

TEST(Options, TheCommaThatStartsThem) {
    EXPECT_EQ(options_comma("a b, c"), 3u);
    EXPECT_EQ(options_comma("\"a,b\" c, d"), 7u);
    EXPECT_EQ(options_comma("`\"a `\"b,\"' c\"', d"), 14u);
    EXPECT_EQ(options_comma("no comma"), std::string_view::npos);
    EXPECT_EQ(options_comma("\"unclosed, quote"), std::string_view::npos);
}
