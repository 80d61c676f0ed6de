// Named scalars in the named store (a double, or a text), and the `scalar` command.
#include "data/scalar.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "data/expr.h"
#include "data/fmt.h"
#include "lang/macro.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/store.h"
#include "session/tok.h"

namespace data {

namespace {

// A numeric scalar is stored with length -1 and the eight bytes of its double; a string scalar
// with its length and its bytes and a NUL.
constexpr int32_t NUMERIC = -1;

void *find(const char *name, int32_t *len) { return session::store_find(name, session::ST_SCALAR, len); }

void replace(const char *name) {
    if (void *old = find(name, nullptr)) session::store_delete(old);
}

} // namespace

int scalar_get(const char *name, double *v, char *buf) {
    int32_t len = 0;
    void *p = find(name, &len);
    if (!p) return 0;
    if (len == NUMERIC) {
        std::memcpy(v, p, sizeof(double));
        return 1;
    }
    size_t n = std::min<size_t>((size_t)len, EXPR_STRLEN);
    std::memcpy(buf, p, n);
    buf[n] = 0;
    return 2;
}

int scalar_set(const char *name, double v) {
    replace(name);
    return session::store_add_copy(name, session::ST_SCALAR, NUMERIC, &v, sizeof v) ? 0 : 950;
}

int scalar_set_str(const char *name, std::string_view s) {
    replace(name);
    std::string t(s);
    return session::store_add_copy(name, session::ST_SCALAR, (int32_t)t.size(), t.c_str(),
                                   (int64_t)t.size() + 1)
               ? 0
               : 950;
}

bool scalar_drop(const char *name) {
    void *p = find(name, nullptr);
    if (!p) return false;
    session::store_delete(p);
    return true;
}

namespace {

using session::gettok;
using session::SEP_STD;

std::vector<std::string> all_names() {
    std::vector<std::string> v;
    const char *name = nullptr;
    for (void *p = session::store_walk(nullptr, &name, session::ST_SCALAR, nullptr); p;
         p = session::store_walk(p, &name, session::ST_SCALAR, nullptr))
        v.emplace_back(name);
    std::sort(v.begin(), v.end());
    return v;
}

int scalar_not_found(const std::string &name) { return session::not_found("scalar " + name); }

// The names of the rest of the line, or every scalar for `_all` or nothing (when all_if_empty).
int read_names(std::vector<std::string> &names, bool all_if_empty) {
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w.empty()) break;
        if (w == "_all") {
            names = all_names();
            if (*gettok(SEP_STD)) return session::error(198);
            return 0;
        }
        if (int rc = lang::check_name(w)) return rc;
        double v;
        char buf[EXPR_STRBUF];
        if (!scalar_get(w.c_str(), &v, buf)) return scalar_not_found(w);
        names.push_back(w);
    }
    if (names.empty() && all_if_empty) names = all_names();
    return 0;
}

// One line of the listing: the name at the right of 12 columns, then its value.
void list_one(const std::string &name) {
    double v;
    char buf[EXPR_STRBUF];
    int kind = scalar_get(name.c_str(), &v, buf);
    {
        out::ClassScope cs(out::CLS_TEXT);
        std::string head = name.size() < 12 ? std::string(12 - name.size(), ' ') + name : name;
        out::out_text(head + " = ");
    }
    out::ClassScope cs(out::CLS_RESULT);
    if (kind == 1) {
        char num[FMT_BUFSIZE];
        Fmt f;
        fmt_parse("%10.0g", f, true);
        fmt_number(v, f, num, sizeof num);
        out::out_text(num);
    } else {
        out::out_text(buf);
    }
    out::out_newline();
}

// scalar [define] name = exp
int define(const std::string &name) {
    if (int rc = lang::check_name(name)) return rc;
    if (std::string(gettok(SEP_STD)) != "=") return session::error(198);
    ExprValue val;
    if (int rc = expr_eval_scalar(session::tokrest(), val, nullptr, XW_ANY)) return rc;
    return val.type == XT_STR ? scalar_set_str(name.c_str(), val.str) : scalar_set(name.c_str(), val.num);
}

} // namespace

int cmd_scalar(int) {
    session::TokState ts;
    session::savetok(ts);
    std::string w = gettok(SEP_STD);
    if (!w.empty() && w != "=" && std::string(gettok(SEP_STD)) == "=") {
        session::restoretok(ts);
        w = gettok(SEP_STD);
        return define(w);
    }
    session::restoretok(ts);
    w = gettok(SEP_STD);
    if (session::cmdmatch(w.c_str(), "define", 3)) return define(gettok(SEP_STD));
    if (w.empty() || w == "dir" || session::cmdmatch(w.c_str(), "list", 2)) {
        std::vector<std::string> names;
        if (int rc = read_names(names, true)) return rc;
        for (const std::string &n : names)
            list_one(n);
        return 0;
    }
    if (session::cmdmatch(w.c_str(), "drop", 2)) {
        std::vector<std::string> names;
        if (int rc = read_names(names, false)) return rc;
        if (names.empty()) return session::error(198);
        for (const std::string &n : names)
            scalar_drop(n.c_str());
        return 0;
    }
    return session::error(198);
}

} // namespace data
