// The terminal layer: padding, the key table, terminal set-up, buffered output, the console sink, set conren.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "msg_capture.h"
#include "output/channel.h"
#include "output/conren.h"
#include "output/rimu.h"
#include "output/rimu_int.h"
#include "output/term.h"
#include "session/tok.h"

using namespace out;

namespace {

// Sends fd 1 to a temporary file while alive; take() returns what was written so far.
struct StdoutCapture {
    std::FILE *f = std::tmpfile();
    int saved;
    StdoutCapture() {
        std::fflush(stdout);
        saved = dup(1);
        dup2(fileno(f), 1);
    }
    std::string take() {
        term_flush();
        std::string all;
        char buf[4096];
        off_t at = 0;
        ssize_t n;
        while ((n = pread(fileno(f), buf, sizeof buf, at)) > 0) {
            all.append(buf, (size_t)n);
            at += n;
        }
        return all;
    }
    ~StdoutCapture() {
        term_flush();
        dup2(saved, 1);
        close(saved);
        std::fclose(f);
    }
};

// A line image with the given text and runs (start column, style).
struct Image {
    uint8_t img[LINE_IMAGE_MAX];
    Image(const std::string &text, std::initializer_list<std::pair<int, int>> runs) {
        RimuStream s;
        s.lineLength = (int)text.size();
        std::memcpy(s.line_text, text.data(), text.size());
        s.line_text[text.size()] = '\0';
        s.run_count = 0;
        for (auto [at, style] : runs) {
            s.run_start[s.run_count] = (uint8_t)at;
            s.run_style[s.run_count] = (uint8_t)style;
            ++s.run_count;
        }
        s.linkBytes = 0;
        s.marker_bytes = 0;
        s.line_continued = 0;
        line_build(img, &s);
    }
};

void seq(ConSeq &s, const char *v) {
    s.len = (uint8_t)std::strlen(v);
    std::memcpy(s.b, v, s.len);
}

// A console with one-letter sequences, so the order of what the sink sends can be read off.
struct SinkFixture : ::testing::Test {
    Term savedTerm;
    void SetUp() override {
        savedTerm = term;
        con = Console{};
        conren = Conren{};
        seq(conren.reset, "R");
        seq(conren.ulon, "U");
        seq(conren.uloff, "u");
        seq(conren.tab[conren_index(COL_TEXT)], "T");
        seq(conren.tab[conren_index(COL_RESULT)], "S");
        seq(conren.tab[conren_index(COL_LINK)], "L");
        seq(conren.tab[conren_index(FONT_BF | COL_ERROR)], "E");
        term.out_tty = true;
        term.in_tty = true;
        term.batch = false;
    }
    void TearDown() override {
        term.out_tty = savedTerm.out_tty;
        term.in_tty = savedTerm.in_tty;
        term.batch = savedTerm.batch;
        conren = Conren{};
        con = Console{};
    }
};

} // namespace

TEST(TermPadding, LeadingDelayAndInnerDelaysGo) {
    EXPECT_EQ(strip_padding("20\x1b[K"), "\x1b[K");
    EXPECT_EQ(strip_padding("3*\x1b[J"), "\x1b[J");
    EXPECT_EQ(strip_padding("\x1b[H$<5>\x1b[2J$<50>"), "\x1b[H\x1b[2J");
    EXPECT_EQ(strip_padding("\x1b[1m"), "\x1b[1m");
    EXPECT_EQ(strip_padding(""), "");
    EXPECT_EQ(strip_padding(nullptr), "");
}

TEST(TermPadding, WhatIsNotADelayStays) {
    EXPECT_EQ(strip_padding("a$<x>b"), "a$<x>b");
    EXPECT_EQ(strip_padding("a$<12"), "a$<12");
    EXPECT_EQ(strip_padding("a$<>b"), "a$<>b");
    EXPECT_EQ(strip_padding("x5*y"), "x5*y"); // digits are padding only at the front
}

