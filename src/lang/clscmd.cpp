// Class definitions (class bodies, .class files on the ado path, member programs) and the commands
// class and _cls.
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "data/fmt.h"
#include "data/types.h"
#include "lang/cls.h"
#include "lang/cls_int.h"
#include "lang/prog.h"
#include "lang/prog_int.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/loop.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using namespace cls;
using session::gettok;
using session::lp;
using session::tk;

namespace {

std::vector<std::string> creating; // classes whose prototype is being built

int class_msg() {
    return session::fail(
        198, "class command must be followed by a name or command must appear in an class-file.\n");
}

// Runs name.class from path in run mode, with the line in progress put aside.
int load_class_file(const std::string &name, const std::string &path) {
    AdoLoad saved_ado = ado;
    ado.active = false; // a class file's programs belong to no ado-file
    std::string saved_current = reg.current_class;
    reg.current_class.clear();
    reg.loading.push_back(name);
    int rc = run_file_aside(path, false);
    reg.loading.pop_back();
    reg.current_class = saved_current;
    ado = saved_ado;
    if (rc) {
        {
            out::ClassScope cs(out::CLS_INPUT);
            out::out_text("(error occurred while loading " + name + ".class)\n");
        }
        // What the file defined before it failed goes, so that a mended file loads again.
        if (auto it = reg.classes.find(name); it != reg.classes.end()) {
            Key ct = it->second;
            reg.classes.erase(it);
            unlink(ct);
        }
        return rc;
    }
    if (!classtype_named(name)) return session::error(4018);
    return 0;
}

// A line read into a body, with the prompt and echo of numbered lines.
int body_line(int k, std::string &line) {
    static char numbered[16];
    std::snprintf(numbered, sizeof numbered, "%3d. ", k);
    const char *saved_prompt = session::line_prompt;
    if (lp.curfile && file_echo) session::set_prompt(lp.curfile, numbered);
    session::line_prompt = numbered;
    int end = session::getline(1, 0);
    session::line_prompt = saved_prompt;
    if (lp.curfile && file_echo) session::set_prompt(lp.curfile, ". ");
    if (session::poll_break()) return 1;
    if (end) return session::error(612);
    line = tk.cmdbuf;
    return 0;
}

bool ends_in_brace(const char *s) {
    std::string t = trim(s);
    return !t.empty() && t.back() == '{';
}

// In a skipped branch a class body is read past, so that its lines do not count as blocks.
int skip_body() {
    if (!ends_in_brace(tk.cmdbuf)) return 0;
    for (int k = 1;; ++k) {
        std::string line;
        if (int rc = body_line(k, line)) return rc;
        if (trim(line) == "}") return 0;
    }
}

int add_code_member(Key ct, const std::string &member, const std::string &progname) {
    Node *c = node(ct);
    for (Key a : arr_items(c->class_attrib_array)) {
        Node *an = node(a);
        if (an->text != member) continue;
        if (an->typecode != TC_CODE) return err(4017);
        if (!node(an->target)) {
            an->target = make(N_CODE);
            link(an->target);
        }
        node(an->target)->text = progname;
        return 0;
    }
    for (Key a : arr_items(node(c->prototype)->attrib_array))
        if (node(a)->text == member && node(a)->mkind != MV_SUPER) return err(4017);
    Key code = make(N_CODE);
    node(code)->text = progname;
    Key a = make(N_ATTRIBUTE);
    Node *an = node(a);
    an->text = member;
    an->typecode = TC_CODE;
    an->mkind = MV_CLASS;
    an->target = code;
    link(code);
    arr_push(node(ct)->class_attrib_array, a);
    return 0;
}

// The class type from a body's declarations; superclasses are already loaded.
int build_class(const std::string &name, const std::vector<Key> &parents,
                const std::vector<std::pair<bool, Decl>> &decls) {
    Key ct = make(N_CLASSTYPE);
    link(ct);
    Node *c = node(ct);
    c->text = name;
    Key inh = make_array(), cattr = make_array(), proto = make(N_CLASS);
    link(inh);
    link(cattr);
    link(proto);
    c = node(ct);
    c->inherits_array = inh;
    c->class_attrib_array = cattr;
    c->prototype = proto;
    Key aa = make_array(), da = make_array();
    link(aa);
    link(da);
    Node *p = node(proto);
    p->classtype = ct;
    p->attrib_array = aa;
    p->dynamic_array = da;
    for (Key par : parents) {
        arr_push(inh, par);
        Key a = make(N_ATTRIBUTE);
        Node *an = node(a);
        an->text = node(par)->text;
        an->cname = node(par)->text;
        an->typecode = TC_CLASS;
        an->mkind = MV_SUPER;
        Key part = deep_copy(node(par)->prototype);
        node(a)->target = part;
        link(part);
        arr_push(aa, a);
    }
    creating.push_back(name);
    std::set<std::string> seen;
    int rc = 0;
    for (const auto &[classwide, d] : decls) {
        if (!seen.insert(d.name).second) {
            rc = err(4017);
            break;
        }
        Key v = NULLKEY;
        if ((rc = decl_value(d, &v))) break;
        if (d.type == TC_CODE) node(v)->text = name + "." + d.name;
        Key a = make(N_ATTRIBUTE);
        Node *an = node(a);
        an->text = d.name;
        an->cname = d.cname;
        an->typecode = d.type;
        an->mkind = classwide || d.type == TC_CODE ? MV_CLASS : MV_INSTANCE;
        an->target = v;
        arr_push(classwide || d.type == TC_CODE ? cattr : aa, a);
    }
    creating.pop_back();
    if (rc) {
        unlink(ct);
        return rc;
    }
    reg.classes[name] = ct;
    reg.current_class = name;
    return 0;
}

// name [, inherit(list)] [{] at the tokenizer, then the body up to a line "}".
int define_class(const std::string &name, bool brace_read) {
    std::string rest = trim(session::tokrest());
    bool brace = brace_read;
    if (!brace && !rest.empty() && rest.back() == '{') {
        brace = true;
        rest = trim(rest.substr(0, rest.size() - 1));
    }
    std::string inherit;
    if (!rest.empty()) {
        if (rest[0] != ',') return session::invalid_rest(rest);
        std::vector<session::Option> opts;
        if (int rc = session::read_options_of(rest.substr(1), opts)) return rc;
        for (const session::Option &o : opts) {
            if (!session::cmdmatch(o.name.c_str(), "inherit", 7) || !o.paren)
                return session::option_not_allowed(o.name);
            inherit = o.arg;
        }
        if (inherit.size() > 660) return session::option_invalid("inherit");
    }
    if (name.size() > 32) return session::error(4011);
    if (!session::name_ok(name)) return session::invalid_name(name);
    // The body is read whole before anything is checked, so that its lines never run as commands.
    std::vector<std::string> lines;
    int k = 1;
    if (!brace) {
        std::string l;
        if (int rc = body_line(k++, l)) return rc;
        if (trim(l) != "{") return session::brace_not_found();
    }
    for (;; ++k) {
        std::string l;
        if (int rc = body_line(k, l)) return rc;
        if (trim(l) == "}") break;
        lines.push_back(l);
    }
    if (classtype_named(name)) return session::already_defined("class " + name);
    std::vector<Key> parents;
    std::vector<std::string> names;
    for (size_t at = 0; at < inherit.size();) {
        size_t b = inherit.find_first_not_of(' ', at);
        if (b == std::string::npos) break;
        size_t e = inherit.find(' ', b);
        if (e == std::string::npos) e = inherit.size();
        names.push_back(inherit.substr(b, e - b));
        at = e;
    }
    for (const std::string &p : names) {
        Key pct = NULLKEY;
        if (int rc = load_class(p, &pct)) return rc;
        if (!pct) return session::error(4018);
        parents.push_back(pct);
    }
    std::vector<std::pair<bool, Decl>> decls;
    bool classwide = false;
    for (const std::string &l : lines) {
        std::string t = trim(l);
        if (t.empty() || t[0] == '*' || t.compare(0, 2, "//") == 0) continue;
        session::TokState ts;
        session::savetok(ts);
        session::settok(l.c_str());
        std::string w = gettok(SEP_CLS);
        std::string colon = gettok(SEP_CLS);
        int rc = 0;
        if (colon == ":" && session::cmdmatch(w.c_str(), "classwide", 5)) {
            classwide = true;
            if (*session::tokrest()) rc = session::invalid_rest(session::tokrest());
        } else if (colon == ":" && session::cmdmatch(w.c_str(), "instancespecific", 8)) {
            classwide = false;
            if (*session::tokrest()) rc = session::invalid_rest(session::tokrest());
        } else {
            session::settok(l.c_str());
            Decl d;
            rc = read_decl(d);
            if (!rc) decls.emplace_back(classwide, d);
        }
        session::restoretok(ts);
        if (rc) return rc;
    }
    return build_class(name, parents, decls);
}

// ---- _cls subcommands ----

std::string rest_text() { return trim(session::tokrest()); }

// exit [value]: a member program ends, giving value to a `.ref' that called it.
int sub_exit() {
    auto it = reg.contexts.find(session::locallevel);
    if (it == reg.contexts.end()) return session::error(4007);
    std::string v = rest_text(), inside;
    if (!v.empty() && v[0] == '=') {
        Src s;
        if (int rc = source_value(v.substr(1), s)) return rc;
        if (s.k == Src::NUM) {
            data::PeriodDecimal period;
            v = data::number_text(s.num);
        } else {
            v = s.k == Src::STR ? s.str : value_text(s.key);
        }
        s.release();
    } else if (whole_quote(v, inside)) {
        v = inside;
    }
    reg.contexts[session::locallevel].ret = v;
    lp.exitlevel = 1;
    return 0;
}

std::vector<Key> roots() {
    std::vector<Key> r;
    for (auto &[n, k] : reg.classes)
        r.push_back(k);
    r.push_back(reg.global);
    for (auto &[l, k] : reg.locals)
        r.push_back(k);
    for (auto &[l, c] : reg.contexts) {
        r.push_back(c.obj);
        r.push_back(c.copy_src);
    }
    return r;
}

// free: what nothing reaches goes (cycles of references); free _all: the reset; free .ref ...: the
// dynamic members named leave their objects.
int sub_free() {
    std::string rest = rest_text();
    if (rest.empty()) {
        sweep(roots());
        return 0;
    }
    if (rest == "_all") {
        cls_reset();
        return 0;
    }
    while (!rest.empty()) {
        Place pl;
        size_t end = 0;
        if (int rc = resolve_text(rest, pl, &end)) return rc;
        const Node *an = node(pl.attr);
        if (!an || an->mkind != MV_DYNAMIC || pl.arr) return err(4009);
        Key da = node(pl.holder)->dynamic_array;
        int i = 0;
        for (Key a : arr_items(da)) {
            ++i;
            if (a == pl.attr) {
                arr_dropel(da, i);
                break;
            }
        }
        rest = trim(rest.substr(end));
    }
    return 0;
}

void show_attr(Key a) {
    const Node *an = node(a);
    const char *mk = an->mkind == MV_CLASS      ? "classmv"
                     : an->mkind == MV_INSTANCE ? "instancemv"
                     : an->mkind == MV_DYNAMIC  ? "dynamicmv"
                                                : "superclass";
    std::string type = type_name(an->typecode);
    if (!an->cname.empty()) type += " " + an->cname;
    std::string v =
        an->typecode == TC_CODE ? (node(an->target) ? node(an->target)->text : "") : value_text(an->target);
    out::out_textf("    %-10s %-16s %-12s %s\n", mk, type.c_str(), an->text.c_str(), v.c_str());
}

void show_node(Key k) {
    const Node *n = node(k);
    out::out_textf("key %lx: %s, refs %d\n", k, kind_name(n->kind), n->refs);
    auto part = [](const char *name, const std::string &v) {
        out::out_textf("    %-18s %s\n", name, v.c_str());
    };
    auto hexk = [](Key x) {
        char b[24];
        std::snprintf(b, sizeof b, "%lx", x);
        return std::string(b);
    };
    switch (n->kind) {
    case N_DOUBLE:
    case N_STRING:
        part("value", value_text(k));
        break;
    case N_ARRAY:
        part("keys_per_node", std::to_string(keys_per_node));
        part("size", std::to_string(n->size));
        part("nels", std::to_string(n->nels));
        part("maxdex", std::to_string(n->maxdex));
        part("node0", hexk(n->node0));
        break;
    case N_CLASS:
        part("classtype", hexk(n->classtype) + (n->classtype ? " (" + class_name_of(k) + ")" : ""));
        part("attrib_array", hexk(n->attrib_array));
        part("dynamic_array", hexk(n->dynamic_array));
        part("num_attribs", std::to_string(node(n->attrib_array)->nels));
        part("num_dynamics", std::to_string(node(n->dynamic_array)->nels));
        break;
    case N_CLASSTYPE:
        part("name", n->text);
        part("prototype", hexk(n->prototype));
        part("inherits_array", hexk(n->inherits_array));
        part("class_attrib_array", hexk(n->class_attrib_array));
        part("num_inherits", std::to_string(node(n->inherits_array)->nels));
        part("num_class_attribs", std::to_string(node(n->class_attrib_array)->nels));
        break;
    case N_ATTRIBUTE:
        part("typecode", std::to_string(n->typecode));
        part("name", n->text);
        part("key", hexk(n->target));
        part("own_key", hexk(k));
        part("length", std::to_string(node(n->target) ? (long)value_text(n->target).size() : 0L));
        break;
    case N_CODE:
        part("program", n->text);
        break;
    case N_BLOB:
    case N_ENCODING: {
        std::string b = "(blob) ";
        for (size_t i = 0; i < n->text.size() && i < 16; ++i) {
            char x[4];
            std::snprintf(x, sizeof x, "%02x", (unsigned char)n->text[i]);
            b += x;
        }
        part("bytes", b + "...");
        break;
    }
    default:
        break;
    }
}

// inspect [class | classtype] target: the parts of a node; class adds the members of an object,
// classtype those of a class type named by its name.
int sub_inspect() {
    session::TokState ts;
    session::savetok(ts);
    std::string w = gettok(SEP_CLS);
    int mode = 0;
    if (session::cmdmatch(w.c_str(), "classtype", 9))
        mode = 2;
    else if (session::cmdmatch(w.c_str(), "class", 5))
        mode = 1;
    else
        session::restoretok(ts);
    std::string target = rest_text();
    if (target.empty()) return session::error(198);
    Key k = NULLKEY;
    if (mode == 2) {
        if (int rc = load_class(target, &k)) return rc;
        if (!k) return session::error(4018);
    } else {
        Place pl;
        size_t end = 0;
        if (int rc = resolve_text(target, pl, &end)) return rc;
        if (!trim(target.substr(end)).empty()) return session::invalid_rest(trim(target.substr(end)));
        k = pl.value;
        if (!node(k)) return err(4002);
        if (mode == 1 && node(k)->kind != N_CLASS) return err(4014);
    }
    out::ClassScope cs(out::CLS_RESULT);
    show_node(k);
    const Node *n = node(k);
    if (mode == 1) {
        for (Key a : arr_items(n->attrib_array))
            show_attr(a);
        for (Key a : arr_items(n->dynamic_array))
            show_attr(a);
        if (const Node *ct = node(n->classtype))
            for (Key a : arr_items(ct->class_attrib_array))
                show_attr(a);
    } else if (mode == 2) {
        for (Key a : arr_items(node(n->prototype)->attrib_array))
            show_attr(a);
        for (Key a : arr_items(n->class_attrib_array))
            show_attr(a);
    }
    return 0;
}

// The path from root to k through members and elements, or empty.
bool path_to(Key from, Key k, std::string &path, std::set<Key> &seen, int depth) {
    const Node *n = node(from);
    if (!n || depth > 64 || !seen.insert(from).second) return false;
    if (n->kind == N_CLASS) {
        for (Key arr : {n->attrib_array, n->dynamic_array})
            for (Key a : arr_items(arr)) {
                const Node *an = node(a);
                if (an->typecode == TC_CODE) continue;
                std::string p = path + "." + an->text;
                if (an->target == k || path_to(an->target, k, p, seen, depth + 1)) {
                    path = an->target == k ? path + "." + an->text : p;
                    return true;
                }
            }
    } else if (n->kind == N_ARRAY) {
        int i = 0;
        for (Key e : arr_items(from)) {
            ++i;
            if (!e) continue;
            std::string p = path + "[" + std::to_string(i) + "]";
            if (e == k || path_to(e, k, p, seen, depth + 1)) {
                path = e == k ? path + "[" + std::to_string(i) + "]" : p;
                return true;
            }
        }
    }
    return false;
}

// nameof[local] lmacname target: the name by which .Global (or .Local) reaches the target.
int sub_nameof(bool local) {
    std::string mac = gettok(SEP_CLS);
    if (mac.empty() || !session::name_ok(mac)) return session::invalid_name(mac);
    std::string target = rest_text();
    Place pl;
    size_t end = 0;
    if (int rc = resolve_text(target, pl, &end)) return rc;
    std::string path;
    Key root = local ? local_object(false) : global_object();
    std::set<Key> seen;
    std::string p = local ? ".Local" : "";
    if (root && pl.value && path_to(root, pl.value, p, seen, 0)) path = p;
    return session::macro_set(session::local_name(mac).c_str(), path) ? 950 : 0;
}

// set logging {off | allon | #}
int sub_set() {
    std::string w = gettok(SEP_CLS);
    if (!session::cmdmatch(w.c_str(), "logging", 3)) return session::error(198);
    std::string v = rest_text();
    if (v == "off")
        reg.loglevel = 0;
    else if (v == "allon")
        reg.loglevel = 2;
    else {
        int n = 0;
        if (v.empty() || v.find_first_not_of("0123456789") != std::string::npos || v.size() > 3)
            return session::error(198);
        n = std::stoi(v);
        reg.loglevel = n;
    }
    return 0;
}

// orvat target : command: the command runs with the target object as the active context.
int sub_orvat() {
    const char *restp = session::tokrest();
    std::string rest = restp;
    Place pl;
    size_t end = 0;
    if (int rc = resolve_text(rest, pl, &end)) return rc;
    const Node *o = node(pl.value);
    if (!o || o->kind != N_CLASS) return err(4014);
    tk.tokpos = restp + end;
    std::string colon = gettok(SEP_CLS);
    if (colon != ":") return session::error(198);
    int level = session::locallevel;
    bool had = reg.contexts.count(level) > 0;
    Context saved = had ? reg.contexts[level] : Context();
    Key obj = pl.value;
    link(obj);
    reg.contexts[level] = Context{obj, o->classtype, NULLKEY, "", true};
    int rc = session::dispatch_rest();
    if (had)
        reg.contexts[level] = saved;
    else
        reg.contexts.erase(level);
    unlink(obj);
    return rc;
}

// toplevel [, classtype dots list]: the names of .Global's members (or of the class types) in r(list).
int sub_toplevel() {
    bool classtype = false, dots = false, list = false;
    const session::OptSpec specs[] = {session::opt_flag("classtype", 9, classtype),
                                      session::opt_flag("dots", 4, dots), session::opt_flag("list", 4, list)};
    if (int rc = session::parse_options(specs)) return rc;
    std::vector<std::string> names;
    if (classtype) {
        for (auto &[n, k] : reg.classes)
            names.push_back(n);
    } else {
        for (Key a : arr_items(node(global_object())->dynamic_array))
            names.push_back(node(a)->text);
    }
    std::string all;
    bool cut = false;
    for (const std::string &n : names) {
        std::string w = (dots ? "." : "") + n;
        if (all.size() + w.size() + 1 >= (size_t)session::maxcmdlen) {
            cut = true;
            break;
        }
        if (!all.empty()) all += ' ';
        all += w;
        if (list) {
            out::ClassScope cs(out::CLS_RESULT);
            out::out_text(w + "\n");
        }
    }
    if (cut) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("names exceed macro length, list truncated\n");
    }
    mat::r_clear();
    return mat::r_set_macro("list", all);
}

