// matrix: assignment, input, list, dir, drop, rename and the stripe commands; the cross-product and
// estimation subcommands are in their own files.
#include "matrix/matcmd.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "data/expr.h"
#include "data/fmt.h"
#include "data/types.h"
#include "matrix/accum.h"
#include "matrix/constraint.h"
#include "matrix/estpost.h"
#include "matrix/matexpr.h"
#include "matrix/matnum.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

namespace {

std::string trimmed(std::string_view s) {
    size_t a = 0, b = s.size();
    while (a < b && s[a] == ' ')
        ++a;
    while (b > a && s[b - 1] == ' ')
        --b;
    return std::string(s.substr(a, b - a));
}

// `= rest`: the tokenizer stands before the equals sign.
int expect_equals(const char *&rest) {
    rest = tokrest();
    if (*rest != '=') return error(198);
    ++rest;
    while (*rest == ' ')
        ++rest;
    return 0;
}

// name = exp
int assign(const std::string &name) {
    if (int rc = check_name(name)) return rc;
    const char *rest;
    if (int rc = expect_equals(rest)) return rc;
    if (!*rest) return error(198);
    Matrix m;
    if (int rc = eval_matrix(rest, m)) return rc;
    return mat_assign(name.c_str(), ST_MATRIX, m);
}

// name[i,j] = exp: a number goes to the element, a matrix is placed with its top left there.
int assign_element(const std::string &name) {
    const char *p = tokrest();
    int depth = 0;
    const char *close = nullptr, *comma = nullptr;
    for (const char *q = p; *q; ++q) {
        if (*q == '"') {
            const char *e = std::strchr(q + 1, '"');
            if (!e) return unmatched_quote();
            q = e;
            continue;
        }
        if (*q == '[' || *q == '(') ++depth;
        if (*q == ']' || *q == ')') {
            if (--depth == 0) {
                close = q;
                break;
            }
        }
        if (*q == ',' && depth == 1 && !comma) comma = q;
    }
    if (!close || !comma) return error(198);
    settok(close + 1);
    const char *rest;
    if (int rc = expect_equals(rest)) return rc;
    Matrix m;
    if (int rc = mat_load(name.c_str(), ST_MATRIX, m)) return rc;
    int i, j;
    if (int rc = subscript_index(std::string(p + 1, comma), m, true, i)) return rc;
    if (int rc = subscript_index(std::string(comma + 1, close), m, false, j)) return rc;
    bool is_num = false;
    double num = 0;
    Matrix val;
    if (int rc = eval_num_or_matrix(rest, is_num, num, val)) return rc;
    if (is_num) {
        MatrixView v = mat_view(name.c_str(), ST_MATRIX);
        if (v.form == MF_DENSE || i == j) {
            mat_put(v, i, j, num);
            return 0;
        }
        // an element off the diagonal of a symmetric matrix: it becomes dense
        m.at(i, j) = num;
        m.sym = false;
        return mat_save(name.c_str(), ST_MATRIX, m);
    }
    if (i + val.rows > m.rows || j + val.cols > m.cols) return error(503);
    for (int r = 0; r < val.rows; ++r)
        for (int c = 0; c < val.cols; ++c)
            m.at(i + r, j + c) = val.at(r, c);
    m.sym = m.sym && is_symmetric(m);
    return mat_save(name.c_str(), ST_MATRIX, m);
}

// input name = (# [,#...] [\ # [,#...] ...])
int input(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (int rc = check_name(name)) return rc;
    const char *rest;
    if (int rc = expect_equals(rest)) return rc;
    std::string body = trimmed(rest);
    if (body.size() < 2 || body.front() != '(' || body.back() != ')') return error(198);
    body = body.substr(1, body.size() - 2);
    std::vector<std::vector<double>> rows(1);
    std::string cell;
    auto take = [&]() {
        const std::string t = trimmed(cell);
        cell.clear();
        double v;
        if (t.empty() || !data::text_to_number(t, v)) return error(198);
        rows.back().push_back(v);
        return 0;
    };
    for (char ch : body) {
        if (ch == ',' || ch == '\\') {
            if (int rc = take()) return rc;
            if (ch == '\\') rows.emplace_back();
        } else {
            cell += ch;
        }
    }
    if (int rc = take()) return rc;
    for (const auto &r : rows)
        if (r.size() != rows[0].size()) return error(503);
    if (int rc = check_matsize((int)rows.size(), (int)rows[0].size())) return rc;
    Matrix m;
    m.resize((int)rows.size(), (int)rows[0].size());
    for (int i = 0; i < m.rows; ++i)
        for (int j = 0; j < m.cols; ++j)
            m.at(i, j) = rows[(size_t)i][(size_t)j];
    return mat_assign(name.c_str(), ST_MATRIX, m);
}

// The text of a stripe entry in a listing: names alone, the equation above them.
std::string entry_text(const StripeName &s) { return std::string(s.tsop) + s.name; }

// list name [, format(fmt) noblank nohalf noheader nonames title(text) dotz]
int list(int) {
    const std::string ref = gettok(SEP_STD);
    if (ref.empty()) return error(198);
    std::string full = ref;
    if (*tokrest() == '(') {
        // e(b), r(x): the reference runs to its closing parenthesis
        const char *p = tokrest();
        const char *e = std::strchr(p, ')');
        if (!e) return error(198);
        full += std::string(p, e + 1);
        settok(e + 1);
    }
    std::string name;
    int kind;
    if (int rc = matrix_ref(full, name, kind, false)) return rc;
    ListOpts o;
    std::string fmt;
    const OptSpec specs[] = {opt_text("format", 1, fmt),     opt_onoff("blank", 5, o.blank),
                             opt_onoff("half", 4, o.half),   opt_onoff("header", 6, o.header),
                             opt_onoff("names", 5, o.names), opt_text("title", 5, o.title),
                             opt_flag("dotz", 4, o.dotz)};
    if (int rc = parse_options(specs)) return rc;
    if (!fmt.empty()) {
        data::Fmt f;
        if (data::fmt_parse(fmt, f, true) || !data::fmt_isnum(f)) return error(120);
        o.format = fmt;
    }
    if (o.title.size() > 512) o.title.resize(512);
    Matrix m;
    if (!mat_read(name.c_str(), kind, m)) return matrix_not_found(full);
    return list_matrix(full.c_str(), m, o);
}

int dir(int) {
    if (*tokrest()) return error(198);
    std::vector<std::string> names = mat_names(ST_MATRIX);
    if (names.empty()) return 0;
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text("\nmatrices:\n");
    for (const std::string &n : names) {
        MatrixView v = mat_view(n.c_str(), ST_MATRIX);
        char line[80];
        std::snprintf(line, sizeof line, "%9s[%d,%d]", n.c_str(), v.rows, v.cols);
        out::ClassScope rs(out::CLS_RESULT);
        out::out_text(line);
        if (int rc = out::out_newline()) return rc;
    }
    return 0;
}

// drop {name ... | _all}
int drop(int) {
    std::vector<std::string> names;
    for (std::string w = gettok(SEP_STD); !w.empty(); w = gettok(SEP_STD))
        names.push_back(w);
    if (names.empty()) return error(198);
    if (names.size() == 1 && names[0] == "_all") {
        for (const std::string &n : mat_names(ST_MATRIX))
            mat_drop(n.c_str(), ST_MATRIX);
        return 0;
    }
    for (const std::string &n : names)
        if (!mat_exists(n.c_str(), ST_MATRIX)) return matrix_not_found(n);
    for (const std::string &n : names)
        mat_drop(n.c_str(), ST_MATRIX);
    return 0;
}

// A matrix reference at the tokenizer: a name, or e(x), r(x), return(x).
std::string ref_at() {
    std::string w = gettok(SEP_STD);
    if (!w.empty() && *tokrest() == '(') {
        const char *p = tokrest();
        const char *e = std::strchr(p, ')');
        if (e) {
            w += std::string(p, e + 1);
            settok(e + 1);
        }
    }
    return w;
}

// rename old new [, replace]
int rename(int) {
    const std::string a = ref_at(), b = ref_at();
    if (a.empty() || b.empty()) return error(198);
    bool replace = false;
    const OptSpec specs[] = {opt_flag("replace", 7, replace)};
    if (int rc = parse_options(specs)) return rc;
    std::string an, bn;
    int ak, bk;
    if (int rc = matrix_ref(a, an, ak, true)) return rc;
    if (int rc = matrix_ref(b, bn, bk, true)) return rc;
    if (!mat_exists(an.c_str(), ak)) return matrix_not_found(a);
    if (mat_exists(bn.c_str(), bk) && !replace) return already_defined(b);
    mat_move(an.c_str(), ak, bn.c_str(), bk);
    return 0;
}

// rownames|colnames|roweq|coleq name = list
int stripe_cmd(int which) {
    const bool row = which == 0 || which == 2, eqs = which >= 2;
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    const char *rest;
    if (int rc = expect_equals(rest)) return rc;
    Matrix m;
    if (int rc = mat_load(name.c_str(), ST_MATRIX, m)) return rc;
    const int n = row ? m.rows : m.cols;
    std::vector<StripeName> words;
    std::vector<StripeName> st = full_stripe(m, row);
    if (eqs) {
        // equation names: a single one applies to all; `_` stands for none
        std::vector<std::string> list;
        const std::string body = rest;
        for (size_t i = 0; i < body.size();) {
            while (i < body.size() && body[i] == ' ')
                ++i;
            if (i >= body.size()) break;
            size_t e = i;
            if (body[i] == '"') {
                e = body.find('"', i + 1);
                if (e == std::string::npos) return unmatched_quote();
                list.push_back(body.substr(i + 1, e - i - 1));
                i = e + 1;
                continue;
            }
            while (e < body.size() && body[e] != ' ')
                ++e;
            list.push_back(body.substr(i, e - i));
            i = e;
        }
        if (list.size() != 1 && (int)list.size() != n) return error(503);
        for (int k = 0; k < n; ++k) {
            std::string eq = list.size() == 1 ? list[0] : list[(size_t)k];
            if (!eq.empty() && eq.back() == ':') eq.pop_back();
            if (eq == "_") eq.clear();
            if (eq.size() > 32 || eq.find(':') != std::string::npos)
                return fail(198, "invalid matrix stripe\n");
            std::snprintf(st[(size_t)k].equation, sizeof st[(size_t)k].equation, "%s", eq.c_str());
        }
    } else {
        if (int rc = parse_stripe(rest, words)) return rc;
        if ((int)words.size() != n) return error(503);
        st = words;
    }
    // the new stripe is made under "<mat2>" first: a failure leaves the old one in force
    const int kind = row ? row_kind(ST_MATRIX) : col_kind(ST_MATRIX);
    if (void *p = store_find("<mat2>", kind, nullptr)) store_delete(p);
    void *p =
        store_add_copy("<mat2>", kind, (int32_t)st.size(), st.data(), (int64_t)(st.size() * sizeof st[0]));
    if (!p) return 909;
    if (void *old = store_find(name.c_str(), kind, nullptr)) store_delete(old);
    store_rename(p, name.c_str(), kind);
    return 0;
}

struct Sub {
    const char *name;
    int minlen;
    int (*run)(int);
    int arg;
};

int define(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty()) return error(198);
    if (*tokrest() == '[') return assign_element(name);
    return assign(name);
}

