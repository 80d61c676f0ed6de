// collapse: the groups of the by-variables and the statistics of each target, computed aside; the
// data are replaced only when everything has been computed.
#include "data/collapse.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/group_smp.h"
#include "data/labels.h"
#include "data/summarize.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

struct StatName {
    const char *name;
    GroupStat stat;
};
constexpr StatName stat_names[] = {
    {"mean", GS_MEAN},     {"sum", GS_SUM},         {"count", GS_COUNT},   {"sd", GS_SD},
    {"median", GS_PCTILE}, {"min", GS_MIN},         {"max", GS_MAX},       {"first", GS_FIRST},
    {"last", GS_LAST},     {"firstnm", GS_FIRSTNM}, {"lastnm", GS_LASTNM},
};

// One result variable: the statistic of a source variable under a name.
struct Target {
    GroupStat stat = GS_MEAN;
    double p = 50;
    std::string statname = "mean";
    std::string name;
    int src = 0;
};

// (stat): one of the names, or p1 to p99.
int read_stat(const std::string &word, Target &t) {
    for (const StatName &s : stat_names)
        if (word == s.name) {
            t.stat = s.stat;
            t.p = 50;
            t.statname = word;
            return 0;
        }
    if (word.size() >= 2 && word.size() <= 3 && word[0] == 'p' && word[1] != '0' &&
        word.find_first_not_of("0123456789", 1) == std::string::npos) {
        const int p = std::atoi(word.c_str() + 1);
        if (p >= 1 && p <= 99) {
            t.stat = GS_PCTILE;
            t.p = p;
            t.statname = word;
            return 0;
        }
    }
    return session::fail(198, "(" + word + ") is not a statistic collapse knows\n");
}

// The words of a clist: `(`, `)`, `=` and the runs of other characters between blanks.
std::vector<std::string> clist_words(const std::string &s) {
    std::vector<std::string> w;
    size_t i = 0;
    while (i < s.size()) {
        const char c = s[i];
        if (c == ' ' || c == '\t') {
            ++i;
        } else if (c == '(' || c == ')' || c == '=') {
            w.emplace_back(1, c);
            ++i;
        } else {
            size_t j = i;
            while (j < s.size() && !std::strchr(" \t()=", s[j]))
                ++j;
            w.push_back(s.substr(i, j - i));
            i = j;
        }
    }
    return w;
}

int read_clist(const std::string &text, std::vector<Target> &targets) {
    const std::vector<std::string> w = clist_words(text);
    Target cur;
    std::string chunk;
    auto flush = [&]() -> int {
        if (chunk.empty()) return 0;
        std::vector<int> vars;
        if (int rc = expand_varlist(chunk, vars)) return rc;
        chunk.clear();
        for (int v : vars) {
            Target t = cur;
            t.src = v;
            t.name = ds.varname[(size_t)v - 1];
            targets.push_back(t);
        }
        return 0;
    };
    for (size_t k = 0; k < w.size(); ++k) {
        if (w[k] == "(") {
            if (int rc = flush()) return rc;
            if (k + 2 >= w.size() || w[k + 2] != ")")
                return session::invalid_text(w[k] + (k + 1 < w.size() ? w[k + 1] : ""));
            if (int rc = read_stat(w[k + 1], cur)) return rc;
            k += 2;
        } else if (k + 1 < w.size() && w[k + 1] == "=") {
            if (int rc = flush()) return rc;
            if (k + 2 >= w.size() || w[k + 2] == "(" || w[k + 2] == ")" || w[k + 2] == "=")
                return session::invalid_text(w[k] + "=");
            if (int rc = session::check_name(w[k])) return rc;
            const int v = varlookup(w[k + 2], true, varabbrev);
            if (v < 0) return -v;
            Target t = cur;
            t.src = v;
            t.name = w[k];
            targets.push_back(t);
            k += 2;
        } else if (w[k] == ")" || w[k] == "=") {
            return session::invalid_text(w[k]);
        } else {
            chunk += " " + w[k];
        }
    }
    if (int rc = flush()) return rc;
    if (targets.empty()) return session::required("varlist");
    return 0;
}

