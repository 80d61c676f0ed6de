// The dataset: one rectangle of observations by variables in the data area, and the operations that
// change its shape. Rows are reached through the observation index, so sorting moves indices, not rows.
#pragma once
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "data/types.h"

namespace data {

inline constexpr int VNAMELEN = 32; // bytes of a variable name
inline constexpr int FMTLEN = 48;   // bytes of a display format
inline constexpr int LABELLEN = 80; // bytes of the data label
inline constexpr int MAXCHANGED = 32767;

struct FreeDeleter {
    void operator()(void *p) const { std::free(p); }
};

struct Dataset {
    // The data area: the data part of dsize bytes at base, then the dynamic part of ysize bytes.
    std::unique_ptr<char, FreeDeleter> area;
    char *base = nullptr;
    int64_t M_total = 0; // bytes of the whole block
    int64_t dsize = 0;   // the data part: index tables and rows
    int64_t ysize = 0;   // the dynamic part; the named store lives on the heap, so this is 0

    // The partition of the data part.
    int32_t *index = nullptr;  // tmaxobs physical row numbers; observation i is entry i-1
    int32_t *index2 = nullptr; // a second table of the same length behind it: the sort's work space
    char *database = nullptr;  // the first row, on a 16-byte boundary behind the tables
    int32_t tmaxobs = 0;       // length of the index (N_curmax)
    int32_t maxobs = 0;        // rows that fit (N_cur)
    int32_t width = 0;         // row stride in bytes: even, at least 4
    int32_t w_cur = 0;         // used width: offset of the last variable plus its width
    int32_t k_cur = 0;         // variables that fit: the smaller of width and maxvar
    int32_t maxvar = 0;
    int32_t maxwidth = 0; // 12 times maxvar
    int32_t matsize = 0;

    int32_t nvar = 0;
    int32_t nobs = 0;
    int32_t nvar_visible = 0; // variables that name lookup may see during this command

    // Attributes in dataset order, maxvar slots each.
    std::unique_ptr<char[][VNAMELEN + 1]> varname;
    std::unique_ptr<uint8_t[]> vartype;
    std::unique_ptr<int32_t[]> offset;
    std::unique_ptr<char[][FMTLEN + 1]> fmt;
    std::unique_ptr<char[][VNAMELEN + 1]> vallab; // value-label name, empty for none
    std::unique_ptr<int16_t[]> sortlist;          // variable numbers, ended by 0; maxvar+1 slots