// try target [args]: as a reference command, except that a member or member program that is not
// there is no failure.
int sub_try() {
    std::string line = rest_text();
    if (line.empty() || (line[0] != '.' && line.compare(0, 6, "__key(") != 0)) return session::error(198);
    Place pl;
    uint8_t saved = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = resolve_text(line, pl, nullptr);
    out::ch.OutputLevel = saved;
    if (rc == 4012 || rc == 4002) return 0;
    if (pl.attr && node(pl.attr)->typecode == TC_CODE) {
        const Node *code = node(node(pl.attr)->target);
        if (!code || !findprog(code->text.c_str())) return 0;
    }
    return exec_ref(line);
}

int sub_undo() {
    Place pl;
    if (int rc = resolve_text(rest_text(), pl, nullptr)) return rc;
    const Node *o = node(pl.value);
    if (!o || o->kind != N_CLASS) return err(4014);
    return undo(pl.value);
}

int sub_dmm() {
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    Summary s = summary();
    out::ClassScope cs(out::CLS_RESULT);
    out::out_text("cls system summary:\n");
    out::out_textf("   Number of items/objects=%-8ld\n", s.items);
    out::out_textf("   Sizes:  total=%-8ld  data=%-8ld  overhead=%-8ld  names=%-8ld\n", s.total, s.data,
                   s.overhead, s.names);
    return 0;
}

