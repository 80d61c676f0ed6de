// The kernels of generate and replace. The serial twin (gen_wrk) runs the `if` and the `=exp` of the
// command over the observations in order, a block of observations at a time when both records allow
// it. The parallel kernel (gen_wrk_smp) first decides the sample, one byte per observation, collects
// the selected observations when only some are, and lets each thread of the team store the values of
// its block; by-groups go to the threads whole.
#include "data/gen_smp.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "output/channel.h"
#include "session/state.h"

namespace data {

namespace {

constexpr int BLK = 1024; // observations the block machine runs in one call
constexpr int64_t SUB = STRETCH;
constexpr int POLL = 4096; // observations the serial twin runs between two looks at Break

using est::Team;

// promote, with its message held back: a failed promotion of replace is reported as 903 after the
// loop, by the command.
int promote_quiet(int v, int type) {
    const uint8_t saved = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    const int rc = promote(v, type, ds.nobs);
    out::ch.OutputLevel = saved;
    return rc;
}

// ---- Stores: where the values of a run go, and what is counted -----------------------------------
//
// A store of numbers has put(i, x), and put_block, put_where, put_list and skip_where for a block
// of observations all, partly or not selected; one of text has put(i, s). Both have skip(i) for an
// observation the `if` leaves out, and add() for the counts of another thread's copy. A store is copied into
// each thread of a region as it stands, so it holds plain values only.

// The cells of variable v: the row base, the index and the stride, taken once per run (and again
// after a promotion, which may move the rows).
struct Column {
    char *db;
    const int32_t *ix;
    int64_t w;
    int32_t off;
    void take(int v) {
        db = ds.database;
        ix = ds.index;
        w = ds.width;
        off = ds.offset[v - 1];
    }
    char *cell(int32_t i) const { return db + (int64_t)ix[i - 1] * w + off; }
};

struct GenNum {
    static constexpr bool text = false;
    Column col;
    int type;
    double dot;
    GenCounts c;
    int put(int32_t i, double x) {
        char *p = col.cell(i);
        if (type == T_DOUBLE) {
            std::memcpy(p, &x, 8);
            if (!(x < dot)) ++c.missing;
        } else {
            cell_put(p, type, x);
            if (!(cell_get(p, type) < dot)) ++c.missing;
        }
        return 0;
    }
    void skip(int32_t i) {
        if (type == T_DOUBLE)
            std::memcpy(col.cell(i), &dot, 8);
        else
            cell_put(col.cell(i), type, dot);
        ++c.missing;
    }
    // Observations first..first+n-1, all selected: the column's place taken once for the block.
    int put_block(int32_t first, int n, const double *xv) {
        if (type != T_DOUBLE) {
            for (int k = 0; k < n; ++k)
                put(first + k, xv[k]);
            return 0;
        }
        char *const db = col.db + col.off;
        const int32_t *const ix = col.ix + (first - 1);
        const int64_t w = col.w;
        int64_t miss = 0;
        for (int k = 0; k < n; ++k) {
            std::memcpy(db + (int64_t)ix[k] * w, &xv[k], 8);
            miss += !(xv[k] < dot);
        }
        c.missing += miss;
        return 0;
    }
    // `.` where tv is 0.
    void skip_where(int32_t first, int n, const double *tv) {
        if (type != T_DOUBLE) {
            for (int k = 0; k < n; ++k)
                if (tv[k] == 0) skip(first + k);
            return;
        }
        char *const db = col.db + col.off;
        const int32_t *const ix = col.ix + (first - 1);
        const int64_t w = col.w;
        int64_t miss = 0;
        for (int k = 0; k < n; ++k)
            if (tv[k] == 0) {
                std::memcpy(db + (int64_t)ix[k] * w, &dot, 8);
                ++miss;
            }
        c.missing += miss;
    }
    // The observations list[0..m-1], whose values stand in xv at their number less a.
    int put_list(const int32_t *list, int m, int32_t a, const double *xv) {
        if (type != T_DOUBLE) {
            for (int j = 0; j < m; ++j)
                put(list[j], xv[list[j] - a]);
            return 0;
        }
        char *const db = col.db + col.off;
        const int32_t *const ix = col.ix - 1;
        const int64_t w = col.w;
        int64_t miss = 0;
        for (int j = 0; j < m; ++j) {
            const double v = xv[list[j] - a];
            std::memcpy(db + (int64_t)ix[list[j]] * w, &v, 8);
            miss += !(v < dot);
        }
        c.missing += miss;
        return 0;
    }
    // The same where tv is not 0, and `.` where it is.
    int put_where(int32_t first, int n, const double *tv, const double *xv) {
        if (type != T_DOUBLE) {
            for (int k = 0; k < n; ++k)
                if (tv[k] == 0)
                    skip(first + k);
                else
                    put(first + k, xv[k]);
            return 0;
        }
        char *const db = col.db + col.off;
        const int32_t *const ix = col.ix + (first - 1);
        const int64_t w = col.w;
        int64_t miss = 0;
        for (int k = 0; k < n; ++k) {
            const double v = tv[k] != 0 ? xv[k] : dot;
            std::memcpy(db + (int64_t)ix[k] * w, &v, 8);
            miss += !(v < dot);
        }
        c.missing += miss;
        return 0;
    }
    void add(const GenNum &o) { c.add(o.c); }
};

struct GenText {
    static constexpr bool text = true;
    int v;
    GenCounts c;
    int put(int32_t i, const char *s) {
        const int len = (int)std::strlen(s);
        const int w = ds.vartype[v - 1];
        if (len > w && w < maxstrvarlen) {
            if (int rc = promote(v, std::min(len, maxstrvarlen), ds.nobs)) return rc;
            // the variable is new: its format is the default of its width, not one scaled from str1
            default_format(ds.vartype[v - 1], ds.fmt[v - 1]);
        }
        put_str(v, i, s);
        if (!*s) ++c.missing;
        return 0;
    }
    void skip(int32_t i) {
        put_str(v, i, "");
        ++c.missing;
    }
    void add(const GenText &o) { c.add(o.c); }
};

struct RepNum {
    static constexpr bool text = false;
    Column col;
    int v;
    int type;
    double dot;
    bool promote;
    bool *failed; // only the serial twin promotes
    RepCounts c;