TEST(TermKeys, InsertionRules) {
    KeyTable t;
    EXPECT_TRUE(key_add(t, "\x7f", KEY_BS)); // one byte: anything
    EXPECT_TRUE(key_add(t, "\b", KEY_BS));
    EXPECT_FALSE(key_add(t, "ab", KEY_UP)); // several bytes must begin with escape
    EXPECT_FALSE(key_add(t, "", KEY_UP));
    EXPECT_FALSE(key_add(t, nullptr, KEY_UP));
    EXPECT_TRUE(key_add(t, "\x1b[123456789", KEY_UP));   // 11 bytes
    EXPECT_FALSE(key_add(t, "\x1b[1234567890", KEY_UP)); // 12 bytes
    EXPECT_EQ(t.count, 3);
    while (t.count < KEYTAB_MAX)
        ASSERT_TRUE(key_add(t, "\x1bOA", KEY_UP));
    EXPECT_FALSE(key_add(t, "\x1bOB", KEY_DOWN)); // the 101st
    EXPECT_EQ(t.count, 100);
}

TEST(TermKeys, MatchCompletePrefixNone) {
    KeyTable t;
    key_add(t, "\x1bOA", KEY_UP);
    key_add(t, "\x1b[3~", KEY_DEL);
    key_add(t, "\x7f", KEY_BS);
    EXPECT_EQ(key_match(t, "\x1bOA", 3), KEY_UP);
    EXPECT_EQ(key_match(t, "\x1b[3~", 4), KEY_DEL);
    EXPECT_EQ(key_match(t, "\x1b", 1), 0);
    EXPECT_EQ(key_match(t, "\x1b[", 2), 0);
    EXPECT_EQ(key_match(t, "\x1b[4", 3), -1);
    EXPECT_EQ(key_match(t, "\x7f", 1), KEY_BS);
    EXPECT_EQ(key_match(t, "a", 1), -1);
}

TEST(TermSetup, DefaultsWithoutADescription) {
    term_setup(false, nullptr);
    EXPECT_EQ(term.cols, 80);
    EXPECT_EQ(term.lines, 25);
    EXPECT_EQ(term.tabsize, 8);
    EXPECT_FALSE(term.described);
    EXPECT_EQ(term.keys.count, 0);
    term_setup(false, "no-such-terminal-type");
    EXPECT_FALSE(term.described);
    EXPECT_EQ(term.cols, 80);
    term_setup(true, "xterm"); // batch: the description isn't read
    EXPECT_FALSE(term.described);
    EXPECT_EQ(term.keys.count, 0);
    EXPECT_FALSE(term.editing);
}

TEST(TermSetup, SizePageLengthAndWidthOfTheConsole) {
    RimuStream *saved = ch.console;
    ch.console = stream_new();
    setenv("LINES", "40", 1);
    setenv("COLUMNS", "120", 1);
    term_setup(false, "xterm");
    ASSERT_TRUE(term.described);
    EXPECT_EQ(term.cols, 120);
    EXPECT_EQ(term.lines, 40);
    EXPECT_EQ(ch.console->pageLength, 38);
    EXPECT_EQ(ch.console->width, 119);
    EXPECT_EQ(term.pagesize, 38);

    setenv("COLUMNS", "300", 1);
    setenv("LINES", "4", 1);
    ch.console->pageLength = 0;
    term_setup(false, "xterm");
    EXPECT_EQ(ch.console->width, 255);
    EXPECT_EQ(ch.console->pageLength, 0); // 4 lines: no pager
    setenv("COLUMNS", "30", 1);
    term_setup(false, "xterm");
    EXPECT_EQ(ch.console->width, 40);
    unsetenv("LINES");
    unsetenv("COLUMNS");
    stream_free(ch.console);
    ch.console = saved;
}

TEST(TermSetup, KeySequencesOfTheDescription) {
    term_setup(false, "xterm");
    ASSERT_TRUE(term.described);
    EXPECT_EQ(key_match(term.keys, "\x1bOA", 3), KEY_UP);
    EXPECT_EQ(key_match(term.keys, "\x1bOB", 3), KEY_DOWN);
    EXPECT_EQ(key_match(term.keys, "\x1bOC", 3), KEY_RIGHT);
    EXPECT_EQ(key_match(term.keys, "\x1bOD", 3), KEY_LEFT);
    EXPECT_EQ(key_match(term.keys, "\x1bOP", 3), KEY_F1);
    EXPECT_EQ(key_match(term.keys, "\x1bOQ", 3), KEY_F1 + 1);
    EXPECT_EQ(key_match(term.keys, "\x1b[3~", 4), KEY_DEL);
    EXPECT_EQ(key_match(term.keys, "\x7f", 1), KEY_BS);
    EXPECT_EQ(term.up, "\x1b[A");
    // The fixed sequences belong to the "sun" names only.
    EXPECT_EQ(key_match(term.keys, "\x1b[214z", 6), -1);
}

