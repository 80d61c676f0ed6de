// return, ereturn, sreturn and _return: the commands that fill and list the result stores.
#include "matrix/return.h"

#include <algorithm>
#include <cstdio>
#include <string>

#include "data/expr.h"
#include "data/fmt.h"
#include "lang/macro.h"
#include "matrix/estpost.h"
#include "matrix/matstore.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

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
            const std::string num = data::number_text(v);
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
            const char *t = session::macro_get_at(n.c_str(), macro_type_of(kind));
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
    const int mkind = kind == 'r' ? ST_R_MATRIX : kind == 'e' ? ST_E_MATRIX : 0;
    auto matrices = mkind ? mat_names(mkind) : std::vector<std::string>{};
    if (!rc && !matrices.empty()) {
        rc = header("matrices:");
        for (const std::string &n : matrices) {
            if (rc) return rc;
            MatrixView v = mat_view(n.c_str(), mkind);
            {
                out::ClassScope cs(out::CLS_TEXT);
                out::out_text(label(n) + " :  ");
            }
            out::ClassScope cs(out::CLS_RESULT);
            out::out_text(std::to_string(v.rows) + " x " + std::to_string(v.cols));
            rc = out::out_newline();
        }
    }
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

// Shared parsing of the `local` and `scalar` subcommands.

int class_error(int cls) { return error(cls == 1 ? 151 : cls == 3 ? 152 : 153); }

// name [=] exp : a numeric expression stored by set().
template <class Set> int scalar_sub(Set set) {
    std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = session::check_name(name)) return rc;
    const char *rest = tokrest();
    while (*rest == ' ')
        ++rest;
    if (*rest == '=') ++rest;
    data::ExprValue v;
    if (int rc = data::expr_eval_scalar(rest, v, nullptr, data::XW_NUM)) return rc;
    return set(name.c_str(), v.num);
}

// {return|ereturn} matrix name [=] matname [, copy]: the matrix moves (or is copied) to return() of
// this level or to e()
int result_matrix(int kind) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = session::check_name(name)) return rc;
    if (*tokrest() == '=') settok(tokrest() + 1);
    const std::string from = gettok(SEP_STD);
    if (from.empty()) return error(198);
    bool copy = false;
    const OptSpec specs[] = {opt_flag("copy", 4, copy)};
    if (int rc = parse_options(specs)) return rc;
    Matrix m;
    if (int rc = mat_load(from.c_str(), ST_MATRIX, m)) return rc;
    if (copy) return mat_save(name.c_str(), kind, m);
    mat_move(from.c_str(), ST_MATRIX, name.c_str(), kind);
    return 0;
}

} // namespace

// return {local|scalar|matrix|list|clear|add} ... ; return alone ends the program
int cmd_return(int) {
    std::string sub = gettok(SEP_STD);
    if (sub.empty()) {
        if (lp.callframes > 0 || lp.in_prog) lp.exitlevel = 1;
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
        if (res.ProgramClass == 1) ret_clear();
        return 0;
    }
    if (res.ProgramClass != 1) return class_error(1);
    if (local) return lang::cmd_macdef(4);
    if (scalar) return scalar_sub(ret_set_scalar);
    if (matrix)
        return result_matrix(ST_RETMATRIX_FIRST +
                             3 * std::clamp(lp.callframes - 1, 0, session::max_callframes - 1));
    if (*tokrest()) return error(198);
    return ret_add();
}

// ereturn {local|scalar|matrix|list|clear|post|repost|display} ...
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
    if (cmdmatch(sub.c_str(), "display", 2)) return cmd_estdisplay(0);
    if (!local && !scalar && !matrix && !post && !repost) return error(198);
    // post checks the class itself: its option clear allows it outside an e-class program
    if (post) return cmd_estpost(0);
    if (res.ProgramClass != 3) return class_error(3);
    if (local) return lang::cmd_macdef(5);
    if (scalar)
        return scalar_sub([](const char *n, double v) {
            if (void *p = store_find(n, ST_E_MACRO, nullptr)) store_delete(p);
            return e_set_scalar(n, v);
        });
    if (matrix) return result_matrix(ST_E_MATRIX);
    return cmd_estpost(1);
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
        if (int rc = session::check_name(name)) return rc;
        if (held_slot(name) >= 0) {
            return session::fail(110, name + " already exists\n");
        }
        int slot = held_slot("");
        if (slot < 0) {
            return session::fail(1000, "too many _returns held\n");
        }
        if (int rc = hold_r(slot, false)) return rc;
        std::snprintf(res.held[slot], sizeof res.held[slot], "%s", name.c_str());
        return 0;
    }
    if (sub == "restore") {
        bool keep = false;
        const OptSpec specs[] = {opt_flag("hold", 4, keep)};
        if (int rc = parse_options(specs)) return rc;
        int slot = held_slot(name);
        if (slot < 0) {
            return session::fail(111, name + " not found\n");
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
            return session::fail(111, name + " not found\n");
        }
        free_slot(slot);
        return 0;
    }
    return error(198);
}

