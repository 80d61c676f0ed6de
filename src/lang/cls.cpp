// The class system above the node store: class types, objects, references, assignment, creators,
// built-in members, member programs and their contexts, logging for undo, the reset.
#include "lang/cls.h"

#include <cctype>
#include <cstring>
#include <map>
#include <unordered_map>
#include <vector>

#include "data/expr.h"
#include "data/fmt.h"
#include "data/types.h"
#include "lang/cls_int.h"
#include "lang/prog.h"
#include "lang/prog_int.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/loop.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using namespace cls;

namespace {
// Objects run their destructor as they go.
struct FreeHookInit {
    FreeHookInit() { set_free_hook(on_free); }
} free_hook_init;
} // namespace
using session::lp;
using session::tk;

namespace cls {

Registry reg;

const char SEP_CLS[] = " \"'`:;,={}";

// The built-in members, in the order they are tested.
const char *const builtin_names[] = {
    "classname",
    "Declare",
    "arrindexof",
    "isofclass",
    "uname",
    "_loglevel",
    "_lref",
    "arrnels",
    "Arrpop",
    "Arrdropall",
    "Arrpush",
    "ref_n",
    "ref",
    "objkey",
    "oncopy_src",
    "objtype",
    "isa",
    "_typecode",
    "Arrdropel",
    "_set_to_active_context",
    "_clear_active_context",
    "_undoLOG",
    "key",
    "__LOG",
};
const int builtin_count = (int)(sizeof builtin_names / sizeof builtin_names[0]);
const char *const creator_names[] = {"new", "copy", "_clone", "_clone1", "ref"};

int builtin_index(const std::string &name) {
    for (int i = 0; i < builtin_count; ++i)
        if (name == builtin_names[i]) return i;
    return -1;
}

int creator_index(const std::string &name) {
    for (int i = 0; i < 5; ++i)
        if (name == creator_names[i]) return i;
    return -1;
}

bool quiet_notfound = false;

int err(int code) {
    if (quiet_notfound && (code == 4012 || code == 4002)) return code;
    return session::error(code);
}

std::string trim(std::string_view s) {
    size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    size_t e = s.find_last_not_of(' ');
    return std::string(s.substr(b, e - b + 1));
}

bool name_start(char c) { return std::isalpha((unsigned char)c) || c == '_'; }
bool name_char(char c) { return std::isalnum((unsigned char)c) || c == '_'; }

// ---- objects and class types ----

Key global_object() {
    if (!node(reg.global)) {
        reg.global = make(N_CLASS);
        Node *g = node(reg.global);
        g->attrib_array = make_array();
        g->dynamic_array = make_array();
        link(g->attrib_array);
        link(g->dynamic_array);
        link(reg.global);
    }
    return reg.global;
}

Key local_object(bool create) {
    auto it = reg.locals.find(session::locallevel);
    if (it != reg.locals.end() && node(it->second)) return it->second;
    if (!create) return NULLKEY;
    Key k = make(N_CLASS);
    Node *n = node(k);
    n->attrib_array = make_array();
    n->dynamic_array = make_array();
    link(n->attrib_array);
    link(n->dynamic_array);
    link(k);
    reg.locals[session::locallevel] = k;
    return k;
}

const Context *context() {
    auto it = reg.contexts.find(session::locallevel);
    if (it == reg.contexts.end() || !node(it->second.obj)) return nullptr;
    return &it->second;
}

Key classtype_named(const std::string &name) {
    auto it = reg.classes.find(name);
    return it == reg.classes.end() ? NULLKEY : it->second;
}

std::string class_name_of(Key obj) {
    const Node *n = node(obj);
    if (!n || n->kind != N_CLASS) return "";
    const Node *ct = node(n->classtype);
    return ct ? ct->text : "";
}

// True when class type ct is target or inherits from it, at any depth.
bool descends(Key ct, Key target) {
    if (!ct) return false;
    if (ct == target) return true;
    for (Key p : arr_items(node(ct)->inherits_array))
        if (descends(p, target)) return true;
    return false;
}

// The member name of obj: its own members, its dynamic ones, those of its class type, then those of
// its superclass parts in the order of inherit. skip_own starts at the superclass parts.
Found find_member(Key obj, const std::string &name, bool skip_own) {
    Found f;
    const Node *o = node(obj);
    if (!o) return f;
    if (o->kind == N_CLASSTYPE) {
        for (Key a : arr_items(o->class_attrib_array))
            if (node(a)->text == name) return {a, obj, obj};
        for (Key p : arr_items(o->inherits_array)) {
            f = find_member(p, name, false);
            if (f.attr) return f;
        }
        return f;
    }
    if (o->kind != N_CLASS) return f;
    if (!skip_own) {
        for (Key a : arr_items(o->attrib_array))
            if (node(a)->text == name) return {a, obj, o->classtype};
        for (Key a : arr_items(o->dynamic_array))
            if (node(a)->text == name) return {a, obj, o->classtype};
        if (const Node *ct = node(o->classtype))
            for (Key a : arr_items(ct->class_attrib_array))
                if (node(a)->text == name) return {a, obj, o->classtype};
    }
    for (Key a : arr_items(o->attrib_array)) {
        const Node *an = node(a);
        if (an->mkind != MV_SUPER) continue;
        f = find_member(an->target, name, false);
        if (f.attr) return f;
    }
    return f;
}

// The part of obj that belongs to class type ct (obj itself, or a superclass part), or NULLKEY.
Key part_of(Key obj, Key ct) {
    const Node *o = node(obj);
    if (!o || o->kind != N_CLASS) return NULLKEY;
    if (o->classtype == ct) return obj;
    for (Key a : arr_items(o->attrib_array)) {
        const Node *an = node(a);
        if (an->mkind != MV_SUPER) continue;
        if (Key p = part_of(an->target, ct)) return p;
    }
    return NULLKEY;
}

// A copy of node k. levels < 0 copies all the way down; 1 makes new members that share their
// values. Class types and code are shared. memo keeps cycles and shared parts as they were.
Key copy_node(Key k, int levels, std::unordered_map<Key, Key> &memo);

Key copy_attr(Key a, int levels, std::unordered_map<Key, Key> &memo) {
    const Node *an = node(a);
    Key c = make(N_ATTRIBUTE);
    Node *cn = node(c);
    cn->text = an->text;
    cn->cname = an->cname;
    cn->typecode = an->typecode;
    cn->mkind = an->mkind;
    Key t = an->target;
    Key v = NULLKEY;
    if (t) {
        if (an->mkind == MV_SUPER)
            v = copy_node(t, levels < 0 ? -1 : std::max(levels, 1), memo);
        else if (levels == 1)
            v = t;
        else
            v = copy_node(t, levels < 0 ? -1 : levels - 1, memo);
    }
    node(c)->target = v;
    link(v);
    return c;
}

Key copy_attr_array(Key arr, int levels, std::unordered_map<Key, Key> &memo) {
    Key c = make_array();
    int i = 0;
    for (Key a : arr_items(arr)) {
        ++i;
        if (a) arr_set(c, i, copy_attr(a, levels, memo));
    }
    return c;
}

Key copy_node(Key k, int levels, std::unordered_map<Key, Key> &memo) {
    const Node *n = node(k);
    if (!n) return NULLKEY;
    if (levels == 0 || n->kind == N_CLASSTYPE || n->kind == N_CODE) return k;
    auto it = memo.find(k);
    if (it != memo.end()) return it->second;
    switch (n->kind) {
    case N_DOUBLE:
        return make_double(n->value);
    case N_STRING:
    case N_BLOB:
    case N_ENCODING: {
        Key c = make(n->kind);
        node(c)->text = n->text;
        return c;
    }
    case N_ARRAY: {
        Key c = make_array();
        memo[k] = c;
        int i = 0;
        for (Key e : arr_items(k)) {
            ++i;
            if (e) arr_set(c, i, copy_node(e, levels < 0 ? -1 : levels - 1, memo));
        }
        return c;
    }
    case N_CLASS: {
        Key c = make(N_CLASS);
        memo[k] = c;
        Key ct = n->classtype;
        int lv = n->loglevel;
        Key aa = copy_attr_array(n->attrib_array, levels, memo);
        Key da = copy_attr_array(node(k)->dynamic_array, levels, memo);
        Node *cn = node(c);
        cn->classtype = ct;
        cn->loglevel = lv;
        cn->attrib_array = aa;
        cn->dynamic_array = da;
        link(aa);
        link(da);
        return c;
    }
    default:
        return k;
    }
}

Key deep_copy(Key k) {
    std::unordered_map<Key, Key> memo;
    return copy_node(k, -1, memo);
}

// Runs the program of code member attr on obj, with ct the class type it belongs to; args are its
// arguments. *ret gets what `class exit` gave back.
int run_code(Key obj, Key ct, Key attr, const std::string &args, std::string *ret, Key copy_src) {
    const Node *an = node(attr);
    const Node *code = an ? node(an->target) : nullptr;
    ProgHeader *p = code ? findprog(code->text.c_str()) : nullptr;
    if (!p) return session::error(4023);
    std::string pname = code->text;
    int level = session::locallevel + 1;
    Context saved;
    bool had = false;
    if (auto it = reg.contexts.find(level); it != reg.contexts.end()) {
        saved = it->second;
        had = true;
    }
    link(obj);
    Context c;
    c.obj = obj;
    c.ct = ct;
    c.copy_src = copy_src;
    c.by_call = true;
    link(copy_src);
    reg.contexts[level] = c;
    session::TokState ts;
    session::savetok(ts);
    std::string argbuf = args;
    session::settok(argbuf.c_str());
    int rc = call_program(p, pname.c_str());
    session::restoretok(ts);
    // _set_to_active_context and _clear_active_context may have changed the entry: what it holds
    // now is what goes.
    Context done;
    if (auto it = reg.contexts.find(level); it != reg.contexts.end()) done = it->second;
    if (had)
        reg.contexts[level] = saved;
    else
        reg.contexts.erase(level);
    if (ret) *ret = done.ret;
    unlink(done.copy_src);
    unlink(done.obj);
    return rc;
}

// The destructor of an object's own class runs as the object goes; its parts run theirs.
void on_free(Key obj) {
    const Node *o = node(obj);
    if (!o || !o->classtype) return;
    const Node *ct = node(o->classtype);
    if (!ct) return;
    for (Key a : arr_items(ct->class_attrib_array)) {
        const Node *an = node(a);
        if (an->text == "destructor" && an->typecode == TC_CODE) {
            run_code(obj, o->classtype, a, "", nullptr, NULLKEY);
            return;
        }
    }
}

int run_oncopy(Key obj, Key src) {
    Found f = find_member(obj, "oncopy", false);
    if (!f.attr || node(f.attr)->typecode != TC_CODE) return 0;
    return run_code(obj, f.ct, f.attr, "", nullptr, src);
}

// A new object of class type ct: a copy of its prototype; the class's .new program, when it has
// one, runs with args. *out is held (count 1) for the caller.
int new_instance(Key ct, const std::string &args, Key *out) {
    *out = NULLKEY;
    const Node *c = node(ct);
    if (!c || c->kind != N_CLASSTYPE) return err(4018);
    Key obj = deep_copy(c->prototype);
    link(obj);
    node(obj)->loglevel = reg.loglevel;
    Found f = find_member(obj, "new", false);
    if (f.attr && node(f.attr)->typecode == TC_CODE) {
        if (int rc = run_code(obj, f.ct, f.attr, args, nullptr, NULLKEY)) {
            unlink(obj);
            return rc;
        }
    } else if (!trim(args).empty()) {
        unlink(obj);
        return session::invalid_rest(trim(args));
    }
    *out = obj;
    return 0;
}

// ---- values ----

TypeCode tc_of_node(Key k) {
    const Node *n = node(k);
    if (!n) return TC_NONE;
    switch (n->kind) {
    case N_DOUBLE:
        return TC_DOUBLE;
    case N_STRING:
        return TC_STRING;
    case N_ARRAY:
        return TC_ARRAY;
    case N_CLASS:
        return TC_CLASS;
    case N_CODE:
        return TC_CODE;
    default:
        return TC_NONE;
    }
}

std::string value_text(Key k) {
    const Node *n = node(k);
    if (!n) return "";
    if (n->kind == N_DOUBLE) {
        data::PeriodDecimal period;
        return data::number_text(n->value);
    }
    if (n->kind == N_STRING) return n->text;
    return key_form(k);
}

// The text of a quoted value, or false when s is not one whole quoted text.
bool whole_quote(const std::string &s, std::string &inside) {
    session::Quoted q;
    if (!session::quoted_at(s, 0, q) || !q.closed || q.next != s.size()) return false;
    inside = s.substr(q.begin, q.end - q.begin);
    return true;
}

// Splits the inside of {a, b, c} at its top-level commas.
bool split_initializer(const std::string &s, std::vector<std::string> &parts) {
    parts.clear();
    std::string cur;
    int depth = 0;
    size_t i = 0;
    while (i < s.size()) {
        session::Quoted q;
        if ((s[i] == '"' || (s[i] == '`' && i + 1 < s.size() && s[i + 1] == '"')) &&
            session::quoted_at(s, i, q)) {
            if (!q.closed) return false;
            cur += s.substr(i, q.next - i);
            i = q.next;
            continue;
        }
        char c = s[i];
        if (c == '{' || c == '(' || c == '[') ++depth;
        if (c == '}' || c == ')' || c == ']') {
            if (--depth < 0) return false;
        }
        if (c == ',' && depth == 0) {
            parts.push_back(trim(cur));
            cur.clear();
        } else {
            cur += c;
        }
        ++i;
    }
    if (depth != 0) return false;
    std::string last = trim(cur);
    if (!last.empty() || !parts.empty()) parts.push_back(last);
    return true;
}

} // namespace cls

