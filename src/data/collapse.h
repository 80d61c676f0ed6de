// collapse: the data in memory replaced by statistics of variables within groups.
#pragma once

namespace data {

// collapse clist [if] [in] [weight] [, by(varlist) cw fast]
// clist := { [(stat)] { [newvar =] varname | varlist } }
int cmd_collapse(int);

} // namespace data
