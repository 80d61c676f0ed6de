// Logs and the command log: log and cmdlog, the closing of all logs at exit, and the line getter's
// way into the command log.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "output/rimu.h"

namespace out {

// An open log. The unnamed log is one of these; named logs are store records of LOG_STORE_TYPE
// holding one, keyed by the name.
struct LogFile {
    int fd = 0; // 0 when not open
    uint8_t isRimu = 0;
    uint8_t active = 0;      // 0 while paused by `log off`
    char filename[500] = {}; // the path as typed, with the default extension added
    char name[33] = {};      // empty for the unnamed log
    // Kept to make sure a log never loses text: where the file was when it was opened (an absolute
    // path, so a later cd doesn't move it), a write that failed while attached, and the order of
    // opening for reports.
    char abspath[4096] = {};
    uint8_t failed = 0;
    int64_t serial = 0;
};

struct CommandLog {
    int fd = 0;
    char filename[500] = {};
    uint8_t on = 0;
    uint8_t written = 0; // a line has gone to it since it was opened
    char abspath[4096] = {};
    uint8_t failed = 0;
};

inline constexpr int LOG_STORE_TYPE = 48;
inline constexpr int LOG_MAX_PER_SET = 5;

extern LogFile unnamed_log;
extern CommandLog cmdlog;

// log using filename [, append replace text rimu name(name)]; log {off|on|close|query} [name]
int cmd_log(int);
// cmdlog using filename [, append replace]; cmdlog {on|off|close|query}
int cmd_cmdlog(int);

// The session's end: `log close _all` (each with its closing header) and the command log closed.
// Call from the exit path while the console stream still exists.
void logs_close_at_exit();

// Called by the line getter with each line read from the terminal or a file, as typed; writes it to
// the command log when one is on and the rules allow (top level of a file, input not hidden, not a
// cmdlog command).
void cmdlog_line(const char *line);

} // namespace out
