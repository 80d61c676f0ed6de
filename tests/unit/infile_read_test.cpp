// The readers behind infile and infix: dictionaries, the infix list, free and fixed data, and a few
// thousand mutated dictionaries and data texts that must neither crash nor break the result's shape.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "data/infile_read.h"
#include "data/types.h"
#include "msg_capture.h"
#include "session/state.h"

using namespace data;

namespace {

class InfileRead : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(session::compute_limits()); }
    MsgCapture cap;
};

InLayout free_list(std::initializer_list<std::pair<const char *, int>> vars) {
    InLayout lay;
    for (auto [n, t] : vars) {
        InField f;
        f.name = n;
        f.type = t;
        lay.fields.push_back(f);
    }
    return lay;
}

TEST_F(InfileRead, FreeValuesBlanksCommasQuotes) {
    InLayout lay = free_list({{"a", 0}, {"s", 10}});
    InResult r;
    ASSERT_EQ(read_records("1 \"two words\"\n2,'q'\n,x\n 4 ,  \"\"", lay, r), 0);
    ASSERT_EQ(r.nobs, 4);
    EXPECT_EQ(r.cols[0].num[0], 1);
    EXPECT_EQ(r.cols[1].str[0], "two words");
    EXPECT_EQ(r.cols[1].str[1], "q");
    EXPECT_TRUE(is_missing(r.cols[0].num[2]));
    EXPECT_EQ(r.cols[1].str[2], "x");
    EXPECT_EQ(r.cols[0].num[3], 4);
    EXPECT_EQ(r.cols[1].str[3], "");
}

TEST_F(InfileRead, FreeNotNumberIsMissingWithNote) {
    InLayout lay = free_list({{"a", 0}});
    InResult r;
    ASSERT_EQ(read_records("1 abc .b +3", lay, r), 0);
    ASSERT_EQ(r.nobs, 4);
    EXPECT_TRUE(is_missing(r.cols[0].num[1]));
    EXPECT_EQ(missing_index(r.cols[0].num[2]), 2);
    EXPECT_EQ(r.cols[0].num[3], 3);
    EXPECT_EQ(r.bad_numbers, 1);
    ASSERT_EQ(r.notes.size(), 1u);
    EXPECT_EQ(r.notes[0], "'abc' cannot be read as a number for a[2]");
}

TEST_F(InfileRead, ValueOutOfRangeNamesTheLine) {
    InLayout lay = free_list({{"a", T_BYTE}});
    InResult r;
    EXPECT_EQ(read_records("1\n2\n101\n", lay, r), 198);
    EXPECT_NE(cap.text().find("line 3"), std::string::npos);
}

TEST_F(InfileRead, StringsCutToTheirType) {
    InLayout lay = free_list({{"s", 3}});
    InResult r;
    ASSERT_EQ(read_records("abcdef ab", lay, r), 0);
    EXPECT_EQ(r.cols[0].str[0], "abc");
    EXPECT_EQ(r.cols[0].str[1], "ab");
    EXPECT_EQ(r.truncated, 1);
}

TEST_F(InfileRead, DictionaryColumnsLinesFormats) {
    InLayout lay;
    ASSERT_EQ(parse_dictionary("* note\ninfile dictionary using \"a b.raw\" {\n _lines(2)\n"
                               " int id %3f \"the id\"\n _column(5) x %4.1f\n _line(2) str4 t %4s\n}\nrest",
                               false, lay),
              0);
    EXPECT_TRUE(lay.has_using);
    EXPECT_EQ(lay.datafile, "a b.raw");
    EXPECT_EQ(lay.lines, 2);
    ASSERT_EQ(lay.fields.size(), 3u);
    EXPECT_EQ(lay.fields[0].label, "the id");
    EXPECT_EQ(lay.fields[1].col, 5);
    EXPECT_EQ(lay.fields[1].decimals, 1);
    EXPECT_EQ(lay.fields[2].line, 2);
    InResult r;
    ASSERT_EQ(read_records("001 125\nabcdef\n002 3.5\nxy\n", lay, r), 0);
    ASSERT_EQ(r.nobs, 2);
    EXPECT_EQ(r.cols[0].num[1], 2);
    EXPECT_FLOAT_EQ((float)r.cols[1].num[0], 12.5f);
    EXPECT_FLOAT_EQ((float)r.cols[1].num[1], 3.5f);
    EXPECT_EQ(r.cols[2].str[0], "abcd");
    EXPECT_EQ(r.cols[2].str[1], "xy");
}

// Behind a free field the columns of the fields that follow count from where it ended.
TEST_F(InfileRead, DictionaryFixedBehindFree) {
    InLayout lay;
    ASSERT_EQ(
        parse_dictionary("dictionary {\n a\n b %3f\n _skip(1)\n c %2f\n _column(1) d %1f\n}\n", false, lay),
        0);
    InResult r;
    ASSERT_EQ(read_records("12 345 67\n", lay, r), 0);
    ASSERT_EQ(r.nobs, 1);
    EXPECT_EQ(r.cols[0].num[0], 12);
    EXPECT_EQ(r.cols[1].num[0], 34);
    EXPECT_EQ(r.cols[2].num[0], 6);
    EXPECT_EQ(r.cols[3].num[0], 1);
}