    // A promotion of the whole variable to type t; a failure turns promotion off for the rest.
    int grow(int t) {
        const int rc = promote_quiet(v, t);
        if (rc == 1) return 1;
        if (rc) {
            promote = false;
            *failed = true;
            return 0;
        }
        type = t;
        col.take(v);
        return 0;
    }
    int put(int32_t i, double x) {
        if (promote) {
            const int t = replace_type_for(type, x);
            if (t != type)
                if (int rc = grow(t)) return rc;
        }
        char *p = col.cell(i);
        const double old = cell_get(p, type);
        if (type == T_DOUBLE) {
            if (x != old) {
                std::memcpy(p, &x, 8);
                ++c.changed;
                if (!(x < dot)) ++c.tomissing;
            }
            return 0;
        }
        cell_put(p, type, x);
        const double back = cell_get(p, type);
        if (type == T_FLOAT) {
            // a float is changed by what it holds after the store; a number too large for it is
            // changed to missing by the type
            if (back != old) {
                ++c.changed;
                if (!(back < dot)) {
                    ++c.tomissing;
                    if (x < dot) ++c.chgmissing;
                }
            }
            return 0;
        }
        if (x != old) {
            ++c.changed;
            if (!(x < dot)) ++c.tomissing;
        }
        if (back != x) {
            if (!(back < dot)) {
                ++c.chgmissing;
                ++c.tomissing;
            } else {
                ++c.truncated;
            }
        }
        return 0;
    }
    void skip(int32_t) {}
    void skip_where(int32_t, int, const double *) {}
    int put_list(const int32_t *list, int m, int32_t a, const double *xv) {
        for (int j = 0; j < m; ++j)
            if (int rc = put(list[j], xv[list[j] - a])) return rc;
        return 0;
    }
    int put_where(int32_t first, int n, const double *tv, const double *xv) {
        for (int k = 0; k < n; ++k)
            if (tv[k] != 0)
                if (int rc = put(first + k, xv[k])) return rc;
        return 0;
    }
    // Observations first..first+n-1, all selected; a double target takes the column's place once.
    int put_block(int32_t first, int n, const double *xv) {
        if (promote || type != T_DOUBLE) {
            for (int k = 0; k < n; ++k)
                if (int rc = put(first + k, xv[k])) return rc;
            return 0;
        }
        char *const db = col.db + col.off;
        const int32_t *const ix = col.ix + (first - 1);
        const int64_t w = col.w;
        int64_t changed = 0, tomissing = 0;
        for (int k = 0; k < n; ++k) {
            char *p = db + (int64_t)ix[k] * w;
            double old;
            std::memcpy(&old, p, 8);
            if (xv[k] != old) {
                std::memcpy(p, &xv[k], 8);
                ++changed;
                tomissing += !(xv[k] < dot);
            }
        }
        c.changed += changed;
        c.tomissing += tomissing;
        return 0;
    }
    void add(const RepNum &o) { c.add(o.c); }
};

struct RepText {
    static constexpr bool text = true;
    int v;
    bool promote;
    bool *failed;
    RepCounts c;
    int put(int32_t i, const char *s) {
        char old[EXPR_STRBUF];
        get_str(v, i, old);
        const int len = (int)std::strlen(s);
        int w = ds.vartype[v - 1];
        if (len > w && promote && w < maxstrvarlen) {
            const int rc = promote_quiet(v, std::min(len, maxstrvarlen));
            if (rc == 1) return 1;
            if (rc) {
                promote = false;
                *failed = true;
            } else {
                w = ds.vartype[v - 1];
            }
        }
        if (std::strcmp(s, old) != 0) {
            ++c.changed;
            if (!*s) ++c.tomissing;
            put_str(v, i, s);
        }
        if (len > w) ++c.truncated;
        return 0;
    }
    void skip(int32_t) {}
    void add(const RepText &o) { c.add(o.c); }
};

// The values of ee at the observations first..first+n-1 whose tv is not 0, into xv: when most are
// wanted, by one call of the block machine over all n (the record's parallel flag says that running
// it where it is not wanted changes nothing), else observation by observation.
int values_where(ExprRecord &ee, int32_t first, int n, const double *tv, double *xv) {
    int m = 0;
    for (int k = 0; k < n; ++k)
        m += tv[k] != 0;
    if (m * 4 >= n) return expr_xeq_block(ee, first, n, xv);
    for (int k = 0; k < n; ++k) {
        xv[k] = session::lim.dot;
        if (tv[k] != 0)
            if (int rc = expr_run(ee, first + k, &xv[k], nullptr)) return rc;
    }
    return 0;
}

// ---- The serial twin -------------------------------------------------------------------------------

// Observations lo..hi in order: the `if` (when hasif), then the value of each selected observation
// into the store. blocks: both records may run a block of observations at a time (their parallel
// flags are set, so no observation reads what another stored). poll: look at Break every POLL
// observations; a thread of a region is stopped between its stretches instead.
template <class St>
int gen_wrk(ExprRecord &ie, bool hasif, ExprRecord &ee, int32_t lo, int32_t hi, St &st, bool blocks,
            bool poll) {
    if constexpr (St::text) {
        char buf[EXPR_STRBUF];
        for (int32_t i = lo; i <= hi; ++i) {
            if (poll && (i - lo) % POLL == POLL - 1 && session::poll_break()) return 1;
            if (hasif) {
                double t;
                if (int rc = expr_run(ie, i, &t, nullptr)) return rc;
                if (t == 0) {
                    st.skip(i);
                    continue;
                }
            }
            if (int rc = expr_run(ee, i, nullptr, buf)) return rc;
            if (int rc = st.put(i, buf)) return rc;
        }
        return 0;
    } else {
        if (!blocks) {
            for (int32_t i = lo; i <= hi; ++i) {
                if (poll && (i - lo) % POLL == POLL - 1 && session::poll_break()) return 1;
                double x;
                if (hasif) {
                    if (int rc = expr_run(ie, i, &x, nullptr)) return rc;
                    if (x == 0) {
                        st.skip(i);
                        continue;
                    }
                }
                if (int rc = expr_run(ee, i, &x, nullptr)) return rc;
                if (int rc = st.put(i, x)) return rc;
            }
            return 0;
        }
        double tv[BLK], xv[BLK];
        for (int64_t b = lo; b <= hi; b += BLK) {
            if (poll && (b - lo) % POLL == 0 && b > lo && session::poll_break()) return 1;
            const int n = (int)std::min<int64_t>(BLK, hi - b + 1);
            const int32_t first = (int32_t)b;
            if (!hasif) {
                if (int rc = expr_xeq_block(ee, first, n, xv)) return rc;
                if (int rc = st.put_block(first, n, xv)) return rc;
                continue;
            }
            if (int rc = expr_xeq_block(ie, first, n, tv)) return rc;
            if (int rc = values_where(ee, first, n, tv, xv)) return rc;
            if (int rc = st.put_where(first, n, tv, xv)) return rc;
        }
        return 0;
    }
}

// The observations at list positions p0..p1-1 (ascending), a window of BLK observation numbers at a
// time: a window the list fills densely runs by one call of the block machine, a sparse one
// observation by observation.
template <class St> int list_wrk(ExprRecord &ee, const int32_t *list, int64_t p0, int64_t p1, St &st) {
    double xv[BLK];
    for (int64_t p = p0; p < p1;) {
        const int32_t a = list[p];
        int64_t q = p + 1;
        while (q < p1 && list[q] - a < BLK)
            ++q;
        const int span = list[q - 1] - a + 1;
        if ((q - p) * 4 >= span) {
            if (int rc = expr_xeq_block(ee, a, span, xv)) return rc;
        } else {
            for (int64_t j = p; j < q; ++j)
                if (int rc = expr_run(ee, list[j], &xv[list[j] - a], nullptr)) return rc;
        }
        if (int rc = st.put_list(list + p, (int)(q - p), a, xv)) return rc;
        p = q;
    }
    return 0;
}

// ---- The parallel kernel ---------------------------------------------------------------------------

// A thread's copy of the store, with its count of selected observations and its return code.
template <class St> struct Slot {
    St st;
    int64_t nsel;
    int rc;
};

// Allocates a copy of proto for each thread of the team, with its counts at 0.
template <class St> int thread_slots(est::ThreadStore &ts, const Team &tm, const St &proto) {
    if (int rc = ts.alloc(tm.size, sizeof(Slot<St>))) return rc;
    for (int t = 0; t < tm.size; ++t) {
        Slot<St> *s = ts.at<Slot<St>>(t);
        s->st = proto;
        s->st.c = {};
        s->nsel = 0;
        s->rc = 0;
    }
    return 0;
}

// The counts of the threads into proto, in the order of their numbers; the first failure's code.
template <class St> int gather(est::ThreadStore &ts, const Team &tm, St &proto, int64_t *nsel) {
    int rc = 0;
    for (int t = 0; t < tm.size; ++t) {
        const Slot<St> *s = ts.at<Slot<St>>(t);
        proto.add(s->st);
        if (nsel) *nsel += s->nsel;
        if (!rc) rc = s->rc;
    }
    return rc;
}

bool sel_test(const void *ctx, int32_t obs) {
    const auto *c = static_cast<const std::pair<const uint8_t *, int32_t> *>(ctx);
    return c->first[obs - c->second] != 0;
}

// The observations lo..hi on the team tm (parallel by the rule). With an `if`, the sample is decided
// first, one byte per observation, in a pass on the same team, in which generate stores `.` in the
// observations left out; when only some are selected, their numbers are collected and the rule is
// applied again to their count.
template <class St> int gen_wrk_smp(const Team &tm, bool hasif, int32_t lo, int32_t hi, St &proto, int D) {
    est::ThreadStore ts;
    if (hasif) {
        const int64_t n = (int64_t)hi - lo + 1;
        std::vector<uint8_t> sel((size_t)n);
        if (int rc = thread_slots(ts, tm, proto)) return rc;
        int rc = run_stretches(tm, [&](int t, int64_t c0, int64_t c1) {
            Slot<St> *s = ts.at<Slot<St>>(t);
            double tv[BLK];
            for (int64_t b = c0; b < c1; b += BLK) {
                const int m = (int)std::min<int64_t>(BLK, c1 - b);
                const int32_t first = lo + (int32_t)b;
                if (expr_xeq_block(ifexp, first, m, tv)) return; // only impure records fail
                uint8_t *const sb = sel.data() + b;
                int64_t on = 0;
                for (int k = 0; k < m; ++k) {
                    sb[k] = tv[k] != 0;
                    on += sb[k];
                }
                s->nsel += on;
                if (on < m) s->st.skip_where(first, m, tv);
            }
        });
        int64_t nsel = 0;
        const int rc2 = gather(ts, tm, proto, &nsel);
        if (rc) return rc;
        if (rc2) return rc2;
        if (nsel == 0) return 0;
        if (nsel < n) {
            const std::pair<const uint8_t *, int32_t> ctx{sel.data(), lo};
            est::ObsList list;
            if (int rc3 = est::buildobslist_smp(lo, hi, sel_test, &ctx, list)) return rc3;
            const Team tw = est::choose_team((int64_t)list.size(), D, true);
            if (!tw.parallel) {
                const int32_t *l = list.data();
                for (int64_t p = 0; p < (int64_t)list.size(); p += SUB) {
                    if (session::poll_break()) return 1;
                    if (int rc3 = list_wrk(eqexp, l, p, std::min<int64_t>(p + SUB, list.size()), proto))
                        return rc3;
                }
                return 0;
            }
            if (int rc3 = thread_slots(ts, tw, proto)) return rc3;
            const int32_t *l = list.data();
            rc = run_stretches(tw, [&](int t, int64_t p0, int64_t p1) {
                Slot<St> *s = ts.at<Slot<St>>(t);
                if (!s->rc) s->rc = list_wrk(eqexp, l, p0, p1, s->st);
            });
            const int rc3 = gather(ts, tw, proto, nullptr);
            return rc ? rc : rc3;
        }
        // every observation is selected: the work loop needs no `if`
    }
    if (int rc = thread_slots(ts, tm, proto)) return rc;
    const int rc = run_stretches(tm, [&](int t, int64_t c0, int64_t c1) {
        Slot<St> *s = ts.at<Slot<St>>(t);
        if (!s->rc)
            s->rc =
                gen_wrk(eqexp, false, eqexp, lo + (int32_t)c0, lo + (int32_t)(c1 - 1), s->st, true, false);
    });
    const int rc2 = gather(ts, tm, proto, nullptr);
    return rc ? rc : rc2;
}

// ---- By-groups -------------------------------------------------------------------------------------

void set_group(ExprRecord &rec, const ObsGroup &g) {
    rec.grp_first = g.lo;
    rec.grp_last = g.hi;
    for (double &s : rec.sums)
        s = 0;
}

// The groups in order, on this thread.
template <class St> int groups_serial(std::span<const ObsGroup> groups, bool hasif, bool blocks, St &st) {
    for (const ObsGroup &g : groups) {
        if (session::poll_break()) return 1;
        if (g.hi < g.lo) continue;
        set_group(eqexp, g);
        if (hasif) set_group(ifexp, g);
        if (int rc = gen_wrk(ifexp, hasif, eqexp, g.lo, g.hi, st, blocks, true)) return rc;
    }
    return 0;
}

// A thread's copy of the store and of the records, whose group bounds and running sums are its own.
template <class St> struct GroupSlot {
    St st;
    int rc;
    ExprRecord ie, ee;
};

// The groups on the team: thread t takes the groups that begin in its block of observation positions
// (counted over the groups), so a group is never split.
template <class St>
int groups_smp(const Team &tm, std::span<const ObsGroup> groups, bool hasif, bool blocks, St &proto) {
    std::vector<int64_t> start(groups.size() + 1);
    start[0] = 0;
    for (size_t g = 0; g < groups.size(); ++g)
        start[g + 1] = start[g] + std::max<int64_t>(0, (int64_t)groups[g].hi - groups[g].lo + 1);
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(GroupSlot<St>))) return rc;
    St zero = proto;
    zero.c = {};
    for (int t = 0; t < tm.size; ++t) {
        GroupSlot<St> *s = ts.at<GroupSlot<St>>(t);
        s->st = zero;
        s->rc = 0;
        std::memcpy(&s->ie, &ifexp, sizeof(ExprRecord));
        std::memcpy(&s->ee, &eqexp, sizeof(ExprRecord));
    }
    std::atomic<int> stop{0};
    const int rc = est::run_region(tm, [&](int t, int64_t b0, int64_t b1) {
        GroupSlot<St> *s = ts.at<GroupSlot<St>>(t);
        size_t g = (size_t)(std::lower_bound(start.begin(), start.end() - 1, b0) - start.begin());
        for (; g < groups.size() && start[g] < b1; ++g) {
            if (omp_get_thread_num() == 0 && session::poll_break()) stop.store(1, std::memory_order_relaxed);
            if (stop.load(std::memory_order_relaxed)) return;
            const ObsGroup &gr = groups[g];
            if (gr.hi < gr.lo) continue;
            set_group(s->ee, gr);
            if (hasif) set_group(s->ie, gr);
            if ((s->rc = gen_wrk(s->ie, hasif, s->ee, gr.lo, gr.hi, s->st, blocks, false))) {
                stop.store(1, std::memory_order_relaxed);
                return;
            }
        }
    });
    int rc2 = 0;
    for (int t = 0; t < tm.size; ++t) {
        const GroupSlot<St> *s = ts.at<GroupSlot<St>>(t);
        proto.add(s->st);
        if (!rc2) rc2 = s->rc;
    }
    return rc ? rc : rc2;
}

