// The result stores r(), e(), s(): the fast scalar tables, the store kinds behind them, return() by
// program level, the hand-over at a program's end, `_return hold`, and the listing commands.
#include "matrix/results.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/types.h"
#include "lang/exprhook.h"
#include "lang/macro.h"
#include "lang/prog.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/settings.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

Results res;

namespace {

// Store kinds of one result store.
struct Kinds {
    int scalar, macro, matrix; // matrix: three kinds (contents, row stripe, column stripe)
};
constexpr Kinds R_KINDS = {ST_R_SCALAR, ST_R_MACRO, ST_R_MATRIX};
constexpr Kinds E_KINDS = {ST_E_SCALAR, ST_E_MACRO, ST_E_MATRIX};

ResultScalars *fast_of(char kind) { return kind == 'r' ? &res.rfast : kind == 'e' ? &res.efast : nullptr; }

int level_index() { return std::clamp(lang::callframes - 1, 0, lang::max_callframes - 1); }

int fast_find(const ResultScalars &t, const char *name) {
    for (int i = 0; i < t.count; ++i)
        if (std::strcmp(t.name[i], name) == 0) return i;
    return -1;
}

void fast_drop(ResultScalars &t, int i) {
    for (int j = i + 1; j < t.count; ++j) {
        std::memcpy(t.name[j - 1], t.name[j], sizeof t.name[j]);
        t.value[j - 1] = t.value[j];
    }
    --t.count;
}

int store_scalar(const char *name, int type, double v) {
    if (double *p = static_cast<double *>(store_find(name, type, nullptr))) {
        *p = v;
        return 0;
    }
    return store_add_copy(name, type, (int32_t)sizeof v, &v, sizeof v) ? 0 : 950;
}

// The 21st scalar: the whole table moves into the store and further scalars go straight there. If the
// store refuses one, those already moved are dropped again and the table stays as it was.
int spill(ResultScalars &t, int type) {
    for (int i = 0; i < t.count; ++i) {
        if (store_scalar(t.name[i], type, t.value[i])) {
            for (int j = 0; j < i; ++j)
                if (void *p = store_find(t.name[j], type, nullptr)) store_delete(p);
            return 950;
        }
    }
    t.count = 0;
    t.flags |= RS_SPILLED;
    return 0;
}

int set_scalar(ResultScalars &t, int type, const char *name, double v) {
    int i = fast_find(t, name);
    if (i >= 0) {
        t.value[i] = v;
        return 0;
    }
    t.flags |= RS_INUSE;
    if (!(t.flags & RS_SPILLED) && t.count < FAST_SCALARS) {
        std::snprintf(t.name[t.count], sizeof t.name[t.count], "%s", name);
        t.value[t.count++] = v;
        return 0;
    }
    if (!(t.flags & RS_SPILLED))
        if (int rc = spill(t, type)) return rc;
    return store_scalar(name, type, v);
}

void drop_kinds(const Kinds &k) {
    store_drop_type(k.scalar);
    store_drop_type(k.macro);
    for (int i = 0; i < 3; ++i)
        store_drop_type(k.matrix + i);
}

// Names stored at a kind, in the order they were stored.
std::vector<std::string> names_at(int type) {
    std::vector<std::string> v;
    const char *name;
    for (void *p = store_walk(nullptr, &name, type, nullptr); p; p = store_walk(p, &name, type, nullptr))
        v.push_back(name);
    std::reverse(v.begin(), v.end());
    return v;
}

bool prefix_se(const char *name) { return std::strncmp(name, "S_E_", 4) == 0; }

void drop_prefixed(int type) {
    for (const std::string &n : names_at(type))
        if (prefix_se(n.c_str()))
            if (void *p = store_find(n.c_str(), type, nullptr)) store_delete(p);
}

std::string number_for_macro(double v) {
    if (data::is_missing(v)) return lang::number_text(v);
    if (v == (double)(long long)v && v > -1e15 && v < 1e15) return std::to_string((long long)v);
    char buf[40];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

int ret_matrix_type() { return ST_RETMATRIX_FIRST + 3 * level_index(); }

// The scalars of a store, fast table first, in the order they were stored.
std::vector<std::pair<std::string, double>> scalars_of(char kind) {
    std::vector<std::pair<std::string, double>> v;
    if (ResultScalars *t = fast_of(kind))
        for (int i = 0; i < t->count; ++i)
            v.emplace_back(t->name[i], t->value[i]);
    int type = kind == 'r' ? ST_R_SCALAR : kind == 'e' ? ST_E_SCALAR : 0;
    if (type)
        for (const std::string &n : names_at(type))
            v.emplace_back(n, *static_cast<double *>(store_find(n.c_str(), type, nullptr)));
    return v;
}

int macro_type_of(char kind) { return kind == 'r' ? ST_R_MACRO : kind == 'e' ? ST_E_MACRO : ST_S_MACRO; }
int matrix_type_of(char kind) { return kind == 'r' ? ST_R_MATRIX : kind == 'e' ? ST_E_MATRIX : 0; }

// An e(sample) marker exists while the dataset holds the hidden variable "(e)".
bool has_sample() { return data::find_var("(e)") > 0; }

// ---------------------------------------------------------------------------------------------------------
// The listing: scalars, macros, matrices, functions, each part left out when empty.

int list_store(char kind) {
    const std::string open = std::string(1, kind) + "(";
    auto label = [&](const std::string &n) {
        std::string s = open + n + ")";
        return s.size() < 17 ? std::string(17 - s.size(), ' ') + s : s;
    };
    auto header = [](const char *h) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("\n");
        out::out_text(h);
        return out::out_text("\n\n");
    };
    int rc = 0;
    auto scalars = scalars_of(kind);
    if (!scalars.empty()) {
        rc = header("scalars:");
        for (const auto &[n, v] : scalars) {
            if (rc) return rc;
            const std::string num = lang::number_text(v);
            {
                out::ClassScope cs(out::CLS_TEXT);
                out::out_text(label(n) + " =  ");
            }
            out::ClassScope cs(out::CLS_RESULT);
            out::out_text(num);
            rc = out::out_newline();
        }
    }
    auto macros = names_at(macro_type_of(kind));
    if (!rc && !macros.empty()) {
        rc = header("macros:");
        for (const std::string &n : macros) {
            if (rc) return rc;
            const char *t = lang::macro_get_at(n.c_str(), macro_type_of(kind));
            std::string head = label(n) + " : ";
            std::string val = std::string("\"") + (t ? t : "") + "\"";
            int room = (out::ch.current ? out::ch.current->width : 79) - (int)head.size();
            if ((int)val.size() > room && room > 4) val = val.substr(0, (size_t)room - 3) + "..\"";
            {
                out::ClassScope cs(out::CLS_TEXT);
                out::out_text(head);
            }
            out::ClassScope cs(out::CLS_RESULT);
            out::out_text(val);
            rc = out::out_newline();
        }
    }
    // Matrices join this listing, with their sizes, when the matrix store exists.
    if (!rc && kind == 'e' && has_sample()) {
        rc = header("functions:");
        if (!rc) {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text(label("sample"));
            rc = out::out_newline();
        }
    }
    return rc;
}

// ---------------------------------------------------------------------------------------------------------
// Shared parsing of the `local` and `scalar` subcommands.

int class_error(int cls) { return error(cls == 1 ? 151 : cls == 3 ? 152 : 153); }

// name [=] exp : a numeric expression stored by set().
template <class Set> int scalar_sub(Set set) {
    std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = lang::check_name(name)) return rc;
    const char *rest = tokrest();
    while (*rest == ' ')
        ++rest;
    if (*rest == '=') ++rest;
    data::ExprValue v;
    if (int rc = data::expr_eval_scalar(rest, v, nullptr, data::XW_NUM)) return rc;
    return set(name.c_str(), v.num);
}