namespace {

// ---- reference text ----

// ref := ( "." name ( "[" index "]" )* )+ | "__key(" hex ")" [ "[" # "]" ] ( "." name ... )*
int parse_ref(const std::string &s, size_t pos, Ref &r) {
    r = Ref();
    size_t i = pos;
    if (s.compare(i, 6, "__key(") == 0 || s.compare(i, 7, ".__key(") == 0) {
        if (s[i] == '.') ++i;
        size_t used = 0;
        if (!parse_key_form(std::string_view(s).substr(i), r.rootkey, r.rootidx, &used))
            return session::error(4003);
        r.keyroot = true;
        i += used;
    }
    while (i < s.size() && s[i] == '.' && i + 1 < s.size() && name_start(s[i + 1])) {
        Step st;
        ++i;
        while (i < s.size() && name_char(s[i]))
            st.name += s[i++];
        while (i < s.size() && s[i] == '[') {
            int depth = 0;
            size_t j = i;
            for (; j < s.size(); ++j) {
                if (s[j] == '[') ++depth;
                if (s[j] == ']' && --depth == 0) break;
            }
            if (j >= s.size()) return session::error(4029);
            st.idx.push_back(s.substr(i + 1, j - i - 1));
            i = j + 1;
        }
        if (st.name.size() > 32) return session::error(4011);
        r.steps.push_back(st);
    }
    if (!r.keyroot && r.steps.empty()) return session::error(4003);
    r.end = i;
    return 0;
}

int index_value(const std::string &text, int &out) {
    std::string t = trim(text);
    double v;
    if (!data::text_to_number(t, v, false)) {
        data::ExprValue ev;
        if (t.empty() || data::expr_eval_scalar(t.c_str(), ev) || ev.type != data::XT_NUM)
            return session::error(4029);
        v = ev.num;
    }
    if (!(v >= 1) || v != (double)(long)v || v > 2147483647.0) return session::error(4029);
    out = (int)v;
    return 0;
}

std::string step_text(const Step &st) {
    std::string s = "." + st.name;
    for (const std::string &i : st.idx)
        s += "[" + i + "]";
    return s;
}

// ---- resolution ----

// Walks ref to the place it names. create: a name not found as the last step of the session's own
// objects (Global, Local) is a place to create.
int resolve(const Ref &r, Place &pl, bool create) {
    pl = Place();
    Key cur = NULLKEY;
    size_t i = 0;
    const Context *ctx = context();
    bool via_super = false;
    if (r.keyroot) {
        const Node *n = node(r.rootkey);
        if (!n) return err(4010);
        cur = r.rootkey;
        if (r.rootidx > 0) {
            if (n->kind != N_ARRAY) return err(4020);
            pl.arr = r.rootkey;
            pl.idx = r.rootidx;
            cur = arr_get(r.rootkey, r.rootidx);
            if (r.steps.empty()) {
                pl.value = cur;
                return 0;
            }
            if (!cur) return err(4029);
        }
        if (r.steps.empty()) {
            pl.value = cur;
            return 0;
        }
    } else {
        const std::string &first = r.steps[0].name;
        if (first == "Global") {
            cur = global_object();
            i = 1;
        } else if (first == "Local") {
            cur = local_object(true);
            i = 1;
        } else if (first == "Super") {
            if (!ctx) return err(4007);
            cur = part_of(ctx->obj, ctx->ct);
            if (!cur) return err(4007);
            via_super = true;
            i = 1;
        } else if (ctx && find_member(ctx->obj, first, false).attr) {
            cur = ctx->obj;
        } else if (Key lo = local_object(false); lo && find_member(lo, first, false).attr) {
            cur = lo;
        } else if (find_member(global_object(), first, false).attr) {
            cur = global_object();
        } else {
            Key ct = NULLKEY;
            if (r.steps.size() > 1)
                if (int rc = load_class(first, &ct)) return rc;
            if (ct) {
                cur = ct;
                pl.classroot = true;
                i = 1;
            } else if (ctx && (builtin_index(first) >= 0 || creator_index(first) >= 0)) {
                cur = ctx->obj;
            } else if (r.steps.size() > 1 && creator_index(r.steps[1].name) >= 0) {
                return err(4018);
            } else if (create && r.steps.size() == 1 && !ctx) {
                cur = global_object();
            } else {
                return err(4012);
            }
        }
        if (i == r.steps.size()) { // .Global, .Local, .Super alone
            if (via_super) return err(4009);
            pl.value = cur;
            return 0;
        }
    }
    pl.owner = node(cur) && node(cur)->kind == N_CLASS ? cur : NULLKEY;
    pl.owner_step = i;
    for (; i < r.steps.size(); ++i) {
        const Step &st = r.steps[i];
        bool last = i + 1 == r.steps.size();
        const Node *cn = node(cur);
        if (!cn) return err(4002);
        if (cn->kind == N_CLASS && !pl.classroot) {
            pl.owner = cur;
            pl.owner_step = i;
        }
        if (last && st.idx.empty()) {
            int c = creator_index(st.name);
            if (c >= 0) {
                if (via_super && i == 1) return err(4024);
                pl.creator = c;
                pl.value = cur;
                pl.via_super = via_super;
                return 0;
            }
        }
        Found f;
        if (cn->kind == N_CLASS || cn->kind == N_CLASSTYPE)
            f = find_member(cur, st.name, via_super && i == 1);
        if (f.attr) {
            const Node *an = node(f.attr);
            pl.holder = f.holder;
            pl.attr = f.attr;
            pl.run_obj = via_super ? context()->obj : cur;
            pl.run_ct = f.ct;
            pl.value = an->target;
            pl.superpart = an->mkind == MV_SUPER;
            pl.arr = NULLKEY;
            pl.idx = 0;
            pl.attr = f.attr;
            if (an->typecode == TC_CODE) {
                if (!last || !st.idx.empty()) return err(4009);
                return 0;
            }
            for (size_t j = 0; j < st.idx.size(); ++j) {
                Key v = pl.value;
                const Node *vn = node(v);
                if (!vn || vn->kind != N_ARRAY) return err(4020);
                int n;
                if (int rc = index_value(st.idx[j], n)) return rc;
                bool last_idx = last && j + 1 == st.idx.size();
                pl.superpart = false;
                pl.attr = NULLKEY;
                pl.arr = v;
                pl.idx = n;
                pl.value = arr_get(v, n);
                if (!last_idx && !pl.value) return err(4029);
            }
            if (last) return 0;
            if (!pl.value) return err(4002);
            cur = pl.value;
            pl.classroot = false;
            continue;
        }
        int b = builtin_index(st.name);
        if (b >= 0) {
            if (!st.idx.empty()) return err(4009);
            if (!last) {
                if (std::string(builtin_names[b]) != "__LOG") return err(4009);
                const Node *o = node(cur);
                if (!o || o->kind != N_CLASS) return err(4014);
                cur = log_array(cur, true);
                if (!cur) return 4050;
                continue;
            }
            pl.builtin = b;
            pl.value = cur;
            return 0;
        }
        if (last && create && cn->kind == N_CLASS && !cn->classtype && !pl.classroot) {
            if (!st.idx.empty()) return err(4012);
            pl.holder = cur;
            pl.create_name = st.name;
            return 0;
        }
        return err(4012);
    }
    return 0;
}

} // namespace

