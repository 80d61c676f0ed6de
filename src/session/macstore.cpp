// Macros in the named store.
#include "session/macstore.h"

#include <cstring>

#include "session/store.h"

namespace session {

int locallevel = ST_LOCAL_FIRST;

const char *macro_get_at(const char *stored_name, int type, int32_t *len) {
    int32_t l = 0;
    void *p = store_find(stored_name, type, &l);
    if (p && len) *len = l;
    return static_cast<const char *>(p);
}

int macro_set_at(const char *stored_name, int type, std::string_view text, bool keep_empty) {
    void *p = store_find(stored_name, type, nullptr);
    if (text.empty() && !keep_empty) {
        if (p) store_delete(p);
        return 0;
    }
    int64_t need = (int64_t)text.size() + 1;
    if (p) {
        StoreRecord *r = store_header(p);
        // Overwrite in place when the block fits and is not far too big for the new text.
        if (r->allocated >= need && r->allocated <= 2 * need + 64) {
            std::memcpy(p, text.data(), text.size());
            static_cast<char *>(p)[text.size()] = '\0';
            r->length = (int32_t)text.size();
            r->usedsize = need;
            return 0;
        }
        store_delete(p);
    }
    void *q = store_add(stored_name, type, (int32_t)text.size(), need);
    if (!q) return 950;
    std::memcpy(q, text.data(), text.size());
    static_cast<char *>(q)[text.size()] = '\0';
    return 0;
}

const char *macro_get(const char *name, int32_t *len) {
    return macro_get_at(name, name[0] == '_' ? locallevel : ST_GLOBAL, len);
}

int macro_set(const char *name, std::string_view text) {
    return macro_set_at(name, name[0] == '_' ? locallevel : ST_GLOBAL, text);
}

int macro_set_empty(const char *name) {
    return macro_set_at(name, name[0] == '_' ? locallevel : ST_GLOBAL, "", true);
}

void macro_drop(const char *name) { macro_set(name, ""); }

} // namespace session
