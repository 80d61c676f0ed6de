// The class system's node store: every value, array, object and class type is a node under a numeric
// key, with a reference count; a node goes when its count reaches 0. Kept apart from the named store.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lang::cls {

using Key = unsigned long; // shown "%lx"
inline constexpr Key NULLKEY = 0;
inline constexpr int keys_per_node = 8; // element slots of one arraynode

enum Kind : uint8_t {
    N_DOUBLE,
    N_STRING,
    N_ARRAY,
    N_ARRAYNODE,
    N_CLASS,
    N_CLASSTYPE,
    N_ATTRIBUTE,
    N_CODE,
    N_KEY,
    N_CONTEXT,
    N_BLOB,
    N_ENCODING,
};

// Attribute types, by their declaration keywords.
enum TypeCode : uint8_t {
    TC_NONE = 0,
    TC_DOUBLE = 1,
    TC_STRING = 2,
    TC_ARRAY = 3,
    TC_CLASS = 4,
    TC_CODE = 5
};

// How a member belongs to its object.
enum MemberKind : uint8_t { MV_CLASS, MV_INSTANCE, MV_DYNAMIC, MV_SUPER };

struct Node {
    Key key = NULLKEY;
    Kind kind = N_DOUBLE;
    int32_t refs = 0;
    double value = 0; // double
    std::string text; // string and blob bytes; the name of a classtype, attribute, code or key
    bool tmpstring = false;
    // array: its elements sit in a chain of arraynodes from node0
    int size = 0, nels = 0, maxdex = 0;
    Key node0 = NULLKEY;
    // arraynode
    Key slots[keys_per_node] = {};
    Key next = NULLKEY;
    // class (an object); the session's Global and Local objects have no classtype
    Key classtype = NULLKEY, attrib_array = NULLKEY, dynamic_array = NULLKEY;
    int loglevel = 0;
    // classtype
    Key prototype = NULLKEY, inherits_array = NULLKEY, class_attrib_array = NULLKEY;
    // attribute: its value node is target; cname names the class of a class-typed member
    TypeCode typecode = TC_NONE;
    MemberKind mkind = MV_INSTANCE;
    Key target = NULLKEY;
    std::string cname;
    // key
    Key data_key = NULLKEY, key_key = NULLKEY;
};

// The node of key, or null when there is none.
Node *node(Key k);
// A new node of kind with a count of 0; its owner links it.
Key make(Kind kind);
Key make_double(double v);
Key make_string(std::string_view s);
Key make_array();

void link(Key k);
// Takes one reference away; at 0 the node and what only it held go. Array nodes, contexts and kinds
// the store does not know may not be unlinked: the fault's message is written and 4050 returned.
int unlink(Key k);

// Called for an object whose count reached 0, before its members go (it runs the destructor). The
// object is held while the hook runs; if it is held still afterwards it stays.
using FreeHook = void (*)(Key object);
void set_free_hook(FreeHook hook);

// Arrays, indexed from 1. An index past maxdex reads as NULLKEY; a set past it grows the chain.
Key arr_get(Key a, int i);
void arr_set(Key a, int i, Key v); // links v, unlinks what was there
void arr_push(Key a, Key v);
Key arr_pop(Key a); // the last element, still held by the caller (unlink it when done), or NULLKEY
void arr_dropall(Key a);
void arr_dropel(Key a, int i); // later elements move down one place
// The elements 1..maxdex, NULLKEY where none is set.
std::vector<Key> arr_items(Key a);

// Reference forms: "__key(%lx)", "__key(%lx)[%d]"; the name form "K%lx".
std::string key_form(Key k, int idx = 0);
bool parse_key_form(std::string_view s, Key &k, int &idx, size_t *used = nullptr);
std::string key_name(Key k);

// Copies the contents of source into target, so that what refers to target sees source's value.
// The kinds' storage must fit: "cls_rekey, target (%lx) too small for source (%lx)" and 4050.
int rekey(Key target, Key source);

// The figures of the summary.
struct Summary {
    long items = 0, total = 0, data = 0, overhead = 0, names = 0;
};
Summary summary();
// The keys of every node, in key order.
std::vector<Key> all_keys();

// Frees every node that cannot be reached from roots (cycles of references included); no
// destructor runs. Returns the number freed.
long sweep(const std::vector<Key> &roots);
// Drops every node; no destructor runs.
void reset();

const char *kind_name(Kind k);
const char *type_name(TypeCode t);

} // namespace lang::cls
