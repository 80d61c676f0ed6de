// The serial observation-list builders: the twins of the parallel ones, with the same arithmetic.
#include "data/dataset.h"
#include "estimate/frame.h"

namespace est {

int buildobslist(int32_t lo, int32_t hi, ObsTest test, const void *ctx, ObsList &list) {
    list.clear();
    for (int32_t i = lo; i <= hi; ++i) {
        if (session::lp.PendingBreak) {
            list.clear();
            return 1;
        }
        if (test(ctx, i)) list.push_back(i);
    }
    return 0;
}

int buildobslistwithwgt(int32_t lo, int32_t hi, ObsTest test, ObsWeight wgt, const void *ctx, ObsList &list,
                        double *sumw) {
    list.clear();
    double s = 0;
    for (int32_t i = lo; i <= hi; ++i) {
        if (session::lp.PendingBreak) {
            list.clear();
            return 1;
        }
        if (test(ctx, i)) {
            list.push_back(i);
            s += wgt(ctx, i);
        }
    }
    *sumw = s;
    return 0;
}

bool obstest_marker(const void *ctx, int32_t obs) {
    const int v = *static_cast<const int *>(ctx);
    const double x = data::get_num(v, obs);
    return x != 0 && !data::is_missing(x);
}

} // namespace est