TEST(TermSetup, FixedSequencesOfSunKeyboards) {
    term_setup(false, "sun");
    ASSERT_TRUE(term.described);
    EXPECT_EQ(key_match(term.keys, "\x1b[214z", 6), KEY_HOME);
    EXPECT_EQ(key_match(term.keys, "\x1b[220z", 6), KEY_END);
    EXPECT_EQ(key_match(term.keys, "\x1b[247z", 6), KEY_INS);
    EXPECT_EQ(key_match(term.keys, "\x1b[249z", 6), KEY_DEL);
    EXPECT_EQ(key_match(term.keys, "\x1b[216z", 6), KEY_PGUP);
    EXPECT_EQ(key_match(term.keys, "\x1b[222z", 6), KEY_PGDN);
}

TEST(TermOutput, SmallPiecesAreBufferedLargeOnesGoDirectAfterAFlush) {
    StdoutCapture cap;
    term_put("ab");
    std::string big(600, 'x');
    term_put(big);
    term_put("cd");
    EXPECT_EQ(cap.take(), "ab" + big + "cd");
    // 511 bytes fill the buffer; the next byte makes it write out first.
    std::string a(511, 'a');
    term_put(a);
    term_put("b");
    EXPECT_EQ(cap.take(), "ab" + big + "cd" + a + "b");
}

TEST_F(SinkFixture, StyleChangesSendUnderlineOffResetTableEntryUnderlineOn) {
    StdoutCapture cap;
    Image one("abcdef", {{0, COL_TEXT}, {3, COL_RESULT | STY_UNDERLINE}});
    console_sink(nullptr, one.img, SINK_LINE);
    Image two("xyz", {{0, COL_TEXT}});
    console_sink(nullptr, two.img, SINK_LINE);
    Image three("q", {{0, COL_TEXT}});
    console_sink(nullptr, three.img, SINK_LINE); // same style: nothing sent
    Image four("w", {{0, FONT_BF | COL_ERROR}});
    console_sink(nullptr, four.img, SINK_LINE);
    EXPECT_EQ(cap.take(), "RTabcRSUdef\nuRTxyz\nq\nREw\n");
}

TEST_F(SinkFixture, NotATerminalGetsPlainText) {
    term.out_tty = false;
    StdoutCapture cap;
    Image one("abcdef", {{0, COL_TEXT}, {3, COL_RESULT | STY_UNDERLINE}});
    console_sink(nullptr, one.img, SINK_LINE);
    EXPECT_EQ(cap.take(), "abcdef\n");
}

TEST_F(SinkFixture, LineDrawingCodesBecomeAsciiAndHardBlanksBlanks) {
    term.out_tty = false;
    StdoutCapture cap;
    Image draw(std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8), {{0, COL_TEXT | STY_LINEDRAW}});
    console_sink(nullptr, draw.img, SINK_LINE);
    Image hard("a\x13"
               "b",
               {{0, COL_TEXT}});
    console_sink(nullptr, hard.img, SINK_LINE);
    EXPECT_EQ(cap.take(), "--||++++\na b\n");
}

TEST_F(SinkFixture, PartialLineThenTheRestOfIt) {
    term.out_tty = false;
    StdoutCapture cap;
    Image p(". ", {{0, COL_INPUT}});
    console_sink(nullptr, p.img, SINK_PARTIAL);
    EXPECT_EQ(con.shownColumn, 2);
    EXPECT_STREQ(con.partial, ". ");
    Image q(". abc", {{0, COL_INPUT}});
    console_sink(nullptr, q.img, SINK_PARTIAL);
    Image full(". abcdef", {{0, COL_INPUT}});
    console_sink(nullptr, full.img, SINK_LINE);
    EXPECT_EQ(con.shownColumn, 0);
    console_sink(nullptr, nullptr, SINK_NEWLINE);
    EXPECT_EQ(cap.take(), ". abcdef\n\n");
}

