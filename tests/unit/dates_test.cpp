// The calendar: elapsed days over the whole range, clock times, leap seconds, date text both ways.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "data/dates.h"
#include "data/fmt.h"
#include "session/hexfloat.h"

using namespace data;

namespace {

constexpr double DAY = 86400000.0;

const char LEAPS[] = "* days that ended with a leap second\n"
                     "30jun1972\t31dec1972\n"
                     "\n"
                     "   31dec2016   \n"
                     "*31dec1990 is a comment line too\n"
                     "30jun1981\n";

class Dates : public ::testing::Test {
  protected:
    static void SetUpTestSuite() { ASSERT_TRUE(session::compute_limits()); }
    void SetUp() override { leap_reset(); }
    void TearDown() override { leap_reset(); }
    static bool isdot(double v) { return v == session::lim.dot; }
};

std::string show(double v, const char *fmt) {
    Fmt f;
    EXPECT_EQ(fmt_parse(fmt, f, true), 0) << fmt;
    char out[FMT_BUFSIZE];
    fmt_number(v, f, out, sizeof out);
    return out;
}

} // namespace

// ---- the calendar ----

TEST_F(Dates, EpochAndRangeEnds) {
    EXPECT_EQ(td_of_civil(1960, 1, 1), 0);
    EXPECT_EQ(td_of_civil(1959, 12, 31), -1);
    EXPECT_EQ(td_of_civil(100, 1, 1), TD_MIN);
    EXPECT_EQ(td_of_civil(9999, 12, 31), TD_MAX);
    EXPECT_EQ(td_of_civil(9999, 12, 12), LEAP_SENTINEL);
    EXPECT_EQ(mdy(1, 1, 2000), 14610);
    EXPECT_EQ(mdy(1, 1, 100), TD_MIN);
    EXPECT_EQ(mdy(12, 31, 9999), TD_MAX);
    EXPECT_TRUE(isdot(mdy(12, 31, 99)));
    EXPECT_TRUE(isdot(mdy(1, 1, 10000)));
}

TEST_F(Dates, EveryDayOfTheRangeRoundTrips) {
    int y, m, d;
    civil_of_td(TD_MIN, y, m, d);
    ASSERT_EQ(y, 100);
    ASSERT_EQ(m, 1);
    ASSERT_EQ(d, 1);
    int py = y, pm = m, pd = d;
    for (int td = TD_MIN + 1; td <= TD_MAX; ++td) {
        civil_of_td(td, y, m, d);
        bool next_day = y == py && m == pm && d == pd + 1;
        bool next_month = y == py && m == pm + 1 && d == 1;
        bool next_year = y == py + 1 && m == 1 && d == 1 && pm == 12 && pd == 31;
        ASSERT_TRUE(next_day || next_month || next_year) << td;
        ASSERT_EQ(td_of_civil(y, m, d), td);
        py = y, pm = m, pd = d;
    }
    EXPECT_EQ(y, 9999);
    EXPECT_EQ(m, 12);
    EXPECT_EQ(d, 31);
}

TEST_F(Dates, LeapYearsAndCenturyRules) {
    EXPECT_FALSE(isdot(mdy(2, 29, 2000))); // divisible by 400
    EXPECT_TRUE(isdot(mdy(2, 29, 1900)));  // a century
    EXPECT_TRUE(isdot(mdy(2, 29, 1700)));
    EXPECT_FALSE(isdot(mdy(2, 29, 1600)));
    EXPECT_FALSE(isdot(mdy(2, 29, 2004)));
    EXPECT_TRUE(isdot(mdy(2, 29, 2003)));
    EXPECT_FALSE(isdot(mdy(2, 29, 100 * 4 * 6)));
    EXPECT_EQ(doy(mdy(12, 31, 2000)), 366);
    EXPECT_EQ(doy(mdy(12, 31, 1900)), 365);
    EXPECT_EQ(mdy(3, 1, 2000) - mdy(2, 28, 2000), 2);
    EXPECT_EQ(mdy(3, 1, 1900) - mdy(2, 28, 1900), 1);
    EXPECT_TRUE(isdot(mdy(4, 31, 2000)));
    EXPECT_TRUE(isdot(mdy(13, 1, 2000)));
    EXPECT_TRUE(isdot(mdy(0, 1, 2000)));
    EXPECT_TRUE(isdot(mdy(1, 0, 2000)));
    EXPECT_TRUE(isdot(mdy(1.5, 1, 2000)));
    EXPECT_TRUE(isdot(mdy(1, 1, session::lim.dot)));
}

