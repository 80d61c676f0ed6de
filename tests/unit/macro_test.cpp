// Macro expansion in place, the argument splitter, the name rule, number text and the preference
// store, exercised directly.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "lang/emf.h"
#include "lang/macro.h"
#include "lang/prog_int.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/loop.h"
#include "session/prefs.h"
#include "session/store.h"
#include "session/tok.h"

using namespace session;

namespace {

// A command buffer of the session's size, and what expansion made of a line.
struct Expanded {
    int rc;
    std::string line;
    std::string shown;
};

Expanded expand(const std::string &line) {
    std::vector<char> buf(maxmaclen + 1);
    std::snprintf(buf.data(), buf.size(), "%s", line.c_str());
    MsgCapture c;
    int rc = lang::expand_macros(buf.data());
    return {rc, buf.data(), c.text()};
}

struct Globals {
    std::vector<std::string> names;
    void set(const std::string &n, const std::string &v) {
        lang::macro_set(n.c_str(), v);
        names.push_back(n);
    }
    ~Globals() {
        for (const std::string &n : names)
            lang::macro_drop(n.c_str());
    }
};

TEST(Expand, ChainOfTwentyReplacementsAtOnePositionIsAllowed) {
    Globals g;
    // m0 holds $m1, ..., m19 holds $m20, m20 holds the end: $m1 takes 20 replacements, $m0 21.
    for (int i = 0; i < 20; ++i)
        g.set("m" + std::to_string(i), "$m" + std::to_string(i + 1));
    g.set("m20", "end");
    Expanded ok = expand("x $m1 y");
    EXPECT_EQ(ok.rc, 0);
    EXPECT_EQ(ok.line, "x end y");
    Expanded bad = expand("x $m0 y");
    EXPECT_EQ(bad.rc, 920);
    EXPECT_EQ(bad.shown, "too many macros\n");
}

TEST(Expand, LineMustStayShorterThanTheLimit) {
    Globals g;
    g.set("big", std::string(maxcmdlen - 1, 'a'));
    // "${big}" becomes maxcmdlen-1 bytes; the rest of the line makes up the length.
    std::string pad_ok(maxmaclen - 1 - (maxcmdlen - 1), 'b');
    Expanded ok = expand("${big}" + pad_ok);
    EXPECT_EQ(ok.rc, 0);
    EXPECT_EQ(ok.line.size(), (size_t)maxmaclen - 1);
    Expanded bad = expand("${big}" + pad_ok + "b");
    EXPECT_EQ(bad.rc, 920);
    EXPECT_EQ(bad.line, "${big}" + pad_ok + "b"); // the line is left alone
}

TEST(Expand, BackslashesByVersion) {
    Globals g;
    g.set("x", "X");
    int16_t v = lp.version;
    EXPECT_EQ(expand("\\$x \\`y'").line, "$x `y'");
    EXPECT_EQ(expand("a\\\\b \\\\$x").line, "a\\\\b \\X");
    lp.version = 800;
    EXPECT_EQ(expand("a\\\\b \\\\$x").line, "a\\b \\X");
    lp.version = v;
}

TEST(Expand, NamesAndForms) {
    Globals g;
    g.set("x", "X");
    g.set("y", "x");
    g.set("_loc", "L"); // a local of the current level
    EXPECT_EQ(expand("$x|${x}|$$y|${$y}|$`loc'|`loc'|$xy|$ |$").line, "X|X|X|X||L||$ |$");
    EXPECT_EQ(expand("`\"no'\"'").line, "`\"no'\"'");
    EXPECT_EQ(expand("`loc").line, "`loc");
    EXPECT_EQ(expand("${x").line, "${x");
}

TEST(Expand, MacvalIsPassedOver) {
    Globals g;
    g.set("x", "X");
    g.set("_m", "$x and $x");
    EXPECT_EQ(expand("`macval(m)'|`m'").line, "$x and $x|X and X");
}

TEST(Expand, IncrementNeedsANumber) {
    ASSERT_TRUE(compute_limits()); // numbers are written by the display-format code
    Globals g;
    g.set("_i", "9");
    EXPECT_EQ(expand("`i++' `i' `++i' `--i' `i--' `i'").line, "9 10 11 10 10 9");
    g.set("_s", "abc");
    Expanded e = expand("`++s'");
    EXPECT_EQ(e.rc, 109);
    Expanded n = expand("`++nosuch'");
    EXPECT_EQ(n.rc, 111);
    EXPECT_EQ(n.shown, "local macro `nosuch' not found\n");
}

TEST(Args, SplitAsProgramsReceiveThem) {
    std::vector<std::string> w = lang::split_args(" a \"b c\"  `\"d \"e\"\"' \"\" f\"g");
    ASSERT_EQ(w.size(), 6u);
    EXPECT_EQ(w[0], "a");
    EXPECT_EQ(w[1], "b c");
    EXPECT_EQ(w[2], "d \"e\"");
    EXPECT_EQ(w[3], "");
    EXPECT_EQ(w[4], "f");
    EXPECT_EQ(w[5], "g");
}

TEST(Names, TheNameRule) {
    EXPECT_EQ(lang::check_name("a", true), 0);
    EXPECT_EQ(lang::check_name("_1", true), 0);
    EXPECT_EQ(lang::check_name(std::string(32, 'a'), true), 0);
    EXPECT_EQ(lang::check_name(std::string(33, 'a'), true), 198);
    EXPECT_EQ(lang::check_name("1a", true), 198);
    EXPECT_EQ(lang::check_name("a.b", true), 198);
    EXPECT_EQ(lang::check_name("a-b", true), 198);
    EXPECT_EQ(lang::check_name("", true), 198);
    MsgCapture c;
    EXPECT_EQ(lang::check_name("a$b"), 198);
    EXPECT_EQ(c.text(), "a$b invalid name\n");
}

TEST(MacroStore, SetInPlaceAndReplace) {
    Globals g;
    g.set("grow", "abc");
    const char *p1 = lang::macro_get("grow");
    g.set("grow", "xyz");
    EXPECT_EQ(lang::macro_get("grow"), p1); // same length: the block is reused
    int32_t len = 0;
    g.set("grow", std::string(1000, 'q'));
    ASSERT_NE(lang::macro_get("grow", &len), nullptr);
    EXPECT_EQ(len, 1000);
    lang::macro_set_empty("grow");
    ASSERT_NE(lang::macro_get("grow", &len), nullptr);
    EXPECT_EQ(len, 0);
    lang::macro_set("grow", "");
    EXPECT_EQ(lang::macro_get("grow"), nullptr);
}

TEST(MacroStore, OutOfRoomIs950) {
    MsgCapture c;
    store_fail_countdown = 1;
    EXPECT_EQ(lang::macro_set("nomem", "text"), 950);
    store_fail_countdown = 1;
    EXPECT_EQ(lang::macro_set("_nomem", "text"), 950);
    store_fail_countdown = 0;
    EXPECT_EQ(c.text(),
              "insufficient memory for global macro nomem\ninsufficient memory for local macro nomem\n");
    EXPECT_EQ(lang::macro_get("nomem"), nullptr);
}

TEST(Temp, NameForms) {
    int64_t saved = lang::tempname_counter;
    lang::tempname_counter = 36 * 36 + 35;
    EXPECT_EQ(lang::next_tempname(), "__00010Z");
    EXPECT_EQ(lang::tempname_number("__00010Z"), 36 * 36 + 35);
    EXPECT_EQ(lang::tempname_number("__00010z"), -1);
    lang::tempname_counter = 2146483647;
    lang::next_tempname();
    EXPECT_EQ(lang::tempname_counter, 0);
    lang::tempname_counter = saved;
    std::string f = lang::tempfile_name('t', 34 + 33);
    EXPECT_EQ(f.substr(f.size() - 7), ".00001x");
}

class Prefs : public ::testing::Test {
  protected:
    std::string dir;
    void SetUp() override {
        char tmpl[] = "/tmp/orvat-prefs-XXXXXX";
        dir = mkdtemp(tmpl);
    }
    void TearDown() override {
        for (const char *f : {"s.rc", "s.rc.bak", "s.rc.bad", "s.rc.new"})
            std::remove((dir + "/" + f).c_str());
        rmdir(dir.c_str());
    }
    std::string file(const char *f) {
        std::ifstream in(dir + "/" + f);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }
};

TEST_F(Prefs, WriteAndReadBack) {
    int h = pref_open(dir, "s.rc");
    ASSERT_GE(h, 0);
    EXPECT_EQ(pref_put(h, "g", "k", "tab\there\nnewline\\back"), 0);
    EXPECT_EQ(pref_put(h, "g", "k2", "plain"), 0);
    EXPECT_TRUE(pref_write(h));
    pref_close(h);
    h = pref_open(dir, "s.rc");
    std::string v;
    ASSERT_TRUE(pref_get(h, "g", "k", v));
    EXPECT_EQ(v, "tab\there\nnewline\\back");
    EXPECT_TRUE(pref_write(h));
    pref_close(h);
    EXPECT_EQ(file("s.rc"), file("s.rc.bak"));
}

TEST_F(Prefs, GroupAndKeyBelow97Bytes) {
    int h = pref_open(dir, "s.rc");
    std::string g(48, 'g'), k48(48, 'k'), k49(49, 'k');
    EXPECT_EQ(pref_put(h, g, k48, "fits"), 0);
    EXPECT_EQ(pref_put(h, g, k49, "refused"), 2);
    std::string v;
    EXPECT_TRUE(pref_get(h, g, k48, v));
    EXPECT_FALSE(pref_get(h, g, k49, v));
    pref_close(h);
}

TEST_F(Prefs, UnreadableFileIsKeptAsBad) {
    {
        std::ofstream out(dir + "/s.rc");
        out << "orvat preferences 1\ng\tk\tbad escape \\q\n";
    }
    int h = pref_open(dir, "s.rc");
    std::string v;
    EXPECT_FALSE(pref_get(h, "g", "k", v));
    pref_close(h);
    EXPECT_EQ(file("s.rc.bad"), "orvat preferences 1\ng\tk\tbad escape \\q\n");
    EXPECT_EQ(access((dir + "/s.rc").c_str(), F_OK), -1);
}

} // namespace

