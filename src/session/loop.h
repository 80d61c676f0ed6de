// The execution state of the session, the line getter, the one-line executor and the dispatcher.
#pragma once
#include <cstdint>
#include <cstdio>

namespace session {

struct FileSource; // a do-file being read (loop.cpp)

struct Loop {
    uint8_t execflag = 1;          // commands are carried out (0 while a branch is skipped)
    uint8_t in_prog = 0;           // lines come from a stored program or file rather than the terminal
    FileSource *curfile = nullptr; // the do-file being read; none means the terminal
    void *curprog = nullptr;       // the stored program being run
    int curline = 0;               // index of its next line
    char progname[33] = {};
    char ownername[33] = {};
    char cmdword[33] = {};
    int linerc = 0;
    uint8_t delimiter_semi = 0; // #delimit ; in force for the current file
    int PendingBreak = 0;
    int breakheld = 0;
    int breakenabled = 1;
    int execdepth = 0; // execline calls in progress; a Break is forgotten only at depth 0
    uint8_t exitlevel = 0;
    uint8_t exitsession = 0;
    int capture_rc = 0; // _rc
    int32_t cmdserial = 0;
    int16_t version = 1010;
    uint8_t modernmissing = 1;
    uint8_t rmsg = 0;
    uint8_t loopliteral = 0;
    uint8_t at_prompt = 0;
    uint8_t byprefix = 0; // a by-prefix is running this line
    double rmsg_time = 0; // c(rmsg_time)
};
extern Loop lp;

// Returns 0 with a line in cmdbuf and settok done; 1 when the current source has ended.
int getline(int from_program, int prompt_flag);
// Runs the line in cmdbuf; returns 0 when the loop that called it is to end, else 1; code in lp.linerc.
int execline();
// Maps lp.cmdword to its handler; the rest of the line is unread at tk.tokpos.
int dispatch();
// Runs one line of text as a command through execline (profiles, the initial command).
int execute_text(const char *text);

// Break: the SIGINT handler calls this; polls read lp.PendingBreak.
void break_signal();
// Enter or leave nobreak: moves a pending Break into breakheld and back.
void break_enable(int enabled);
inline int poll_break() { return lp.PendingBreak ? 1 : 0; }

// Reads lines from a do-file (the file reader); used by do/run/include.
FileSource *file_open(const char *path);
void file_close(FileSource *f);
// The prompt of a line read from the terminal or standard input: ". ", or a line number while a
// program definition is being read.
extern const char *line_prompt;
// What is echoed before each physical line read (". " for do), or none to echo nothing.
void set_prompt(FileSource *f, const char *prompt);
// Runs the prompt loop at the top level until exit or end of input.
void prompt_loop();

} // namespace session
