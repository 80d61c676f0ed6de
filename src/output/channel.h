// The print primitives: every character the system shows passes through these to the current stream.
#pragma once
#include <cstdint>
#include <string_view>

#include "output/rimu.h"

namespace out {

// Output classes and the gate: a primitive prints only when OutputClass >= OutputLevel.
enum : uint8_t { CLS_RESULT = 0, CLS_TEXT = 1, CLS_INFO = 2, CLS_ERROR = 3, CLS_INPUT = 4 };
enum : uint8_t { LVL_NORMAL = 0, LVL_INFORM = 2, LVL_QUIET = 3, LVL_CAPTURED = 5 };

struct Chan {
    uint8_t OutputClass = CLS_RESULT;
    uint8_t OutputLevel = LVL_NORMAL;
    uint8_t EntryLevel = LVL_NORMAL;
    RimuStream *console = nullptr; // made at start-up
    RimuStream *current = nullptr; // where the primitives write
    bool noteflag1 = false;        // progress-note switches
    bool noteflag2 = false;
};
extern Chan ch;

inline bool gate_open() { return ch.OutputClass >= ch.OutputLevel; }

int out_text(std::string_view s);
int out_rimu(std::string_view s);
int out_text_nostyle(std::string_view s);
int out_int(long long i);
int out_char(char c);
int out_vbar();
int out_rule(int flag);
int out_hilite(int level, std::string_view s);
int out_space();
int out_blanks(int n);
int out_text_blanks(std::string_view s, int n);
int out_rep(char c, int n);
int out_newline();
int out_flush();
int out_at_prompt(std::string_view s);
int out_echo(std::string_view s);
int out_error(std::string_view s);
int out_note(std::string_view s);
int out_note_nl(std::string_view s);
int out_note_flush();

// printf-style helpers that format into a local buffer and go through out_text / out_rimu.
int out_textf(const char *fmt, ...) __attribute__((format(printf, 1, 2)));
int out_rimuf(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// Runs with OutputClass set to cls, restoring the caller's class afterwards.
struct ClassScope {
    uint8_t saved;
    explicit ClassScope(uint8_t cls) : saved(ch.OutputClass) { ch.OutputClass = cls; }
    ~ClassScope() { ch.OutputClass = saved; }
};

} // namespace out
