// Display formats: the %format grammar, number to text across forms and sizes, and the number reader.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "data/dates.h"
#include "data/fmt.h"
#include "data/types.h"
#include "session/hexfloat.h"

using namespace data;

namespace {

class Fmts : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(session::compute_limits()); }
};

Fmt parsed(const char *text) {
    Fmt f;
    EXPECT_EQ(fmt_parse(text, f, true), 0) << text;
    return f;
}

std::string show(double v, const char *fmt) {
    Fmt f = parsed(fmt);
    char out[FMT_BUFSIZE];
    int n = fmt_number(v, f, out, sizeof out);
    EXPECT_EQ(n, (int)std::strlen(out));
    return out;
}

std::string showstr(const char *s, const char *fmt) {
    Fmt f = parsed(fmt);
    char out[FMT_BUFSIZE];
    fmt_string(s, f, out, sizeof out);
    return out;
}

} // namespace

// ---- grammar ----

TEST_F(Fmts, ParsesNumericForms) {
    Fmt f = parsed("%9.0g");
    EXPECT_EQ(f.kind, 'n');
    EXPECT_EQ(f.style, 'g');
    EXPECT_EQ(f.width, 9);
    EXPECT_EQ(f.digits, 0);
    EXPECT_EQ(f.just, 1);
    EXPECT_FALSE(f.group);
    EXPECT_FALSE(f.comma);

    f = parsed("%-12.2fc");
    EXPECT_EQ(f.just, -1);
    EXPECT_EQ(f.style, 'f');
    EXPECT_EQ(f.width, 12);
    EXPECT_EQ(f.digits, 2);
    EXPECT_TRUE(f.group);

    f = parsed("%10,3f");
    EXPECT_TRUE(f.comma);
    EXPECT_EQ(f.digits, 3);

    f = parsed("%9.8e");
    EXPECT_EQ(f.style, 'e');
    EXPECT_EQ(f.digits, 8);

    EXPECT_EQ(parsed("%21x").style, 'x');
    EXPECT_EQ(parsed("%16H").style, 'H');
    EXPECT_EQ(parsed("%8L").width, 8);
    EXPECT_TRUE(parsed("%09.2f").zero);
}

TEST_F(Fmts, ParsesStringAndDateForms) {
    Fmt f = parsed("%~20s");
    EXPECT_EQ(f.kind, 's');
    EXPECT_EQ(f.just, 0);
    EXPECT_EQ(f.width, 20);
    EXPECT_EQ(parsed("%244s").width, 244);
    EXPECT_EQ(parsed("%-5s").just, -1);

    f = parsed("%td");
    EXPECT_EQ(f.kind, 't');
    EXPECT_EQ(f.style, 'd');
    EXPECT_EQ(fmt_width(f), 9);
    EXPECT_EQ(fmt_width(parsed("%tc")), 18);
    EXPECT_EQ(parsed("%-tm").just, -1);
    EXPECT_EQ(parsed("%tC").style, 'C');
    EXPECT_EQ(parsed("%d").style, 'd');
    EXPECT_EQ(parsed("%tg").style, 'g');
    EXPECT_EQ(parsed("%td01").nitems, parsed("%td").nitems);
}

TEST_F(Fmts, RefusesInvalidFormatsWith120) {
    const char *bad[] = {
        "%0.0g",   "%300s",  "%245s",  "%245.0g", "%9.9f", "%9.10g", "%~9.0g", "%~9.2f", "%9.2ec", "%9.2fx",
        "%9.2gcc", "%22x",   "%21.0x", "%12H",    "%16X",  "%9s1",   "9.0g",   "%",      "%9",     "%9.",
        "%9.2",    "%9.2q",  "%.2f",   "%-",      "%tgDD", "%tdQQ",  "%t",     "%tz",    "%~td",   "%tdDD!",
        "%tds",    "%td DD", "%09s",   "%016H",   "",      "%9.0G",  "%9..2f", "%-~9s",
    };
    for (const char *b : bad) {
        Fmt f;
        EXPECT_EQ(fmt_parse(b, f, true), 120) << b;
    }
    // at most 48 characters
    std::string ok = "%td" + std::string(45, '_');
    std::string longer = ok + "_";
    Fmt f;
    EXPECT_EQ(fmt_parse(ok, f, true), 0);
    EXPECT_EQ(fmt_width(f), 45);
    EXPECT_EQ(fmt_parse(longer, f, true), 120);
}

