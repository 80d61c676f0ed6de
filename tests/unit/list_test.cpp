// list: the table and the one-box-per-observation layout, on data made through the dataset API,
// as the user sees them (line-drawing corners shown as '+').
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/list.h"
#include "data/varlist.h"
#include "data_fixture.h"
#include "msg_capture.h"
#include "output/rimu.h"
#include "session/hexfloat.h"
#include "session/state.h"
#include "session/tok.h"

using namespace data;

namespace {

class List : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        session::se.linesize = 79;
    }
    int run(const std::string &text) { return DataFixture::run(cmd_list, text); }
    // The rendered text with the corner and tee characters as '+'.
    std::string shown() {
        std::string s = cap->text();
        for (char &c : s)
            if (c >= out::CH_TT && c <= out::CH_TLC) c = '+';
        return s;
    }
    // id 1..n, price i+0.5, name "a".. .
    void fill(int n) {
        add("id", T_DOUBLE);
        add("price", T_FLOAT);
        add("name", 10);
        ASSERT_EQ(set_obs(n), 0);
        for (int i = 1; i <= n; ++i) {
            put_num(1, i, i);
            put_num(2, i, i + 0.5);
            char s[2] = {(char)('a' + i - 1), 0};
            put_str(3, i, s);
        }
        cap->reset();
    }
};

TEST_F(List, TableOfAllVariables) {
    fill(3);
    EXPECT_EQ(run(""), 0);
    EXPECT_EQ(shown(), "     +-------------------+\n"
                       "     | id   price   name |\n"
                       "     +-------------------+\n"
                       "  1. |  1     1.5      a |\n"
                       "  2. |  2     2.5      b |\n"
                       "  3. |  3     3.5      c |\n"
                       "     +-------------------+\n");
}

TEST_F(List, RulesEveryFiveRowsOrAsAsked) {
    fill(7);
    EXPECT_EQ(run("id"), 0);
    EXPECT_EQ(shown(), "     +----+\n"
                       "     | id |\n"
                       "     +----+\n"
                       "  1. |  1 |\n  2. |  2 |\n  3. |  3 |\n  4. |  4 |\n  5. |  5 |\n"
                       "     +----+\n"
                       "  6. |  6 |\n  7. |  7 |\n"
                       "     +----+\n");
    EXPECT_EQ(run("id, sep(3)"), 0);
    EXPECT_EQ(shown(), "     +----+\n     | id |\n     +----+\n"
                       "  1. |  1 |\n  2. |  2 |\n  3. |  3 |\n     +----+\n"
                       "  4. |  4 |\n  5. |  5 |\n  6. |  6 |\n     +----+\n"
                       "  7. |  7 |\n     +----+\n");
    EXPECT_EQ(run("id in 1/6, separator(0)"), 0);
    EXPECT_EQ(shown().find("|\n     +----+\n  2."), std::string::npos);
    EXPECT_EQ(shown().find("  6. |  6 |\n     +----+\n"), shown().size() - 24);
}

TEST_F(List, IfAndInChooseTheObservationsInEitherOrder) {
    fill(7);
    EXPECT_EQ(run("id-name if price>3 & id<7, sep(0)"), 0);
    EXPECT_EQ(shown(), "     +-------------------+\n"
                       "     | id   price   name |\n"
                       "     +-------------------+\n"
                       "  3. |  3     3.5      c |\n"
                       "  4. |  4     4.5      d |\n"
                       "  5. |  5     5.5      e |\n"
                       "  6. |  6     6.5      f |\n"
                       "     +-------------------+\n");
    EXPECT_EQ(run("name in 5/l if id != 6"), 0);
    EXPECT_EQ(shown(), "     +------+\n"
                       "     | name |\n"
                       "     +------+\n"
                       "  5. |    e |\n"
                       "  7. |    g |\n"
                       "     +------+\n");
    EXPECT_EQ(run("id if id > 100"), 0);
    EXPECT_EQ(shown(), "");
}

TEST_F(List, NoobsAndClean) {
    fill(3);
    EXPECT_EQ(run("id-price in 2/3, noobs"), 0);
    EXPECT_EQ(shown(), "  +------------+\n"
                       "  | id   price |\n"
                       "  +------------+\n"
                       "  |  2     2.5 |\n"
                       "  |  3     3.5 |\n"
                       "  +------------+\n");
    EXPECT_EQ(run("id name, clean"), 0);
    EXPECT_EQ(shown(), "       id   name\n"
                       "  1.    1      a\n"
                       "  2.    2      b\n"
                       "  3.    3      c\n");
    EXPECT_EQ(run("id name, clean noobs"), 0);
    EXPECT_EQ(shown(), "    id   name\n     1      a\n     2      b\n     3      c\n");
}

