// The line reader: the review ring, plain lines from a file, and the editor's keys fed from a file.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "msg_capture.h"
#include "output/term.h"
#include "session/lineedit.h"

using namespace session;

namespace {

// Puts bytes on fd 0 and collects fd 1 while alive.
struct Io {
    std::FILE *in = std::tmpfile();
    std::FILE *outf = std::tmpfile();
    int saved0, saved1;
    explicit Io(const std::string &keys) {
        std::fwrite(keys.data(), 1, keys.size(), in);
        std::fflush(in);
        std::rewind(in);
        std::fflush(stdout);
        saved0 = dup(0);
        saved1 = dup(1);
        dup2(fileno(in), 0);
        dup2(fileno(outf), 1);
    }
    std::string screen() {
        out::term_flush();
        std::string all;
        char buf[4096];
        off_t at = 0;
        ssize_t n;
        while ((n = pread(fileno(outf), buf, sizeof buf, at)) > 0) {
            all.append(buf, (size_t)n);
            at += n;
        }
        return all;
    }
    ~Io() {
        out::term_flush();
        dup2(saved0, 0);
        dup2(saved1, 1);
        close(saved0);
        close(saved1);
        std::fclose(in);
        std::fclose(outf);
    }
};

// The editor on a described terminal of the given width, the prompt ". " shown.
struct EditFixture : ::testing::Test {
    out::Term saved;
    char buf[512];
    void SetUp() override {
        saved = out::term;
        out::term.editing = true;
        out::term.cols = 20;
        out::term.up = "\x1b[A";
        out::term.bc = "\b";
        out::term.cd = "";
        out::term.keys = out::KeyTable{};
        out::con = out::Console{};
        out::con.shownColumn = 2;
        std::strcpy(out::con.partial, ". ");
        fkey_text = fkey_default;
        complete_names = nullptr;
        review_init(4096);
    }
    void TearDown() override {
        out::term = saved;
        out::con = out::Console{};
        fkey_text = fkey_default;
        complete_names = nullptr;
    }
    // Feeds keys; returns the code and leaves the line in buf.
    int type(const std::string &keys, int cap = 512) {
        Io io(keys);
        return read_terminal_line(buf, cap);
    }
};

std::string ctl(char c) { return std::string(1, (char)(c & 0x1f)); }

} // namespace

// ---- review ring

TEST(Review, NumberedFromTheNewest) {
    review_init(4096);
    std::string s;
    EXPECT_EQ(review_get(1, s), 1); // nothing yet
    review_add("first");
    review_add("second  "); // trailing blanks are not kept
    review_add("");         // empty lines are not kept
    review_add("   ");
    review_add("third");
    ASSERT_EQ(review_get(1, s), 0);
    EXPECT_EQ(s, "third");
    ASSERT_EQ(review_get(2, s), 0);
    EXPECT_EQ(s, "second");
    ASSERT_EQ(review_get(3, s), 0);
    EXPECT_EQ(s, "first");
    EXPECT_EQ(review_get(4, s), 1);
    EXPECT_EQ(review_get(0, s), 1);
}

TEST(Review, WrapAroundKeepsWholeLinesOnly) {
    review_init(32);
    review_add("aaaaaaaaa"); // 10 bytes with its marker
    review_add("bbbbbbbbb");
    review_add("ccccccccc"); // 30 bytes used
    std::string s;
    ASSERT_EQ(review_get(3, s), 0);
    EXPECT_EQ(s, "aaaaaaaaa");
    review_add("dddd"); // wraps: overwrites the start of the a line
    ASSERT_EQ(review_get(1, s), 0);
    EXPECT_EQ(s, "dddd");
    ASSERT_EQ(review_get(2, s), 0);
    EXPECT_EQ(s, "ccccccccc");
    ASSERT_EQ(review_get(3, s), 0);
    EXPECT_EQ(s, "bbbbbbbbb");
    EXPECT_EQ(review_get(4, s), 1); // the a line is cut: gone, not shown in part
    for (int i = 0; i < 20; ++i)
        review_add(("x" + std::to_string(i)).c_str());
    ASSERT_EQ(review_get(1, s), 0);
    EXPECT_EQ(s, "x19");
    ASSERT_EQ(review_get(7, s), 0); // 7 lines of 4 bytes and the marker before them: 29 bytes
    EXPECT_EQ(s, "x13");
    EXPECT_EQ(review_get(8, s), 1); // x12 would need the marker at 33 bytes back
    review_add("a line that cannot fit in the ring at all");
    ASSERT_EQ(review_get(1, s), 0);
    EXPECT_EQ(s, "x19");
}