TEST_F(Dates, PartsOfADay) {
    EXPECT_EQ(dow(0), 5); // a Friday
    EXPECT_EQ(dow(-1), 4);
    EXPECT_EQ(dow(mdy(1, 1, 2000)), 6);
    EXPECT_EQ(dow(TD_MIN), 5); // 01jan0100, proleptic
    EXPECT_EQ(day(mdy(7, 14, 1989)), 14);
    EXPECT_EQ(month(mdy(7, 14, 1989)), 7);
    EXPECT_EQ(year(mdy(7, 14, 1989)), 1989);
    EXPECT_EQ(yofd(-1), 1959);
    EXPECT_EQ(year(-0.5), 1959);
    EXPECT_EQ(dofd(3.7), 3);
    EXPECT_EQ(year(TD_MAX), 9999);
    EXPECT_TRUE(isdot(year(TD_MAX + 1)));
    EXPECT_EQ(year(TD_MIN), 100);
    EXPECT_TRUE(isdot(year(TD_MIN - 1)));
    EXPECT_EQ(week(mdy(1, 7, 2001)), 1);
    EXPECT_EQ(week(mdy(1, 8, 2001)), 2);
    EXPECT_EQ(week(mdy(12, 23, 2001)), 51); // day 357
    EXPECT_EQ(week(mdy(12, 24, 2001)), 52);
    EXPECT_EQ(week(mdy(12, 31, 2001)), 52); // the 52nd week takes the rest of the year
    EXPECT_EQ(quarter(mdy(3, 31, 2001)), 1);
    EXPECT_EQ(quarter(mdy(4, 1, 2001)), 2);
    EXPECT_EQ(halfyear(mdy(6, 30, 2001)), 1);
    EXPECT_EQ(halfyear(mdy(7, 1, 2001)), 2);
    EXPECT_TRUE(isdot(dow(session::lim.dot)));
}

TEST_F(Dates, CoarserKinds) {
    EXPECT_EQ(mofd(0), 0);
    EXPECT_EQ(mofd(mdy(12, 15, 1959)), -1);
    EXPECT_EQ(mofd(mdy(3, 31, 2000)), 482);
    EXPECT_EQ(qofd(mdy(3, 31, 2000)), 160);
    EXPECT_EQ(hofd(mdy(7, 1, 1960)), 1);
    EXPECT_EQ(wofd(mdy(12, 31, 1960)), 51);
    EXPECT_EQ(wofd(mdy(1, 1, 1961)), 52);
    EXPECT_EQ(ym(1960, 1), 0);
    EXPECT_EQ(ym(1000, 1), -11520);
    EXPECT_EQ(ym(9999, 12), (9999 - 1960) * 12 + 11);
    EXPECT_TRUE(isdot(ym(999, 12)));
    EXPECT_TRUE(isdot(ym(10000, 1)));
    EXPECT_TRUE(isdot(ym(2000, 13)));
    EXPECT_TRUE(isdot(ym(2000, 0)));
    EXPECT_EQ(yw(1960, 52), 51);
    EXPECT_TRUE(isdot(yw(1960, 53)));
    EXPECT_EQ(yq(1960, 4), 3);
    EXPECT_TRUE(isdot(yq(1960, 5)));
    EXPECT_EQ(yh(1961, 1), 2);
    EXPECT_TRUE(isdot(yh(1961, 3)));
    EXPECT_EQ(dofm(ym(2000, 3)), mdy(3, 1, 2000));
    EXPECT_EQ(dofm(-1), mdy(12, 1, 1959));
    EXPECT_EQ(dofw(51), mdy(12, 23, 1960)); // day 358: the 52nd week
    EXPECT_EQ(dofw(52), mdy(1, 1, 1961));
    EXPECT_EQ(dofq(-1), mdy(10, 1, 1959));
    EXPECT_EQ(dofh(1), mdy(7, 1, 1960));
    EXPECT_EQ(dofy(2000), 14610);
    EXPECT_TRUE(isdot(dofy(99)));
    EXPECT_TRUE(isdot(dofy(10000)));
    for (int m = -22000; m < 30000; m += 7)
        ASSERT_EQ(mofd(dofm(m)), m);
    for (int w = -3000; w < 3000; ++w)
        ASSERT_EQ(wofd(dofw(w)), w);
}

