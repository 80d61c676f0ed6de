// Variable labels, value-label tables and characteristics in the named store.
#include "data/labels.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "data/dataset.h"
#include "data/types.h"
#include "session/store.h"

namespace data {

namespace {

using session::ST_CHAR;
using session::ST_VALLABEL;
using session::ST_VARLABEL;

// The long codes of `.` and `.z`: a table holds `.a` to `.z` as the codes between.
constexpr int32_t LONG_DOT = 2147483621;
constexpr int32_t LONG_MIN_VALUE = -2147483647;

int32_t rd32(const char *p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

void wr32(char *p, int32_t v) { std::memcpy(p, &v, 4); }

// A table's parts, read from its body.
struct Table {
    int32_t n = 0, txtlen = 0;
    const char *off = nullptr, *val = nullptr, *txt = nullptr;
};

bool parse_table(const char *body, int32_t bytes, Table &t) {
    if (!body || bytes < 8) return false;
    t.n = rd32(body);
    t.txtlen = rd32(body + 4);
    if (t.n < 0 || t.txtlen < 0 || (int64_t)8 + 8 * (int64_t)t.n + t.txtlen > bytes) return false;
    t.off = body + 8;
    t.val = t.off + 4 * (int64_t)t.n;
    t.txt = t.val + 4 * (int64_t)t.n;
    return true;
}

const char *table_body(const char *name, int32_t *bytes) {
    int32_t len = 0;
    const char *p = static_cast<const char *>(session::store_find(name, ST_VALLABEL, &len));
    if (bytes) *bytes = len;
    return p;
}

// A characteristic's record: the 33-byte name, then the text with its NUL.
const char *char_record(const char *owner, const char *name) {
    void *p = session::store_find(owner, ST_CHAR, nullptr);
    for (; p; p = session::store_next(p, ST_CHAR))
        if (std::strncmp(static_cast<const char *>(p), name, CHARNAME_LEN) == 0)
            return static_cast<const char *>(p);
    return nullptr;
}

void drop_type_owner(int type, const char *owner) {
    for (void *p = session::store_find(owner, type, nullptr); p;
         p = session::store_find(owner, type, nullptr))
        session::store_delete(p);
}

void on_rename(const char *oldname, const char *newname) {
    if (const char *l = varlabel_get(oldname)) {
        const std::string text = l;
        varlabel_set(newname, text);
        varlabel_set(oldname, "");
    }
    char_rekey(oldname, newname);
}

void on_drop(const char *name) {
    varlabel_set(name, "");
    char_drop_owner(name);
}

void on_clear() {
    session::store_drop_type(ST_VARLABEL);
    session::store_drop_type(ST_CHAR);
    session::store_drop_type(ST_VALLABEL);
}

} // namespace

// ---- Variable labels ----------------------------------------------------------------------------

const char *varlabel_get(const char *name) {
    return static_cast<const char *>(session::store_find(name, ST_VARLABEL, nullptr));
}

int varlabel_set(const char *name, std::string_view text) {
    if (void *p = session::store_find(name, ST_VARLABEL, nullptr)) session::store_delete(p);
    if (text.empty()) return 0;
    if (text.size() > (size_t)VARLABEL_MAX) text = text.substr(0, VARLABEL_MAX);
    void *q = session::store_add(name, ST_VARLABEL, (int32_t)text.size(), (int64_t)text.size() + 1);
    if (!q) return 950;
    std::memcpy(q, text.data(), text.size());
    static_cast<char *>(q)[text.size()] = '\0';
    return 0;
}

// ---- Value-label tables -------------------------------------------------------------------------

bool vl_key(double x, int32_t *key) {
    if (is_missing(x)) {
        const int k = missing_index(x); // 0 for `.`, 1 for `.a` ...
        if (k < 1 || k > 26) return false;
        *key = LONG_DOT + k;
        return true;
    }
    if (x != std::floor(x) || x < LONG_MIN_VALUE || x > LONG_DOT - 1) return false;
    *key = (int32_t)x;
    return true;
}

double vl_value(int32_t key) {
    if (key > LONG_DOT) return missing_value(key - LONG_DOT);
    return key;
}

const char *vl_text(const char *name, double x) {
    if (!name || !*name) return nullptr;
    int32_t key;
    if (!vl_key(x, &key)) return nullptr;
    int32_t bytes = 0;
    Table t;
    const char *body = table_body(name, &bytes); // the length is known once the body is found
    if (!parse_table(body, bytes, t)) return nullptr;
    int32_t lo = 0, hi = t.n - 1;
    while (lo <= hi) {
        const int32_t mid = lo + (hi - lo) / 2;
        const int32_t v = rd32(t.val + 4 * (int64_t)mid);
        if (v == key) {
            const int32_t o = rd32(t.off + 4 * (int64_t)mid);
            return t.txt + o;
        }
        if (v < key)
            lo = mid + 1;
        else
            hi = mid - 1;
    }
    return nullptr;
}

int vl_value_of(const char *name, std::string_view text, double *x) {
    int32_t bytes = 0;
    Table t;
    const char *body = table_body(name, &bytes); // the length is known once the body is found
    if (!parse_table(body, bytes, t)) return 111;
    for (int32_t k = 0; k < t.n; ++k)
        if (text == std::string_view(t.txt + rd32(t.off + 4 * (int64_t)k))) {
            *x = vl_value(rd32(t.val + 4 * (int64_t)k));
            return 0;
        }
    return 111;
}

bool vl_exists(const char *name) { return table_body(name, nullptr) != nullptr; }

int vl_entries(const char *name, std::vector<ValueLabel> &out) {
    out.clear();
    int32_t bytes = 0;
    Table t;
    const char *body = table_body(name, &bytes); // the length is known once the body is found
    if (!parse_table(body, bytes, t)) return 111;
    for (int32_t k = 0; k < t.n; ++k)
        out.push_back({rd32(t.val + 4 * (int64_t)k), std::string(t.txt + rd32(t.off + 4 * (int64_t)k))});
    return 0;
}

int vl_store(const char *name, std::vector<ValueLabel> entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const ValueLabel &a, const ValueLabel &b) { return a.key < b.key; });
    // a repeated key keeps the last text given for it
    std::vector<ValueLabel> kept;
    for (ValueLabel &e : entries) {
        if (e.text.size() > (size_t)LABELTEXT_MAX) e.text.resize(LABELTEXT_MAX);
        if (!kept.empty() && kept.back().key == e.key)
            kept.back().text = std::move(e.text);
        else
            kept.push_back(std::move(e));
    }
    int64_t txtlen = 0;
    for (const ValueLabel &e : kept)
        txtlen += (int64_t)e.text.size() + 1;
    const int32_t n = (int32_t)kept.size();
    const int64_t bytes = 8 + 8 * (int64_t)n + txtlen;
    std::vector<char> body((size_t)bytes);
    wr32(body.data(), n);
    wr32(body.data() + 4, (int32_t)txtlen);
    int32_t at = 0;
    char *txt = body.data() + 8 + 8 * (int64_t)n;
    for (int32_t k = 0; k < n; ++k) {
        wr32(body.data() + 8 + 4 * (int64_t)k, at);
        wr32(body.data() + 8 + 4 * (int64_t)n + 4 * (int64_t)k, kept[(size_t)k].key);
        std::memcpy(txt + at, kept[(size_t)k].text.c_str(), kept[(size_t)k].text.size() + 1);
        at += (int32_t)kept[(size_t)k].text.size() + 1;
    }
    vl_drop(name);
    if (n == 0) return 0; // a table without entries is no table
    return session::store_add_copy(name, ST_VALLABEL, (int32_t)bytes, body.data(), bytes) ? 0 : 950;
}

