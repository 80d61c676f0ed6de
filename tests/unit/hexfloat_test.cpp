// The hex-float reader and the limits computed with it.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

#include "session/hexfloat.h"

using namespace session;

static uint64_t bits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, 8);
    return u;
}

TEST(HexFloat, ReadsMantissaAndHexExponent) {
    double v;
    ASSERT_TRUE(hexfloat("1.0x+7f", &v));
    EXPECT_EQ(v, std::ldexp(1.0, 127));
    ASSERT_TRUE(hexfloat("1.0x+3ff", &v));
    EXPECT_EQ(bits(v), 0x7fe0000000000000ull);
    ASSERT_TRUE(hexfloat("1.01ax+3ff", &v));
    EXPECT_EQ(bits(v), 0x7fe01a0000000000ull);
    ASSERT_TRUE(hexfloat("1.fffffffffffffX+3fe", &v));
    EXPECT_EQ(bits(v), 0x7fdfffffffffffffull);
    ASSERT_TRUE(hexfloat("-1.fffffffffffffX+3ff", &v));
    EXPECT_EQ(bits(v), 0xffefffffffffffffull);
    ASSERT_TRUE(hexfloat("1.0X-34", &v));
    EXPECT_EQ(v, DBL_EPSILON);
    ASSERT_TRUE(hexfloat("1.0X-17", &v));
    EXPECT_EQ((float)v, FLT_EPSILON);
}

TEST(HexFloat, RejectsMalformedText) {
    double v;
    EXPECT_FALSE(hexfloat("", &v));
    EXPECT_FALSE(hexfloat("1.0", &v));
    EXPECT_FALSE(hexfloat("1.0x", &v));
    EXPECT_FALSE(hexfloat("x+3", &v));
    EXPECT_FALSE(hexfloat("1.0x+3g", &v));
    EXPECT_FALSE(hexfloat("1.0000000000000001X+0", &v));
}

TEST(HexFloat, LimitsOrderMissingAboveEveryNumber) {
    ASSERT_TRUE(compute_limits());
    EXPECT_GT(lim.dot, lim.maxdouble);
    EXPECT_GT(lim.dot_z, lim.dot);
    EXPECT_EQ(lim.maxfloat, std::nextafter(lim.fdot, 0.0f));
    EXPECT_EQ(lim.minfloat, -lim.maxfloat);
    EXPECT_EQ(lim.neg_maxdouble, -lim.maxdouble);
    EXPECT_EQ(lim.mindouble, -DBL_MAX);
    EXPECT_GT(lim.smallestdouble, 0.0);
}
