// The data file written a row at a time: what postfile writes reads back whole, and a write that
// fails removes the new file and leaves an old one as it was.
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "data/dtafile.h"
#include "data/types.h"
#include "data_fixture.h"

using namespace data;

namespace {

// A directory of the test's own, removed with what it holds when the test ends.
struct TempDir {
    std::string path;
    TempDir() {
        char tmpl[] = "/tmp/dtastream.XXXXXX";
        EXPECT_NE(mkdtemp(tmpl), nullptr);
        path = tmpl;
    }
    ~TempDir() { std::filesystem::remove_all(path); }
};

std::string contents(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

TEST_F(DataFixture, DtaStreamRowsReadBack) {
    TempDir td;
    const std::string dir = td.path, path = dir + "/p.dta";
    DtaStream s;
    ASSERT_EQ(dta_stream_open(path, false, {{"id", T_INT}, {"s", 3}, {"x", T_DOUBLE}}, s), 0);
    EXPECT_EQ(s.width, 2 + 3 + 8);
    for (int i = 1; i <= 1000; ++i) {
        char row[13] = {};
        cell_put(row, T_INT, i);
        cell_put_str(row + 2, 3, "abc");
        cell_put(row + 5, T_DOUBLE, i / 3.0);
        ASSERT_EQ(dta_stream_row(s, row), 0);
    }
    // Nothing is at the name until the file is finished.
    EXPECT_NE(access(path.c_str(), F_OK), 0);
    ASSERT_EQ(dta_stream_finish(s), 0);
    DtaFile f;
    ASSERT_EQ(dta_open(path, f), 0);
    EXPECT_EQ(f.nobs, 1000);
    ASSERT_EQ(f.nvar, 3);
    EXPECT_STREQ(f.vars[1].name, "s");
    std::vector<char> rows((size_t)f.width * 1000);
    int32_t got = 0;
    ASSERT_EQ(dta_read_rows(f, rows.data(), 1000, &got), 0);
    ASSERT_EQ(got, 1000);
    EXPECT_EQ(cell_get(rows.data() + 999 * 13, T_INT), 1000);
    EXPECT_EQ(cell_get(rows.data() + 999 * 13 + 5, T_DOUBLE), 1000 / 3.0);
    // A second stream needs replace to take the name.
    DtaStream t;
    EXPECT_EQ(dta_stream_open(path, false, {{"a", T_BYTE}}, t), 602);
}

TEST_F(DataFixture, DtaStreamFullDiskKeepsTheOldFile) {
    TempDir td;
    const std::string dir = td.path, path = dir + "/p.dta";
    std::ofstream(path) << "old contents";
    DtaStream s;
    ASSERT_EQ(dta_stream_open(path, true, {{"x", T_DOUBLE}}, s), 0);
    // The disk fills: the new file's descriptor now writes to a device that is always full.
    const int full = open("/dev/full", O_WRONLY);
    if (full < 0) GTEST_SKIP() << "no /dev/full";
    ASSERT_GE(dup2(full, s.fd), 0);
    close(full);
    char row[8];
    cell_put(row, T_DOUBLE, 1.5);
    int rc = 0;
    for (int i = 0; i < 200000 && !rc; ++i)
        rc = dta_stream_row(s, row);
    if (!rc) rc = dta_stream_finish(s);
    EXPECT_EQ(rc, 699);
    EXPECT_NE(cap->text().find("insufficient disk space"), std::string::npos);
    dta_stream_abandon(s);
    EXPECT_EQ(contents(path), "old contents");
    // No new file is left beside it.
    int entries = 0;
    DIR *d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr);
    while (const dirent *e = readdir(d))
        entries += e->d_name[0] != '.' || std::strlen(e->d_name) > 2;
    closedir(d);
    EXPECT_EQ(entries, 1);
}

} // namespace