// ---- The run ---------------------------------------------------------------------------------------

// Runs the plan into the store: in parallel when parallel_ok (the target allows threads) and the
// records and the team rule allow it, else by the serial twin.
template <class St> int run_plan(St &st, const RunPlan &plan, bool parallel_ok, const char *kernel) {
    const bool hasif = sm.ifpresent;
    const int D = est::granularity(kernel);
    // both records may run by blocks: no observation reads another's value, nothing keeps a state
    const bool blocks = eqexp.parallel && (!hasif || ifexp.parallel);
    int64_t n = 0;
    for (const ObsGroup &g : plan.groups)
        n += std::max<int64_t>(0, (int64_t)g.hi - g.lo + 1);
    // text is never stored from threads: a longer value repartitions the store
    if constexpr (St::text) parallel_ok = false;
    if (plan.bygroups) {
        const bool safe = parallel_ok && eqexp.pure && (!hasif || ifexp.pure);
        const Team tm = est::choose_team(n, D, safe);
        if constexpr (!St::text)
            if (tm.parallel) return groups_smp(tm, plan.groups, hasif, blocks, st);
        return groups_serial(plan.groups, hasif, blocks, st);
    }
    for (const ObsGroup &g : plan.groups) {
        if (g.hi < g.lo) continue;
        const Team tm = est::choose_team((int64_t)g.hi - g.lo + 1, D, parallel_ok && blocks);
        int rc;
        if constexpr (!St::text)
            rc = tm.parallel ? gen_wrk_smp(tm, hasif, g.lo, g.hi, st, D)
                             : gen_wrk(ifexp, hasif, eqexp, g.lo, g.hi, st, blocks, true);
        else
            rc = gen_wrk(ifexp, hasif, eqexp, g.lo, g.hi, st, blocks, true);
        if (rc) return rc;
    }
    return 0;
}

} // namespace

