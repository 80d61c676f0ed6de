// Stored programs, do-files and the call frame.
#pragma once
#include <string>

namespace lang {

// Copies the next line of the running program into buf; 0 with a line, 1 at its end.
int program_next_line(char *buf, int cap);
// Runs a stored program or plugin named name; sets *found false when there is none.
int run_stored_program(const char *name, bool *found);
// Loads <name>.ado from the ado path and runs it; sets *found false when no file exists.
int run_ado(const char *name, bool *found);
// do (mode 0), run (1), include (4): the rest of the line names the file.
int cmd_do(int mode);
// Finds name on the ado path; true with the path in *found_path.
bool find_on_adopath(const char *name, std::string *found_path);
// Removes the temporary files of the session (at exit).
void remove_temporary_files();
// Depth of nested files and programs.
extern int callframes;

}  // namespace lang