TEST_F(Fmts, WidthOfAFormatText) {
    EXPECT_EQ(fmtwidth("%9.2f"), 9);
    EXPECT_EQ(fmtwidth("%-20s"), 20);
    EXPECT_EQ(fmtwidth("%21x"), 21);
    EXPECT_EQ(fmtwidth("%td"), 9);
    EXPECT_EQ(fmtwidth("%tcDD_Month"), 12);
    EXPECT_EQ(fmtwidth("%tg"), 9);
    EXPECT_EQ(missing_index(fmtwidth("%0.0g")), 0);
}

TEST_F(Fmts, DefaultFormatIsNineZeroG) {
    const Fmt &f = fmt_default();
    EXPECT_EQ(f.width, 9);
    EXPECT_EQ(f.style, 'g');
    EXPECT_EQ(f.digits, 0);
}

// ---- %w.0g ----

TEST_F(Fmts, AutomaticGeneral) {
    EXPECT_EQ(show(1, "%9.0g"), "        1");
    EXPECT_EQ(show(-1, "%9.0g"), "       -1");
    EXPECT_EQ(show(M_PI, "%10.0g"), " 3.1415927");
    EXPECT_EQ(show(M_PI, "%9.0g"), " 3.141593");
    EXPECT_EQ(show(1.0 / 3, "%10.0g"), " .33333333");
    EXPECT_EQ(show(2.0 / 3, "%10.0g"), " .66666667");
    EXPECT_EQ(show(-2.0 / 3, "%10.0g"), "-.66666667");
    EXPECT_EQ(show(0.0123456789, "%10.0g"), " .01234568");
    EXPECT_EQ(show(1234567.891, "%10.0g"), " 1234567.9");
    EXPECT_EQ(show(100, "%8.0g"), "     100");
    EXPECT_EQ(show(0.5, "%8.0g"), "      .5");
}

TEST_F(Fmts, AutomaticGeneralSwitchesToE) {
    // every digit in front of the point must fit beside the sign place
    EXPECT_EQ(show(123456789, "%10.0g"), " 123456789");
    EXPECT_EQ(show(1234567890, "%10.0g"), " 1.235e+09");
    EXPECT_EQ(show(12345678, "%9.0g"), " 12345678");
    EXPECT_EQ(show(123456789, "%9.0g"), " 1.23e+08");
    EXPECT_EQ(show(-123456789, "%9.0g"), "-1.23e+08");
    EXPECT_EQ(show(123456789, "%8.0g"), " 1.2e+08");
    // leading zeros of a small number use up the room for digits
    EXPECT_EQ(show(0.0001, "%10.0g"), "     .0001");
    EXPECT_EQ(show(0.00001, "%10.0g"), " 1.000e-05");
    EXPECT_EQ(show(0.0001, "%9.0g"), "    .0001");
    EXPECT_EQ(show(0.000015, "%9.0g"), " 1.50e-05");
    // three-digit exponents give up a decimal
    EXPECT_EQ(show(1e100, "%9.0g"), " 1.0e+100");
    EXPECT_EQ(show(1e-300, "%10.0g"), " 1.00e-300");
    EXPECT_EQ(show(1e15, "%9.0g"), " 1.00e+15");
}

