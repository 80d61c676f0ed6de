// The calendar: elapsed days, clock times with and without leap seconds, date text both ways.
#include "data/dates.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "data/types.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"

namespace data {

namespace {

inline double dot() { return session::lim.dot; }
inline bool isint(double x) { return x == std::floor(x); }

int64_t floordiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }
int64_t floormod(int64_t a, int64_t b) { return a - floordiv(a, b) * b; }

const char *const month_name[12] = {"january", "february", "march",     "april",   "may",      "june",
                                    "july",    "august",   "september", "october", "november", "december"};
const char *const day_name[7] = {"sunday",   "monday", "tuesday", "wednesday",
                                 "thursday", "friday", "saturday"};

bool leap_year(int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

int days_in_month(int y, int m) {
    static const int dim[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && leap_year(y) ? 29 : dim[m - 1];
}

bool year_ok(int64_t y) { return y >= 100 && y <= 9999; }

// The day a value falls in, when it lies within the calendar.
bool day_of(double x, int &td) {
    if (is_missing(x)) return false;
    double f = std::floor(x);
    if (f < TD_MIN || f > TD_MAX) return false;
    td = (int)f;
    return true;
}

int doy_of(int td, int y) { return td - td_of_civil(y, 1, 1) + 1; }
int week_of(int doy) { return std::min(52, (doy - 1) / 7 + 1); }

} // namespace

// ---- the civil calendar (proleptic Gregorian) ----

int td_of_civil(int y, int m, int d) {
    int64_t yy = y - (m <= 2);
    int64_t era = floordiv(yy, 400);
    int64_t yoe = yy - era * 400;
    int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
    int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return (int)(era * 146097 + doe - 719468 + 3653); // 01jan1960 lies 3653 days before 01jan1970
}

void civil_of_td(int td, int &y, int &m, int &d) {
    int64_t z = (int64_t)td - 3653 + 719468;
    int64_t era = floordiv(z, 146097);
    int64_t doe = z - era * 146097;
    int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    int64_t mp = (5 * doy + 2) / 153;
    d = (int)(doy - (153 * mp + 2) / 5 + 1);
    m = (int)(mp < 10 ? mp + 3 : mp - 9);
    y = (int)(yoe + era * 400 + (m <= 2));
}

bool civil_ok(int y, int m, int d) {
    return year_ok(y) && m >= 1 && m <= 12 && d >= 1 && d <= days_in_month(y, m);
}

// ---- leap seconds ----

LeapTable leap;
bool (*leap_locate)(char *path, int cap) = nullptr;

namespace {

void leap_sentinel_only() {
    leap.n = 1;
    leap.day[0] = LEAP_SENTINEL;
    leap.ready = true;
}

int leap_fail(const char *msg, int code) {
    leap_sentinel_only();
    return session::fail(code, msg);
}

// Reads one line of the file into days; 0, or -1 for an invalid token, -2 for too many.
int leap_line(char *line, int &n, int32_t *days) {
    for (char *p = line; *p; ++p)
        if (*p == '\t' || *p == '\n' || *p == '\r') *p = ' ';
    bool first = true;
    for (char *p = line;;) {
        while (*p == ' ')
            ++p;
        if (!*p) return 0;
        char *e = p;
        while (*e && *e != ' ')
            ++e;
        if (first && *p == '*') return 0;
        first = false;
        double d = date(std::string_view(p, e - p), "DMY");
        if (is_missing(d)) return -1;
        if (n >= LEAP_MAX) return -2;
        days[n++] = (int32_t)d;
        p = e;
    }
}

struct LeapBuild {
    int n = 0;
    int32_t days[LEAP_MAX];
    int rc = 0;
    void line(char *s) {
        if (rc) return;
        int r = leap_line(s, n, days);
        if (r == -1) rc = leap_fail("invalid token in system file leapseconds.maint\n", 610);
        if (r == -2) rc = leap_fail("system file leapseconds.maint too long\n", 610);
    }
    int finish() {
        if (rc) return rc;
        std::sort(days, days + n);
        int k = 0;
        for (int i = 0; i < n; ++i)
            if (days[i] < LEAP_SENTINEL && (k == 0 || leap.day[k - 1] != days[i])) leap.day[k++] = days[i];
        leap.day[k++] = LEAP_SENTINEL;
        leap.n = k;
        leap.ready = true;
        return 0;
    }
};

constexpr int LEAP_LINE = 120; // characters read per line

// Leap seconds in force strictly before day td (the sentinel is no leap second).
int leaps_before_day(int64_t td) {
    int real = leap.n - 1;
    return (int)(std::lower_bound(leap.day, leap.day + real, td) - leap.day);
}

// The %tC moment at which the leap second ending day[i] begins (23:59:60.000).
double leap_start(int i) { return (leap.day[i] + 1.0) * MS_PER_DAY + 1000.0 * i; }

// Leap seconds begun at or before the %tC moment x.
int leaps_upto(double x) {
    int lo = 0, hi = leap.n - 1; // count of i with leap_start(i) <= x, over the real entries
    while (lo < hi) {
        int mid = (lo + hi) / 2;
        if (leap_start(mid) <= x)
            lo = mid + 1;
        else
            hi = mid;
    }
    return lo;
}

bool is_leap_day(int td) {
    int real = leap.n - 1;
    return std::binary_search(leap.day, leap.day + real, td);
}

} // namespace

int leap_load(const char *path) {
    FILE *fp = std::fopen(path, "r");
    if (!fp) return leap_fail("system file leapseconds.maint could not be opened\n", 603);
    LeapBuild b;
    char buf[LEAP_LINE + 1];
    while (std::fgets(buf, sizeof buf, fp))
        b.line(buf);
    std::fclose(fp);
    return b.finish();
}

int leap_load_text(std::string_view text) {
    LeapBuild b;
    char buf[LEAP_LINE + 1];
    size_t i = 0;
    while (i < text.size()) {
        // the pieces fgets would give: up to LEAP_LINE characters, ending after a newline
        int k = 0;
        while (i < text.size() && k < LEAP_LINE) {
            char c = text[i++];
            buf[k++] = c;
            if (c == '\n') break;
        }
        buf[k] = 0;
        b.line(buf);
    }
    return b.finish();
}

void leap_reset() { leap = LeapTable(); }

void leap_ensure() {
    if (leap.ready) return;
    char path[4096];
    if (!leap_locate || !leap_locate(path, sizeof path)) {
        leap_fail("system file leapseconds.maint not found\n", 601);
        return;
    }
    leap_load(path);
}

// ---- day functions ----

double mdy(double m, double d, double y) {
    if (is_missing(m) || is_missing(d) || is_missing(y) || !isint(m) || !isint(d) || !isint(y)) return dot();
    if (std::fabs(y) > 1e6 || std::fabs(m) > 1e6 || std::fabs(d) > 1e6) return dot();
    if (!civil_ok((int)y, (int)m, (int)d)) return dot();
    return td_of_civil((int)y, (int)m, (int)d);
}

double dow(double x) {
    int td;
    if (!day_of(x, td)) return dot();
    return (double)floormod((int64_t)td + 5, 7); // 01jan1960 was a Friday
}

#define CIVIL_FN(name, expr)                                                                                 \
    double name(double x) {                                                                                  \
        int td, y, m, d;                                                                                     \
        if (!day_of(x, td)) return dot();                                                                    \
        civil_of_td(td, y, m, d);                                                                            \
        (void)d;                                                                                             \
        return (expr);                                                                                       \
    }

CIVIL_FN(day, d)
CIVIL_FN(month, m)
CIVIL_FN(year, y)
CIVIL_FN(yofd, y)
CIVIL_FN(doy, doy_of(td, y))
CIVIL_FN(week, week_of(doy_of(td, y)))
CIVIL_FN(quarter, (m - 1) / 3 + 1)
CIVIL_FN(halfyear, (m - 1) / 6 + 1)
CIVIL_FN(hofd, (y - 1960) * 2 + (m - 1) / 6)
CIVIL_FN(qofd, (y - 1960) * 4 + (m - 1) / 3)
CIVIL_FN(mofd, (y - 1960) * 12 + m - 1)
CIVIL_FN(wofd, (y - 1960) * 52 + week_of(doy_of(td, y)) - 1)
#undef CIVIL_FN

double dofd(double x) {
    int td;
    return day_of(x, td) ? td : dot();
}

namespace {

// First day of period p of a kind with per periods a year, each of months months (weeks: 0).
double first_day(double p, int per, int months) {
    if (is_missing(p) || std::fabs(p) > 1e9) return dot();
    int64_t v = (int64_t)std::floor(p);
    int64_t y = 1960 + floordiv(v, per);
    int k = (int)floormod(v, per);
    if (!year_ok(y)) return dot();
    if (months == 0) return td_of_civil((int)y, 1, 1) + 7 * k;
    return td_of_civil((int)y, k * months + 1, 1);
}

// Period number of (y, p) when y is from 1000 to 9999 and p from 1 to per.
double period(double y, double p, int per) {
    if (is_missing(y) || is_missing(p) || !isint(y) || !isint(p)) return dot();
    if (y < 1000 || y > 9999 || p < 1 || p > per) return dot();
    return (y - 1960) * per + p - 1;
}

} // namespace

double dofy(double ty) { return first_day(ty - 1960, 1, 12); } // a yearly value is the year itself
double dofh(double th) { return first_day(th, 2, 6); }
double dofq(double tq) { return first_day(tq, 4, 3); }
double dofm(double tm) { return first_day(tm, 12, 1); }
double dofw(double tw) { return first_day(tw, 52, 0); }
double yw(double y, double w) { return period(y, w, 52); }
double ym(double y, double m) { return period(y, m, 12); }
double yq(double y, double q) { return period(y, q, 4); }
double yh(double y, double h) { return period(y, h, 2); }

// ---- clock functions ----

namespace {

// Milliseconds into the day of h:m:s, rounded to the millisecond; s below 60, or below 61 when
// a leap second is allowed.
bool ms_of_hms(double h, double m, double s, double smax, double &ms) {
    if (is_missing(h) || is_missing(m) || is_missing(s) || !isint(h) || !isint(m)) return false;
    if (h < 0 || h > 23 || m < 0 || m > 59 || !(s >= 0 && s < smax)) return false;
    ms = (h * 3600 + m * 60) * 1000 + std::round(s * 1000);
    return true;
}

double ms_of_day(double tc) { return tc - std::floor(tc / MS_PER_DAY) * MS_PER_DAY; }

} // namespace

double hms(double h, double m, double s) {
    double ms;
    return ms_of_hms(h, m, s, 60, ms) ? ms : dot();
}

double dhms(double td, double h, double m, double s) {
    double ms;
    if (is_missing(td) || !isint(td) || td < TD_MIN || td > TD_MAX) return dot();
    if (!ms_of_hms(h, m, s, 60, ms)) return dot();
    return td * MS_PER_DAY + ms;
}

double Cdhms(double td, double h, double m, double s) {
    if (!is_missing(s) && s >= 60 && s < 61 && h == 23 && m == 59 && !is_missing(td) && isint(td)) {
        leap_ensure();
        if (td >= TD_MIN && td <= TD_MAX && is_leap_day((int)td)) {
            int i = leaps_before_day((int64_t)td);
            return leap_start(i) + std::round((s - 60) * 1000);
        }
        return dot();
    }
    return Cofc(dhms(td, h, m, s));
}

double Chms(double h, double m, double s) { return Cdhms(0, h, m, s); }

double mdyhms(double mo, double d, double y, double h, double mi, double s) {
    return dhms(mdy(mo, d, y), h, mi, s);
}

double Cmdyhms(double mo, double d, double y, double h, double mi, double s) {
    return Cdhms(mdy(mo, d, y), h, mi, s);
}

double hh(double tc) { return is_missing(tc) ? dot() : std::floor(ms_of_day(tc) / 3600000); }
double mm(double tc) {
    return is_missing(tc) ? dot() : std::floor((tc - std::floor(tc / 3600000) * 3600000) / 60000);
}
double ss(double tc) { return is_missing(tc) ? dot() : (tc - std::floor(tc / 60000) * 60000) / 1000; }

double dofc(double tc) { return is_missing(tc) ? dot() : std::floor(tc / MS_PER_DAY); }
double cofd(double td) { return is_missing(td) ? dot() : std::floor(td) * MS_PER_DAY; }

double Cofc(double tc) {
    if (is_missing(tc)) return dot();
    leap_ensure();
    return tc + 1000.0 * leaps_before_day((int64_t)std::floor(tc / MS_PER_DAY));
}

double cofC(double tC) {
    if (is_missing(tC)) return dot();
    leap_ensure();
    return tC - 1000.0 * leaps_upto(tC);
}

double dofC(double tC) { return dofc(cofC(tC)); }
double Cofd(double td) { return Cofc(cofd(td)); }

namespace {

// Within a leap second: the offset into it in milliseconds, else -1.
double in_leap(double tC) {
    leap_ensure();
    int k = leaps_upto(tC);
    if (k > 0 && tC < leap_start(k - 1) + 1000) return tC - leap_start(k - 1);
    return -1;
}

} // namespace

double hhC(double tC) {
    if (is_missing(tC)) return dot();
    return in_leap(tC) >= 0 ? 23 : hh(cofC(tC));
}

double mmC(double tC) {
    if (is_missing(tC)) return dot();
    return in_leap(tC) >= 0 ? 59 : mm(cofC(tC));
}

double ssC(double tC) {
    if (is_missing(tC)) return dot();
    double off = in_leap(tC);
    return off >= 0 ? 60 + off / 1000 : ss(cofC(tC));
}

double hours(double ms) { return is_missing(ms) ? dot() : ms / 3600000; }
double minutes(double ms) { return is_missing(ms) ? dot() : ms / 60000; }
double seconds(double ms) { return is_missing(ms) ? dot() : ms / 1000; }
double msofhours(double h) { return is_missing(h) ? dot() : h * 3600000; }
double msofminutes(double m) { return is_missing(m) ? dot() : m * 60000; }
double msofseconds(double s) { return is_missing(s) ? dot() : s * 1000; }

// ---- text to date ----

namespace {

constexpr int MAXTOK = 64;

// A piece of the text: a run of digits, a run of letters, or a half-day mark.
struct Tok {
    char kind; // 'n' digits, 'w' letters, 'a' am, 'p' pm
    int b, e;  // [b, e) in the text
};

bool alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool digit(char c) { return c >= '0' && c <= '9'; }
char lower(char c) { return (c >= 'A' && c <= 'Z') ? (char)(c - 'A' + 'a') : c; }

bool word_is(std::string_view s, const Tok &t, const char *w) {
    size_t n = std::strlen(w);
    if ((size_t)(t.e - t.b) != n) return false;
    for (size_t i = 0; i < n; ++i)
        if (lower(s[t.b + i]) != w[i]) return false;
    return true;
}

// Month of a word, in full or cut to three letters; 0 for none.
int month_of_word(std::string_view s, const Tok &t) {
    int n = t.e - t.b;
    for (int m = 0; m < 12; ++m) {
        int full = (int)std::strlen(month_name[m]);
        if (n != 3 && n != full) continue;
        int i = 0;
        while (i < n && lower(s[t.b + i]) == month_name[m][i])
            ++i;
        if (i == n) return m + 1;
    }
    return 0;
}

// text := { digits | letters | half-day mark | any other byte, which only separates }
int tokenize(std::string_view s, Tok *t) {
    int n = 0;
    size_t i = 0;
    while (i < s.size()) {
        char c = s[i];
        if (!digit(c) && !alpha(c)) {
            ++i;
            continue;
        }
        if (n >= MAXTOK) return -1;
        size_t b = i;
        if (digit(c)) {
            while (i < s.size() && digit(s[i]))
                ++i;
            t[n++] = {'n', (int)b, (int)i};
            continue;
        }
        while (i < s.size() && alpha(s[i]))
            ++i;
        Tok w = {'w', (int)b, (int)i};
        if (word_is(s, w, "am"))
            w.kind = 'a';
        else if (word_is(s, w, "pm"))
            w.kind = 'p';
        else if ((word_is(s, w, "a") || word_is(s, w, "p")) && i + 1 < s.size() && s[i] == '.' &&
                 lower(s[i + 1]) == 'm' && (i + 2 >= s.size() || !alpha(s[i + 2]))) {
            w.kind = word_is(s, w, "a") ? 'a' : 'p';
            i += 2;
            if (i < s.size() && s[i] == '.') ++i;
            w.e = (int)i;
        }
        t[n++] = w;
    }
    return n;
}

struct MField {
    char letter;
    int century; // digits written in front of Y, or -1
};

// mask := { [digits] 'Y' | 'D' | 'M' | 'h' | 'm' | 's' | 'W' | 'Q' | 'H' | '#' | blank }
int parse_mask(std::string_view mask, MField *f) {
    int n = 0, cent = -1;
    unsigned seen = 0;
    for (char c : mask) {
        if (c == ' ') continue;
        if (digit(c)) {
            cent = (cent < 0 ? 0 : cent) * 10 + (c - '0');
            if (cent > 99) return -1;
            continue;
        }
        const char *letters = "DMYhmsWQH#";
        const char *p = std::strchr(letters, c);
        if (!p || !c || (cent >= 0 && c != 'Y') || n >= MAXTOK) return -1;
        unsigned bit = 1u << (p - letters);
        if (c != '#') {
            if (seen & bit) return -1;
            seen |= bit;
        }
        f[n++] = {c, c == 'Y' ? cent : -1};
        cent = -1;
    }
    return cent >= 0 ? -1 : n;
}

// What a mask took from a text; -1 for a part not given.
struct Parts {
    int Y = -1, M = -1, D = -1, h = -1, mi = -1, W = -1, Q = -1, H = -1;
    double s = -1;
};

bool filler(std::string_view s, const Tok &t) {
    // single letters ("1960m1", "2010q3", "T") and half-day marks stand between fields
    return t.kind == 'a' || t.kind == 'p' || (t.kind == 'w' && t.e - t.b == 1 && !month_of_word(s, t));
}

int natural_width(const MField &f) {
    switch (f.letter) {
    case 'Y':
        return f.century >= 0 ? 2 : 4;
    case 'Q':
    case 'H':
        return 1;
    default:
        return 2;
    }
}

bool read_by_mask(std::string_view s, std::string_view mask, double topyear, Parts &p) {
    MField f[MAXTOK];
    Tok t[MAXTOK];
    int nf = parse_mask(mask, f);
    int nt = tokenize(s, t);
    if (nf <= 0 || nt < 0) return false;
    int ampm = 0, k = 0;
    auto skip_fillers = [&] {
        while (k < nt && filler(s, t[k])) {
            if (t[k].kind != 'w') ampm = t[k].kind;
            ++k;
        }
    };
    for (int i = 0; i < nf; ++i) {
        if (f[i].letter == '#') {
            if (k < nt) ++k;
            continue;
        }
        skip_fillers();
        if (k >= nt) return false;
        if (f[i].letter == 'M' && t[k].kind == 'w') {
            p.M = month_of_word(s, t[k]);
            if (!p.M) return false;
            ++k;
            continue;
        }
        if (t[k].kind != 'n') return false;
        // A run of digits may hold several fields ("19600101" under YMD): split it by the
        // fields' natural widths when there are fewer pieces than fields left.
        int left_fields = nf - i, left_toks = 0;
        for (int j = k; j < nt; ++j)
            if (!filler(s, t[j])) ++left_toks;
        int len = t[k].e - t[k].b, take = len;
        int nat = natural_width(f[i]);
        if (left_fields > left_toks && len > nat) take = nat;
        long long v = 0;
        for (int j = 0; j < take; ++j) {
            v = v * 10 + (s[t[k].b + j] - '0');
            if (v > 100000000) return false;
        }
        bool split = take < len;
        if (split)
            t[k].b += take;
        else
            ++k;
        switch (f[i].letter) {
        case 'D':
            p.D = (int)v;
            break;
        case 'M':
            p.M = (int)v;
            break;
        case 'h':
            p.h = (int)v;
            break;
        case 'm':
            p.mi = (int)v;
            break;
        case 'W':
            p.W = (int)v;
            break;
        case 'Q':
            p.Q = (int)v;
            break;
        case 'H':
            p.H = (int)v;
            break;
        case 's':
            p.s = (double)v;
            // a fraction: digits right behind a point right behind the seconds
            if (!split && k < nt && t[k].kind == 'n' && t[k].b == t[k - 1].e + 1 && s[t[k - 1].e] == '.') {
                double scale = 0.1;
                for (int j = t[k].b; j < t[k].e; ++j, scale /= 10)
                    p.s += (s[j] - '0') * scale;
                ++k;
            }
            break;
        case 'Y':
            if (take <= 2) {
                if (f[i].century >= 0)
                    v += 100 * f[i].century;
                else if (!is_missing(topyear) && std::fabs(topyear) < 1e6) {
                    long long top = (long long)std::floor(topyear);
                    v = top - floormod(top - v, 100);
                } else
                    return false;
            }
            p.Y = (int)v;
            break;
        }
    }
    skip_fillers();
    if (k < nt) return false;
    if (ampm && p.h >= 0) {
        if (p.h < 1 || p.h > 12) return false;
        p.h = p.h % 12 + (ampm == 'p' ? 12 : 0);
    }
    return true;
}

double day_of_parts(const Parts &p) {
    if (p.Y < 0) return dot();
    return mdy(p.M < 0 ? 1 : p.M, p.D < 0 ? 1 : p.D, p.Y);
}

bool has_date(const Parts &p) { return p.Y >= 0 || p.M >= 0 || p.D >= 0; }

// clock and Clock: the day (0 when the mask holds no date) and the time of day.
double clock_of(std::string_view s, std::string_view mask, double topyear, bool leapsec) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p)) return dot();
    double td = has_date(p) ? day_of_parts(p) : 0;
    if (is_missing(td)) return dot();
    double h = p.h < 0 ? 0 : p.h, m = p.mi < 0 ? 0 : p.mi, sec = p.s < 0 ? 0 : p.s;
    return leapsec ? Cdhms(td, h, m, sec) : dhms(td, h, m, sec);
}

} // namespace