TEST(Review, ShowOldestFirstWithNumbers) {
    review_init(4096);
    for (const char *l : {"one", "two", "three", "four", "five", "six"})
        review_add(l);
    MsgCapture cap;
    review_show(5, 0);
    EXPECT_EQ(cap.text(), "5 two\n4 three\n3 four\n2 five\n1 six\n");
    cap.reset();
    review_show(3, 0);
    EXPECT_EQ(cap.text(), "3 four\n2 five\n1 six\n");
    cap.reset();
    review_show(5, 2); // m limits the count, from line n on
    EXPECT_EQ(cap.text(), "5 two\n4 three\n");
    cap.reset();
    review_show(0, 0);
    EXPECT_EQ(cap.text(), "");
}

TEST(Review, EmptyOldEndLeftOutAndNHeldTo100) {
    review_init(4096);
    review_add("display {x}");
    review_add("two");
    MsgCapture cap;
    review_show(5, 0);
    EXPECT_EQ(cap.text(), "2 display {x}\n1 two\n");
    cap.reset();
    for (int i = 0; i < 150; ++i)
        review_add(("l" + std::to_string(i)).c_str());
    review_show(1000, 0);
    std::string t = cap.text();
    EXPECT_EQ(t.substr(0, 9), "100 l50\n9");
    EXPECT_EQ(t.substr(t.size() - 7), "1 l149\n");
}

// ---- plain lines

TEST(PlainLines, ControlBytesDroppedTabsExpandedEndOfInput) {
    out::Term saved = out::term;
    out::term.editing = false;
    char buf[64];
    {
        Io io("ab\x01\x02"
              "c\r\n\tx\nq\x7f\xff"
              "z\n\nlast");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "abc");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "        x");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "q\x7fz");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "last");
        EXPECT_EQ(read_terminal_line(buf, sizeof buf), -1);
        EXPECT_EQ(read_terminal_line(buf, sizeof buf), -1);
        EXPECT_EQ(io.screen(), ""); // no echo
    }
    out::term = saved;
}

TEST(PlainLines, OverlongLinesAreCutAndTheRestDropped) {
    out::Term saved = out::term;
    out::term.editing = false;
    std::string big(20000, 'x');
    char buf[16];
    {
        Io io(big + "\nnext\n" + std::string(10000, '\0') + "\n");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_EQ(std::string(buf), std::string(15, 'x'));
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "next");
        ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
        EXPECT_STREQ(buf, "");
        EXPECT_EQ(read_terminal_line(buf, sizeof buf), -1);
    }
    out::term = saved;
}

// ---- the editor

TEST_F(EditFixture, MovingLeftThenDeletingAndTyping) {
    ASSERT_EQ(type("display \"abc\"" + ctl('H') + ctl('H') + ctl('T') + "x\r"), 0);
    EXPECT_STREQ(buf, "display \"axc\"");
    ASSERT_EQ(type("abc" + ctl('H') + ctl('H') + ctl('L') + "X\n"), 0);
    EXPECT_STREQ(buf, "abXc");
    ASSERT_EQ(type("abc\x7f\x7f"
                   "d\r"),
              0); // DEL deletes left
    EXPECT_STREQ(buf, "ad");
}

TEST_F(EditFixture, HomeEndDeleteUnderCursorCutErase) {
    ASSERT_EQ(type("abcd" + ctl('K') + ctl('D') + ctl('P') + "e\r"), 0);
    EXPECT_STREQ(buf, "bcde");
    ASSERT_EQ(type("abcdef" + ctl('H') + ctl('H') + ctl('H') + ctl('X') + "\r"), 0);
    EXPECT_STREQ(buf, "abc");
    ASSERT_EQ(type("abc" + ctl('U') + "z\r"), 0);
    EXPECT_STREQ(buf, "z");
    ASSERT_EQ(type(ctl('D') + ctl('T') + ctl('H') + "q\r"), 0); // nothing to act on: no harm
    EXPECT_STREQ(buf, "q");
}