TEST_F(Fmts, RoundingAtTheLastDigit) {
    // rounding that carries into a new digit still has to fit
    EXPECT_EQ(show(9.9999999, "%9.0g"), "       10");
    EXPECT_EQ(show(99999999.7, "%9.0g"), " 1.00e+08");
    EXPECT_EQ(show(0.99999999999, "%10.0g"), "         1");
    // exact binary values: ties go to even, and 1.005 lies below its decimal text
    EXPECT_EQ(show(1.125, "%5.0g"), " 1.12");
    EXPECT_EQ(show(1.005, "%9.2f"), "     1.00");
    EXPECT_EQ(show(2.5, "%9.0f"), "        2");
    EXPECT_EQ(show(3.5, "%9.0f"), "        4");
    EXPECT_EQ(show(0.125, "%9.2f"), "     0.12");
    EXPECT_EQ(show(0.375, "%9.2f"), "     0.38");
}

// Whole numbers below 10^15 take a shorter path to their digits; each side of that bound, and
// numbers whose digit count decides between the fixed and the e form, must read the same.
TEST_F(Fmts, WholeNumbersAcrossTheBoundOfTheShortPath) {
    EXPECT_EQ(show(999999999999999, "%20.0g"), "     999999999999999");
    EXPECT_EQ(show(1e15, "%20.0g"), "    1000000000000000");
    EXPECT_EQ(show(1000000000000001, "%20.0g"), "    1000000000000001");
    EXPECT_EQ(show(-999999999999999, "%20.0g"), "    -999999999999999");
    EXPECT_EQ(show(999999999999999, "%22.3f"), "   999999999999999.000");
    EXPECT_EQ(show(99999999999, "%12.0g"), " 99999999999");
    EXPECT_EQ(show(999999999999, "%12.0g"), " 1.00000e+12");
    EXPECT_EQ(show(12345678, "%9.0g"), " 12345678");
    EXPECT_EQ(show(123456789, "%9.0g"), " 1.23e+08");
    EXPECT_EQ(show(1234567, "%11.0gc"), "  1,234,567");
    EXPECT_EQ(show(1, "%9.0g"), "        1");
    EXPECT_EQ(show(10, "%5.2f"), "10.00");
}

TEST_F(Fmts, GroupingCommasInG) {
    EXPECT_EQ(show(1234567.891, "%12.0gc"), " 1,234,567.9");
    EXPECT_EQ(show(1234, "%9.0gc"), "    1,234");
    EXPECT_EQ(show(123, "%9.0gc"), "      123");
    // commas that do not fit are dropped before e style is tried
    EXPECT_EQ(show(123456789, "%10.0gc"), " 123456789");
    EXPECT_EQ(show(1234567890, "%10.0gc"), " 1.235e+09");
}

// ---- %w.dg, f, e ----

TEST_F(Fmts, SignificantDigitsG) {
    EXPECT_EQ(show(1234, "%9.3g"), " 1.23e+03");
    EXPECT_EQ(show(0.5, "%9.3g"), "       .5");
    EXPECT_EQ(show(12.345, "%9.3g"), "     12.3");
    EXPECT_EQ(show(1e-5, "%9.3g"), "    1e-05");
    EXPECT_EQ(show(123, "%9.3g"), "      123");
    EXPECT_EQ(show(1234567, "%12.7gc"), "   1,234,567");
}

TEST_F(Fmts, FixedForms) {
    EXPECT_EQ(show(M_PI, "%9.2f"), "     3.14");
    EXPECT_EQ(show(-M_PI, "%9.2f"), "    -3.14");
    EXPECT_EQ(show(0.5, "%9.2f"), "     0.50");
    EXPECT_EQ(show(M_PI, "%-9.2f"), "3.14     ");
    EXPECT_EQ(show(-M_PI, "%-9.2f"), "-3.14    ");
    EXPECT_EQ(show(1234.5, "%9.2fc"), " 1,234.50");
    EXPECT_EQ(show(-1234.5, "%10.2fc"), " -1,234.50");
    EXPECT_EQ(show(1234567.891, "%12.2fc"), "1,234,567.89");
    EXPECT_EQ(show(M_PI, "%9,2f"), "     3,14");
    EXPECT_EQ(show(1234567.891, "%12,2fc"), "1.234.567,89");
    EXPECT_EQ(show(M_PI, "%06.2f"), "003.14");
    EXPECT_EQ(show(-M_PI, "%07.2f"), "-003.14");
    EXPECT_EQ(show(7, "%1.0f"), "7");
    EXPECT_EQ(show(0.001, "%9.0f"), "        0");
}

