// The data-management commands run as the dispatcher runs them: the rest of the line through the
// tokenizer, a fresh parser state, and the messages and results they leave.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/varlist.h"
#include "data_fixture.h"
#include "matrix/results.h"
#include "msg_capture.h"
#include "session/hexfloat.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

using namespace data;

namespace {

class DataCmd : public DataFixture {
  protected:
    std::string names() {
        std::string s;
        for (int v = 1; v <= ds.nvar; ++v)
            s += std::string(v > 1 ? " " : "") + ds.varname[v - 1];
        return s;
    }
    // Three variables, four observations: id 1..4, price 1.5 2.5 ..., name "a".."d".
    void fill() {
        add("id", T_DOUBLE);
        add("price", T_FLOAT);
        add("name", 10);
        ASSERT_EQ(set_obs(4), 0);
        for (int i = 1; i <= 4; ++i) {
            put_num(1, i, i);
            put_num(2, i, i + 0.5);
            char s[2] = {(char)('a' + i - 1), 0};
            put_str(3, i, s);
        }
        cap->reset();
    }
};

TEST_F(DataCmd, DescribeShowsTheSummaryAndEachVariable) {
    fill();
    std::snprintf(ds.fmt[1], FMTLEN + 1, "%%6.2f");
    std::snprintf(ds.vallab[0], VNAMELEN + 1, "idlab");
    const char lbl[] = "Price in dollars";
    ASSERT_NE(
        session::store_add_copy("price", session::ST_VARLABEL, (int32_t)std::strlen(lbl), lbl, sizeof lbl),
        nullptr);
    std::snprintf(ds.datalabel, LABELLEN + 1, "Test data");
    ds.sortlist[0] = 1;
    ds.sortlist[1] = 0;
    EXPECT_EQ(run(cmd_describe, 0, ""), 0);
    // The free share is that of `memory`: the rows in use at the row stride, and their index.
    const MemInfo mi = data_memory_info();
    char size[80];
    std::snprintf(size, sizeof size, " size:          88 (%.1f%% of memory free)\n",
                  100.0 * (double)(mi.M_total - 4 * mi.width - 4 * mi.size_ptr) / (double)mi.M_total);
    EXPECT_EQ(msg(), "Contains data\n"
                     "  obs:           4                            Test data\n"
                     " vars:           3\n" +
                         std::string(size) + std::string(79, '-') +
                         "\n"
                         "variable        type    format     val. label variable label\n" +
                         std::string(79, '-') +
                         "\n"
                         "id              double  %10.0g     idlab\n"
                         "price           float   %6.2f                 Price in dollars\n"
                         "name            str10   %10s\n" +
                         std::string(79, '-') +
                         "\n"
                         "Sorted by:  id\n");
    EXPECT_EQ(rscalar("N"), 4);
    EXPECT_EQ(rscalar("k"), 3);
    EXPECT_EQ(rscalar("width"), 22);
    EXPECT_EQ(rscalar("changed"), ds.changed);
    int32_t len;
    const char *sl = session::macro_get_at("sortlist", session::ST_R_MACRO, &len);
    ASSERT_NE(sl, nullptr);
    EXPECT_EQ(std::string(sl, len), "id");
    session::store_delete(session::store_find("price", session::ST_VARLABEL, &len));
}

TEST_F(DataCmd, DescribeShortListedAndLongNames) {
    fill();
    add("a_rather_long_variable_name", T_BYTE);
    EXPECT_EQ(run(cmd_describe, 0, ", short"), 0);
    EXPECT_EQ(msg().find("variable "), std::string::npos);
    EXPECT_NE(msg().find(" vars:           4\n"), std::string::npos);
    EXPECT_EQ(run(cmd_describe, 0, "a_r* pr"), 0);
    EXPECT_NE(msg().find("\na_rather_lon~me byte    %8.0g\nprice "), std::string::npos) << msg();
    EXPECT_EQ(msg().find("\nid "), std::string::npos);
    EXPECT_EQ(rscalar("k"), 4); // the results describe the whole dataset
    EXPECT_EQ(run(cmd_describe, 0, "a_r*, fullnames"), 0);
    EXPECT_NE(msg().find("\na_rather_long_variable_name\n                byte    %8.0g\n"), std::string::npos)
        << msg();
    EXPECT_EQ(run(cmd_describe, 0, ", nosuch"), 198);
    EXPECT_EQ(msg(), "option nosuch not allowed\n");
    EXPECT_EQ(run(cmd_describe, 0, "zz"), 111);
    EXPECT_EQ(msg(), "variable zz not found\n");
}

TEST_F(DataCmd, DropAndKeepVariables) {
    fill();
    EXPECT_EQ(run(cmd_dropkeep, 0, "pr"), 0);
    EXPECT_EQ(names(), "id name");
    EXPECT_EQ(msg(), "");
    EXPECT_EQ(run(cmd_dropkeep, 1, "name"), 0);
    EXPECT_EQ(names(), "name");
    char buf[256];
    get_str(1, 3, buf);
    EXPECT_STREQ(buf, "c");
    EXPECT_EQ(run(cmd_dropkeep, 0, ""), 100);
    EXPECT_EQ(msg(), "varlist or in range required\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "L.name"), 101);
    EXPECT_EQ(msg(), "time-series operators not allowed\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "name, opt"), 101); // drop takes no options
    EXPECT_EQ(msg(), "options not allowed\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "name if 1"), 198);
    EXPECT_EQ(msg(), "'name if 1' invalid\n");
    session::lp.byprefix = 1;
    const std::string before = names();
    EXPECT_EQ(run(cmd_dropkeep, 0, "name"), 190);
    EXPECT_EQ(msg(), "request may not be combined with by\n");
    EXPECT_EQ(run(cmd_dropkeep, 1, "name"), 190);
    EXPECT_EQ(run(cmd_dropkeep, 0, "_all"), 190);
    EXPECT_EQ(run(cmd_rename, "name nm"), 190);
    EXPECT_EQ(names(), before);
    session::lp.byprefix = 0;
    EXPECT_EQ(run(cmd_dropkeep, 0, "_all"), 0);
    EXPECT_EQ(ds.nvar, 0);
    EXPECT_EQ(ds.nobs, 0);
}

TEST_F(DataCmd, DropAndKeepInRange) {
    fill();
    EXPECT_EQ(run(cmd_dropkeep, 0, "in 2"), 0);
    EXPECT_EQ(msg(), "(1 observation deleted)\n");
    EXPECT_EQ(ds.nobs, 3);
    EXPECT_EQ(get_num(1, 2), 3);
    EXPECT_EQ(run(cmd_dropkeep, 1, "in -2/l"), 0);
    EXPECT_EQ(msg(), "(1 observation deleted)\n");
    EXPECT_EQ(get_num(1, 1), 3);
    EXPECT_EQ(get_num(1, 2), 4);
    EXPECT_EQ(run(cmd_dropkeep, 0, "in 2/5"), 198);
    EXPECT_EQ(msg(), "Obs. nos. out of range\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "in 2/x"), 198);
    EXPECT_EQ(msg(), "'x' invalid obs no\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "in 0"), 198);
    EXPECT_EQ(msg(), "'0' invalid obs no\n");
    EXPECT_EQ(run(cmd_dropkeep, 0, "in f/f in 1"), 198);
    EXPECT_EQ(run(cmd_dropkeep, 0, "if id>3"), 0);
    EXPECT_EQ(msg(), "(1 observation deleted)\n");
    EXPECT_EQ(ds.nobs, 1);
    EXPECT_EQ(get_num(1, 1), 3);
    session::lp.byprefix = 1;
    EXPECT_EQ(run(cmd_dropkeep, 0, "in 1"), 190);
    EXPECT_EQ(msg(), "'in' may not be combined with 'by'\n");
    session::lp.byprefix = 0;
}

TEST_F(DataCmd, RenameOrderMove) {
    fill();
    EXPECT_EQ(run(cmd_rename, 0, "pri cost"), 0);
    EXPECT_EQ(names(), "id cost name");
    EXPECT_EQ(run(cmd_rename, 0, "cost id"), 110);
    EXPECT_EQ(msg(), "id already defined\n");
    EXPECT_EQ(run(cmd_rename, 0, "cost"), 102);
    EXPECT_EQ(msg(), "too few variables specified\n");
    EXPECT_EQ(run(cmd_rename, 0, "cost a b"), 103);
    EXPECT_EQ(run(cmd_order, 0, "name cost name"), 0);
    EXPECT_EQ(names(), "name cost id");
    EXPECT_EQ(get_num(2, 4), 4.5);
    EXPECT_EQ(get_num(3, 4), 4);
    EXPECT_EQ(run(cmd_move, 0, "id name"), 0);
    EXPECT_EQ(names(), "id name cost");
    EXPECT_EQ(run(cmd_move, 0, "id"), 102);
    EXPECT_EQ(run(cmd_move, 0, "id name cost"), 103);
    EXPECT_EQ(run(cmd_order, 0, ""), 100);
    EXPECT_EQ(msg(), "varlist required\n");
}

TEST_F(DataCmd, CompressAllOrListed) {
    fill();
    EXPECT_EQ(run(cmd_compress, 0, "name"), 0);
    EXPECT_EQ(msg(), "name was str10 now str1\n");
    EXPECT_EQ(run(cmd_compress, 0, ""), 0);
    EXPECT_EQ(msg(), "id was double now byte\n"); // price has fractions
    EXPECT_EQ(ds.vartype[0], T_BYTE);
    EXPECT_EQ(get_num(1, 4), 4);
    EXPECT_EQ(run(cmd_compress, 0, ""), 0);
    EXPECT_EQ(msg(), "");
    EXPECT_EQ(run(cmd_dropkeep, 0, "_all"), 0);
    EXPECT_EQ(run(cmd_compress, 0, ""), 3);
    EXPECT_EQ(msg(), "no dataset in use\n");
}

TEST_F(DataCmd, SetObsReadsOneNumber) {
    EXPECT_EQ(run(cmd_set_obs, 0, "5"), 0);
    EXPECT_EQ(msg(), "obs was 0, now 5\n");
    EXPECT_EQ(run(cmd_set_obs, 0, "2"), 125);
    EXPECT_EQ(msg(), "invalid number, outside of allowed range\n");
    EXPECT_EQ(run(cmd_set_obs, 0, "5.5"), 126);
    EXPECT_EQ(msg(), "invalid number, noninteger value\n");
    EXPECT_EQ(run(cmd_set_obs, 0, ""), 122);
    EXPECT_EQ(msg(), "number required\n");
    EXPECT_EQ(run(cmd_set_obs, 0, "."), 127);
    EXPECT_EQ(run(cmd_set_obs, 0, "5"), 0);
    EXPECT_EQ(msg(), "");
}

TEST_F(DataCmd, NumlistCommandStoresTheList) {
    EXPECT_EQ(run(cmd_numlist, 0, "\"1/3 10(5)20\""), 0);
    int32_t len;
    const char *s = session::macro_get_at("numlist", session::ST_R_MACRO, &len);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(std::string(s, len), "1 2 3 10 15 20");
    EXPECT_EQ(run(cmd_numlist, 0, "\"3 1 2\", sort min(3) max(3) range(>=1 <=3)"), 0);
    s = session::macro_get_at("numlist", session::ST_R_MACRO, &len);
    EXPECT_EQ(std::string(s, len), "1 2 3");
    EXPECT_EQ(run(cmd_numlist, 0, "\"0 1\", range(>0)"), 125);
    EXPECT_EQ(msg(), "invalid numlist has elements outside of allowed range\n");
    EXPECT_EQ(run(cmd_numlist, 0, "\"1 2\", max(1)"), 123);
    EXPECT_EQ(run(cmd_numlist, 0, "\"2 1\", ascending"), 124);
    EXPECT_EQ(run(cmd_numlist, 0, "\"1\", bogus"), 198);
    EXPECT_EQ(msg(), "option bogus not allowed\n");
    EXPECT_EQ(run(cmd_numlist, 0, "\"1 2 3\", min(x)"), 198);
    EXPECT_EQ(msg(), "option min() invalid\n");
    EXPECT_EQ(run(cmd_numlist, 0, "\"1\", range(>=)"), 198);
    EXPECT_EQ(msg(), "option range() invalid\n");
}

TEST_F(DataCmd, RepartitionByWidth) {
    fill();
    const int32_t w = ds.width;
    EXPECT_EQ(run(cmd_repart, 0, "100 0"), 0);
    EXPECT_GE(ds.width, w + 100);
    EXPECT_EQ(get_num(2, 3), 3.5);
    EXPECT_EQ(run(cmd_repart, 0, "1 1"), 198);
    EXPECT_EQ(run(cmd_repart, 0, "0 0"), 198);
}

} // namespace