TEST_F(EditFixture, InsertToggleOverwrites) {
    ASSERT_EQ(type("abcd" + ctl('K') + ctl('E') + "XY" + ctl('E') + "Z\r"), 0);
    EXPECT_STREQ(buf, "XYZcd");
    ASSERT_EQ(type("ab" + ctl('E') + "cd\r"), 0); // overwriting at the end appends
    EXPECT_STREQ(buf, "abcd");
}

TEST_F(EditFixture, TabAndCtrlGMoveEight) {
    ASSERT_EQ(type("0123456789abcdef" + ctl('K') + "\t" + "X" + ctl('G') + "Y\r"), 0);
    EXPECT_STREQ(buf, "0Y1234567X89abcdef");
    ASSERT_EQ(type("abc" + ctl('G') + "X" + "\t\tY\r"), 0);
    EXPECT_STREQ(buf, "XabcY");
}

// Names offered to Tab completion in these tests.
std::vector<std::string> some_names(std::string_view stem) {
    std::vector<std::string> out;
    for (const char *n : {"price", "prices_2", "make", "mpg"})
        if (std::string_view(n).starts_with(stem)) out.emplace_back(n);
    return out;
}

TEST_F(EditFixture, TabCompletesANameAsFarAsTheNamesAgree) {
    complete_names = some_names;
    ASSERT_EQ(type("list ma\t\r"), 0);
    EXPECT_STREQ(buf, "list make "); // one name: completed, then a blank
    ASSERT_EQ(type("list pr\t\r"), 0);
    EXPECT_STREQ(buf, "list price"); // two names agree up to "price"
    ASSERT_EQ(type("list m\t\r"), 0);
    EXPECT_STREQ(buf, "list m"); // make and mpg agree on nothing more: the line stays
    ASSERT_EQ(type("x=ma\t+1" + ctl('K') + "\tY\r"), 0);
    EXPECT_STREQ(buf, "x=make +Y1"); // a name after `=`; at the start of the line Tab moves eight
}

TEST_F(EditFixture, TabMovesWhenNothingCompletes) {
    complete_names = some_names;
    // No name begins with "zz"; a word starting with a digit and the middle of a word are not names.
    ASSERT_EQ(type("zz" + ctl('K') + "\tQ\r"), 0);
    EXPECT_STREQ(buf, "zzQ");
    ASSERT_EQ(type("list 1m\tQ\r"), 0);
    EXPECT_STREQ(buf, "list 1mQ");
    ASSERT_EQ(type("makeup" + ctl('K') + ctl('L') + ctl('L') + "\t" + ctl('K') + "Q\r"), 0);
    EXPECT_STREQ(buf, "Qmakeup");
    complete_names = nullptr;
    ASSERT_EQ(type("ma\tQ\r"), 0);
    EXPECT_STREQ(buf, "maQ");
}

TEST_F(EditFixture, RecallPreviousNextAndByNumber) {
    review_add("first");
    review_add("second");
    ASSERT_EQ(type(ctl('R') + "\r"), 0);
    EXPECT_STREQ(buf, "second");
    ASSERT_EQ(type(ctl('R') + ctl('R') + "\r"), 0);
    EXPECT_STREQ(buf, "first");
    ASSERT_EQ(type(ctl('R') + ctl('R') + ctl('R') + "\r"), 0); // nothing further back
    EXPECT_STREQ(buf, "first");
    ASSERT_EQ(type(ctl('R') + ctl('R') + ctl('B') + "\r"), 0);
    EXPECT_STREQ(buf, "second");
    ASSERT_EQ(type("ab" + ctl('R') + ctl('B') + "c\r"), 0); // back to the line as typed
    EXPECT_STREQ(buf, "abc");
    ASSERT_EQ(type("2" + ctl('W') + "!\r"), 0);
    EXPECT_STREQ(buf, "first!");
    ASSERT_EQ(type("x2" + ctl('W') + "\r"), 0); // not a number: nothing recalled
    EXPECT_STREQ(buf, "x2");
}

