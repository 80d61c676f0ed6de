// The parallel frame of the kernels that run over observations: the team rule, blocks by thread
// number, per-thread storage, combination in thread order, and the observation list builders.
//
// A kernel (suffix _smp) follows one pattern: choose the team from the work count and the kernel's
// granularity; allocate per-thread storage on the main thread; run the region, in which each thread
// takes the block of its number, polls Break at every item and never prints, allocates from the
// named store or writes a global; then, on the main thread, test Break and combine the threads'
// results in the order of their numbers. The same data and the same team give the same bits.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include <omp.h>

#include "session/state.h"

namespace est {

struct Frame {
    int processors = 1;         // what `set processors` asked for
    int processorsNow = 1;      // the team size the runtime is set to
    bool adaptiveTeams = false; // processors above 2: teams narrow for small work
    int teamSize = 1;           // the team of the current region
};
extern Frame fr;

// The processors this session may use (at least 1).
int processors_max();
// Start-up: -p# (0 for the default of 1). Values outside 1..processors_max() are taken as 1.
void processors_init(int requested);
// set processors n: 0, or 125 with the single-number message when n is outside 1..processors_max().
int set_processors(int n);

// ---- Granularity -----------------------------------------------------------------------------------

struct GranRow {
    const char *source;
    const char *kernels; // blank-separated names
    int D;
};
extern const GranRow granularity_table[];
extern const int granularity_rows;
// D of a kernel by its name; 100 for a kernel not in the table.
int granularity(const char *kernel);

// ---- The team rule -------------------------------------------------------------------------------

struct Team {
    int size;      // threads
    int64_t n;     // work items
    int64_t B;     // block length: ceil(n / size)
    bool parallel; // size not 1, B at least D+1 and B above size
};

// The team for n items of granularity D under the given processors and adaptive flag.
Team team_rule(int64_t n, int D, int processors, bool adaptive);
// The same under the session's settings; records the size in fr.teamSize. safe false (an `if` or
// weight whose compiled form is not expressionSafe) makes the team 1: the serial twin runs.
Team choose_team(int64_t n, int D, bool safe = true);

// Items of block t: [*lo, *hi), counted from 0.
inline void block_of(int t, int64_t n, int64_t B, int64_t *lo, int64_t *hi) {
    *lo = (int64_t)t * B;
    *hi = (int64_t)(t + 1) * B;
    if (*hi > n) *hi = n;
    if (*lo > n) *lo = n;
}

// ---- Per-thread storage ----------------------------------------------------------------------------

// One block of bytes for each thread, allocated on the main thread before a region and freed on
// every path. A failed allocation frees what exists and gives 909 (message written).
struct ThreadStore {
    std::vector<std::unique_ptr<unsigned char[]>> slot;
    size_t bytes = 0;
    int alloc(int threads, size_t each);
    template <class T> T *at(int t) { return reinterpret_cast<T *>(slot[t].get()); }
};

// The Break poll of a region's loop: a fresh read on every pass, from any thread.
inline bool break_pending() { return session::poll_break() != 0; }

// ---- Running a region --------------------------------------------------------------------------

// The runtime's count lowered to the team for the region, and put back to processors afterwards
// (also when Break stopped it).
struct TeamScope {
    explicit TeamScope(int size);
    ~TeamScope();
};

// Runs body(t, lo, hi) for every block t of the team, threads in parallel; the body polls
// break_pending() on every pass and returns early when it is set. A region is never nested: inside
// a parallel region every block runs on the calling thread. Returns 1 when Break was pressed.
template <class Body> int run_region(const Team &tm, Body &&body) {
    fr.teamSize = tm.size;
    if (omp_in_parallel() || tm.size <= 1) {
        for (int t = 0; t < tm.size; ++t) {
            int64_t lo, hi;
            block_of(t, tm.n, tm.B, &lo, &hi);
            body(t, lo, hi);
        }
    } else {
        TeamScope scope(tm.size);
#pragma omp parallel num_threads(tm.size)
        {
            // The runtime may give fewer threads than asked: each takes every block of its number
            // modulo the team it got, so every block runs once and on fixed positions.
            const int got = omp_get_num_threads();
            for (int t = omp_get_thread_num(); t < tm.size; t += got) {
                int64_t lo, hi;
                block_of(t, tm.n, tm.B, &lo, &hi);
                body(t, lo, hi);
            }
        }
    }
    return break_pending() ? 1 : 0;
}

// ---- Observation lists ---------------------------------------------------------------------------

// The test of one observation (counted from 1): nonzero to keep it. May run on any thread, so it
// must only read.
using ObsTest = bool (*)(const void *ctx, int32_t obs);
// The weight of a kept observation.
using ObsWeight = double (*)(const void *ctx, int32_t obs);

inline constexpr int D_OBSLIST = 20; // granularity of the observation-list builders

// Growing an observation list leaves the new places unset rather than zeroed: the parallel builder
// sizes the list for every candidate and its threads write their own blocks first, so the pages are
// touched once, by the thread that fills them, instead of being cleared by the main thread beforehand.
template <class T> struct UninitAlloc : std::allocator<T> {
    template <class U> struct rebind { using other = UninitAlloc<U>; };
    UninitAlloc() = default;
    template <class U> UninitAlloc(const UninitAlloc<U> &) noexcept {}
    template <class U> void construct(U *p) noexcept(std::is_nothrow_default_constructible_v<U>) {
        ::new (static_cast<void *>(p)) U;
    }
    template <class U, class... Args> void construct(U *p, Args &&...args) {
        ::new (static_cast<void *>(p)) U(std::forward<Args>(args)...);
    }
};
using ObsList = std::vector<int32_t, UninitAlloc<int32_t>>;

// The observations lo..hi (from 1) that pass the test, ascending. 0, or 1 on Break. safe: the test
// may run on several threads at once (false keeps the parallel builders serial).
int buildobslist(int32_t lo, int32_t hi, ObsTest test, const void *ctx, ObsList &list);
int buildobslist_smp(int32_t lo, int32_t hi, ObsTest test, const void *ctx, ObsList &list, bool safe = true);
// The same, also summing the weights of the kept observations into *sumw.
int buildobslistwithwgt(int32_t lo, int32_t hi, ObsTest test, ObsWeight wgt, const void *ctx, ObsList &list,
                        double *sumw);
int buildobslistwithwgt_smp(int32_t lo, int32_t hi, ObsTest test, ObsWeight wgt, const void *ctx,
                            ObsList &list, double *sumw, bool safe = true);

// A touse-like marker: the observations where numeric variable v is neither 0 nor missing.
bool obstest_marker(const void *v_as_intptr, int32_t obs);

} // namespace est
