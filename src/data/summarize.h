// summarize and _pctile: summary statistics of variables over a sample, shown in a table and left in
// r(), and the percentiles of one variable left in r().
#pragma once
#include <cstdint>
#include <vector>

namespace data {

// The sample of the line as weights: for each observation of the range lo..hi, 0 when the `if`
// rejects it or its weight is missing or 0, else its weight (1 without one). Left empty (every
// observation in, weight 1) when the line has neither an `if` nor a weight. A negative weight of a
// kind that must be positive fails with 402, a frequency weight that is not an integer with 401.
int sample_weights(int32_t lo, int32_t hi, std::vector<double> &wt);

// summarize [varlist] [if] [in] [weight] [, detail meanonly format separator(#)]
int cmd_summarize(int);
// _pctile varname [if] [in] [weight] [, nquantiles(#) percentiles(numlist) altdef]
int cmd__pctile(int);

} // namespace data