// pgmdir [classname]: the member programs, as program dir lists programs.
int sub_pgmdir() {
    std::string only = rest_text();
    std::vector<void *> progs;
    for (void *p = session::store_walk(nullptr, nullptr, session::ST_PROGRAM, nullptr); p;
         p = session::store_walk(p, nullptr, session::ST_PROGRAM, nullptr))
        if (static_cast<ProgHeader *>(p)->isclass) progs.push_back(p);
    out::ClassScope cs(out::CLS_RESULT);
    int64_t total = 0;
    for (auto it = progs.rbegin(); it != progs.rend(); ++it) {
        session::StoreRecord *h = session::store_header(*it);
        std::string name = h->name;
        if (!only.empty() && name.compare(0, only.size() + 1, only + ".") != 0) continue;
        out::out_textf("%5s %8lld  %s\n", "class", (long long)h->allocated, name.c_str());
        total += h->allocated;
    }
    if (total) {
        out::out_rimu("      {hline 8}\n");
        out::out_textf("      %8lld\n", (long long)total);
    }
    return 0;
}

// The subcommands of _cls (and of class): *matched false when w is none of them.
int subcommand(const std::string &w, bool *matched) {
    *matched = true;
    const char *c = w.c_str();
    if (session::cmdmatch(c, "exit", 4)) return sub_exit();
    if (session::cmdmatch(c, "free", 4)) return sub_free();
    if (session::cmdmatch(c, "inspect", 7)) return sub_inspect();
    if (session::cmdmatch(c, "modify", 6)) {
        bool nolog = reg.nolog;
        reg.nolog = true;
        std::string line = rest_text();
        int rc = line.empty() || line[0] != '.' ? session::error(198) : exec_ref(line);
        reg.nolog = nolog;
        return rc;
    }
    if (session::cmdmatch(c, "nameoflocal", 11)) return sub_nameof(true);
    if (session::cmdmatch(c, "nameof", 6)) return sub_nameof(false);
    if (session::cmdmatch(c, "new", 3)) {
        std::string name = rest_text();
        if (!session::name_ok(name)) return session::invalid_name(name);
        Key ct = NULLKEY;
        if (int rc = load_class(name, &ct)) return rc;
        return ct ? 0 : session::error(4018);
    }
    if (session::cmdmatch(c, "set", 3)) return sub_set();
    if (session::cmdmatch(c, "orvat", 5)) return sub_orvat();
    if (session::cmdmatch(c, "toplevel", 8)) return sub_toplevel();
    if (session::cmdmatch(c, "try", 3)) return sub_try();
    if (session::cmdmatch(c, "undo", 4)) return sub_undo();
    if (session::cmdmatch(c, "_dmm", 4)) return sub_dmm();
    if (session::cmdmatch(c, "pgmdir", 6)) return sub_pgmdir();
    *matched = false;
    return 0;
}

} // namespace

