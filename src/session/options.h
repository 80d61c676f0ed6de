// The options part of a command line, `, name name(arg) ...`: one reader for every command, and the
// matching of what was written against what the command accepts.
#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace session {

inline constexpr int max_options = 70;

// One option as written.
struct Option {
    std::string name;   // the word as typed
    std::string arg;    // the text inside its parentheses, as typed
    bool paren = false; // written name(...)
};

// Reads the options at the tokenizer, which stands just behind the comma, up to the end of the text
// or a second comma, which ends the list, or before a stop character outside an argument (the colon
// of a prefix command); the tokenizer is left behind what was read. The text in
// parentheses is found by balancing (), [] and both kinds of quotes. 0; 1003 for more than
// max_options; 198 for an unbalanced argument, with "invalid <name>: <what>" written.
int read_options(std::vector<Option> &out, char stop = 0);

// What a command accepts: a row per option, found by cmdmatch(word, name, minlen).
enum OptKind : uint8_t {
    OK_FLAG,  // name: *flag becomes true
    OK_ONOFF, // name or noname: *flag becomes true or false
    OK_TEXT,  // name(text): the text, outer blanks cut
    OK_NAME,  // name(name): one word that passes the name rule
    OK_INT,   // name(#): a whole number from lo to hi
    OK_REAL,  // name(#): a number
    OK_SKIP,  // name or name(anything): accepted and ignored
};
struct OptSpec {
    const char *name;
    int minlen;
    OptKind kind;
    bool *flag = nullptr;
    std::string *text = nullptr;
    int *num = nullptr;
    double *real = nullptr;
    int lo = 0, hi = 0;
};
inline OptSpec opt_flag(const char *n, int m, bool &b) { return {n, m, OK_FLAG, &b}; }
inline OptSpec opt_onoff(const char *n, int m, bool &b) { return {n, m, OK_ONOFF, &b}; }
inline OptSpec opt_text(const char *n, int m, std::string &s) { return {n, m, OK_TEXT, nullptr, &s}; }
inline OptSpec opt_name(const char *n, int m, std::string &s) { return {n, m, OK_NAME, nullptr, &s}; }
inline OptSpec opt_int(const char *n, int m, int &v, int lo, int hi) {
    return {n, m, OK_INT, nullptr, nullptr, &v, nullptr, lo, hi};
}
inline OptSpec opt_real(const char *n, int m, double &v) {
    return {n, m, OK_REAL, nullptr, nullptr, nullptr, &v};
}
inline OptSpec opt_skip(const char *n, int m) { return {n, m, OK_SKIP}; }

// Matches the options in the order they were written; a later one overrides an earlier. Unknown:
// "option <name> not allowed"; a flag with parentheses: the same with "()"; an argument missing:
// "option <name>() required"; a bad value: "option <name>() invalid"; all 198. Returns 0 or the code.
int match_options(const std::vector<Option> &opts, std::span<const OptSpec> specs);

// "option <name>() invalid", 198: a value the command itself found wrong.
int option_invalid(std::string_view name);

// The options at the tokenizer, which stands behind the comma, to the end of the text: read and
// matched; text after a second comma is "'<text>' invalid", 198.
int options_here(std::span<const OptSpec> specs);

// The options in a text of their own (what follows the comma), the tokenizer left as it was.
int options_of(std::string_view text, std::span<const OptSpec> specs);
// The same, read but not matched, for commands whose options are not a fixed list.
int read_options_of(std::string_view text, std::vector<Option> &out);

// `[, options]` at the tokenizer, to the end of the text: nothing, or a comma and options that match
// specs. Other text where the comma should be is "'<text>' invalid", 198.
int parse_options(std::span<const OptSpec> specs);

// Position of the first comma outside double and compound quotes, or npos: where options begin in
// a text that is not read by tokens (arguments of do, the value of set).
size_t options_comma(std::string_view s);

} // namespace session
