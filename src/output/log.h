// Logs, the command log, translators and the help viewer: log, cmdlog, translate, translator,
// chelp/man and view.
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

// Handlers.
int cmd_log(int);
int cmd_cmdlog(int);
int cmd_translate(int);
int cmd_translator(int);
int cmd_chelp(int); // 0 chelp, 1 man
int cmd_view(int);

// The session's end: `log close _all` (each with its closing header) and the command log closed.
// Call from the exit path while the console stream still exists.
void logs_close_at_exit();

// Called by the line getter with each line read from the terminal or a file, as typed; writes it to
// the command log when one is on and the rules allow (top level of a file, input not hidden, not a
// cmdlog command).
void cmdlog_line(const char *line);

// The extension of the last component of a path, with the dot ("" when none).
std::string path_extension(std::string_view path);

// True when the first bytes of a file look binary (a NUL byte, or many control characters).
bool looks_binary(const char *p, size_t n);

// Renders Rimu text to plain lines, as a text log holds them: line-drawing characters become "-",
// "|" and "+". Used by translate, its tests and the benchmark.
struct TextTarget {
    int fd = -1;                 // written to when >= 0
    std::string *into = nullptr; // else appended to this
    int width = 79;
    int lmargin = 0;        // blanks in front of each line
    bool cmdnumber = false; // command lines ". cmd" numbered "1. cmd"
    int pagelines = 0;      // a form feed after this many lines, 0 for none
    bool header = false;    // a heading line on each page
    std::string headertext, projecttext, user;
    // Kept while rendering.
    std::string buf;
    std::string carry; // a line not yet ended, between two feeds
    int lines = 0;     // lines of the current page
    int page = 0;
    int commands = 0;
    int64_t total = 0;   // lines written
    bool failed = false; // a write failed
    RimuStream *stream = nullptr;
};
// Starts rendering into t; feed pieces of any size (they go to the engine a line at a time); end
// finishes the last paragraph or line, writes out what is buffered and frees the stream.
void rimu_to_text_begin(TextTarget *t);
void rimu_to_text_feed(TextTarget *t, std::string_view text);
void rimu_to_text_end(TextTarget *t);

} // namespace out