TEST_F(Fmts, FixedThatCannotFitTakesTheNextForm) {
    // commas first go, then the automatic form, then e style; a number is never cut
    EXPECT_EQ(show(1234567.891, "%9.2fc"), "  1234568");
    EXPECT_EQ(show(1234567.891, "%10.2f"), "1234567.89");
    EXPECT_EQ(show(1e20, "%9.2f"), " 1.00e+20");
    EXPECT_EQ(show(123456, "%4.0g"), "1e+05");
}

TEST_F(Fmts, EForms) {
    EXPECT_EQ(show(123, "%9.2e"), " 1.23e+02");
    EXPECT_EQ(show(-0.000123456, "%10.3e"), "-1.235e-04");
    EXPECT_EQ(show(5, "%9.0e"), "    5e+00");
    EXPECT_EQ(show(1e-300, "%-10.1e"), "1.0e-300  ");
}

TEST_F(Fmts, NegativeZeroPrintsAsZero) {
    EXPECT_EQ(show(-0.0, "%9.0g"), "        0");
    EXPECT_EQ(show(-0.0, "%9.2f"), "     0.00");
    EXPECT_EQ(show(-0.0, "%9.2e"), " 0.00e+00");
    EXPECT_EQ(show(-0.0, "%21x"), "+0.0000000000000X+000");
    EXPECT_EQ(show(0.0, "%9.0g"), "        0");
}

// ---- missing values ----

TEST_F(Fmts, MissingValuesShowTheirLetter) {
    EXPECT_EQ(show(missing_value(0), "%9.0g"), "        .");
    EXPECT_EQ(show(missing_value(1), "%9.0g"), "       .a");
    EXPECT_EQ(show(missing_value(26), "%9.2f"), "       .z");
    EXPECT_EQ(show(missing_value(2), "%-9.0g"), ".b       ");
    EXPECT_EQ(show(missing_value(17), "%09.2f"), "       .q");
    EXPECT_EQ(show(missing_value(0), "%td"), "        .");
    EXPECT_EQ(show(missing_value(3), "%21x"), std::string(19, ' ') + ".c");
    EXPECT_EQ(show(missing_value(27), "%9.0g"), "        .");
    EXPECT_EQ(show(NAN, "%9.0g"), "        .");
    EXPECT_EQ(show(INFINITY, "%9.0g"), "        .");
}

// ---- hexadecimal forms ----

TEST_F(Fmts, HexForms) {
    EXPECT_EQ(show(1, "%21x"), "+1.0000000000000X+000");
    EXPECT_EQ(show(-2.5, "%21x"), "-1.4000000000000X+001");
    EXPECT_EQ(show(0.5, "%21x"), "+1.0000000000000X-001");
    EXPECT_EQ(show(session::lim.maxdouble, "%21x"), "+1.fffffffffffffX+3fe");
    EXPECT_EQ(show(1.0, "%16H"), "3ff0000000000000");
    EXPECT_EQ(show(1.0, "%16L"), "000000000000f03f");
    EXPECT_EQ(show(1.0, "%8H"), "3f800000");
    EXPECT_EQ(show(1.0, "%8L"), "0000803f");
    EXPECT_EQ(show(-2.0, "%16H"), "c000000000000000");
}

// ---- strings ----

