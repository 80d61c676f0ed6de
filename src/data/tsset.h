// tsset: the dataset's time and panel variables; tsrevar: operated variables as scratch variables.
#pragma once

namespace data {

// tsset [[panelvar] timevar] [, delta(#) clear]
int cmd_tsset(int);
// tsrevar varlist [, substitute list]
int cmd_tsrevar(int);

} // namespace data
