// Cell encodings: every storage type's boundaries, the 27 missing values, float rounding, old types.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "data/types.h"
#include "session/hexfloat.h"

using namespace data;

namespace {

constexpr uint64_t DOT = 0x7FE0000000000000ull;
uint64_t letter_bits(int k) { return DOT | ((uint64_t)k << 40); }

class Cells : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(session::compute_limits()); }
    char cell[16];

    double store(int type, double v) {
        std::memset(cell, 0x55, sizeof cell);
        cell_put(cell, type, v);
        return cell_get(cell, type);
    }
    int8_t raw8() const { return (int8_t)cell[0]; }
    int16_t raw16() const {
        int16_t x;
        std::memcpy(&x, cell, 2);
        return x;
    }
    int32_t raw32() const {
        int32_t x;
        std::memcpy(&x, cell, 4);
        return x;
    }
    uint32_t rawf() const {
        uint32_t x;
        std::memcpy(&x, cell, 4);
        return x;
    }
    void set_raw32(uint32_t x) { std::memcpy(cell, &x, 4); }
    void set_raw16(int16_t x) { std::memcpy(cell, &x, 2); }
    void set_rawd(double d) { std::memcpy(cell, &d, 8); }
};

} // namespace

TEST_F(Cells, ByteBoundaries) {
    EXPECT_EQ(store(T_BYTE, 100.9), 100.0);
    EXPECT_EQ(raw8(), 100);
    EXPECT_EQ(store(T_BYTE, 100), 100.0);
    EXPECT_EQ(store(T_BYTE, -127), -127.0);
    EXPECT_EQ(store(T_BYTE, -127.9), -127.0); // truncation toward zero, never rounding
    EXPECT_EQ(store(T_BYTE, -0.7), 0.0);
    EXPECT_EQ(dbits(store(T_BYTE, 101)), DOT);
    EXPECT_EQ(raw8(), 101);
    EXPECT_EQ(dbits(store(T_BYTE, -128)), DOT);
    EXPECT_EQ(raw8(), 101);
    EXPECT_EQ(dbits(store(T_BYTE, 127)), DOT);
    EXPECT_EQ(dbits(store(T_BYTE, 1e10)), DOT);
    EXPECT_EQ(dbits(store(T_BYTE, -1e10)), DOT);
}

TEST_F(Cells, IntBoundaries) {
    EXPECT_EQ(store(T_INT, 32740), 32740.0);
    EXPECT_EQ(store(T_INT, 32740.99), 32740.0);
    EXPECT_EQ(store(T_INT, -32767), -32767.0);
    EXPECT_EQ(dbits(store(T_INT, 32741)), DOT);
    EXPECT_EQ(raw16(), 32741);
    EXPECT_EQ(dbits(store(T_INT, -32768)), DOT);
    EXPECT_EQ(raw16(), 32741);
    EXPECT_EQ(dbits(store(T_INT, 32767)), DOT);
    EXPECT_EQ(store(T_INT, 101), 101.0);
}

TEST_F(Cells, LongBoundaries) {
    EXPECT_EQ(store(T_LONG, 2147483620), 2147483620.0);
    EXPECT_EQ(store(T_LONG, 2147483620.75), 2147483620.0);
    EXPECT_EQ(store(T_LONG, -2147483647), -2147483647.0);
    EXPECT_EQ(store(T_LONG, -2147483647.5), -2147483647.0);
    EXPECT_EQ(dbits(store(T_LONG, 2147483621)), DOT);
    EXPECT_EQ(raw32(), 2147483621);
    EXPECT_EQ(dbits(store(T_LONG, -2147483648.0)), DOT);
    EXPECT_EQ(raw32(), 2147483621);
    EXPECT_EQ(dbits(store(T_LONG, 4e9)), DOT);
    EXPECT_EQ(store(T_LONG, 32741), 32741.0);
}

TEST_F(Cells, FloatRangeAndRounding) {
    EXPECT_EQ(dbits(store(T_FLOAT, 1e40)), DOT);
    EXPECT_EQ(rawf(), 0x7F000000u);
    EXPECT_EQ(dbits(store(T_FLOAT, -1e40)), DOT);
    EXPECT_EQ(store(T_FLOAT, 1e-39), 0.0);
    EXPECT_EQ(rawf(), 0u);
    store(T_FLOAT, -1e-39);
    EXPECT_EQ(rawf(), 0u); // +0, not -0
    EXPECT_EQ(store(T_FLOAT, 0.1), (double)0.1f);
    EXPECT_EQ(store(T_FLOAT, 16777217.0), 16777216.0); // rounded to single, not truncated
    EXPECT_EQ(store(T_FLOAT, -2.5), -2.5);
    // The largest float is just below the float `.` and reads back as that number.
    const double maxf = (double)ffrom(0x7EFFFFFFu);
    EXPECT_EQ(store(T_FLOAT, maxf), maxf);
    EXPECT_EQ(rawf(), 0x7EFFFFFFu);
    EXPECT_EQ(store(T_FLOAT, -maxf), -maxf);
    EXPECT_LT(maxf, session::lim.dot);
    // A double just below 2^127 rounds up to the float `.`.
    EXPECT_EQ(dbits(store(T_FLOAT, dfrom(0x47EFFFFFFFFFFFFFull))), DOT);
    EXPECT_EQ(rawf(), 0x7F000000u);
    // Infinity counts as missing.
    EXPECT_EQ(dbits(store(T_FLOAT, INFINITY)), DOT);
}