TEST_F(SinkFixture, AColumnPastTheTextStartsTheLineAgain) {
    term.out_tty = false;
    StdoutCapture cap;
    con.shownColumn = 10;
    Image l("abc", {{0, COL_TEXT}});
    console_sink(nullptr, l.img, SINK_LINE);
    EXPECT_EQ(cap.take(), "abc\n");
}

TEST_F(SinkFixture, NewlineAfterTheEditorLeftAFreshRowIsNotDoubled) {
    StdoutCapture cap;
    con.fresh_row = true;
    console_sink(nullptr, nullptr, SINK_NEWLINE);
    console_sink(nullptr, nullptr, SINK_NEWLINE);
    EXPECT_EQ(cap.take(), "\n");
}

TEST_F(SinkFixture, MoreReturnsABlankAtOnceInBatchOrWithoutATerminal) {
    StdoutCapture cap;
    term.batch = true;
    EXPECT_EQ(console_sink(nullptr, more_image(), SINK_MORE), ' ');
    term.batch = false;
    term.in_tty = false;
    EXPECT_EQ(console_sink(nullptr, more_image(), SINK_MORE), ' ');
    term.in_tty = true;
    term.out_tty = false;
    EXPECT_EQ(console_sink(nullptr, more_image(), SINK_MORE), ' ');
    EXPECT_EQ(cap.take(), "");
}

TEST(Conren, IndexOfFontAndColour) {
    EXPECT_EQ(conren_index(COL_RESULT), 0);
    EXPECT_EQ(conren_index(COL_HILITE), 6);
    EXPECT_EQ(conren_index(FONT_IT | COL_RESULT), 7);
    EXPECT_EQ(conren_index(FONT_BF | COL_ERROR), 17);
    EXPECT_EQ(conren_index(FONT_BF | COL_HILITE | STY_UNDERLINE | STY_LINEDRAW), 20);
    EXPECT_EQ(conren_index(0), -1);
}

TEST(Conren, ByteWords) {
    ConSeq s;
    ASSERT_EQ(conren_parse_bytes("<27> [ 1 m", s), 0);
    EXPECT_EQ(std::string(s.view()), "\x1b[1m");
    ASSERT_EQ(conren_parse_bytes("<0> <255>  <  >", s), 0);
    EXPECT_EQ(std::string(s.view()), std::string("\0\xff<>", 4));
    ASSERT_EQ(conren_parse_bytes("<27>  [0;31m", s), 0); // a longer word gives its characters
    EXPECT_EQ(std::string(s.view()), "\x1b[0;31m");
    ASSERT_EQ(conren_parse_bytes("", s), 0);
    EXPECT_EQ(s.len, 0);
}

TEST(Conren, TwentiethByteAndMalformedNumbersAre198) {
    ConSeq s;
    EXPECT_EQ(conren_parse_bytes("a b c d e f g h i j k l m n o p q r s", s), 0); // 19
    EXPECT_EQ(s.len, 19);
    EXPECT_EQ(conren_parse_bytes("a b c d e f g h i j k l m n o p q r s t", s), 198);
    EXPECT_EQ(conren_parse_bytes("abcdefghijklmnopqrst", s), 198);
    EXPECT_EQ(conren_parse_bytes("<27", s), 198);
    EXPECT_EQ(conren_parse_bytes("<>", s), 198);
    EXPECT_EQ(conren_parse_bytes("<2x>", s), 198);
    EXPECT_EQ(conren_parse_bytes("<256>", s), 198);
    EXPECT_EQ(conren_parse_bytes("<27>x", s), 198);
    EXPECT_EQ(conren_parse_bytes("<-1>", s), 198);
}

namespace {
int run_conren(const char *line) {
    static char buf[256];
    std::strcpy(buf, line);
    session::settok(buf);
    return set_conren(0);
}
} // namespace

