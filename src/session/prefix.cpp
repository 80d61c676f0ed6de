// The prefix commands (capture, quietly, noisily, nobreak, break, version) and sleep.
#include <time.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "output/channel.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

// capture [:] command
int cmd_capture(int) {
    uint8_t saved = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = dispatch_rest();
    out::ch.OutputLevel = saved;
    if (lp.execflag) {
        lp.capture_rc = rc;
        break_clear();
    }
    return 0;
}

// quietly [:] command
int cmd_quietly(int) {
    uint8_t saved = out::ch.OutputLevel;
    bool set = false;
    if (lp.execflag && out::ch.OutputLevel != out::LVL_CAPTURED) {
        out::ch.OutputLevel = out::LVL_QUIET;
        set = true;
    }
    int rc = dispatch_rest();
    if (set && out::ch.OutputLevel == out::LVL_QUIET) out::ch.OutputLevel = saved;
    return rc;
}

// noisily [:] command
int cmd_noisily(int) {
    uint8_t saved = out::ch.OutputLevel;
    uint8_t to = out::ch.OutputLevel;
    bool set = false;
    if (lp.execflag) {
        to = lp.version < 220 ? 0 : out::ch.EntryLevel;
        out::ch.OutputLevel = to;
        set = true;
    }
    int rc = dispatch_rest();
    if (set && out::ch.OutputLevel == to) out::ch.OutputLevel = saved;
    return rc;
}

// nobreak [:] command, break [:] command
int cmd_nobreak(int) {
    int saved = lp.breakenabled;
    break_enable(0);
    int rc = dispatch_rest();
    break_enable(saved);
    return rc;
}

int cmd_break(int) {
    int saved = lp.breakenabled;
    break_enable(1);
    int rc = dispatch_rest();
    break_enable(saved);
    return rc;
}

namespace {

constexpr int born_day = 10, born_month = 6, born_year = 2010;

// The number of `version` as text into four digits: 8 -> 800, 9.2 -> 920, 10.1 -> 1010.
// Returns -1 when characters other than digits and one point stand in it.
int version_digits(const char *t, double *shown) {
    const char *p = t;
    int whole = 0, nwhole = 0;
    while (*p >= '0' && *p <= '9') {
        whole = whole * 10 + (*p - '0');
        if (++nwhole > 6) return -1;
        ++p;
    }
    int frac = 0, nfrac = 0;
    if (*p == '.') {
        ++p;
        while (*p >= '0' && *p <= '9') {
            if (nfrac == 2) return -1;
            frac = frac * 10 + (*p - '0');
            ++nfrac;
            ++p;
        }
    }
    if (*p || (nwhole == 0 && nfrac == 0)) return -1;
    if (nfrac == 1) frac *= 10;
    *shown = whole + frac / 100.0;
    return whole * 100 + frac;
}

int month_of(const std::string &m) {
    static const char *names[] = {"jan", "feb", "mar", "apr", "may", "jun",
                                  "jul", "aug", "sep", "oct", "nov", "dec"};
    if (m.size() < 3) return 0;
    std::string low;
    for (char c : m)
        low.push_back((char)std::tolower((unsigned char)c));
    for (int i = 0; i < 12; ++i)
        if (low.compare(0, 3, names[i]) == 0) return i + 1;
    return 0;
}

// A date in day, month, year order: "10jun2010", "10 Jun 2010", "10-jun-2010".
bool parse_born(const std::string &t, int *d, int *m, int *y) {
    size_t i = 0;
    auto skip = [&] {
        while (i < t.size() && (t[i] == ' ' || t[i] == '-' || t[i] == '/' || t[i] == ','))
            ++i;
    };
    skip();
    int day = 0, nd = 0;
    while (i < t.size() && std::isdigit((unsigned char)t[i])) {
        day = day * 10 + (t[i++] - '0');
        ++nd;
    }
    skip();
    std::string mon;
    while (i < t.size() && std::isalpha((unsigned char)t[i]))
        mon.push_back(t[i++]);
    skip();
    int year = 0, ny = 0;
    while (i < t.size() && std::isdigit((unsigned char)t[i])) {
        year = year * 10 + (t[i++] - '0');
        ++ny;
    }
    skip();
    int month = month_of(mon);
    if (i != t.size() || nd == 0 || nd > 2 || ny != 4 || !month || day < 1 || day > 31) return false;
    *d = day;
    *m = month;
    *y = year;
    return true;
}

std::string shown_number(double v) {
    char buf[40];
    if (v == std::floor(v))
        std::snprintf(buf, sizeof buf, "%.0f.0", v);
    else
        std::snprintf(buf, sizeof buf, "%.9g", v);
    return buf;
}

// Runs the rest of the line (after ':') under version v, then puts the old state back.
int run_under(int16_t v, uint8_t mm) {
    int16_t sv = lp.version;
    uint8_t smm = lp.modernmissing;
    lp.version = v;
    lp.modernmissing = mm;
    int rc = dispatch_rest();
    lp.version = sv;
    lp.modernmissing = smm;
    return rc;
}

} // namespace

