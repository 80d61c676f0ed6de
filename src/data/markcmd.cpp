// mark, markout, marksample and markin, with their kernels (markcmd_smp, markout_smp, markin_smp):
// each runs over the observations of the sample, in parallel by the team rule when its expressions
// allow it, and writes only the cells of its own observations.
#include "data/markcmd.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/gen_smp.h"
#include "data/tsindex.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tempnames.h"
#include "session/tok.h"

namespace data {

using session::gettok;
using session::SEP_STD;

namespace {

constexpr int BLK = 256; // observations of an expression run in one call of the block machine

// rec's values at observations b..b+m-1 into out: by blocks when rec allows it.
int values(ExprRecord &rec, bool blocks, int32_t b, int m, double *out) {
    if (blocks) return expr_xeq_block(rec, b, m, out);
    for (int j = 0; j < m; ++j)
        if (int rc = expr_run(rec, b + j, &out[j], nullptr)) return rc;
    return 0;
}

// ---- mark -------------------------------------------------------------------------------------

struct MarkJob {
    int v;           // the byte variable
    bool zeroweight; // any weight that is not missing marks
    bool fweight;    // a weight that is not an integer is refused
    bool blocks;     // the `if` and the weight may run by blocks
};

// Observations lo..hi of mark: 1 when the `if` passes and the weight is positive (not missing with
// zeroweight), else 0. *nonint is set by a frequency weight with a fraction.
int markcmd_wrk(const MarkJob &job, int32_t lo, int32_t hi, bool poll, int *nonint) {
    const double dot = session::lim.dot;
    double tv[BLK], wv[BLK];
    for (int64_t b = lo; b <= hi; b += BLK) {
        if (poll && (b - lo) % 4096 == 0 && b > lo && session::poll_break()) return 1;
        const int m = (int)std::min<int64_t>(BLK, hi - b + 1);
        const int32_t first = (int32_t)b;
        if (sm.ifpresent) {
            if (int rc = values(ifexp, job.blocks, first, m, tv)) return rc;
        } else {
            std::fill(tv, tv + m, 1.0);
        }
        if (sm.wtype != WT_NONE) {
            if (int rc = values(wtexp, job.blocks, first, m, wv)) return rc;
        } else {
            std::fill(wv, wv + m, 1.0);
        }
        for (int k = 0; k < m; ++k) {
            const bool counted = tv[k] != 0 && wv[k] < dot;
            if (counted && job.fweight && wv[k] != std::trunc(wv[k])) *nonint = 1;
            *cell_addr(job.v, first + k) = (counted && (job.zeroweight || wv[k] > 0)) ? 1 : 0;
        }
    }
    return 0;
}

int markcmd_smp(const MarkJob &job, int32_t lo, int32_t hi, int *nonint) {
    const bool safe = job.blocks;
    const est::Team tm = est::choose_team((int64_t)hi - lo + 1, est::granularity("markcmd_smp"), safe);
    if (!tm.parallel) return markcmd_wrk(job, lo, hi, true, nonint);
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(int))) return rc;
    const int rc = run_stretches(tm, [&](int t, int64_t c0, int64_t c1) {
        markcmd_wrk(job, lo + (int32_t)c0, lo + (int32_t)(c1 - 1), false, ts.at<int>(t));
    });
    for (int t = 0; t < tm.size; ++t)
        if (*ts.at<int>(t)) *nonint = 1;
    return rc;
}

// ---- markout ----------------------------------------------------------------------------------

// Observations lo..hi: the mark goes to 0 where a variable of the list is missing ("" for text).
void markout_wrk(int m, const std::vector<int> &vars, int32_t lo, int32_t hi) {
    const double dot = session::lim.dot;
    for (int32_t i = lo; i <= hi; ++i) {
        char *mk = cell_addr(m, i);
        if (*mk == 0) continue;
        const char *row = row_addr(i);
        for (int v : vars) {
            const int t = ds.vartype[v - 1];
            const char *p = row + ds.offset[v - 1];
            if (is_string_type(t) ? *p == 0 : !(cell_get(p, t) < dot)) {
                *mk = 0;
                break;
            }
        }
    }
}

