// Time-series settings and the look-up index behind operated variables (L.x, D.x, S4.x): for each
// observation, the observation of the same panel at another time, found on the time grid.
#pragma once
#include <cstdint>
#include <vector>

#include "data/varlist.h"

namespace data {

// ---- The index, from arrays --------------------------------------------------------------------

// Observations (counted from 0) with a known panel and time, in panel then time order, with the time
// grid of each panel: a table from grid step to place when the span is not much longer than the
// panel, a binary search of the steps otherwise.
struct TsIndex {
    struct Panel {
        int32_t first = 0, count = 0; // places in order
        double tmin = 0, tmax = 0;
        int64_t span = 0;  // grid steps from tmin to tmax, plus one
        int64_t cells = 0; // offset of its table in cells, or -1 for the binary search
    };
    int32_t nobs = 0;
    double delta = 1;
    std::vector<int32_t> order;    // place -> observation
    std::vector<int32_t> pos;      // observation -> place, -1 when time or panel is missing
    std::vector<int32_t> panel_of; // place -> panel
    std::vector<int64_t> step;     // place -> (time - tmin of its panel) / delta
    std::vector<Panel> panels;
    std::vector<int32_t> cells; // grid step -> place, -1 for a time with no observation
    bool sorted = true;         // the observations already stood in panel and time order
};

// What stops an index from being built.
enum TsBuild : int {
    TSB_OK = 0,
    TSB_NONINT,       // a time value that is not an integer
    TSB_REPEAT,       // two observations at one time (no panel variable)
    TSB_REPEAT_PANEL, // two observations at one time within a panel
    TSB_OFFGRID,      // two times of a panel closer than, or not a multiple of, delta
};

// Builds ix over n observations: time[i] and panel[i] (panel null for one series); a missing time
// or panel leaves the observation out. delta is a positive integer. *bad gets an observation of the
// failure (from 0) when one is found.
TsBuild ts_index_build(const double *time, const double *panel, int32_t n, double delta, TsIndex &ix,
                       int32_t *bad = nullptr);

// The observation (from 0) of o's panel whose time is lag steps of delta before o's (after, for a
// negative lag), or -1 when there is none or o is left out.
int32_t ts_find(const TsIndex &ix, int32_t o, int64_t lag);

// The rule of an operated variable at observation o (from 0): the lag, then each seasonal
// difference, then the differences; get(j) gives the variable at observation j. Missing at any step
// gives `.`.
template <class Get> double ts_apply(const TsIndex &ix, const TsOp &op, int32_t o, double dot, Get get);

// ---- The dataset's settings -----------------------------------------------------------------

// The characteristics of _dta that hold the settings, so that they travel with the saved file.
inline constexpr const char *TS_TVAR = "_TStvar";
inline constexpr const char *TS_PANEL = "_TSpanel";
inline constexpr const char *TS_DELTA = "_TSdelta";

struct TsSettings {
    int tvar = 0;     // the time variable's number
    int pvar = 0;     // the panel variable's number, 0 for none
    double delta = 1; // a positive integer
};
// The settings in force: 0, or 111 ("time variable not set", or the named variable not found) with
// the message written unless quiet.
int ts_settings(TsSettings &s, bool quiet = false);

// The failure of a build, written: 451 with its message.
int ts_build_fail(TsBuild b);

// The index of the dataset under the settings, built once per command (and kept across the groups of
// a by-prefix). 0 and *out, or the code with the message written.
int ts_index_now(const TsIndex **out);
// Forgets the kept index (the settings or the order changed).
void ts_index_forget();

// The operated variable v (from 1) at observation i (from 1) under the kept index, `.` without one.
double ts_value(int v, const TsOp &op, int32_t i);

// ---- The rule ------------------------------------------------------------------------------------

template <class Get> double ts_apply(const TsIndex &ix, const TsOp &op, int32_t o, double dot, Get get) {
    if (o < 0 || o >= ix.nobs || ix.pos[(size_t)o] < 0) return dot;
    int64_t deg = op.diff;
    for (int k = 0; k < op.nseas; ++k)
        deg += op.seas[k];
    if (deg == 0) {
        const int32_t j = ts_find(ix, o, op.lag);
        const double x = j < 0 ? dot : get(j);
        return x < dot ? x : dot;
    }
    // a window longer than its panel's grid can only meet a missing value
    const TsIndex::Panel &P = ix.panels[(size_t)ix.panel_of[(size_t)ix.pos[(size_t)o]]];
    if (deg >= P.span) return dot;
    double small[64];
    std::vector<double> big;
    double *w = small;
    if (deg >= 64) {
        big.resize((size_t)deg + 1);
        w = big.data();
    }
    auto miss = [dot](double x) { return !(x < dot); };
    for (int64_t k = 0; k <= deg; ++k) {
        const int32_t j = ts_find(ix, o, (int64_t)op.lag + k);
        w[k] = j < 0 ? dot : get(j);
    }
    int64_t len = deg + 1;
    auto difference = [&](int64_t s) {
        for (int64_t k = 0; k + s < len; ++k)
            w[k] = miss(w[k]) || miss(w[k + s]) ? dot : w[k] - w[k + s];
        len -= s;
    };
    for (int k = 0; k < op.nseas; ++k)
        difference(op.seas[k]);
    for (int d = 0; d < op.diff; ++d)
        difference(1);
    return miss(w[0]) ? dot : w[0];
}

} // namespace data