namespace cls {

// The log array of obj (.__LOG), made when asked for; NULLKEY after "Log error" when a member of
// that name is something else.
Key log_array(Key obj, bool create) {
    Found f = find_member(obj, "__LOG", false);
    if (f.attr) {
        Key t = node(f.attr)->target;
        if (node(t) && node(t)->kind == N_ARRAY) return t;
        out::ClassScope cs(out::CLS_ERROR);
        out::out_text("Log error\n");
        return NULLKEY;
    }
    if (!create) return NULLKEY;
    Key a = make(N_ATTRIBUTE);
    Key arr = make_array();
    Node *an = node(a);
    an->text = "__LOG";
    an->typecode = TC_ARRAY;
    an->mkind = MV_DYNAMIC;
    an->target = arr;
    link(arr);
    arr_push(node(obj)->dynamic_array, a);
    return arr;
}

void log_command(Key obj, int level, const std::string &cmd, const std::vector<std::string> &undo) {
    const Node *o = node(obj);
    if (reg.nolog || !o || o->kind != N_CLASS || o->loglevel < level) return;
    if (obj == reg.group_obj) {
        reg.group_undo.insert(reg.group_undo.end(), undo.begin(), undo.end());
        return;
    }
    Key arr = log_array(obj, true);
    if (!arr) return;
    arr_push(arr, make_string("<BeginCmd>"));
    arr_push(arr, make_string(cmd));
    if (!undo.empty()) {
        arr_push(arr, make_string("<undolines>"));
        for (const std::string &u : undo)
            arr_push(arr, make_string(u));
    }
    arr_push(arr, make_string("<EndCmd>"));
}

// ---- assignment ----

// Where a value goes: the node it holds now and its declared type.
void slot_type(const Place &pl, TypeCode &tc, std::string &cname) {
    tc = TC_NONE;
    cname.clear();
    if (pl.arr) return; // an element may take a value of any kind
    if (const Node *an = node(pl.attr)) {
        tc = an->typecode;
        cname = an->cname;
    }
}

// Puts v (held by the caller) in the place; the slot links it.
void put(Place &pl, Key v) {
    if (pl.arr) {
        arr_set(pl.arr, pl.idx, v);
        pl.value = v;
        return;
    }
    if (pl.attr) {
        Node *an = node(pl.attr);
        Key old = an->target;
        link(v);
        an->target = v;
        unlink(old);
        pl.value = v;
        return;
    }
    if (!pl.create_name.empty()) {
        Key a = make(N_ATTRIBUTE);
        Node *an = node(a);
        an->text = pl.create_name;
        an->typecode = tc_of_node(v);
        an->mkind = MV_DYNAMIC;
        an->target = v;
        link(v);
        arr_push(node(pl.holder)->dynamic_array, a);
        pl.attr = a;
        pl.value = v;
    }
}

int mismatch(int code, TypeCode src, TypeCode dst) {
    return session::fail(code, std::string("     may not assign ") + type_name(src) + " to " +
                                   type_name(dst) + "\n");
}

int incompatible() { return session::fail(4019, "     may not assign instances of incompatible classes\n"); }

int check_kinds(const Place &pl, TypeCode src, Key srcnode, bool from_ref, bool in_place = false) {
    TypeCode dst;
    std::string cname;
    slot_type(pl, dst, cname);
    int code = from_ref ? 4019 : 4027;
    if (dst == TC_NONE) return 0;
    if (dst != src) return mismatch(code, src, dst);
    if (dst == TC_CLASS) {
        Key want = NULLKEY;
        if (!cname.empty()) want = classtype_named(cname);
        // A copy into the object there keeps its class; a member declared with no class, or one
        // made by assignment, may take a new object of any class.
        else if (const Node *cur = node(pl.value);
                 cur && cur->kind == N_CLASS &&
                 (in_place || (!pl.arr && pl.attr && node(pl.attr)->mkind != MV_DYNAMIC)))
            want = cur->classtype;
        const Node *sn = node(srcnode);
        if (want && (!sn || !descends(sn->classtype, want))) return incompatible();
    }
    return 0;
}

int store_value(Place &pl, const Src &s) {
    switch (s.k) {
    case Src::NUM:
    case Src::STR: {
        TypeCode tc = s.k == Src::NUM ? TC_DOUBLE : TC_STRING;
        if (int rc = check_kinds(pl, tc, NULLKEY, s.from_ref)) return rc;
        Node *cur = node(pl.value);
        if (cur && tc_of_node(pl.value) == tc) {
            if (tc == TC_DOUBLE)
                cur->value = s.num;
            else
                cur->text = s.str;
            return 0;
        }
        Key v = tc == TC_DOUBLE ? make_double(s.num) : make_string(s.str);
        put(pl, v);
        return 0;
    }
    case Src::NEW:
    case Src::SHARE: {
        if (int rc = check_kinds(pl, tc_of_node(s.key), s.key, s.from_ref)) return rc;
        put(pl, s.key);
        return 0;
    }
    case Src::NODE: {
        TypeCode tc = tc_of_node(s.key);
        if (tc == TC_NONE || tc == TC_CODE) return err(4026);
        if (int rc = check_kinds(pl, tc, s.key, true, true)) return rc;
        const Node *sn = node(s.key);
        Node *cur = node(pl.value);
        if (tc == TC_DOUBLE || tc == TC_STRING) {
            if (cur && tc_of_node(pl.value) == tc) {
                cur->value = sn->value;
                cur->text = sn->text;
                return 0;
            }
            Key v = tc == TC_DOUBLE ? make_double(sn->value) : make_string(sn->text);
            put(pl, v);
            return 0;
        }
        if (pl.value == s.key) return 0;
        Key c = deep_copy(s.key);
        link(c);
        if (tc == TC_CLASS)
            if (int rc = run_oncopy(c, s.key)) {
                unlink(c);
                return rc;
            }
        if (cur && tc_of_node(pl.value) == tc) {
            int rc = rekey(pl.value, c);
            unlink(c);
            return rc;
        }
        put(pl, c);
        unlink(c);
        return 0;
    }
    }
    return 0;
}

} // namespace cls

