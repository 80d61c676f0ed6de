// The result stores r(), e(), s(): the fast scalar tables, the store kinds behind them, return() by
// program level, the hand-over at a program's end, and the slots of `_return hold`.
#include "matrix/results.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "matrix/constraint.h"
#include "matrix/estpost.h"
#include "matrix/wald.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/state.h"
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

int level_index() { return std::clamp(lp.callframes - 1, 0, session::max_callframes - 1); }

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

} // namespace

std::vector<std::string> names_at(int type) {
    std::vector<std::string> v;
    const char *name;
    for (void *p = store_walk(nullptr, &name, type, nullptr); p; p = store_walk(p, &name, type, nullptr))
        v.push_back(name);
    std::reverse(v.begin(), v.end());
    return v;
}

namespace {

bool prefix_se(const char *name) { return std::strncmp(name, "S_E_", 4) == 0; }

void drop_prefixed(int type) {
    for (const std::string &n : names_at(type))
        if (prefix_se(n.c_str()))
            if (void *p = store_find(n.c_str(), type, nullptr)) store_delete(p);
}

std::string number_for_macro(double v) {
    if (data::is_missing(v)) return data::number_text(v);
    if (v == (double)(long long)v && v > -1e15 && v < 1e15) return std::to_string((long long)v);
    char buf[40];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    return std::string(buf, r.ptr);
}

int ret_matrix_type() { return ST_RETMATRIX_FIRST + 3 * level_index(); }

} // namespace

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

namespace {
int matrix_type_of(char kind) { return kind == 'r' ? ST_R_MATRIX : kind == 'e' ? ST_E_MATRIX : 0; }
} // namespace

bool has_sample() { return data::find_var("(e)") > 0; }

// ---- Held estimates -----------------------------------------------------------------------------

HeldEstimates held_est[EST_SLOTS];

namespace {

// The eleven families: the store kind each one keeps, and whether only the S_E_ objects of that kind
// belong to e(). The scalars of e() are kept in the family of kind 25, the fast table's first.
struct Family {
    int base, kind;
    bool se_only;
};
constexpr Family families[11] = {
    {50, ST_ESTRESULT, false}, {351, ST_E_SCALAR, false},      {652, ST_E_MACRO, false},
    {953, ST_E_MATRIX, false}, {1254, ST_E_MATRIX + 1, false}, {1555, ST_E_MATRIX + 2, false},
    {1856, ST_GLOBAL, true},   {2157, ST_SCALAR, true},        {2458, ST_MATRIX, true},
    {2759, ST_MATRIX_R, true}, {3060, ST_MATRIX_C, true},
};

int copy_object(const char *name, int from, int to) {
    int32_t len = 0;
    void *p = store_find(name, from, &len);
    if (!p) return 0;
    if (void *q = store_find(name, to, nullptr)) store_delete(q);
    return store_add_copy(name, to, len, p, store_header(p)->usedsize) ? 0 : 950;
}

// The objects of e() at the kinds of one family, from e() to the slot or back.
std::vector<std::string> family_names(const Family &f, int kind) {
    std::vector<std::string> v;
    for (const std::string &n : names_at(kind))
        if (!f.se_only || prefix_se(n.c_str())) v.push_back(n);
    return v;
}

void drop_slot_kinds(int slot) {
    for (const Family &f : families)
        store_drop_type(f.base + slot);
}

int drop_variable(int v) {
    std::vector<uint8_t> flags((size_t)data::ds.nvar, 0);
    flags[(size_t)v - 1] = 1;
    return data::drop_vars(flags.data());
}

} // namespace

int est_slot(const std::string &name) {
    for (int i = 0; i < EST_SLOTS; ++i)
        if (held_est[i].used && name == held_est[i].name) return i;
    return -1;
}

int est_free_slot() {
    for (int i = 0; i < EST_SLOTS - 1; ++i)
        if (!held_est[i].used) return i;
    return -1;
}

bool e_empty() {
    if (!scalars_of('e').empty() || has_sample()) return false;
    for (const Family &f : families)
        if (!family_names(f, f.kind).empty()) return false;
    return true;
}

int hold_e(int slot, bool keep, const std::string &var, const char *label) {
    drop_slot_kinds(slot);
    int rc = 0;
    for (const auto &[n, v] : scalars_of('e'))
        if (!rc) rc = store_scalar(n.c_str(), families[1].base + slot, v);
    for (const Family &f : families) {
        if (f.kind == ST_E_SCALAR) continue;
        for (const std::string &n : family_names(f, f.kind))
            if (!rc) rc = copy_object(n.c_str(), f.kind, f.base + slot);
    }
    const int ev = data::find_var("(e)");
    if (!rc && ev > 0 && !var.empty()) {
        int v = 0;
        if ((rc = data::add_var(var.c_str(), data::T_BYTE, &v))) {
            drop_slot_kinds(slot);
            return rc;
        }
        for (int i = 1; i <= data::ds.nobs; ++i)
            data::put_num(v, i, data::get_num(ev, i));
        data::varlabel_set(var.c_str(), label);
    }
    if (rc) {
        drop_slot_kinds(slot);
        return error(rc);
    }
    HeldEstimates &h = held_est[slot];
    h = HeldEstimates{};
    h.used = true;
    std::snprintf(h.var, sizeof h.var, "%s", ev > 0 ? var.c_str() : "");
    if (!keep) e_clear();
    return 0;
}

