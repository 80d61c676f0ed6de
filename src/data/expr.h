// Expressions: the compiler from expression text to a fixed record of 16-bit operation words, and the
// stack machine that runs a record for one observation at a time.
#pragma once
#include <cstdint>
#include <string>

namespace data {

inline constexpr int EXPR_CODELEN = 2400; // operation words in a record
inline constexpr int EXPR_NSUM = 5;       // running sums of sum() in one expression
inline constexpr int EXPR_STRLEN = 245;   // longest string value
inline constexpr int EXPR_STRBUF = 246;   // a buffer that holds any string value with its NUL
inline constexpr int EXPR_NLIT = 300;     // numeric literal table of a command
inline constexpr int EXPR_SPOOL = 512;    // string literal pool of a command, in bytes

// Result types of a record.
enum : uint8_t { XT_NUM = 0, XT_STR = 1, XT_MAT = 4 };
// Wanted types of a compile: number, string, either, matrix, number or matrix.
enum : int { XW_NUM = 0, XW_STR = 1, XW_ANY = 3, XW_MAT = 4, XW_NUMMAT = 5 };
// Compile forms: only take the text and record its bounds; compile every _b[] and _se[] as 0.
enum : unsigned { XC_PRESCAN = 1u, XC_ZEROB = 2u };

// A compiled expression. Plain and fixed in size: the owner reuses it, nothing is allocated.
struct ExprRecord {
    double sums[EXPR_NSUM] = {};         // running-sum slots of sum()
    int16_t code[EXPR_CODELEN] = {};     // operation words, some followed by one operand word
    int32_t last = -1;                   // index of the last code word
    int32_t lastsum = -1;                // index of the last running-sum slot in use
    int32_t in_first = 1, in_last = 0;   // the `in` range: sums restart at its first observation
    int32_t grp_first = 1, grp_last = 0; // the by-group: _n and _N and subscripts count in it
    const char *text_begin = nullptr;    // the expression's text in the command line
    const char *text_end = nullptr;
    uint8_t restype = XT_NUM;   // XT_NUM, XT_STR or XT_MAT
    uint8_t matflag = 0;        // a matrix operation occurs
    uint8_t parallel = 1;       // may be run for several observations at the same time
    uint8_t pure = 1;           // no operation with a state or a hidden order
    uint8_t expressionSafe = 1; // safe for a parallel loop: parallel and pure
};

// The records of the command being run: its `if` qualifier and its `=exp`.
extern ExprRecord ifexp, eqexp;

// ---- Compiling ----------------------------------------------------------------------------------

// Takes the expression text at text (blanks skipped, up to the token that ends it) and compiles it
// into rec for the wanted type (XW_*). *end gets where the text ended. Returns 0 or the code, with
// the message written; after a failure rec must not be run.
int expr_compile(const char *text, ExprRecord &rec, int wanted, const char **end = nullptr,
                 unsigned flags = 0);
// The same from the tokenizer's position; the tokenizer goes on behind the expression.
int expr_compile_tok(ExprRecord &rec, int wanted, unsigned flags = 0);

// The literal pools are shared by the expressions of one command. They are emptied when a command
// of a new serial number compiles its first expression, or by this.
void expr_pool_reset();

// ---- Running ------------------------------------------------------------------------------------

// Sets the `in` range and the by-group of rec (expr_xeqforby uses them as they stand).
void expr_set_ranges(ExprRecord &rec, int32_t in_first, int32_t in_last, int32_t grp_first, int32_t grp_last);

// Runs rec for observation i, refreshing the ranges from the command's sample first (the `in` range,
// and the whole dataset as the group). A NaN, an infinity or a value beyond `.z` comes back as `.`.
// Only regexs() can fail while running: then the value is `.` and expr_lastrc holds the code.
double expr_xeq(ExprRecord &rec, int32_t i);
// The same without refreshing the ranges: for by-groups, and for parallel loops once the ranges are set.
double expr_xeqforby(ExprRecord &rec, int32_t i);
// Runs a numeric record for observations first .. first+n-1 into out[0 .. n-1], with the ranges as
// they stand (as expr_xeqforby). Numeric records without strings, sums or matrices run a block of
// observations per pass, which is several times faster than one call per observation; others run
// one by one. Returns 0 or the code of a failure (message written). Reads only: may run in parallel
// on disjoint ranges when rec.parallel is set.
int expr_xeq_block(ExprRecord &rec, int32_t first, int32_t n, double *out);
// Runs a string record into buf (EXPR_STRBUF bytes). Returns 0 or the code, message written.
int expr_xeq_str(ExprRecord &rec, int32_t i, char *buf);
// The general form: a number into *v or a string into buf (either may be null for the other type);
// no range refresh. Returns 0 or the code.
int expr_run(ExprRecord &rec, int32_t i, double *v, char *buf);
// True when the text at p begins with a binary operator that strings have too (+ and the comparisons).
bool string_operator_at(const char *p);
extern int expr_lastrc;

// A value of either type.
struct ExprValue {
    uint8_t type = XT_NUM;
    double num = 0;
    char str[EXPR_STRBUF] = {};
};

// Compiles and runs the expression at text once, at observation 1 (display, `error exp`,
// `local x = exp`, `=exp' in macros, assert). *end gets where the expression ended; with end null
// the whole text must be the expression (else 198). Returns 0 or the code, message written.
int expr_eval_scalar(const char *text, ExprValue &out, const char **end = nullptr, int wanted = XW_ANY);

// The compiled words of rec as text, one operation to a line ("VAR 2", "LIT 1 (2)", "ADD"): a
// test and debugging aid.
std::string expr_dump(const ExprRecord &rec);

// ---- What expressions read from other stores -----------------------------------------------------

// Stored results r(), e(), s() (kind 'r', 'e', 's'): 0 when nothing of that name is stored, 1 a
// number in *v, 2 text in buf (EXPR_STRBUF bytes), 3 a matrix. Connected by the owner of the result
// stores; while null, r() e() s() and has_eprop() say they are not available.
extern int (*expr_hook_result)(char kind, const char *name, double *v, char *buf);
// c(name): 0 unknown, 1 a number, 2 text. While null, only the system constants are known.
extern int (*expr_hook_creturn)(const char *name, double *v, char *buf);
// _b[] (which 0) and _se[] (which 1): eq is the equation ("" for the first, "#2" by number). Returns
// 0 and *v, or the code with the message written. While null, _b and _se are not available.
extern int (*expr_hook_coef)(int which, const char *eq, const char *name, double *v);
// True when a matrix of that name exists (matrix expressions). While null, no matrix exists.
extern bool (*expr_hook_matrix)(const char *name);
// The matrix operations of the machine (the words MNAME to MSUBX); the matrix stack belongs to the
// owner of the matrix store. Gets the word, its first operand, the pool text it names (or null), the
// top of the number stack (nums[0], the first argument, nums[-1] the next) and of the string stack;
// a number result goes to *out. The machine then pops and pushes by the word's stack effect. Returns
// 0 or the code with the message written. While null, matrix expressions are not available.
extern int (*expr_hook_mat)(int word, int operand, const char *text, const double *nums,
                            const char (*strs)[EXPR_STRBUF], double *out);

// By-group facts of the running command, for _byindex() and _bylastcall(); set by `by`.
struct ExprBy {
    int32_t index = 0;    // the number of the group, from 1
    uint8_t lastcall = 0; // this is the last group
};
extern ExprBy exby;

// ---- Random numbers ----------------------------------------------------------------------------

// `set seed #`: a number from 0 to 2147483647, or a state text from c(seed). 0 or 198 (quiet).
int rng_set_seed(const char *text);
// The state as text ("X" and 64 hexadecimal digits), what c(seed) reports.
std::string rng_state_text();
// A draw from the uniform distribution on (0,1); the generator behind uniform() and its kin.
double rng_uniform();

} // namespace data
