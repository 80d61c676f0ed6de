// The pivot step of the sweep, serial and on the parallel frame.
#include "matrix/sweep_smp.h"

#include "estimate/frame.h"

namespace mat {

void sweep_step(const SweepPivot &s) { sweep_rows(s, 0, s.n); }

int sweep_smp(const SweepPivot &s) {
    const est::Team tm = est::choose_team(s.n, D_SWEEP);
    if (!tm.parallel) {
        sweep_step(s);
        return 0;
    }
    return est::run_region(tm, [&](int, int64_t lo, int64_t hi) {
        for (int64_t i = lo; i < hi; ++i) {
            if (est::break_pending()) break;
            sweep_rows(s, i, i + 1);
        }
    });
}

} // namespace mat