TEST_F(Fmts, StringJustification) {
    EXPECT_EQ(showstr("ab", "%5s"), "   ab");
    EXPECT_EQ(showstr("ab", "%-5s"), "ab   ");
    EXPECT_EQ(showstr("ab", "%~6s"), "  ab  ");
    EXPECT_EQ(showstr("ab", "%~5s"), " ab  ");
    EXPECT_EQ(showstr("abcdef", "%3s"), "abcdef");
    // a number under a string format falls back on %9.0g
    EXPECT_EQ(show(2, "%5s"), "        2");
    EXPECT_EQ(showstr("ab", "%9.0g"), "ab");
}

TEST_F(Fmts, SmallBufferIsCutNotOverrun) {
    char out[5];
    std::memset(out, 'X', sizeof out);
    Fmt f = parsed("%9.0g");
    EXPECT_EQ(fmt_number(123, f, out, 4), 3);
    EXPECT_STREQ(out, "   ");
}

// ---- the number reader ----

TEST_F(Fmts, ReadsDecimalText) {
    double v;
    struct Row {
        const char *text;
        double value;
    } rows[] = {{"1", 1},      {"-1.5", -1.5},  {".5", .5}, {"5.", 5},   {"1e3", 1000}, {"1d3", 1000},
                {"1D-2", .01}, {"1.5E+2", 150}, {"+2", 2},  {"0007", 7}, {"1e-400", 0}, {"-0", 0}};
    for (auto &r : rows) {
        ASSERT_TRUE(text_to_number(r.text, v)) << r.text;
        EXPECT_EQ(v, r.value) << r.text;
    }
    const char *bad[] = {"", "1e", "e3", "1.2.3", " 1", "1 ", "0x10", "inf", "nan", "--1", ".", "1f", "d3"};
    for (const char *b : bad)
        EXPECT_FALSE(text_to_number(b, v, false)) << b;
    ASSERT_TRUE(text_to_number("1e400", v));
    EXPECT_EQ(v, session::lim.dot);
}

TEST_F(Fmts, ReadsHexFloatsAndMissing) {
    double v;
    ASSERT_TRUE(text_to_number("1.0x+3ff", v));
    EXPECT_EQ(v, session::lim.dot);
    ASSERT_TRUE(text_to_number("1.01ax+3ff", v));
    EXPECT_EQ(v, missing_value(26));
    ASSERT_TRUE(text_to_number("1.8x+1", v));
    EXPECT_EQ(v, 3);
    ASSERT_TRUE(text_to_number("-1.0X-1", v));
    EXPECT_EQ(v, -0.5);
    EXPECT_FALSE(text_to_number("1x+1", v));
    EXPECT_FALSE(text_to_number("2.0x+1", v));
    EXPECT_FALSE(text_to_number("1.0x", v));

    ASSERT_TRUE(text_to_number(".", v));
    EXPECT_EQ(missing_index(v), 0);
    ASSERT_TRUE(text_to_number(".k", v));
    EXPECT_EQ(missing_index(v), 11);
    EXPECT_FALSE(text_to_number(".A", v));
    EXPECT_FALSE(text_to_number(".ab", v));
    EXPECT_FALSE(text_to_number(".a", v, false));
}

TEST_F(Fmts, TextRoundTripsThroughTheReader) {
    std::mt19937_64 rng(12345);
    Fmt fx = parsed("%21x"), fg = parsed("%25.17g");
    char out[FMT_BUFSIZE];
    for (int i = 0; i < 20000; ++i) {
        uint64_t u = rng();
        double v;
        std::memcpy(&v, &u, 8);
        if (!(std::fabs(v) < session::lim.dot)) continue;
        double back;
        fmt_number(v, fx, out, sizeof out);
        ASSERT_TRUE(text_to_number(out, back)) << out;
        EXPECT_EQ(back, v) << out;
        int n = fmt_number(v, fg, out, sizeof out);
        const char *p = out;
        while (*p == ' ')
            ++p;
        ASSERT_TRUE(text_to_number(std::string_view(p, out + n - p), back)) << out;
        EXPECT_EQ(back, v) << out;
    }
}