// Where the clist ends: the first `,` or `[` outside parentheses, or the word `if` or `in`.
size_t clist_end(const char *p) {
    int depth = 0;
    for (size_t i = 0; p[i]; ++i) {
        const char c = p[i];
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (depth > 0) continue;
        if (c == ',' || c == '[') return i;
        if ((i == 0 || p[i - 1] == ' ') &&
            (std::strncmp(p + i, "if", 2) == 0 || std::strncmp(p + i, "in", 2) == 0) &&
            (p[i + 2] == ' ' || p[i + 2] == 0 || (p[i + 1] == 'f' && p[i + 2] == '(')))
            return i;
    }
    return std::strlen(p);
}

// The storage type of a target: counts are long while they fit, sums double, values taken from
// the source keep its type, other statistics are float unless the source is double.
int target_type(const Target &t, const std::vector<double> &r) {
    const int st = ds.vartype[(size_t)t.src - 1];
    switch (t.stat) {
    case GS_COUNT:
        for (double x : r)
            if (!(std::fabs(x) <= type_row(T_LONG).hi) || x != std::floor(x)) return T_DOUBLE;
        return T_LONG;
    case GS_SUM:
        return T_DOUBLE;
    case GS_MIN:
    case GS_MAX:
    case GS_FIRST:
    case GS_LAST:
    case GS_FIRSTNM:
    case GS_LASTNM:
        return st;
    default:
        return st == T_DOUBLE ? T_DOUBLE : T_FLOAT;
    }
}

} // namespace

