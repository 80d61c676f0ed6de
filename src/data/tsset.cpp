// tsset and tsrevar: the time-series settings, kept as characteristics of _dta so that they travel
// with the saved file, and the operated variables made into scratch variables.
#include "data/tsset.h"

#include <cmath>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/sort.h"
#include "data/tsindex.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tempnames.h"

namespace data {

namespace {

// What the report tells of the settings in force.
struct TsFacts {
    double tmin = 0, tmax = 0;
    bool any = false;  // an observation with a known time
    bool gaps = false; // some panel misses a time between its first and last
    const char *balance = "strongly balanced";
};

TsFacts facts_of(const TsIndex &ix) {
    TsFacts f;
    for (const TsIndex::Panel &P : ix.panels) {
        if (!f.any || P.tmin < f.tmin) f.tmin = P.tmin;
        if (!f.any || P.tmax > f.tmax) f.tmax = P.tmax;
        f.any = true;
        if (P.count < P.span) f.gaps = true;
    }
    if (ix.panels.size() < 2) return f;
    // strongly: every panel holds the same times; weakly: the same number of them
    const TsIndex::Panel &A = ix.panels[0];
    bool same_count = true, same_times = true;
    for (const TsIndex::Panel &P : ix.panels) {
        if (P.count != A.count) {
            same_count = same_times = false;
            break;
        }
        if (P.tmin != A.tmin) {
            same_times = false;
            continue;
        }
        for (int32_t k = 0; k < P.count && same_times; ++k)
            same_times = ix.step[(size_t)(P.first + k)] == ix.step[(size_t)(A.first + k)];
    }
    f.balance = same_times ? "strongly balanced" : same_count ? "weakly balanced" : "unbalanced";
    return f;
}

std::string time_text(double t, int tvar) {
    std::string s = fmt_text(t, ds.fmt[tvar - 1]);
    const size_t a = s.find_first_not_of(' ');
    return a == std::string::npos ? "" : s.substr(a, s.find_last_not_of(' ') - a + 1);
}

// The report and r() of the settings s over the index ix.
int report(const TsSettings &s, const TsIndex &ix) {
    const TsFacts f = facts_of(ix);
    const std::string tname = ds.varname[s.tvar - 1];
    const std::string lo = f.any ? time_text(f.tmin, s.tvar) : ".",
                      hi = f.any ? time_text(f.tmax, s.tvar) : ".";
    mat::r_clear();
    const std::pair<const char *, double> sc[] = {
        {"tmin", f.any ? f.tmin : session::lim.dot},
        {"tmax", f.any ? f.tmax : session::lim.dot},
        {"tdelta", s.delta},
        {"gaps", f.gaps ? 1 : 0},
    };
    for (const auto &[name, v] : sc)
        if (int rc = mat::r_set_scalar(name, v)) return rc;
    const std::pair<const char *, std::string> mc[] = {
        {"timevar", tname},
        {"panelvar", s.pvar ? ds.varname[s.pvar - 1] : ""},
        {"tmins", lo},
        {"tmaxs", hi},
        {"balanced", s.pvar ? f.balance : ""},
    };
    for (const auto &[name, v] : mc)
        if (!v.empty())
            if (int rc = mat::r_set_macro(name, v)) return rc;

    std::string out;
    if (s.pvar)
        out += "{txt}       panel variable:  {res}" + std::string(ds.varname[s.pvar - 1]) + " (" + f.balance +
               ")\n";
    out += "{txt}        time variable:  {res}" + tname;
    if (f.any) out += ", " + lo + " to " + hi + (f.gaps ? ", but with gaps" : "");
    out += "\n";
    const std::string d = number_text(s.delta);
    out += "{txt}                delta:  {res}" + d + (s.delta == 1 ? " unit" : " units") + "\n";
    return out::out_rimu(out);
}

int numeric_or_fail(int v, const char *what) {
    if (!is_string_type(ds.vartype[v - 1])) return 0;
    return session::fail(109, std::string(ds.varname[v - 1]) + ":  " + what + " variable must be numeric\n");
}

} // namespace

// tsset                                  the settings in force
// tsset [panelvar] timevar [, delta(#)]  new settings; the data sorted by panel and time
// tsset, clear                           no settings
int cmd_tsset(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    bool clear = false;
    double delta = -1;
    const session::OptSpec opts[] = {session::opt_flag("clear", 5, clear),
                                     session::opt_real("delta", 5, delta)};
    if (int rc = std_options(opts)) return rc;
    if (clear) {
        if (ps.count || delta != -1)
            return session::fail(198, "option clear may not be combined with variables or delta()\n");
        for (const char *c : {TS_TVAR, TS_PANEL, TS_DELTA})
            if (int rc = char_set(DTA_OWNER, c, "")) return session::error(rc);
        ts_index_forget();
        mat::r_clear();
        return 0;
    }
    if (ps.count == 0) {
        if (delta != -1) return session::required("varlist");
        TsSettings s;
        if (int rc = ts_settings(s)) return rc;
        const TsIndex *ix = nullptr;
        if (int rc = ts_index_now(&ix)) return rc;
        return report(s, *ix);
    }
    if (ps.count > 2) return session::fail(103, "too many variables specified\n");
    if (delta == -1) delta = 1;
    if (!(delta >= 1 && delta == std::floor(delta) && delta < 2147483648.0))
        return session::fail(198, "delta() must be a positive integer\n");
    TsSettings s;
    s.tvar = ps.var[(size_t)ps.count - 1];
    s.pvar = ps.count == 2 ? ps.var[0] : 0;
    s.delta = delta;
    if (s.pvar == s.tvar) return session::fail(198, "panel and time variables must differ\n");
    if (int rc = numeric_or_fail(s.tvar, "time")) return rc;
    if (s.pvar)
        if (int rc = numeric_or_fail(s.pvar, "panel")) return rc;

    // the values are checked before anything moves
    std::vector<double> t((size_t)ds.nobs), p(s.pvar ? (size_t)ds.nobs : 0);
    for (int32_t i = 1; i <= ds.nobs; ++i) {
        t[(size_t)i - 1] = get_num(s.tvar, i);
        if (s.pvar) p[(size_t)i - 1] = get_num(s.pvar, i);
    }
    TsIndex ix;
    if (TsBuild b = ts_index_build(t.data(), s.pvar ? p.data() : nullptr, ds.nobs, delta, ix); b != TSB_OK)
        return ts_build_fail(b);
    const int keys[2] = {s.pvar ? s.pvar : s.tvar, s.tvar};
    const int nkeys = s.pvar ? 2 : 1;
    if (ds.nobs > 1)
        if (int rc = sort_keys(keys, nkeys, 1, ds.nobs, true, true)) return rc;
    const std::pair<const char *, std::string> ch[] = {
        {TS_TVAR, ds.varname[s.tvar - 1]},
        {TS_PANEL, s.pvar ? ds.varname[s.pvar - 1] : ""},
        {TS_DELTA, number_text(delta)},
    };
    for (const auto &[name, text] : ch)
        if (int rc = char_set(DTA_OWNER, name, text)) return session::error(rc);
    ts_index_forget();
    const TsIndex *now = nullptr;
    if (int rc = ts_index_now(&now)) return rc;
    return report(s, *now);
}

// tsrevar varlist [, substitute list]
// r(varlist): the list with each operated variable replaced by a scratch variable holding its values
// (one per distinct variable and operator), or with list the variables the list is made of.
int cmd_tsrevar(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.vlflags = VL_TS;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    bool substitute = false, list = false;
    const session::OptSpec opts[] = {session::opt_flag("substitute", 3, substitute),
                                     session::opt_flag("list", 4, list)};
    if (int rc = std_options(opts)) return rc;
    if (substitute && list) return session::fail(198, "options substitute and list may not be combined\n");
    std::string out;
    auto put = [&](const std::string &w) {
        if (!out.empty()) out += ' ';
        out += w;
    };
    if (list) {
        std::vector<uint8_t> seen((size_t)ds.nvar + 1, 0);
        for (int32_t k = 0; k < ps.count; ++k) {
            const int v = ps.var[(size_t)k];
            if (v > 0 && !seen[(size_t)v]) {
                seen[(size_t)v] = 1;
                put(ds.varname[v - 1]);
            }
        }
        mat::r_clear();
        return mat::r_set_macro("varlist", out);
    }
    bool any = false;
    for (int32_t k = 0; k < ps.count; ++k)
        any = any || ps.info[(size_t)k].op;
    const TsIndex *ix = nullptr;
    if (any)
        if (int rc = ts_index_now(&ix)) return rc;
    // the list is read before variables are added: an operated entry names its scratch variable
    struct Made {
        int v;
        const TsOp *op;
        std::string name;
    };
    std::vector<Made> made;
    const int32_t count = ps.count;
    const std::vector<int32_t> vars(ps.var.begin(), ps.var.begin() + count);
    const std::vector<ListInfo> info(ps.info.begin(), ps.info.begin() + count);
    for (int32_t k = 0; k < count; ++k) {
        const int v = vars[(size_t)k];
        const TsOp *op = info[(size_t)k].op;
        if (!op) {
            put(ds.varname[v - 1]);
            continue;
        }
        const Made *hit = nullptr;
        for (const Made &m : made)
            if (m.v == v && m.op == op) hit = &m;
        if (hit) {
            put(hit->name);
            continue;
        }
        const std::string name = session::next_tempname();
        int nv = 0;
        if (int rc = add_var(name.c_str(), T_DOUBLE, &nv)) return rc;
        for (int32_t i = 1; i <= ds.nobs; ++i) {
            if ((i & 4095) == 0 && session::poll_break()) return session::error(1);
            put_num(nv, i, ts_value(v, *op, i));
        }
        made.push_back({v, op, name});
        put(name);
    }
    mat::r_clear();
    return mat::r_set_macro("varlist", out);
}

} // namespace data
