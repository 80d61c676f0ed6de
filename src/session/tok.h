// The tokenizer over the command buffer, the abbreviation test used by every command, and the quote
// scanners that every layer reading command text shares.
#pragma once
#include <cstddef>
#include <string_view>

#include "session/state.h"

namespace session {

inline constexpr int tokenlen = 503; // usable bytes of a token

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

// The name rule of variables, macros, programs and scalars: 1 to 32 bytes, a letter or '_' first,
// no blank or control byte, and none of the characters that separate words or build expressions.
bool name_ok(std::string_view name);

// True when word is a prefix of name, at least minlen and at most strlen(name) long.
bool cmdmatch(const char *word, const char *name, int minlen);

// ---- Quotes ----
// A compound quote opens with `" and closes with "'; compound quotes nest, and a plain " inside one
// means nothing. A plain quote runs from " to the next ", with no nesting and no escape.

// The position just past the "' that closes the compound quote whose `" is at s[open] (the caller has
// seen it there), with nested pairs counted; npos when s ends first. Pairs are read whole: the " of an
// opening `" never begins a closing "'.
size_t cq_close(std::string_view s, size_t open);

// As cq_close, but reading one byte at a time, so that the " of a nested `" may also begin a closing
// "': inside a compound quote, `"' opens and closes at once. This is the tokenizer's reading.
size_t cq_close_overlapping(std::string_view s, size_t open);

// The quoted text, plain or compound, that opens at s[i].
struct Quoted {
    size_t begin = 0, end = 0; // the text inside the quotes
    size_t next = 0;           // just past the closing quote; s.size() when there is none
    bool closed = false;
};
// False when s[i] opens no quote. An unclosed quote runs to the end of s.
bool quoted_at(std::string_view s, size_t i, Quoted &q);

// Where a reader going byte by byte stands among quotes; it may be kept from one line to the next.
struct QuoteState {
    bool dq = false; // inside "..."
    int cq = 0;      // compound quotes open
    bool inside() const { return dq || cq > 0; }
    // Takes in the byte c, next being the byte after it ('\0' at the end of the text). Returns how many
    // bytes (1, or 2 for a pair) were taken as a quote or as quoted text, or 0 when c stands outside
    // quotes and opens none: such a byte is the caller's. Inside a plain quote a compound pair means
    // nothing; inside a compound quote a plain " means nothing.
    int feed(char c, char next);
    // Compound pairs only: 2 for an opening pair, and for a closing pair while one is open, else 0.
    // Plain quotes and the bytes between the pairs are the caller's.
    int feed_pair(char c, char next);
};

} // namespace session