int markout_smp(int m, const std::vector<int> &vars, int32_t lo, int32_t hi) {
    const est::Team tm = est::choose_team((int64_t)hi - lo + 1, est::granularity("markout_smp"), true);
    if (!tm.parallel) {
        for (int64_t c = lo; c <= hi; c += STRETCH) {
            if (session::poll_break()) return 1;
            markout_wrk(m, vars, (int32_t)c, (int32_t)std::min<int64_t>(c + STRETCH - 1, hi));
        }
        return 0;
    }
    return run_stretches(tm, [&](int, int64_t c0, int64_t c1) {
        markout_wrk(m, vars, lo + (int32_t)c0, lo + (int32_t)(c1 - 1));
    });
}

// ---- markin -----------------------------------------------------------------------------------

struct FirstLast {
    int32_t first, last; // 0 when none
};

// The first and the last observation of lo..hi that pass the `if`.
int markin_wrk(int32_t lo, int32_t hi, bool blocks, bool poll, FirstLast *fl) {
    double tv[BLK];
    for (int64_t b = lo; b <= hi; b += BLK) {
        if (poll && (b - lo) % 4096 == 0 && b > lo && session::poll_break()) return 1;
        const int m = (int)std::min<int64_t>(BLK, hi - b + 1);
        if (int rc = values(ifexp, blocks, (int32_t)b, m, tv)) return rc;
        for (int k = 0; k < m; ++k)
            if (tv[k] != 0) {
                if (!fl->first) fl->first = (int32_t)b + k;
                fl->last = (int32_t)b + k;
            }
    }
    return 0;
}

int markin_smp(int32_t lo, int32_t hi, FirstLast *fl) {
    const est::Team tm =
        est::choose_team((int64_t)hi - lo + 1, est::granularity("markin_smp"), ifexp.parallel != 0);
    if (!tm.parallel) return markin_wrk(lo, hi, ifexp.parallel, true, fl);
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(FirstLast))) return rc;
    const int rc = run_stretches(tm, [&](int t, int64_t c0, int64_t c1) {
        markin_wrk(lo + (int32_t)c0, lo + (int32_t)(c1 - 1), true, false, ts.at<FirstLast>(t));
    });
    if (rc) return rc;
    for (int t = 0; t < tm.size; ++t) {
        const FirstLast *s = ts.at<FirstLast>(t);
        if (!s->first) continue;
        if (!fl->first) fl->first = s->first;
        fl->last = s->last;
    }
    return 0;
}

// ---- marksample -------------------------------------------------------------------------------

// A local macro of the running level, "" when it does not exist.
std::string local_text(const char *name) {
    const char *s = session::macro_get(session::local_name(name).c_str());
    return s ? s : "";
}

// Runs one command line through the dispatcher, as if the program had it next; the word of the
// command that called it is kept.
int run_line(const std::string &line) {
    char word[sizeof session::lp.cmdword];
    std::memcpy(word, session::lp.cmdword, sizeof word);
    session::settok(line.c_str());
    const int rc = session::dispatch_rest();
    std::memcpy(session::lp.cmdword, word, sizeof word);
    return rc;
}

// The by-state and the by-prefix flag set aside (marksample's noby).
struct NoBy {
    ByState saved = bys;
    uint8_t prefix = session::lp.byprefix;
    NoBy() {
        bys.state = 0;
        session::lp.byprefix = 0;
    }
    ~NoBy() {
        bys = saved;
        session::lp.byprefix = prefix;
    }
};

// The by part of marksample. Under the group loop, and in the groups of a `_byobs` block, the mark
// already stands within the group's bounds. A program that `by` runs once for all groups (onecall)
// finds the groups in the variable __byindex: outside `_byobs` every group is in the sample, so
// only the variable's presence and type are checked.
int by_part(int) {
    if (!bys.running || bys.state) return 0;
    const int bv = find_var("__byindex");
    if (!bv) return session::fail(111, "variable `byvar' not found\n");
    if (ds.vartype[bv - 1] != T_LONG) return session::fail(109, "variable `byvar' does not contain a long\n");
    return 0;
}

} // namespace

