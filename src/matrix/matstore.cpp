// The matrix store: contents and stripes as store objects, their views, and the stripe grammar.
#include "matrix/matstore.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "data/varlist.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace mat {

using namespace session;

int active_kind = ST_MATRIX;

namespace {

constexpr const char *TEMPS[] = {"<mat1>", "<mat2>", "<mat3>", "<matsub>"};

double *elems_of(MatrixBlock *b) {
    return reinterpret_cast<double *>(reinterpret_cast<char *>(b) + sizeof *b);
}

int64_t count_of(int form, int rows, int cols) {
    if (form == MF_SYM) return ((int64_t)rows * rows + rows + 1) / 2;
    return (int64_t)rows * cols;
}

size_t sym_index(int i, int j) {
    if (i < j) std::swap(i, j);
    return (size_t)i * (size_t)(i + 1) / 2 + (size_t)j;
}

void copy_name(char (&dst)[33], std::string_view s) {
    const size_t n = std::min(s.size(), sizeof dst - 1);
    if (n) std::memcpy(dst, s.data(), n);
    dst[n] = '\0';
}

bool read_stripe(const char *name, int kind, int n, std::vector<StripeName> &out) {
    int32_t len = 0;
    const auto *p = static_cast<const StripeName *>(store_find(name, kind, &len));
    out.clear();
    if (!p || len != n) return false;
    out.assign(p, p + n);
    return true;
}

void drop_one(const char *name, int kind) {
    if (void *p = store_find(name, kind, nullptr)) store_delete(p);
}

// Writes the stripe object of kind, or drops it when the stripe is the default.
int save_stripe(const char *name, int kind, const std::vector<StripeName> &s) {
    drop_one(name, kind);
    if (s.empty()) return 0;
    const int64_t size = (int64_t)(s.size() * sizeof(StripeName));
    return store_add_copy(name, kind, (int32_t)s.size(), s.data(), size) ? 0 : 909;
}

} // namespace

MatrixView mat_view(const char *name, int kind) {
    MatrixView v;
    auto *b = static_cast<MatrixBlock *>(store_find(name, kind, nullptr));
    if (!b) return v;
    v.block = b;
    v.el = elems_of(b);
    v.form = b->form;
    v.rows = b->rows;
    v.cols = b->cols;
    return v;
}

double mat_get(const MatrixView &v, int i, int j) {
    if (v.form == MF_SYM) return v.el[sym_index(i, j)];
    return v.el[(size_t)i * (size_t)v.cols + (size_t)j];
}

void mat_put(MatrixView &v, int i, int j, double x) {
    if (v.form == MF_SYM)
        v.el[sym_index(i, j)] = x;
    else
        v.el[(size_t)i * (size_t)v.cols + (size_t)j] = x;
}

bool mat_exists(const char *name, int kind) { return store_find(name, kind, nullptr) != nullptr; }

bool mat_read(const char *name, int kind, Matrix &m) {
    MatrixView v = mat_view(name, kind);
    if (!v.block) return false;
    m.rows = v.rows;
    m.cols = v.cols;
    m.sym = v.form == MF_SYM;
    m.v.resize((size_t)v.rows * (size_t)v.cols);
    for (int i = 0; i < v.rows; ++i)
        for (int j = 0; j < v.cols; ++j)
            m.at(i, j) = mat_get(v, i, j);
    read_stripe(name, row_kind(kind), v.rows, m.rn);
    read_stripe(name, col_kind(kind), v.cols, m.cn);
    return true;
}

int mat_load(const char *name, int kind, Matrix &m) {
    if (mat_read(name, kind, m)) return 0;
    return matrix_not_found(name);
}

int mat_save(const char *name, int kind, const Matrix &m) {
    const bool sym = m.sym && is_symmetric(m);
    const int form = sym ? MF_SYM : MF_DENSE;
    const int64_t n = count_of(form, m.rows, m.cols);
    const int64_t size = (int64_t)sizeof(MatrixBlock) + n * (int64_t)sizeof(double);
    auto *b = static_cast<MatrixBlock *>(store_find(name, kind, nullptr));
    if (b &&
        (b->form != form || b->rows != m.rows || b->cols != m.cols || store_header(b)->allocated != size)) {
        store_delete(b);
        b = nullptr;
    }
    if (!b) {
        b = static_cast<MatrixBlock *>(store_add(name, kind, 0, size));
        if (!b) {
            drop_one(name, row_kind(kind));
            drop_one(name, col_kind(kind));
            return 909;
        }
    }
    b->form = (uint8_t)form;
    b->offsetWord = 0;
    b->rows = (uint16_t)m.rows;
    b->cols = (uint16_t)m.cols;
    MatrixView v = mat_view(name, kind);
    for (int i = 0; i < m.rows; ++i)
        for (int j = 0; j < (sym ? i + 1 : m.cols); ++j)
            mat_put(v, i, j, m.at(i, j));
    const bool rows_given = (int)m.rn.size() == m.rows, cols_given = (int)m.cn.size() == m.cols;
    if (int rc = save_stripe(name, row_kind(kind), rows_given ? m.rn : std::vector<StripeName>{})) return rc;
    return save_stripe(name, col_kind(kind), cols_given ? m.cn : std::vector<StripeName>{});
}

int mat_assign(const char *name, int kind, const Matrix &m) {
    mat_drop("<mat1>", ST_MATRIX);
    if (int rc = mat_save("<mat1>", ST_MATRIX, m)) {
        mat_drop("<mat1>", ST_MATRIX);
        return rc;
    }
    mat_move("<mat1>", ST_MATRIX, name, kind);
    return 0;
}