// `: type` and `: format` read a variable's storage type and display format; a name that is not a
// variable fails with its message.
TEST(ExtendedFunctions, TypeAndFormatOfAVariable) {
    ASSERT_TRUE(compute_limits());
    ASSERT_EQ(data::data_init(1 << 20, 5000, 400), 0);
    int v = 0;
    ASSERT_EQ(data::add_var("price", 253, &v), 0);
    ASSERT_EQ(data::add_var("make", 18, &v), 0);
    data::command_start(); // what a new command sees
    std::string out;
    EXPECT_EQ(lang::emf_run("type price", out), 0);
    EXPECT_EQ(out, "long");
    EXPECT_EQ(lang::emf_run("type make", out), 0);
    EXPECT_EQ(out, "str18");
    EXPECT_EQ(lang::emf_run("format pr", out), 0);
    EXPECT_EQ(out, "%12.0g");
    EXPECT_EQ(lang::emf_run("format make", out), 0);
    EXPECT_EQ(out, "%18s");
    MsgCapture cap;
    EXPECT_EQ(lang::emf_run("type nosuch", out), 111);
    EXPECT_EQ(cap.text(), "variable nosuch not found\n");
    EXPECT_EQ(lang::emf_run("type price extra", out), 198);
    data::clear_dataset();
}
