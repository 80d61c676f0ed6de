// Start-up and the one exit path of the process.
#pragma once
#include <cstdint>
#include <string>

#include "session/state.h"

namespace session {

int session_main(int argc, char **argv);
// The default global macros of stage 14 (S_ADO, the function-key texts and the rest).
void set_system_macros();
int set_sysdirs();
// The one exit path; never returns.
[[noreturn]] void exit_path(int status);

} // namespace session
