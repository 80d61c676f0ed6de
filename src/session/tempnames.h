// Temporary names and files of the session: the names tempvar and tempname give, and the files of
// tempfile, preserve and the plot data, all under the session's temporary directory and removed at
// exit. The counters go up by one at each use; the call frame keeps them so that what a program
// made is removed at its end.
#pragma once
#include <cstdint>
#include <string>

namespace session {

extern int64_t tempname_counter;
extern int64_t tempfile_counter;
std::string next_tempname();
std::string next_tempfile();
// The number next_tempfile would use, taken for a file of another letter (tempfile_name); the
// session's clean-up at exit covers it.
int64_t next_tempfile_number();
// The name of temporary file number n of the session, for the use told by letter ('t' tempfile,
// 'J' plot data, 'Q' other).
std::string tempfile_name(char letter, int64_t n);
// Removes the tempfiles numbered from up to (not including) to: those a program made.
void remove_tempfiles(int64_t from, int64_t to);
// Removes every temporary file the session may have made: the clean-up at exit.
void remove_temporary_files();
// The number behind a name made by tempname, or -1 when name is not of that form.
int64_t tempname_number(const char *name);

} // namespace session
