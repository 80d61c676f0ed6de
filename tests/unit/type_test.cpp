// The type command: a Break between lines stops the file with return code 1.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "msg_capture.h"
#include "output/type.h"
#include "session/loop.h"
#include "session/tok.h"

namespace {

struct TypeTest : ::testing::Test {
    MsgCapture cap;
    std::string path, line;

    void SetUp() override {
        char tmpl[] = "/tmp/typetestXXXXXX";
        int fd = ::mkstemp(tmpl);
        ASSERT_GE(fd, 0);
        path = tmpl;
        const char text[] = "one\ntwo\nthree\n";
        ASSERT_EQ(::write(fd, text, sizeof text - 1), (ssize_t)(sizeof text - 1));
        ::close(fd);
    }
    void TearDown() override {
        session::lp.PendingBreak = 0;
        ::unlink(path.c_str());
    }
    int run(const std::string &args) {
        line = args;
        session::settok(line.c_str());
        return out::cmd_type(0);
    }
};

} // namespace

TEST_F(TypeTest, ShowsEveryLine) {
    EXPECT_EQ(run(path), 0);
    EXPECT_EQ(cap.text(), "one\ntwo\nthree\n");
}

TEST_F(TypeTest, BreakStopsAfterTheLineInHand) {
    session::lp.PendingBreak = 1;
    EXPECT_EQ(run(path), 1);
    EXPECT_EQ(cap.text(), "one\n");
    session::lp.PendingBreak = 0;
    cap.reset();
    EXPECT_EQ(run(path + ", asis"), 0);
    EXPECT_EQ(cap.text(), "one\ntwo\nthree\n");
}
