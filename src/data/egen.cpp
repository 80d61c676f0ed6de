// egen: the line read, the function's arguments compiled or listed, the values computed aside over
// the sample and its groups (group_smp), then the new variable made and filled in one step.
#include "data/egen.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/group_smp.h"
#include "data/labels.h"
#include "data/summarize.h"
#include "data/summarize_smp.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

enum Fn : uint8_t {
    F_STAT, // a statistic of the expression within groups
    F_RANK,
    F_STD,
    F_TAG,
    F_GROUP,
    F_ROW,
    F_CUT,
    F_CONCAT,
};
enum ArgKind : uint8_t { A_EXP, A_VARLIST, A_VAR };

// One function: its name, what it computes, the kind of its argument, whether it runs within
// by-groups, and the storage type it makes when none is written (0: the default numeric type).
struct FnRow {
    const char *name;
    Fn fn;
    GroupStat stat;
    ArgKind arg;
    bool byable;
    int deftype;
};
constexpr FnRow fn_table[] = {
    {"mean", F_STAT, GS_MEAN, A_EXP, true, 0},
    {"total", F_STAT, GS_SUM, A_EXP, true, 0},
    {"sum", F_STAT, GS_SUM, A_EXP, true, 0},
    {"count", F_STAT, GS_COUNT, A_EXP, true, T_LONG},
    {"min", F_STAT, GS_MIN, A_EXP, true, 0},
    {"max", F_STAT, GS_MAX, A_EXP, true, 0},
    {"sd", F_STAT, GS_SD, A_EXP, true, 0},
    {"median", F_STAT, GS_PCTILE, A_EXP, true, 0},
    {"pctile", F_STAT, GS_PCTILE, A_EXP, true, 0},
    {"rank", F_RANK, GS_MEAN, A_EXP, true, 0},
    {"std", F_STD, GS_MEAN, A_EXP, true, 0},
    {"tag", F_TAG, GS_MEAN, A_VARLIST, true, T_BYTE},
    {"group", F_GROUP, GS_MEAN, A_VARLIST, false, T_LONG},
    {"rowmean", F_ROW, GS_MEAN, A_VARLIST, false, 0},
    {"rowtotal", F_ROW, GS_SUM, A_VARLIST, false, 0},
    {"rowmin", F_ROW, GS_MIN, A_VARLIST, false, 0},
    {"rowmax", F_ROW, GS_MAX, A_VARLIST, false, 0},
    {"rowmiss", F_ROW, GS_COUNT, A_VARLIST, false, T_LONG},
    {"rownonmiss", F_ROW, GS_FIRST, A_VARLIST, false, T_LONG},
    {"cut", F_CUT, GS_MEAN, A_VAR, false, 0},
    {"concat", F_CONCAT, GS_MEAN, A_VARLIST, false, 1},
};

struct EgenOpts {
    std::string by, at, punct;
    int groups = 0;
    double p = 50, mean0 = 0, sd0 = 1;
    bool missing = false, field = false, track = false, unique = false, icodes = false, label = false;
};

bool cell_missing(int v, int32_t i) {
    if (is_string_type(ds.vartype[(size_t)v - 1])) return *cell_addr(v, i) == 0;
    return is_missing(get_num(v, i));
}

// Ranks within each group of the values x of the entries: ties share the mean of their places, or
// with field the highest is 1, with track the lowest is 1 (ties share those), with unique every
// value has its own place, ties in the order of the observations.
int group_ranks(const EgenOpts &o, const std::vector<double> &x, const Grouping &g, std::vector<double> &r) {
    std::vector<int32_t> order;
    std::vector<int64_t> start;
    if (int rc = group_order(g.gid.data(), (int64_t)x.size(), g.ngroups, order, start)) return rc;
    r.assign(x.size(), session::lim.dot);
    std::vector<int32_t> e;
    for (int32_t q = 0; q < g.ngroups; ++q) {
        e.clear();
        for (int64_t a = start[(size_t)q]; a < start[(size_t)q + 1]; ++a)
            if (!is_missing(x[(size_t)order[(size_t)a]])) e.push_back(order[(size_t)a]);
        std::stable_sort(e.begin(), e.end(),
                         [&](int32_t a, int32_t b) { return x[(size_t)a] < x[(size_t)b]; });
        const size_t m = e.size();
        for (size_t a = 0; a < m;) {
            size_t b = a;
            while (b + 1 < m && x[(size_t)e[b + 1]] == x[(size_t)e[a]])
                ++b;
            for (size_t c = a; c <= b; ++c) {
                double v = (double)(a + b) / 2 + 1;
                if (o.unique) v = (double)c + 1;
                if (o.track) v = (double)a + 1;
                if (o.field) v = (double)(m - b);
                r[(size_t)e[c]] = v;
            }
            a = b + 1;
        }
    }
    return 0;
}

} // namespace

