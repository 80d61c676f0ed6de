// The linear regression command: _regress (the kernel's command, also reached as reg2).
#pragma once

namespace est {

// _regress [depvar [indepvars]] [if] [in] [weight] [, options]: without variables, the replay of
// the last regression.
int cmd__regress(int);

} // namespace est