TEST_F(Cells, FloatMissingReadsAsTheDoubleEncoding) {
    set_raw32(0x7F000800u); // float `.a`
    EXPECT_EQ(dbits(cell_get(cell, T_FLOAT)), 0x7FE0010000000000ull);
    set_raw32(0x7F000000u);
    EXPECT_EQ(dbits(cell_get(cell, T_FLOAT)), DOT);
    set_raw32(0x7F00D000u); // float `.z`
    EXPECT_EQ(dbits(cell_get(cell, T_FLOAT)), 0x7FE01A0000000000ull);
}

TEST_F(Cells, DoubleIsStoredAsItStands) {
    const double vals[] = {
        0.1, -0.0, 1e308, session::lim.maxdouble, session::lim.mindouble, dfrom(DOT), dfrom(letter_bits(26))};
    for (double v : vals) {
        EXPECT_EQ(dbits(store(T_DOUBLE, v)), dbits(v));
    }
}

TEST_F(Cells, EveryMissingLetterSurvivesEveryNumericType) {
    const int types[] = {T_BYTE, T_INT, T_LONG, T_FLOAT, T_DOUBLE};
    for (int t : types) {
        for (int k = 0; k < 27; ++k) {
            double m = dfrom(letter_bits(k));
            EXPECT_EQ(dbits(store(t, m)), letter_bits(k)) << "type " << t << " letter " << k;
        }
    }
    // The raw codes: the top 27 values of each integer type in order, and 0x800 steps in a float.
    store(T_BYTE, dfrom(letter_bits(17))); // .q
    EXPECT_EQ(raw8(), 118);
    store(T_BYTE, dfrom(letter_bits(26)));
    EXPECT_EQ(raw8(), 127);
    store(T_INT, dfrom(letter_bits(26)));
    EXPECT_EQ(raw16(), 32767);
    store(T_LONG, dfrom(letter_bits(1)));
    EXPECT_EQ(raw32(), 2147483622);
    store(T_LONG, dfrom(letter_bits(26)));
    EXPECT_EQ(raw32(), 2147483647);
    store(T_FLOAT, dfrom(letter_bits(17)));
    EXPECT_EQ(rawf(), 0x7F000000u + 0x800u * 17);
}

TEST_F(Cells, ALetterBeyondZStoresDotInIntegers) {
    const double beyond = dfrom(letter_bits(27));
    EXPECT_EQ(dbits(store(T_BYTE, beyond)), DOT);
    EXPECT_EQ(dbits(store(T_INT, beyond)), DOT);
    EXPECT_EQ(dbits(store(T_LONG, beyond)), DOT);
}

TEST_F(Cells, MissingValuesOrderAboveEveryNumber) {
    EXPECT_LT(session::lim.maxdouble, missing_value(0));
    for (int k = 0; k < 26; ++k)
        EXPECT_LT(missing_value(k), missing_value(k + 1));
    EXPECT_EQ(dbits(missing_value(0)), DOT);
    EXPECT_EQ(dbits(missing_value(26)), dbits(session::lim.dot_z));
    EXPECT_EQ(missing_index(missing_value(5)), 5);
    EXPECT_EQ(missing_index(1e300), -1);
    EXPECT_TRUE(is_missing(missing_value(26)));
    EXPECT_FALSE(is_missing(session::lim.maxdouble));
    EXPECT_EQ(fbits(missing_float(1)), 0x7F000800u);
}

TEST_F(Cells, LegacyIntegersHaveOneMissingValue) {
    cell[0] = 127;
    EXPECT_EQ(dbits(cell_get(cell, T_LBYTE)), DOT);
    cell[0] = 101; // an ordinary value in the old byte
    EXPECT_EQ(cell_get(cell, T_LBYTE), 101.0);
    set_raw16(32767);
    EXPECT_EQ(dbits(cell_get(cell, T_LINT)), DOT);
    set_raw16(32741);
    EXPECT_EQ(cell_get(cell, T_LINT), 32741.0);
    set_raw32(2147483647u);
    EXPECT_EQ(dbits(cell_get(cell, T_LLONG)), DOT);
    set_raw32(2147483621u);
    EXPECT_EQ(cell_get(cell, T_LLONG), 2147483621.0);

    store(T_LBYTE, 126.9);
    EXPECT_EQ(raw8(), 126);
    store(T_LBYTE, 200);
    EXPECT_EQ(raw8(), 127);
    store(T_LBYTE, dfrom(letter_bits(3))); // a letter is lost: the old types know only one missing
    EXPECT_EQ(raw8(), 127);
    store(T_LINT, -32768);
    EXPECT_EQ(raw16(), 32767);
    store(T_LLONG, -2147483647);
    EXPECT_EQ(raw32(), -2147483647);
    store(T_LLONG, 3e9);
    EXPECT_EQ(raw32(), 2147483647);
}