namespace {

int eval_builtin(const Place &pl, const std::string &args, std::string &v, Key *node_out);

// The value of a source text: a literal, an initializer, an expression or a reference.
int eval_source(const std::string &text, Src &s);

int make_initializer(const std::string &t, Key *out) {
    *out = NULLKEY;
    if (t.size() < 2 || t.back() != '}') return session::error(4030);
    std::vector<std::string> parts;
    if (!split_initializer(t.substr(1, t.size() - 2), parts)) return session::error(4030);
    Key arr = make_array();
    link(arr);
    int i = 0;
    for (const std::string &p : parts) {
        ++i;
        if (p.empty()) {
            unlink(arr);
            return session::error(4030);
        }
        Src s;
        if (int rc = eval_source(p, s)) {
            unlink(arr);
            return rc;
        }
        Key v = NULLKEY;
        if (s.k == Src::NUM)
            v = make_double(s.num);
        else if (s.k == Src::STR)
            v = make_string(s.str);
        else if (s.k == Src::NODE)
            v = deep_copy(s.key);
        else
            v = s.key;
        arr_set(arr, i, v);
        s.release();
    }
    *out = arr;
    return 0;
}

int run_creator(const Place &pl, const std::string &args, Src &s) {
    Key base = pl.value;
    const Node *bn = node(base);
    if (!bn) return err(4002);
    if (pl.via_super) return err(4024);
    s.from_ref = true;
    switch (pl.creator) {
    case 0: { // new
        Key k = NULLKEY;
        if (bn->kind == N_CLASSTYPE || bn->kind == N_CLASS) {
            Key ct = bn->kind == N_CLASSTYPE ? base : bn->classtype;
            if (!ct) return err(4014);
            if (int rc = new_instance(ct, args, &k)) return rc;
        } else {
            if (!trim(args).empty()) return session::invalid_rest(trim(args));
            if (bn->kind == N_DOUBLE)
                k = make_double(data::missing_value(0));
            else if (bn->kind == N_STRING)
                k = make_string("");
            else if (bn->kind == N_ARRAY)
                k = make_array();
            else
                return err(4009);
            link(k);
        }
        s.k = Src::NEW;
        s.key = k;
        return 0;
    }
    case 1:   // copy
    case 2:   // _clone
    case 3: { // _clone1
        if (!trim(args).empty()) return session::invalid_rest(trim(args));
        if (bn->kind == N_CLASSTYPE) return err(4009);
        if (pl.creator != 1 && bn->kind != N_CLASS) return err(4025);
        std::unordered_map<Key, Key> memo;
        Key k = copy_node(base, pl.creator == 3 ? 1 : -1, memo);
        link(k);
        if (pl.creator == 1 && bn->kind == N_CLASS)
            if (int rc = run_oncopy(k, base)) {
                unlink(k);
                return rc;
            }
        s.k = Src::NEW;
        s.key = k;
        return 0;
    }
    default: // ref
        if (!trim(args).empty()) return session::invalid_rest(trim(args));
        if (pl.superpart)
            return session::fail(4009, "may not use reference option when source class is a super class\n");
        if (bn->kind == N_CLASSTYPE) return err(4009);
        link(base);
        s.k = Src::SHARE;
        s.key = base;
        return 0;
    }
}

// A value as text becomes a number when it reads as one.
void text_source(const std::string &t, Src &s) {
    double v;
    if (data::text_to_number(t, v, true)) {
        s.k = Src::NUM;
        s.num = v;
    } else {
        s.k = Src::STR;
        s.str = t;
    }
}

bool is_missing_literal(const std::string &t) {
    return t == "." || (t.size() == 2 && t[0] == '.' && t[1] >= 'a' && t[1] <= 'z');
}

int eval_source(const std::string &text, Src &s) {
    s = Src();
    std::string t = trim(text);
    if (t.empty()) return session::error(4026);
    std::string inside;
    if (t[0] == '{') {
        Key k;
        if (int rc = make_initializer(t, &k)) return rc;
        s.k = Src::NEW;
        s.key = k;
        return 0;
    }
    if ((t[0] == '"' || (t[0] == '`' && t.size() > 1 && t[1] == '"')) && whole_quote(t, inside)) {
        s.k = Src::STR;
        s.str = inside;
        return 0;
    }
    bool ref = t.compare(0, 6, "__key(") == 0 || (t[0] == '.' && t.size() > 1 && name_start(t[1]));
    if (ref && is_missing_literal(t)) {
        // .a to .z are missing values unless a member of that name is there.
        Ref r;
        Place pl;
        quiet_notfound = true;
        ref = parse_ref(t, 0, r) == 0 && resolve(r, pl, false) == 0;
        quiet_notfound = false;
    }
    if (ref) {
        Ref r;
        if (int rc = parse_ref(t, 0, r)) return rc;
        std::string args = trim(t.substr(r.end));
        Place pl;
        if (int rc = resolve(r, pl, false)) return rc;
        if (pl.creator >= 0) return run_creator(pl, args, s);
        s.from_ref = true;
        if (pl.builtin >= 0) {
            std::string v;
            Key k = NULLKEY;
            if (int rc = eval_builtin(pl, args, v, &k)) return rc;
            if (k) {
                s.k = Src::NODE;
                s.key = k;
            } else {
                text_source(v, s);
            }
            return 0;
        }
        if (pl.attr && node(pl.attr)->typecode == TC_CODE) {
            std::string v;
            if (int rc = run_code(pl.run_obj, pl.run_ct, pl.attr, args, &v, NULLKEY)) return rc;
            text_source(v, s);
            return 0;
        }
        if (!args.empty()) return session::invalid_rest(args);
        if (!pl.value) return err(4002);
        s.k = Src::NODE;
        s.key = pl.value;
        return 0;
    }
    data::ExprValue ev;
    if (int rc = data::expr_eval_scalar(t.c_str(), ev)) return rc;
    if (ev.type == data::XT_STR) {
        s.k = Src::STR;
        s.str = ev.str;
    } else {
        s.k = Src::NUM;
        s.num = ev.num;
    }
    return 0;
}

// The text of the command relative to the object it runs on, for its log.
std::string relative_text(const Ref &r, const Place &pl, const std::string &tail) {
    std::string s;
    for (size_t i = pl.owner_step; i < r.steps.size(); ++i)
        s += step_text(r.steps[i]);
    return s + tail;
}

std::string quoted(const std::string &t) { return "`\"" + t + "\"'"; }

} // namespace

