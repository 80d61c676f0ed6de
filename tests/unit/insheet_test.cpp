// The parse of delimited text: the number rule, the fields of a record, and the parallel split and
// scan, which must find what the serial ones find wherever a block boundary falls (inside quotes,
// inside a doubled quote, between "\r" and "\n").
#include <gtest/gtest.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/insheet.h"
#include "data/labels.h"
#include "data_fixture.h"
#include "estimate/frame.h"

using namespace data;

namespace {

TEST(CsvNumber, Rules) {
    ASSERT_TRUE(session::compute_limits());
    double x;
    bool real, fok;
    EXPECT_EQ(csv_number(" 12 ", &x, &real, &fok), 0);
    EXPECT_EQ(x, 12);
    EXPECT_FALSE(real);
    EXPECT_EQ(csv_number("+1.5e3", &x, &real, &fok), 0);
    EXPECT_EQ(x, 1500);
    EXPECT_EQ(csv_number("0.1", &x, &real, &fok), 0);
    EXPECT_TRUE(real);
    EXPECT_TRUE(fok); // "0.1" is the shortest text of the float nearest to it
    EXPECT_EQ(csv_number("0.1234567891", &x, &real, &fok), 0);
    EXPECT_FALSE(fok);
    EXPECT_EQ(csv_number("16777217", &x, &real, &fok), 0);
    EXPECT_FALSE(fok); // a whole number a float does not hold
    EXPECT_EQ(csv_number("", &x, &real, &fok), 1);
    EXPECT_EQ(csv_number(".", &x, &real, &fok), 1);
    EXPECT_EQ(csv_number(".c", &x, &real, &fok), 1);
    EXPECT_EQ(missing_index(x), 3);
    // The fast reading of plain decimals rounds as from_chars does.
    uint64_t z = 88172645463325252ull;
    for (int k = 0; k < 200000; ++k) {
        z ^= z << 13, z ^= z >> 7, z ^= z << 17;
        const int digits = 1 + (int)(z % 19), point = (int)((z >> 8) % (uint64_t)(digits + 1));
        std::string t = (z >> 20) & 1 ? "-" : "";
        for (int d = 0; d < digits; ++d) {
            if (d == point && d > 0) t += '.';
            t += (char)('0' + (z >> (24 + d * 2)) % 10);
        }
        double want = 0;
        std::from_chars(t.data(), t.data() + t.size(), want);
        ASSERT_EQ(csv_number(t, &x, &real, &fok), 0) << t;
        if (want == 0) want = 0;
        ASSERT_EQ(x, want) << t;
    }
    for (const char *s : {"inf", "nan", "-inf", "1,5", "1e", "x1", "+-1", "1e999", "0x10", ".ab"})
        EXPECT_EQ(csv_number(s, &x, &real, &fok), -1) << s;
}

TEST(CsvFields, Quotes) {
    std::vector<std::string_view> f;
    std::deque<std::string> scratch;
    const std::string r = "a,\"b,c\",\"say \"\"hi\"\"\",,\"x\ny\",\"q\"tail";
    csv_fields(r.data(), r.data() + r.size(), ',', f, scratch);
    ASSERT_EQ(f.size(), 6u);
    EXPECT_EQ(f[0], "a");
    EXPECT_EQ(f[1], "b,c");
    EXPECT_EQ(f[2], "say \"hi\"");
    EXPECT_EQ(f[3], "");
    EXPECT_EQ(f[4], "x\ny");
    EXPECT_EQ(f[5], "qtail");
    const std::string t = "1,2,";
    csv_fields(t.data(), t.data() + t.size(), ',', f, scratch);
    EXPECT_EQ(f.size(), 3u);
}

// Rows with quoted line breaks, doubled quotes, "\r\n" line ends and blank lines, long enough that
// the split and the scan run on two threads.
std::string tricky_text(int rows) {
    std::string s = "id,text,val\r\n";
    for (int i = 0; i < rows; ++i) {
        s += std::to_string(i) + ",";
        switch (i % 5) {
        case 0:
            s += "\"a,\"\"b\"\"\nc\"";
            break;
        case 1:
            s += "\"\"\"\"\"\"";
            break;
        case 2:
            s += "plain";
            break;
        case 3:
            s += "\"line\r\nbreak\"";
            break;
        default:
            s += "\"\"";
            break;
        }
        s += "," + std::to_string(i * 0.25) + (i % 7 == 0 ? "\r\n" : "\n");
        if (i % 1000 == 0) s += "\n";
    }
    return s;
}

TEST(CsvParallel, SameAsSerial) {
    ASSERT_TRUE(session::compute_limits());
    if (est::processors_max() < 2) GTEST_SKIP() << "one processor";
    const std::string text = tricky_text(60000);
    ASSERT_GT(text.size(), 20u * 65536u);
    CsvParse par, ser;
    for (CsvParse *cp : {&ser, &par}) {
        ASSERT_EQ(est::set_processors(cp == &par ? 2 : 1), 0);
        cp->text = text.data();
        cp->size = (int64_t)text.size();
        ASSERT_EQ(csv_split(*cp), 0);
        ASSERT_EQ(csv_scan(*cp), 0);
    }
    est::set_processors(1);
    EXPECT_GT(par.vals.size(), 1u); // the scan ran in blocks
    ASSERT_EQ(ser.starts.size(), 60001u);
    EXPECT_EQ(par.starts, ser.starts);
    EXPECT_EQ(par.ends, ser.ends);
    EXPECT_EQ(par.nfields, ser.nfields);
    EXPECT_FALSE(par.open_quote);
    ASSERT_EQ(par.cols.size(), 3u);
    EXPECT_TRUE(par.has_header);
    EXPECT_EQ(par.cols[0].kind, CsvColumn::INTEGER);
    EXPECT_EQ(par.cols[1].kind, CsvColumn::STRING);
    EXPECT_EQ(par.cols[1].maxlen, 11);
    EXPECT_EQ(par.cols[2].kind, CsvColumn::REAL);
    EXPECT_EQ(par.cols[2].hi, 59999 * 0.25);
    // A quote opened in the last row is found whatever the blocks.
    std::string open = text + "1,\"never closed\n2,3,4\n";
    par.text = open.data();
    par.size = (int64_t)open.size();
    ASSERT_EQ(est::set_processors(2), 0);
    ASSERT_EQ(csv_split(par), 0);
    est::set_processors(1);
    EXPECT_TRUE(par.open_quote);
}

TEST_F(DataFixture, CsvParallelCells) {
    labels_init();
    if (est::processors_max() < 2) GTEST_SKIP() << "one processor";
    ASSERT_EQ(set_memory(16 << 20), 0);
    const std::string path = "/tmp/insheet_test_" + std::to_string(getpid()) + ".csv";
    std::ofstream(path, std::ios::binary) << tricky_text(30000);
    std::vector<std::string> got[2];
    for (int p : {1, 2}) {
        ASSERT_EQ(est::set_processors(p), 0);
        ASSERT_EQ(run(cmd_insheet, "using " + path + ", clear"), 0) << msg();
        ASSERT_EQ(ds.nobs, 30000);
        ASSERT_EQ(ds.nvar, 3);
        char buf[245];
        for (int i = 1; i <= ds.nobs; ++i) {
            get_str(2, i, buf);
            got[p - 1].push_back(std::to_string(get_num(1, i)) + "|" + buf + "|" +
                                 std::to_string(get_num(3, i)));
        }
    }
    est::set_processors(1);
    EXPECT_EQ(got[0], got[1]);
    EXPECT_EQ(got[0][0], "0.000000|a,\"b\"\nc|0.000000");
    EXPECT_EQ(got[0][1], "1.000000|\"\"|0.250000");
    EXPECT_EQ(got[0][3], "3.000000|line\r\nbreak|0.750000");
    unlink(path.c_str());
    clear_dataset();
}

} // namespace
