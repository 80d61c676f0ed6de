// merge and append: the text a file brings (value labels, variable labels, characteristics, notes
// joined to those in memory) or not (nolabel, nonotes), the common type of two storage types, and
// preserve/restore carrying the text of the dataset through its temporary file.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/labels.h"
#include "data/merge.h"
#include "data/preserve.h"
#include "data/types.h"
#include "data_fixture.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/store.h"

using namespace data;

namespace {

class Merge : public DataFixture {
  protected:
    std::string dir;
    void SetUp() override {
        DataFixture::SetUp();
        labels_init();
        char tmpl[] = "/tmp/mergetest.XXXXXX";
        ASSERT_NE(mkdtemp(tmpl), nullptr);
        dir = tmpl;
        session::st.tmpdir = dir;
    }
    void TearDown() override {
        clear_dataset();
        session::store_drop_type(session::ST_GLOBAL);
        session::store_drop_type(session::ST_ESTPRESERVE);
        preserve_level = -1;
        std::string cmd = "rm -rf '" + dir + "'";
        EXPECT_EQ(std::system(cmd.c_str()), 0);
        DataFixture::TearDown();
    }
    std::string path(const char *name) { return dir + "/" + name; }
    // The using file: id 1 2, w with the table wl, a variable label, a note of its own and a note
    // of the dataset that memory has too.
    void make_using() {
        const int id = add("id", T_BYTE), w = add("w", T_BYTE);
        ASSERT_EQ(set_obs(2), 0);
        for (int i = 1; i <= 2; ++i) {
            put_num(id, i, i);
            put_num(w, i, i);
        }
        std::snprintf(ds.vallab[w - 1], VNAMELEN + 1, "%s", "wl");
        ds.sortlist[0] = (int16_t)id;
        ds.sortlist[1] = 0;
        ASSERT_EQ(varlabel_set("w", "the w"), 0);
        ASSERT_EQ(vl_store("wl", {{1, "one"}, {2, "two"}}), 0);
        ASSERT_EQ(vl_store("shared", {{1, "from the file"}}), 0);
        ASSERT_EQ(char_set("_dta", "note0", "2"), 0);
        ASSERT_EQ(char_set("_dta", "note1", "a note of both"), 0);
        ASSERT_EQ(char_set("_dta", "note2", "a note of the file"), 0);
        ASSERT_EQ(char_set("w", "note0", "1"), 0);
        ASSERT_EQ(char_set("w", "note1", "a note on w"), 0);
        ASSERT_EQ(char_set("w", "unit", "kg"), 0);
        DtaSave o;
        o.orphans = true;
        ASSERT_EQ(dta_save(path("u.dta"), o), 0);
        clear_dataset();
    }
    void make_master() {
        const int id = add("id", T_BYTE);
        ASSERT_EQ(set_obs(2), 0);
        for (int i = 1; i <= 2; ++i)
            put_num(id, i, i);
        ds.sortlist[0] = (int16_t)id;
        ds.sortlist[1] = 0;
        ASSERT_EQ(vl_store("shared", {{1, "from memory"}}), 0);
        ASSERT_EQ(char_set("_dta", "note0", "1"), 0);
        ASSERT_EQ(char_set("_dta", "note1", "a note of both"), 0);
    }
};

TEST_F(Merge, CommonTypes) {
    EXPECT_EQ(common_type(T_BYTE, T_INT), T_INT);
    EXPECT_EQ(common_type(T_INT, T_BYTE), T_INT);
    EXPECT_EQ(common_type(T_LONG, T_FLOAT), T_DOUBLE);
    EXPECT_EQ(common_type(T_FLOAT, T_LONG), T_DOUBLE);
    EXPECT_EQ(common_type(T_INT, T_FLOAT), T_FLOAT);
    EXPECT_EQ(common_type(T_DOUBLE, T_BYTE), T_DOUBLE);
    EXPECT_EQ(common_type(5, 10), 10);
    EXPECT_EQ(common_type(10, 5), 10);
    // The old types of a file count as the modern type that holds their values.
    EXPECT_EQ(common_type(T_BYTE, T_LBYTE), T_INT);
    EXPECT_EQ(common_type(T_FLOAT, T_LLONG), T_DOUBLE);
}

TEST_F(Merge, TheFileBringsItsText) {
    make_using();
    make_master();
    ASSERT_EQ(run(cmd_merge, "id using " + path("u")), 0) << msg();
    EXPECT_EQ(msg(), "(label shared already defined)\n");
    const int w = find_var("w");
    ASSERT_GT(w, 0);
    EXPECT_STREQ(varlabel_get("w"), "the w");
    EXPECT_STREQ(ds.vallab[w - 1], "wl");
    EXPECT_STREQ(vl_text("wl", 2), "two");
    EXPECT_STREQ(vl_text("shared", 1), "from memory"); // a table in memory stays
    EXPECT_STREQ(char_get("w", "unit"), "kg");
    EXPECT_STREQ(char_get("w", "note0"), "1");
    EXPECT_STREQ(char_get("w", "note1"), "a note on w");
    // The note both have is not repeated; the file's own comes behind those in memory.
    EXPECT_STREQ(char_get("_dta", "note0"), "2");
    EXPECT_STREQ(char_get("_dta", "note1"), "a note of both");
    EXPECT_STREQ(char_get("_dta", "note2"), "a note of the file");
    EXPECT_EQ(ds.sortlist[0], 0);
    EXPECT_NE(ds.changed, 0);
}

TEST_F(Merge, NolabelAndNonotes) {
    make_using();
    make_master();
    ASSERT_EQ(run(cmd_merge, "id using " + path("u") + ", nolabel nonotes"), 0) << msg();
    EXPECT_EQ(msg(), "");
    EXPECT_FALSE(vl_exists("wl"));
    EXPECT_STREQ(varlabel_get("w"), "the w"); // the variable's own label is no value label
    EXPECT_STREQ(char_get("w", "unit"), "kg");
    EXPECT_EQ(char_get("w", "note0"), nullptr);
    EXPECT_STREQ(char_get("_dta", "note0"), "1");
    EXPECT_EQ(char_get("_dta", "note2"), nullptr);
}

TEST_F(Merge, AppendBringsTextToo) {
    make_using();
    make_master();
    ASSERT_EQ(run(cmd_append, "using " + path("u") + ", nonotes"), 0) << msg();
    EXPECT_EQ(ds.nobs, 4);
    EXPECT_STREQ(vl_text("wl", 1), "one");
    EXPECT_STREQ(char_get("_dta", "note0"), "1");
    clear_dataset();
    make_master();
    ASSERT_EQ(run(cmd_append, "using " + path("u") + ", nolabel"), 0) << msg();
    EXPECT_FALSE(vl_exists("wl"));
    EXPECT_STREQ(char_get("_dta", "note2"), "a note of the file");
    EXPECT_STREQ(char_get("w", "note1"), "a note on w");
}

TEST_F(Merge, AFailedMergeLeavesNoText) {
    make_using();
    make_master();
    put_num(1, 2, 1); // id 1 1: not unique
    ASSERT_EQ(run(cmd_merge, "id using " + path("u") + ", uniqmaster"), 459);
    EXPECT_EQ(find_var("w"), 0);
    EXPECT_FALSE(vl_exists("wl"));
    EXPECT_EQ(char_get("_dta", "note2"), nullptr);
}

TEST_F(Merge, PreserveKeepsTheText) {
    make_using();
    {
        DtaFile f;
        ASSERT_EQ(dta_open(path("u.dta"), f), 0);
        DtaLoad ld;
        ASSERT_EQ(dta_load(f, ld), 0);
    }
    ASSERT_EQ(vl_store("orphan", {{3, "three"}}), 0);
    ASSERT_EQ(run(cmd_preserve, ""), 0) << msg();
    clear_dataset();
    EXPECT_FALSE(vl_exists("orphan"));
    ASSERT_EQ(run(cmd_restore, ""), 0) << msg();
    EXPECT_EQ(ds.nobs, 2);
    EXPECT_STREQ(varlabel_get("w"), "the w");
    EXPECT_STREQ(vl_text("orphan", 3), "three"); // orphans too
    EXPECT_STREQ(char_get("w", "unit"), "kg");
    EXPECT_STREQ(char_get("_dta", "note2"), "a note of the file");
    EXPECT_EQ(run(cmd_restore, ""), 622);
}

TEST_F(Merge, ARecordThatCannotBeStored) {
    const int x = add("x", T_BYTE);
    ASSERT_EQ(set_obs(1), 0);
    put_num(x, 1, 1);
    session::store_fail_countdown = 1;
    EXPECT_EQ(run(cmd_preserve, ""), 950);
    session::store_fail_countdown = 0;
    EXPECT_EQ(msg(), "insufficient memory for estimates preserve/restore 0\n");
    EXPECT_EQ(preserve_level, -1);
    EXPECT_EQ(run(cmd_restore, ""), 622);
}

} // namespace