// ---- clock times ----

TEST_F(Dates, ClockParts) {
    EXPECT_EQ(hms(13, 42, 0.5), 49320500);
    EXPECT_TRUE(isdot(hms(24, 0, 0)));
    EXPECT_TRUE(isdot(hms(0, 60, 0)));
    EXPECT_TRUE(isdot(hms(0, 0, 60)));
    EXPECT_TRUE(isdot(hms(-1, 0, 0)));
    EXPECT_EQ(dhms(1, 0, 0, 0), DAY);
    EXPECT_EQ(mdyhms(1, 1, 1960, 0, 0, 0), 0);
    EXPECT_EQ(mdyhms(1, 2, 1960, 1, 2, 3), DAY + 3723000);
    EXPECT_EQ(hh(49320500), 13);
    EXPECT_EQ(mm(49320500), 42);
    EXPECT_EQ(ss(49320500), 0.5);
    EXPECT_EQ(hh(-1), 23);
    EXPECT_EQ(mm(-1), 59);
    EXPECT_DOUBLE_EQ(ss(-1), 59.999);
    EXPECT_EQ(dofc(-1), -1);
    EXPECT_EQ(dofc(DAY), 1);
    EXPECT_EQ(cofd(1), DAY);
    EXPECT_EQ(hours(5400000), 1.5);
    EXPECT_EQ(minutes(90000), 1.5);
    EXPECT_EQ(seconds(1500), 1.5);
    EXPECT_EQ(msofhours(2), 7200000);
    EXPECT_EQ(msofminutes(2), 120000);
    EXPECT_EQ(msofseconds(2), 2000);
    EXPECT_TRUE(isdot(hh(session::lim.dot)));
}

// ---- leap seconds ----

TEST_F(Dates, LeapTableFromText) {
    ASSERT_EQ(leap_load_text(LEAPS), 0);
    ASSERT_EQ(leap.n, 5);
    EXPECT_EQ(leap.day[0], mdy(6, 30, 1972));
    EXPECT_EQ(leap.day[1], mdy(12, 31, 1972));
    EXPECT_EQ(leap.day[2], mdy(6, 30, 1981));
    EXPECT_EQ(leap.day[3], mdy(12, 31, 2016));
    EXPECT_EQ(leap.day[4], LEAP_SENTINEL);
}

TEST_F(Dates, LeapTableFaults) {
    EXPECT_EQ(leap_load_text("30jun1972 sometime\n"), 610);
    EXPECT_EQ(leap.n, 1);
    EXPECT_EQ(leap.day[0], LEAP_SENTINEL);

    std::string many;
    for (int i = 0; i < LEAP_MAX + 1; ++i)
        many += "30jun1972\n";
    EXPECT_EQ(leap_load_text(many), 610);
    EXPECT_EQ(leap.n, 1);

    std::string full;
    for (int i = 0; i < LEAP_MAX; ++i)
        full += "30jun1972\n";
    EXPECT_EQ(leap_load_text(full), 0);

    // a line is read 120 characters at a time: a date across the cut is two bad tokens
    std::string cut = std::string(115, ' ') + "31dec1972\n";
    EXPECT_EQ(leap_load_text(cut), 610);
    std::string fits = std::string(110, ' ') + "31dec1972\n";
    EXPECT_EQ(leap_load_text(fits), 0);

    EXPECT_EQ(leap_load("/nonexistent/leapseconds.maint"), 603);
    EXPECT_EQ(leap.n, 1);
}

