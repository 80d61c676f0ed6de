// egen: a new variable from a function of groups, rows or lists of variables.
#pragma once

namespace data {

// egen [type] newvar = fcn(arguments) [if] [in] [, options]
int cmd_egen(int);

} // namespace data
