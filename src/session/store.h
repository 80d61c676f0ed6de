// The named store: every named object but the dataset is a record keyed by name and type number.
#pragma once
#include <cstddef>
#include <cstdint>

namespace session {

inline constexpr int STORE_BUCKETS = 20009;
inline constexpr int STORE_TYPES = 4496; // list heads; type numbers 1 to 4495
inline constexpr int NAMELEN = 32;

// Type numbers.
enum : int {
    ST_VALLABEL = 1,
    ST_GLOBAL = 2,
    ST_VARLIST = 3,
    ST_LASTCMD = 4,
    ST_ESTRESULT = 5,
    ST_VARLABEL = 6,
    ST_PROGRAM = 7,
    ST_MATRIX = 9,
    ST_MATRIX_R = 10,
    ST_MATRIX_C = 11,
    ST_CMDBUF = 12,
    ST_CONSTRAINT = 13,
    ST_GRAPH = 14,
    ST_SCALAR = 15,
    ST_ESTPRESERVE = 16,
    ST_CHAR = 17,
    ST_POSTFILE = 18,
    ST_TMPMATRIX = 19,
    ST_R_SCALAR = 20,
    ST_R_MACRO = 21,
    ST_R_MATRIX = 22,
    ST_E_SCALAR = 25,
    ST_E_MACRO = 26,
    ST_E_MATRIX = 27,
    ST_S_MACRO = 30,
    ST_PLUGIN = 31,
    ST_BYOBS = 33,
    ST_FILEHANDLE = 36,
    ST_PROGINDEX = 37,
    ST_HELD_FIRST = 50,
    ST_HELD_LAST = 3360,
    ST_LOCAL_FIRST = 3361,
    ST_LOCAL_LAST = 3424, // one per level
    ST_RETSCALAR_FIRST = 3425,
    ST_RETSCALAR_LAST = 3488,
    ST_RETMACRO_FIRST = 3489,
    ST_RETMACRO_LAST = 3552,
    ST_RETMATRIX_FIRST = 3553,
    ST_RETMATRIX_LAST = 3744,
};

struct StoreRecord {
    StoreRecord *hashprev, *hashnext;
    StoreRecord *typeprev, *typenext;
    int64_t allocated, usedsize;
    uint32_t bucket;
    int32_t length;
    int32_t slot;
    int32_t type;
    char name[NAMELEN + 1];
    uint8_t hits;
};

uint32_t store_hash(const char *name);
// The kind named in messages ("global macro", "scalar r(", ...); empty for unknown types.
const char *store_kind(int type);

void *store_add(const char *name, int type, int32_t length, int64_t size);
void *store_add_copy(const char *name, int type, int32_t length, const void *bytes, int64_t size);
void *store_find(const char *name, int type, int32_t *length_out);
void *store_find_any(const char *name);
void *store_next(void *payload, int type);
void *store_walk(void *payload, const char **name_out, int type, int32_t *length_out);
void store_delete(void *payload);
// Gives a record a new name and type in place; the payload does not move.
void store_rename(void *payload, const char *name, int type);
void store_drop_type(int type);
StoreRecord *store_header(void *payload);

// Totals for `memory`: records and bytes held.
int64_t store_bytes();
int64_t store_count();

// Called by store_delete when a program record goes, so a cached pointer to it can be cleared.
extern void (*store_on_delete_program)(void *payload);

// For tests of the failure path: when set to n > 0, the n-th allocation from now fails as if the
// system had refused it.
extern int store_fail_countdown;

} // namespace session
