// The label and char commands over the stores: the text argument, the widening of formats, and
// failures that leave tables, links and characteristics as they were.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/labelcmd.h"
#include "data/labels.h"
#include "data/types.h"
#include "data_fixture.h"

using namespace data;

namespace {

class LabelCmd : public DataFixture {
  protected:
    void SetUp() override {
        DataFixture::SetUp();
        labels_init();
    }
    void TearDown() override {
        for (const std::string &n : vl_names())
            vl_drop(n.c_str());
        for (const std::string &o : char_owners())
            char_drop_owner(o.c_str());
        DataFixture::TearDown();
    }
    std::string table(const char *name) {
        std::vector<ValueLabel> e;
        if (vl_entries(name, e)) return "(none)";
        std::string s;
        for (const ValueLabel &l : e)
            s += std::to_string(l.key) + "=" + l.text + ";";
        return s;
    }
};

TEST_F(LabelCmd, TextArgument) {
    std::string t;
    EXPECT_EQ(text_argument("  plain words  ", t), 0);
    EXPECT_EQ(t, "plain words");
    EXPECT_EQ(text_argument(" \" quoted, blanks kept \" ", t), 0);
    EXPECT_EQ(t, " quoted, blanks kept ");
    EXPECT_EQ(text_argument("`\"say \"x\"\"'", t), 0);
    EXPECT_EQ(t, "say \"x\"");
    EXPECT_EQ(text_argument("", t), 0);
    EXPECT_EQ(t, "");
    EXPECT_EQ(text_argument("\"\"", t), 0);
    EXPECT_EQ(t, "");
    EXPECT_EQ(text_argument("a \"b\" c", t), 0); // not wholly quoted: taken as it stands
    EXPECT_EQ(t, "a \"b\" c");
    EXPECT_EQ(text_argument("\"open", t), 198);
    EXPECT_EQ(msg(), "unmatched quote\n");
    cap->reset();
    EXPECT_EQ(text_argument("\"a\" b", t), 198);
    EXPECT_EQ(msg(), "'b' invalid\n");
}

TEST_F(LabelCmd, WidenFormats) {
    const int g = add("g", T_FLOAT), f = add("f", T_DOUBLE), c = add("c", T_FLOAT), d = add("d", T_LONG);
    const int s = add("s", 5), w = add("w", T_FLOAT), o = add("o", T_FLOAT);
    std::strcpy(ds.fmt[f - 1], "%-8.2fc");
    std::strcpy(ds.fmt[c - 1], "%9,2f");
    std::strcpy(ds.fmt[d - 1], "%td");
    std::strcpy(ds.fmt[w - 1], "%20.0g");
    for (int v : {g, f, c, d, s, w})
        std::strcpy(ds.vallab[v - 1], "lbl");
    ASSERT_EQ(vl_store("lbl", {{1, "twelve chars"}, {2, "x"}}), 0);
    widen_label_formats("lbl");
    EXPECT_STREQ(ds.fmt[g - 1], "%12.0g");
    EXPECT_STREQ(ds.fmt[f - 1], "%-12.2fc");
    EXPECT_STREQ(ds.fmt[c - 1], "%12,2f");
    EXPECT_STREQ(ds.fmt[d - 1], "%td");    // dates keep theirs
    EXPECT_STREQ(ds.fmt[s - 1], "%9s");    // strings have no value labels
    EXPECT_STREQ(ds.fmt[w - 1], "%20.0g"); // wide enough already: never narrowed
    EXPECT_STREQ(ds.fmt[o - 1], "%9.0g");  // not linked
}

TEST_F(LabelCmd, DefineFailuresKeepTheTable) {
    ASSERT_EQ(run(cmd_label, "define t 1 one 2 two"), 0);
    EXPECT_EQ(run(cmd_label, "define t 3 three"), 110);
    EXPECT_EQ(msg(), "label t already defined\n");
    EXPECT_EQ(run(cmd_label, "define t 3 three 1 uno, add"), 180);
    EXPECT_EQ(msg(), "invalid attempt to modify label\n");
    EXPECT_EQ(run(cmd_label, "define t 3 three . dot, modify"), 198);
    EXPECT_EQ(msg(), "may not label .\n");
    EXPECT_EQ(table("t"), "1=one;2=two;");
    EXPECT_EQ(run(cmd_label, "define t 1 uno 2 \"\" .b b, modify"), 0);
    EXPECT_EQ(table("t"), "1=uno;2147483623=b;");
}

TEST_F(LabelCmd, ValuesOnStringsChangeNoLink) {
    const int x = add("x", T_FLOAT);
    add("s", 3);
    ASSERT_EQ(run(cmd_label, "values x old"), 0);
    EXPECT_EQ(run(cmd_label, "values x s new"), 181);
    EXPECT_EQ(msg(), "may not label strings\n");
    EXPECT_STREQ(ds.vallab[x - 1], "old");
    ASSERT_EQ(run(cmd_label, "values x"), 0);
    EXPECT_STREQ(ds.vallab[x - 1], "");
}

TEST_F(LabelCmd, ListResults) {
    ASSERT_EQ(run(cmd_label, "define t -3 a 7 b .c c"), 0);
    ASSERT_EQ(run(cmd_label, "list t"), 0);
    EXPECT_EQ(rscalar("k"), 3);
    EXPECT_EQ(rscalar("min"), -3);
    EXPECT_EQ(rscalar("max"), 7);
    EXPECT_EQ(rscalar("hasemiss"), 1);
}

TEST_F(LabelCmd, LanguagesKeepTheOthersInCharacteristics) {
    const int x = add("x", T_FLOAT);
    ASSERT_EQ(varlabel_set("x", "in english"), 0);
    std::strcpy(ds.vallab[x - 1], "en");
    ASSERT_EQ(run(cmd_label, "language fr, new"), 0);
    EXPECT_EQ(varlabel_get("x"), nullptr);
    EXPECT_STREQ(ds.vallab[x - 1], "");
    EXPECT_STREQ(char_get("x", "_lang_v_default"), "in english");
    EXPECT_STREQ(char_get("x", "_lang_l_default"), "en");
    EXPECT_STREQ(char_get(DTA_OWNER, "_lang_c"), "fr");
    EXPECT_STREQ(char_get(DTA_OWNER, "_lang_list"), "default fr");
    ASSERT_EQ(varlabel_set("x", "en francais"), 0);
    ASSERT_EQ(run(cmd_label, "language default"), 0);
    EXPECT_STREQ(varlabel_get("x"), "in english");
    EXPECT_STREQ(ds.vallab[x - 1], "en");
    EXPECT_EQ(char_get("x", "_lang_v_default"), nullptr); // the current language lives only in place
    EXPECT_STREQ(char_get("x", "_lang_v_fr"), "en francais");
    EXPECT_EQ(run(cmd_label, "language fr, copy"), 198);
    EXPECT_EQ(msg(), "option -copy- may only be specified with option -new-\n");
}

TEST_F(LabelCmd, CharRenameRefusalMovesNothing) {
    add("a", T_FLOAT);
    add("b", T_FLOAT);
    ASSERT_EQ(char_set("a", "one", "a1"), 0);
    ASSERT_EQ(char_set("a", "two", "a2"), 0);
    ASSERT_EQ(char_set("b", "two", "b2"), 0);
    EXPECT_EQ(run(cmd_char, "rename a b"), 110);
    EXPECT_EQ(msg(), "characteristic b[two] already exists\n");
    EXPECT_STREQ(char_get("a", "one"), "a1");
    EXPECT_STREQ(char_get("b", "two"), "b2");
    ASSERT_EQ(run(cmd_char, "rename a b, replace"), 0);
    EXPECT_EQ(char_list("a").size(), 0u);
    EXPECT_STREQ(char_get("b", "one"), "a1");
    EXPECT_STREQ(char_get("b", "two"), "a2");
}

} // namespace
