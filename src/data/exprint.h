// Inside the expression module: the operation words, the function table, and what the compiler, the
// machine and the functions share.
#pragma once
#include <cstdint>
#include <string_view>

#include "data/expr.h"

namespace data::xp {

// How the machines run an operation word: K2 and K1 are a rule of two numbers or one (a kernel of the
// machine), which the machine for one observation applies to its stack top and the block machine to
// every observation of a block; BLOCK is a case of its own in both machines; ONE runs only one
// observation at a time (strings, running sums, matrices).
enum OpRun : uint8_t { RUN_K2, RUN_K1, RUN_BLOCK, RUN_ONE };

// A pop count that is the operand word (an argument count), or one less than it.
inline constexpr int8_t ARGS = -1, ARGS_1 = -2;

// X(name, word, operand words, number stack pops and pushes, string stack pops and pushes, matrix
//   stack pops and pushes, how the machines run it, synopsis). Words 1 to 13 and 23, 38 to 43 are
// fixed; the words of the functions follow FN_BASE, one per distinct function of the table.
// clang-format off
#define EXPR_OPS(X)                                                                                        \
    X(OR,      1,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 != 0 | pop1 != 0); missing is true")     \
    X(AND,     2,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 != 0 & pop1 != 0)")                      \
    X(EQ,      3,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 == pop1)")                               \
    X(NE,      4,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 != pop1)")                               \
    X(GE,      5,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 >= pop1)")                               \
    X(LE,      6,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 <= pop1)")                               \
    X(LT,      7,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 < pop1)")                                \
    X(GT,      8,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 > pop1)")                                \
    X(ADD,     9,  0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 + pop1); missing gives .")               \
    X(SUB,     10, 0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 - pop1)")                                \
    X(MUL,     11, 0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 * pop1)")                                \
    X(POW,     12, 0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 ^ pop1)")                                \
    X(DIV,     13, 0, 2,    1, 0,      0, 0, 0, K2,    "push(pop2 / pop1); by 0 gives .")                  \
    X(NEG,     14, 0, 1,    1, 0,      0, 0, 0, K1,    "push(-pop)")                                       \
    X(NOT,     15, 0, 1,    1, 0,      0, 0, 0, K1,    "push(pop == 0)")                                   \
    X(LIT,     16, 1, 0,    1, 0,      0, 0, 0, BLOCK, "push(literal[operand])")                           \
    X(VAR,     17, 1, 0,    1, 0,      0, 0, 0, BLOCK, "push(variable operand at i)")                      \
    X(VARSUB,  18, 1, 1,    1, 0,      0, 0, 0, BLOCK, "push(variable at group row pop) or .")             \
    X(SVAR,    19, 1, 0,    0, 0,      1, 0, 0, ONE,   "push(string variable operand at i)")               \
    X(SVARSUB, 20, 1, 1,    0, 0,      1, 0, 0, ONE,   "push(string variable at group row pop) or \"\"")   \
    X(SLIT,    21, 1, 0,    0, 0,      1, 0, 0, ONE,   "push(pool text at offset operand)")                \
    X(OBSN,    22, 0, 0,    1, 0,      0, 0, 0, BLOCK, "push(_n)")                                         \
    X(SADD,    23, 0, 0,    0, 2,      1, 0, 0, ONE,   "push(pop2 appended by pop1), cut to 245 bytes")    \
    X(OBSNN,   24, 0, 0,    1, 0,      0, 0, 0, BLOCK, "push(_N)")                                         \
    X(RC,      25, 0, 0,    1, 0,      0, 0, 0, BLOCK, "push(_rc)")                                        \
    X(SUM,     26, 1, 1,    1, 0,      0, 0, 0, ONE,   "sum[operand] += pop (missing as 0); push it")      \
    X(ISMISS,  27, 0, 1,    1, 0,      0, 0, 0, K1,    "push(pop >= .)")                                   \
    X(SISMISS, 28, 0, 0,    1, 1,      0, 0, 0, ONE,   "push(pop == \"\")")                                \
    X(ANY,     29, 1, ARGS, 1, 0,      0, 0, 0, BLOCK, "pop operand numbers, push 1 if any is not 0")      \
    X(COND,    30, 1, ARGS, 1, 0,      0, 0, 0, BLOCK, "x a b [c]: a if x != 0, b if 0, c if x missing")   \
    X(SCOND,   31, 1, 1,    0, ARGS_1, 1, 0, 0, ONE,   "the same with the branches strings")               \
    X(TSVAR,   32, 2, 0,    1, 0,      0, 0, 0, ONE,   "push(variable operand under operator operand 2)")  \
    X(SEQ,     38, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 == pop1) by bytes")                      \
    X(SGE,     39, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 >= pop1)")                               \
    X(SLE,     40, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 <= pop1)")                               \
    X(SLT,     41, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 < pop1)")                                \
    X(SGT,     42, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 > pop1)")                                \
    X(SNE,     43, 0, 0,    1, 2,      0, 0, 0, ONE,   "push(pop2 != pop1)")                               \
    X(MNAME,   44, 1, 0,    0, 0,      0, 0, 1, ONE,   "push(matrix named by pool text operand)")          \
    X(MFROMN,  45, 0, 1,    0, 0,      0, 0, 1, ONE,   "push(1 x 1 matrix of the number pop)")             \
    X(MJOINR,  46, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 \\ pop1): rows of pop1 below pop2")      \
    X(MJOINC,  47, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 , pop1): columns of pop1 after pop2")    \
    X(MKRON,   48, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 # pop1), the Kronecker product")         \
    X(MTRANS,  49, 0, 0,    0, 0,      0, 1, 1, ONE,   "push(pop')")                                       \
    X(MADD,    50, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 + pop1)")                                \
    X(MSUB,    51, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 - pop1)")                                \
    X(MMUL,    52, 0, 0,    0, 0,      0, 2, 1, ONE,   "push(pop2 * pop1)")                                \
    X(MNEG,    53, 0, 0,    0, 0,      0, 1, 1, ONE,   "push(-pop)")                                       \
    X(MSCALE,  54, 0, 1,    0, 0,      0, 1, 1, ONE,   "push(matrix pop times number pop)")                \
    X(MDIVN,   55, 0, 1,    0, 0,      0, 1, 1, ONE,   "push(matrix pop over number pop)")                 \
    X(MEXPAND, 56, 0, 1,    0, 0,      0, 0, 1, ONE,   "push(number pop as a matrix sized as the other)")  \
    X(MEL,     57, 1, 2,    1, 0,      0, 0, 0, ONE,   "push(element [pop, pop] of matrix named operand)")  \
    X(MCALL,   58, 2, 0,    0, 0,      0, 0, 0, ONE,   "matrix function operand 1 (name text operand 2)") \
    X(MSUBX,   59, 1, 0,    0, 0,      0, 0, 1, ONE,   "push(submatrix by the pool text name[rows,cols])")
