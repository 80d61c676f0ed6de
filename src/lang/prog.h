// Stored programs, do-files, the call frame, the ado path and automatic loading, and plugins.
#pragma once
#include <cstdint>
#include <string>

namespace lang {

// How runfile runs: do, run, a program call, include.
enum RunMode { MODE_DO = 0, MODE_RUN = 1, MODE_PROG = 3, MODE_INCLUDE = 4 };

inline constexpr int max_prog_bytes = 135600;
inline constexpr int max_prog_lines = 3501;

// The fixed head of a program record (132 bytes); the table of line offsets and the lines follow.
// The record's length field holds the number of lines. A line's first byte is reserved: it holds
// the number of blanks the line was indented by, and becomes a blank when the line runs.
struct ProgHeader {
    uint32_t loadstamp; // command serial at which the ado load began; 0 when typed or from do
    uint32_t usestamp;  // command serial of the last call
    uint8_t inuse;
    uint8_t sortpreserve;
    uint8_t fromado;
    uint8_t cls;     // 0 nclass, 1 rclass, 2 sclass, 3 eclass
    uint16_t byable; // 0 none, 1 onecall, 2 recall, 3 recall with noheader
    int16_t version;
    char owner[33]; // the owning ado-file's main program; empty for a main program
    char properties[80];
    uint8_t dropped; // a drop was asked while it ran: it goes when its last call ends
    uint8_t isclass; // a class member program
    uint8_t spare;
};
static_assert(sizeof(ProgHeader) == 132);

// True while an ado-file is being loaded.
bool ado_loading();

// The dispatcher's way in: a stored program or plugin named name; *found false when none.
int run_stored_program(const char *name, bool *found);
// Loads <name>.ado from the ado path and runs the program; *found false when no file exists.
int run_ado(const char *name, bool *found);
// The same without the run: *prog gets the program the file defines.
int load_ado(const char *name, bool *found, ProgHeader **prog);
// The program that name means, loading its ado-file when it is not stored yet; *prog null when there
// is none. 0 or the code of a load that failed (message written).
int find_program(const char *name, ProgHeader **prog);

// The program that name means for the running owner, or null.
ProgHeader *findprog(const char *name);
// Runs a program: the rest of the line at the tokenizer is its arguments.
int call_program(ProgHeader *p, const char *name);
// Copies the next line of the running program into buf; 0 with a line, 1 at its end.
int program_next_line(char *buf, int cap);

// Reads a definition from the current source into a new program record named name, with owner and
// stamps of the load in progress. first_line, when given, is stored as line one. In brace mode the
// definition ends when the braces opened on the lines balance, and that line is stored; otherwise
// it ends at a line whose first word is `end`, which is not stored. *out gets the record (null when
// the definition was read and thrown away). Returns 0 or a code, with the message written.
int program_read(const char *name, const char *first_line, bool brace_mode, ProgHeader **out);
// Deletes a program record now, or at the end of its last call when it is running.
void program_delete(ProgHeader *p);

// runfile for files: do (0), run (1), include (4); the rest of the line names the file.
int cmd_do(int mode);
int cmd_program(int);
int cmd_discard(int);
int cmd_which(int);
int cmd_plugin(int);
// exit [exp] [, clear ORVAT prefs noprefs]
int cmd_exit(int);

// Drops ado-loaded programs, oldest use first, while their total is over adosize; those of the load
// stamped guard, the running ones and subprograms (which go with their main program) are spared.
void ado_trim(uint32_t guard);

// Trace: a line of a running program, and a line that expansion changed.
void trace_line(const char *line);
void trace_expanded(const char *line);

} // namespace lang
