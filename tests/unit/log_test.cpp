// Logs and translation: the Rimu head of a log, the log sets' limit, r() of log query, text rendering.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "lang/macro.h"
#include "msg_capture.h"
#include "output/log.h"
#include "session/store.h"
#include "session/tok.h"

using namespace out;

namespace {

std::string slurp(const std::string &path) {
    std::string s;
    int fd = ::open(path.c_str(), O_RDONLY);
    if (fd < 0) return "(missing)";
    char buf[4096];
    ssize_t n;
    while ((n = ::read(fd, buf, sizeof buf)) > 0)
        s.append(buf, (size_t)n);
    ::close(fd);
    return s;
}

std::string render(const std::string &rimu, int width = 79) {
    std::string out;
    TextTarget t;
    t.into = &out;
    t.width = width;
    rimu_to_text_begin(&t);
    rimu_to_text_feed(&t, rimu);
    rimu_to_text_end(&t);
    return out;
}

// The console is the capture's stream; the log commands run against it in a scratch directory.
struct LogTest : ::testing::Test {
    MsgCapture *cap = nullptr;
    RimuStream *saved_console = nullptr;
    std::string dir, line;

    void SetUp() override {
        cap = new MsgCapture;
        saved_console = ch.console;
        ch.console = cap->stream;
        char tmpl[] = "/tmp/logtestXXXXXX";
        dir = ::mkdtemp(tmpl);
    }
    void TearDown() override {
        run(cmd_log, "close _all");
        ch.console = saved_console;
        delete cap;
        std::string rm = "rm -rf '" + dir + "'";
        EXPECT_EQ(std::system(rm.c_str()), 0);
    }
    int run(int (*handler)(int), const std::string &text) {
        line = text;
        session::settok(line.c_str());
        return handler(0);
    }
    std::string path(const char *name) { return dir + "/" + name; }
};

} // namespace

TEST(LogPaths, Extension) {
    EXPECT_EQ(path_extension("a.log"), ".log");
    EXPECT_EQ(path_extension("dir.d/a"), "");
    EXPECT_EQ(path_extension("dir/a.b.rimu"), ".rimu");
    EXPECT_EQ(path_extension("a"), "");
}

TEST(LogPaths, Binary) {
    EXPECT_FALSE(looks_binary("plain text\n\tand a tab\n", 22));
    EXPECT_TRUE(looks_binary("a\0b", 3));
    const char ctl[] = "\x01\x02\x03\x04xyzw";
    EXPECT_TRUE(looks_binary(ctl, 8));                     // half control characters
    EXPECT_FALSE(looks_binary("abcdefghijklmno\x01", 16)); // one in sixteen is still text
}

TEST(RimuToText, LineDrawingBecomesAscii) {
    EXPECT_EQ(render("{hline 5}\n"), "-----\n");
    EXPECT_EQ(render("{c TLC}{c -}{c TRC}\n{c |} {c |}\n"), "+-+\n| |\n");
    EXPECT_EQ(render("a{c 19}b\n"), "a b\n");
}

TEST(RimuToText, WidthAndContinuation) {
    std::string word(50, 'x');
    EXPECT_EQ(render(word + "\n", 40), std::string(40, 'x') + "\n> " + std::string(10, 'x') + "\n");
}

TEST(RimuToText, HeadLineAndStyleLineLeaveNoTrace) {
    // The newline after the style line is the one the head line's mode change drops; a blank line of
    // the session right after it stays.
    EXPECT_EQ(render("{rimu}\n{txt}{sf}{ul off}\n\nx\n"), "\nx\n");
}

TEST(RimuToText, UnfinishedParagraphIsFinished) {
    EXPECT_EQ(render("{p 2 4 2}\none two three"), "  one two three\n\n");
}

TEST(RimuToText, PiecesSplitAnywhere) {
    std::string out;
    TextTarget t;
    t.into = &out;
    rimu_to_text_begin(&t);
    for (char c : std::string("{res}ab{c -(}c\n{hli"))
        rimu_to_text_feed(&t, std::string_view(&c, 1));
    rimu_to_text_feed(&t, "ne 3}\n");
    rimu_to_text_end(&t);
    EXPECT_EQ(out, "ab{c\n---\n");
}

