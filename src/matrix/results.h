// The result stores r(), e() and s(): what commands leave behind, the return() of running r-class
// programs, the lookups by which expressions and macros read them, and the commands that fill them.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace mat {

inline constexpr int FAST_SCALARS = 20;
inline constexpr int HELD_RETURNS = 10;
inline constexpr int ST_HELD_RETURN = 38; // store kinds 38 to 47: the slots of `_return hold`

// The first scalars of r() and of e(), kept without allocation.
struct ResultScalars {
    char name[FAST_SCALARS][33];
    double value[FAST_SCALARS];
    int count;
    int flags; // RS_INUSE, RS_MACRO, RS_SPILLED
};
enum : int { RS_INUSE = 1, RS_MACRO = 2, RS_SPILLED = 4 };

struct Results {
    ResultScalars rfast{};
    ResultScalars efast{};
    int ProgramClass = 0;             // 0 none, 1 rclass, 2 sclass, 3 eclass
    char held[HELD_RETURNS][33] = {}; // names of the `_return hold` slots; empty when free
};
extern Results res;

// What a lookup found.
enum : int { RES_NONE = 0, RES_FAST_R = 1, RES_FAST_E = 2, RES_SCALAR = 3, RES_MACRO = 4, RES_MATRIX = 5 };

// Looks up r(name), e(name) or s(name) (kind 'r', 'e', 's'). A scalar puts its value in *v, a macro
// its text in *text (either may be null); a matrix gives RES_MATRIX.
int result_lookup(char kind, const char *name, double *v, std::string *text);
// The text of a result in a macro reference: a scalar as its number, a macro as its text, a matrix as
// the word "matrix", nothing when absent.
std::string result_text(char kind, const char *name);

// Replacing a store: built-in r-class commands clear r() and post their results.
void r_clear();
void e_clear();
void s_clear();
int r_set_scalar(const char *name, double v); // 0, or 950 when the store has no room
int r_set_macro(const char *name, std::string_view text);
int e_set_scalar(const char *name, double v);
int e_set_macro(const char *name, std::string_view text);
int s_set_macro(const char *name, std::string_view text);

// A name holds one kind of result: a macro stored under a name drops the scalar of that name from
// return() of this level (kind 'R') or from e() (kind 'e').
void drop_scalar(char kind, const char *name);

// Store kinds of the return() of the running program level.
int ret_scalar_type();
int ret_macro_type();

// The call frame: a program of class cls is entered (do-files enter with class 0), and a program of
// class cls has ended with rc: an r-class program that ends well hands return() over to r().
void program_enter(int cls);
void program_leave(int cls, int rc);

// Handlers: return, ereturn, sreturn, _return.
int cmd_return(int);
int cmd_ereturn(int);
int cmd_sreturn(int);
int cmd__return(int);

// The expression evaluator's and the extended macro functions' view of the stores.
void results_init();
// The names of one part of e() or s() ("scalars", "macros", "matrices", "functions"), for
// `local x : e(scalars)`. 198 for an unknown part.
int result_names(char kind, std::string_view part, std::string &out);

} // namespace mat