namespace cls {

int assign(const Ref &r, const std::string &src, bool rebind) {
    Place pl;
    if (int rc = resolve(r, pl, true)) return rc;
    if (rebind) {
        // .a.ref = source: the place of .a takes the source's node itself.
        if (pl.builtin < 0 || std::string(builtin_names[pl.builtin]) != "ref")
            if (pl.creator != 4) return err(4009);
        Ref prefix = r;
        prefix.steps.pop_back();
        if (prefix.steps.empty() && !prefix.keyroot) return err(4009);
        if (int rc = resolve(prefix, pl, false)) return rc;
    }
    if (pl.creator >= 0 || pl.builtin >= 0) return err(4009);
    if (pl.attr && node(pl.attr)->typecode == TC_CODE) return mismatch(4027, TC_NONE, TC_CODE);
    if (pl.superpart) return incompatible();
    // The place is held while the source is found: code run by the source may take it away.
    Key held_holder = pl.holder, held_attr = pl.attr, held_arr = pl.arr;
    link(held_holder);
    link(held_attr);
    link(held_arr);
    auto release = [&] {
        unlink(held_arr);
        unlink(held_attr);
        unlink(held_holder);
    };
    TypeCode old_tc = tc_of_node(pl.value);
    std::string old_text = value_text(pl.value);
    Src s;
    int rc = eval_source(src, s);
    if (rc == 0 && rebind && s.k != Src::SHARE &&
        !(s.k == Src::NODE && trim(src).compare(0, 6, "__key(") == 0)) {
        s.release();
        release();
        return session::fail(4026, "= assigment of a reference is not allowed\n");
    }
    if (rc == 0 && rebind && s.k == Src::NODE) {
        link(s.key);
        s.k = Src::SHARE;
    }
    if (rc) {
        s.release();
        release();
        return rc;
    }
    // Gone while the source was found: the holder's last reference went, or the member or element
    // was taken out of it.
    bool alive = node(held_holder) && node(held_holder)->refs > 1;
    if (held_attr && (!node(held_attr) || node(held_attr)->refs < 2)) alive = false;
    if (held_arr && (!node(held_arr) || node(held_arr)->refs < 2)) alive = false;
    if (!held_holder && !held_arr) alive = true;
    if (!alive) {
        s.release();
        release();
        return session::error(4028);
    }
    pl.value = held_attr ? node(held_attr)->target : held_arr ? arr_get(held_arr, pl.idx) : pl.value;
    rc = store_value(pl, s);
    s.release();
    if (rc == 0 && pl.owner) {
        std::vector<std::string> undo;
        std::string target = relative_text(r, pl, "");
        if (old_tc == TC_DOUBLE) undo.push_back(target + " = " + old_text);
        if (old_tc == TC_STRING) undo.push_back(target + " = " + quoted(old_text));
        log_command(pl.owner, 1, target + " = " + trim(src), undo);
    }
    release();
    return rc;
}

void Src::release() {
    if ((k == NEW || k == SHARE) && key) unlink(key);
    key = NULLKEY;
    k = NUM;
}

} // namespace cls