int not_yet(const std::string &what) { return lang::not_built(what); }

// _return hold slots: each result is one record at the slot's kind, a tag byte ('s' scalar, 'm' macro)
// and then the value.
int held_slot(const std::string &name) {
    for (int i = 0; i < HELD_RETURNS; ++i)
        if (name == res.held[i]) return i;
    return -1;
}

int hold_r(int slot, bool keep) {
    int type = ST_HELD_RETURN + slot;
    store_drop_type(type);
    auto add = [&](const std::string &n, char tag, const void *bytes, size_t len) {
        std::vector<char> b(1 + len);
        b[0] = tag;
        std::memcpy(b.data() + 1, bytes, len);
        return store_add_copy(n.c_str(), type, (int32_t)b.size(), b.data(), (int64_t)b.size()) ? 0 : 950;
    };
    int rc = 0;
    for (const auto &[n, v] : scalars_of('r'))
        if (!rc) rc = add(n, 's', &v, sizeof v);
    for (const std::string &n : names_at(ST_R_MACRO)) {
        int32_t len = 0;
        const char *t = lang::macro_get_at(n.c_str(), ST_R_MACRO, &len);
        if (!rc) rc = add(n, 'm', t, t ? (size_t)len : 0);
    }
    if (rc) {
        store_drop_type(type);
        return rc;
    }
    if (!keep) r_clear();
    return 0;
}

