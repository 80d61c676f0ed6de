// generate and replace: their lines, the type of a new variable, the reports, and what a failure
// undoes; the loops over observations are the kernels of gen_smp.
#include "data/gen.h"

#include <string>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/expr.h"
#include "data/types.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

using session::gettok;
using session::SEP_STD;

namespace {

// Under `by` a command runs once per group; its counts run from the first group to the last, which
// reports them.
GenCounts gen_total;
RepCounts rep_total;
int rep_from = 0;        // the type of replace's variable before the first group
bool rep_failed = false; // a promotion failed in some group

bool first_run() { return bys.state <= 1; }
bool reports_now() { return bys.state == 0 || bys.last; }

// The sort list ends before v: the order of v is no longer known.
void cut_sortlist(int v) {
    for (int k = 0; ds.sortlist[k]; ++k)
        if (ds.sortlist[k] == v) {
            ds.sortlist[k] = 0;
            return;
        }
}

const char *plural(int64_t n) { return n == 1 ? "" : "s"; }

// The by-state set aside while one pass stands for all groups.
struct ByAside {
    ByState saved = bys;
    ByAside() { bys.state = 0; }
    ~ByAside() { bys = saved; }
};

} // namespace

// ---- generate -----------------------------------------------------------------------------------

int gen_parse(GenLine &g) {
    std::string w = gettok(SEP_STD);
    const int written = w.empty() ? 0 : type_from_name(w.c_str());
    if (written) w = gettok(SEP_STD);
    if (w.empty()) return session::error(198);
    g.name = w;
    g.var = 0;
    if (bys.state == 2) {
        const int v = find_var(w.c_str());
        if (v > bys.nvar_at) g.var = v;
    }
    if (!g.var)
        if (int rc = check_newname(w.c_str())) return rc;
    ParseSpec spec;
    spec.exp = PO_REQUIRED;
    spec.exptype = XW_ANY;
    spec.options = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    const bool text = eqexp.restype == XT_STR;
    if (written) {
        if (is_string_type(written) != text) return session::error(109);
        g.type = written;
    } else if (text) {
        // before version 8 the default numeric type applied to every expression
        if (session::lp.version < 800) return session::error(109);
        g.type = 1;
    } else {
        g.type = session::se.type == T_DOUBLE ? T_DOUBLE : T_FLOAT;
    }
    if (g.var && is_string_type(ds.vartype[g.var - 1]) != text) return session::error(109);
    return 0;
}

int gen_newvar(const GenLine &g, int32_t lo, int32_t hi, int *v, int64_t *filled) {
    if (int rc = add_var(g.name.c_str(), g.type, v)) return rc;
    const bool text = is_string_type(g.type);
    const double dot = session::lim.dot;
    int64_t n = 0;
    auto fill = [&](int32_t a, int32_t b) {
        for (int32_t i = a; i <= b; ++i)
            if (text)
                put_str(*v, i, "");
            else
                put_num(*v, i, dot);
        if (b >= a) n += (int64_t)b - a + 1;
    };
    if (lo > hi) {
        fill(1, ds.nobs);
    } else {
        fill(1, lo - 1);
        fill(hi + 1, ds.nobs);
    }
    *filled = n;
    return 0;
}

void gen_note(const GenCounts &c) {
    if (c.missing == 0) return;
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("(%lld missing value%s generated)\n", (long long)c.missing, plural(c.missing));
}

int cmd_generate(int) {
    GenLine g;
    if (int rc = gen_parse(g)) {
        return rc;
    }
    if (first_run()) gen_total = {};
    const int32_t lo = sample_lo(), hi = sample_hi();
    const int nvar0 = ds.nvar;
    const int32_t changed0 = ds.changed;
    int v = g.var;
    GenCounts c;
    if (!v) {
        int64_t filled = 0;
        if (int rc = gen_newvar(g, lo, hi, &v, &filled)) {
            return rc;
        }
        // under by each group counts its own observations
        if (!bys.state) c.missing = filled;
    }
    sample_ranges(eqexp);
    if (sm.ifpresent) sample_ranges(ifexp);
    const ObsGroup grp{lo, hi};
    if (int rc = gen_run(v, RunPlan{{&grp, 1}, false}, c)) {
        // no half-made variable
        if (!bys.state) { // under by, by puts the variables back
            cut_vars(nvar0);
            ds.changed = changed0;
        }
        return rc;
    }
    gen_total.add(c);
    if (reports_now()) gen_note(gen_total);
    return 0;
}

// ---- replace ------------------------------------------------------------------------------------

