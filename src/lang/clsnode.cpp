// The node store of the class system: keys, counts, arrays in chains of arraynodes, freeing.
#include "lang/clsnode.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <unordered_set>

#include "session/errors.h"

namespace lang::cls {

namespace {

std::map<Key, std::unique_ptr<Node>> table;
Key next_key = 1; // keys are never given twice, so a stale key form finds nothing
FreeHook free_hook = nullptr;
std::vector<Key> pending; // nodes whose count reached 0, freed one at a time (no deep recursion)
bool draining = false;

constexpr long node_overhead = 40; // the bytes of a node's own head, counted once per node

std::string hex(Key k) {
    char buf[24];
    std::snprintf(buf, sizeof buf, "%lx", k);
    return buf;
}

// The keys a node holds references to; the arraynodes of an array are its own and come apart.
void children(const Node &n, std::vector<Key> &out, std::vector<Key> *chain) {
    switch (n.kind) {
    case N_ARRAY:
        for (Key c = n.node0; c;) {
            const Node *an = node(c);
            if (!an) break;
            if (chain) chain->push_back(c);
            for (Key s : an->slots)
                if (s) out.push_back(s);
            c = an->next;
        }
        break;
    case N_CLASS:
        out.push_back(n.attrib_array);
        out.push_back(n.dynamic_array);
        break;
    case N_CLASSTYPE:
        out.push_back(n.prototype);
        out.push_back(n.inherits_array);
        out.push_back(n.class_attrib_array);
        break;
    case N_ATTRIBUTE:
        out.push_back(n.target);
        break;
    case N_KEY:
        out.push_back(n.data_key);
        out.push_back(n.key_key);
        break;
    default:
        break;
    }
}

void release_children(const std::vector<Key> &kids) {
    for (Key c : kids) {
        Node *cn = node(c);
        if (!cn) continue;
        if (--cn->refs <= 0) {
            cn->refs = 0;
            pending.push_back(c);
        }
    }
}

void destroy(Key k) {
    Node *n = node(k);
    if (!n || n->refs > 0) return;
    if (n->kind == N_CLASS && free_hook) {
        n->refs = 1;
        free_hook(k);
        n = node(k);
        if (!n || --n->refs > 0) return;
    }
    std::vector<Key> kids, chain;
    children(*n, kids, &chain);
    for (Key c : chain)
        table.erase(c);
    table.erase(k);
    release_children(kids);
}

void drain() {
    if (draining) return;
    draining = true;
    while (!pending.empty()) {
        Key k = pending.back();
        pending.pop_back();
        destroy(k);
    }
    draining = false;
}

// The arraynode holding element i (from 1); created with its predecessors when grow is set.
Node *slot_node(Node *a, int i, bool grow) {
    int want = (i - 1) / keys_per_node;
    Key *link_to = &a->node0;
    Node *an = nullptr;
    for (int j = 0; j <= want; ++j) {
        if (!*link_to) {
            if (!grow) return nullptr;
            Key nk = make(N_ARRAYNODE);
            node(nk)->refs = 1;
            *link_to = nk;
            a->size += keys_per_node;
        }
        an = node(*link_to);
        link_to = &an->next;
    }
    return an;
}

void recount(Node *a) {
    a->nels = 0;
    a->maxdex = 0;
    int i = 0;
    for (Key c = a->node0; c;) {
        Node *an = node(c);
        for (Key s : an->slots) {
            ++i;
            if (s) {
                ++a->nels;
                a->maxdex = i;
            }
        }
        c = an->next;
    }
}

long data_bytes(const Node &n) {
    switch (n.kind) {
    case N_DOUBLE:
        return 8;
    case N_STRING:
    case N_BLOB:
    case N_ENCODING:
        return (long)n.text.size() + 1;
    case N_ARRAY:
        return 16;
    case N_ARRAYNODE:
        return 8L * keys_per_node + 8;
    case N_CLASS:
    case N_CLASSTYPE:
        return 24;
    case N_ATTRIBUTE:
        return 24;
    case N_KEY:
        return 16;
    default:
        return 0;
    }
}

long name_bytes(const Node &n) {
    switch (n.kind) {
    case N_CLASSTYPE:
    case N_ATTRIBUTE:
    case N_CODE:
    case N_KEY:
        return (long)n.text.size() + (long)n.cname.size();
    default:
        return 0;
    }
}

// What a kind's storage holds, for the fit test of rekey.
int footprint(Kind k) {
    switch (k) {
    case N_DOUBLE:
        return 8;
    case N_STRING:
        return 16;
    default:
        return 32;
    }
}

} // namespace

Node *node(Key k) {
    if (!k) return nullptr;
    auto it = table.find(k);
    return it == table.end() ? nullptr : it->second.get();
}

Key make(Kind kind) {
    auto n = std::make_unique<Node>();
    n->key = next_key++;
    n->kind = kind;
    Key k = n->key;
    table.emplace(k, std::move(n));
    return k;
}

Key make_double(double v) {
    Key k = make(N_DOUBLE);
    node(k)->value = v;
    return k;
}

Key make_string(std::string_view s) {
    Key k = make(N_STRING);
    node(k)->text.assign(s);
    return k;
}

Key make_array() { return make(N_ARRAY); }

void link(Key k) {
    if (Node *n = node(k)) ++n->refs;
}

int unlink(Key k) {
    Node *n = node(k);
    if (!n) return 0;
    if (n->kind == N_ARRAYNODE)
        return session::fail(4050, "attempt to cls_unlink() an array node " + hex(k) + "\n");
    if (n->kind == N_CONTEXT) return session::fail(4050, "attempt to cls_unlink() a context\n");
    if (n->kind > N_ENCODING)
        return session::fail(4050, "attempt to cls_unlink() an object of unknown type\n");
    if (--n->refs > 0) return 0;
    n->refs = 0;
    pending.push_back(k);
    drain();
    return 0;
}

void set_free_hook(FreeHook hook) { free_hook = hook; }

Key arr_get(Key a, int i) {
    Node *an = node(a);
    if (!an || i < 1 || i > an->maxdex) return NULLKEY;
    Node *sn = slot_node(an, i, false);
    return sn ? sn->slots[(i - 1) % keys_per_node] : NULLKEY;
}

void arr_set(Key a, int i, Key v) {
    Node *an = node(a);
    if (!an || i < 1) return;
    link(v);
    Node *sn = slot_node(an, i, true);
    an = node(a);
    Key old = sn->slots[(i - 1) % keys_per_node];
    sn->slots[(i - 1) % keys_per_node] = v;
    recount(an);
    if (old) unlink(old);
}

void arr_push(Key a, Key v) {
    if (Node *an = node(a)) arr_set(a, an->maxdex + 1, v);
}

Key arr_pop(Key a) {
    Node *an = node(a);
    if (!an || an->maxdex == 0) return NULLKEY;
    Node *sn = slot_node(an, an->maxdex, false);
    Key v = sn->slots[(an->maxdex - 1) % keys_per_node];
    sn->slots[(an->maxdex - 1) % keys_per_node] = NULLKEY;
    recount(an);
    return v;
}

void arr_dropall(Key a) {
    while (Key v = arr_pop(a))
        unlink(v);
}

void arr_dropel(Key a, int i) {
    Node *an = node(a);
    if (!an || i < 1 || i > an->maxdex) return;
    Node *first = slot_node(an, i, false);
    Key old = first->slots[(i - 1) % keys_per_node];
    int m = an->maxdex;
    for (int j = i; j < m; ++j) {
        Node *to = slot_node(an, j, false), *from = slot_node(an, j + 1, false);
        to->slots[(j - 1) % keys_per_node] = from->slots[j % keys_per_node];
    }
    slot_node(an, m, false)->slots[(m - 1) % keys_per_node] = NULLKEY;
    recount(an);
    if (old) unlink(old);
}

std::vector<Key> arr_items(Key a) {
    std::vector<Key> v;
    Node *an = node(a);
    if (!an) return v;
    for (Key c = an->node0; c && (int)v.size() < an->maxdex;) {
        Node *sn = node(c);
        for (Key s : sn->slots)
            if ((int)v.size() < an->maxdex) v.push_back(s);
        c = sn->next;
    }
    return v;
}

std::string key_form(Key k, int idx) {
    char buf[48];
    if (idx > 0)
        std::snprintf(buf, sizeof buf, "__key(%lx)[%d]", k, idx);
    else
        std::snprintf(buf, sizeof buf, "__key(%lx)", k);
    return buf;
}

bool parse_key_form(std::string_view s, Key &k, int &idx, size_t *used) {
    k = NULLKEY;
    idx = 0;
    if (s.substr(0, 6) != "__key(") return false;
    size_t i = 6;
    Key v = 0;
    size_t start = i;
    while (i < s.size() && std::isxdigit((unsigned char)s[i])) {
        char c = s[i];
        v = v * 16 + (Key)(c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10);
        ++i;
    }
    if (i == start || i >= s.size() || s[i] != ')') return false;
    ++i;
    if (i < s.size() && s[i] == '[') {
        size_t j = i + 1;
        int n = 0;
        while (j < s.size() && std::isdigit((unsigned char)s[j]))
            n = n * 10 + (s[j++] - '0');
        if (j == i + 1 || j >= s.size() || s[j] != ']') return false;
        idx = n;
        i = j + 1;
    }
    k = v;
    if (used) *used = i;
    return true;
}

std::string key_name(Key k) { return "K" + hex(k); }

int rekey(Key target, Key source) {
    Node *t = node(target), *s = node(source);
    if (!t || !s) return session::error(4010);
    if (footprint(t->kind) < footprint(s->kind)) {
        char buf[96];
        std::snprintf(buf, sizeof buf, "cls_rekey, target (%lx) too small for source (%lx)\n", target,
                      source);
        return session::fail(4050, buf);
    }
    if (target == source) return 0;
    std::vector<Key> old, chain;
    children(*t, old, &chain);
    const int32_t trefs = t->refs, srefs = s->refs;
    const int tlog = t->loglevel;
    const Kind skind = s->kind;
    *t = std::move(*s);
    t->key = target;
    t->refs = trefs;
    if (t->kind == N_CLASS) t->loglevel = tlog;
    // The source keeps its key, kind and count, and nothing else.
    *s = Node();
    s->key = source;
    s->refs = srefs;
    s->kind = skind;
    for (Key c : chain)
        table.erase(c);
    release_children(old);
    drain();
    return 0;
}

Summary summary() {
    Summary s;
    for (auto &[k, n] : table) {
        ++s.items;
        s.data += data_bytes(*n);
        s.names += name_bytes(*n);
    }
    s.overhead = s.items * node_overhead;
    s.total = s.data + s.overhead + s.names;
    return s;
}

std::vector<Key> all_keys() {
    std::vector<Key> v;
    v.reserve(table.size());
    for (auto &kv : table)
        v.push_back(kv.first);
    return v;
}

long sweep(const std::vector<Key> &roots) {
    std::unordered_set<Key> marked;
    std::vector<Key> stack(roots.begin(), roots.end());
    while (!stack.empty()) {
        Key k = stack.back();
        stack.pop_back();
        Node *n = node(k);
        if (!n || !marked.insert(k).second) continue;
        std::vector<Key> kids, chain;
        children(*n, kids, &chain);
        if (n->kind == N_CLASS) kids.push_back(n->classtype);
        for (Key c : chain)
            marked.insert(c);
        for (Key c : kids)
            if (c) stack.push_back(c);
    }
    std::vector<Key> dead;
    for (auto &[k, n] : table)
        if (!marked.count(k)) dead.push_back(k);
    // What the dead held among the living loses those references.
    for (Key k : dead) {
        Node *n = node(k);
        if (!n || n->kind == N_ARRAYNODE) continue;
        std::vector<Key> kids;
        children(*n, kids, nullptr);
        for (Key c : kids)
            if (marked.count(c))
                if (Node *cn = node(c)) --cn->refs;
    }
    for (Key k : dead)
        table.erase(k);
    return (long)dead.size();
}

void reset() {
    table.clear();
    pending.clear();
}

const char *kind_name(Kind k) {
    switch (k) {
    case N_DOUBLE:
        return "double";
    case N_STRING:
        return "string";
    case N_ARRAY:
        return "array";
    case N_ARRAYNODE:
        return "arraynode";
    case N_CLASS:
        return "class";
    case N_CLASSTYPE:
        return "classtype";
    case N_ATTRIBUTE:
        return "attribute";
    case N_CODE:
        return "code";
    case N_KEY:
        return "key";
    case N_CONTEXT:
        return "context";
    case N_BLOB:
        return "blob";
    case N_ENCODING:
        return "encoding";
    }
    return "unknown";
}

const char *type_name(TypeCode t) {
    switch (t) {
    case TC_DOUBLE:
        return "double";
    case TC_STRING:
        return "string";
    case TC_ARRAY:
        return "array";
    case TC_CLASS:
        return "class";
    case TC_CODE:
        return "code";
    default:
        return "none";
    }
}

} // namespace lang::cls