int cmd_collapse(int) {
    // the clist first: it is not a variable list, so the standard parse reads what follows it
    const char *rest = session::tokrest();
    const size_t e = clist_end(rest);
    const std::string clist(rest, e);
    session::tk.tokpos = rest + e;
    session::tk.tokpushed = false;
    std::vector<Target> targets;
    if (int rc = read_clist(clist, targets)) return rc;

    ParseSpec spec;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_A | WT_F | WT_I | WT_P;
    spec.wdefault = WT_A;
    if (int rc = std_parse(spec)) return rc;
    std::string bytext;
    bool cw = false, fast = false;
    const session::OptSpec specs[] = {
        session::opt_text("by", 2, bytext),
        session::opt_flag("cw", 2, cw),
        session::opt_flag("fast", 4, fast),
    };
    if (int rc = std_options(specs)) return rc;
    std::vector<int> byvars;
    if (!bytext.empty())
        if (int rc = expand_varlist(bytext, byvars)) return rc;

    for (size_t a = 0; a < targets.size(); ++a) {
        const Target &t = targets[a];
        if (is_string_type(ds.vartype[(size_t)t.src - 1])) return session::error(109);
        for (int b : byvars)
            if (t.name == ds.varname[(size_t)b - 1])
                return session::fail(198,
                                     "variable " + t.name + " is a by-variable and cannot be a result\n");
        for (size_t b = 0; b < a; ++b)
            if (targets[b].name == t.name) return session::already_defined(t.name);
    }
    if ((int)(byvars.size() + targets.size()) > ds.maxvar) return session::error(900);

    // the sample: range, `if`, positive weights, and with cw every source present
    const int32_t lo = sample_lo(), hi = sample_hi();
    std::vector<double> wt;
    if (int rc = sample_weights(lo, hi, wt)) return rc;
    std::vector<int32_t> obs;
    std::vector<double> w;
    try {
        obs.reserve((size_t)std::max(0, hi - lo + 1));
        for (int32_t i = lo; i <= hi; ++i) {
            if (!wt.empty() && wt[(size_t)(i - lo)] <= 0) continue;
            if (cw) {
                bool all = true;
                for (const Target &t : targets)
                    if (is_missing(get_num(t.src, i))) {
                        all = false;
                        break;
                    }
                if (!all) continue;
            }
            obs.push_back(i);
            if (!wt.empty()) w.push_back(wt[(size_t)(i - lo)]);
        }
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    if (obs.empty()) return session::error(2000);
    const int64_t n = (int64_t)obs.size();

    Grouping g;
    if (int rc = group_obs(byvars, obs.data(), n, g)) return rc;
    const GroupWeight wk = sm.wtype == WT_F      ? GW_F
                           : sm.wtype == WT_I    ? GW_I
                           : sm.wtype == WT_NONE ? GW_NONE
                                                 : GW_A;
    std::vector<std::vector<double>> res(targets.size());
    std::vector<double> x;
    try {
        x.resize((size_t)n);
        int last_src = 0;
        for (size_t a = 0; a < targets.size(); ++a) {
            const Target &t = targets[a];
            if (t.src != last_src)
                for (int64_t k = 0; k < n; ++k)
                    x[(size_t)k] = get_num(t.src, obs[(size_t)k]);
            last_src = t.src;
            if (int rc = group_stat(t.stat, t.p, wk, x.data(), w.empty() ? nullptr : w.data(), g.gid.data(),
                                    n, g.ngroups, res[a]))
                return rc;
        }
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }

    // what the result keeps of the sources and the by-variables, read before anything goes
    struct Made {
        std::string name, label, fmt;
        int type;
    };
    std::vector<Made> made(targets.size());
    for (size_t a = 0; a < targets.size(); ++a) {
        const Target &t = targets[a];
        const char *srcname = ds.varname[(size_t)t.src - 1];
        const char *lab = varlabel_get(srcname);
        made[a].name = t.name;
        made[a].label = "(" + t.statname + ") " + (lab && *lab ? lab : srcname);
        made[a].type = target_type(t, res[a]);
        made[a].fmt = t.stat == GS_COUNT || t.stat == GS_SUM ? "" : ds.fmt[(size_t)t.src - 1];
    }
    std::vector<std::string> bynames;
    std::vector<std::vector<double>> bynum(byvars.size());
    std::vector<std::vector<std::string>> bystr(byvars.size());
    char sbuf[maxstrvarlen + 1];
    for (size_t q = 0; q < byvars.size(); ++q) {
        const int v = byvars[q];
        bynames.emplace_back(ds.varname[(size_t)v - 1]);
        for (int32_t k = 0; k < g.ngroups; ++k) {
            const int32_t i = obs[(size_t)g.first[(size_t)k]];
            if (is_string_type(ds.vartype[(size_t)v - 1])) {
                get_str(v, i, sbuf);
                bystr[q].emplace_back(sbuf);
            } else {
                bynum[q].push_back(get_num(v, i));
            }
        }
    }

    // the swap: as many observations as groups, whose by-variables get the groups' values; the
    // other variables go and the targets come
    obs_reset(g.ngroups);
    std::vector<uint8_t> flags((size_t)ds.nvar, 1);
    for (int v : byvars)
        flags[(size_t)v - 1] = 0;
    ds.sortlist[0] = 0;
    if (int rc = drop_vars(flags.data())) return rc;
    // without by-variables nothing is left, and the observations went with the last variable
    if (ds.nobs < g.ngroups)
        if (int rc = set_obs(g.ngroups)) return rc;
    std::vector<int> order;
    for (size_t q = 0; q < bynames.size(); ++q) {
        const int v = find_var(bynames[q].c_str());
        order.push_back(v);
        for (int32_t k = 0; k < g.ngroups; ++k) {
            if (is_string_type(ds.vartype[(size_t)v - 1]))
                put_str(v, k + 1, bystr[q][(size_t)k].c_str());
            else
                put_num(v, k + 1, bynum[q][(size_t)k]);
        }
    }
    if (!order.empty())
        if (int rc = order_vars(order.data(), (int)order.size())) return rc;
    for (size_t a = 0; a < made.size(); ++a) {
        int v = 0;
        if (int rc = add_var(made[a].name.c_str(), made[a].type, &v)) return rc;
        if (!made[a].fmt.empty()) std::snprintf(ds.fmt[(size_t)v - 1], FMTLEN + 1, "%s", made[a].fmt.c_str());
        for (int32_t k = 0; k < g.ngroups; ++k)
            put_num(v, k + 1, res[a][(size_t)k]);
        varlabel_set(made[a].name.c_str(), made[a].label);
    }
    for (size_t q = 0; q < bynames.size(); ++q)
        ds.sortlist[q] = (int16_t)find_var(bynames[q].c_str());
    ds.sortlist[bynames.size()] = 0;
    (void)fast;
    bump_changed();
    return 0;
}

} // namespace data