// version [#[.#]] [, missing born(date)] [: command]
int cmd_version(int) {
    if (!lp.execflag) {
        const char *colon = std::strchr(tk.tokpos ? tk.tokpos : "", ':');
        if (!colon) return 0;
        tk.tokpos = colon + 1;
        return dispatch_rest();
    }
    std::string t = gettok(SEP_STD);
    if (t.empty()) {
        char buf[40];
        std::snprintf(buf, sizeof buf, "%g", lp.version / 100.0);
        out::out_text("version ");
        out::out_text(buf);
        if (lp.version < 800 && lp.modernmissing) out::out_text(" (with modern treatment of missing values)");
        out::out_text("\n");
        return 0;
    }
    double shown = 0;
    int v = version_digits(t.c_str(), &shown);
    if (v < 0) return error(198);
    if (v < 100 || v > 1010) {
        return fail(9, "this is version 10.1 of Orvat; it cannot run version " + shown_number(shown) +
                           " programs\n");
    }
    uint8_t mm = v >= 800;
    std::string next = gettok(SEP_STD);
    if (next == ",") {
        bool keep_missing = false;
        std::string date;
        std::vector<Option> opts;
        if (int rc = read_options(opts, ':')) return rc;
        const OptSpec specs[] = {opt_flag("missing", 3, keep_missing), opt_text("born", 4, date)};
        if (int rc = match_options(opts, specs)) return rc;
        if (!date.empty()) {
            if (date.size() > 80) return option_invalid("born");
            int d, m, y;
            if (!parse_born(date, &d, &m, &y)) return fail(198, "\"" + date + "\" invalid date\n");
            if (y * 10000 + m * 100 + d > born_year * 10000 + born_month * 100 + born_day) {
                fail(9, "you must update the Orvat executable to run this program\n");
                return fail_rimu(9, "{p 4 4}\nThe program was written for an executable born after "
                                    "10 Jun 2010; this one was born on that date.\n{p_end}\n");
            }
        }
        if (keep_missing) mm = lp.modernmissing;
        next = gettok(SEP_STD);
    }
    if (next == ":") {
        ungettok();
        return run_under((int16_t)v, mm);
    }
    if (!next.empty()) return error(198);
    lp.version = (int16_t)v;
    lp.modernmissing = mm;
    return 0;
}

// sleep # (milliseconds), broken by Break
int cmd_sleep(int) {
    std::string t = gettok(SEP_NUM);
    char *end;
    long ms = std::strtol(t.c_str(), &end, 10);
    if (t.empty() || *end || ms < 0) return error(198);
    while (ms > 0) {
        if (poll_break()) return 1;
        long step = ms < 50 ? ms : 50;
        struct timespec ts = {step / 1000, (step % 1000) * 1000000L};
        nanosleep(&ts, nullptr);
        ms -= step;
    }
    return poll_break();
}

} // namespace session