int vl_store_body(const char *name, const char *body, int32_t bytes) {
    Table t;
    if (!parse_table(body, bytes, t)) return 688;
    for (int32_t k = 0; k < t.n; ++k) {
        const int32_t o = rd32(t.off + 4 * (int64_t)k);
        if (o < 0 || o >= t.txtlen || !std::memchr(t.txt + o, '\0', (size_t)(t.txtlen - o))) return 688;
        if (k > 0 && rd32(t.val + 4 * (int64_t)k) <= rd32(t.val + 4 * (int64_t)(k - 1))) return 688;
    }
    std::vector<ValueLabel> entries((size_t)t.n);
    for (int32_t k = 0; k < t.n; ++k)
        entries[(size_t)k] = {rd32(t.val + 4 * (int64_t)k),
                              std::string(t.txt + rd32(t.off + 4 * (int64_t)k))};
    return vl_store(name, std::move(entries));
}

const char *vl_body(const char *name, int32_t *bytes) { return table_body(name, bytes); }

void vl_drop(const char *name) {
    if (void *p = session::store_find(name, ST_VALLABEL, nullptr)) session::store_delete(p);
}

std::vector<std::string> vl_names() {
    std::vector<std::string> names;
    const char *n = nullptr;
    for (void *p = session::store_walk(nullptr, &n, ST_VALLABEL, nullptr); p;
         p = session::store_walk(p, &n, ST_VALLABEL, nullptr))
        names.push_back(n);
    std::sort(names.begin(), names.end());
    return names;
}

