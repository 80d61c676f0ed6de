// The tokenizer over the command buffer, and the abbreviation test used by every command.
#pragma once
#include <cstddef>

namespace session {

inline constexpr int maxcmdlen = 165200; // a command line
inline constexpr int maxmaclen = 165216; // a line after macro expansion
inline constexpr int tokenlen = 503;     // usable bytes of a token

// Separator sets: standard, numbers (no - and +), names with dots, file names.
extern const char SEP_STD[];
extern const char SEP_NUM[];
extern const char SEP_DOT[];
extern const char SEP_FILE[];

struct Tok {
    char *cmdbuf = nullptr;         // the line being executed (maxmaclen + 1 bytes, allocated once)
    const char *tokpos = nullptr;   // where the next read starts
    const char *tokstart = nullptr; // where the last token began
    bool tokpushed = false;         // next gettok returns token unchanged
    bool tokagain = false;          // last gettok returned a pushed-back token
    char token[tokenlen + 1] = {};
};
extern Tok tk;

struct TokState {
    const char *tokpos;
    const char *tokstart;
};

void settok(const char *text);
const char *gettok(const char *seps);
void ungettok();
void savetok(TokState &st);
void restoretok(const TokState &st);
// The unread rest of the text, blanks skipped.
const char *tokrest();

// True when word is a prefix of name, at least minlen and at most strlen(name) long.
bool cmdmatch(const char *word, const char *name, int minlen);

} // namespace session