// ---- built-ins ----

namespace {

int need_class(const Node *n) { return n && n->kind == N_CLASS ? 0 : err(4014); }
int need_array(const Node *n) { return n && n->kind == N_ARRAY ? 0 : err(4020); }

int undo_object(Key obj);

// Declare type [classname] name [= value]
int declare(Key obj, const std::string &text) {
    cls::Decl d;
    session::TokState ts;
    session::savetok(ts);
    std::string buf = text;
    session::settok(buf.c_str());
    int rc = read_decl(d);
    session::restoretok(ts);
    if (rc) return rc;
    if (find_member(obj, d.name, false).attr) return err(4017);
    Key v = NULLKEY;
    if ((rc = decl_value(d, &v))) return rc;
    Key a = make(N_ATTRIBUTE);
    Node *an = node(a);
    an->text = d.name;
    an->cname = d.cname;
    an->typecode = d.type;
    an->mkind = MV_DYNAMIC;
    an->target = v; // the count taken by decl_value is the member's
    arr_push(node(obj)->dynamic_array, a);
    return 0;
}

int arr_index_of(Key arr, const std::string &args, std::string &v) {
    std::string t = trim(args), inside;
    bool is_str = whole_quote(t, inside);
    double num = 0;
    if (!is_str) {
        if (!data::text_to_number(t, num, true)) {
            is_str = true;
            inside = t;
        }
    }
    int i = 0;
    for (Key e : arr_items(arr)) {
        ++i;
        const Node *en = node(e);
        if (!en) continue;
        if ((is_str && en->kind == N_STRING && en->text == inside) ||
            (!is_str && en->kind == N_DOUBLE && en->value == num)) {
            v = std::to_string(i);
            return 0;
        }
    }
    v = "0";
    return 0;
}

int set_loglevel(Node *o, const std::string &w) {
    std::string t = trim(w);
    if (t == "allon")
        o->loglevel = 2;
    else if (t == "off")
        o->loglevel = 0;
    else {
        double x;
        if (!data::text_to_number(t, x, false) || x < 0 || x != (int)x) return session::error(198);
        o->loglevel = (int)x;
    }
    return 0;
}

// A built-in read as a value; *node_out gets the node for those that give one.
int eval_builtin(const Place &pl, const std::string &args, std::string &v, Key *node_out) {
    v.clear();
    if (node_out) *node_out = NULLKEY;
    Key k = pl.value;
    Node *n = node(k);
    const std::string name = builtin_names[pl.builtin];
    auto no_args = [&]() { return trim(args).empty() ? 0 : session::invalid_rest(trim(args)); };
    if (name == "classname") {
        if (int rc = need_class(n)) return rc;
        if (!n->classtype) return err(4014);
        v = class_name_of(k);
        return no_args();
    }
    if (name == "arrindexof") {
        if (int rc = need_array(n)) return rc;
        return arr_index_of(k, args, v);
    }
    if (name == "isofclass") {
        if (int rc = need_class(n)) return rc;
        Key ct = NULLKEY;
        std::string w = trim(args);
        if (!w.empty() && session::name_ok(w))
            if (int rc = load_class(w, &ct)) return rc;
        v = ct && descends(n->classtype, ct) ? "1" : "0";
        return 0;
    }
    if (name == "uname") {
        v = key_name(k);
        return no_args();
    }
    if (name == "_loglevel") {
        if (int rc = need_class(n)) return rc;
        v = std::to_string(n->loglevel);
        return no_args();
    }
    if (name == "_lref") {
        v = pl.attr ? key_form(pl.attr) : key_form(k);
        return no_args();
    }
    if (name == "arrnels") {
        if (int rc = need_array(n)) return rc;
        v = std::to_string(n->maxdex);
        return no_args();
    }
    if (name == "Arrpop" || name == "Arrdropall" || name == "Arrpush" || name == "Arrdropel") {
        if (int rc = need_array(n)) return rc;
        return err(4009);
    }
    if (name == "ref_n") {
        if (!n) return err(4002);
        v = std::to_string(n->refs);
        return no_args();
    }
    if (name == "ref" || name == "objkey") {
        if (!n) return err(4002);
        v = key_form(k);
        return no_args();
    }
    if (name == "oncopy_src") {
        const Context *c = context();
        v = c && c->copy_src ? key_form(c->copy_src) : "";
        return no_args();
    }
    if (name == "objtype") {
        const Node *an = node(pl.attr);
        v = pl.arr                     ? "element"
            : !an                      ? ""
            : an->mkind == MV_CLASS    ? "classmv"
            : an->mkind == MV_INSTANCE ? "instancemv"
            : an->mkind == MV_DYNAMIC  ? "dynamicmv"
                                       : "superclass";
        return no_args();
    }
    if (name == "isa") {
        v = n ? kind_name(n->kind) : "";
        return no_args();
    }
    if (name == "_typecode") {
        const Node *an = node(pl.attr);
        v = std::to_string(an ? (int)an->typecode : (int)tc_of_node(k));
        return no_args();
    }
    if (name == "key") {
        char buf[24];
        std::snprintf(buf, sizeof buf, "%lx", k);
        v = buf;
        return no_args();
    }
    if (name == "__LOG") {
        if (int rc = need_class(n)) return rc;
        Key a = log_array(k, true);
        if (!a) return 4050;
        v = key_form(a);
        if (node_out) *node_out = a;
        return no_args();
    }
    if (name == "Declare" || name == "_set_to_active_context" || name == "_undoLOG") {
        if (int rc = need_class(n)) return rc;
        return err(4009);
    }
    return err(4009); // _clear_active_context
}

// A built-in run as a command.
int run_builtin(const Ref &r, const Place &pl, const std::string &args) {
    Key k = pl.value;
    Node *n = node(k);
    const std::string name = builtin_names[pl.builtin];
    auto logit = [&](const std::vector<std::string> &undo) {
        if (!pl.owner) return;
        std::string t = relative_text(r, pl, "");
        log_command(pl.owner, 1, t + (trim(args).empty() ? "" : " " + trim(args)), undo);
    };
    // The array's own place, for the undo lines of the Arr built-ins.
    std::string arr_place;
    for (size_t i = pl.owner_step; i + 1 < r.steps.size(); ++i)
        arr_place += step_text(r.steps[i]);
    if (name == "Declare") {
        if (int rc = need_class(n)) return rc;
        return declare(k, args);
    }
    if (name == "_loglevel") {
        if (int rc = need_class(n)) return rc;
        return set_loglevel(n, args);
    }
    if (name == "Arrpush") {
        if (int rc = need_array(n)) return rc;
        Src s;
        if (int rc = eval_source(args, s)) return rc;
        Key v = s.k == Src::NUM    ? make_double(s.num)
                : s.k == Src::STR  ? make_string(s.str)
                : s.k == Src::NODE ? deep_copy(s.key)
                                   : s.key;
        arr_push(k, v);
        s.release();
        logit({arr_place + ".Arrpop"});
        return 0;
    }
    if (name == "Arrpop") {
        if (int rc = need_array(n)) return rc;
        if (!trim(args).empty()) return session::invalid_rest(trim(args));
        Key v = arr_pop(k);
        std::vector<std::string> undo;
        if (const Node *vn = node(v)) {
            if (vn->kind == N_DOUBLE) undo.push_back(arr_place + ".Arrpush " + value_text(v));
            if (vn->kind == N_STRING) undo.push_back(arr_place + ".Arrpush " + quoted(vn->text));
        }
        unlink(v);
        logit(undo);
        return 0;
    }
    if (name == "Arrdropall") {
        if (int rc = need_array(n)) return rc;
        if (!trim(args).empty()) return session::invalid_rest(trim(args));
        arr_dropall(k);
        logit({});
        return 0;
    }
    if (name == "Arrdropel") {
        if (int rc = need_array(n)) return rc;
        int i;
        if (int rc = index_value(args, i)) return rc;
        if (i > n->maxdex) return session::error(4029);
        arr_dropel(k, i);
        logit({});
        return 0;
    }
    if (name == "_set_to_active_context") {
        if (int rc = need_class(n)) return rc;
        Context &c = reg.contexts[session::locallevel];
        link(k);
        unlink(c.obj);
        c.obj = k;
        c.ct = n->classtype;
        return 0;
    }
    if (name == "_clear_active_context") {
        auto it = reg.contexts.find(session::locallevel);
        if (it == reg.contexts.end()) return session::error(4022);
        Key o = it->second.obj;
        reg.contexts.erase(it);
        unlink(o);
        return 0;
    }
    if (name == "_undoLOG") {
        if (int rc = need_class(n)) return rc;
        return undo_object(k);
    }
    std::string v;
    if (int rc = eval_builtin(pl, args, v, nullptr)) return rc;
    return err(4009);
}

// The last command group of obj's log: its undo lines run with obj as the active context, unlogged,
// and the group leaves the log.
int undo_object(Key obj) {
    Key arr = log_array(obj, false);
    if (!arr) return 0;
    std::vector<Key> items = arr_items(arr);
    int begin = -1;
    for (int i = (int)items.size() - 1; i >= 0; --i)
        if (node(items[i]) && node(items[i])->text == "<BeginCmd>") {
            begin = i;
            break;
        }
    if (begin < 0) return 0;
    std::vector<std::string> lines;
    bool in_undo = false;
    for (size_t i = (size_t)begin + 1; i < items.size(); ++i) {
        const std::string &t = node(items[i]) ? node(items[i])->text : "";
        if (t == "<EndCmd>") break;
        if (t == "<undolines>") {
            in_undo = true;
            continue;
        }
        if (in_undo) lines.push_back(t);
    }
    for (size_t i = items.size(); i > (size_t)begin; --i)
        unlink(arr_pop(arr));
    int level = session::locallevel;
    bool had = reg.contexts.count(level) > 0;
    Context saved = had ? reg.contexts[level] : Context();
    link(obj);
    reg.contexts[level] = Context{obj, node(obj)->classtype, NULLKEY, "", true};
    bool nolog = reg.nolog;
    reg.nolog = true;
    int rc = 0;
    for (const std::string &l : lines)
        if ((rc = exec_ref(l))) break;
    reg.nolog = nolog;
    if (had)
        reg.contexts[level] = saved;
    else
        reg.contexts.erase(level);
    unlink(obj);
    return rc;
}

} // namespace

