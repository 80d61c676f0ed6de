// The execution state of the session, the line getter, the one-line executor and the dispatcher.
#pragma once
#include <cstdint>
#include <cstdio>

#include "session/reader.h"
#include "session/state.h"

namespace session {

// Returns 0 with a line in cmdbuf and settok done; 1 when the current source has ended.
int getline(int from_program, int prompt_flag);
// Runs the line in cmdbuf; returns 0 when the loop that called it is to end, else 1; code in lp.linerc.
int execline();
// Maps lp.cmdword to its handler; the rest of the line is unread at tk.tokpos.
int dispatch();
// Runs one line of text as a command through execline (profiles, the initial command).
int execute_text(const char *text);

// Runs the prompt loop at the top level until exit or end of input.
void prompt_loop();

} // namespace session
