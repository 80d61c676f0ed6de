// chelp, man and view: help files and other files shown through the markup engine.
#pragma once

namespace out {

int cmd_chelp(int); // 0 chelp, 1 man
// view [file] filename ; view help [topic]
int cmd_view(int);

} // namespace out
