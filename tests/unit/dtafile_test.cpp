// The data file: what a save and a use carry besides the cells (labels, characteristics and notes,
// the data label, formats, the sort list, the sample variable), the interface of rows read a block
// at a time, files of other programs with their value labels, and a byte-swapped file made by hand.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/labels.h"
#include "data/types.h"
#include "data_fixture.h"
#include "session/store.h"

using namespace data;

namespace {

class Dta : public DataFixture {
  protected:
    std::string dir;
    void SetUp() override {
        DataFixture::SetUp();
        labels_init();
        char tmpl[] = "/tmp/dtatest.XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir = tmpl;
    }
    void TearDown() override {
        clear_dataset();
        session::store_drop_type(session::ST_GLOBAL);
        std::string cmd = "rm -rf '" + dir + "'";
        EXPECT_EQ(std::system(cmd.c_str()), 0);
        DataFixture::TearDown();
    }
    std::string path(const char *name) { return dir + "/" + name; }
    int load(const std::string &p, DtaLoad &ld) {
        DtaFile f;
        if (int rc = dta_open(p, f)) return rc;
        return dta_load(f, ld);
    }
    int load(const std::string &p) {
        DtaLoad ld;
        return load(p, ld);
    }
    // A small dataset with text of every kind.
    void make() {
        const int b = add("b", T_BYTE), s = add("s", 7), d = add("d", T_DOUBLE);
        ASSERT_EQ(set_obs(3), 0);
        for (int i = 1; i <= 3; ++i) {
            put_num(b, i, i == 3 ? missing_value(1) : i);
            put_str(s, i, i == 1 ? "first" : "");
            put_num(d, i, 0.25 * i);
        }
        std::snprintf(ds.datalabel, sizeof ds.datalabel, "%s", "a data label");
        std::snprintf(ds.fmt[d - 1], FMTLEN + 1, "%s", "%tcDD/NN/CCYY_HH:MM:SS");
        std::snprintf(ds.vallab[b - 1], VNAMELEN + 1, "%s", "yesno");
        ds.sortlist[0] = (int16_t)b;
        ds.sortlist[1] = 0;
        ASSERT_EQ(varlabel_set("b", "the byte"), 0);
        ASSERT_EQ(varlabel_set("d", "the double"), 0);
        ASSERT_EQ(vl_store("yesno", {{1, "yes"}, {2, "no"}, {2147483622, "missing a"}}), 0);
        ASSERT_EQ(vl_store("orphan", {{5, "five"}}), 0);
        ASSERT_EQ(char_set("_dta", "note0", "2"), 0);
        ASSERT_EQ(char_set("_dta", "note1", "the first note"), 0);
        ASSERT_EQ(char_set("_dta", "note2", std::string(5000, 'n')), 0);
        ASSERT_EQ(char_set("s", "note0", "1"), 0);
        ASSERT_EQ(char_set("s", "note1", "a note on s"), 0);
        ASSERT_EQ(char_set("d", "unit", "metres"), 0);
    }
};

TEST_F(Dta, TextComesBackWithTheData) {
    make();
    std::string stamp;
    ASSERT_EQ(dta_save(path("t.dta"), DtaSave{}, &stamp), 0);
    EXPECT_EQ(stamp.size(), 17u);
    clear_dataset();
    ASSERT_EQ(load(path("t.dta")), 0);
    ASSERT_EQ(ds.nvar, 3);
    ASSERT_EQ(ds.nobs, 3);
    EXPECT_STREQ(ds.datalabel, "a data label");
    EXPECT_STREQ(ds.fmt[2], "%tcDD/NN/CCYY_HH:MM:SS");
    EXPECT_STREQ(ds.vallab[0], "yesno");
    EXPECT_EQ(ds.sortlist[0], 1);
    EXPECT_EQ(ds.sortlist[1], 0);
    EXPECT_STREQ(varlabel_get("b"), "the byte");
    EXPECT_EQ(varlabel_get("s"), nullptr);
    EXPECT_STREQ(vl_text("yesno", 1), "yes");
    EXPECT_STREQ(vl_text("yesno", missing_value(1)), "missing a");
    EXPECT_FALSE(vl_exists("orphan")); // no variable uses it
    auto notes = char_list("_dta");
    ASSERT_EQ(notes.size(), 3u);
    EXPECT_EQ(notes[1], (std::pair<std::string, std::string>{"note1", "the first note"}));
    EXPECT_EQ(notes[2].second, std::string(5000, 'n'));
    EXPECT_STREQ(char_get("s", "note1"), "a note on s");
    EXPECT_STREQ(char_get("d", "unit"), "metres");
    EXPECT_EQ(dbits(get_num(1, 3)), dbits(missing_value(1)));
    EXPECT_EQ(ds.changed, 0);
}

TEST_F(Dta, OrphansNolabelAndOldformat) {
    make();
    DtaSave o;
    o.orphans = true;
    ASSERT_EQ(dta_save(path("o.dta"), o, nullptr), 0);
    DtaSave n;
    n.nolabel = true;
    ASSERT_EQ(dta_save(path("n.dta"), n, nullptr), 0);
    DtaSave old;
    old.oldformat = true;
    ASSERT_EQ(dta_save(path("old.dta"), old, nullptr), 0);

    clear_dataset();
    ASSERT_EQ(load(path("o.dta")), 0);
    EXPECT_STREQ(vl_text("orphan", 5), "five");
    clear_dataset();
    ASSERT_EQ(load(path("n.dta")), 0);
    EXPECT_STREQ(ds.vallab[0], "yesno"); // the link stays, the table is not written
    EXPECT_FALSE(vl_exists("yesno"));
    clear_dataset();
    DtaFile f;
    ASSERT_EQ(dta_open(path("old.dta"), f), 0);
    EXPECT_EQ(f.format, 113);
    EXPECT_STREQ(f.vars[2].fmt, "%tc");
    DtaLoad ld;
    ld.nolabel = true;
    ASSERT_EQ(dta_load(f, ld), 0);
    EXPECT_FALSE(vl_exists("yesno"));
    EXPECT_STREQ(char_get("d", "unit"), "metres");
}

TEST_F(Dta, ShortFormats) {
    EXPECT_EQ(dta_short_format("%9.0g"), "%9.0g");
    EXPECT_EQ(dta_short_format("%-244.243fc"), "%-244.243fc");
    EXPECT_EQ(dta_short_format("%tcDD/NN/CCYY"), "%tc");
    EXPECT_EQ(dta_short_format("%-tdDD/NN/CCYY"), "%-td");
    EXPECT_EQ(dta_short_format("%dD_m_Y_ccc_xx"), "%d");
}

TEST_F(Dta, TheSampleVariableGoesLastAndStaysOut) {
    add("a", T_BYTE);
    const int e = add_var_raw("(e)", T_BYTE);
    ASSERT_GT(e, 0);
    add("c", T_INT);
    ASSERT_EQ(set_obs(2), 0);
    for (int i = 1; i <= 2; ++i) {
        put_num(1, i, i);
        put_num(2, i, 1);
        put_num(3, i, 10 * i);
    }
    ASSERT_EQ(dta_save(path("e.dta"), DtaSave{}, nullptr), 0);
    EXPECT_STREQ(ds.varname[2], "(e)"); // moved to the end in memory
    EXPECT_EQ(get_num(2, 2), 20.0);
    DtaSave all;
    all.all = true;
    ASSERT_EQ(dta_save(path("all.dta"), all, nullptr), 0);

    DtaFile f;
    ASSERT_EQ(dta_open(path("e.dta"), f), 0);
    ASSERT_EQ(f.nvar, 2);
    EXPECT_EQ(f.width, 3);
    EXPECT_STREQ(f.vars[1].name, "c");
    clear_dataset();
    ASSERT_EQ(load(path("all.dta")), 0);
    ASSERT_EQ(ds.nvar, 3);
    EXPECT_STREQ(ds.varname[2], "(e)");
    EXPECT_EQ(get_num(3, 2), 1.0);
}

TEST_F(Dta, RowsABlockAtATime) {
    const int x = add("x", T_LONG), s = add("s", 3);
    ASSERT_EQ(set_obs(10), 0);
    for (int i = 1; i <= 10; ++i) {
        put_num(x, i, i * 7);
        put_str(s, i, std::to_string(i).c_str());
    }
    ASSERT_EQ(vl_store("lx", {{7, "seven"}}), 0);
    std::snprintf(ds.vallab[x - 1], VNAMELEN + 1, "%s", "lx");
    ASSERT_EQ(dta_save(path("r.dta"), DtaSave{}, nullptr), 0);
    clear_dataset();

    DtaFile f;
    ASSERT_EQ(dta_open(path("r.dta"), f), 0);
    EXPECT_EQ(f.nrows, 10);
    EXPECT_EQ(f.width, 7);
    EXPECT_EQ(ds.nvar, 0); // opening leaves the dataset alone
    std::vector<char> buf(3 * 7);
    std::vector<double> seen;
    int32_t got = 0;
    dta_skip_rows(f, 1);
    do {
        ASSERT_EQ(dta_read_rows(f, buf.data(), 3, &got), 0);
        for (int r = 0; r < got; ++r)
            seen.push_back(cell_get(buf.data() + r * 7 + f.vars[0].offset, f.vars[0].type));
    } while (got > 0);
    ASSERT_EQ(seen.size(), 9u);
    EXPECT_EQ(seen.front(), 14.0);
    EXPECT_EQ(seen.back(), 70.0);
    std::vector<DtaLabelNote> notes;
    dta_read_labels(f, nullptr, notes);
    EXPECT_TRUE(notes.empty());
    EXPECT_STREQ(vl_text("lx", 7), "seven");
    dta_read_labels(f, nullptr, notes); // a table that exists is kept, with a note
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].kind, DtaLabelNote::EXISTS);
    EXPECT_EQ(dta_modern_type(T_LBYTE), T_INT);
    EXPECT_EQ(dta_modern_type(T_LLONG), T_DOUBLE);
    EXPECT_EQ(dta_modern_type(5), 5);
}