namespace cls {

int load_class(const std::string &name, Key *ct) {
    *ct = classtype_named(name);
    if (*ct) return 0;
    if (!session::name_ok(name)) return 0;
    for (const std::string &l : reg.loading)
        if (l == name) return 0;
    std::string path;
    if (!session::findfile(name, "class", path)) return 0;
    if (int rc = load_class_file(name, path)) return rc;
    *ct = classtype_named(name);
    return 0;
}

// type [classname] name [= value]
int read_decl(Decl &d) {
    d = Decl();
    std::string w = gettok(SEP_CLS);
    const char *c = w.c_str();
    if (session::cmdmatch(c, "double", 3) || session::cmdmatch(c, "number", 3))
        d.type = TC_DOUBLE;
    else if (w == "string")
        d.type = TC_STRING;
    else if (w == "array")
        d.type = TC_ARRAY;
    else if (w == "class")
        d.type = TC_CLASS;
    else if (w == "code")
        d.type = TC_CODE;
    else
        return session::fail(4006, w + " not a valid attribute type\n");
    std::string t1 = gettok(SEP_CLS);
    if (t1.empty() || t1 == "=") return session::fail(198, "attribute declaration requires a name\n");
    if (d.type == TC_CLASS) {
        std::string t2 = gettok(SEP_CLS);
        if (!t2.empty() && t2 != "=") {
            d.cname = t1;
            t1 = t2;
        } else {
            session::ungettok();
        }
    }
    if (t1.size() > 32) return session::error(4011);
    if (!session::name_ok(t1)) return session::invalid_name(t1);
    d.name = t1;
    std::string t = gettok(SEP_CLS);
    if (t == "=") {
        d.value = trim(session::tokrest());
        d.has_value = true;
        if (d.value.empty()) return session::error(4026);
    } else if (!t.empty()) {
        return session::invalid_rest(tk.tokstart);
    }
    if (!d.cname.empty() && !session::name_ok(d.cname)) return session::invalid_name(d.cname);
    return 0;
}

int decl_value(const Decl &d, Key *out) {
    *out = NULLKEY;
    Key v = NULLKEY;
    switch (d.type) {
    case TC_DOUBLE:
    case TC_STRING: {
        if (!d.has_value) {
            v = d.type == TC_DOUBLE ? make_double(data::missing_value(0)) : make_string("");
            break;
        }
        Src s;
        if (int rc = source_value(d.value, s)) return rc;
        TypeCode st = s.k == Src::NUM ? TC_DOUBLE : s.k == Src::STR ? TC_STRING : tc_of_node(s.key);
        if (st != d.type) {
            s.release();
            return session::fail(4027, std::string("     may not assign ") + type_name(st) + " to " +
                                           type_name(d.type) + "\n");
        }
        if (s.k == Src::NUM)
            v = make_double(s.num);
        else if (s.k == Src::STR)
            v = make_string(s.str);
        else
            v = deep_copy(s.key);
        s.release();
        break;
    }
    case TC_ARRAY:
        if (!d.has_value) {
            v = make_array();
            break;
        }
        if (d.value[0] != '{') return session::error(4030);
        if (int rc = initializer(d.value, &v)) return rc;
        *out = v; // held by the initializer
        return 0;
    case TC_CLASS: {
        if (d.has_value) return session::error(4026);
        if (d.cname.empty()) return 0;
        for (const std::string &c : creating)
            if (c == d.cname) return 0; // a member of its own class starts empty
        Key ct = NULLKEY;
        if (int rc = load_class(d.cname, &ct)) return rc;
        if (!ct) return session::error(4018);
        return new_instance(ct, "", out);
    }
    case TC_CODE:
        if (d.has_value) return session::error(4026);
        v = make(N_CODE);
        break;
    default:
        return session::error(4006);
    }
    link(v);
    *out = v;
    return 0;
}

} // namespace cls