    char datalabel[LABELLEN + 1] = {};
    int32_t changed = 0;    // 0 when saved or freshly loaded; see bump_changed()
    uint32_t structure = 0; // raised whenever variables are added, dropped, renamed, moved or retyped
    uint8_t tempvars = 0;   // a variable named __* has been made: the loop tidies up
    int scratch_rc = 0;     // the failure of the last scratch-variable attempt, until reset
    int64_t n_repart = 0;   // repartitions done
    int64_t n_shift = 0;    // those of them that moved rows
};
extern Dataset ds;

// ---- Start-up and settings -------------------------------------------------------------------

// Allocates the data area and the variable tables; 0, or 909 when refused (nothing written).
int data_init(int64_t memory_bytes, int maxvar, int matsize);
// set memory / set maxvar / set matsize: need an empty dataset (4); a refusal keeps the old area (909).
int set_memory(int64_t bytes);
int set_maxvar(int n);
int set_matsize(int n);

// The figures of `memory`, in bytes and counts.
struct MemInfo {
    int64_t M_total = 0;  // bytes of the data part
    int64_t M_data = 0;   // bytes of the rows in use (observations times width)
    int64_t M_oh = 0;     // bytes of the two index tables for the rows in use
    int64_t M_dyn = 0;    // bytes of the dynamic part behind the data part
    int64_t N_cur = 0;    // maxobs
    int64_t N_curmax = 0; // tmaxobs
    int64_t k_cur = 0;
    int64_t w_cur = 0;
    int64_t width = 0;
    int64_t size_ptr = 0; // index bytes per observation
    int64_t n_repart = 0;
    int64_t n_shift = 0;
    int64_t maxvar_bytes = 0; // the variable tables sized by maxvar
};
MemInfo data_memory_info();

// ---- Cell access: variables and observations are counted from 1 ------------------------------

inline char *row_addr(int i) { return ds.database + (int64_t)ds.index[i - 1] * ds.width; }
inline char *cell_addr(int v, int i) { return row_addr(i) + ds.offset[v - 1]; }
inline double get_num(int v, int i) { return cell_get(cell_addr(v, i), ds.vartype[v - 1]); }
inline void put_num(int v, int i, double x) { cell_put(cell_addr(v, i), ds.vartype[v - 1], x); }
// buf must hold 245 bytes; a numeric variable gives "".
inline void get_str(int v, int i, char *buf) { cell_get_str(cell_addr(v, i), ds.vartype[v - 1], buf); }
inline void put_str(int v, int i, const char *s) { cell_put_str(cell_addr(v, i), ds.vartype[v - 1], s); }
// Raw `long` cells, for scratch variables.
inline int32_t get_long(int v, int i) {
    int32_t x;
    std::memcpy(&x, cell_addr(v, i), 4);
    return x;
}
inline void put_long(int v, int i, int32_t x) { std::memcpy(cell_addr(v, i), &x, 4); }
// Swaps two observations by their index entries.
inline void swap_obs(int i, int j) {
    int32_t t = ds.index[i - 1];
    ds.index[i - 1] = ds.index[j - 1];
    ds.index[j - 1] = t;
}
// The used width of observation i out of or into a caller's buffer.
inline void row_out(int i, char *buf) { std::memcpy(buf, row_addr(i), ds.w_cur); }
inline void row_in(int i, const char *buf) { std::memcpy(row_addr(i), buf, ds.w_cur); }

// Writes `.` (numeric) or "" (string) into observations from..nobs of variable v.
void fill_missing(int v, int from);

// ---- Variables --------------------------------------------------------------------------------

// Checks the name rules of a new variable; writes the message and returns 198 or 110 on failure.
int check_newname(const char *name);
// The same rules, quietly, apart from the name being new: true when name may be a variable's name.
bool newname_ok(const char *name);

// Adds a variable with its defaults; its cells are not filled. 0 and the number in *vnum, or a code
// with the message written.
int add_var(const char *name, int type, int *vnum);
// Adds a variable without the name rules and without a message (file readers, the sample `(e)`):
// the number, or a negated code.
int add_var_raw(const char *name, int type);
// Adds `_delete` using the slot and the byte of row kept back for commands: the number, or a negated
// code, quietly. A failure is remembered and returned at once until scratch_reset().
int add_scratch(int type);
void scratch_reset();
// The number of the variable of exactly that name, or 0.
int find_var(const char *name);
// Puts the variable count back to n: the variables behind it, the newest, go without a trace (their
// sort-list entries and what the stores keyed by name hold for them); the changed counter is the
// caller's. For a command that fails after it made variables.
void cut_vars(int n);

// The start of each command: every variable is visible again and scratch failures are forgotten.
void command_start();

// The changed counter: one more change, wrapping from 32766 to 1. A change to a variable whose name
// begins with `_` or `(` does not count.
void bump_changed();
void mark_changed(const char *varname);

// Drops the variables whose flag is set (flags[v-1], nvar of them); keep_vars keeps those set.
// Refused under by (190).
int drop_vars(const uint8_t *flags);
int keep_vars(const uint8_t *flags);
// Counts, data label, sort list, changed counter to zero; labels, characteristics, S_FN and S_FNDATE
// go through hook_clear; the index back to the identity.
void clear_dataset();

// order: the listed variables first, in list order (duplicates removed); _move: v to position target.
int order_vars(const int *list, int n);
int move_var(int v, int target);
// rename: the new name passes the rules of add_var; the position stays. Refused under by (190).
int rename_var(int v, const char *newname);
// promote: variable v to type newtype, copying the first ncopy observations (the rest are left
// undefined for the caller to fill).
int promote(int v, int newtype, int ncopy);
// compress: the listed variables to their smallest type; each change done goes to *changes when
// given (also those before a failure).
struct TypeChange {
    int var;
    int from, to;
};
int compress(const int *list, int n, std::vector<TypeChange> *changes = nullptr);

// Call points for the stores that key entries by variable name (variable labels, characteristics,
// `S_FN`): they are connected when those stores exist and are skipped while null.
extern void (*hook_rename_var)(const char *oldname, const char *newname);
extern void (*hook_drop_var)(const char *name);
extern void (*hook_clear)();

// ---- Observations -----------------------------------------------------------------------------

// set obs: n from the current count up to the largest possible maxobs minus 1; new rows get `.`
// and "" (0 in `(e)`).
int set_obs(int64_t n);

// drop/keep observations. obs_drop_begin makes a scratch `long` of zeros; the caller puts 1 in the
// observations to go (put_long), in one or several passes (by-groups); obs_drop_finish removes them,
// keeps the order of the rest and drops the scratch variable; *removed (when given) gets the count.
int obs_drop_begin(int *svar);
int obs_drop_finish(int svar, int32_t *removed = nullptr);
// Both in one: remove[i-1] set for each observation i to go.
int drop_obs_mask(const uint8_t *remove, int32_t *removed = nullptr);
// The first n observations of the physical rows in place of the data's (n at most the count), their
// cells as the rows hold them, unsorted: for a command that writes every cell it keeps (collapse).
void obs_reset(int32_t n);

// ---- The partition ----------------------------------------------------------------------------

int add_width(int32_t n);
int add_obs_room(int64_t n);
// Exactly one of the two is non-zero. Quiet: the caller writes the message of the code.
int repartition(int64_t dwidth, int64_t dobs);
// The largest useful width and the largest possible maxobs for the data as they stand.
int32_t wmax();
int64_t obs_limit();

} // namespace data