TEST_F(List, ValuesGoThroughTheirFormatsAndStringsKeepTheirBraces) {
    fill(2);
    std::snprintf(ds.fmt[1], FMTLEN + 1, "%%9.3f");
    std::snprintf(ds.fmt[2], FMTLEN + 1, "%%-10s");
    put_str(3, 2, "{b}");
    EXPECT_EQ(run("price name"), 0);
    EXPECT_EQ(shown(), "     +--------------+\n"
                       "     | price   name |\n"
                       "     +--------------+\n"
                       "  1. | 1.500   a    |\n"
                       "  2. | 2.500   {b}  |\n"
                       "     +--------------+\n");
    // In the markup the brace is escaped, and values are in the result colour.
    ListOpts o;
    auto lines = list_lines({3}, {2}, o);
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[3], "{txt}  2. {txt}{c |} {res}{c -(}b{c )-} {txt} {c |}");
}

TEST_F(List, LongNamesAreCutToWhatTheValuesNeedButNotBelowAbbreviate) {
    fill(2);
    int v = add("a_rather_long_variable_name", T_BYTE);
    fill_missing(v, 1);
    EXPECT_EQ(run("a_r id"), 0);
    EXPECT_EQ(shown(), "     +---------------+\n"
                       "     | a_rath~e   id |\n"
                       "     +---------------+\n"
                       "  1. |        .    1 |\n"
                       "  2. |        .    2 |\n"
                       "     +---------------+\n");
    EXPECT_EQ(run("a_r, abbreviate(12) noobs"), 0);
    EXPECT_NE(shown().find("| a_rather_l~e |"), std::string::npos) << shown();
    EXPECT_EQ(abbreviate_name("abcdefghij", 8), "abcdef~j");
    EXPECT_EQ(abbreviate_name("abcdefgh", 8), "abcdefgh");
}

TEST_F(List, TooWideForTheLineGivesOneBoxPerObservation) {
    fill(2);
    int v = add("a_rather_long_variable_name", T_BYTE);
    fill_missing(v, 1);
    v = add("second_long_name_here", T_DOUBLE);
    fill_missing(v, 1);
    put_num(5, 2, 123456789);
    v = add("s", 60);
    fill_missing(v, 1);
    put_str(6, 1, "a string value that is longer than the box is wide");
    session::se.linesize = 50;
    EXPECT_EQ(run(""), 0);
    EXPECT_EQ(shown(), "     +-------------------------------------------+\n"
                       "  1. | id   price   name                         |\n"
                       "     |  1     1.5      a                         |\n"
                       "     +-------------------------------------------+\n"
                       "     | a_rather_long_variable_name               |\n"
                       "     |                           .               |\n"
                       "     +-------------------------------------------+\n"
                       "     | second_long_name_here                     |\n"
                       "     |                     .                     |\n"
                       "     +-------------------------------------------+\n"
                       "     | s                                         |\n"
                       "     | a string value that is longer than the bo |\n"
                       "     | x is wide                                 |\n"
                       "     +-------------------------------------------+\n"
                       "     +-------------------------------------------+\n"
                       "  2. | id   price   name                         |\n"
                       "     |  2     2.5      b                         |\n"
                       "     +-------------------------------------------+\n"
                       "     | a_rather_long_variable_name               |\n"
                       "     |                           .               |\n"
                       "     +-------------------------------------------+\n"
                       "     | second_long_name_here   s                 |\n"
                       "     |             123456789                     |\n"
                       "     +-------------------------------------------+\n");
    // Every line fits the line size.
    std::string all = shown();
    size_t at = 0;
    while (at < all.size()) {
        size_t nl = all.find('\n', at);
        EXPECT_LE(nl - at, 50u);
        at = nl + 1;
    }
    // The same list fits a wider line as a table.
    session::se.linesize = 120;
    EXPECT_EQ(run("in 1"), 0);
    EXPECT_EQ(shown().substr(0, 6), "     +");
    EXPECT_NE(shown().find("  1. |  1     1.5      a          .          .   a string value that is longer"),
              std::string::npos)
        << shown();
}

TEST_F(List, FailuresAndEmptyData) {
    EXPECT_EQ(run(""), 0);
    EXPECT_EQ(shown(), "");
    fill(3);
    EXPECT_EQ(run(", nosuch"), 198);
    EXPECT_EQ(shown(), "option nosuch not allowed\n");
    EXPECT_EQ(run("nosuch"), 111);
    EXPECT_EQ(shown(), "variable nosuch not found\n");
    EXPECT_EQ(run("in 9"), 198);
    EXPECT_EQ(shown(), "Obs. nos. out of range\n");
    EXPECT_EQ(run("id, sep("), 198);
    EXPECT_EQ(run("id, sep(-1)"), 198);
    EXPECT_EQ(run("id extra words"), 111);
    EXPECT_EQ(run("id if id in 1 in 2"), 198);
}

} // namespace
