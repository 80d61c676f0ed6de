// The fast scalar tables of r() and e(): the spill of the twenty-first scalar, lookups after it, a
// store that refuses room during the spill, and the clearing of e() with the S_E_ objects.
#include <gtest/gtest.h>

#include <string>

#include "lang/macro.h"
#include "matrix/results.h"
#include "session/store.h"

using namespace mat;

namespace {

struct Clean {
    Clean() { reset(); }
    ~Clean() { reset(); }
    static void reset() {
        session::store_fail_countdown = 0;
        r_clear();
        e_clear();
        session::store_drop_type(session::ST_GLOBAL);
        session::store_drop_type(session::ST_SCALAR);
    }
};

int stored(int type) {
    int n = 0;
    for (void *p = session::store_walk(nullptr, nullptr, type, nullptr); p;
         p = session::store_walk(p, nullptr, type, nullptr))
        ++n;
    return n;
}

double lookup(char kind, const std::string &name, int *how = nullptr) {
    double v = -1;
    int h = result_lookup(kind, name.c_str(), &v, nullptr);
    if (how) *how = h;
    return v;
}

} // namespace

TEST(ResultScalars, TwentyStayInTheTableTheTwentyFirstSpillsAll) {
    Clean c;
    for (int i = 1; i <= 20; ++i)
        ASSERT_EQ(r_set_scalar(("s" + std::to_string(i)).c_str(), i), 0);
    EXPECT_EQ(res.rfast.count, 20);
    EXPECT_EQ(stored(session::ST_R_SCALAR), 0);
    ASSERT_EQ(r_set_scalar("s21", 21), 0);
    EXPECT_EQ(res.rfast.count, 0);
    EXPECT_EQ(stored(session::ST_R_SCALAR), 21);
    int how = 0;
    EXPECT_EQ(lookup('r', "s1", &how), 1);
    EXPECT_EQ(how, RES_SCALAR);
    EXPECT_EQ(lookup('r', "s21"), 21);
    // A name already stored is updated in place, not added again.
    ASSERT_EQ(r_set_scalar("s1", 100), 0);
    EXPECT_EQ(lookup('r', "s1"), 100);
    EXPECT_EQ(stored(session::ST_R_SCALAR), 21);
    r_clear();
    EXPECT_EQ(result_lookup('r', "s1", nullptr, nullptr), RES_NONE);
    EXPECT_EQ(res.rfast.flags, 0);
}

TEST(ResultScalars, ASpillTheStoreRefusesLeavesTheTableWhole) {
    Clean c;
    for (int i = 1; i <= 20; ++i)
        ASSERT_EQ(e_set_scalar(("e" + std::to_string(i)).c_str(), i), 0);
    session::store_fail_countdown = 5; // the fifth entry moved fails
    EXPECT_EQ(e_set_scalar("e21", 21), 950);
    session::store_fail_countdown = 0;
    EXPECT_EQ(stored(session::ST_E_SCALAR), 0);
    EXPECT_EQ(res.efast.count, 20);
    int how = 0;
    EXPECT_EQ(lookup('e', "e7", &how), 7);
    EXPECT_EQ(how, RES_FAST_E);
    EXPECT_EQ(result_lookup('e', "e21", nullptr, nullptr), RES_NONE);
}

TEST(ResultScalars, MacroTextAndNumbersInReferences) {
    Clean c;
    ASSERT_EQ(r_set_scalar("third", 1.0 / 3), 0);
    ASSERT_EQ(r_set_scalar("n", 42), 0);
    ASSERT_EQ(r_set_macro("cmd", "summary"), 0);
    EXPECT_EQ(result_text('r', "third"), "0.3333333333333333");
    EXPECT_EQ(result_text('r', "n"), "42");
    EXPECT_EQ(result_text('r', "cmd"), "summary");
    EXPECT_EQ(result_text('r', "absent"), "");
    std::string t;
    EXPECT_EQ(result_lookup('r', "cmd", nullptr, &t), RES_MACRO);
    EXPECT_EQ(t, "summary");
}

TEST(ResultScalars, ClearingEDropsTheOldEstimationObjects) {
    Clean c;
    ASSERT_EQ(e_set_scalar("ll", -3), 0);
    ASSERT_EQ(e_set_macro("cmd", "fit"), 0);
    ASSERT_EQ(lang::macro_set("S_E_cmd", "fit"), 0);
    ASSERT_EQ(lang::macro_set("S_keep", "yes"), 0);
    double five = 5;
    ASSERT_NE(session::store_add_copy("S_E_x", session::ST_SCALAR, 8, &five, 8), nullptr);
    e_clear();
    EXPECT_EQ(result_lookup('e', "ll", nullptr, nullptr), RES_NONE);
    EXPECT_EQ(result_lookup('e', "cmd", nullptr, nullptr), RES_NONE);
    EXPECT_EQ(lang::macro_get("S_E_cmd"), nullptr);
    ASSERT_NE(lang::macro_get("S_keep"), nullptr);
    EXPECT_EQ(session::store_find("S_E_x", session::ST_SCALAR, nullptr), nullptr);
}