TEST_F(InfileRead, DictionaryErrorsNameTheLine) {
    InLayout lay;
    EXPECT_EQ(parse_dictionary("a b c\n", false, lay), 613);
    EXPECT_EQ(parse_dictionary("", false, lay), 613);
    cap.reset();
    EXPECT_EQ(parse_dictionary("dictionary {\n  a\n  _colum(3) b\n}\n", false, lay), 614);
    EXPECT_EQ(cap.text(), "line 3 of dictionary: unknown directive _colum\ndictionary invalid\n");
    EXPECT_EQ(parse_dictionary("dictionary {\n  a\n", false, lay), 614);
    EXPECT_EQ(parse_dictionary("dictionary {\n  str3 s %3f\n}\n", false, lay), 614);
    EXPECT_EQ(parse_dictionary("infix dictionary {\n a 1-2\n}\n", false, lay), 613);
}

TEST_F(InfileRead, InfixList) {
    InLayout lay;
    ASSERT_EQ(parse_infix_list("2 lines 1: id 1-2 str s 4 2: double x 1-3", lay), 0);
    EXPECT_EQ(lay.lines, 2);
    ASSERT_EQ(lay.fields.size(), 3u);
    EXPECT_EQ(lay.fields[1].width, 1);
    EXPECT_EQ(lay.fields[2].line, 2);
    InResult r;
    ASSERT_EQ(read_records("12 z\n3.5\n", lay, r), 0);
    EXPECT_EQ(r.cols[0].num[0], 12);
    EXPECT_EQ(r.cols[1].str[0], "z");
    EXPECT_EQ(r.cols[2].num[0], 3.5);
    EXPECT_EQ(parse_infix_list("a 3-1", lay), 198);
    EXPECT_EQ(parse_infix_list("a 1-2 a 3", lay), 110);
    EXPECT_EQ(parse_infix_list("", lay), 102);
}

// A deterministic mutation: bytes changed, inserted, removed or repeated.
std::string mutate(const std::string &seed, uint64_t it) {
    uint64_t x = it * 0x9E3779B97F4A7C15ull + 1;
    auto next = [&] {
        x ^= x << 13;
        x ^= x >> 7;
        x ^= x << 17;
        return x;
    };
    static const char alphabet[] = " \t\n\r,\"'{}()%_:-.0123456789abcfsz*";
    std::string s = seed;
    const int edits = 1 + (int)(next() % 6);
    for (int e = 0; e < edits; ++e) {
        const size_t at = s.empty() ? 0 : next() % (s.size() + 1);
        switch (next() % 5) {
        case 0:
            if (at < s.size()) s[at] = alphabet[next() % (sizeof alphabet - 1)];
            break;
        case 1:
            s.insert(at, 1, alphabet[next() % (sizeof alphabet - 1)]);
            break;
        case 2:
            if (at < s.size()) s.erase(at, 1 + next() % 4);
            break;
        case 3:
            if (at < s.size()) s.insert(at, s.substr(at, 1 + next() % 8));
            break;
        default:
            if (at < s.size()) s[at] = (char)(next() & 0xFF);
            break;
        }
    }
    return s;
}

TEST_F(InfileRead, MutatedInputsKeepTheirShape) {
    const std::vector<std::string> dicts = {
        "infile dictionary {\n _firstlineoffile(2)\n _lines(2)\n int id %3f \"id\"\n _column(5) double x "
        "%4.1f\n"
        " _skip(1) str5 s %5s\n _line(2) str2 t %2s\n _newline a\n}\nhead\n001 12.5 abcde\nxx second\n",
        "dictionary using x.raw {\n a\n str8 b\n byte c:lbl\n}\n1 \"x y\" 3\n",
        "infix dictionary {\n 2 lines\n 1: id 1-3\n str s 4-8\n 2: x 1-2\n}\n12345678\n99\n",
    };
    const std::vector<std::string> data = {"1 2.5 abc\n2 -3e2 \"two words\"\n3,,xyz\n4 . 'q'\n",
                                           "001 125 abcde\nxy 9\n002  3.1\n\n"};
    int parsed = 0, read = 0;
    // ORVAT_INFILE_FUZZ sets a longer run than the few thousand inputs of every test run.
    const char *env = std::getenv("ORVAT_INFILE_FUZZ");
    const uint64_t count = env && std::atoll(env) > 0 ? (uint64_t)std::atoll(env) : 6000;
    for (uint64_t it = 0; it < count; ++it) {
        cap.reset();
        const std::string &seed = dicts[it % dicts.size()];
        const std::string d = mutate(seed, it);
        InLayout lay;
        const bool infix = it % dicts.size() == 2;
        if (parse_dictionary(d, infix, lay) != 0) continue;
        ++parsed;
        ASSERT_FALSE(lay.fields.empty());
        ASSERT_LE(lay.data_at, d.size());
        for (const std::string &text : {d.substr(lay.data_at), mutate(data[it % data.size()], it + 7)}) {
            InResult r;
            if (read_records(text, lay, r) != 0) continue;
            ++read;
            for (const InColumn &c : r.cols)
                ASSERT_EQ((int64_t)(c.num.size() + c.str.size()), r.nobs);
        }
        InLayout fl = lay;
        fl.fixed = false;
        InResult r;
        if (read_records(mutate(data[0], it), fl, r) == 0) {
            for (const InColumn &c : r.cols)
                ASSERT_EQ((int64_t)(c.num.size() + c.str.size()), r.nobs);
        }
    }
    // Enough mutations stay readable for the readers behind the parse to be reached often.
    EXPECT_GT(parsed, 300);
    EXPECT_GT(read, 500);
}

} // namespace
