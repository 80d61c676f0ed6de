// Facts about the built-in commands, read from the command table: names, minimum abbreviations,
// version tests and flags. The handlers are the dispatcher's; this knows only the rows.
#pragma once
#include <cstdint>

namespace session {

// Version tests of the rows that depend on `version`.
enum VersionTest : uint8_t { V_ANY, V_GE600, V_GE800, V_LT600, V_LT800 };

enum CmdFlag : uint8_t {
    CF_SKIP = 1,   // looked at while a branch is skipped: it keeps block structure right
    CF_LOOP = 2,   // a loop head: a typed line is not expanded before it runs
    CF_PREFIX = 4, // read past when a typed line is checked for a loop head
    CF_SHORT = 8,  // one letter is enough as that prefix, and while skipping under version 8 and later
    CF_BY = 16,    // may run under the by prefix, once for each group
    CF_BYONE = 32, // may run under the by prefix once, the groups handed over in __byindex
};

struct CmdRow {
    const char *name;
    int minlen;
    VersionTest vtest;
    uint8_t flags;
};

// The rows in table order; a row's index also finds its handler.
extern const CmdRow cmd_rows[];
extern const int cmd_row_count;

// The row that word resolves to under the version in force, or null.
const CmdRow *find_command(const char *word);
// While a branch is skipped: the row of a word that keeps block structure, or null.
const CmdRow *find_skipped(const char *word);
// True when word is a row with all of flags (CF_PREFIX, CF_LOOP), under that row's prefix minimum.
bool command_has(const char *word, uint8_t flags);

} // namespace session