namespace cls {

int exec_ref(const std::string &line) {
    Ref r;
    if (int rc = parse_ref(line, 0, r)) return rc;
    std::string rest = trim(line.substr(r.end));
    if (!rest.empty() && rest[0] == '=' && (rest.size() < 2 || rest[1] != '=')) {
        bool rebind = !r.steps.empty() && r.steps.back().name == "ref" && r.steps.back().idx.empty();
        return assign(r, rest.substr(1), rebind);
    }
    Place pl;
    if (int rc = resolve(r, pl, false)) return rc;
    if (pl.creator >= 0) {
        if (pl.creator != 0) return err(4009);
        Src s;
        if (int rc = run_creator(pl, rest, s)) return rc;
        // .x.new on a member makes that member a new object; on a class it only runs the creator.
        int rc = 0;
        if (!pl.classroot && !(r.steps.size() == 1)) {
            Ref prefix = r;
            prefix.steps.pop_back();
            Place target;
            if (!(rc = resolve(prefix, target, false))) rc = store_value(target, s);
        }
        s.release();
        return rc;
    }
    if (pl.builtin >= 0) return run_builtin(r, pl, rest);
    if (pl.attr && node(pl.attr)->typecode == TC_CODE) {
        const Node *o = node(pl.owner);
        if (!o || o->loglevel < 2 || reg.nolog || reg.group_obj)
            return run_code(pl.run_obj, pl.run_ct, pl.attr, rest, nullptr, NULLKEY);
        // The program's changes to the object are undone as one command, the last first.
        Key owner = pl.owner;
        link(owner);
        reg.group_obj = owner;
        reg.group_undo.clear();
        int rc = run_code(pl.run_obj, pl.run_ct, pl.attr, rest, nullptr, NULLKEY);
        std::vector<std::string> undo(reg.group_undo.rbegin(), reg.group_undo.rend());
        reg.group_obj = NULLKEY;
        reg.group_undo.clear();
        log_command(owner, 2, relative_text(r, pl, rest.empty() ? "" : " " + rest), undo);
        unlink(owner);
        return rc;
    }
    return err(4023);
}

int macro_value(const std::string &s, std::string &v) {
    v.clear();
    Ref r;
    if (int rc = parse_ref(s, 0, r)) return rc;
    std::string rest = trim(s.substr(r.end));
    Place pl;
    quiet_notfound = true;
    int rc = resolve(r, pl, false);
    quiet_notfound = false;
    if (rc == 4012 || rc == 4002) return 0;
    if (rc) return rc;
    if (pl.creator == 4) {
        v = key_form(pl.value);
        return 0;
    }
    if (pl.creator >= 0) return err(4009);
    if (pl.builtin >= 0) return eval_builtin(pl, rest, v, nullptr);
    if (pl.attr && node(pl.attr)->typecode == TC_CODE)
        return run_code(pl.run_obj, pl.run_ct, pl.attr, rest, &v, NULLKEY);
    if (!rest.empty()) return session::invalid_rest(rest);
    if (pl.arr && !pl.value) return 0;
    v = value_text(pl.value);
    return 0;
}

int source_value(const std::string &text, Src &s) { return eval_source(text, s); }
int initializer(const std::string &text, Key *out) { return make_initializer(text, out); }
int undo(Key obj) { return undo_object(obj); }
int resolve_text(const std::string &text, Place &pl, size_t *end) {
    Ref r;
    if (int rc = parse_ref(text, 0, r)) return rc;
    if (end) *end = r.end;
    return resolve(r, pl, false);
}

} // namespace cls