// mark newvar [weight] [if] [in] [, zeroweight]
int cmd_mark(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return session::error(198);
    int v = 0;
    if (bys.state == 2) {
        const int f = find_var(name.c_str());
        if (f > bys.nvar_at && ds.vartype[f - 1] == T_BYTE) v = f;
    }
    if (!v)
        if (int rc = check_newname(name.c_str())) return rc;
    ParseSpec spec;
    spec.weight = PO_OPTIONAL;
    spec.wmask = WT_F | WT_A | WT_P | WT_I;
    if (int rc = std_parse(spec)) return rc;
    bool zeroweight = false;
    const session::OptSpec opts[] = {session::opt_flag("zeroweight", 10, zeroweight)};
    if (int rc = std_options(opts)) return rc;

    const int32_t lo = sample_lo(), hi = sample_hi();
    const int nvar0 = ds.nvar;
    const int32_t changed0 = ds.changed;
    if (!v) {
        if (int rc = add_var(name.c_str(), T_BYTE, &v)) {
            return rc;
        }
        for (int32_t i = 1; i <= ds.nobs; ++i)
            if (i < lo || i > hi) *cell_addr(v, i) = 0;
    }
    if (sm.ifpresent) sample_ranges(ifexp);
    if (sm.wtype != WT_NONE) sample_ranges(wtexp);
    const MarkJob job{v, zeroweight, sm.wtype == WT_F,
                      (!sm.ifpresent || ifexp.parallel) && (sm.wtype == WT_NONE || wtexp.parallel)};
    int nonint = 0;
    int rc = hi >= lo ? markcmd_smp(job, lo, hi, &nonint) : 0;
    if (!rc && nonint) rc = session::error(401);
    if (rc) {
        if (!bys.state) { // under by, by puts the variables back
            cut_vars(nvar0);
            ds.changed = changed0;
        }
    }
    return rc;
}

// markout markvar [varlist] [, strok]
int cmd_markout(int) {
    ParseSpec spec;
    spec.varlist = PO_REQUIRED;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    spec.vlflags = VL_FV | VL_TS;
    if (int rc = std_parse(spec)) return rc;
    bool strok = false;
    const session::OptSpec opts[] = {session::opt_flag("strok", 5, strok)};
    if (int rc = std_options(opts)) return rc;
    const int m = ps.var[0];
    if (ds.vartype[m - 1] != T_BYTE)
        return session::fail(109, std::string(ds.varname[m - 1]) + " not byte\n");
    std::vector<int> vars;
    std::vector<int> operated; // list places of operated variables
    for (int k = 1; k < ps.count; ++k) {
        const int v = ps.var[k];
        if (is_string_type(ds.vartype[v - 1]) && !strok) return session::error(109);
        if (ps.info[k].op) {
            operated.push_back(k);
            continue;
        }
        if (!ps.info[k].fvterm) {
            vars.push_back(v);
            continue;
        }
        // a factor-variable term marks out on each of its variables
        const FvTerm &tm = ps.fv.terms[(size_t)ps.info[k].fvterm - 1];
        for (int j = tm.first; j < tm.first + tm.nvars; ++j)
            vars.push_back(ps.fv.varinfo[(size_t)j].var);
    }
    const int32_t lo = sample_lo(), hi = sample_hi();
    if (hi < lo) return 0;
    if (!operated.empty()) {
        // an operated variable marks out where its value is missing: serial, through the index
        const TsIndex *ix = nullptr;
        if (int rc = ts_index_now(&ix)) return rc;
        for (int k : operated)
            for (int32_t i = lo; i <= hi; ++i)
                if (get_num(m, i) != 0 && is_missing(ts_value(ps.var[k], *ps.info[k].op, i)))
                    put_num(m, i, 0);
    }
    if (vars.empty()) return 0;
    return markout_smp(m, vars, lo, hi);
}

