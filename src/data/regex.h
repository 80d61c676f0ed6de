// Regular expressions: extended POSIX patterns in which braces are ordinary characters and at most nine
// sub-expressions are allowed. The one engine behind the expression functions and the extended macro
// functions; each of them keeps its own Regex.
#pragma once
#include <regex.h>

#include <string>
#include <string_view>

namespace data {

inline constexpr int regex_nmatch = 10; // the whole match and nine sub-expressions

// A compiled pattern, kept until another is compiled in its place, and the last match made with it.
struct Regex {
    bool compiled = false;
    regex_t re{};
    std::string pattern;         // as written, before it was prepared for the library
    const char *fault = nullptr; // the matcher's words for what was wrong with the last pattern refused
    int matched = 0; // 0 no match since the pattern was compiled, 1 the last matched, -1 it did not
    regmatch_t m[regex_nmatch]{}; // positions in subject of the match and its sub-expressions
    std::string subject;          // a copy of the text matched last

    Regex() = default;
    Regex(const Regex &) = delete;
    Regex &operator=(const Regex &) = delete;
    ~Regex();
};

// Compiles re into rx unless rx holds it already; a new pattern forgets the last match. Returns 0, or
// 198 when the pattern is refused: rx then holds no pattern, rx.fault names what is wrong, and unless
// quiet that name is written as an error line.
int regex_compile(Regex &rx, std::string_view re, bool quiet);

// Runs the compiled pattern on s, keeping a copy of s and the positions: true when it matches.
bool regex_match(Regex &rx, std::string_view s);

// What regex_sub found.
enum RegexSub {
    RX_TEXT,         // the sub-expression's text is in out
    RX_NOT_RUN,      // no match has run since the pattern was compiled
    RX_NO_MATCH,     // the last match failed
    RX_OUT_OF_RANGE, // n is not one of the pattern's sub-expressions (0 is the whole match)
    RX_UNUSED,       // the sub-expression took no part in the match; out is empty
};
// Sub-expression n of the last match into out.
RegexSub regex_sub(const Regex &rx, long long n, std::string &out);

// s with the first match of the compiled pattern replaced by t; s itself when nothing matches. With
// refs, \0 to \9 in t stand for the match and its sub-expressions (nothing for one that took no part).
// The last match is left alone.
std::string regex_replace(const Regex &rx, std::string_view s, std::string_view t, bool refs);

} // namespace data
