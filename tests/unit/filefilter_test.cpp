// The escapes of filefilter's from() and to(): each form, their neighbours, and a byte out of range.
#include <gtest/gtest.h>

#include <string>

#include "msg_capture.h"
#include "session/filefilter.h"

using session::filefilter_unescape;

static std::string bytes(const char *text) {
    std::string out;
    EXPECT_EQ(filefilter_unescape(text, out), 0) << text;
    return out;
}

TEST(FilefilterEscapes, EachForm) {
    EXPECT_EQ(bytes("\\n\\r\\t"), "\n\r\t");
    EXPECT_EQ(bytes("\\\"\\Q"), "\"\"");
    EXPECT_EQ(bytes("\\\\\\BS"), "\\\\");
    EXPECT_EQ(bytes("\\LQ\\RQ\\$"), "`'$");
    EXPECT_EQ(bytes("\\W\\M\\U"), "\r\n\r\n");
    EXPECT_EQ(bytes("\\065d\\000d\\255d"), std::string("A\0\xff", 3));
}

TEST(FilefilterEscapes, Neighbours) {
    // Text around the escapes stays; BS and LQ are read whole before their first letters.
    EXPECT_EQ(bytes("a\\BSb"), "a\\b");
    EXPECT_EQ(bytes("x\\LQy"), "x`y");
    // A backslash that begins no escape stands for itself, as do digits without the d.
    EXPECT_EQ(bytes("\\z"), "\\z");
    EXPECT_EQ(bytes("\\065"), "\\065");
    EXPECT_EQ(bytes("\\65d"), "\\65d");
    EXPECT_EQ(bytes("end\\"), "end\\");
    EXPECT_EQ(bytes(""), "");
}

TEST(FilefilterEscapes, ByteOutOfRange) {
    MsgCapture cap;
    std::string out;
    EXPECT_EQ(filefilter_unescape("\\256d", out), 198);
    EXPECT_NE(cap.lines.find("\\256d invalid"), std::string::npos) << cap.lines;
}