TEST_F(Cells, LegacyFloatAndDoubleThresholds) {
    const float two127 = std::ldexp(1.0f, 127);
    std::memcpy(cell, &two127, 4);
    EXPECT_EQ(dbits(cell_get(cell, T_LFLOAT)), DOT);
    const float big = std::ldexp(1.5f, 126);
    std::memcpy(cell, &big, 4);
    EXPECT_EQ(cell_get(cell, T_LFLOAT), (double)big);

    set_rawd(std::ldexp(1.0, 1023));
    EXPECT_EQ(dbits(cell_get(cell, T_LDOUBLE)), DOT);
    set_rawd(std::ldexp(1.0, 333)); // the old `.` of double cells is converted elsewhere
    EXPECT_EQ(cell_get(cell, T_LDOUBLE), std::ldexp(1.0, 333));

    store(T_LFLOAT, std::ldexp(1.0, -123));
    EXPECT_EQ(rawf(), 0u);
    store(T_LFLOAT, std::ldexp(1.0, 125));
    EXPECT_EQ(rawf(), 0x7F000000u);
    store(T_LFLOAT, std::ldexp(1.0, 124));
    EXPECT_EQ(rawf(), fbits(std::ldexp(1.0f, 124)));
    store(T_LDOUBLE, 0.25);
    EXPECT_EQ(cell_get(cell, T_LDOUBLE), 0.25);
}

TEST_F(Cells, Strings) {
    char buf[245];
    std::memset(cell, 'x', sizeof cell);
    cell_put_str(cell, 5, "hello world");
    EXPECT_EQ(std::memcmp(cell, "hello", 5), 0);
    EXPECT_EQ(cell[5], 'x'); // a full cell has no terminator
    cell_get_str(cell, 5, buf);
    EXPECT_STREQ(buf, "hello");
    cell_put_str(cell, 5, "ab");
    cell_get_str(cell, 5, buf);
    EXPECT_STREQ(buf, "ab");
    cell_put_str(cell, 5, "");
    cell_get_str(cell, 5, buf);
    EXPECT_STREQ(buf, "");
    // Across kinds: a string reads as `.`, a number as "".
    EXPECT_EQ(dbits(cell_get(cell, 5)), DOT);
    cell_put(cell, T_DOUBLE, 3.0);
    cell_get_str(cell, T_DOUBLE, buf);
    EXPECT_STREQ(buf, "");
}

TEST_F(Cells, TypeWords) {
    EXPECT_EQ(type_from_name("str0"), 0);
    EXPECT_EQ(type_from_name("str245"), 0);
    EXPECT_EQ(type_from_name("str1"), 1);
    EXPECT_EQ(type_from_name("str244"), 244);
    EXPECT_EQ(type_from_name("str05"), 0);
    EXPECT_EQ(type_from_name("str"), 0);
    EXPECT_EQ(type_from_name("str12x"), 0);
    EXPECT_EQ(type_from_name("byte"), T_BYTE);
    EXPECT_EQ(type_from_name("int"), T_INT);
    EXPECT_EQ(type_from_name("long"), T_LONG);
    EXPECT_EQ(type_from_name("float"), T_FLOAT);
    EXPECT_EQ(type_from_name("double"), T_DOUBLE);
    EXPECT_EQ(type_from_name("Double"), 0);

    char buf[16];
    EXPECT_STREQ(type_name(17, buf), "str17");
    EXPECT_STREQ(type_name(T_LONG, buf), "long");
    EXPECT_STREQ(type_name(T_LFLOAT, buf), "float");

    EXPECT_EQ(type_width(1), 1);
    EXPECT_EQ(type_width(244), 244);
    EXPECT_EQ(type_width(T_BYTE), 1);
    EXPECT_EQ(type_width(T_INT), 2);
    EXPECT_EQ(type_width(T_LONG), 4);
    EXPECT_EQ(type_width(T_FLOAT), 4);
    EXPECT_EQ(type_width(T_DOUBLE), 8);
    EXPECT_EQ(type_width(T_LBYTE), 1);
    EXPECT_EQ(type_width(T_LDOUBLE), 8);
    EXPECT_FALSE(is_valid_type(0));
    EXPECT_FALSE(is_valid_type(245));
    EXPECT_TRUE(is_string_type(244));
    EXPECT_TRUE(is_numeric_type(246));

    default_format(3, buf);
    EXPECT_STREQ(buf, "%9s");
    default_format(9, buf);
    EXPECT_STREQ(buf, "%9s");
    default_format(20, buf);
    EXPECT_STREQ(buf, "%20s");
    default_format(T_BYTE, buf);
    EXPECT_STREQ(buf, "%8.0g");
    default_format(T_INT, buf);
    EXPECT_STREQ(buf, "%8.0g");
    default_format(T_LONG, buf);
    EXPECT_STREQ(buf, "%12.0g");
    default_format(T_FLOAT, buf);
    EXPECT_STREQ(buf, "%9.0g");
    default_format(T_DOUBLE, buf);
    EXPECT_STREQ(buf, "%10.0g");
}