TEST_F(Dta, ASubsetKeepsTheTextOfWhatItLoads) {
    make();
    ASSERT_EQ(vl_store("other", {{1, "x"}}), 0);
    std::snprintf(ds.vallab[2], VNAMELEN + 1, "%s", "other");
    ASSERT_EQ(dta_save(path("t.dta"), DtaSave{}, nullptr), 0);
    clear_dataset();
    DtaLoad ld;
    ld.keep = {0, 1, 1}; // s and d
    ASSERT_EQ(load(path("t.dta"), ld), 0);
    ASSERT_EQ(ds.nvar, 2);
    EXPECT_EQ(ds.sortlist[0], 0); // the list began with b, not loaded
    EXPECT_FALSE(vl_exists("yesno"));
    EXPECT_STREQ(vl_text("other", 1), "x");
    EXPECT_EQ(char_list("b").size(), 0u);
    EXPECT_STREQ(char_get("s", "note1"), "a note on s");
    EXPECT_EQ(char_list("_dta").size(), 3u);
}

TEST_F(Dta, FilesOfOtherProgramsBringTheirLabels) {
    const std::string data = ORVAT_SOURCE_DIR "/tests/script/dta/";
    for (const char *name : {"pandas_v114.dta", "haven_v113.dta", "foreign_v114.dta"}) {
        clear_dataset();
        DtaLoad ld;
        ASSERT_EQ(load(data + name, ld), 0) << name;
        EXPECT_TRUE(ld.notes.empty());
        const int sex = find_var("sex");
        ASSERT_GT(sex, 0);
        EXPECT_STREQ(ds.vallab[sex - 1], "sex");
        EXPECT_STREQ(vl_text("sex", 1), "male") << name;
        EXPECT_STREQ(vl_text("sex", 2), "female") << name;
        EXPECT_STREQ(varlabel_get("sex"), "Sex of respondent");
        std::vector<ValueLabel> e;
        ASSERT_EQ(vl_entries("sex", e), 0);
        EXPECT_EQ(e.size(), 2u);
    }
}

