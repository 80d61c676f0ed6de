// The named store: one heap block per record, a fixed hash table on the name and a list per type.
#include "session/store.h"

#include <cstdlib>
#include <cstring>

#include "session/errors.h"
#include "session/state.h"

namespace session {

namespace {

// Kind names for messages, by ranges of type numbers.
struct KindRow {
    int first, last;
    const char *kind;
};

constexpr KindRow kind_rows[] = {
    {1, 1, "value label"},
    {2, 2, "global macro"},
    {3, 3, "varlist"},
    {4, 4, "last command"},
    {5, 5, "saved estimation result"},
    {6, 6, "variable label"},
    {7, 7, "program"},
    {9, 11, "matrix"},
    {12, 12, "command buffer"},
    {13, 13, "constraint"},
    {14, 14, "saved graph"},
    {15, 15, "scalar"},
    {16, 16, "estimates preserve/restore"},
    {17, 17, "characteristic"},
    {18, 18, "tracking the postfile"},
    {19, 19, "internal temporary matrix"},
    {20, 20, "scalar r("},
    {21, 21, "local macro r("},
    {22, 24, "matrix r("},
    {25, 25, "scalar e("},
    {26, 26, "local macro e("},
    {27, 29, "matrix e("},
    {30, 30, "local macro s("},
    {31, 31, "plugin"},
    {33, 33, "byobs subcommand"},
    {36, 36, "file handle"},
    {37, 37, "program index"},
    {ST_HELD_FIRST, ST_HELD_LAST, "held estimates"},
    {ST_LOCAL_FIRST, ST_LOCAL_LAST, "local macro"},
    {ST_RETSCALAR_FIRST, ST_RETSCALAR_LAST, "scalar return("},
    {ST_RETMACRO_FIRST, ST_RETMACRO_LAST, "local macro return("},
    {ST_RETMATRIX_FIRST, ST_RETMATRIX_LAST, "matrix return("},
};

// The payload starts at a 16-byte boundary behind the header.
constexpr size_t HEADER = (sizeof(StoreRecord) + 15) & ~size_t(15);
constexpr uint8_t HITS_BEFORE_MOVE = 10;

StoreRecord *buckets[STORE_BUCKETS];
StoreRecord *typeheads[STORE_TYPES];
int64_t total_bytes = 0;
int64_t total_count = 0;

void *payload_of(StoreRecord *r) { return r ? reinterpret_cast<char *>(r) + HEADER : nullptr; }

bool valid_type(int type) { return type >= 1 && type < STORE_TYPES; }

// Names longer than the name field are held and looked up by their first NAMELEN bytes.
bool same_name(const StoreRecord *r, const char *name) { return std::strncmp(r->name, name, NAMELEN) == 0; }

void unlink_bucket(StoreRecord *r) {
    if (r->hashprev)
        r->hashprev->hashnext = r->hashnext;
    else
        buckets[r->bucket] = r->hashnext;
    if (r->hashnext) r->hashnext->hashprev = r->hashprev;
    r->hashprev = r->hashnext = nullptr;
}

void link_bucket_head(StoreRecord *r) {
    StoreRecord *&head = buckets[r->bucket];
    r->hashprev = nullptr;
    r->hashnext = head;
    if (head) head->hashprev = r;
    head = r;
}

// A look-up hit: every eleventh brings the record to the front of its bucket.
void count_hit(StoreRecord *r) {
    if (++r->hits <= HITS_BEFORE_MOVE) return;
    r->hits = 0;
    if (buckets[r->bucket] == r) return;
    unlink_bucket(r);
    link_bucket_head(r);
}

void default_on_delete_program(void *payload) {
    if (lp.curprog == payload) lp.curprog = nullptr;
}

} // namespace

void (*store_on_delete_program)(void *payload) = default_on_delete_program;
int store_fail_countdown = 0;

uint32_t store_hash(const char *name) {
    uint32_t h = 0;
    for (int i = 0; i < NAMELEN && name[i]; ++i)
        h = h * 31u + (unsigned char)name[i];
    return h % STORE_BUCKETS;
}

const char *store_kind(int type) {
    for (const KindRow &k : kind_rows)
        if (type >= k.first && type <= k.last) return k.kind;
    return "";
}

StoreRecord *store_header(void *payload) {
    return payload ? reinterpret_cast<StoreRecord *>(static_cast<char *>(payload) - HEADER) : nullptr;
}

void *store_add(const char *name, int type, int32_t length, int64_t size) {
    if (!valid_type(type)) return nullptr;
    bool fail = size < 0 || (uint64_t)size > SIZE_MAX - HEADER;
    if (store_fail_countdown > 0 && --store_fail_countdown == 0) fail = true;
    StoreRecord *r = fail ? nullptr : static_cast<StoreRecord *>(std::calloc(1, HEADER + (size_t)size));
    if (!r) {
        out_of_memory_for(name, type);
        return nullptr;
    }
    std::strncpy(r->name, name, NAMELEN);
    r->name[NAMELEN] = '\0';
    r->allocated = r->usedsize = size;
    r->bucket = store_hash(r->name);
    r->length = length;
    r->slot = -1;
    r->type = type;
    r->hits = 0;
    link_bucket_head(r);
    StoreRecord *&th = typeheads[type];
    r->typeprev = nullptr;
    r->typenext = th;
    if (th) th->typeprev = r;
    th = r;
    total_bytes += (int64_t)HEADER + size;
    ++total_count;
    return payload_of(r);
}

void *store_add_copy(const char *name, int type, int32_t length, const void *bytes, int64_t size) {
    void *p = store_add(name, type, length, size);
    if (p && size > 0) std::memcpy(p, bytes, (size_t)size);
    return p;
}

void *store_find(const char *name, int type, int32_t *length_out) {
    for (StoreRecord *r = buckets[store_hash(name)]; r; r = r->hashnext) {
        if (r->type != type || !same_name(r, name)) continue;
        if (length_out) *length_out = r->length;
        count_hit(r);
        return payload_of(r);
    }
    return nullptr;
}

void *store_find_any(const char *name) {
    for (StoreRecord *r = buckets[store_hash(name)]; r; r = r->hashnext) {
        if (!same_name(r, name)) continue;
        count_hit(r);
        return payload_of(r);
    }
    return nullptr;
}

void *store_next(void *payload, int type) {
    StoreRecord *from = store_header(payload);
    if (!from) return nullptr;
    for (StoreRecord *r = from->hashnext; r; r = r->hashnext)
        if ((type == -1 || r->type == type) && same_name(r, from->name)) return payload_of(r);
    return nullptr;
}

void *store_walk(void *payload, const char **name_out, int type, int32_t *length_out) {
    StoreRecord *r;
    if (payload)
        r = store_header(payload)->typenext;
    else
        r = valid_type(type) ? typeheads[type] : nullptr;
    if (!r) return nullptr;
    if (name_out) *name_out = r->name;
    if (length_out) *length_out = r->length;
    return payload_of(r);
}

void store_delete(void *payload) {
    StoreRecord *r = store_header(payload);
    if (!r) return;
    if (r->type == ST_PROGRAM && store_on_delete_program) store_on_delete_program(payload);
    unlink_bucket(r);
    if (r->typeprev)
        r->typeprev->typenext = r->typenext;
    else
        typeheads[r->type] = r->typenext;
    if (r->typenext) r->typenext->typeprev = r->typeprev;
    total_bytes -= (int64_t)HEADER + r->allocated;
    --total_count;
    std::free(r);
}

void store_rename(void *payload, const char *name, int type) {
    StoreRecord *r = store_header(payload);
    if (!r || !valid_type(type)) return;
    unlink_bucket(r);
    if (r->typeprev)
        r->typeprev->typenext = r->typenext;
    else
        typeheads[r->type] = r->typenext;
    if (r->typenext) r->typenext->typeprev = r->typeprev;
    std::strncpy(r->name, name, NAMELEN);
    r->name[NAMELEN] = '\0';
    r->bucket = store_hash(r->name);
    r->type = type;
    link_bucket_head(r);
    StoreRecord *&th = typeheads[type];
    r->typeprev = nullptr;
    r->typenext = th;
    if (th) th->typeprev = r;
    th = r;
}

void store_drop_type(int type) {
    if (!valid_type(type)) return;
    while (typeheads[type])
        store_delete(payload_of(typeheads[type]));
}

int64_t store_bytes() { return total_bytes; }

int64_t store_count() { return total_count; }

} // namespace session