int rep_parse(RepLine &r) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.exp = PO_REQUIRED;
    spec.exptype = XW_ANY;
    spec.options = PO_OPTIONAL;
    if (int rc = std_parse(spec)) return rc;
    if (ps.count < 1) return session::error(102);
    if (ps.count > 1) return session::error(103);
    bool nopromote = false;
    const session::OptSpec opts[] = {session::opt_flag("nopromote", 9, nopromote)};
    if (int rc = std_options(opts)) return rc;
    r.var = ps.var[0];
    if (is_string_type(ds.vartype[r.var - 1]) != (eqexp.restype == XT_STR)) return session::error(109);
    r.promote = session::lp.version >= 320 && !nopromote;
    return 0;
}

void rep_note(int v, int from, const RepCounts &c) {
    const int to = ds.vartype[v - 1];
    if (to != from) type_change_note(TypeChange{v, from, to});
    out::ClassScope cs(out::CLS_TEXT);
    std::string s = "(" + std::to_string(c.changed) + " real change" + plural(c.changed) + " made";
    if (c.tomissing) s += ", " + std::to_string(c.tomissing) + " to missing";
    s += ")\n";
    out::out_text(s);
    if (c.truncated)
        out::out_textf("(%lld value%s truncated due to storage type)\n", (long long)c.truncated,
                       plural(c.truncated));
    if (c.chgmissing)
        out::out_textf("(%lld value%s changed to missing due to storage type)\n", (long long)c.chgmissing,
                       plural(c.chgmissing));
}

namespace {

// The run of replace over the plan, with what a change does to the dataset: the variable counts as
// changed and the sort list ends before it.
int rep_apply(const RepLine &r, const RunPlan &plan, RepCounts &c, bool *failed) {
    const int rc = rep_run(r.var, plan, r.promote, c, failed);
    if (c.changed) {
        mark_changed(ds.varname[r.var - 1]);
        cut_sortlist(r.var);
    }
    return rc;
}

} // namespace

int cmd_replace(int) {
    RepLine r;
    if (int rc = rep_parse(r)) {
        return rc;
    }
    if (first_run()) {
        rep_total = {};
        rep_from = ds.vartype[r.var - 1];
        rep_failed = false;
    }
    sample_ranges(eqexp);
    if (sm.ifpresent) sample_ranges(ifexp);
    const ObsGroup grp{sample_lo(), sample_hi()};
    RepCounts c;
    bool failed = false;
    const int rc = rep_apply(r, RunPlan{{&grp, 1}, false}, c, &failed);
    rep_total.add(c);
    rep_failed = rep_failed || failed;
    if (rc) {
        return rc;
    }
    if (reports_now() || failed) rep_note(r.var, rep_from, rep_total);
    if (failed) {
        return session::error(903);
    }
    return 0;
}

// ---- One pass over many by-groups --------------------------------------------------------------

int gen_by_groups(std::span<const ObsGroup> groups, bool *taken) {
    *taken = false;
    ByAside aside;
    GenLine g;
    if (int rc = gen_parse(g)) return rc;
    if (!eqexp.pure || (sm.ifpresent && !ifexp.pure)) return 0;
    *taken = true;
    const int nvar0 = ds.nvar;
    const int32_t changed0 = ds.changed;
    const int32_t lo = groups.empty() ? 1 : groups.front().lo;
    const int32_t hi = groups.empty() ? 0 : groups.back().hi;
    int v = 0;
    int64_t filled = 0;
    if (int rc = gen_newvar(g, lo, hi, &v, &filled)) return rc;
    sample_ranges(eqexp);
    if (sm.ifpresent) sample_ranges(ifexp);
    GenCounts c;
    c.missing = filled;
    if (int rc = gen_run(v, RunPlan{groups, true}, c)) {
        cut_vars(nvar0);
        ds.changed = changed0;
        return rc;
    }
    gen_note(c);
    return 0;
}

int rep_by_groups(std::span<const ObsGroup> groups, bool *taken) {
    *taken = false;
    ByAside aside;
    RepLine r;
    if (int rc = rep_parse(r)) return rc;
    if (!eqexp.pure || (sm.ifpresent && !ifexp.pure)) return 0;
    *taken = true;
    const int from = ds.vartype[r.var - 1];
    sample_ranges(eqexp);
    if (sm.ifpresent) sample_ranges(ifexp);
    RepCounts c;
    bool failed = false;
    if (int rc = rep_apply(r, RunPlan{groups, true}, c, &failed)) return rc;
    rep_note(r.var, from, c);
    return failed ? session::error(903) : 0;
}

} // namespace data
