// Start-up: options, environment, system directory, memory, notes, profiles; and the exit path.
#include "session/sedit2.h"

#include <cstdlib>

namespace session {

Startup st;

int session_main(int, char **) { return 0; }

void exit_path(int status) { std::exit(status); }

}  // namespace session
