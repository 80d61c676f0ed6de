// The commands that define macros (global, local, c_local, macro) and temporary names and files.
#include <unistd.h>

#include <cstring>
#include <string>
#include <vector>

#include "data/postfile.h"
#include "lang/emf.h"
#include "lang/exprhook.h"
#include "lang/macro.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/filehandles.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::gettok;
using session::lp;
using session::SEP_STD;
using session::tk;

namespace {

enum { C_LOCAL = 1, C_GLOBAL = 2, C_RLOCAL = 4, C_ELOCAL = 5, C_SLOCAL = 6, C_CLOCAL = 7 };

std::string trim(std::string_view s) {
    size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    size_t e = s.find_last_not_of(' ');
    return std::string(s.substr(b, e - b + 1));
}

bool starts(std::string_view s, std::string_view p) { return s.substr(0, p.size()) == p; }

// Removes one level of quotes: "text" or `"text"'. 198 when the closing quote is not the last byte.
int unquote(std::string &v) {
    if (starts(v, "`\"")) {
        if (v.size() < 4 || v.compare(v.size() - 2, 2, "\"'") != 0) return session::error(198);
        v = v.substr(2, v.size() - 4);
    } else if (!v.empty() && v[0] == '"') {
        if (v.size() < 2 || v.back() != '"') return session::error(198);
        v = v.substr(1, v.size() - 2);
    }
    return 0;
}

} // namespace

// {local|global|c_local} name [= exp | : function | text]
// local {++|--}name
int cmd_macdef(int code) {
    std::string t = gettok(SEP_STD);
    if (t.empty()) return session::error(198);
    if (t == "+" || t == "-") {
        std::string t2 = gettok(SEP_STD);
        std::string name = gettok(SEP_STD);
        if (t2 != t || code != C_LOCAL || name.empty() || *session::tokrest()) return session::error(198);
        std::string sn = session::local_name(name);
        if (!session::name_ok(sn)) return session::invalid_name(name);
        if (!session::macro_get(sn.c_str())) return session::macro_not_found(sn);
        std::string v;
        return macro_incdec(name, t == "+", true, v);
    }
    bool local = code == C_LOCAL || code == C_CLOCAL;
    std::string sn = local ? session::local_name(t) : t;
    if (code == C_GLOBAL && t[0] == '_') return session::invalid_name(t);
    if (!session::name_ok(sn)) return session::invalid_name(t);
    int type = local ? session::locallevel : session::ST_GLOBAL;
    if (code == C_RLOCAL)
        type = mat::ret_macro_type();
    else if (code == C_ELOCAL)
        type = session::ST_E_MACRO;
    else if (code == C_SLOCAL)
        type = session::ST_S_MACRO;
    if (code == C_CLOCAL) {
        if (session::locallevel == session::ST_LOCAL_FIRST) return session::error(198);
        type = session::locallevel - 1;
    }
    session::TokState ts;
    session::savetok(ts);
    std::string next = gettok(SEP_STD);
    std::string value;
    if (next.empty()) {
        session::macro_set_at(sn.c_str(), type, "");
        return 0;
    }
    if (next == "=") {
        if (int rc = eval_to_text(tk.tokpos, value, false)) return rc;
    } else if (next == ":") {
        if (int rc = emf_run(tk.tokpos, value)) {
            session::macro_set_at(sn.c_str(), type, "");
            return rc;
        }
    } else {
        session::restoretok(ts);
        value = trim(tk.tokpos);
        if (int rc = unquote(value)) return rc;
    }
    if (value.size() > (size_t)session::maxcmdlen - 1) value.resize(session::maxcmdlen - 1);
    if (code == C_RLOCAL || code == C_ELOCAL) mat::drop_scalar(code == C_RLOCAL ? 'R' : 'e', sn.c_str());
    if (session::macro_set_at(sn.c_str(), type, value)) return 950;
    return 0;
}

namespace {

// Names of S_ macros that no pattern drops.
const char *const protected_globals[] = {"S_ADO",     "S_FLAVOR",  "S_OS",      "S_OSDTL",  "S_MACH",
                                         "S_level",   "S_MODE",    "S_OJB",     "S_SHELL",  "S_XSHELL",
                                         "S_XSHELL2", "S_CONSOLE", "S_OrvatWX", "S_OrvatPX"};

bool is_protected(const char *name) {
    for (const char *p : protected_globals)
        if (std::strcmp(p, name) == 0) return true;
    return false;
}

std::vector<std::string> names_of_type(int type) {
    std::vector<std::string> v;
    const char *name;
    for (void *p = session::store_walk(nullptr, &name, type, nullptr); p;
         p = session::store_walk(p, &name, type, nullptr))
        v.push_back(name);
    return v;
}

// macro drop {name | prefix* | _all} ...
int macro_drop_cmd() {
    std::vector<std::string> words;
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w.empty()) break;
        if (w == "*" && !words.empty() && words.back().back() != '*' && words.back() != "_all") {
            words.back() += "*"; // the tokenizer splits "x*" into "x" and "*"
            continue;
        }
        words.push_back(w);
    }
    if (words.empty()) return session::error(198);
    for (const std::string &w : words) {
        if (w == "_all") continue;
        std::string stem = w.back() == '*' ? w.substr(0, w.size() - 1) : w;
        if (stem.empty() && w.back() == '*') continue;
        if (!session::name_ok(stem)) return session::invalid_name(w);
    }
    for (const std::string &w : words) {
        if (w == "_all") {
            session::store_drop_type(session::locallevel);
            for (const std::string &n : names_of_type(session::ST_GLOBAL))
                if (n.compare(0, 2, "S_") != 0) session::macro_set_at(n.c_str(), session::ST_GLOBAL, "");
            continue;
        }
        if (w.back() != '*') {
            session::macro_drop(w.c_str());
            continue;
        }
        std::string stem = w.substr(0, w.size() - 1);
        bool local = !stem.empty() && stem[0] == '_';
        int type = local ? session::locallevel : session::ST_GLOBAL;
        for (const std::string &n : names_of_type(type)) {
            if (n.compare(0, stem.size(), stem) != 0) continue;
            if (!local && is_protected(n.c_str())) continue;
            session::macro_set_at(n.c_str(), type, "");
        }
    }
    return 0;
}

