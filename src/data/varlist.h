// Variable lists: names to variable numbers (abbreviations, wildcards, ranges, _all, new lists,
// time-series operators, factor-variable groups), number lists, and the list array of a command.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace data {

// ---- The abbreviation switch ---------------------------------------------------------------------

// `set varabbrev`: on at start. The `set` command calls the setter.
extern bool varabbrev;
void set_varabbrev(bool on);

// ---- Time-series operators -------------------------------------------------------------------------

inline constexpr int MAXTSOPS = 100; // distinct operators in one command
inline constexpr int MAXDIFF = 20;   // difference order
inline constexpr int MAXSEAS = 8;    // seasonal differences
inline constexpr int MAXOPLEN = 239; // bytes of an operator string

// 44 bytes, compared as bytes when operators are interned. All zero means no operator.
struct TsOp {
    int32_t lag;           // L adds, F subtracts
    int32_t diff;          // order of the first difference
    int32_t nseas;         // seasonal differences held in seas
    int32_t seas[MAXSEAS]; // their lags, ascending; unused slots 0
};
static_assert(sizeof(TsOp) == 44);

// Reads an operator string ("L2D", "l.d", "S4S12"; blanks and dots ignored) into op. token names
// the whole element in messages. Returns 0 or the code, with the message written.
int tsop_parse(std::string_view opstr, std::string_view token, TsOp &op);
// The interned copy of op for this command: null for the all-zero operator; a negated code (1000,
// with "too many time-series operators" written) through *rc when the table is full.
const TsOp *tsop_intern(const TsOp &op, int *rc);
// The operator written back as text ("L2D." style; "" for none).
std::string tsop_text(const TsOp *op);

// ---- Factor variables ------------------------------------------------------------------------------

inline constexpr int FV_MAXFACTORS = 20; // factors in one interaction
inline constexpr int FV_MAXCONT = 20;    // continuous variables in one interaction

enum FvBasePref : int32_t { FVB_DEFAULT = 0, FVB_FREQ = 1, FVB_VALUE = 2, FVB_NONE = 3 };

// One variable of a term (the 16-byte fv_varinfo record).
struct FvVarInfo {
    int32_t var;    // variable number
    int32_t kind;   // 1 factor, 2 continuous
    int32_t factor; // index into the factor records, -1 for a continuous variable
    int32_t term;   // index of its term
};
static_assert(sizeof(FvVarInfo) == 16);

// One factor (the 48-byte fv_factorinfo record). Its levels stand in fv_factorlevels from levoff.
struct FvFactorInfo {
    int32_t var;
    int32_t basepref; // FvBasePref
    double baseidx;   // the base level's value (FVB_VALUE, and FVB_DEFAULT/FVB_FREQ once resolved)
    int32_t nlevels;
    int32_t levoff;
    int32_t baselevel; // index of the base among the levels, -1 for none
    int32_t term;
    double minlevel, maxlevel;
};
static_assert(sizeof(FvFactorInfo) == 48);

// One term: its variables are varinfo[first .. first+nvars-1] (fv_interaction and
// fv_interactioninfo records).
struct FvTerm {
    int32_t first, nvars;
    int32_t nfactors, ncont;
    int32_t listpos; // its place in the list array, from 0
    int32_t ncells;  // product of the level counts of its factors
};

struct FvState {
    std::vector<FvVarInfo> varinfo;
    std::vector<FvFactorInfo> factors;
    std::vector<FvTerm> terms;
    std::vector<double> levels; // fv_factorlevels
};

// The store type under which the factor-variable blocks are kept in the named store.
inline constexpr int ST_FVBLOCK = 32;
// Replaces the block name by size bytes holding count records. 0, or 950 with the store's message.
int fv_put_block(const char *name, const void *bytes, size_t size, int32_t count);

// ---- The list array and the parser state of one command ---------------------------------------------

inline constexpr int LIST_MARGIN = 100; // places beyond maxvar

struct ListInfo {
    const TsOp *op; // null for none
    int32_t fvterm; // index of the factor-variable term plus 1; 0 for a plain variable
};

// A new variable of a new list (names checked, not yet added unless VL_CREATE).
struct NewVar {
    std::string name;
    int type;           // 0: the default of generate
    std::string vallab; // name:label
};

