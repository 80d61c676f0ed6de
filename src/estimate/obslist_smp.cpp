// The parallel observation-list builders: each thread writes the passing observations of its block
// into the block's own place of one shared list, and the main thread closes the gaps in thread order.
#include "estimate/frame.h"

namespace est {

namespace {

// Shared by both builders; wgt null for none. Per-thread storage: the count and the weight sum.
int obslist_core(int32_t lo, int32_t hi, ObsTest test, ObsWeight wgt, const void *ctx, ObsList &list,
                 double *sumw, bool safe) {
    const int64_t n = hi >= lo ? (int64_t)hi - lo + 1 : 0;
    const Team tm = choose_team(n, D_OBSLIST, safe);
    if (!tm.parallel) {
        if (wgt) return buildobslistwithwgt(lo, hi, test, wgt, ctx, list, sumw);
        return buildobslist(lo, hi, test, ctx, list);
    }
    struct Slot {
        int64_t count;
        double sumw;
    };
    ThreadStore store;
    if (int rc = store.alloc(tm.size, sizeof(Slot))) return rc;
    list.resize((size_t)n); // every place a thread keeps is written before it is read
    int32_t *out = list.data();

    int rc = run_region(tm, [&](int t, int64_t b0, int64_t b1) {
        Slot *s = store.at<Slot>(t);
        int64_t k = b0;
        double w = 0;
        for (int64_t j = b0; j < b1; ++j) {
            if (break_pending()) break;
            const int32_t obs = lo + (int32_t)j;
            if (test(ctx, obs)) {
                out[k++] = obs;
                if (wgt) w += wgt(ctx, obs);
            }
        }
        s->count = k - b0;
        s->sumw = w;
    });
    if (rc) {
        list.clear();
        return rc;
    }
    // Blocks move down behind the list so far, thread by thread, so the list stays ascending.
    int64_t end = 0;
    double total = 0;
    for (int t = 0; t < tm.size; ++t) {
        int64_t b0, b1;
        block_of(t, tm.n, tm.B, &b0, &b1);
        const Slot *s = store.at<Slot>(t);
        if (end != b0)
            for (int64_t j = 0; j < s->count; ++j)
                out[end + j] = out[b0 + j];
        end += s->count;
        total += s->sumw;
    }
    list.resize((size_t)end);
    if (sumw) *sumw = total;
    return 0;
}

} // namespace

int buildobslist_smp(int32_t lo, int32_t hi, ObsTest test, const void *ctx, ObsList &list, bool safe) {
    return obslist_core(lo, hi, test, nullptr, ctx, list, nullptr, safe);
}

int buildobslistwithwgt_smp(int32_t lo, int32_t hi, ObsTest test, ObsWeight wgt, const void *ctx,
                            ObsList &list, double *sumw, bool safe) {
    return obslist_core(lo, hi, test, wgt, ctx, list, sumw, safe);
}

} // namespace est