const Sub subs[] = {
    {"define", 3, define, 0},
    {"input", 2, input, 0},
    {"accum", 2, cmd_accum, ACC_ACCUM},
    {"glsaccum", 4, cmd_accum, ACC_GLS},
    {"opaccum", 7, cmd_accum, ACC_OP},
    {"vecaccum", 4, cmd_accum, ACC_VEC},
    {"cat", 3, cmd_cat, 0},
    {"coleq", 4, stripe_cmd, 3},
    {"colnames", 4, stripe_cmd, 1},
    {"roweq", 4, stripe_cmd, 2},
    {"rownames", 4, stripe_cmd, 0},
    {"dir", 2, dir, 0},
    {"dispCns", 7, cmd_dispcns, 0},
    {"dissimilarity", 3, cmd_dissimilarity, 0},
    {"drop", 4, drop, 0},
    {"eigenvalues", 8, cmd_eigenvalues, 0},
    {"list", 1, list, 0},
    {"makeCns", 6, cmd_makecns, 0},
    {"mlout", 4, cmd_mlout, 0},
    {"post", 4, cmd_estpost, 0},
    {"repost", 6, cmd_estpost, 1},
    {"rename", 3, rename, 0},
    {"score", 3, cmd_score, 0},
    {"substitute", 3, define, 0},
    {"svd", 3, cmd_svd, 0},
    {"symeigen", 4, cmd_symeigen, 0},
};

