// The standard syntax of the data commands, `[varlist] [=exp] [if] [in] [weight] [using] [, options]`
// read in any order, and the sample it leaves behind: the observations a command works on.
#pragma once
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "data/expr.h"
#include "data/varlist.h"
#include "session/options.h"

namespace data {

// What a command allows of each part.
enum Policy : uint8_t {
    PO_OPTIONAL = 0,
    PO_REQUIRED = 1,
    PO_OWN = 2,  // the command reads it itself (a varlist), or gives it a meaning of its own (an `in`
                 // of a command that makes observations: numbers as they stand, `l` 2147483646)
    PO_NONE = 3, // not allowed
};

// Weight types, one bit each; a mask of them says which a command takes.
enum WeightType : uint8_t { WT_NONE = 0, WT_F = 1, WT_A = 2, WT_P = 4, WT_I = 8 };

// The settings of one standard parse, set by the command before it parses.
struct ParseSpec {
    Policy varlist = PO_NONE;
    unsigned vlflags = VL_ANY; // the variable-list setting (Part of the list parser)
    Policy exp = PO_NONE;
    int exptype = XW_NUM; // the result type of `=exp`
    Policy ifq = PO_OPTIONAL;
    Policy in = PO_OPTIONAL;
    Policy weight = PO_NONE;
    uint8_t wmask = 0;    // weight types allowed
    uint8_t wdefault = 0; // what the keyword `weight` means; 0: the first allowed of f, a, p, i
    Policy usingf = PO_NONE;
    Policy options = PO_OPTIONAL;
    // When set and no part at all is given: "<need_one> required" (drop and keep: "varlist or in
    // range").
    const char *need_one = nullptr;
};

inline constexpr int USING_MAX = 1024; // bytes of the `using` file name

// What the parse leaves, beside the list array and the `in` range of ps (varlist.h).
struct Sample {
    bool ifpresent = false;  // ifexp holds the `if`
    bool exppresent = false; // eqexp holds the `=exp`
    uint8_t wtype = WT_NONE; // wtexp holds the weight's expression when not WT_NONE
    std::string wname;       // the weight as written back: "fweight", "aweight", ...
    bool usingpresent = false;
    std::string usingfile;
    std::vector<session::Option> options; // as written; the command matches them (std_options)
};
extern Sample sm;
// The record of the weight's expression.
extern ExprRecord wtexp;

// The state of `by` while a command runs under it (set by `by`, kept by the standard parse).
struct ByState {
    int state = 0;     // 0 no by; 1 in the first group; 2 in a later group
    bool last = false; // the last group runs
    int32_t lo = 1;    // bounds of the current group
    int32_t hi = 0;
    int32_t nvar_at = 0; // the variable count before the first group, put back on failure
    int keep_var = 0;    // a scratch variable a command carries from group to group (drop, keep)
    int running = 0;     // by prefixes in progress, nested ones counted: what _by() tells
};
extern ByState bys;

// Clears what the standard parse fills; the by-state is left alone.
void sample_reset();
// What the dispatcher does before every command, and nothing else does again: every variable
// visible, the list array and the sample empty.
void command_begin();

// The standard parse of the rest of the line, by spec: the variable list first (unless its policy is
// PO_OWN or PO_NONE), then `in`, `if`, `=`, `[`, `using` and `,` in any order and number until the
// line ends. Compiles `if`, `=exp` and the weight as it reaches them. Returns 0 or the code with the
// message written: the parts' own messages, "'<text>' invalid" for text left over, "<part>
// required", "<part> not allowed".
int std_parse(const ParseSpec &spec);

// Matches the options of the parse against what the command accepts (session/options.h).
int std_options(std::span<const session::OptSpec> specs);

// The weight, behind its `[`: `keyword = exp ]` compiled into wtexp with sm.wtype and sm.wname set,
// or `]` alone, which is no weight. The kinds allowed are those of spec.wmask.
int parse_weight(const ParseSpec &spec);
// The file name behind the word `using` into sm.usingfile.
int read_using();

// `in` range, after the word `in`: range := item [/ item]   item := f | F | l | L | # | -#
// own: the command makes observations, so numbers stand as they are and `l` is 2147483646.
int parse_in(bool own = false);

// The observations the command considers: the `in` range within the current by-group.
int32_t sample_lo();
int32_t sample_hi();
// Sets the ranges of a record to the command's sample (the `in` range and the by-group), so that
// _n, _N, subscripts and sum() count as they should; then expr_xeqforby runs it.
void sample_ranges(ExprRecord &rec);
// True when observation i passes the `if` (a missing result is true). Reads expr_lastrc on failure.
inline bool if_true(int32_t i) { return !sm.ifpresent || expr_xeqforby(ifexp, i) != 0; }
// The observations of the sample in order: the range, and the `if` where there is one. 0, or the
// code of a failure of the `if` (a regular-expression fault) or 1 at a Break.
int sample_obs(std::vector<int32_t> &obs);

} // namespace data
