// count: the observations of the sample, shown and left in r(N).
#pragma once
#include <cstdint>

namespace data {

// count [if] [in]
int cmd_count(int);

// The number of observations sample_lo()..sample_hi() that pass the command's `if` (ifexp, with its
// ranges set), in parallel by the team rule when the `if` allows it and no by-group runs (countcmd).
// 0, 1 at a Break, or the code of a failure of the `if`.
int count_sample(int64_t *n);

} // namespace data
