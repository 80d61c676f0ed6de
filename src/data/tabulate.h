// tabulate: one-way frequency tables and two-way cross-tabulations with their tests.
#pragma once

namespace data {

// tabulate varname [varname] [if] [in] [weight] [, options]
int cmd_tabulate(int);

} // namespace data
