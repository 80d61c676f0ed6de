// What the class engine (cls.cpp) and its commands and definitions (clscmd.cpp) share.
#pragma once
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "lang/clsnode.h"

namespace lang::cls {

// A running member program: the object it runs on, the class type it belongs to (for .Super), the
// source of the copy while .oncopy runs, and what `class exit` gave back.
struct Context {
    Key obj = NULLKEY;
    Key ct = NULLKEY;
    Key copy_src = NULLKEY;
    std::string ret;
    bool by_call = false; // set by a member program's call, which takes it down itself
};

struct Registry {
    std::map<std::string, Key> classes;  // class types by name, each holding one reference
    Key global = NULLKEY;                // .Global
    std::map<int, Key> locals;           // .Local of each program level
    std::map<int, Context> contexts;     // the active context of each program level
    std::string current_class;           // what `program .name` adds to
    std::vector<std::string> loading;    // class files being loaded
    int loglevel = 0;                    // the level new objects log at (set logging)
    bool nolog = false;                  // undo and modify run unlogged
    Key group_obj = NULLKEY;             // a logged member program runs on it: the undo lines of
    std::vector<std::string> group_undo; // its commands go to the program's own entry
};
extern Registry reg;

extern const char SEP_CLS[];
extern const char *const builtin_names[];

// One step of a reference: .name[i][j]
struct Step {
    std::string name;
    std::vector<std::string> idx;
};
struct Ref {
    bool keyroot = false;
    Key rootkey = NULLKEY;
    int rootidx = 0;
    std::vector<Step> steps;
    size_t end = 0; // where the reference ends in its text
};

// Where a reference leads.
struct Place {
    Key holder = NULLKEY;    // the object or class type holding the member
    Key attr = NULLKEY;      // the member
    Key arr = NULLKEY;       // the array, when the place is an element
    int idx = 0;             // and its index
    Key value = NULLKEY;     // what is there (for a built-in or creator: what it applies to)
    Key run_obj = NULLKEY;   // a code member runs on this object
    Key run_ct = NULLKEY;    // and belongs to this class type
    Key owner = NULLKEY;     // the last object walked through: its log records the command
    size_t owner_step = 0;   // the first step after it
    int creator = -1;        // new copy _clone _clone1 ref
    int builtin = -1;        // index in builtin_names
    bool via_super = false;  // reached through .Super
    bool superpart = false;  // the place holds a superclass part
    bool classroot = false;  // the walk began at a class type
    std::string create_name; // a dynamic member of Global or Local to make
};

struct Found {
    Key attr = NULLKEY, holder = NULLKEY, ct = NULLKEY;
};

// A source of an assignment. NEW and SHARE hold a reference that release() gives back.
struct Src {
    enum K { NUM, STR, NODE, NEW, SHARE } k = NUM;
    double num = 0;
    std::string str;
    Key key = NULLKEY;
    bool from_ref = false; // came from a reference, not a literal or expression
    void release();
};

// A declaration: type [classname] name [= value]
struct Decl {
    TypeCode type = TC_NONE;
    std::string cname, name, value;
    bool has_value = false;
};

int err(int code);
std::string trim(std::string_view s);
Key global_object();
Key local_object(bool create);
const Context *context();
Key classtype_named(const std::string &name);
std::string class_name_of(Key obj);
bool descends(Key ct, Key target);
Found find_member(Key obj, const std::string &name, bool skip_own);
Key copy_node(Key k, int levels, std::unordered_map<Key, Key> &memo);
Key deep_copy(Key k);
int run_code(Key obj, Key ct, Key attr, const std::string &args, std::string *ret, Key copy_src);
void on_free(Key obj);
int new_instance(Key ct, const std::string &args, Key *out);
std::string value_text(Key k);
TypeCode tc_of_node(Key k);
bool whole_quote(const std::string &s, std::string &inside);
bool split_initializer(const std::string &s, std::vector<std::string> &parts);
Key log_array(Key obj, bool create);
void log_command(Key obj, int level, const std::string &cmd, const std::vector<std::string> &undo);
int store_value(Place &pl, const Src &s);
int assign(const Ref &r, const std::string &src, bool rebind);
int exec_ref(const std::string &line);
int macro_value(const std::string &s, std::string &v);
int resolve_text(const std::string &text, Place &pl, size_t *end);
int source_value(const std::string &text, Src &s);
int initializer(const std::string &text, Key *out);

// Definitions (clscmd.cpp): *ct gets the class type of name, loading name.class from the ado path
// when it is not defined yet; NULLKEY and 0 when no such file exists (that failure is silent), the
// load's code when the file fails.
int load_class(const std::string &name, Key *ct);
// Reads a declaration at the tokenizer.
int read_decl(Decl &d);
// The first value of a declared member, held (count 1) for the caller.
int decl_value(const Decl &d, Key *out);
int undo(Key obj);

} // namespace lang::cls
