// The time-series settings of the dataset and the index that finds an observation's lags.
#include "data/tsindex.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>

#include "data/dataset.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/xeq.h"
#include "session/errors.h"
#include "session/state.h"

namespace data {

namespace {

bool missing(double x) { return is_missing(x); }

// A table per panel while the tables together stay within this many cells per observation.
constexpr int64_t CELLS_PER_OBS = 4;

} // namespace

TsBuild ts_index_build(const double *time, const double *panel, int32_t n, double delta, TsIndex &ix,
                       int32_t *bad) {
    ix = TsIndex{};
    ix.nobs = n;
    ix.delta = delta;
    ix.pos.assign((size_t)n, -1);
    auto pan = [&](int32_t o) { return panel ? panel[o] : 0.0; };
    for (int32_t o = 0; o < n; ++o) {
        if (missing(time[o]) || missing(pan(o))) continue;
        if (time[o] != std::floor(time[o])) {
            if (bad) *bad = o;
            return TSB_NONINT;
        }
        ix.order.push_back(o);
    }
    auto before = [&](int32_t a, int32_t b) {
        if (pan(a) != pan(b)) return pan(a) < pan(b);
        if (time[a] != time[b]) return time[a] < time[b];
        return a < b;
    };
    for (size_t k = 1; k < ix.order.size() && ix.sorted; ++k)
        ix.sorted = before(ix.order[k - 1], ix.order[k]);
    if (!ix.sorted) std::sort(ix.order.begin(), ix.order.end(), before);

    const size_t m = ix.order.size();
    ix.panel_of.resize(m);
    ix.step.resize(m);
    for (size_t k = 0; k < m; ++k) {
        const int32_t o = ix.order[k];
        ix.pos[(size_t)o] = (int32_t)k;
        if (k == 0 || pan(o) != pan(ix.order[k - 1])) {
            TsIndex::Panel P;
            P.first = (int32_t)k;
            P.tmin = time[o];
            ix.panels.push_back(P);
        } else if (time[o] == time[ix.order[k - 1]]) {
            if (bad) *bad = o;
            return panel ? TSB_REPEAT_PANEL : TSB_REPEAT;
        }
        TsIndex::Panel &P = ix.panels.back();
        ++P.count;
        P.tmax = time[o];
        const double g = (time[o] - P.tmin) / delta;
        if (g != std::floor(g)) {
            if (bad) *bad = o;
            return TSB_OFFGRID;
        }
        ix.panel_of[k] = (int32_t)ix.panels.size() - 1;
        ix.step[k] = (int64_t)g;
    }
    int64_t total = 0;
    for (TsIndex::Panel &P : ix.panels) {
        P.span = ix.step[(size_t)(P.first + P.count - 1)] + 1;
        total += P.span;
    }
    // The tables go to the panels in order while they fit; a panel with a wide span and few
    // observations beyond that is searched.
    const int64_t budget = CELLS_PER_OBS * (int64_t)m + 64;
    int64_t used = 0;
    for (TsIndex::Panel &P : ix.panels) {
        if (total > budget && used + P.span > budget) {
            P.cells = -1;
            continue;
        }
        P.cells = used;
        used += P.span;
    }
    ix.cells.assign((size_t)used, -1);
    for (const TsIndex::Panel &P : ix.panels) {
        if (P.cells < 0) continue;
        for (int32_t k = P.first; k < P.first + P.count; ++k)
            ix.cells[(size_t)(P.cells + ix.step[(size_t)k])] = k;
    }
    return TSB_OK;
}

int32_t ts_find(const TsIndex &ix, int32_t o, int64_t lag) {
    if (o < 0 || o >= ix.nobs) return -1;
    const int32_t p = ix.pos[(size_t)o];
    if (p < 0) return -1;
    const TsIndex::Panel &P = ix.panels[(size_t)ix.panel_of[(size_t)p]];
    const int64_t g = ix.step[(size_t)p] - lag;
    if (g < 0 || g >= P.span) return -1;
    if (P.cells >= 0) {
        const int32_t k = ix.cells[(size_t)(P.cells + g)];
        return k < 0 ? -1 : ix.order[(size_t)k];
    }
    const auto b = ix.step.begin() + P.first, e = b + P.count;
    const auto it = std::lower_bound(b, e, g);
    return it != e && *it == g ? ix.order[(size_t)(it - ix.step.begin())] : -1;
}

// ---- The dataset's settings -----------------------------------------------------------------

int ts_settings(TsSettings &s, bool quiet) {
    s = TsSettings{};
    const char *t = char_get(DTA_OWNER, TS_TVAR);
    if (!t || !*t) return quiet ? 111 : session::fail(111, "time variable not set; use tsset\n");
    s.tvar = find_var(t);
    if (!s.tvar) return quiet ? 111 : session::variable_not_found(t);
    if (const char *p = char_get(DTA_OWNER, TS_PANEL); p && *p) {
        s.pvar = find_var(p);
        if (!s.pvar) return quiet ? 111 : session::variable_not_found(p);
    }
    if (const char *d = char_get(DTA_OWNER, TS_DELTA); d && *d) {
        const double x = std::strtod(d, nullptr);
        if (x >= 1 && x == std::floor(x)) s.delta = x;
    }
    return 0;
}

int ts_build_fail(TsBuild b) {
    switch (b) {
    case TSB_OK:
        return 0;
    case TSB_NONINT:
        return session::fail(451, "time variable must contain only integer values\n");
    case TSB_REPEAT:
        return session::fail(451, "repeated time values in sample\n");
    case TSB_REPEAT_PANEL:
        return session::fail(451, "repeated time values within panel\n");
    case TSB_OFFGRID:
        return session::fail(451, "time values within a panel are not spaced by multiples of delta()\n");
    }
    return session::error(451);
}

namespace {

struct Kept {
    TsIndex ix;
    bool valid = false;
    int32_t serial = 0;
    int32_t nobs = 0;
    int tvar = 0, pvar = 0;
    double delta = 1;
};
Kept kept;

} // namespace

void ts_index_forget() { kept.valid = false; }

int ts_index_now(const TsIndex **out) {
    TsSettings s;
    if (int rc = ts_settings(s)) return rc;
    if (is_string_type(ds.vartype[s.tvar - 1]))
        return session::fail(109, std::string(ds.varname[s.tvar - 1]) + ":  time variable must be numeric\n");
    if (s.pvar && is_string_type(ds.vartype[s.pvar - 1]))
        return session::fail(109,
                             std::string(ds.varname[s.pvar - 1]) + ":  panel variable must be numeric\n");
    // the groups of a by-prefix after the first run the same command on the same order
    const bool same_command = kept.serial == session::lp.cmdserial || bys.state == 2;
    if (kept.valid && same_command && kept.nobs == ds.nobs && kept.tvar == s.tvar && kept.pvar == s.pvar &&
        kept.delta == s.delta) {
        *out = &kept.ix;
        return 0;
    }
    kept.valid = false;
    std::vector<double> t((size_t)ds.nobs), p(s.pvar ? (size_t)ds.nobs : 0);
    for (int32_t i = 1; i <= ds.nobs; ++i) {
        t[(size_t)i - 1] = get_num(s.tvar, i);
        if (s.pvar) p[(size_t)i - 1] = get_num(s.pvar, i);
    }
    const TsBuild b = ts_index_build(t.data(), s.pvar ? p.data() : nullptr, ds.nobs, s.delta, kept.ix);
    if (b != TSB_OK) return ts_build_fail(b);
    kept.valid = true;
    kept.serial = session::lp.cmdserial;
    kept.nobs = ds.nobs;
    kept.tvar = s.tvar;
    kept.pvar = s.pvar;
    kept.delta = s.delta;
    *out = &kept.ix;
    return 0;
}

double ts_value(int v, const TsOp &op, int32_t i) {
    const double dot = session::lim.dot;
    if (!kept.valid) return dot;
    return ts_apply(kept.ix, op, i - 1, dot, [v](int32_t j) { return get_num(v, j + 1); });
}

} // namespace data