void mat_drop(const char *name, int kind) {
    for (int k = kind; k <= col_kind(kind); ++k)
        drop_one(name, k);
}

void mat_move(const char *from, int fkind, const char *to, int tkind) {
    if (std::strcmp(from, to) == 0 && fkind == tkind) return;
    mat_drop(to, tkind);
    for (int d = 0; d < 3; ++d)
        if (void *p = store_find(from, fkind + d, nullptr)) store_rename(p, to, tkind + d);
}

std::vector<std::string> mat_names(int kind) {
    std::vector<std::string> v;
    for (const std::string &n : names_at(kind))
        if (n[0] != '<') v.push_back(n);
    return v;
}

void mat_drop_temps() {
    for (const char *t : TEMPS) {
        mat_drop(t, ST_MATRIX);
        drop_one(t, ST_TMPMATRIX);
    }
}

int check_matsize(int rows, int cols) {
    if (rows > st.matsize || cols > st.matsize) return error(908);
    return 0;
}

bool is_symmetric(const Matrix &m) {
    if (m.rows != m.cols) return false;
    for (int i = 0; i < m.rows; ++i)
        for (int j = 0; j < i; ++j)
            if (m.at(i, j) != m.at(j, i)) return false;
    return true;
}

StripeName default_name(bool row, int i) {
    StripeName s;
    std::snprintf(s.name, sizeof s.name, "%c%d", row ? 'r' : 'c', i + 1);
    return s;
}

std::vector<StripeName> full_stripe(const Matrix &m, bool row) {
    const std::vector<StripeName> &s = row ? m.rn : m.cn;
    const int n = row ? m.rows : m.cols;
    if ((int)s.size() == n) return s;
    std::vector<StripeName> out;
    for (int i = 0; i < n; ++i)
        out.push_back(default_name(row, i));
    return out;
}

std::string stripe_text(const StripeName &s) {
    std::string t;
    if (s.equation[0]) t = std::string(s.equation) + ":";
    return t + s.tsop + s.name;
}

bool has_equations(const std::vector<StripeName> &s) {
    for (const StripeName &e : s)
        if (e.equation[0]) return true;
    return false;
}

bool parse_stripe_entry(std::string_view w, StripeName &out) {
    out = StripeName{};
    std::string_view eq, rest = w;
    const size_t colon = w.find(':');
    if (colon != std::string_view::npos) {
        eq = w.substr(0, colon);
        rest = w.substr(colon + 1);
        if (eq.empty() || eq.size() > 32 || eq.find(':') != std::string_view::npos) return false;
        if (eq == "_") eq = {};
    }
    if (rest.find(':') != std::string_view::npos || rest.empty()) return false;
    const size_t dot = rest.rfind('.');
    std::string_view name = rest;
    if (dot != std::string_view::npos) {
        std::string_view op = rest.substr(0, dot);
        name = rest.substr(dot + 1);
        data::TsOp t{};
        if (op.empty() || data::tsop_parse(op, rest, t)) return false;
        const std::string text = data::tsop_text(&t);
        if (text.size() > 32) return false;
        copy_name(out.tsop, text);
    }
    if (name.empty() || name.size() > 32) return false;
    copy_name(out.equation, eq);
    copy_name(out.name, name);
    return true;
}

int parse_stripe(std::string_view list, std::vector<StripeName> &out) {
    out.clear();
    size_t i = 0;
    while (i < list.size()) {
        while (i < list.size() && list[i] == ' ')
            ++i;
        if (i >= list.size()) break;
        std::string word;
        if (list[i] == '"') {
            size_t e = list.find('"', i + 1);
            if (e == std::string_view::npos) return unmatched_quote();
            word = std::string(list.substr(i + 1, e - i - 1));
            i = e + 1;
        } else if (list[i] == '`' && i + 1 < list.size() && list[i + 1] == '"') {
            size_t e = list.find("\"'", i + 2);
            if (e == std::string_view::npos) return unmatched_quote();
            word = std::string(list.substr(i + 2, e - i - 2));
            i = e + 2;
        } else {
            size_t e = i;
            while (e < list.size() && list[e] != ' ')
                ++e;
            word = std::string(list.substr(i, e - i));
            i = e;
        }
        StripeName s;
        if (!parse_stripe_entry(word, s)) return fail(198, "invalid matrix stripe\n");
        out.push_back(s);
    }
    return 0;
}

int matrix_ref(std::string_view text, std::string &name, int &kind, bool check_class) {
    kind = ST_MATRIX;
    name = std::string(text);
    const size_t open = text.find('(');
    if (open != std::string_view::npos) {
        if (text.back() != ')') return error(198);
        const std::string_view head = text.substr(0, open);
        name = std::string(text.substr(open + 1, text.size() - open - 2));
        if (head == "e") {
            if (check_class && res.ProgramClass != 3) return error(152);
            kind = ST_E_MATRIX;
        } else if (head == "r") {
            if (check_class && res.ProgramClass != 1) return error(151);
            kind = ST_R_MATRIX;
        } else if (head == "return") {
            if (check_class && res.ProgramClass != 1) return error(151);
            kind = ST_RETMATRIX_FIRST + 3 * std::clamp(lp.callframes - 1, 0, max_callframes - 1);
        } else {
            return error(198);
        }
    }
    return check_name(name);
}

} // namespace mat
