// The preference store: values by group and key kept in a file under $HOME/.orvat10/console/, read
// at start, cached in memory and written back at exit; and the `pref` maintenance command.
#pragma once
#include <string>
#include <string_view>

namespace session {

// Opens a store: the file basedir/basename, read into a cache. Returns a handle (0 for the first,
// the session's store), or -1 when the table of stores is full. A file that cannot be read is kept
// with the suffix .bad and the store starts empty.
int pref_open(const std::string &basedir, const std::string &basename);
void pref_close(int h);
// A value, or false: no store, no such value, or a group and key of 97 bytes or more together.
bool pref_get(int h, std::string_view group, std::string_view key, std::string &value);
// Puts a value in the cache. 0, or 1000 when the table of values is full (message written); a
// group and key too long together are refused silently (2).
int pref_put(int h, std::string_view group, std::string_view key, std::string_view value);
// Writes the store: a .new file, the old one kept as .bak, the new one renamed to the base name.
// Failures are silent; false when nothing could be written.
bool pref_write(int h);

// The session's store: opened at start when HOME is set (base directory and console/ made as
// needed), written at exit when save is set.
void prefs_start();
void prefs_exit(bool save);
std::string pref_text(std::string_view group, std::string_view key, std::string_view dflt);
long long pref_int(std::string_view group, std::string_view key, long long dflt);
// True when the value went into the session's store.
bool pref_set(std::string_view group, std::string_view key, std::string_view value);

// pref {dump|cache|open|close|write|save|get|encrypt|decrypt} ...
int cmd_pref(int);

} // namespace session
