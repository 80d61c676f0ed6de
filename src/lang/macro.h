// Macros: the store of global and local macros, expansion of a command line in place, and the
// commands that define them (global, local, c_local, macro, tempvar, tempname, tempfile).
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "session/macstore.h"
#include "session/tempnames.h"

namespace lang {

// Expands macros in buf (capacity maxmaclen + 1) in place. Returns 0 or a return code; 920 (too many
// macros) is reported here, other codes by the routine that found them.
int expand_macros(char *buf);

// ++name (up, pre), name++ (up, !pre) and the -- forms on local name: v gets the value shown.
// 111 when the local does not exist, 109 when its text is no number.
int macro_incdec(const std::string &name, bool up, bool pre, std::string &v);

// The temporary names and files live below the language; its code names them as its own.
using session::next_tempfile;
using session::next_tempfile_number;
using session::next_tempname;
using session::remove_tempfiles;
using session::tempfile_counter;
using session::tempfile_name;
using session::tempname_counter;
using session::tempname_number;

// Drops the objects named by tempname/tempvar numbered from up to (not including) to. The dataset
// defines a strong version that also drops its variables; this one drops scalars and matrices.
void drop_temp_objects(int64_t from, int64_t to);
// The dataset's part of it (a weak no-op until the dataset defines it).
void drop_temp_variables(int64_t from, int64_t to);

// Handlers: global/local/c_local (code 2, 1, 7; 4 to 6 are the return stores), macro, tempvar and
// tempname, tempfile.
int cmd_macdef(int code);
int cmd_macro(int);
int cmd_tempname(int);
int cmd_tempfile(int);

} // namespace lang
