// Inside the expression module: the operation words, the function table, and what the compiler, the
// machine and the functions share.
#pragma once
#include <cstdint>
#include <string_view>

#include "data/expr.h"

namespace data::xp {

// X(name, word, operand words, synopsis). Words 1 to 13 and 23, 38 to 43 are fixed; the words of the
// functions follow FN_BASE, one per distinct function of the table. Stack effects use n for the
// number stack, s for the string stack, m for matrices.
#define EXPR_OPS(X)                                                                                          \
    X(OR, 1, 0, "n: push(pop2 != 0 | pop1 != 0); missing counts as true")                                    \
    X(AND, 2, 0, "n: push(pop2 != 0 & pop1 != 0)")                                                           \
    X(EQ, 3, 0, "n: push(pop2 == pop1)")                                                                     \
    X(NE, 4, 0, "n: push(pop2 != pop1)")                                                                     \
    X(GE, 5, 0, "n: push(pop2 >= pop1)")                                                                     \
    X(LE, 6, 0, "n: push(pop2 <= pop1)")                                                                     \
    X(LT, 7, 0, "n: push(pop2 < pop1)")                                                                      \
    X(GT, 8, 0, "n: push(pop2 > pop1)")                                                                      \
    X(ADD, 9, 0, "n: push(pop2 + pop1); missing gives .")                                                    \
    X(SUB, 10, 0, "n: push(pop2 - pop1)")                                                                    \
    X(MUL, 11, 0, "n: push(pop2 * pop1)")                                                                    \
    X(POW, 12, 0, "n: push(pop2 ^ pop1)")                                                                    \
    X(DIV, 13, 0, "n: push(pop2 / pop1); by 0 gives .")                                                      \
    X(NEG, 14, 0, "n: push(-pop)")                                                                           \
    X(NOT, 15, 0, "n: push(pop == 0)")                                                                       \
    X(LIT, 16, 1, "n: push(literal[operand])")                                                               \
    X(VAR, 17, 1, "n: push(variable operand at i)")                                                          \
    X(VARSUB, 18, 1, "n: push(variable operand at the group's observation pop), or .")                       \
    X(SVAR, 19, 1, "s: push(string variable operand at i)")                                                  \
    X(SVARSUB, 20, 1, "s: push(string variable at the group's observation n:pop), or \"\"")                  \
    X(SLIT, 21, 1, "s: push(pool text at offset operand)")                                                   \
    X(OBSN, 22, 0, "n: push(_n)")                                                                            \
    X(SADD, 23, 0, "s: push(pop2 appended by pop1), cut to 245 bytes")                                       \
    X(OBSNN, 24, 0, "n: push(_N)")                                                                           \
    X(RC, 25, 0, "n: push(_rc)")                                                                             \
    X(SUM, 26, 1, "n: sum[operand] += pop (missing as 0); push it")                                          \
    X(ISMISS, 27, 0, "n: push(pop >= .)")                                                                    \
    X(SISMISS, 28, 0, "s to n: push(pop == \"\")")                                                           \
    X(ANY, 29, 1, "n: pop operand numbers, push 1 if any is not 0")                                          \
    X(COND, 30, 1, "n: operand 3 or 4 numbers x a b [c]: a if x != 0, b if 0, c if missing")                 \
    X(SCOND, 31, 1, "n and s: the same with the branches on the string stack")                               \
    X(SEQ, 38, 0, "s to n: push(pop2 == pop1) by bytes")                                                     \
    X(SGE, 39, 0, "s to n: push(pop2 >= pop1)")                                                              \
    X(SLE, 40, 0, "s to n: push(pop2 <= pop1)")                                                              \
    X(SLT, 41, 0, "s to n: push(pop2 < pop1)")                                                               \
    X(SGT, 42, 0, "s to n: push(pop2 > pop1)")                                                               \
    X(SNE, 43, 0, "s to n: push(pop2 != pop1)")                                                              \
    X(MNAME, 44, 1, "m: push(matrix named by pool text operand)")                                            \
    X(MFROMN, 45, 0, "n to m: push(1 x 1 matrix of pop)")                                                    \
    X(MJOINR, 46, 0, "m: push(pop2 \\ pop1): rows of pop1 below pop2")                                       \
    X(MJOINC, 47, 0, "m: push(pop2 , pop1): columns of pop1 beside pop2")                                    \
    X(MKRON, 48, 0, "m: push(pop2 # pop1), the Kronecker product")                                           \
    X(MTRANS, 49, 0, "m: push(pop')")                                                                        \
    X(MADD, 50, 0, "m: push(pop2 + pop1)")                                                                   \
    X(MSUB, 51, 0, "m: push(pop2 - pop1)")                                                                   \
    X(MMUL, 52, 0, "m: push(pop2 * pop1)")                                                                   \
    X(MNEG, 53, 0, "m: push(-pop)")                                                                          \
    X(MSCALE, 54, 0, "m and n: push(matrix times the number; either order on the stack)")                    \
    X(MDIVN, 55, 0, "m and n: push(matrix over the number)")                                                 \
    X(MEXPAND, 56, 0, "n to m: push(pop as a matrix conformable with the matrix below)")                     \
    X(MEL, 57, 1, "n: push(matrix named by pool text operand [pop, pop])")

enum Op : int16_t {
#define X(name, word, nopd, what) OP_##name = word,
    EXPR_OPS(X)
#undef X
};

inline constexpr int FN_BASE = 64; // the word of the first function
inline constexpr int OP_MAX = 356; // the largest operation word

// The name and operand count of an operation word (function words included); null for an unknown word.
const char *op_name(int word, int *noperand);

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
    char datekind;    // date literal forms: the kind letter
};

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

// Regular expressions: the pattern compiled last and the last match.
int regex_match(const char *s, const char *re);                             // regexm(): 1 or 0
int regex_sub(double n, char *out);                                         // regexs(): 0 or the code
int regex_replace(const char *s, const char *re, const char *t, char *out); // regexr()

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
