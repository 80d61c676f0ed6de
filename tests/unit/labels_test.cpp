// The stores of labels and characteristics: keys of values, the binary search, bodies from files
// checked before they are kept, characteristics in their order, and what renames, drops and clears do.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/labels.h"
#include "data/types.h"
#include "data_fixture.h"

using namespace data;

namespace {

class Labels : public DataFixture {
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
};

TEST_F(Labels, KeysOfValues) {
    int32_t k;
    EXPECT_TRUE(vl_key(-2147483647.0, &k));
    EXPECT_EQ(k, -2147483647);
    EXPECT_TRUE(vl_key(2147483620.0, &k));
    EXPECT_FALSE(vl_key(2147483621.0, &k)); // beyond the long range
    EXPECT_FALSE(vl_key(-2147483648.0, &k));
    EXPECT_FALSE(vl_key(1.5, &k));
    EXPECT_FALSE(vl_key(missing_value(0), &k)); // `.` may not be labelled
    EXPECT_TRUE(vl_key(missing_value(1), &k));
    EXPECT_EQ(k, 2147483622);
    EXPECT_TRUE(vl_key(missing_value(26), &k));
    EXPECT_EQ(k, 2147483647);
    EXPECT_EQ(dbits(vl_value(2147483647)), dbits(missing_value(26)));
    EXPECT_EQ(vl_value(-5), -5.0);
}

TEST_F(Labels, TablesAreSortedAndSearched) {
    std::vector<ValueLabel> e;
    for (int v = 99; v >= -99; v -= 3)
        e.push_back({v, "v" + std::to_string(v)});
    e.push_back({2147483622, "missing a"});
    e.push_back({6, "six, the last given"});
    ASSERT_EQ(vl_store("t", e), 0);
    for (int v = 99; v >= -99; v -= 3)
        ASSERT_STREQ(vl_text("t", v), v == 6 ? "six, the last given" : ("v" + std::to_string(v)).c_str());
    EXPECT_EQ(vl_text("t", 4), nullptr);
    EXPECT_EQ(vl_text("t", 3.5), nullptr);
    EXPECT_STREQ(vl_text("t", missing_value(1)), "missing a");
    EXPECT_EQ(vl_text("t", missing_value(0)), nullptr);
    EXPECT_EQ(vl_text("nosuch", 3), nullptr);
    double x = 0;
    EXPECT_EQ(vl_value_of("t", "v-3", &x), 0);
    EXPECT_EQ(x, -3.0);
    EXPECT_EQ(vl_value_of("t", "nothing", &x), 111);
    std::vector<ValueLabel> back;
    ASSERT_EQ(vl_entries("t", back), 0);
    for (size_t k = 1; k < back.size(); ++k)
        EXPECT_LT(back[k - 1].key, back[k].key);
    EXPECT_EQ(vl_widest("t"), (int)std::strlen("six, the last given"));
    ASSERT_EQ(vl_store("empty", {}), 0);
    EXPECT_FALSE(vl_exists("empty"));
    EXPECT_EQ(vl_names(), (std::vector<std::string>{"t"}));
}

TEST_F(Labels, BodiesFromFilesAreChecked) {
    ASSERT_EQ(vl_store("ok", {{1, "one"}, {2, "two"}}), 0);
    int32_t bytes = 0;
    const char *b = vl_body("ok", &bytes);
    ASSERT_NE(b, nullptr);
    std::vector<char> body(b, b + bytes);
    EXPECT_EQ(vl_store_body("copy", body.data(), bytes), 0);
    EXPECT_STREQ(vl_text("copy", 2), "two");
    auto put = [&](size_t at, int32_t v) { std::memcpy(body.data() + at, &v, 4); };
    std::vector<char> saved = body;
    put(8 + 4, 1000); // the second offset past the text
    EXPECT_EQ(vl_store_body("bad", body.data(), bytes), 688);
    body = saved;
    put(16 + 4, 1); // values out of order
    EXPECT_EQ(vl_store_body("bad", body.data(), bytes), 688);
    body = saved;
    put(0, 1000000); // a count that does not fit
    EXPECT_EQ(vl_store_body("bad", body.data(), bytes), 688);
    body = saved;
    body.back() = 'x'; // the last text without its NUL
    EXPECT_EQ(vl_store_body("bad", body.data(), bytes), 688);
    EXPECT_EQ(vl_store_body("bad", body.data(), 7), 688);
    EXPECT_FALSE(vl_exists("bad"));
}

TEST_F(Labels, CharacteristicsKeepTheirOrder) {
    ASSERT_EQ(char_set("_dta", "note0", "2"), 0);
    ASSERT_EQ(char_set("_dta", "note1", "first"), 0);
    ASSERT_EQ(char_set("x", "a", "x's"), 0);
    ASSERT_EQ(char_set("_dta", "note2", "second"), 0);
    EXPECT_STREQ(char_get("_dta", "note1"), "first");
    EXPECT_EQ(char_get("_dta", "note3"), nullptr);
    auto l = char_list("_dta");
    ASSERT_EQ(l.size(), 3u);
    EXPECT_EQ(l[0].first, "note0");
    EXPECT_EQ(l[2].second, "second");
    EXPECT_EQ(char_set("_dta", "note1", ""), 0); // an empty text removes it
    EXPECT_EQ(char_get("_dta", "note1"), nullptr);
    EXPECT_EQ(char_set("_dta", std::string(33, 'n').c_str(), "t"), 198);
    ASSERT_EQ(char_set("_dta", "long", std::string(70000, 'z')), 0);
    EXPECT_EQ(std::strlen(char_get("_dta", "long")), (size_t)CHARTEXT_MAX);
    EXPECT_EQ(char_owners(), (std::vector<std::string>{"_dta", "x"}));
}

TEST_F(Labels, RenameDropAndClearReachTheStores) {
    add("x", T_BYTE);
    add("y", T_BYTE);
    ASSERT_EQ(varlabel_set("x", "the x"), 0);
    ASSERT_EQ(char_set("x", "c", "x char"), 0);
    ASSERT_EQ(char_set("y", "c", "y char"), 0);
    ASSERT_EQ(vl_store("lbl", {{1, "one"}}), 0);
    ASSERT_EQ(rename_var(1, "z"), 0);
    EXPECT_EQ(varlabel_get("x"), nullptr);
    EXPECT_STREQ(varlabel_get("z"), "the x");
    EXPECT_STREQ(char_get("z", "c"), "x char");
    EXPECT_EQ(char_get("x", "c"), nullptr);
    uint8_t flags[2] = {0, 1};
    ASSERT_EQ(drop_vars(flags), 0);
    EXPECT_EQ(char_get("y", "c"), nullptr);
    EXPECT_TRUE(vl_exists("lbl")); // a dropped variable leaves the table
    ASSERT_EQ(varlabel_set("z", std::string(100, 'l')), 0);
    EXPECT_EQ(std::strlen(varlabel_get("z")), (size_t)VARLABEL_MAX);
    clear_dataset();
    EXPECT_EQ(varlabel_get("z"), nullptr);
    EXPECT_EQ(char_get("z", "c"), nullptr);
    EXPECT_FALSE(vl_exists("lbl"));
}

} // namespace