double date(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p)) return dot();
    return day_of_parts(p);
}

double clock(std::string_view s, std::string_view mask, double topyear) {
    return clock_of(s, mask, topyear, false);
}

double Clock(std::string_view s, std::string_view mask, double topyear) {
    return clock_of(s, mask, topyear, true);
}

double yearly(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p) || p.Y < 1000 || p.Y > 9999) return dot();
    return p.Y;
}

double halfyearly(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p) || p.Y < 0 || p.H < 0) return dot();
    return yh(p.Y, p.H);
}

double quarterly(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p) || p.Y < 0 || p.Q < 0) return dot();
    return yq(p.Y, p.Q);
}

double monthly(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p) || p.Y < 0 || p.M < 0) return dot();
    return ym(p.Y, p.M);
}

double weekly(std::string_view s, std::string_view mask, double topyear) {
    Parts p;
    if (!read_by_mask(s, mask, topyear, p) || p.Y < 0 || p.W < 0) return dot();
    return yw(p.Y, p.W);
}

double date_literal(char kind, std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    switch (kind) {
    case 'd':
        return date(text, "DMY");
    case 'h':
        return halfyearly(text, "YH");
    case 'q':
        return quarterly(text, "YQ");
    case 'm':
        return monthly(text, "YM");
    case 'w':
        return weekly(text, "YW");
    case 'y':
        return yearly(text, "Y");
    case 'c':
    case 'C': {
        size_t first = text.find(':');
        int ncolon = (int)std::count(text.begin(), text.end(), ':');
        const char *mask;
        if (first == std::string_view::npos)
            mask = "DMY";
        else if (first == 0)
            mask = "ms";
        else if (first <= 2)
            mask = ncolon >= 2 ? "hms" : "hm";
        else
            mask = ncolon >= 2 ? "DMYhms" : "DMYhm";
        return kind == 'c' ? clock(text, mask) : Clock(text, mask);
    }
    }
    return dot();
}