int restore_r(int slot) {
    int type = ST_HELD_RETURN + slot;
    r_clear();
    for (const std::string &n : names_at(type)) {
        int32_t len = 0;
        const char *b = static_cast<const char *>(store_find(n.c_str(), type, &len));
        if (!b || len < 1) continue;
        int rc = 0;
        if (b[0] == 's') {
            double v;
            std::memcpy(&v, b + 1, sizeof v);
            rc = r_set_scalar(n.c_str(), v);
        } else {
            rc = r_set_macro(n.c_str(), std::string_view(b + 1, (size_t)len - 1));
        }
        if (rc) return rc;
    }
    return 0;
}

void free_slot(int slot) {
    store_drop_type(ST_HELD_RETURN + slot);
    res.held[slot][0] = '\0';
}

int expr_result(char kind, const char *name, double *v, char *buf) {
    std::string text;
    switch (result_lookup(kind, name, v, &text)) {
    case RES_FAST_R:
    case RES_FAST_E:
    case RES_SCALAR:
        return 1;
    case RES_MACRO:
        std::snprintf(buf, data::EXPR_STRBUF, "%s", text.substr(0, 244).c_str());
        return 2;
    case RES_MATRIX:
        return 3;
    default:
        return 0;
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------------------

void results_init() { data::expr_hook_result = expr_result; }

int result_lookup(char kind, const char *name, double *v, std::string *text) {
    if (ResultScalars *t = fast_of(kind)) {
        int i = fast_find(*t, name);
        if (i >= 0) {
            if (v) *v = t->value[i];
            return kind == 'r' ? RES_FAST_R : RES_FAST_E;
        }
        int type = kind == 'r' ? ST_R_SCALAR : ST_E_SCALAR;
        if (const double *p = static_cast<const double *>(store_find(name, type, nullptr))) {
            if (v) *v = *p;
            return RES_SCALAR;
        }
    }
    if (kind != 'r' && kind != 'e' && kind != 's') return RES_NONE;
    int32_t len = 0;
    if (const char *t = lang::macro_get_at(name, macro_type_of(kind), &len)) {
        if (text) text->assign(t, (size_t)len);
        return RES_MACRO;
    }
    if (int mt = matrix_type_of(kind))
        if (store_find(name, mt, nullptr)) {
            if (text) *text = "matrix";
            return RES_MATRIX;
        }
    return RES_NONE;
}

std::string result_text(char kind, const char *name) {
    double v = 0;
    std::string text;
    switch (result_lookup(kind, name, &v, &text)) {
    case RES_FAST_R:
    case RES_FAST_E:
    case RES_SCALAR:
        return number_for_macro(v);
    case RES_MACRO:
    case RES_MATRIX:
        return text;
    default:
        return "";
    }
}

void r_clear() {
    drop_kinds(R_KINDS);
    res.rfast.count = 0;
    res.rfast.flags = 0;
}

void e_clear() {
    store_drop_type(ST_CONSTRAINT);
    store_drop_type(ST_ESTRESULT);
    store_drop_type(49);
    drop_kinds(E_KINDS);
    res.efast.count = 0;
    res.efast.flags = 0;
    drop_prefixed(ST_GLOBAL);
    drop_prefixed(ST_SCALAR);
    for (const std::string &n : names_at(ST_MATRIX))
        if (prefix_se(n.c_str()))
            for (int t = ST_MATRIX; t <= ST_MATRIX_C; ++t)
                if (void *p = store_find(n.c_str(), t, nullptr)) store_delete(p);
    int ev = data::find_var("(e)");
    if (ev > 0) {
        std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
        flags[(size_t)ev - 1] = 1;
        data::drop_vars(flags.data());
    }
}

void s_clear() { store_drop_type(ST_S_MACRO); }

int r_set_scalar(const char *name, double v) { return set_scalar(res.rfast, ST_R_SCALAR, name, v); }
int e_set_scalar(const char *name, double v) { return set_scalar(res.efast, ST_E_SCALAR, name, v); }

int r_set_macro(const char *name, std::string_view text) {
    return lang::macro_set_at(name, ST_R_MACRO, text);
}
int e_set_macro(const char *name, std::string_view text) {
    res.efast.flags |= RS_MACRO;
    return lang::macro_set_at(name, ST_E_MACRO, text);
}
int s_set_macro(const char *name, std::string_view text) {
    return lang::macro_set_at(name, ST_S_MACRO, text);
}

void drop_scalar(char kind, const char *name) {
    if (kind == 'R') {
        if (void *p = store_find(name, ret_scalar_type(), nullptr)) store_delete(p);
        return;
    }
    ResultScalars &t = res.efast;
    int i = fast_find(t, name);
    if (i >= 0)
        fast_drop(t, i);
    else if (void *p = store_find(name, ST_E_SCALAR, nullptr))
        store_delete(p);
}

int ret_scalar_type() { return ST_RETSCALAR_FIRST + level_index(); }
int ret_macro_type() { return ST_RETMACRO_FIRST + level_index(); }

namespace {
void drop_return_level() {
    store_drop_type(ret_scalar_type());
    store_drop_type(ret_macro_type());
    for (int i = 0; i < 3; ++i)
        store_drop_type(ret_matrix_type() + i);
}
} // namespace

void program_enter(int cls) {
    res.ProgramClass = cls;
    if (cls == 1) drop_return_level();
}

void program_leave(int cls, int rc) {
    if (cls != 1) return;
    if (rc == 0) {
        r_clear();
        const int st = ret_scalar_type(), mt = ret_macro_type();
        for (const std::string &n : names_at(st)) {
            const double *p = static_cast<const double *>(store_find(n.c_str(), st, nullptr));
            if (p && r_set_scalar(n.c_str(), *p)) break;
        }
        for (const std::string &n : names_at(mt)) {
            int32_t len = 0;
            const char *t = lang::macro_get_at(n.c_str(), mt, &len);
            if (r_set_macro(n.c_str(), std::string_view(t ? t : "", t ? (size_t)len : 0))) break;
        }
    }
    drop_return_level();
}

// return {local|scalar|matrix|list|clear|add} ... ; return alone ends the program
int cmd_return(int) {
    std::string sub = gettok(SEP_STD);
    if (sub.empty()) {
        if (lang::callframes > 0 || lp.in_prog) lp.exitlevel = 1;
        return 0;
    }
    if (cmdmatch(sub.c_str(), "list", 2)) {
        if (*tokrest()) return error(198);
        return list_store('r');
    }
    const bool local = cmdmatch(sub.c_str(), "local", 3), scalar = cmdmatch(sub.c_str(), "scalar", 3),
               matrix = cmdmatch(sub.c_str(), "matrix", 3), add = sub == "add", clear = sub == "clear";
    if (!local && !scalar && !matrix && !add && !clear) return error(198);
    if (clear) {
        if (*tokrest()) return error(198);
        if (res.ProgramClass == 1) drop_return_level();
        return 0;
    }
    if (res.ProgramClass != 1) return class_error(1);
    if (local) return lang::cmd_macdef(4);
    if (scalar)
        return scalar_sub([](const char *n, double v) {
            if (void *p = store_find(n, ret_macro_type(), nullptr)) store_delete(p);
            return store_scalar(n, ret_scalar_type(), v);
        });
    if (matrix) return not_yet("return matrix");
    if (*tokrest()) return error(198);
    // return add: what r() holds now joins return(), where return() has no value of that name.
    for (const auto &[n, v] : scalars_of('r'))
        if (!store_find(n.c_str(), ret_scalar_type(), nullptr) &&
            !store_find(n.c_str(), ret_macro_type(), nullptr))
            if (int rc = store_scalar(n.c_str(), ret_scalar_type(), v)) return rc;
    for (const std::string &n : names_at(ST_R_MACRO)) {
        if (store_find(n.c_str(), ret_scalar_type(), nullptr) ||
            store_find(n.c_str(), ret_macro_type(), nullptr))
            continue;
        int32_t len = 0;
        const char *t = lang::macro_get_at(n.c_str(), ST_R_MACRO, &len);
        if (int rc = lang::macro_set_at(n.c_str(), ret_macro_type(), std::string_view(t, (size_t)len)))
            return rc;
    }
    return 0;
}

// ereturn {local|scalar|matrix|list|clear|post|repost} ...
int cmd_ereturn(int) {
    std::string sub = gettok(SEP_STD);
    if (sub.empty()) return error(198);
    if (cmdmatch(sub.c_str(), "list", 2)) {
        if (*tokrest()) return error(198);
        return list_store('e');
    }
    if (sub == "clear") {
        if (*tokrest()) return error(198);
        e_clear();
        return 0;
    }
    const bool local = cmdmatch(sub.c_str(), "local", 3), scalar = cmdmatch(sub.c_str(), "scalar", 3),
               matrix = cmdmatch(sub.c_str(), "matrix", 3), post = sub == "post", repost = sub == "repost";
    if (!local && !scalar && !matrix && !post && !repost) return error(198);
    if (res.ProgramClass != 3) return class_error(3);
    if (local) return lang::cmd_macdef(5);
    if (scalar)
        return scalar_sub([](const char *n, double v) {
            if (void *p = store_find(n, ST_E_MACRO, nullptr)) store_delete(p);
            return e_set_scalar(n, v);
        });
    return not_yet("ereturn " + sub);
}

// sreturn {local|clear|list} ...
int cmd_sreturn(int) {
    std::string sub = gettok(SEP_STD);
    if (sub.empty()) return error(198);
    if (cmdmatch(sub.c_str(), "list", 2)) {
        if (*tokrest()) return error(198);
        return list_store('s');
    }
    if (sub == "clear") {
        if (*tokrest()) return error(198);
        s_clear();
        return 0;
    }
    if (!cmdmatch(sub.c_str(), "local", 3)) return error(198);
    if (res.ProgramClass != 2) return class_error(2);
    return lang::cmd_macdef(6);
}

// _return hold name ; _return restore name [, hold] ; _return drop {name | _all} ; _return dir
int cmd__return(int) {
    std::string sub = gettok(SEP_STD);
    if (sub == "dir") {
        if (*tokrest()) return error(198);
        out::ClassScope cs(out::CLS_TEXT);
        for (int i = 0; i < HELD_RETURNS; ++i)
            if (res.held[i][0]) {
                out::out_text(res.held[i]);
                if (int rc = out::out_newline()) return rc;
            }
        return 0;
    }
    std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (sub == "hold") {
        if (*tokrest()) return error(198);
        if (int rc = lang::check_name(name)) return rc;
        if (held_slot(name) >= 0) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_error(name + " already exists\n");
            return 110;
        }
        int slot = held_slot("");
        if (slot < 0) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_error("too many _returns held\n");
            return 1000;
        }
        if (int rc = hold_r(slot, false)) return rc;
        std::snprintf(res.held[slot], sizeof res.held[slot], "%s", name.c_str());
        return 0;
    }
    if (sub == "restore") {
        bool keep = false;
        std::string t = gettok(SEP_STD);
        if (t == ",") {
            std::string o = gettok(SEP_STD);
            if (o != "hold" || *tokrest()) return error(198);
            keep = true;
        } else if (!t.empty()) {
            return error(198);
        }
        int slot = held_slot(name);
        if (slot < 0) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_error(name + " not found\n");
            return 111;
        }
        if (int rc = restore_r(slot)) return rc;
        if (!keep) free_slot(slot);
        return 0;
    }
    if (sub == "drop") {
        if (*tokrest()) return error(198);
        if (name == "_all") {
            for (int i = 0; i < HELD_RETURNS; ++i)
                free_slot(i);
            return 0;
        }
        int slot = held_slot(name);
        if (slot < 0) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_error(name + " not found\n");
            return 111;
        }
        free_slot(slot);
        return 0;
    }
    return error(198);
}

int result_names(char kind, std::string_view part, std::string &out) {
    std::vector<std::string> names;
    if (part == "scalars") {
        for (const auto &[n, v] : scalars_of(kind))
            names.push_back(n);
    } else if (part == "macros") {
        names = names_at(macro_type_of(kind));
    } else if (part == "matrices") {
        if (int mt = matrix_type_of(kind)) names = names_at(mt);
    } else if (part == "functions") {
        if (kind == 'e' && has_sample()) names.push_back("sample");
    } else {
        return error(198);
    }
    out.clear();
    for (const std::string &n : names) {
        if (!out.empty()) out += ' ';
        out += n;
    }
    return 0;
}

} // namespace mat
