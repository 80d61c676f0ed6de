// The calendar: elapsed dates and clock times, the leap-second table, date formats, date functions.
#pragma once
#include <cstdint>
#include <limits>
#include <string_view>

#include "data/fmt.h"

namespace data {

// The calendar runs from 01jan0100 to 31dec9999.
constexpr int TD_MIN = -679350;
constexpr int TD_MAX = 2936549;
constexpr double MS_PER_DAY = 86400000.0;

// Codes of a date display part: X(id, text, widest output, what it gives). Matching takes the
// longest text that fits, so "hh" (hour) wins over "h" (half-year) and "Dayname" over "Day".
#define DATE_CODES                                                                                           \
    X(DC_LIT, "", 1, "one literal byte")                                                                     \
    X(DC_SKIP, "+", 0, "nothing: separates two fields")                                                      \
    X(DC_BLANK, "_", 1, "a blank")                                                                           \
    X(DC_CC, "CC", 2, "century, two digits")                                                                 \
    X(DC_cc, "cc", 2, "century")                                                                             \
    X(DC_YY, "YY", 2, "year within the century, two digits")                                                 \
    X(DC_yy, "yy", 2, "year within the century")                                                             \
    X(DC_NN, "NN", 2, "month number, two digits")                                                            \
    X(DC_nn, "nn", 2, "month number")                                                                        \
    X(DC_Month, "Month", 9, "month name, capitalised")                                                       \
    X(DC_month, "month", 9, "month name, lower case")                                                        \
    X(DC_Mon, "Mon", 3, "month name cut to three, capitalised")                                              \
    X(DC_mon, "mon", 3, "month name cut to three, lower case")                                               \
    X(DC_DD, "DD", 2, "day of the month, two digits")                                                        \
    X(DC_dd, "dd", 2, "day of the month")                                                                    \
    X(DC_JJJ, "JJJ", 3, "day of the year, three digits")                                                     \
    X(DC_jjj, "jjj", 3, "day of the year")                                                                   \
    X(DC_h, "h", 1, "half-year")                                                                             \
    X(DC_q, "q", 1, "quarter")                                                                               \
    X(DC_WW, "WW", 2, "week, two digits")                                                                    \
    X(DC_ww, "ww", 2, "week")                                                                                \
    X(DC_HH, "HH", 2, "hour 0-23, two digits")                                                               \
    X(DC_hH, "hH", 2, "hour 0-23")                                                                           \
    X(DC_Hh, "Hh", 2, "hour 1-12, two digits")                                                               \
    X(DC_hh, "hh", 2, "hour 1-12")                                                                           \
    X(DC_MM, "MM", 2, "minute, two digits")                                                                  \
    X(DC_mm, "mm", 2, "minute")                                                                              \
    X(DC_SS, "SS", 2, "second, two digits")                                                                  \
    X(DC_ss, "ss", 2, "second")                                                                              \
    X(DC_FRAC1, ".s", 2, "tenths of the second, with the point")                                             \
    X(DC_FRAC2, ".ss", 3, "hundredths of the second, with the point")                                        \
    X(DC_FRAC3, ".sss", 4, "milliseconds, with the point")                                                   \
    X(DC_DAYNAME, "DAYNAME", 9, "day of the week, upper case")                                               \
    X(DC_Dayname, "Dayname", 9, "day of the week, capitalised")                                              \
    X(DC_dayname, "dayname", 9, "day of the week, lower case")                                               \
    X(DC_Day, "Day", 3, "day of the week cut to three, capitalised")                                         \
    X(DC_day, "day", 3, "day of the week cut to three")                                                      \
    X(DC_Da, "Da", 2, "day of the week cut to two, capitalised")                                             \
    X(DC_da, "da", 2, "day of the week cut to two")                                                          \
    X(DC_AM, "AM", 2, "AM or PM")                                                                            \
    X(DC_am, "am", 2, "am or pm")                                                                            \
    X(DC_AMDOT, "A.M.", 4, "A.M. or P.M.")                                                                   \
    X(DC_amdot, "a.m.", 4, "a.m. or p.m.")

enum DateCode : uint8_t {
#define X(id, text, width, what) id,
    DATE_CODES
#undef X
        DC_COUNT
};

// Elapsed days and the civil calendar. td_of_civil does no checking; civil_of_td needs a day
// within the range.
int td_of_civil(int y, int m, int d);
void civil_of_td(int td, int &y, int &m, int &d);
bool civil_ok(int y, int m, int d);

// Date formats. date_parse_display reads the display part of a %t format of kind style into
// f.items (an empty part gives the kind's default) and returns 0 or 120; date_width gives the
// widest text it can make; date_text writes the text of v and returns its length, or -1 when v
// is no date of the range.
int date_parse_display(std::string_view part, char style, Fmt &f);
int date_width(const Fmt &f);
int date_text(double v, const Fmt &f, char *out, int cap);

// Leap seconds: the days that ended with a leap second, ascending, ending in the sentinel day.
constexpr int LEAP_MAX = 200;
constexpr int LEAP_SENTINEL = 2936530; // 12dec9999
struct LeapTable {
    int n = 0; // entries, the sentinel included
    int32_t day[LEAP_MAX + 1] = {};
    bool ready = false; // read (or given up on) already
};
extern LeapTable leap;

// Finds leapseconds.maint on the system path; set by the owner of that path. Returns true with
// the file's path in path.
extern bool (*leap_locate)(char *path, int cap);

// Reads the table from a file or from text; on failure the table holds only the sentinel, the
// message is written and the code returned (601 not found, 603 unreadable, 610 bad content).
int leap_load(const char *path);
int leap_load_text(std::string_view text);
// Forgets the table, so that the next need reads the file again.
void leap_reset();
// Reads the table on first need.
void leap_ensure();

// Functions of the expression language. Every argument and result is a double; a missing
// argument or an impossible date gives `.`. Day arguments are taken as the day they fall in.
constexpr double NOARG = std::numeric_limits<double>::quiet_NaN(); // an optional argument left out

double mdy(double m, double d, double y);
double dow(double td);
double day(double td);
double month(double td);
double year(double td);
double yofd(double td);
double doy(double td);
double week(double td);
double quarter(double td);
double halfyear(double td);
double dofd(double td);
double dofy(double ty);
double dofh(double th);
double dofq(double tq);
double dofm(double tm);
double dofw(double tw);
double hofd(double td);
double qofd(double td);
double mofd(double td);
double wofd(double td);
double yw(double y, double w);
double ym(double y, double m);
double yq(double y, double q);
double yh(double y, double h);

double hms(double h, double m, double s);
double Chms(double h, double m, double s);
double dhms(double td, double h, double m, double s);
double Cdhms(double td, double h, double m, double s);
double mdyhms(double mo, double d, double y, double h, double mi, double s);
double Cmdyhms(double mo, double d, double y, double h, double mi, double s);
double hh(double tc);
double mm(double tc);
double ss(double tc);
double hhC(double tC);
double mmC(double tC);
double ssC(double tC);
double dofc(double tc);
double dofC(double tC);
double cofd(double td);
double Cofd(double td);
double Cofc(double tc);
double cofC(double tC);
double hours(double ms);
double minutes(double ms);
double seconds(double ms);
double msofhours(double h);
double msofminutes(double m);
double msofseconds(double s);

// Text to date under a mask of D M Y h m s W Q H, with # to skip a piece of the text; digits in
// front of Y give the century of a two-digit year ("MD19Y"), and otherwise topyear does: the year
// is the largest one not above it.
double date(std::string_view s, std::string_view mask, double topyear = NOARG);
inline double daily(std::string_view s, std::string_view mask, double topyear = NOARG) {
    return date(s, mask, topyear);
}
double clock(std::string_view s, std::string_view mask, double topyear = NOARG);
double Clock(std::string_view s, std::string_view mask, double topyear = NOARG);
double yearly(std::string_view s, std::string_view mask, double topyear = NOARG);
double halfyearly(std::string_view s, std::string_view mask, double topyear = NOARG);
double quarterly(std::string_view s, std::string_view mask, double topyear = NOARG);
double monthly(std::string_view s, std::string_view mask, double topyear = NOARG);
double weekly(std::string_view s, std::string_view mask, double topyear = NOARG);

// The date literals tc() tC() td() th() tm() tq() tw() (and the older d() h() q() m() w() y()),
// and the texts of tin() and twithin(): text read in the units of kind ('c' 'C' 'd' 'h' 'm' 'q'
// 'w' 'y'). The mask of a clock kind follows from the colons in the text.
double date_literal(char kind, std::string_view text);

} // namespace data