int run_matrix() {
    const std::string first = gettok(SEP_STD);
    if (first.empty()) return error(198);
    const char *rest = tokrest();
    if (*rest == '=' || *rest == '[') {
        ungettok();
        return define(0);
    }
    for (const Sub &s : subs) {
        // the exact-case names (dispCns, makeCns) are matched as written
        if (cmdmatch(first.c_str(), s.name, s.minlen)) return s.run(s.arg);
    }
    return error(501);
}

std::string number_text(double v, const data::Fmt &f, bool dotz) {
    char buf[64];
    if (dotz && v == lim.dot_z) return ".z";
    data::fmt_number(v, f, buf, sizeof buf);
    return buf;
}

} // namespace

int list_matrix(const char *name, const Matrix &m, const ListOpts &o) {
    data::Fmt f;
    if (data::fmt_parse(o.format, f, true)) return error(120);
    const int w = data::fmt_width(f);
    const bool sym = m.sym && is_symmetric(m) && o.half;
    const std::vector<StripeName> rn = full_stripe(m, true), cn = full_stripe(m, false);
    const bool roweqs = has_equations(rn), coleqs = has_equations(cn);
    size_t rw = 0;
    if (o.names)
        for (const StripeName &s : rn)
            rw = std::max(rw, entry_text(s).size());
    if (roweqs && o.names)
        for (const StripeName &s : rn)
            rw = std::max(rw, std::strlen(s.equation) + 1);
    out::ClassScope cs(out::CLS_TEXT);
    if (o.header) {
        if (o.blank) out::out_text("\n");
        std::string h = std::string(sym && m.rows > 1 ? "symmetric " : "") + name + "[" +
                        std::to_string(m.rows) + "," + std::to_string(m.cols) + "]";
        if (!o.title.empty()) h += ":  " + o.title;
        out::out_text(h);
        if (int rc = out::out_newline()) return rc;
    }
    const int field = w + 1;
    const int room = std::max(1, (se.linesize - (int)rw) / field);
    auto pad_left = [](const std::string &s, size_t n) {
        return s.size() >= n ? s : std::string(n - s.size(), ' ') + s;
    };
    auto pad_right = [](const std::string &s, size_t n) {
        return s.size() >= n ? s : s + std::string(n - s.size(), ' ');
    };
    for (int c0 = 0; c0 < m.cols || (c0 == 0 && m.cols == 0); c0 += room) {
        const int c1 = std::min(m.cols, c0 + room);
        if (c0 > 0 && o.blank) out::out_text("\n");
        if (o.names) {
            if (coleqs) {
                std::string line(rw, ' ');
                for (int j = c0; j < c1; ++j) {
                    const bool first =
                        j == c0 || std::strcmp(cn[(size_t)j].equation, cn[(size_t)j - 1].equation);
                    line += pad_left(first ? (cn[(size_t)j].equation[0] ? cn[(size_t)j].equation : "_") : "",
                                     (size_t)field);
                }
                while (!line.empty() && line.back() == ' ')
                    line.pop_back();
                out::out_text(line);
                if (int rc = out::out_newline()) return rc;
            }
            std::string line(rw, ' ');
            for (int j = c0; j < c1; ++j)
                line += pad_left(entry_text(cn[(size_t)j]).substr(0, (size_t)w), (size_t)field);
            out::out_text(line);
            if (int rc = out::out_newline()) return rc;
        }
        for (int i = 0; i < m.rows; ++i) {
            if (sym && i < c0) continue;
            if (roweqs && o.names &&
                (i == 0 || std::strcmp(rn[(size_t)i].equation, rn[(size_t)i - 1].equation))) {
                out::out_text(std::string(rn[(size_t)i].equation[0] ? rn[(size_t)i].equation : "_") + ":");
                if (int rc = out::out_newline()) return rc;
            }
            if (o.names) out::out_text(pad_right(entry_text(rn[(size_t)i]), rw));
            std::string cells;
            for (int j = c0; j < c1; ++j) {
                if (sym && j > i) break;
                cells += " " + pad_left(number_text(m.at(i, j), f, o.dotz), (size_t)w);
            }
            out::ClassScope rs(out::CLS_RESULT);
            out::out_text(cells);
            if (int rc = out::out_newline()) return rc;
        }
    }
    return 0;
}

int cmd_matrix(int) {
    active_kind = ST_MATRIX;
    int rc = run_matrix();
    mat_drop_temps();
    return rc;
}

int cmd_mat_put_rr(int) {
    const std::string name = gettok(SEP_STD);
    if (name.empty() || *tokrest()) return error(198);
    if (!mat_exists(name.c_str(), ST_MATRIX)) return matrix_not_found(name);
    mat_move(name.c_str(), ST_MATRIX, name.c_str(), ST_R_MATRIX);
    return 0;
}

} // namespace mat