struct ParseState {
    // The list array: variable numbers counted from 1 (-1 holds a place for _skip) and a parallel
    // array of operator and factor records; one slot more than the count.
    std::vector<int32_t> var;
    std::vector<ListInfo> info;
    int32_t count = 0;
    int32_t cap = 0; // places: maxvar plus LIST_MARGIN

    TsOp ops[MAXTSOPS] = {}; // interned operators of this command
    int nops = 0;

    std::vector<NewVar> newvars;
    FvState fv;

    // The sample part the standard parser reads: `in` range (1 and _N when absent).
    bool inrange = false;
    int32_t in_lo = 1, in_hi = 0;
};
extern ParseState ps;

// The start of each command: empty list, no operators, no range.
void parser_reset();

// Settings of one parse.
enum : unsigned {
    VL_ANY = 0,
    VL_NEW = 1u << 0,        // a new variable list
    VL_NOALL = 1u << 1,      // _all is not accepted
    VL_TYPEPAREN = 1u << 2,  // (type) groups set the default type of the names behind them
    VL_NOTALLOWED = 1u << 3, // the presence of a list is an error
    VL_SKIP = 1u << 4,       // _skip and _skip(#) hold places (-1)
    VL_TS = 1u << 5,         // time-series operators allowed
    VL_FV = 1u << 6,         // factor-variable groups allowed
    VL_CREATE = 1u << 7,     // new lists: add the variables (cells `.` or "") as they are read
    VL_LABEL = 1u << 8,      // new lists: name:label
};

// varlist := { element }    read up to `,` `=` `[` `if` `in` `using` `:` or the end
// element := _all | name [- name] | pattern | ops.name | ops.pattern | i(fvelement ...) | _skip[(#)]
// new     := { [(type)] [type] name[:label] | name#-name# | _skip[(#)] }
// Appends to ps.var and ps.info (new lists also to ps.newvars). 0 or the code, message written.
int parse_varlist(unsigned flags);
// The variables of a list written in text (no `_all`) appended to out, through the list parser, from
// inside a command whose own line is being read. 0 or the parser's code.
int expand_varlist(const std::string &text, std::vector<int> &out);

// Look-up of one name: the number of the variable, or a negated return code. report: write the
// message. abbrev: abbreviations allowed (the caller passes varabbrev, or false).
int varlookup(std::string_view name, bool report, bool abbrev);

// The visible variables whose names begin with stem, in dataset order (Tab completion at the prompt).
std::vector<std::string> varnames_beginning(std::string_view stem);

// Matches a wildcard pattern (`*` any run, `?` one character, `~` like `*`) against a name.
bool wildmatch(std::string_view pat, std::string_view name);

// Appends one entry to the list array; 103 (message written) when it is full.
int list_add(int32_t v, const TsOp *op = nullptr, int32_t fvterm = 0);
// Appends every visible variable but `(e)`.
int list_all();
// Removes later repeats of a variable, keeping the first place of each.
void list_unique();

// Text of a list entry ("L.x", "x", "_skip", "i(c3*c(x1))").
std::string list_entry_text(int k);

// Adds the variables of ps.newvars (each through add variable, cells filled with `.` or ""),
// putting their numbers in the list array. 0 or the code with the message written.
int newvars_create();

// ---- Number lists -------------------------------------------------------------------------------

struct NumlistOpts {
    bool integer = false;                  // noninteger elements are 126
    bool missingok = false;                // `.` and `.a` to `.z` allowed (else 127)
    bool ascending = false;                // each element at or above the one before (else 124)
    bool descending = false;               // each element at or below the one before (else 124)
    bool sort = false;                     // sort the result ascending
    double min = -1e300, max = 1e300;      // allowed range (else 125)
    bool minopen = false, maxopen = false; // the bounds themselves excluded
    int mincount = 0, maxcount = 1000000;  // elements (else 122, 123)
    bool single = false;                   // messages of the single-number form
};

// numlist := { number | number/number | number(step)number | number[step]number
//              | number number:number | number number to number }
// Expands text into out. 0 or the code of the numlist family, with the message unless quiet.
int numlist_parse(std::string_view text, const NumlistOpts &opt, std::vector<double> &out, bool quiet);
// The elements as text separated by blanks, as r(numlist) holds them.
std::string numlist_text(const std::vector<double> &v);

} // namespace data