// A format 113 file in byte order 1, written here byte by byte: an int, a float and a label table.
TEST_F(Dta, ByteOrderOne) {
    std::string b;
    auto be16 = [&](uint16_t v) { b += (char)(v >> 8), b += (char)v; };
    auto be32 = [&](uint32_t v) {
        for (int s = 24; s >= 0; s -= 8)
            b += (char)(v >> s);
    };
    auto slot = [&](const std::string &t, size_t n) { b += t + std::string(n - t.size(), '\0'); };
    b += (char)113, b += (char)1, b += (char)1, b += '\0';
    be16(2);
    be32(2);
    slot("big end", 81);
    slot("", 18);
    b += (char)T_INT, b += (char)T_FLOAT;
    slot("k", 33), slot("v", 33);
    be16(2), be16(0), be16(0);
    slot("%8.0g", 12), slot("%9.0g", 12);
    slot("kl", 33), slot("", 33);
    slot("", 81), slot("", 81);
    b += std::string(5, '\0');
    be16(300), be32(0x3FC00000u);                    // 1.5
    be16(32741 + 3), be32(0x7F000000u + 0x800 * 26); // .c and .z
    be32(8 + 8 + 4);
    slot("kl", 33);
    b += std::string(3, '\0');
    be32(1), be32(4), be32(0), be32(300);
    b += std::string("big", 4);
    std::ofstream(path("be.dta"), std::ios::binary) << b;

    ASSERT_EQ(load(path("be.dta")), 0);
    ASSERT_EQ(ds.nobs, 2);
    EXPECT_EQ(get_num(1, 1), 300.0);
    EXPECT_EQ(get_num(2, 1), 1.5);
    EXPECT_EQ(dbits(get_num(1, 2)), dbits(missing_value(3)));
    EXPECT_EQ(dbits(get_num(2, 2)), dbits(missing_value(26)));
    EXPECT_EQ(ds.sortlist[0], 2);
    EXPECT_STREQ(vl_text("kl", 300), "big");
    EXPECT_STREQ(ds.datalabel, "big end");
}

} // namespace
