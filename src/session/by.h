// The `by` prefix: a command run once for each group of observations that share the values of the
// by-variables.
#pragma once

namespace data {

// by varlist [(varlist)] [, sort rc0] : command      (arg 1: bysort, which sorts first)
int cmd_by(int sort);

} // namespace data