namespace {

// hold name [, copy restore nullok estsystem varname(v) store]
int estimates_hold(const std::string &name) {
    bool copy = false, restore = false, nullok = false, estsystem = false, store = false;
    std::string var;
    const OptSpec specs[] = {opt_flag("copy", 4, copy),     opt_flag("restore", 7, restore),
                             opt_flag("nullok", 6, nullok), opt_flag("estsystem", 9, estsystem),
                             opt_name("varname", 7, var),   opt_flag("store", 5, store)};
    if (int rc = parse_options(specs)) return rc;
    if (int rc = session::check_name(name)) return rc;
    if (est_slot(name) >= 0) {
        if (restore)
            return session::fail(110, name + " already exist held estimates for automatic restore\n");
        return session::fail(110, name + " already exists\n");
    }
    if (!nullok && e_empty()) return error(301);
    int slot = EST_SLOTS - 1;
    if (estsystem) {
        if (held_est[slot].used) return error(1000);
    } else if ((slot = est_free_slot()) < 0) {
        return error(1000);
    }
    if (var.empty()) var = ("_est_" + name).substr(0, 32);
    if (int rc = hold_e(slot, copy, var,
                        store ? "esample() from estimates store" : "esample() from _estimates hold"))
        return rc;
    HeldEstimates &h = held_est[slot];
    std::snprintf(h.name, sizeof h.name, "%s", name.c_str());
    h.by_store = store;
    h.restore = restore;
    h.level = lp.callframes;
    return 0;
}

// names and varnames: the held names (those of `estimates store` with the option store) or their
// sample variables, shown and left in r(names) or r(varnames)
int estimates_list(bool vars) {
    bool store = false;
    const OptSpec specs[] = {opt_flag("store", 5, store)};
    if (int rc = parse_options(specs)) return rc;
    std::string list;
    for (const HeldEstimates &h : held_est) {
        if (!h.used || (store && !h.by_store) || (vars && !h.var[0])) continue;
        if (!list.empty()) list += ' ';
        list += vars ? h.var : h.name;
    }
    r_clear();
    if (int rc = r_set_macro(vars ? "varnames" : "names", list)) return rc;
    out::ClassScope cs(out::CLS_RESULT);
    out::out_text(list);
    return out::out_newline();
}

} // namespace

// _estimates {hold|unhold|dir|names|varnames|clear|drop} ... ; local, scalar, matrix, post and repost
// as ereturn
int cmd__estimates(int) {
    const std::string sub = gettok(SEP_STD);
    if (sub == "dir") {
        if (*tokrest()) return error(198);
        for (const HeldEstimates &h : held_est)
            if (h.used) {
                {
                    out::ClassScope cs(out::CLS_RESULT);
                    out::out_text(h.name);
                }
                if (h.var[0]) {
                    out::ClassScope cs(out::CLS_TEXT);
                    out::out_text(std::string("  (") + h.var + ")");
                }
                if (int rc = out::out_newline()) return rc;
            }
        return 0;
    }
    if (sub == "names" || sub == "varnames") return estimates_list(sub == "varnames");
    if (sub == "clear" || cmdmatch(sub.c_str(), "local", 3) || cmdmatch(sub.c_str(), "scalar", 3) ||
        cmdmatch(sub.c_str(), "matrix", 3) || sub == "post" || sub == "repost") {
        ungettok();
        return cmd_ereturn(0);
    }
    if (sub != "hold" && sub != "unhold" && sub != "drop") return error(198);
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (sub == "hold") return estimates_hold(name);
    if (*tokrest()) return error(198);
    if (sub == "drop" && name == "_all") {
        for (int i = 0; i < EST_SLOTS; ++i)
            if (held_est[i].used) drop_e(i);
        return 0;
    }
    const int slot = est_slot(name);
    if (slot < 0) return session::fail(111, "estimation result " + name + " not found\n");
    if (sub == "drop") {
        drop_e(slot);
        return 0;
    }
    return unhold_e(slot);
}

} // namespace mat