int unhold_e(int slot) {
    HeldEstimates &h = held_est[slot];
    e_clear();
    int rc = 0;
    const int sk = families[1].base + slot;
    for (const std::string &n : names_at(sk))
        if (!rc) rc = e_set_scalar(n.c_str(), *static_cast<double *>(store_find(n.c_str(), sk, nullptr)));
    for (const Family &f : families) {
        if (f.kind == ST_E_SCALAR) continue;
        for (const std::string &n : names_at(f.base + slot))
            if (!rc) rc = copy_object(n.c_str(), f.base + slot, f.kind);
    }
    if (rc) return error(rc);
    if (h.var[0])
        if (const int v = data::find_var(h.var)) {
            const int e = data::add_var_raw("(e)", data::T_BYTE);
            if (e < 0) return error(-e);
            for (int i = 1; i <= data::ds.nobs; ++i)
                data::put_num(e, i, data::get_num(v, i));
            const std::string var = h.var;
            h.var[0] = '\0'; // the values are the marker's now
            if ((rc = drop_variable(data::find_var(var.c_str())))) return rc;
        }
    drop_e(slot);
    return 0;
}

void drop_e(int slot) {
    HeldEstimates &h = held_est[slot];
    drop_slot_kinds(slot);
    if (h.var[0])
        if (const int v = data::find_var(h.var)) drop_variable(v);
    h = HeldEstimates{};
}

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
        const char *t = session::macro_get_at(n.c_str(), ST_R_MACRO, &len);
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

namespace {

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

void results_init() {
    data::expr_hook_result = expr_result;
    data::expr_hook_coef = coef_value;
}

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
    if (const char *t = session::macro_get_at(name, macro_type_of(kind), &len)) {
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
    cns_reset();
    wald_reset();
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
    return session::macro_set_at(name, ST_R_MACRO, text);
}
int e_set_macro(const char *name, std::string_view text) {
    res.efast.flags |= RS_MACRO;
    return session::macro_set_at(name, ST_E_MACRO, text);
}
int s_set_macro(const char *name, std::string_view text) {
    return session::macro_set_at(name, ST_S_MACRO, text);
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

void ret_clear() { drop_return_level(); }

int ret_set_scalar(const char *name, double v) {
    if (void *p = store_find(name, ret_macro_type(), nullptr)) store_delete(p);
    return store_scalar(name, ret_scalar_type(), v);
}

int ret_add() {
    for (const auto &[n, v] : scalars_of('r'))
        if (!store_find(n.c_str(), ret_scalar_type(), nullptr) &&
            !store_find(n.c_str(), ret_macro_type(), nullptr))
            if (int rc = store_scalar(n.c_str(), ret_scalar_type(), v)) return rc;
    for (const std::string &n : names_at(ST_R_MACRO)) {
        if (store_find(n.c_str(), ret_scalar_type(), nullptr) ||
            store_find(n.c_str(), ret_macro_type(), nullptr))
            continue;
        int32_t len = 0;
        const char *t = session::macro_get_at(n.c_str(), ST_R_MACRO, &len);
        if (int rc = session::macro_set_at(n.c_str(), ret_macro_type(), std::string_view(t, (size_t)len)))
            return rc;
    }
    return 0;
}

void program_enter(int cls) {
    res.ProgramClass = cls;
    if (cls == 1) drop_return_level();
}

void program_leave(int cls, int rc) {
    // holds made with the restore option come back when the program that made them ends
    for (int i = 0; i < EST_SLOTS; ++i)
        if (held_est[i].used && held_est[i].restore && held_est[i].level >= lp.callframes) unhold_e(i);
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
            const char *t = session::macro_get_at(n.c_str(), mt, &len);
            if (r_set_macro(n.c_str(), std::string_view(t ? t : "", t ? (size_t)len : 0))) break;
        }
        // the matrices of return() move to r() with their stripes
        for (const std::string &n : names_at(ret_matrix_type()))
            for (int d = 0; d < 3; ++d)
                if (void *p = store_find(n.c_str(), ret_matrix_type() + d, nullptr))
                    store_rename(p, n.c_str(), ST_R_MATRIX + d);
    }
    drop_return_level();
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