TEST_F(LogTest, RimuLogOpenedInAParagraphStartsWithIt) {
    stream_put_rimu(cap->stream, "{p 4 8 2}\nsome words ");
    ASSERT_EQ(run(cmd_log, "using " + path("p.rimu")), 0);
    stream_flush_logs(cap->stream);
    std::string s = slurp(path("p.rimu"));
    // The first line of the paragraph has begun, so the log goes on with the later lines' indent.
    EXPECT_EQ(s.substr(0, 27), "{rimu}\n{txt}{sf}{ul off}{p ") << s;
    EXPECT_EQ(s.substr(27, 7), "8 8 2}\n") << s;
}

TEST_F(LogTest, RimuLogRecordsTheStyleInForce) {
    stream_put_rimu(cap->stream, "{res}{bf}{ul on}");
    ASSERT_EQ(run(cmd_log, "using " + path("s.rimu")), 0);
    stream_flush_logs(cap->stream);
    // The header follows in the text style, so it is tagged.
    EXPECT_EQ(slurp(path("s.rimu")).substr(0, 34), "{rimu}\n{res}{bf}{ul on}\n{txt}{.-}\n");
}

TEST_F(LogTest, SixthLogIsRefusedAndNothingStaysAttached) {
    int before = cap->stream->rimuLogs.count; // the capture's own
    for (int i = before; i < 5; ++i) {
        std::string cmd =
            "using " + path(("l" + std::to_string(i)).c_str()) + ".rimu, name(l" + std::to_string(i) + ")";
        ASSERT_EQ(run(cmd_log, cmd), 0) << i;
    }
    EXPECT_EQ(cap->stream->rimuLogs.count, 5);
    cap->reset();
    EXPECT_EQ(run(cmd_log, "using " + path("six.rimu")), 603);
    EXPECT_EQ(cap->text(), "rimu refused log request -- log not opened\n");
    EXPECT_EQ(cap->stream->rimuLogs.count, 5);
    EXPECT_EQ(::access(path("six.rimu").c_str(), F_OK), -1);
    EXPECT_EQ(unnamed_log.fd, 0);
    // A text log still has room.
    EXPECT_EQ(run(cmd_log, "using " + path("six.log")), 0);
}

TEST_F(LogTest, QueryStoresResults) {
    ASSERT_EQ(run(cmd_log, "using " + path("q") + ", text"), 0);
    ASSERT_EQ(run(cmd_log, "off"), 0);
    ASSERT_EQ(run(cmd_log, "query"), 0);
    const char *fn = lang::macro_get_at("filename", session::ST_R_MACRO);
    const char *st = lang::macro_get_at("status", session::ST_R_MACRO);
    const char *ty = lang::macro_get_at("type", session::ST_R_MACRO);
    ASSERT_TRUE(fn && st && ty);
    EXPECT_EQ(std::string(fn), path("q.log"));
    EXPECT_STREQ(st, "off");
    EXPECT_STREQ(ty, "text");
}

TEST_F(LogTest, QuietTextStaysOutAndPausedTextToo) {
    ASSERT_EQ(run(cmd_log, "using " + path("t.log") + ", text"), 0);
    cap->reset();
    uint8_t level = ch.OutputLevel;
    ch.OutputLevel = LVL_QUIET;
    ch.OutputClass = CLS_RESULT;
    out_text("hidden\n");
    ch.OutputLevel = level;
    out_text("shown\n");
    ch.OutputLevel = LVL_QUIET; // no headers
    ASSERT_EQ(run(cmd_log, "off"), 0);
    ch.OutputLevel = level;
    out_text("paused\n");
    ch.OutputLevel = LVL_QUIET;
    ASSERT_EQ(run(cmd_log, "on"), 0);
    ch.OutputLevel = level;
    out_text("again\n");
    ch.OutputLevel = LVL_QUIET;
    ASSERT_EQ(run(cmd_log, "close"), 0);
    ch.OutputLevel = level;
    std::string s = slurp(path("t.log"));
    EXPECT_EQ(s.substr(s.find("shown")), "shown\nagain\n");
}

TEST_F(LogTest, RemovedWhileOpenIsWrittenAgain) {
    ASSERT_EQ(run(cmd_log, "using " + path("gone.log")), 0);
    ASSERT_EQ(::unlink(path("gone.log").c_str()), 0);
    out_text("after removal\n");
    ASSERT_EQ(run(cmd_log, "close"), 0);
    std::string s = slurp(path("gone.log"));
    EXPECT_NE(s.find("after removal\n"), std::string::npos) << s;
    EXPECT_NE(s.find("closed on:"), std::string::npos) << s;
}