TEST_F(EditFixture, FunctionKeysInsertTextAndSemicolonEnters) {
    ASSERT_EQ(type(ctl('F') + "2"), 0);
    EXPECT_STREQ(buf, "#review");
    ASSERT_EQ(type(ctl('F') + "1" + "regress\r"), 0);
    EXPECT_STREQ(buf, "help regress");
    ASSERT_EQ(type("x" + ctl('F') + "4" + "y\r"), 0); // F4 has no text
    EXPECT_STREQ(buf, "xy");
    ASSERT_EQ(type(ctl('F') + "z\r"), 0); // not a digit: the key counts on its own
    EXPECT_STREQ(buf, "z");
    fkey_text = [](int n) { return n == 10 ? std::string("list;") : std::string(); };
    ASSERT_EQ(type(ctl('F') + "0"), 0);
    EXPECT_STREQ(buf, "list");
}

TEST_F(EditFixture, SequencesOfTheTerminalTable) {
    out::key_add(out::term.keys, "\x1bOD", out::KEY_LEFT);
    out::key_add(out::term.keys, "\x1bOQ", out::KEY_F1 + 1);
    out::key_add(out::term.keys, "\x1b[3~", out::KEY_DEL);
    ASSERT_EQ(type("abc\x1bODX\r"), 0);
    EXPECT_STREQ(buf, "abXc");
    ASSERT_EQ(type("abc\x1bOD\x1bOD\x1b[3~\r"), 0);
    EXPECT_STREQ(buf, "ac");
    ASSERT_EQ(type("ab\x1b[1;5Ac\r"), 0); // a sequence the table doesn't know is dropped whole
    EXPECT_STREQ(buf, "abc");
    ASSERT_EQ(type("\x1bOQ"), 0);
    EXPECT_STREQ(buf, "#review");
}

TEST_F(EditFixture, UpAndDownWithinALineOfSeveralRows) {
    // Width 20, text from column 2: 30 characters end on the second row.
    ASSERT_EQ(type("abcdefghijklmnopqrstuvwxyz0123" + ctl('O') + "X" + ctl('N') + "Y\r"), 0);
    EXPECT_STREQ(buf, "abcdefghijXklmnopqrstuvwxyz0123Y");
    ASSERT_EQ(type("abcdefghijklmnopqrstuvwxyz" + ctl('K') + ctl('N') + "X\r"), 0);
    EXPECT_STREQ(buf, "abcdefghijklmnopqrstXuvwxyz");
}

TEST_F(EditFixture, UpOnTheFirstRowRecallsDownOnTheLastComesBack) {
    review_add("older");
    ASSERT_EQ(type("abc" + ctl('O') + "\r"), 0);
    EXPECT_STREQ(buf, "older");
    ASSERT_EQ(type("abc" + ctl('O') + ctl('N') + "d\r"), 0);
    EXPECT_STREQ(buf, "abcd");
}

TEST_F(EditFixture, EndOfInputAndCapacity) {
    EXPECT_EQ(type("abc"), -1);
    ASSERT_EQ(type("abcdefg\r", 5), 0);
    EXPECT_STREQ(buf, "abcd");
    ASSERT_EQ(type("\x01\x03\x1b"
                   "a\r"),
              0); // unbound control keys do nothing
    EXPECT_STREQ(buf, "a");
}

TEST_F(EditFixture, MultiByteCharactersMoveAsOne) {
    ASSERT_EQ(type("a\xc3\xa9" + ctl('H') + "x\r"), 0);
    EXPECT_STREQ(buf, "ax\xc3\xa9");
    ASSERT_EQ(type("\xc3\xa9\xe2\x82\xac" + ctl('T') + "\r"), 0);
    EXPECT_STREQ(buf, "\xc3\xa9");
}

TEST_F(EditFixture, WhatTheScreenGets) {
    Io io("ab" + ctl('H') + "X\r");
    ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
    // a, b; back one; X and the b after it, back one; at Enter the cursor goes to the end.
    EXPECT_EQ(io.screen(), "ab\bXb\bb");
    EXPECT_FALSE(out::con.fresh_row);
}

TEST_F(EditFixture, TheCursorSettlesAtTheStartOfANewRow) {
    out::term.cols = 10;
    Io io("abcdefgh" + ctl('H') + "\r");
    ASSERT_EQ(read_terminal_line(buf, sizeof buf), 0);
    // Eight characters fill the row after ". "; a blank and a return put the cursor on the next row.
    // Left goes up a row and across it, rewriting the prompt and text; Enter takes it down again.
    EXPECT_EQ(io.screen(), "abcdefgh \r\x1b[A. abcdefg\r\n");
    EXPECT_TRUE(out::con.fresh_row);
}