TEST_F(Dates, LeapTableFromFileAndLocator) {
    char path[] = "/tmp/orvat_leapXXXXXX";
    int fd = mkstemp(path);
    ASSERT_GE(fd, 0);
    FILE *fp = fdopen(fd, "w");
    std::fputs(LEAPS, fp);
    std::fclose(fp);
    static std::string where;
    where = path;
    leap_locate = [](char *p, int cap) {
        std::snprintf(p, cap, "%s", where.c_str());
        return true;
    };
    double c = mdyhms(7, 1, 1972, 0, 0, 0);
    EXPECT_EQ(Cofc(c), c + 1000); // read on first need
    EXPECT_EQ(leap.n, 5);
    leap_locate = nullptr;
    std::remove(path);
}

TEST_F(Dates, MissingFileLeavesOnlyTheSentinel) {
    leap_locate = nullptr;
    double c = mdyhms(1, 1, 2020, 0, 0, 0);
    EXPECT_EQ(Cofc(c), c);
    EXPECT_EQ(cofC(c), c);
    EXPECT_EQ(leap.n, 1);
    EXPECT_EQ(show(c, "%tC"), show(c, "%tc"));
}

TEST_F(Dates, LeapSecondsShiftClockTimes) {
    ASSERT_EQ(leap_load_text(LEAPS), 0);
    double jun30 = mdy(6, 30, 1972), jul1 = jun30 + 1;
    EXPECT_EQ(Cofc(cofd(jun30)), cofd(jun30));
    EXPECT_EQ(Cofc(cofd(jul1) - 1), cofd(jul1) - 1);
    EXPECT_EQ(Cofc(cofd(jul1)), cofd(jul1) + 1000);
    EXPECT_EQ(Cofd(mdy(1, 1, 1973)), cofd(mdy(1, 1, 1973)) + 2000);
    EXPECT_EQ(Cofd(mdy(1, 1, 2020)), cofd(mdy(1, 1, 2020)) + 4000);

    double leapsec = Cdhms(jun30, 23, 59, 60);
    EXPECT_EQ(leapsec, cofd(jul1)); // 23:59:60 of 30jun1972 with no leap second before it
    EXPECT_EQ(Cmdyhms(6, 30, 1972, 23, 59, 60.25), leapsec + 250);
    EXPECT_TRUE(isdot(Cdhms(jun30 - 1, 23, 59, 60)));
    EXPECT_TRUE(isdot(dhms(jun30, 23, 59, 60)));
    EXPECT_EQ(hhC(leapsec), 23);
    EXPECT_EQ(mmC(leapsec), 59);
    EXPECT_EQ(ssC(leapsec), 60);
    EXPECT_EQ(ssC(leapsec + 500), 60.5);
    EXPECT_EQ(ssC(leapsec + 1000), 0);
    EXPECT_EQ(hhC(leapsec + 1000), 0);
    EXPECT_EQ(dofC(leapsec), jun30);
    EXPECT_EQ(dofC(leapsec + 1000), jul1);
    // the leap second maps onto the last second of its day, once more
    EXPECT_EQ(cofC(leapsec), cofd(jul1) - 1000);
    EXPECT_EQ(cofC(leapsec + 1000), cofd(jul1));
    EXPECT_EQ(Chms(1, 0, 0), 3600000);

    // the last second of a leap day after an earlier leap second: the count goes by the moment
    double dec31 = cofd(mdy(1, 1, 1973)) - 1;
    EXPECT_EQ(Cofc(dec31), dec31 + 1000);
    EXPECT_EQ(cofC(Cofc(dec31)), dec31);
    EXPECT_EQ(ssC(Cofc(dec31)), 59.999);
    EXPECT_EQ(show(Cofc(dec31), "%tCHH:MM:SS.sss"), "23:59:59.999");
    EXPECT_EQ(show(Cofc(dec31) + 1, "%tCHH:MM:SS.sss"), "23:59:60.000");
    EXPECT_EQ(show(Cofc(dec31) + 1001, "%tC"), "01jan1973 00:00:00");

    // away from leap seconds the two clocks convert back and forth exactly
    for (double c = cofd(jun30) - 5 * DAY; c < cofd(mdy(1, 3, 1973)); c += 3599999)
        ASSERT_EQ(cofC(Cofc(c)), c);
}