int cls_program_define() {
    std::string first = gettok(session::SEP_DOT);
    std::string cname, member;
    if (*tk.tokpos == '.') {
        gettok(session::SEP_DOT);
        cname = first;
        member = gettok(session::SEP_DOT);
    } else {
        member = first;
        cname = !reg.current_class.empty() ? reg.current_class
                : reg.loading.empty()      ? ""
                                           : reg.loading.back();
    }
    if (member.empty() || !session::name_ok(member)) return session::invalid_name(member);
    int cls = 0;
    std::string rest = trim(session::tokrest());
    if (!rest.empty()) {
        if (rest[0] != ',') return session::invalid_rest(rest);
        std::vector<session::Option> opts;
        if (int rc = session::read_options_of(rest.substr(1), opts)) return rc;
        for (const session::Option &o : opts) {
            const char *w = o.name.c_str();
            if (o.paren) return session::option_not_allowed(o.name);
            if (session::cmdmatch(w, "rclass", 1))
                cls = 1;
            else if (session::cmdmatch(w, "sclass", 1))
                cls = 2;
            else if (session::cmdmatch(w, "eclass", 1))
                cls = 3;
            else if (session::cmdmatch(w, "nclass", 1))
                cls = 0;
            else
                return session::option_not_allowed(o.name);
        }
    }
    if (cname.empty()) return session::error(4022);
    Key ct = classtype_named(cname);
    if (!ct) return session::error(4018);
    std::string full = cname + "." + member;
    if (full.size() > 32) return session::error(4011);
    for (void *p = session::store_find(full.c_str(), session::ST_PROGRAM, nullptr); p;
         p = session::store_next(p, session::ST_PROGRAM))
        if (!static_cast<ProgHeader *>(p)->dropped) return session::already_defined("program " + full);
    ProgHeader *p = nullptr;
    if (int rc = program_read(full.c_str(), nullptr, false, &p)) return rc;
    if (!p) return 0;
    p->isclass = 1;
    p->cls = (uint8_t)cls;
    if (int rc = add_code_member(ct, member, full)) {
        session::store_delete(p);
        return rc;
    }
    return 0;
}

int cmd_class(int) {
    if (!lp.execflag) return skip_body();
    std::string w = gettok(SEP_CLS);
    if (w.empty() || w == "{" || w == ",") return class_msg();
    bool matched = false;
    int rc = subcommand(w, &matched);
    if (matched) return rc;
    if (reg.loading.empty()) return class_msg();
    return define_class(w, false);
}

int cmd_cls(int) {
    if (!lp.execflag) return skip_body();
    std::string w = gettok(SEP_CLS);
    if (w == "{") {
        if (reg.loading.empty() || *session::tokrest()) return class_msg();
        return define_class(reg.loading.back(), true);
    }
    bool matched = false;
    int rc = subcommand(w, &matched);
    if (matched) return rc;
    std::string rest = trim(session::tokrest());
    if (!w.empty() && session::name_ok(w) && !rest.empty() && (rest[0] == ',' || rest.back() == '{'))
        return define_class(w, false);
    return session::fail(198, "not a class definition or subcommand\n");
}

} // namespace lang