int vl_widest(const char *name) {
    std::vector<ValueLabel> e;
    int w = 0;
    if (vl_entries(name, e) == 0)
        for (const ValueLabel &v : e)
            w = std::max(w, (int)v.text.size());
    return w;
}

// ---- Characteristics ----------------------------------------------------------------------------

const char *char_get(const char *owner, const char *name) {
    const char *r = char_record(owner, name);
    return r ? r + CHARNAME_LEN : nullptr;
}

int char_set(const char *owner, const char *name, std::string_view text) {
    if (std::strlen(name) >= (size_t)CHARNAME_LEN) return 198;
    if (const char *r = char_record(owner, name)) {
        // a text that changes keeps the characteristic's place in the order of creation only when it
        // fits; otherwise the record is made anew at the end, as the chain holds it
        session::store_delete(const_cast<char *>(r));
    }
    if (text.empty()) return 0;
    if (text.size() > (size_t)CHARTEXT_MAX) text = text.substr(0, CHARTEXT_MAX);
    const int64_t bytes = CHARNAME_LEN + (int64_t)text.size() + 1;
    char *q = static_cast<char *>(session::store_add(owner, ST_CHAR, (int32_t)text.size(), bytes));
    if (!q) return 950;
    std::strncpy(q, name, CHARNAME_LEN);
    std::memcpy(q + CHARNAME_LEN, text.data(), text.size());
    q[CHARNAME_LEN + text.size()] = '\0';
    return 0;
}

std::vector<std::pair<std::string, std::string>> char_list(const char *owner) {
    // The type's list holds the newest first: read backwards, it is the order of creation.
    std::vector<std::pair<std::string, std::string>> out;
    const char *n = nullptr;
    for (void *p = session::store_walk(nullptr, &n, ST_CHAR, nullptr); p;
         p = session::store_walk(p, &n, ST_CHAR, nullptr))
        if (std::strncmp(n, owner, session::NAMELEN) == 0) {
            const char *r = static_cast<const char *>(p);
            out.emplace_back(std::string(r, strnlen(r, CHARNAME_LEN)), std::string(r + CHARNAME_LEN));
        }
    std::reverse(out.begin(), out.end());
    return out;
}

std::vector<std::string> char_owners() {
    std::vector<std::string> seen;
    const char *n = nullptr;
    for (void *p = session::store_walk(nullptr, &n, ST_CHAR, nullptr); p;
         p = session::store_walk(p, &n, ST_CHAR, nullptr))
        if (std::find(seen.begin(), seen.end(), n) == seen.end()) seen.push_back(n);
    std::vector<std::string> out;
    auto take = [&](const std::string &o) {
        auto it = std::find(seen.begin(), seen.end(), o);
        if (it != seen.end()) {
            out.push_back(o);
            seen.erase(it);
        }
    };
    take(DTA_OWNER);
    for (int v = 1; v <= ds.nvar; ++v)
        take(ds.varname[v - 1]);
    std::sort(seen.begin(), seen.end());
    out.insert(out.end(), seen.begin(), seen.end());
    return out;
}

void char_drop_owner(const char *owner) { drop_type_owner(ST_CHAR, owner); }

void char_rekey(const char *oldowner, const char *newowner) {
    if (std::strcmp(oldowner, newowner) == 0) return;
    for (const auto &[name, text] : char_list(oldowner))
        char_set(newowner, name.c_str(), text);
    char_drop_owner(oldowner);
}

void labels_init() {
    hook_rename_var = on_rename;
    hook_drop_var = on_drop;
    hook_clear = on_clear;
}

} // namespace data
