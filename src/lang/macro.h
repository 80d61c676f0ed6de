// Macros: the store of global and local macros, expansion of a command line in place, and the
// commands that define them (global, local, c_local, macro, tempvar, tempname, tempfile).
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace lang {

// Store type of the locals of the running level: ST_LOCAL_FIRST for the top level, one more for each
// running do-file or program.
extern int locallevel;

// The stored name of local n: a leading '_' and the name.
inline std::string local_name(std::string_view n) {
    std::string s(1, '_');
    s.append(n);
    return s;
}

// Text of a macro, or null. A name that starts with '_' is a local of the current level, any other a
// global. *len gets the text length when given.
const char *macro_get(const char *name, int32_t *len = nullptr);
// Stores text; an empty text deletes the macro. Returns 0, or 950 when the store has no room.
int macro_set(const char *name, std::string_view text);
// Stores a macro with empty text (arguments given as "").
int macro_set_empty(const char *name);
void macro_drop(const char *name);
// The same three at an explicit store type (c_local writes the caller's level).
const char *macro_get_at(const char *stored_name, int type, int32_t *len = nullptr);
int macro_set_at(const char *stored_name, int type, std::string_view text, bool keep_empty = false);

// Expands macros in buf (capacity maxmaclen + 1) in place. Returns 0 or a return code; 920 (too many
// macros) is reported here, other codes by the routine that found them.
int expand_macros(char *buf);

// ++name (up, pre), name++ (up, !pre) and the -- forms on local name: v gets the value shown.
// 111 when the local does not exist, 109 when its text is no number.
int macro_incdec(const std::string &name, bool up, bool pre, std::string &v);

// %18.0g with blanks removed: how numbers become macro text.
std::string number_text(double v);

// The name rule of variables and macros: at most 32 bytes, a letter or '_' first, none of the
// characters that separate words or build expressions. Writes "<name> invalid name" unless quiet.
int check_name(std::string_view name, bool quiet = false);

// Temporary names and files. The counters go up by one at each use; the call frame keeps them so
// that what a program made is removed at its end.
extern int64_t tempname_counter;
extern int64_t tempfile_counter;
std::string next_tempname();
std::string next_tempfile();
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

// Position of the first comma outside double and compound quotes, or npos: where options begin.
size_t options_comma(std::string_view s);

} // namespace lang
