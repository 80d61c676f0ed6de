// The `error` command.
#pragma once

namespace session {

// error exp
int cmd_error(int);

} // namespace session