// ---- date formats ----

namespace {

struct CodeRow {
    const char *text;
    int len;
    int width;
};

constexpr CodeRow code_rows[DC_COUNT] = {
#define X(id, text, width, what) {text, (int)sizeof(text) - 1, width},
    DATE_CODES
#undef X
};

// The display part a date format of each kind has when none is written.
constexpr struct {
    char style;
    const char *display;
} default_rows[] = {
    {'d', "DDmonCCYY"},
    {'c', "DDmonCCYY_HH:MM:SS"},
    {'C', "DDmonCCYY_HH:MM:SS"},
    {'w', "CCYY!www"},
    {'m', "CCYY!mnn"},
    {'q', "CCYY!qq"},
    {'h', "CCYY!hh"},
    {'y', "CCYY"},
};

const char *default_display(char style) {
    for (const auto &r : default_rows)
        if (r.style == style) return r.display;
    return default_rows[0].display;
}

// The moment a value stands for under a kind.
struct Moment {
    int td;
    int msod;     // milliseconds into the day
    bool leapsec; // within a leap second (the second shows as 60)
};

bool moment_of(double v, char style, Moment &mo) {
    mo.msod = 0;
    mo.leapsec = false;
    double x = std::floor(v);
    if (std::fabs(x) > 1e18) return false;
    switch (style) {
    case 'd':
        return day_of(x, mo.td);
    case 'c':
    case 'C': {
        if (style == 'C') {
            leap_ensure();
            int k = leaps_upto(x);
            if (k > 0 && x < leap_start(k - 1) + 1000) {
                mo.td = leap.day[k - 1];
                mo.msod = 86399000 + (int)(x - leap_start(k - 1));
                mo.leapsec = true;
                return true;
            }
            x -= 1000.0 * k;
        }
        double d = std::floor(x / MS_PER_DAY);
        if (!day_of(d, mo.td)) return false;
        mo.msod = (int)(x - d * MS_PER_DAY);
        return true;
    }
    case 'w':
        return day_of(dofw(x), mo.td);
    case 'm':
        return day_of(dofm(x), mo.td);
    case 'q':
        return day_of(dofq(x), mo.td);
    case 'h':
        return day_of(dofh(x), mo.td);
    case 'y':
        return day_of(dofy(x), mo.td);
    }
    return false;
}

struct Out {
    char *p;
    int n, cap;
    void put(char c) {
        if (n < cap - 1) p[n++] = c;
    }
    void str(const char *s) {
        while (*s)
            put(*s++);
    }
    void num(int v, int pad) {
        char t[12];
        int k = 0;
        if (v < 0) {
            put('-');
            v = -v;
        }
        do
            t[k++] = (char)('0' + v % 10), v /= 10;
        while (v);
        for (int i = k; i < pad; ++i)
            put('0');
        while (k)
            put(t[--k]);
    }
    // A name in upper case (1), capitalised (2) or lower case (0), cut to len when len > 0.
    void name(const char *s, int cs, int len) {
        for (int i = 0; s[i] && (len <= 0 || i < len); ++i) {
            char c = s[i];
            if (cs == 1 || (cs == 2 && i == 0)) c = (char)(c - 'a' + 'A');
            put(c);
        }
    }
};

} // namespace