int cmd_dotref(int) {
    std::string line = tk.tokstart ? tk.tokstart : "";
    return exec_ref(line);
}

int cls_macro_value(const std::string &s, std::string &v) { return cls::macro_value(s, v); }

void cls_level_end(int level) {
    if (auto it = reg.locals.find(level); it != reg.locals.end()) {
        Key k = it->second;
        reg.locals.erase(it);
        unlink(k);
    }
    if (auto it = reg.contexts.find(level); it != reg.contexts.end() && !it->second.by_call) {
        Key k = it->second.obj, c = it->second.copy_src;
        reg.contexts.erase(it);
        unlink(c);
        unlink(k);
    }
}

void cls_reset() {
    std::vector<ProgHeader *> progs;
    for (void *p = session::store_walk(nullptr, nullptr, session::ST_PROGRAM, nullptr); p;
         p = session::store_walk(p, nullptr, session::ST_PROGRAM, nullptr))
        if (static_cast<ProgHeader *>(p)->isclass) progs.push_back(static_cast<ProgHeader *>(p));
    for (ProgHeader *p : progs)
        program_delete(p);
    cls::reset();
    reg.classes.clear();
    reg.locals.clear();
    reg.contexts.clear();
    reg.global = NULLKEY;
    reg.current_class.clear();
    reg.group_obj = NULLKEY;
    reg.group_undo.clear();
}

} // namespace lang