// markin [if] [in] [, name(lname) noby]
int cmd_markin(int) {
    ParseSpec spec;
    if (int rc = std_parse(spec)) return rc;
    std::string name;
    bool noby = false;
    const session::OptSpec opts[] = {session::opt_name("name", 4, name), session::opt_flag("noby", 4, noby)};
    if (int rc = std_options(opts)) return rc;
    if (name.empty()) return session::fail(198, "option name() required\n");
    int32_t lo = sample_lo(), hi = sample_hi();
    if (noby) {
        lo = ps.inrange ? ps.in_lo : 1;
        hi = ps.inrange ? ps.in_hi : ds.nobs;
    }
    FirstLast fl{0, 0};
    if (hi >= lo) {
        if (!sm.ifpresent) {
            fl = {lo, hi};
        } else {
            if (noby)
                expr_set_ranges(ifexp, lo, hi, 1, ds.nobs);
            else
                sample_ranges(ifexp);
            if (int rc = markin_smp(lo, hi, &fl)) return rc;
        }
    }
    char text[48];
    if (fl.first)
        std::snprintf(text, sizeof text, "in %d/%d", fl.first, fl.last);
    else
        std::snprintf(text, sizeof text, "in 1/1");
    return session::macro_set(session::local_name(name).c_str(), text);
}

// marksample name [, zeroweight strok novarlist noby]
int cmd_marksample(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty() || name == ",") return session::error(198);
    if (int rc = session::check_name(name)) return rc;
    bool zeroweight = false, strok = false, novarlist = false, noby = false;
    const session::OptSpec opts[] = {
        session::opt_flag("zeroweight", 10, zeroweight),
        session::opt_flag("strok", 5, strok),
        session::opt_flag("novarlist", 9, novarlist),
        session::opt_flag("noby", 4, noby),
    };
    if (int rc = session::parse_options(opts)) return rc;

    // The caller's sample, as its own parse left it in its locals.
    const std::string weight = local_text("weight"), exp = local_text("exp");
    const std::string ifq = local_text("if"), in = local_text("in"), varlist = local_text("varlist");
    const std::string var = session::next_tempname();
    if (int rc = session::macro_set(session::local_name(name).c_str(), var)) return rc;
    std::string line = "mark " + var;
    if (!weight.empty()) {
        const size_t b = exp.find_first_not_of(' ');
        const bool eq = b != std::string::npos && exp[b] == '=';
        line += " [" + weight + (eq ? " " : " = ") + exp + "]";
    }
    if (!ifq.empty()) line += " " + ifq;
    if (!in.empty()) line += " " + in;
    if (zeroweight) line += ", zeroweight";

    std::unique_ptr<NoBy> aside;
    if (noby) aside = std::make_unique<NoBy>();
    if (int rc = run_line(line)) return rc;
    const int v = find_var(var.c_str());
    if (!v) return 0; // a prefix held it back
    if (!novarlist && varlist.find_first_not_of(' ') != std::string::npos)
        if (int rc = run_line("markout " + var + " " + varlist + (strok ? ", strok" : ""))) return rc;
    if (!noby) return by_part(v);
    return 0;
}

} // namespace data

// The dataset's part of the end of a program: the variables named by temporary names numbered from
// up to (not including) to, which tempvar and marksample gave out in it, go with the program.
namespace lang {

void drop_temp_variables(int64_t from, int64_t to) {
    if (from == to || data::ds.nvar == 0) return;
    std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
    bool any = false;
    for (int v = 1; v <= data::ds.nvar; ++v) {
        const int64_t n = session::tempname_number(data::ds.varname[v - 1]);
        if (n >= 0 && (to >= from ? n >= from && n < to : n >= from || n < to))
            flags[(size_t)v - 1] = any = true;
    }
    if (!any) return;
    // a program's scratch variables go also when it ran under by
    const uint8_t byprefix = session::lp.byprefix;
    session::lp.byprefix = 0;
    data::drop_vars(flags.data());
    session::lp.byprefix = byprefix;
}

} // namespace lang