int list_one(const std::string &shown, const char *text) {
    std::string s = "{p 0 16}\n" + out::brace_escaped(shown);
    if (shown.size() < 12)
        s += ":{space " + std::to_string(15 - shown.size()) + "}";
    else
        s += ":{break}\n";
    s += out::brace_escaped(text);
    s += "{p_end}\n";
    out::ClassScope cs(out::CLS_TEXT);
    return out::out_rimu(s);
}

// macro list [name ...] ; macro dir
int macro_list_cmd(bool dir) {
    std::vector<std::string> names;
    if (!dir) {
        for (;;) {
            std::string w = gettok(SEP_STD);
            if (w.empty()) break;
            names.push_back(w);
        }
    }
    bool all = names.empty();
    for (const std::string &n : names)
        if (n == "_all") all = true;
    if (all) {
        for (int type : {(int)session::ST_GLOBAL, session::locallevel}) {
            const char *name;
            for (void *p = session::store_walk(nullptr, &name, type, nullptr); p;
                 p = session::store_walk(p, &name, type, nullptr)) {
                if (int rc = list_one(name, static_cast<const char *>(p))) return rc;
                if (session::poll_break()) return 1;
            }
        }
        return 0;
    }
    for (const std::string &n : names) {
        const char *t = session::macro_get(n.c_str());
        if (!t) return session::macro_not_found(n);
        if (int rc = list_one(n, t)) return rc;
    }
    return 0;
}

// macro shift [#]
int macro_shift_cmd() {
    std::string w = gettok(session::SEP_NUM);
    long n = 1;
    if (!w.empty()) {
        char *end;
        n = std::strtol(w.c_str(), &end, 10);
        if (*end || *session::tokrest()) return session::error(198);
    }
    for (long k = 0; k < n; ++k) {
        for (int i = 1;; ++i) {
            std::string cur = session::local_name(std::to_string(i)),
                        nxt = session::local_name(std::to_string(i + 1));
            const char *t = session::macro_get(nxt.c_str());
            if (!t) {
                session::macro_drop(cur.c_str());
                break;
            }
            std::string v = t;
            if (session::macro_set_at(cur.c_str(), session::locallevel, v, true)) return 950;
        }
        if (session::poll_break()) return 1;
    }
    return 0;
}

} // namespace

// macro {define | dir | drop | list | shift} ...
int cmd_macro(int) {
    std::string w = gettok(SEP_STD);
    if (session::cmdmatch(w.c_str(), "define", 2)) return cmd_macdef(C_GLOBAL);
    if (session::cmdmatch(w.c_str(), "dir", 2)) return macro_list_cmd(true);
    if (session::cmdmatch(w.c_str(), "drop", 4)) return macro_drop_cmd();
    if (session::cmdmatch(w.c_str(), "list", 1)) return macro_list_cmd(false);
    if (session::cmdmatch(w.c_str(), "shift", 1)) return macro_shift_cmd();
    return session::error(198);
}

// ---- temporary names and files ----

// The dataset gives a strong definition that drops its variables named by tempvar.
__attribute__((weak)) void drop_temp_variables(int64_t, int64_t) {}

void drop_temp_objects(int64_t from, int64_t to) {
    if (from == to) return;
    drop_temp_variables(from, to);
    session::fh_close_temp(from, to);
    data::post_drop_temp(from, to);
    auto in_range = [&](int64_t n) {
        return n >= 0 && (to >= from ? n >= from && n < to : n >= from || n < to);
    };
    for (int type : {(int)session::ST_SCALAR, (int)session::ST_MATRIX, (int)session::ST_MATRIX_R,
                     (int)session::ST_MATRIX_C}) {
        std::vector<void *> gone;
        const char *name;
        for (void *p = session::store_walk(nullptr, &name, type, nullptr); p;
             p = session::store_walk(p, &name, type, nullptr))
            if (in_range(tempname_number(name))) gone.push_back(p);
        for (void *p : gone)
            session::store_delete(p);
    }
}

namespace {

// name ... : every name checked first, then each local set to a fresh name from make.
int set_temp_names(std::string (*make)()) {
    std::vector<std::string> names;
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w.empty()) break;
        if (!session::name_ok(session::local_name(w))) return session::invalid_name(w);
        names.push_back(w);
    }
    if (names.empty()) return session::error(198);
    for (const std::string &n : names)
        if (session::macro_set(session::local_name(n).c_str(), make())) return 950;
    return 0;
}

} // namespace

// tempvar name ... ; tempname name ...
int cmd_tempname(int) { return set_temp_names(next_tempname); }

// tempfile name ...
int cmd_tempfile(int) { return set_temp_names(next_tempfile); }

} // namespace lang
