// The result stores r(), e() and s(): what commands leave behind, the return() of running r-class
// programs, and the lookups by which expressions and macros read them.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

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

// return(): the store of the running program level, as the return commands fill it.
int ret_set_scalar(const char *name, double v); // a macro of that name goes
int ret_add();                                  // r() joins return() where return() has no such name
void ret_clear();

// The slots of `_return hold`: the slot holding name (-1 when none; "" finds a free slot), keeping
// r() in a slot (r() is cleared unless keep), putting a slot back into r(), freeing a slot.
int held_slot(const std::string &name);
int hold_r(int slot, bool keep);
int restore_r(int slot);
void free_slot(int slot);

// The parts of a store, in the order they were stored: its scalars (the fast table first), the names
// stored at a store kind, and the store kind of the macros of r(), e() or s().
std::vector<std::pair<std::string, double>> scalars_of(char kind);
std::vector<std::string> names_at(int type);
int macro_type_of(char kind);
// Held estimates: slots 0 to 299 for the holds of programs and `estimates store`, slot 300 for a hold
// by the system itself. Slot n keeps e() at the store kinds family base + n of eleven families.
inline constexpr int EST_SLOTS = 301;
struct HeldEstimates {
    bool used = false;
    bool by_store = false; // made by `estimates store`
    bool restore = false;  // put back when the program that held it ends
    int level = 0;         // the call frame that held it
    char name[33] = {};
    char var[33] = {}; // the variable that keeps the sample marker; empty when none
};
extern HeldEstimates held_est[EST_SLOTS];
// The slot holding name exactly (-1 when none), and the first free of slots 0 to 299 (-1 when full).
int est_slot(const std::string &name);
int est_free_slot();
// True when e() holds nothing at all.
bool e_empty();
// Moves e() into slot (or copies it when keep); the sample marker goes to the variable var with the
// label given. The caller has checked the slot and the names. 0 or the code with the message.
int hold_e(int slot, bool keep, const std::string &var, const char *label);
// Puts slot back into e(), replacing it, and frees the slot.
int unhold_e(int slot);
// Frees slot and drops what it holds, the marker's variable too.
void drop_e(int slot);

// An e(sample) marker exists while the dataset holds the hidden variable "(e)".
bool has_sample();

// The expression evaluator's and the extended macro functions' view of the stores.
void results_init();
// The names of one part of e() or s() ("scalars", "macros", "matrices", "functions"), for
// `local x : e(scalars)`. 198 for an unknown part.
int result_names(char kind, std::string_view part, std::string &out);

} // namespace mat