// display := { code | '!' byte | ',' | '-' | '/' | ':' | '\'' | '\\' | '.' }, at most 80 items;
// a code is the longest text of the date-code table that stands at the place.
int date_parse_display(std::string_view part, char style, Fmt &f) {
    if (part.empty()) part = default_display(style);
    f.nitems = 0;
    size_t i = 0;
    while (i < part.size()) {
        if (f.nitems >= FMT_MAXITEMS) return 120;
        DateItem &it = f.items[f.nitems];
        char c = part[i];
        if (c == '!') {
            if (i + 1 >= part.size()) return 120;
            it = {DC_LIT, part[i + 1]};
            i += 2;
            ++f.nitems;
            continue;
        }
        int best = -1, blen = 0;
        for (int k = 1; k < DC_COUNT; ++k) {
            int n = code_rows[k].len;
            if (n > blen && i + n <= part.size() && part.compare(i, n, code_rows[k].text) == 0) {
                best = k;
                blen = n;
            }
        }
        if (best >= 0) {
            it = {(uint8_t)best, 0};
            i += blen;
        } else if (std::strchr(",-/:'\\.", c) && c) {
            it = {DC_LIT, c};
            ++i;
        } else {
            return 120;
        }
        ++f.nitems;
    }
    return 0;
}

