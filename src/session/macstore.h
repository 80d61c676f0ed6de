// Macros in the named store: a global under its name, a local under the level of the running file
// or program, so that ending the level drops its locals.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace session {

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

} // namespace session
