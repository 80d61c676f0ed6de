// Macros: the store of global and local macros, expansion of a command line in place, and the
// commands that define them (global, local, c_local, macro, tempvar, tempname, tempfile).
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "session/macstore.h"

namespace lang {

// Expands macros in buf (capacity maxmaclen + 1) in place. Returns 0 or a return code; 920 (too many
// macros) is reported here, other codes by the routine that found them.
int expand_macros(char *buf);

// ++name (up, pre), name++ (up, !pre) and the -- forms on local name: v gets the value shown.
// 111 when the local does not exist, 109 when its text is no number.
int macro_incdec(const std::string &name, bool up, bool pre, std::string &v);

// Temporary names and files. The counters go up by one at each use; the call frame keeps them so
// that what a program made is removed at its end.
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
// Drops the objects named by tempname/tempvar numbered from up to (not including) to. The dataset
// defines a strong version that also drops its variables; this one drops scalars and matrices.
void drop_temp_objects(int64_t from, int64_t to);
// The dataset's part of it (a weak no-op until the dataset defines it).
void drop_temp_variables(int64_t from, int64_t to);
// The number behind a name made by tempname, or -1 when name is not of that form.
int64_t tempname_number(const char *name);

// Handlers: global/local/c_local (code 2, 1, 7; 4 to 6 are the return stores), macro, tempvar and
// tempname, tempfile.
int cmd_macdef(int code);
int cmd_macro(int);
int cmd_tempname(int);
int cmd_tempfile(int);

} // namespace lang
