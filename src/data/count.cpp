// count: the observations of the sample, shown and left in r(N).
#include "data/count.h"

#include <algorithm>

#include "data/expr.h"
#include "data/gen_smp.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"

namespace data {

namespace {

constexpr int BLK = 256; // observations of the `if` run in one call of the block machine

// Observations lo..hi that pass rec; blocks: rec may run a block at a time. poll: look at Break.
int count_wrk(ExprRecord &rec, int32_t lo, int32_t hi, bool blocks, bool poll, int64_t *n) {
    int64_t k = 0;
    double tv[BLK];
    for (int64_t b = lo; b <= hi; b += BLK) {
        if (poll && (b - lo) % 4096 == 0 && b > lo && session::poll_break()) return 1;
        const int m = (int)std::min<int64_t>(BLK, hi - b + 1);
        if (blocks) {
            if (int rc = expr_xeq_block(rec, (int32_t)b, m, tv)) return rc;
        } else {
            for (int j = 0; j < m; ++j)
                if (int rc = expr_run(rec, (int32_t)b + j, &tv[j], nullptr)) return rc;
        }
        for (int j = 0; j < m; ++j)
            k += tv[j] != 0;
    }
    *n += k;
    return 0;
}

} // namespace

int count_sample(int64_t *n) {
    *n = 0;
    const int32_t lo = sample_lo(), hi = sample_hi();
    if (hi < lo) return 0;
    if (!sm.ifpresent) {
        *n = (int64_t)hi - lo + 1;
        return 0;
    }
    sample_ranges(ifexp);
    expr_lastrc = 0;
    const est::Team tm = est::choose_team((int64_t)hi - lo + 1, est::granularity("countcmd"),
                                          ifexp.parallel && bys.state == 0);
    if (!tm.parallel) return count_wrk(ifexp, lo, hi, ifexp.parallel, true, n);
    est::ThreadStore ts;
    if (int rc = ts.alloc(tm.size, sizeof(int64_t))) return rc;
    const int rc = run_stretches(tm, [&](int t, int64_t c0, int64_t c1) {
        count_wrk(ifexp, lo + (int32_t)c0, lo + (int32_t)(c1 - 1), true, false, ts.at<int64_t>(t));
    });
    if (rc) return rc;
    for (int t = 0; t < tm.size; ++t)
        *n += *ts.at<int64_t>(t);
    return 0;
}

// count [if] [in]
int cmd_count(int) {
    ParseSpec spec;
    spec.options = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    int64_t n = 0;
    if (int rc = count_sample(&n)) return rc;
    mat::r_clear();
    if (int rc = mat::r_set_scalar("N", (double)n)) return rc;
    out::ClassScope cs(out::CLS_RESULT);
    out::out_textf("  %lld\n", (long long)n);
    return 0;
}

} // namespace data