// ---- text to date ----

TEST_F(Dates, DailyTextUnderMasks) {
    EXPECT_EQ(date("01jan1960", "DMY"), 0);
    EXPECT_EQ(date("1 January 1960", "DMY"), 0);
    EXPECT_EQ(date("January 1, 1960", "MDY"), 0);
    EXPECT_EQ(date("JAN 1 1960", "MDY"), 0);
    EXPECT_EQ(date("1960-01-01", "YMD"), 0);
    EXPECT_EQ(date("19600101", "YMD"), 0);
    EXPECT_EQ(date("010160", "DM19Y"), 0);
    EXPECT_EQ(date("1/1/60", "MD19Y"), 0);
    EXPECT_EQ(date("1/1/99", "MD20Y"), mdy(1, 1, 2099));
    EXPECT_EQ(date("1/1/60", "MDY", 2020), 0);
    EXPECT_EQ(date("1/1/60", "MDY", 1959), mdy(1, 1, 1860));
    EXPECT_EQ(date("1/1/1960", "MDY", 1900), 0);
    EXPECT_EQ(date("Friday, 1jan1960", "#DMY"), 0);
    EXPECT_EQ(date("jan 1960", "MY"), 0);
    EXPECT_EQ(date("31dec9999", "DMY"), TD_MAX);
    EXPECT_EQ(date("01jan0100", "DMY"), TD_MIN);
    EXPECT_TRUE(isdot(date("1/1/60", "MDY")));
    EXPECT_TRUE(isdot(date("32jan1960", "DMY")));
    EXPECT_TRUE(isdot(date("29feb1900", "DMY")));
    EXPECT_TRUE(isdot(date("foo 1jan1960", "DMY")));
    EXPECT_TRUE(isdot(date("1jan1960 12", "DMY")));
    EXPECT_TRUE(isdot(date("01jan1960", "DMYX")));
    EXPECT_TRUE(isdot(date("01jan1960", "DDMY")));
    EXPECT_TRUE(isdot(date("", "DMY")));
    EXPECT_EQ(daily("2000-02-29", "YMD"), mdy(2, 29, 2000));
}

TEST_F(Dates, ClockTextUnderMasks) {
    EXPECT_EQ(clock("01jan1960 13:42:00.5", "DMYhms"), 49320500);
    EXPECT_EQ(clock("1960-01-02T00:00:01", "YMDhms"), DAY + 1000);
    EXPECT_EQ(clock("13:42", "hm"), 49320000);
    EXPECT_EQ(clock("1:42 pm", "hm"), 49320000);
    EXPECT_EQ(clock("1:42 P.M.", "hm"), 49320000);
    EXPECT_EQ(clock("12:00 a.m.", "hm"), 0);
    EXPECT_EQ(clock("12:30am", "hm"), 1800000);
    EXPECT_EQ(clock("12:30pm", "hm"), 45000000);
    EXPECT_TRUE(isdot(clock("13:00 pm", "hm")));
    EXPECT_TRUE(isdot(clock("24:00", "hm")));
    EXPECT_TRUE(isdot(clock("30jun1972 23:59:60", "DMYhms")));
    leap_load_text(LEAPS);
    EXPECT_EQ(Clock("30jun1972 23:59:60", "DMYhms"), Cdhms(mdy(6, 30, 1972), 23, 59, 60));
    EXPECT_TRUE(isdot(Clock("29jun1972 23:59:60", "DMYhms")));
    EXPECT_EQ(Clock("01jul1972 00:00:00", "DMYhms"), cofd(mdy(7, 1, 1972)) + 1000);
}

