// The kernels of generate and replace: the command's `=exp` (eqexp), and its `if` (ifexp) when there
// is one, run over observations into one variable, serially or by the team rule in parallel, for one
// range of observations or for many by-groups in one pass.
#pragma once
#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <span>

#include "estimate/frame.h"
#include "session/state.h"

namespace data {

// Observations lo..hi, counted from 1.
struct ObsGroup {
    int32_t lo, hi;
};

// How a run is laid out. With bygroups clear there is one range, and the records' ranges stand as
// the caller set them (sample_ranges). With bygroups set every group is a by-group: before a group
// runs, its bounds become the records' group bounds (so _n, _N and subscripts count in it) and the
// running sums of sum() start again at 0; the `in` range of the records stays as the caller set it.
// A group is never split between threads, and its observations run in order, so the results are
// those of running the command once per group.
struct RunPlan {
    std::span<const ObsGroup> groups;
    bool bygroups = false;
};

// What generate counts: the missing values it stored in the observations of the run, those the
// `if` leaves out included.
struct GenCounts {
    int64_t missing = 0;
    void add(const GenCounts &o) { missing += o.missing; }
};

// What replace counts.
struct RepCounts {
    int64_t changed = 0;    // real changes
    int64_t tomissing = 0;  // changes that left a missing value
    int64_t truncated = 0;  // stores that read back as another number, or text cut
    int64_t chgmissing = 0; // stores of a number that read back as missing
    void add(const RepCounts &o) {
        changed += o.changed;
        tomissing += o.tomissing;
        truncated += o.truncated;
        chgmissing += o.chgmissing;
    }
};

// generate's run into the new variable v: each selected observation of the groups gets the value of
// eqexp, each observation the `if` leaves out `.` or "". A text longer than v's width widens v
// (promote) up to str244; longer text is cut there. The cells outside the groups are the caller's.
// Numeric targets run in parallel when the records allow it (their parallel flags, or with bygroups
// their pure flags) and the team rule says so; text targets run serially. Counts add into c. Returns
// 0, 1 at a Break, or the code of a failure with its message written.
int gen_run(int v, const RunPlan &plan, GenCounts &c);

// replace's run into variable v, whose kind matches eqexp's. promote: a byte, int, long or text
// target takes the type its values need (replace_type_for, and the text's length up to 244); such
// targets run serially, double and float targets as gen_run. When a promotion fails, promotion
// stops for the rest of the run and *promote_failed is set: the stores go on and are counted by the
// rules of a target that cannot promote (the caller ends with 903). Counts add into c. Returns 0, 1
// at a Break, or the code of a failure with its message written.
int rep_run(int v, const RunPlan &plan, bool promote, RepCounts &c, bool *promote_failed);

// The type an integer target of type t (byte, int, long) needs to hold x; t itself when it holds x,
// when x is missing, and for the other types.
int replace_type_for(int t, double x);

// The names of the kernels in the granularity table.
inline constexpr const char *GEN_KERNEL = "gen_wrk_smp";
inline constexpr const char *REPLACE_KERNEL = "replace";

// ---- Regions of the data commands ---------------------------------------------------------------

inline constexpr int64_t STRETCH = 1 << 14; // items a thread runs between two looks at the stop flag

// Runs body(t, c0, c1) over the blocks of the team tm (est::run_region), each block in stretches of
// at most STRETCH items. Break is looked at by the master thread only, between its stretches; it
// raises a flag that every thread reads before its next stretch. Returns 1 at a Break.
template <class Body> int run_stretches(const est::Team &tm, Body &&body) {
    std::atomic<int> stop{0};
    return est::run_region(tm, [&](int t, int64_t b0, int64_t b1) {
        for (int64_t c = b0; c < b1; c += STRETCH) {
            if (omp_get_thread_num() == 0 && session::poll_break()) stop.store(1, std::memory_order_relaxed);
            if (stop.load(std::memory_order_relaxed)) return;
            body(t, c, std::min(c + STRETCH, b1));
        }
    });
}

} // namespace data
