// The command table and the dispatcher's look-up.
#pragma once

#include "data/datacmd.h" // handlers of the data-management rows
#include "data/scalar.h"  // the scalar command
#include "output/log.h"   // log, cmdlog, translate, translator, chelp/man, view

namespace session {

// A command handler reads the rest of the line through the tokenizer and returns a return code.
// arg is the row's constant (shared handlers tell their commands apart by it).
using Handler = int (*)(int arg);

} // namespace session

namespace session {

// Version tests of the rows that depend on `version`.
enum VersionTest { V_ANY, V_GE600, V_GE800, V_LT600, V_LT800 };

struct CmdRow {
    const char *name;
    int minlen;
    Handler handler;
    int arg;
    VersionTest vtest;
};

// Finds the row that word resolves to under the version in force, or null.
const CmdRow *find_command(const char *word);
// The full name of the row being run (for messages of shared handlers).
extern const char *current_command;

// Handlers of the prefix commands and the small commands of the session core.
int cmd_na(int);
int cmd_capture(int);
int cmd_quietly(int);
int cmd_noisily(int);
int cmd_nobreak(int);
int cmd_break(int);
int cmd_version(int);
int cmd_sleep(int);
int cmd_set(int);
int cmd_query(int);
int cmd_creturn(int);
int cmd_pref(int);
// Reads the next token as a command word and dispatches the rest of the line (prefix commands).
int dispatch_rest();

} // namespace session