TEST_F(Dates, PeriodTextUnderMasks) {
    EXPECT_EQ(yearly("1960", "Y"), 1960);
    EXPECT_EQ(yearly("60", "19Y"), 1960);
    EXPECT_TRUE(isdot(yearly("999", "Y")));
    EXPECT_EQ(halfyearly("1960h2", "YH"), 1);
    EXPECT_EQ(quarterly("1960q4", "YQ"), 3);
    EXPECT_EQ(quarterly("2000 1", "YQ"), 160);
    EXPECT_TRUE(isdot(quarterly("2000q5", "YQ")));
    EXPECT_EQ(monthly("1960m12", "YM"), 11);
    EXPECT_EQ(monthly("Feb 1961", "MY"), 13);
    EXPECT_EQ(monthly("196102", "YM"), 13);
    EXPECT_EQ(weekly("1960w52", "YW"), 51);
    EXPECT_TRUE(isdot(weekly("1960w53", "YW")));
}

TEST_F(Dates, Literals) {
    EXPECT_EQ(date_literal('d', "01jan1960"), 0);
    EXPECT_EQ(date_literal('d', " 2jan1960 "), 1);
    EXPECT_EQ(date_literal('c', "01jan1960 13:42:00"), 49320000);
    EXPECT_EQ(date_literal('c', "02jan1960 13:42"), DAY + 49320000);
    EXPECT_EQ(date_literal('c', "13:42"), 49320000);
    EXPECT_EQ(date_literal('c', "9:05:01"), 32701000);
    EXPECT_EQ(date_literal('c', ":30:15"), 1815000);
    EXPECT_TRUE(isdot(date_literal('c', ":30"))); // every field of the mask must be there
    EXPECT_EQ(date_literal('c', "02jan1960"), DAY);
    EXPECT_EQ(date_literal('m', "1960m1"), 0);
    EXPECT_EQ(date_literal('q', "2000q1"), 160);
    EXPECT_EQ(date_literal('w', "1960w2"), 1);
    EXPECT_EQ(date_literal('h', "1960h2"), 1);
    EXPECT_EQ(date_literal('y', "1999"), 1999);
    EXPECT_TRUE(isdot(date_literal('d', "1960m1")));
}

// ---- date formats ----

TEST_F(Dates, DailyDisplay) {
    EXPECT_EQ(show(0, "%td"), "01jan1960");
    EXPECT_EQ(show(0.9, "%td"), "01jan1960");
    EXPECT_EQ(show(-1, "%td"), "31dec1959");
    EXPECT_EQ(show(TD_MIN, "%td"), "01jan0100");
    EXPECT_EQ(show(TD_MAX, "%td"), "31dec9999");
    EXPECT_EQ(show(mdy(2, 29, 2000), "%d"), "29feb2000");
    // beyond the calendar the number shows through %9.0g
    EXPECT_EQ(show(TD_MAX + 1, "%td"), "  2936550");
    EXPECT_EQ(show(TD_MIN - 1, "%td"), "  -679351");
    EXPECT_EQ(show(0, "%tdDD/NN/CCYY"), "01/01/1960");
    EXPECT_EQ(show(0, "%tdMonth_dd,_CCYY"), "   January 1, 1960");
    EXPECT_EQ(show(0, "%-tdMonth_dd,_CCYY"), "January 1, 1960   ");
    EXPECT_EQ(show(mdy(9, 5, 2003), "%tdmonth_nn_yy_YY_cc_CC"), "  september 9 3 03 20 20");
    EXPECT_EQ(show(0, "%tdDay_Da_da_day"), "Fri Fr fr fri");
    EXPECT_EQ(show(0, "%-tdDAYNAME"), "FRIDAY   ");
    EXPECT_EQ(show(mdy(1, 5, 1960), "%-tdDayname+dayname"), "Tuesdaytuesday    ");
    EXPECT_EQ(show(mdy(12, 31, 2000), "%tdJJJ"), "366");
    EXPECT_EQ(show(0, "%tdjjj"), "  1");
    EXPECT_EQ(show(0, "%tdJJJ"), "001");
    EXPECT_EQ(show(mdy(8, 1, 1960), "%tdCCYY_q_h"), "1960 3 2");
    EXPECT_EQ(show(mdy(12, 31, 1960), "%tdWW.ww"), "52.52");
    EXPECT_EQ(show(0, "%tdNN-DD'YY\\!x!!"), "01-01'60\\x!");
}