int date_width(const Fmt &f) {
    int w = 0;
    for (int i = 0; i < f.nitems; ++i)
        w += code_rows[f.items[i].code].width;
    return w;
}

int date_text(double v, const Fmt &f, char *out, int cap) {
    Moment mo;
    if (cap <= 0 || is_missing(v) || !moment_of(v, f.style, mo)) return -1;
    int y, m, d;
    civil_of_td(mo.td, y, m, d);
    int jd = doy_of(mo.td, y);
    int wd = (int)floormod((int64_t)mo.td + 5, 7);
    int hour = mo.msod / 3600000, minute = mo.msod / 60000 % 60;
    int sec = mo.leapsec ? 60 : mo.msod / 1000 % 60, ms = mo.msod % 1000;
    int h12 = hour % 12 == 0 ? 12 : hour % 12;
    bool pm = hour >= 12;
    Out o{out, 0, cap};
    for (int i = 0; i < f.nitems; ++i) {
        const DateItem &it = f.items[i];
        switch ((DateCode)it.code) {
        case DC_LIT:
            o.put(it.lit);
            break;
        case DC_SKIP:
            break;
        case DC_BLANK:
            o.put(' ');
            break;
        case DC_CC:
            o.num(y / 100, 2);
            break;
        case DC_cc:
            o.num(y / 100, 0);
            break;
        case DC_YY:
            o.num(y % 100, 2);
            break;
        case DC_yy:
            o.num(y % 100, 0);
            break;
        case DC_NN:
            o.num(m, 2);
            break;
        case DC_nn:
            o.num(m, 0);
            break;
        case DC_Month:
            o.name(month_name[m - 1], 2, 0);
            break;
        case DC_month:
            o.name(month_name[m - 1], 0, 0);
            break;
        case DC_Mon:
            o.name(month_name[m - 1], 2, 3);
            break;
        case DC_mon:
            o.name(month_name[m - 1], 0, 3);
            break;
        case DC_DD:
            o.num(d, 2);
            break;
        case DC_dd:
            o.num(d, 0);
            break;
        case DC_JJJ:
            o.num(jd, 3);
            break;
        case DC_jjj:
            o.num(jd, 0);
            break;
        case DC_h:
            o.num((m - 1) / 6 + 1, 0);
            break;
        case DC_q:
            o.num((m - 1) / 3 + 1, 0);
            break;
        case DC_WW:
            o.num(week_of(jd), 2);
            break;
        case DC_ww:
            o.num(week_of(jd), 0);
            break;
        case DC_HH:
            o.num(hour, 2);
            break;
        case DC_hH:
            o.num(hour, 0);
            break;
        case DC_Hh:
            o.num(h12, 2);
            break;
        case DC_hh:
            o.num(h12, 0);
            break;
        case DC_MM:
            o.num(minute, 2);
            break;
        case DC_mm:
            o.num(minute, 0);
            break;
        case DC_SS:
            o.num(sec, 2);
            break;
        case DC_ss:
            o.num(sec, 0);
            break;
        case DC_FRAC1:
            o.put('.');
            o.num(ms / 100, 1);
            break;
        case DC_FRAC2:
            o.put('.');
            o.num(ms / 10, 2);
            break;
        case DC_FRAC3:
            o.put('.');
            o.num(ms, 3);
            break;
        case DC_DAYNAME:
            o.name(day_name[wd], 1, 0);
            break;
        case DC_Dayname:
            o.name(day_name[wd], 2, 0);
            break;
        case DC_dayname:
            o.name(day_name[wd], 0, 0);
            break;
        case DC_Day:
            o.name(day_name[wd], 2, 3);
            break;
        case DC_day:
            o.name(day_name[wd], 0, 3);
            break;
        case DC_Da:
            o.name(day_name[wd], 2, 2);
            break;
        case DC_da:
            o.name(day_name[wd], 0, 2);
            break;
        case DC_AM:
            o.str(pm ? "PM" : "AM");
            break;
        case DC_am:
            o.str(pm ? "pm" : "am");
            break;
        case DC_AMDOT:
            o.str(pm ? "P.M." : "A.M.");
            break;
        case DC_amdot:
            o.str(pm ? "p.m." : "a.m.");
            break;
        case DC_COUNT:
            break;
        }
    }
    out[o.n] = 0;
    return o.n;
}

} // namespace data