// clang-format on

enum Op : int16_t {
#define X(name, word, nopd, npop, npush, spop, spush, mpop, mpush, run, what) OP_##name = word,
    EXPR_OPS(X)
#undef X
};

inline constexpr int FN_BASE = 64; // the word of the first function
inline constexpr int OP_MAX = 356; // the largest operation word

// A row of the operation table.
struct OpRow {
    const char *name;
    int16_t word;
    int8_t nopd;                                  // operand words behind the word
    int8_t npop, npush, spop, spush, mpop, mpush; // stack effect; a pop count may be ARGS or ARGS_1
    OpRun run;
    const char *what;
};

inline constexpr OpRow op_rows[] = {
#define X(name, word, nopd, npop, npush, spop, spush, mpop, mpush, run, what)                                \
    {#name, word, nopd, npop, npush, spop, spush, mpop, mpush, RUN_##run, what},
    EXPR_OPS(X)
#undef X
};
inline constexpr int NOPS = (int)(sizeof op_rows / sizeof op_rows[0]);

// Every word of the table is its own and lies below the function words.
inline constexpr bool op_words_ok() {
    for (int k = 0; k < NOPS; ++k) {
        if (op_rows[k].word < 1 || op_rows[k].word >= FN_BASE) return false;
        for (int j = 0; j < k; ++j)
            if (op_rows[j].word == op_rows[k].word) return false;
    }
    return true;
}
static_assert(op_words_ok(), "operation words must be distinct and below FN_BASE");

// The index in op_rows of each word below FN_BASE; -1 for a word with no row.
struct OpSlots {
    int8_t of[FN_BASE];
};
inline constexpr OpSlots op_slot = [] {
    OpSlots s{};
    for (int8_t &k : s.of)
        k = -1;
    for (int k = 0; k < NOPS; ++k)
        s.of[op_rows[k].word] = (int8_t)k;
    return s;
}();

// The row of an operation word below FN_BASE, or null.
inline const OpRow *op_row(int word) {
    if (word < 0 || word >= FN_BASE || op_slot.of[word] < 0) return nullptr;
    return &op_rows[op_slot.of[word]];
}

// What the operation at code[pc] takes from and leaves on the stacks of numbers, strings and matrices,
// with the counts that depend on its operand resolved; functions by their row of the function table.
struct OpEffect {
    const char *name;
    int nopd;
    int npop, npush, spop, spush, mpop, mpush;
    OpRun run;
};
// False for a word that is no operation, or whose operand lies beyond last.
bool op_effect(const int16_t *code, int pc, int last, OpEffect &e);

// The stacks a record uses, by a walk of op_effect over its words: the most values each stack holds,
// and how many it holds at the end. block is set when every word has a form for the block machine.
struct StackUse {
    int nmax = 0, smax = 0, mmax = 0;
    int nend = 0, send = 0, mend = 0;
    bool block = true;
};
// False when a word is unknown or a stack would go below empty.
bool stack_use(const ExprRecord &rec, StackUse &u);

// The name and operand count of an operation word (function words included); null for an unknown word.
const char *op_name(int word, int *noperand);

// Test aids that show what each machine does with its stacks. run_left runs rec for observation i by
// the machine for one observation and gives the count of numbers and of strings left on its stacks;
// returns 0 or the code. has_block_form says whether expr_xeq_block runs rec by blocks; run_block_left
// runs such a record for observations first .. first+n-1 (n at most 64) by the block machine into out
// and returns the count of numbers left on its stack.
int run_left(ExprRecord &rec, int32_t i, int *nleft, int *sleft);
bool has_block_form(const ExprRecord &rec);
int run_block_left(const ExprRecord &rec, int32_t first, int n, double *out);

// ---- Functions --------------------------------------------------------------------------------

// The arguments of one call, first argument first. Numbers and strings stand on their own stacks;
// the i-th numeric argument is n(i) and the j-th string argument s(j), counted from 0.
struct Fa {
    const double *nt;        // top of the number stack
    char (*st)[EXPR_STRBUF]; // top of the string stack
    int na;                  // number of arguments (for the forms with a variable count)
    int32_t obs;             // the observation being run
    const ExprRecord *rec;
    double n(int i) const { return nt[-i]; }
    const char *s(int j) const { return st[-j]; }
};
using FnNum = double (*)(const Fa &);
using FnStr = int (*)(const Fa &, char *out); // 0 or a return code, message written
using FnConst = double (*)();

enum FnKind : uint8_t {
    FK_NUM,     // a number from the arguments
    FK_STR,     // a string from the arguments
    FK_CONST,   // a number fixed at compile time
    FK_SPECIAL, // compiled by a form of its own (FnSpecial)
    FK_NA,      // the function's subsystem is not built: compiling it says so
};

// The lookup groups, searched in this order; the first row of the name wins.
enum FnGroup : uint8_t { FG_MAIN, FG_OLD, FG_VARARG, FG_MATNAME, FG_MATMODE, FG_SPECIAL };

enum FnFlag : uint8_t {
    FF_IMPURE = 1,   // has a state or a hidden order: clears the pure and the parallel flag
    FF_SERIAL = 2,   // clears only the parallel flag
    FF_MISSTYPE = 4, // types are checked by the form itself
};

// Special forms.
enum FnSpecial : uint8_t {
    SP_NONE,
    SP_COND,
    SP_SUM,
    SP_FORCE_SCALAR,
    SP_FORCE_MATRIX,
    SP_FORCE_VARIABLE,
    SP_RES_E,
    SP_RES_R,
    SP_RES_S,
    SP_RES_C,
    SP_CALLER,
    SP_HASEPROP,
    SP_MISSING,
    SP_INRANGE,
    SP_INLIST,
    SP_REPLAY,
    SP_DATELIT,
    SP_OLDDATELIT,
    SP_INVNORM,
    SP_NORM,
    SP_LNFACT,
    SP_BINOMIAL,
    SP_MATFN,
};

struct FnRow {
    const char *name;
    FnGroup group;
    FnKind kind;
    int8_t amin, amax; // argument count; amax -1 for no limit
    const char *types; // type of each argument, 'n' or 's'; the last letter repeats
    uint8_t flags;
    FnNum num;
    FnStr str;
    FnConst cval;
    FnSpecial special;
    int16_t belowver; // the row exists only below this version (times 100); 0 always
    char datekind;    // date literal forms: the kind letter; SP_MATFN: the MFN_ number
};

// The functions of matrices, run by OP_MCALL through the matrix store's hook. X(id, name, args,
// result): an argument 'm' is a matrix (an expression in matrix mode, a name otherwise), 'N' a
// matrix name that may be absent, 'n' a number, 's' a string; the result is 'n' or 'm'.
// clang-format off
#define EXPR_MATFNS(X)                          \
    X(TRACE,      "trace",       "m",   'n')    \
    X(DET,        "det",         "m",   'n')    \
    X(ROWSOF,     "rowsof",      "m",   'n')    \
    X(COLSOF,     "colsof",      "m",   'n')    \
    X(DIAG0CNT,   "diag0cnt",    "m",   'n')    \
    X(MATMISSING, "matmissing",  "m",   'n')    \
    X(ISSYM,      "issym",       "m",   'n')    \
    X(ISSYMM,     "issymmetric", "m",   'n')    \
    X(I,          "I",           "n",   'm')    \
    X(J,          "J",           "nnn", 'm')    \
    X(MATUNIFORM, "matuniform",  "nn",  'm')    \
    X(SYMINV,     "syminv",      "m",   'm')    \
    X(INVSYM,     "invsym",      "m",   'm')    \
    X(CORR,       "corr",        "m",   'm')    \
    X(DIAG,       "diag",        "m",   'm')    \
    X(VECDIAG,    "vecdiag",     "m",   'm')    \
    X(CHOLESKY,   "cholesky",    "m",   'm')    \
    X(INV,        "inv",         "m",   'm')    \
    X(VEC,        "vec",         "m",   'm')    \
    X(HADAMARD,   "hadamard",    "mm",  'm')    \
    X(SWEEP,      "sweep",       "mn",  'm')    \
    X(NULLMAT,    "nullmat",     "N",   'm')    \
    X(GET,        "get",         "N",   'm')    \
    X(ROWNUMB,    "rownumb",     "Ns",  'n')    \
    X(COLNUMB,    "colnumb",     "Ns",  'n')    \
    X(EL,         "el",          "Nnn", 'n')    \
    X(MRELDIF,    "mreldif",     "mm",  'n')
// clang-format on

enum MatFn : uint8_t {
#define X(id, name, args, result) MFN_##id,
    EXPR_MATFNS(X)
#undef X
        MFN_COUNT
};
struct MatFnRow {
    const char *name;
    const char *args;
    char result;
};
inline constexpr MatFnRow matfn_rows[] = {
#define X(id, name, args, result) {name, args, result},
    EXPR_MATFNS(X)
#undef X
};

// Operand words behind the word of a function: its argument count, when that count varies.
inline int fn_operands(const FnRow *r) { return r->amin != r->amax ? 1 : 0; }

// The row of a function name for the session's version and mode, or null.
const FnRow *fn_find(std::string_view name, bool matmode, int version);
// The row of a name in one group only (the n and s variants of inrange and inlist), or null.
const FnRow *fn_find_variant(const char *name, char type);
// The operation word of a row of kind FK_NUM or FK_STR, and the row of a function word.
int fn_word(const FnRow *row);
const FnRow *fn_of_word(int word);
// All rows, for the tests.
const FnRow *fn_rows(int *n);

// ---- Shared state ------------------------------------------------------------------------------

// The literal pools of the command.
struct Pools {
    double lit[EXPR_NLIT + 1] = {}; // entries 1 .. nlit
    int nlit = 0;
    char str[EXPR_SPOOL] = {};
    int nstr = 0;
    int32_t serial = -1; // the command whose literals these are
};
extern Pools pools;

// Random draws for the functions of the table (exprrand.cpp).
double rnd_uniform();
double rnd_normal(double m, double s);
double rnd_beta(double a, double b);
double rnd_gamma(double a, double b);
double rnd_poisson(double m);
double rnd_binomial(double n, double p);
double rnd_nbinomial(double n, double p);
double rnd_hypergeometric(double N, double K, double n);
double rnd_t(double df);
double rnd_chi2(double df);

} // namespace data::xp