TEST(Conren, SetEntriesByFontAndColour) {
    conren = Conren{};
    EXPECT_EQ(run_conren("bf error <27> [ 3 1 m"), 0);
    EXPECT_EQ(std::string(conren.tab[17].view()), "\x1b[31m");
    EXPECT_EQ(conren.tab[3].len, 0);          // sf error untouched
    EXPECT_EQ(run_conren("res <27> [1m"), 0); // a colour alone sets all three fonts
    EXPECT_EQ(std::string(conren.tab[0].view()), "\x1b[1m");
    EXPECT_EQ(std::string(conren.tab[7].view()), "\x1b[1m");
    EXPECT_EQ(std::string(conren.tab[14].view()), "\x1b[1m");
    EXPECT_EQ(run_conren("it txt X"), 0);
    EXPECT_EQ(std::string(conren.tab[8].view()), "X");
    EXPECT_EQ(run_conren("hi Y"), 0);
    EXPECT_EQ(std::string(conren.tab[6].view()), "Y");
    EXPECT_EQ(run_conren("ct Z"), 0);
    EXPECT_EQ(std::string(conren.tab[4].view()), "Z");
    EXPECT_EQ(run_conren("off"), 0);
    EXPECT_EQ(run_conren("sf off"), 0);
    conren = Conren{};
}

TEST(Conren, Failures) {
    MsgCapture cap;
    conren = Conren{};
    EXPECT_EQ(run_conren("sf"), 198);    // a font without a colour
    EXPECT_EQ(run_conren("re X"), 198);  // result needs 3 letters
    EXPECT_EQ(run_conren("tex X"), 198); // text needs all 4
    EXPECT_EQ(run_conren("purple X"), 198);
    EXPECT_EQ(run_conren("error <1000>"), 198);
    EXPECT_EQ(run_conren("error a b c d e f g h i j k l m n o p q r s t"), 198);
    EXPECT_EQ(conren.tab[3].len, 0); // a failed command changes nothing
    EXPECT_EQ(run_conren("clear extra"), 198);
}

TEST(Conren, UnderlineResetsFollowsTheThreeSequences) {
    RimuStream *saved = ch.console;
    ch.console = stream_new();
    conren = Conren{};
    EXPECT_EQ(run_conren("ulon <27> [4m"), 0);
    EXPECT_EQ(ch.console->underlineResets, 0); // nothing to end underlining with
    EXPECT_EQ(run_conren("reset <27> [m"), 0);
    EXPECT_EQ(ch.console->underlineResets, 1);
    EXPECT_EQ(run_conren("reset"), 0);
    EXPECT_EQ(ch.console->underlineResets, 0);
    EXPECT_EQ(run_conren("uloff <27> [24m"), 0);
    EXPECT_EQ(ch.console->underlineResets, 1);
    EXPECT_EQ(run_conren("clear"), 0);
    EXPECT_EQ(ch.console->underlineResets, 0);
    EXPECT_EQ(conren.ulon.len, 0);
    stream_free(ch.console);
    ch.console = saved;
}

TEST(Conren, ListingShowsEveryEntry) {
    MsgCapture cap;
    conren = Conren{};
    run_conren("bf error <27> [31m");
    run_conren("reset <27> [ m");
    EXPECT_EQ(run_conren(""), 0);
    std::string t = cap.text();
    EXPECT_NE(t.find("    sf text            \n"), std::string::npos) << t;
    EXPECT_NE(t.find("    bf error           <27>[ 3 1 m \n"), std::string::npos) << t;
    EXPECT_NE(t.find("    reset              <27>[ m \n"), std::string::npos) << t;
    EXPECT_LT(t.find("sf text"), t.find("sf result"));
    EXPECT_LT(t.find("sf blue"), t.find("it text"));
    EXPECT_LT(t.find("bf blue"), t.find("uloff"));
    EXPECT_NE(t.find("See help conren for information on the -set conren- command."), std::string::npos) << t;
    conren = Conren{};
}

TEST(Conren, DefaultColoursOnlyWithColour) {
    conren_defaults(true);
    EXPECT_EQ(std::string(conren.reset.view()), "\x1b[0m");
    EXPECT_EQ(std::string(conren.tab[conren_index(COL_ERROR)].view()), "\x1b[31m");
    EXPECT_EQ(std::string(conren.tab[conren_index(FONT_BF | COL_ERROR)].view()), "\x1b[1m\x1b[31m");
    conren_defaults(false);
    for (const ConSeq &s : conren.tab)
        EXPECT_EQ(s.len, 0);
    EXPECT_EQ(conren.reset.len, 0);
}