int cmd_egen(int) {
    using session::gettok;
    using session::SEP_STD;
    // [type] newvar =
    std::string w = gettok(SEP_STD);
    int type = w.empty() ? 0 : type_from_name(w.c_str());
    if (type) w = gettok(SEP_STD);
    if (w.empty()) return session::error(198);
    const std::string name = w;
    if (int rc = check_newname(name.c_str())) return rc;
    if (std::string(gettok(SEP_STD)) != "=") return session::error(198);
    // fcn(arguments)
    const std::string fname = gettok(SEP_STD);
    if (fname.empty()) return session::error(198);
    const char *p = session::tk.tokpos;
    while (*p == ' ')
        ++p;
    const FnRow *f = nullptr;
    for (const FnRow &r : fn_table)
        if (fname == r.name) f = &r;
    if (!f || *p != '(') return session::fail(133, "unknown egen function " + fname + "()\n");
    int depth = 0;
    const char *q = p;
    for (; *q; ++q) {
        if (*q == '(') ++depth;
        if (*q == ')' && --depth == 0) break;
    }
    if (!*q) return session::fail(198, "unmatched parenthesis\n");
    const std::string args(p + 1, q);
    session::tk.tokpos = q + 1;
    session::tk.tokpushed = false;

    ParseSpec spec;
    if (int rc = std_parse(spec)) return rc;
    EgenOpts o;
    const session::OptSpec specs[] = {
        session::opt_text("by", 2, o.by),           session::opt_real("p", 1, o.p),
        session::opt_flag("missing", 1, o.missing), session::opt_flag("field", 5, o.field),
        session::opt_flag("track", 5, o.track),     session::opt_flag("unique", 6, o.unique),
        session::opt_text("at", 2, o.at),           session::opt_int("group", 5, o.groups, 1, 1000000),
        session::opt_flag("icodes", 5, o.icodes),   session::opt_flag("label", 5, o.label),
        session::opt_text("punct", 5, o.punct),     session::opt_real("mean", 4, o.mean0),
        session::opt_real("std", 3, o.sd0),
    };
    if (int rc = std_options(specs)) return rc;
    if (o.punct.size() >= 2 && o.punct.front() == '"' && o.punct.back() == '"')
        o.punct = o.punct.substr(1, o.punct.size() - 2);
    if (f->stat == GS_PCTILE && fname == "median") o.p = 50;
    if (!(o.p >= 0 && o.p <= 100)) return session::fail(198, "p() must be between 0 and 100\n");
    if ((int)o.field + (int)o.track + (int)o.unique > 1)
        return session::fail(198, "options field, track and unique may not be combined\n");

    // the groups: by(), and the groups of a by prefix, which hands them over in __byindex
    std::vector<int> keys;
    const bool under_by = session::lp.byprefix && find_var("__byindex") > 0;
    if ((under_by || !o.by.empty()) && !f->byable)
        return session::fail(190, "egen " + fname + "() may not be combined with by\n");
    if (under_by) keys.push_back(find_var("__byindex"));
    if (!o.by.empty())
        if (int rc = expand_varlist(o.by, keys)) return rc;

    // the type of the result
    const bool text = f->fn == F_CONCAT;
    if (type && is_string_type(type) != text) return session::error(109);

    // the sample
    const int32_t lo = sample_lo(), hi = sample_hi();
    std::vector<double> wt;
    if (int rc = sample_weights(lo, hi, wt)) return rc;
    std::vector<int32_t> obs;
    for (int32_t i = lo; i <= hi; ++i)
        if (wt.empty() || wt[(size_t)(i - lo)] > 0) obs.push_back(i);
    const int64_t n = (int64_t)obs.size();
    const double dot = session::lim.dot;

    std::vector<double> x(obs.size()), res(obs.size(), dot);
    std::vector<std::string> sres;
    std::vector<int> vars;
    if (f->arg == A_EXP) {
        static ExprRecord rec;
        const char *end = nullptr;
        if (int rc = expr_compile(args.c_str(), rec, XW_NUM, &end)) return rc;
        while (end && *end == ' ')
            ++end;
        if (end && *end) return session::invalid_rest(end);
        sample_ranges(rec);
        expr_lastrc = 0;
        for (int64_t k = 0; k < n; ++k)
            x[(size_t)k] = expr_xeqforby(rec, obs[(size_t)k]);
        if (expr_lastrc) return expr_lastrc;
    } else {
        if (int rc = expand_varlist(args, vars)) return rc;
        if (vars.empty()) return session::required("varlist");
        if (f->arg == A_VAR && vars.size() != 1) return session::fail(103, "too many variables specified\n");
        const bool strok = f->fn == F_TAG || f->fn == F_GROUP || f->fn == F_CONCAT ||
                           (f->fn == F_ROW && (f->stat == GS_COUNT || f->stat == GS_FIRST));
        if (!strok)
            for (int v : vars)
                if (is_string_type(ds.vartype[(size_t)v - 1])) return session::error(109);
    }

    switch (f->fn) {
    case F_STAT: {
        Grouping g;
        if (int rc = group_obs(keys, obs.data(), n, g)) return rc;
        std::vector<double> out;
        if (int rc = group_stat(f->stat, o.p, GW_NONE, x.data(), nullptr, g.gid.data(), n, g.ngroups, out))
            return rc;
        std::vector<double> cnt;
        if (f->stat == GS_SUM && o.missing)
            if (int rc = group_stat(GS_COUNT, 0, GW_NONE, x.data(), nullptr, g.gid.data(), n, g.ngroups, cnt))
                return rc;
        for (int64_t k = 0; k < n; ++k) {
            const size_t q = (size_t)g.gid[(size_t)k];
            res[(size_t)k] = !cnt.empty() && cnt[q] == 0 ? dot : out[q];
        }
        break;
    }
    case F_RANK: {
        Grouping g;
        if (int rc = group_obs(keys, obs.data(), n, g)) return rc;
        if (int rc = group_ranks(o, x, g, res)) return rc;
        break;
    }
    case F_STD: {
        Grouping g;
        if (int rc = group_obs(keys, obs.data(), n, g)) return rc;
        std::vector<double> m, s;
        if (int rc = group_stat(GS_MEAN, 0, GW_NONE, x.data(), nullptr, g.gid.data(), n, g.ngroups, m))
            return rc;
        if (int rc = group_stat(GS_SD, 0, GW_NONE, x.data(), nullptr, g.gid.data(), n, g.ngroups, s))
            return rc;
        for (int64_t k = 0; k < n; ++k) {
            const size_t q = (size_t)g.gid[(size_t)k];
            if (!is_missing(x[(size_t)k]) && !is_missing(s[q]) && s[q] > 0)
                res[(size_t)k] = (x[(size_t)k] - m[q]) / s[q] * o.sd0 + o.mean0;
        }
        break;
    }
    case F_TAG:
    case F_GROUP: {
        // observations with a missing key are left out unless missing is given
        std::vector<int32_t> in;
        std::vector<int64_t> at;
        for (int64_t k = 0; k < n; ++k) {
            bool miss = false;
            for (int v : vars)
                if (cell_missing(v, obs[(size_t)k])) miss = true;
            if (miss && !o.missing) continue;
            in.push_back(obs[(size_t)k]);
            at.push_back(k);
        }
        std::vector<int> gk = keys;
        gk.insert(gk.end(), vars.begin(), vars.end());
        Grouping g;
        if (int rc = group_obs(gk, in.data(), (int64_t)in.size(), g)) return rc;
        if (f->fn == F_TAG) {
            std::fill(res.begin(), res.end(), 0.0);
            for (int32_t q2 = 0; q2 < g.ngroups; ++q2)
                res[(size_t)at[(size_t)g.first[(size_t)q2]]] = 1;
        } else {
            for (size_t k = 0; k < in.size(); ++k)
                res[(size_t)at[k]] = g.gid[k] + 1;
            if (o.label) {
                std::vector<ValueLabel> lab;
                char sb[maxstrvarlen + 1];
                for (int32_t q2 = 0; q2 < g.ngroups; ++q2) {
                    std::string t;
                    const int32_t i = in[(size_t)g.first[(size_t)q2]];
                    for (int v : vars) {
                        if (!t.empty()) t += " ";
                        if (is_string_type(ds.vartype[(size_t)v - 1])) {
                            get_str(v, i, sb);
                            t += sb;
                        } else {
                            const double val = get_num(v, i);
                            const char *vl = ds.vallab[(size_t)v - 1][0]
                                                 ? vl_text(ds.vallab[(size_t)v - 1], val)
                                                 : nullptr;
                            t += vl ? std::string(vl) : number_text(val);
                        }
                    }
                    lab.push_back(ValueLabel{q2 + 1, t});
                }
                if (vl_exists(name.c_str()))
                    return session::fail(110, "label " + name + " already defined\n");
                if (int rc = vl_store(name.c_str(), lab)) return rc;
            }
        }
        break;
    }
    case F_ROW:
        for (int64_t k = 0; k < n; ++k) {
            double s = 0, c = 0, mn = dot, mx = dot;
            int miss = 0;
            for (int v : vars) {
                if (cell_missing(v, obs[(size_t)k])) {
                    ++miss;
                    continue;
                }
                if (is_string_type(ds.vartype[(size_t)v - 1])) continue;
                const double val = get_num(v, obs[(size_t)k]);
                s += val;
                c += 1;
                if (is_missing(mn) || val < mn) mn = val;
                if (is_missing(mx) || val > mx) mx = val;
            }
            double r = dot;
            switch (f->stat) {
            case GS_MEAN:
                r = c > 0 ? s / c : dot;
                break;
            case GS_SUM:
                r = o.missing && c == 0 ? dot : s;
                break;
            case GS_MIN:
                r = mn;
                break;
            case GS_MAX:
                r = mx;
                break;
            case GS_COUNT:
                r = miss;
                break;
            default:
                r = (double)vars.size() - miss;
                break;
            }
            res[(size_t)k] = r;
        }
        break;
    case F_CUT: {
        const int v = vars[0];
        std::vector<double> cuts;
        if (o.at.empty() == (o.groups == 0))
            return session::fail(198, "one of at() and group() is required\n");
        for (int64_t k = 0; k < n; ++k)
            x[(size_t)k] = get_num(v, obs[(size_t)k]);
        if (!o.at.empty()) {
            NumlistOpts no;
            no.ascending = true;
            no.mincount = 2;
            if (int rc = numlist_parse(o.at, no, cuts, false)) return rc;
        } else {
            std::vector<double> vals, w0, out;
            for (double val : x)
                if (!is_missing(val)) vals.push_back(val);
            if (vals.empty()) return session::error(2000);
            const double mx = *std::max_element(vals.begin(), vals.end());
            const double mn = *std::min_element(vals.begin(), vals.end());
            std::vector<double> pcts;
            for (int j = 1; j < o.groups; ++j)
                pcts.push_back(100.0 * j / o.groups);
            cuts.push_back(mn);
            if (!pcts.empty()) percentiles(vals, w0, pcts, false, out);
            for (double c : out)
                cuts.push_back(c);
            cuts.push_back(mx + 1);
        }
        for (int64_t k = 0; k < n; ++k) {
            const double val = x[(size_t)k];
            if (is_missing(val)) continue;
            const auto it = std::upper_bound(cuts.begin(), cuts.end(), val);
            if (it == cuts.begin() || it == cuts.end()) continue;
            const size_t j = (size_t)(it - cuts.begin()) - 1;
            res[(size_t)k] = o.icodes ? (double)j : cuts[j];
        }
        break;
    }
    case F_CONCAT: {
        sres.assign(obs.size(), "");
        char sb[maxstrvarlen + 1];
        for (int64_t k = 0; k < n; ++k) {
            std::string t;
            for (size_t a = 0; a < vars.size(); ++a) {
                if (a) t += o.punct;
                const int v = vars[a];
                if (is_string_type(ds.vartype[(size_t)v - 1])) {
                    get_str(v, obs[(size_t)k], sb);
                    t += sb;
                } else {
                    t += number_text(get_num(v, obs[(size_t)k]));
                }
            }
            if (t.size() > (size_t)maxstrvarlen) t.resize((size_t)maxstrvarlen);
            sres[(size_t)k] = t;
        }
        break;
    }
    }
    if (session::poll_break()) return session::error(1);

    // the new variable, made and filled at once
    if (!type) {
        if (text) {
            size_t wmax = 1;
            for (const std::string &s : sres)
                wmax = std::max(wmax, s.size());
            type = (int)wmax;
        } else {
            type = f->deftype ? f->deftype : session::se.type == T_DOUBLE ? T_DOUBLE : T_FLOAT;
        }
    }
    int nv = 0;
    if (int rc = add_var(name.c_str(), type, &nv)) return rc;
    fill_missing(nv, 1);
    int64_t missing = 0;
    if (text) {
        for (int64_t k = 0; k < n; ++k)
            put_str(nv, obs[(size_t)k], sres[(size_t)k].c_str());
    } else {
        if (f->fn == F_TAG)
            for (int32_t i = 1; i <= ds.nobs; ++i)
                put_num(nv, i, 0);
        for (int64_t k = 0; k < n; ++k)
            put_num(nv, obs[(size_t)k], res[(size_t)k]);
        for (int32_t i = 1; i <= ds.nobs; ++i)
            if (is_missing(get_num(nv, i))) ++missing;
    }
    bump_changed();
    if (missing > 0) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("(%lld missing value%s generated)\n", (long long)missing, missing == 1 ? "" : "s");
    }
    return 0;
}

} // namespace data