int replace_type_for(int t, double x) {
    if (t != T_BYTE && t != T_INT && t != T_LONG) return t;
    if (!(x < session::lim.dot)) return t;
    if (x != std::trunc(x)) return t == T_LONG ? T_DOUBLE : T_FLOAT;
    if (dexponent(x) >= 31) return T_DOUBLE;
    int r = t;
    if (r == T_BYTE && (x < type_row(T_BYTE).lo || x > type_row(T_BYTE).hi)) r = T_INT;
    if (r == T_INT && (x < type_row(T_INT).lo || x > type_row(T_INT).hi)) r = T_LONG;
    if (r == T_LONG && (x < type_row(T_LONG).lo || x > type_row(T_LONG).hi)) r = T_DOUBLE;
    return r;
}

int gen_run(int v, const RunPlan &plan, GenCounts &c) {
    const int type = ds.vartype[v - 1];
    if (is_string_type(type)) {
        GenText st{v, {}};
        const int rc = run_plan(st, plan, false, GEN_KERNEL);
        c.add(st.c);
        return rc;
    }
    GenNum st{};
    st.col.take(v);
    st.type = type;
    st.dot = session::lim.dot;
    const int rc = run_plan(st, plan, true, GEN_KERNEL);
    c.add(st.c);
    return rc;
}

int rep_run(int v, const RunPlan &plan, bool promote, RepCounts &c, bool *promote_failed) {
    const int type = ds.vartype[v - 1];
    if (is_string_type(type)) {
        RepText st{v, promote, promote_failed, {}};
        const int rc = run_plan(st, plan, false, REPLACE_KERNEL);
        c.add(st.c);
        return rc;
    }
    RepNum st{};
    st.col.take(v);
    st.v = v;
    st.type = type;
    st.dot = session::lim.dot;
    st.promote = promote && (type == T_BYTE || type == T_INT || type == T_LONG);
    st.failed = promote_failed;
    // a target that may change its type under the loop runs on one thread
    const int rc = run_plan(st, plan, !st.promote, REPLACE_KERNEL);
    c.add(st.c);
    return rc;
}

} // namespace data