TEST_F(Dates, ClockDisplay) {
    EXPECT_EQ(show(0, "%tc"), "01jan1960 00:00:00");
    EXPECT_EQ(show(49320567, "%tc"), "01jan1960 13:42:00");
    EXPECT_EQ(show(-1, "%tc"), "31dec1959 23:59:59");
    EXPECT_EQ(show(49320567, "%tcHH:MM:SS.sss"), "13:42:00.567");
    EXPECT_EQ(show(49320567, "%tcSS.ss"), "00.56");
    EXPECT_EQ(show(49320567, "%tcSS.s"), "00.5");
    EXPECT_EQ(show(49320567, "%tcHh:MM_AM"), "01:42 PM");
    EXPECT_EQ(show(49320567, "%tchh:mm_am"), " 1:42 pm");
    EXPECT_EQ(show(0, "%tcHh_a.m."), "12 a.m.");
    EXPECT_EQ(show(43200000, "%tcHh_A.M."), "12 P.M.");
    EXPECT_EQ(show(3723000, "%tchH:mm:ss"), "   1:2:3");
    EXPECT_EQ(show(cofd(TD_MAX + 1) - 1, "%tc"), "31dec9999 23:59:59");
    EXPECT_EQ(show(cofd(TD_MAX + 1), "%tc"), " 2.54e+14");
}

TEST_F(Dates, LeapSecondDisplay) {
    leap_load_text(LEAPS);
    double leapsec = Cdhms(mdy(6, 30, 1972), 23, 59, 60);
    EXPECT_EQ(show(leapsec, "%tC"), "30jun1972 23:59:60");
    EXPECT_EQ(show(leapsec + 999, "%tCHH:MM:SS.sss"), "23:59:60.999");
    EXPECT_EQ(show(leapsec + 1000, "%tC"), "01jul1972 00:00:00");
    EXPECT_EQ(show(leapsec - 1000, "%tC"), "30jun1972 23:59:59");
    EXPECT_EQ(show(leapsec, "%tc"), "01jul1972 00:00:00");
}

TEST_F(Dates, PeriodDisplay) {
    EXPECT_EQ(show(0, "%tm"), " 1960m1");
    EXPECT_EQ(show(11, "%tm"), "1960m12");
    EXPECT_EQ(show(-1, "%tm"), "1959m12");
    EXPECT_EQ(show(3, "%tq"), "1960q4");
    EXPECT_EQ(show(1, "%th"), "1960h2");
    EXPECT_EQ(show(51, "%tw"), "1960w52");
    EXPECT_EQ(show(0, "%-tw"), "1960w1 ");
    EXPECT_EQ(show(1960, "%ty"), "1960");
    EXPECT_EQ(show(99, "%ty"), "       99");
    EXPECT_EQ(show(1, "%tqCCYY-NN"), "1960-04");
    EXPECT_EQ(show(0, "%twCCYY_WW"), "1960 01");
    EXPECT_EQ(show(5, "%tg"), "        5");
    EXPECT_EQ(fmt_width([] {
                  Fmt f;
                  fmt_parse("%tm", f, true);
                  return f;
              }()),
              7);
}
