// summarize and _pctile: summary statistics of variables over a sample, shown in a table and left in
// r(), and the percentiles of one variable left in r().
#pragma once

namespace data {

// summarize [varlist] [if] [in] [weight] [, detail meanonly format separator(#)]
int cmd_summarize(int);
// _pctile varname [if] [in] [weight] [, nquantiles(#) percentiles(numlist) altdef]
int cmd__pctile(int);

} // namespace data
