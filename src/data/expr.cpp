// The expression compiler, which splits the text at its loosest operator and emits operation words
// into a fixed record, and the stack machine that runs a record for one observation.
// The rules of the block machine test their operands without a branch, so that a loop of one rule
// over a block of observations runs as vector instructions; the compiler may then compute a result
// that a missing operand throws away, which it does only while floating-point exceptions are not
// watched. Nothing in the program reads them.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC optimize("no-trapping-math")
#endif
#include "data/expr.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "data/dataset.h"
#include "data/dates.h"
#include "data/exprint.h"
#include "data/fmt.h"
#include "data/scalar.h"
#include "data/tsindex.h"
#include "data/varlist.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/macstore.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

ExprRecord ifexp, eqexp;
int expr_lastrc = 0;
ExprBy exby;
int (*expr_hook_result)(char kind, const char *name, double *v, char *buf) = nullptr;
int (*expr_hook_creturn)(const char *name, double *v, char *buf) = nullptr;
int (*expr_hook_coef)(int which, const char *eq, const char *name, double *v) = nullptr;
bool (*expr_hook_matrix)(const char *name) = nullptr;
int (*expr_hook_mat)(int word, int operand, const char *text, const double *nums,
                     const char (*strs)[EXPR_STRBUF], double *out) = nullptr;

namespace xp {

Pools pools;

const char *op_name(int word, int *noperand) {
    if (const OpRow *r = op_row(word)) {
        if (noperand) *noperand = r->nopd;
        return r->name;
    }
    if (const FnRow *f = fn_of_word(word)) {
        if (noperand) *noperand = fn_operands(f);
        return f->name;
    }
    return nullptr;
}

} // namespace xp

using namespace xp;

namespace {

// ---- Failures inside the compiler ---------------------------------------------------------------

// A failure found while compiling: the message is written, the code travels to the entry.
struct Fail {
    int rc;
};

[[noreturn]] void fail(int rc) { throw Fail{rc}; }
[[noreturn]] void fail_code(int code) { throw Fail{session::error(code)}; }
[[noreturn]] void fail_text(int rc, const std::string &text) { throw Fail{session::fail(rc, text)}; }
[[noreturn]] void too_long() { fail_code(130); }
[[noreturn]] void syntax() { fail_code(198); }

int write132(const char *lead, const char *what) { return session::fail(132, std::string(lead) + what); }

// ---- Taking the text off the command line ---------------------------------------------------------

const char OPCHARS[] = "|&=><+-*/^:!~#";
const char OPCHARS_MAT[] = "|&=><+-*/^:!~#\\,";

bool word_char(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '"' || c == '\'';
}

std::unique_ptr<char[]> scratch; // the text of the expression being compiled

// exptext := { quoted | '(' exptext ')' | '[' exptext ']' | character }
// ending, outside brackets, before a blank not next to an operator, at `,` `{` `}`, or before a
// single `=` next to no operator. Blanks next to operators are dropped, and inside brackets every
// blank but one between two parts of a word.
int take_text(const char *p, bool matmode, char *out, size_t *len, const char **begin, const char **end) {
    while (*p == ' ')
        ++p;
    *begin = p;
    const char *ops = matmode ? OPCHARS_MAT : OPCHARS;
    auto isop = [ops](char c) { return c != 0 && std::strchr(ops, c) != nullptr; };
    const char *limit = p + std::strlen(p);
    size_t n = 0;
    int depth = 0;
    for (;;) {
        char c = *p;
        if (!c) {
            if (depth) return write132("too few ", "')' or ']'\n");
            break;
        }
        session::Quoted qt;
        if (session::quoted_at(std::string_view(p, (size_t)(limit - p)), 0, qt)) {
            if (!qt.closed) return write132("too few ", "quotes\n");
            std::memcpy(out + n, p, qt.next);
            n += qt.next;
            p += qt.next;
            continue;
        }
        if (c == '(' || c == '[') {
            ++depth;
        } else if (c == ')' || c == ']') {
            if (depth == 0) return write132("too many ", "')' or ']'\n");
            --depth;
        } else if (depth == 0) {
            if (c == ',' || c == '{' || c == '}') break;
            if (c == ' ') {
                const char *q = p;
                while (*q == ' ')
                    ++q;
                if ((n && isop(out[n - 1])) || isop(*q)) {
                    p = q;
                    continue;
                }
                break;
            }
            if (c == '=' && p[1] != '=' && !(n && isop(out[n - 1])) && !isop(p[1])) break;
        } else if (c == ' ') {
            const char *q = p;
            while (*q == ' ')
                ++q;
            if (n && word_char(out[n - 1]) && word_char(*q)) out[n++] = ' ';
            p = q;
            continue;
        }
        out[n++] = c;
        ++p;
    }
    out[n] = 0;
    *len = n;
    *end = p;
    return 0;
}

// ---- Compile state --------------------------------------------------------------------------------

enum : int8_t { TY_NUM = 0, TY_STR = 1, TY_MAT = 2 };
constexpr int TY_NONE = 128;
constexpr int MAXTYPES = 250, MAXSTR = 10, MAXMAT = 20, MAXDEPTH = EXPR_CODELEN, MAXARGS = 250;

struct Comp {
    ExprRecord *rec = nullptr;
    int8_t types[MAXTYPES] = {};
    int ntypes = 0, nstr = 0, nmat = 0;
    bool matmode = false;
    bool zerob = false;
    int force = SP_NONE; // SP_FORCE_SCALAR, SP_FORCE_MATRIX, SP_FORCE_VARIABLE inside those forms
    int inmissing = 0;
    int depth = 0;
    bool join_next = false;           // the span compiled next is a side of a matrix join: joins stay on
    const char *stack_base = nullptr; // the entry's frame: deep nesting stops before the stack does
};
Comp cs;

void emit(int w) {
    ExprRecord &r = *cs.rec;
    if (r.last + 1 >= EXPR_CODELEN) too_long();
    r.code[++r.last] = (int16_t)w;
}

void push(int t) {
    if (t == TY_NONE) return;
    if (cs.ntypes >= MAXTYPES) too_long();
    if (t == TY_STR && cs.nstr >= MAXSTR) too_long();
    if (t == TY_MAT && cs.nmat >= MAXMAT) too_long();
    cs.types[cs.ntypes++] = (int8_t)t;
    if (t == TY_STR) ++cs.nstr;
    if (t == TY_MAT) ++cs.nmat;
}

int top(int k = 0) { return cs.types[cs.ntypes - 1 - k]; }

void pop(int k = 1) {
    while (k-- > 0) {
        int t = cs.types[--cs.ntypes];
        if (t == TY_STR) --cs.nstr;
        if (t == TY_MAT) --cs.nmat;
    }
}

void impure() { cs.rec->pure = cs.rec->parallel = 0; }

// ---- Literal pools --------------------------------------------------------------------------------

void pools_for_command() {
    if (pools.serial != session::lp.cmdserial) {
        pools.nlit = 0;
        pools.nstr = 0;
        pools.serial = session::lp.cmdserial;
    }
}

[[noreturn]] void too_many_literals() { fail_text(130, std::string("too many ") + "literals\n"); }

int lit_index(double v) {
    const uint64_t bits = dbits(v);
    for (int k = 1; k <= pools.nlit; ++k)
        if (dbits(pools.lit[k]) == bits) return k;
    if (pools.nlit >= EXPR_NLIT) too_many_literals();
    pools.lit[++pools.nlit] = v;
    return pools.nlit;
}

int str_offset(std::string_view s) {
    if (s.size() > (size_t)EXPR_STRLEN) s = s.substr(0, EXPR_STRLEN);
    for (int off = 0; off < pools.nstr;) {
        const char *e = pools.str + off;
        size_t len = std::strlen(e);
        if (len == s.size() && std::memcmp(e, s.data(), len) == 0) return off;
        off += (int)len + 1;
    }
    if (pools.nstr + (int)s.size() + 1 > EXPR_SPOOL) too_many_literals();
    int off = pools.nstr;
    std::memcpy(pools.str + off, s.data(), s.size());
    pools.str[off + s.size()] = 0;
    pools.nstr += (int)s.size() + 1;
    return off;
}

void emit_lit(double v) {
    int k = lit_index(v);
    emit(OP_LIT);
    emit(k);
    push(TY_NUM);
}

void emit_slit(std::string_view s) {
    int off = str_offset(s);
    emit(OP_SLIT);
    emit(off);
    push(TY_STR);
}

// ---- Scanning a span ------------------------------------------------------------------------------

// The last character of the quoted text that opens at p, or p itself for no quote.
const char *skip_quote(const char *p, const char *b) {
    session::Quoted qt;
    if (!session::quoted_at(std::string_view(p, (size_t)(b - p)), 0, qt)) return p;
    return p + qt.next - 1;
}

// The bracket that closes the one at p, or null when there is none in [p, b).
const char *close_of(const char *p, const char *b) {
    int depth = 0;
    for (const char *q = p; q < b; ++q) {
        q = skip_quote(q, b);
        if (*q == '(' || *q == '[')
            ++depth;
        else if ((*q == ')' || *q == ']') && --depth == 0)
            return q;
    }
    return nullptr;
}

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_xdigit(char c) { return is_digit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }
bool name_char(char c) { return word_char(c) && c != '"' && c != '\''; }

// Whether the + or - at p (p > a) is a binary operator, not a sign.
bool binary_sign(const char *a, const char *p, const char *b) {
    const char c = p[-1];
    if (std::strchr("-*/^#", c)) return false;
    if (p - 1 > a) {
        const char *s = p - 1;
        while (s > a && name_char(s[-1]))
            --s;
        bool digit_in_run = false;
        bool point_in_run = false;
        for (const char *t = s; t < p; ++t) {
            if (is_digit(*t)) digit_in_run = true;
            if (*t == '.') point_in_run = true;
        }
        const bool number_run = (is_digit(*s) || *s == '.') && digit_in_run;
        // the sign of the exponent of a decimal number
        if ((c == 'e' || c == 'E' || c == 'd' || c == 'D') && (is_digit(p[-2]) || p[-2] == '.') && number_run)
            return false;
        // the sign of the exponent of a hexadecimal float such as 1.8x+3
        if ((c == 'x' || c == 'X') && is_xdigit(p[-2]) && p + 1 < b && is_digit(p[1]) && number_run &&
            point_in_run)
            return false;
    }
    return true;
}

// The binary operators in the order of their search: the first that occurs is the split point.
enum Kind { K_OR, K_AND, K_EQ, K_GE, K_LE, K_LT, K_GT, K_NE, K_NE2, K_ADD, K_SUB, K_MUL, K_DIV, K_NKIND };
struct BinOp {
    const char *text;
    int len;
    int16_t num, str; // the operation on numbers, and on strings (0: none)
};
constexpr BinOp binops[K_NKIND] = {
    {"|", 1, OP_OR, 0},       {"&", 1, OP_AND, 0},       {"==", 2, OP_EQ, OP_SEQ}, {">=", 2, OP_GE, OP_SGE},
    {"<=", 2, OP_LE, OP_SLE}, {"<", 1, OP_LT, OP_SLT},   {">", 1, OP_GT, OP_SGT},  {"!=", 2, OP_NE, OP_SNE},
    {"~=", 2, OP_NE, OP_SNE}, {"+", 1, OP_ADD, OP_SADD}, {"-", 1, OP_SUB, 0},      {"*", 1, OP_MUL, 0},
    {"/", 1, OP_DIV, 0},
};

// The rightmost place of each operator outside brackets and quotes.
struct Found {
    const char *at[K_NKIND] = {};
    const char *pow = nullptr, *kron = nullptr, *joinr = nullptr, *joinc = nullptr;
};

void scan(const char *a, const char *b, Found &f) {
    int depth = 0;
    for (const char *p = a; p < b; ++p) {
        const char *q = skip_quote(p, b);
        if (q != p) {
            p = q;
            continue;
        }
        const char c = *p;
        if (c == '(' || c == '[') {
            ++depth;
            continue;
        }
        if (c == ')' || c == ']') {
            --depth;
            continue;
        }
        if (depth) continue;
        const bool eq_next = p + 1 < b && p[1] == '=';
        switch (c) {
        case '|':
            f.at[K_OR] = p;
            break;
        case '&':
            f.at[K_AND] = p;
            break;
        case '=':
            if (eq_next) f.at[K_EQ] = p++;
            break;
        case '>':
            if (eq_next)
                f.at[K_GE] = p++;
            else
                f.at[K_GT] = p;
            break;
        case '<':
            if (eq_next)
                f.at[K_LE] = p++;
            else
                f.at[K_LT] = p;
            break;
        case '!':
            if (eq_next) f.at[K_NE] = p++;
            break;
        case '~':
            if (eq_next) f.at[K_NE2] = p++;
            break;
        case '+':
            if (p > a && binary_sign(a, p, b)) f.at[K_ADD] = p;
            break;
        case '-':
            if (p > a && binary_sign(a, p, b)) f.at[K_SUB] = p;
            break;
        case '*':
            f.at[K_MUL] = p;
            break;
        case '/':
            f.at[K_DIV] = p;
            break;
        case '^':
            f.pow = p;
            break;
        case '#':
            f.kron = p;
            break;
        case '\\':
            f.joinr = p;
            break;
        case ',':
            f.joinc = p;
            break;
        default:
            break;
        }
    }
}

void comp(const char *a, const char *b);
void comp_name(const char *a, const char *b);

// ---- Matrices -------------------------------------------------------------------------------------

void need_matmode() {
    if (!cs.matmode) fail_code(509);
    cs.rec->matflag = 1;
}

// The number on top (or below it, with below set) becomes a 1 by 1 matrix.
void num_to_mat_top() {
    if (top() == TY_NUM) {
        emit(OP_MFROMN);
        pop();
        push(TY_MAT);
    }
}

void matrix_binop(Kind k) {
    need_matmode();
    const int tl = top(1), tr = top(0);
    if (tl == TY_STR || tr == TY_STR) fail_code(109);
    const bool both = tl == TY_MAT && tr == TY_MAT;
    switch (k) {
    case K_ADD:
    case K_SUB:
        if (!both) emit(OP_MEXPAND);
        emit(k == K_ADD ? OP_MADD : OP_MSUB);
        // the expanded number stands above the matrix: number - matrix is -(matrix - number)
        if (!both && tl == TY_NUM && k == K_SUB) emit(OP_MNEG);
        break;
    case K_MUL:
        emit(both ? OP_MMUL : OP_MSCALE);
        break;
    case K_DIV:
        if (tr != TY_NUM) fail_code(509);
        emit(OP_MDIVN);
        break;
    default:
        fail_code(509);
    }
    pop(2);
    push(TY_MAT);
}

// ---- Binary operators -----------------------------------------------------------------------------

void binop(Kind k, const char *a, const char *p, const char *b) {
    comp(a, p);
    comp(p + binops[k].len, b);
    const int tl = top(1), tr = top(0);
    if (tl == TY_NUM && tr == TY_NUM) {
        pop(2);
        emit(binops[k].num);
        push(TY_NUM);
        return;
    }
    if (tl == TY_STR && tr == TY_STR) {
        if (!binops[k].str) fail_code(109);
        pop(2);
        emit(binops[k].str);
        push(k == K_ADD ? TY_STR : TY_NUM);
        return;
    }
    if (tl == TY_MAT || tr == TY_MAT) {
        matrix_binop(k);
        return;
    }
    fail_code(109);
}

// The matrix joins and the Kronecker product: numbers on either side become 1 by 1 matrices. The
// sides of a join may hold further joins.
void matrix_pair(const char *a, const char *p, const char *b, int word) {
    need_matmode();
    const bool join = word != OP_MKRON;
    cs.join_next = join;
    comp(a, p);
    num_to_mat_top();
    cs.join_next = join;
    comp(p + 1, b);
    num_to_mat_top();
    if (top(1) != TY_MAT || top(0) != TY_MAT) fail_code(109);
    emit(word);
    pop(2);
    push(TY_MAT);
}

void unary(const char *a, const char *b) {
    const char c = *a;
    comp(a + 1, b);
    const int t = top();
    if (t == TY_STR) fail_code(109);
    if (t == TY_MAT) {
        if (c != '-') fail_code(509);
        need_matmode();
        emit(OP_MNEG);
        return;
    }
    emit(c == '-' ? OP_NEG : OP_NOT);
}

void power(const char *a, const char *p, const char *b) {
    comp(a, p);
    comp(p + 1, b);
    if (top(1) == TY_MAT || top(0) == TY_MAT) fail_code(cs.matmode ? 109 : 509);
    if (top(1) != TY_NUM || top(0) != TY_NUM) fail_code(109);
    pop(2);
    emit(OP_POW);
    push(TY_NUM);
}

// ---- The recursive compile of a span ---------------------------------------------------------------

constexpr ptrdiff_t MAXSTACK = 4 << 20; // bytes of stack the recursion may take (of the 8 MB main stack)

struct DepthGuard {
    DepthGuard() {
        const char *here = static_cast<const char *>(__builtin_frame_address(0));
        if (++cs.depth > MAXDEPTH || cs.stack_base - here > MAXSTACK) too_long();
    }
    ~DepthGuard() { --cs.depth; }
};

// span := '(' span ')' | span binop span | unary span | span '^' span | literal | name-form
void comp(const char *a, const char *b) {
    DepthGuard guard;
    bool join = cs.join_next;
    cs.join_next = false;
    for (;;) {
        if (a >= b) syntax();
        if ((*a == '(' || *a == '[') && close_of(a, b) == b - 1) {
            if (*a == '(' && cs.matmode) join = true;
            ++a;
            --b;
            continue;
        }
        break;
    }
    Found f;
    scan(a, b, f);
    if (join) {
        if (f.joinr) return matrix_pair(a, f.joinr, b, OP_MJOINR);
        if (f.joinc) return matrix_pair(a, f.joinc, b, OP_MJOINC);
    }
    for (int k = 0; k < K_NKIND; ++k)
        if (f.at[k]) return binop((Kind)k, a, f.at[k], b);
    if (cs.matmode && f.kron) return matrix_pair(a, f.kron, b, OP_MKRON);
    const bool modern = session::lp.version >= 500;
    if (modern && (*a == '!' || *a == '~' || *a == '-')) return unary(a, b);
    if (f.pow) return power(a, f.pow, b);
    if (!modern && (*a == '!' || *a == '~' || *a == '-')) return unary(a, b);
    if (cs.matmode && b[-1] == '\'' && !(b - 1 > a && b[-2] == '"')) {
        comp(a, b - 1);
        num_to_mat_top();
        if (top() != TY_MAT) fail_code(109);
        cs.rec->matflag = 1;
        emit(OP_MTRANS);
        return;
    }
    // a string literal
    if (*a == '"') {
        if (skip_quote(a, b) != b - 1 || b - a < 2) syntax();
        emit_slit(std::string_view(a + 1, (size_t)(b - a - 2)));
        return;
    }
    if (*a == '`' && b - a >= 2 && a[1] == '"') {
        if (skip_quote(a, b) != b - 1 || b - a < 4) syntax();
        emit_slit(std::string_view(a + 2, (size_t)(b - a - 4)));
        return;
    }
    // a number
    if (b - a < 25) {
        double v;
        if (text_to_number(std::string_view(a, (size_t)(b - a)), v, true)) {
            emit_lit(v);
            return;
        }
    }
    comp_name(a, b);
}

// ---- Names ------------------------------------------------------------------------------------------

// Exact match, else a unique abbreviation when abbreviations are on: the variable number, 0 when
// none, -1 when the abbreviation is ambiguous. Variables beyond the visible count are not seen.
int find_variable(const std::string &name) {
    if (!ds.varname) return 0;
    const int nv = ds.nvar_visible;
    for (int v = 1; v <= nv; ++v)
        if (name == ds.varname[v - 1]) return v;
    if (!varabbrev) return 0;
    int hit = 0, nhits = 0;
    for (int v = 1; v <= nv; ++v)
        if (std::strncmp(ds.varname[v - 1], name.c_str(), name.size()) == 0) {
            hit = v;
            ++nhits;
        }
    return nhits == 1 ? hit : nhits > 1 ? -1 : 0;
}

void coef_ref(int which, const std::string &eq, const std::string &name) {
    if (cs.zerob) return emit_lit(0);
    if (!expr_hook_coef) fail(session::not_built(which ? "_se[]" : "_b[]"));
    double v;
    int rc = expr_hook_coef(which, eq.c_str(), name.c_str(), &v);
    if (rc) fail(rc);
    emit_lit(v);
}

// The inside of _b[...]: name, eq:name, or [eq]name.
void coef_inside(int which, const char *a, const char *b) {
    std::string s(a, (size_t)(b - a));
    if (s.empty()) syntax();
    if (s[0] == '[') {
        size_t c = s.find(']');
        if (c == std::string::npos || c + 1 >= s.size()) syntax();
        return coef_ref(which, s.substr(1, c - 1), s.substr(c + 1));
    }
    size_t colon = s.find(':');
    if (colon == std::string::npos) return coef_ref(which, "", s);
    return coef_ref(which, s.substr(0, colon), s.substr(colon + 1));
}

void comp_call(const std::string &name, const char *a, const char *b);

bool is_matrix(const std::string &name) { return expr_hook_matrix && expr_hook_matrix(name.c_str()); }

// True when a subscript span is a range (`a..b`, `a...`) or a row or column name in quotes.
bool names_or_range(const char *a, const char *b) {
    while (a < b && *a == ' ')
        ++a;
    if (a < b && (*a == '"' || *a == '`')) return true;
    int depth = 0;
    for (const char *p = a; p < b; ++p) {
        p = skip_quote(p, b);
        if (*p == '(' || *p == '[')
            ++depth;
        else if (*p == ')' || *p == ']')
            --depth;
        else if (depth == 0 && p + 1 < b && p[0] == '.' && p[1] == '.')
            return true;
    }
    return false;
}

// name[i,j] is an element; name[range or names, ...] is a submatrix, read by the matrix store from
// the text when the expression runs.
void matrix_subscript(const std::string &name, const char *q, const char *b) {
    if (close_of(q, b) != b - 1) syntax();
    const char *comma = nullptr;
    int depth = 0;
    for (const char *p = q + 1; p < b - 1; ++p) {
        p = skip_quote(p, b - 1);
        if (*p == '(' || *p == '[')
            ++depth;
        else if (*p == ')' || *p == ']')
            --depth;
        else if (*p == ',' && depth == 0 && !comma)
            comma = p;
    }
    if (!comma) syntax();
    cs.rec->matflag = 1;
    impure();
    if (names_or_range(q + 1, comma) || names_or_range(comma + 1, b - 1)) {
        need_matmode();
        emit(OP_MSUBX);
        emit(str_offset(std::string(name) + std::string(q, (size_t)(b - q))));
        push(TY_MAT);
        return;
    }
    comp(comma + 1, b - 1);
    if (top() != TY_NUM) fail_code(109);
    comp(q + 1, comma);
    if (top() != TY_NUM) fail_code(109);
    pop(2);
    emit(OP_MEL);
    emit(str_offset(name));
    push(TY_NUM);
}

// operated := ops '.' varname    (L.x, L2D.x, S4.x; one operator, no list)
// The lag looks at other observations through the time-series index, built here once for the command.
void comp_operated(const std::string &name, bool bracket) {
    if (bracket) syntax();
    const size_t dot = name.rfind('.');
    TsOp op;
    if (int rc = tsop_parse(std::string_view(name).substr(0, dot), name, op)) fail(rc);
    const std::string base = name.substr(dot + 1);
    if (!session::name_ok(base)) fail(session::invalid_name(name));
    const int v = find_variable(base);
    if (v < 0) fail(session::ambiguous(base));
    if (v == 0) fail(session::not_found(base));
    if (is_string_type(ds.vartype[v - 1]))
        fail_text(109, std::string(ds.varname[v - 1]) +
                           ":  may not use time-series operators on string variables\n");
    int rc = 0;
    const TsOp *p = tsop_intern(op, &rc);
    if (rc) fail(rc);
    if (!p) { // L0.x and L.F.x are x itself
        emit(OP_VAR);
        emit(v);
        push(TY_NUM);
        return;
    }
    const TsIndex *ix = nullptr;
    if ((rc = ts_index_now(&ix))) fail(rc);
    emit(OP_TSVAR);
    emit(v);
    emit((int)(p - ps.ops));
    cs.rec->parallel = 0;
    push(TY_NUM);
}

// name-form := '[' eq ']' name | _b '[' coef ']' | _se '[' coef ']' | name '(' args ')'
//            | variable [ '[' exp ']' ] | scalar | matrix [ '[' exp ',' exp ']' ]
void comp_name(const char *a, const char *b) {
    const char *q = a;
    while (q < b && *q != '(' && *q != '[')
        ++q;
    if (q - a > 273) syntax();
    const std::string name(a, (size_t)(q - a));
    const bool bracket = q < b;
    if (bracket && *q == '(') {
        if (close_of(q, b) != b - 1) syntax();
        return comp_call(name, q + 1, b - 1);
    }
    if (name == "_n" || name == "_N" || name == "_cons" || name == "_rc" || name == "_pi") {
        if (bracket) syntax();
        if (name == "_n")
            emit(OP_OBSN), push(TY_NUM);
        else if (name == "_N")
            emit(OP_OBSNN), push(TY_NUM);
        else if (name == "_rc")
            emit(OP_RC), push(TY_NUM);
        else
            emit_lit(name == "_cons" ? 1.0 : M_PI);
        return;
    }
    if (bracket && name.empty()) { // [eq]name
        const char *c = close_of(q, b);
        if (!c || c + 1 >= b) syntax();
        std::string eq(q + 1, (size_t)(c - q - 1)), coef(c + 1, (size_t)(b - c - 1));
        // [eq]_b[name], [eq]_coef[name] and [eq]_se[name] name the coefficient in brackets
        for (const char *w : {"_b[", "_coef[", "_se["}) {
            const size_t n = std::strlen(w);
            if (coef.size() > n + 1 && coef.compare(0, n, w) == 0 && coef.back() == ']')
                return coef_ref(w[1] == 's' ? 1 : 0, eq, coef.substr(n, coef.size() - n - 1));
        }
        return coef_ref(0, eq, coef);
    }
    if (bracket && (name == "_b" || name == "_coef" || name == "_se")) {
        if (close_of(q, b) != b - 1) syntax();
        return coef_inside(name == "_se" ? 1 : 0, q + 1, b - 1);
    }
    if (name.find('.') != std::string::npos) return comp_operated(name, bracket);
    if (!session::name_ok(name)) fail(session::invalid_name(name));
    if (cs.matmode && !bracket && cs.force != SP_FORCE_SCALAR && cs.force != SP_FORCE_VARIABLE &&
        is_matrix(name)) {
        // in a matrix expression a matrix name is not read as an abbreviated variable
        need_matmode();
        emit(OP_MNAME);
        emit(str_offset(name));
        push(TY_MAT);
        return;
    }
    int v = 0;
    if (cs.force != SP_FORCE_SCALAR && cs.force != SP_FORCE_MATRIX) {
        v = find_variable(name);
        if (v > 0) {
            const bool isstr = is_string_type(ds.vartype[v - 1]);
            if (bracket) {
                if (close_of(q, b) != b - 1) syntax();
                comp(q + 1, b - 1);
                if (top() != TY_NUM) fail_code(109);
                pop();
                emit(isstr ? OP_SVARSUB : OP_VARSUB);
                emit(v);
                cs.rec->parallel = 0;
            } else {
                emit(isstr ? OP_SVAR : OP_VAR);
                emit(v);
            }
            push(isstr ? TY_STR : TY_NUM);
            return;
        }
        if (cs.force == SP_FORCE_VARIABLE) {
            if (v < 0) fail(session::ambiguous(name));
            fail(session::not_found(name));
        }
    }
    if (cs.force != SP_FORCE_MATRIX) {
        double sv;
        char sbuf[EXPR_STRBUF];
        int kind = scalar_get(name.c_str(), &sv, sbuf);
        if (kind) {
            if (bracket) syntax();
            if (kind == 1)
                emit_lit(sv);
            else
                emit_slit(sbuf);
            return;
        }
    }
    if ((cs.matmode || bracket) && cs.force != SP_FORCE_SCALAR && is_matrix(name)) {
        if (bracket) return matrix_subscript(name, q, b);
        need_matmode();
        emit(OP_MNAME);
        emit(str_offset(name));
        push(TY_MAT);
        return;
    }
    if (v < 0) fail(session::ambiguous(name));
    fail(session::not_found(name));
}

// ---- Function calls -----------------------------------------------------------------------------------

struct Span {
    const char *a, *b;
};

// The arguments of a call, split at the commas outside brackets and quotes.
int split_args(const char *a, const char *b, std::vector<Span> &out) {
    if (a == b) return 0;
    int depth = 0;
    const char *start = a;
    for (const char *p = a; p < b; ++p) {
        p = skip_quote(p, b);
        if (*p == '(' || *p == '[')
            ++depth;
        else if (*p == ')' || *p == ']')
            --depth;
        else if (*p == ',' && depth == 0) {
            out.push_back({start, p});
            start = p + 1;
        }
    }
    out.push_back({start, b});
    if (out.size() > (size_t)MAXARGS) too_long();
    return (int)out.size();
}

char type_at(const char *types, int i) {
    size_t n = std::strlen(types);
    return types[(size_t)i < n ? (size_t)i : n - 1];
}

void check_count(const FnRow *r, int na) {
    if (na < r->amin || (r->amax >= 0 && na > r->amax)) syntax();
}

// A row of the table with its arguments compiled from the last to the first, so that the first
// ends on top of its stack.
void comp_row(const FnRow *r, const Span *args, int na) {
    check_count(r, na);
    for (int i = na - 1; i >= 0; --i) {
        comp(args[i].a, args[i].b);
        const char want = type_at(r->types, i);
        const int t = top();
        if ((want == 'n' && t != TY_NUM) || (want == 's' && t != TY_STR)) fail_code(109);
    }
    pop(na);
    emit(fn_word(r));
    if (fn_operands(r)) emit(na);
    push(r->kind == FK_STR ? TY_STR : TY_NUM);
    if (r->flags & FF_IMPURE) impure();
    if (r->flags & FF_SERIAL) cs.rec->parallel = 0;
}

// Compiles all arguments; they must share one type (number or string): returns it.
int comp_same_type(const Span *args, int na) {
    for (int i = na - 1; i >= 0; --i)
        comp(args[i].a, args[i].b);
    const int t = top(na - 1);
    if (t == TY_MAT) fail_code(109);
    for (int i = 0; i < na; ++i)
        if (top(i) != t) fail_code(109);
    return t;
}

std::string arg_text(const Span &s) { return std::string(s.a, (size_t)(s.b - s.a)); }

[[noreturn]] void unknown_function(const std::string &name) {
    fail_text(133, "unknown function " + name + "()\n");
}
[[noreturn]] void replaced(const char *name, const char *by) {
    fail_text(133, std::string(name) + "() has been replaced by " + by + "()\n");
}

const FnRow *row_named(const char *name) { return fn_find(name, cs.matmode, session::lp.version); }

// e(name), r(name), s(name): the stored value, read now.
void stored_result(char kind, const Span *args, int na) {
    if (na != 1) syntax();
    const std::string name = arg_text(args[0]);
    if (kind == 'e' && name == "sample") {
        int v = find_var("(e)");
        if (v > 0) {
            emit(OP_VAR);
            emit(v);
            push(TY_NUM);
            return;
        }
        return emit_lit(0);
    }
    if (!session::name_ok(name)) syntax();
    if (!expr_hook_result) fail(session::not_built(std::string(1, kind) + "()"));
    double v = 0;
    char buf[EXPR_STRBUF] = {};
    switch (expr_hook_result(kind, name.c_str(), &v, buf)) {
    case 1:
        return emit_lit(v);
    case 2:
        return emit_slit(buf);
    case 3:
        if (cs.matmode) {
            // in a matrix expression the stored matrix itself
            need_matmode();
            emit(OP_MNAME);
            emit(str_offset(std::string(1, kind) + "(" + name + ")"));
            push(TY_MAT);
            return;
        }
        return emit_slit("matrix");
    default:
        return kind == 's' ? emit_slit("") : emit_lit(session::lim.dot);
    }
}

// c(name): the settings and the system constants.
void creturn(const Span *args, int na) {
    if (na != 1) syntax();
    const std::string name = arg_text(args[0]);
    double v = 0;
    char buf[EXPR_STRBUF] = {};
    int kind = expr_hook_creturn ? expr_hook_creturn(name.c_str(), &v, buf) : 0;
    if (kind == 1) return emit_lit(v);
    if (kind == 2) return emit_slit(buf);
    struct CRow {
        const char *name;
        double (*get)();
    };
    static const CRow crows[] = {
        {"pi", [] { return M_PI; }},
        {"rc", [] { return (double)session::lp.capture_rc; }},
        {"version", [] { return session::lp.version / 100.0; }},
        {"maxdouble", [] { return session::lim.maxdouble; }},
        {"mindouble", [] { return session::lim.neg_maxdouble; }},
        {"epsdouble", [] { return session::lim.epsdouble; }},
        {"smallestdouble", [] { return session::lim.tiny_normal; }},
        {"maxfloat", [] { return (double)session::lim.maxfloat; }},
        {"minfloat", [] { return (double)session::lim.minfloat; }},
        {"epsfloat", [] { return (double)session::lim.epsfloat; }},
        {"maxlong", [] { return 2147483620.0; }},
        {"minlong", [] { return -2147483647.0; }},
        {"maxint", [] { return 32740.0; }},
        {"minint", [] { return -32767.0; }},
        {"maxbyte", [] { return 100.0; }},
        {"minbyte", [] { return -127.0; }},
        {"maxstrvarlen", [] { return 244.0; }},
        {"namelen", [] { return 32.0; }},
        {"changed", [] { return (double)ds.changed; }},
        {"width", [] { return (double)ds.w_cur; }},
    };
    for (const CRow &r : crows)
        if (name == r.name) return emit_lit(r.get());
    if (name == "seed") return emit_slit(rng_state_text());
    if (!expr_hook_creturn) fail(session::not_built("c(" + name + ")"));
    fail(session::not_found("c(" + name + ")"));
}

// A function of matrices: its arguments by the row's letters, then the call word, with the name
// argument (the first, when the row has one) as pool text.
void matrix_function(const FnRow *r, const Span *args, int na) {
    const MatFnRow &m = matfn_rows[(uint8_t)r->datekind];
    int nn = 0, nsr = 0, nm = 0, name_off = -1;
    for (int i = na - 1; i >= 0; --i) {
        const char t = m.args[i];
        if (t == 'N') {
            std::string nm_text(args[i].a, (size_t)(args[i].b - args[i].a));
            while (!nm_text.empty() && nm_text.back() == ' ')
                nm_text.pop_back();
            while (!nm_text.empty() && nm_text.front() == ' ')
                nm_text.erase(0, 1);
            if (nm_text.empty()) syntax();
            name_off = str_offset(nm_text);
            continue;
        }
        if (t == 'm' && !cs.matmode) {
            std::string nm_text(args[i].a, (size_t)(args[i].b - args[i].a));
            while (!nm_text.empty() && nm_text.back() == ' ')
                nm_text.pop_back();
            while (!nm_text.empty() && nm_text.front() == ' ')
                nm_text.erase(0, 1);
            // a matrix by its name, or a result matrix e(name) or r(name)
            const bool result = nm_text.size() > 3 && nm_text[1] == '(' && nm_text.back() == ')' &&
                                (nm_text[0] == 'e' || nm_text[0] == 'r') &&
                                session::name_ok(nm_text.substr(2, nm_text.size() - 3));
            if (!result && !session::name_ok(nm_text)) syntax();
            emit(OP_MNAME);
            emit(str_offset(nm_text));
            push(TY_MAT);
        } else {
            comp(args[i].a, args[i].b);
            if (t == 'm') num_to_mat_top();
        }
        const int want = t == 'n' ? TY_NUM : t == 's' ? TY_STR : TY_MAT;
        if (top() != want) fail_code(109);
        (t == 'n' ? nn : t == 's' ? nsr : nm)++;
    }
    pop(nn + nsr + nm);
    cs.rec->matflag = 1;
    emit(OP_MCALL);
    emit(r->datekind);
    emit(name_off);
    push(m.result == 'm' ? TY_MAT : TY_NUM);
    impure();
}

void comp_call(const std::string &name, const char *a, const char *b) {
    std::vector<Span> argv;
    const int na = split_args(a, b, argv);
    const Span *args = argv.data();
    const FnRow *r = name.empty() ? nullptr : row_named(name.c_str());
    if (!r) {
        if (name.empty()) syntax();
        unknown_function(name);
    }
    switch (r->kind) {
    case FK_NUM:
    case FK_STR:
        return comp_row(r, args, na);
    case FK_CONST:
        check_count(r, na);
        return emit_lit(r->cval());
    case FK_NA:
        fail(session::not_built(name + "()"));
    case FK_SPECIAL:
        break;
    }
    check_count(r, na);
    switch (r->special) {
    case SP_COND: {
        for (int i = na - 1; i >= 0; --i)
            comp(args[i].a, args[i].b);
        if (top(0) != TY_NUM) fail_code(109);
        const int t = top(1);
        if (t == TY_MAT) fail_code(109);
        for (int i = 2; i < na; ++i)
            if (top(i) != t) fail_code(109);
        pop(na);
        emit(t == TY_STR ? OP_SCOND : OP_COND);
        emit(na);
        push(t);
        return;
    }
    case SP_SUM: {
        comp(args[0].a, args[0].b);
        if (top() != TY_NUM) fail_code(109);
        ExprRecord &rec = *cs.rec;
        if (rec.lastsum + 1 >= EXPR_NSUM) fail_text(130, "Too many SUMs\n");
        ++rec.lastsum;
        emit(OP_SUM);
        emit(rec.lastsum);
        rec.parallel = 0;
        return;
    }
    case SP_FORCE_SCALAR:
    case SP_FORCE_MATRIX:
    case SP_FORCE_VARIABLE: {
        const int saved = cs.force;
        cs.force = r->special;
        comp(args[0].a, args[0].b);
        cs.force = saved;
        return;
    }
    case SP_RES_E:
        return stored_result('e', args, na);
    case SP_RES_R:
        return stored_result('r', args, na);
    case SP_RES_S:
        return stored_result('s', args, na);
    case SP_RES_C:
        return creturn(args, na);
    case SP_CALLER:
        return emit_lit(session::lp.version / 100.0);
    case SP_HASEPROP: {
        const std::string want = arg_text(args[0]);
        if (!expr_hook_result) fail(session::not_built("has_eprop()"));
        double v;
        char buf[EXPR_STRBUF] = {};
        bool has = false;
        if (expr_hook_result('e', "properties", &v, buf) == 2)
            for (const char *p = buf; *p;) {
                while (*p == ' ')
                    ++p;
                const char *s = p;
                while (*p && *p != ' ')
                    ++p;
                if (p > s && want == std::string(s, (size_t)(p - s))) has = true;
            }
        return emit_lit(has ? 1 : 0);
    }
    case SP_MISSING: {
        if (cs.inmissing) fail_text(198, "missing() may not be nested within missing()\n");
        ++cs.inmissing;
        for (int i = na - 1; i >= 0; --i) {
            comp(args[i].a, args[i].b);
            const int t = top();
            if (t == TY_MAT) fail_code(109);
            emit(t == TY_STR ? OP_SISMISS : OP_ISMISS);
            pop();
            push(TY_NUM);
        }
        --cs.inmissing;
        if (na > 1) {
            emit(OP_ANY);
            emit(na);
            pop(na);
            push(TY_NUM);
        }
        return;
    }
    case SP_INRANGE:
    case SP_INLIST: {
        const int t = comp_same_type(args, na);
        const FnRow *v = fn_find_variant(r->name, t == TY_STR ? 's' : 'n');
        pop(na);
        emit(fn_word(v));
        if (fn_operands(v)) emit(na);
        push(TY_NUM);
        return;
    }
    case SP_REPLAY: {
        const char *zero = session::macro_get("_0");
        while (zero && *zero == ' ')
            ++zero;
        return emit_lit((!zero || !*zero || *zero == ',') ? 1 : 0);
    }
    case SP_OLDDATELIT:
        if (session::lp.version >= 1100) unknown_function(name);
        [[fallthrough]];
    case SP_DATELIT:
        return emit_lit(date_literal(r->datekind, arg_text(args[0])));
    case SP_INVNORM:
        return comp_row(row_named("invnormal"), args, na);
    case SP_NORM:
        if (session::lp.version >= 700) replaced("norm", "normal");
        return comp_row(row_named("normal"), args, na);
    case SP_LNFACT:
        if (session::lp.version >= 700) unknown_function(name);
        return comp_row(row_named("lnfactorial"), args, na);
    case SP_BINOMIAL:
        replaced("Binomial", "binomialtail");
    case SP_MATFN:
        return matrix_function(r, args, na);
    case SP_NONE:
        break;
    }
    syntax();
}

// ---- Entries --------------------------------------------------------------------------------------------

char *scratch_buffer() {
    if (!scratch) scratch.reset(new (std::nothrow) char[session::maxmaclen + 1]);
    return scratch.get();
}

void reset_record(ExprRecord &rec) {
    for (double &s : rec.sums)
        s = 0;
    rec.last = -1;
    rec.lastsum = -1;
    rec.in_first = rec.grp_first = 1;
    rec.in_last = rec.grp_last = ds.nobs;
    rec.text_begin = rec.text_end = nullptr;
    rec.restype = XT_NUM;
    rec.matflag = 0;
    rec.parallel = 1;
    rec.pure = 1;
    rec.expressionSafe = 1;
}

} // namespace

void expr_pool_reset() {
    pools.nlit = 0;
    pools.nstr = 0;
    pools.serial = session::lp.cmdserial;
}

int expr_compile(const char *text, ExprRecord &rec, int wanted, const char **end, unsigned flags) {
    reset_record(rec);
    pools_for_command();
    char *buf = scratch_buffer();
    if (!buf) return session::error(9710);
    const bool matmode = wanted == XW_MAT || wanted == XW_NUMMAT;
    size_t len = 0;
    const char *begin = nullptr, *stop = nullptr;
    if (int rc = take_text(text ? text : "", matmode, buf, &len, &begin, &stop)) return rc;
    rec.text_begin = begin;
    rec.text_end = stop;
    if (end) *end = stop;
    if (flags & XC_PRESCAN) return 0;
    cs = Comp{};
    cs.rec = &rec;
    cs.matmode = matmode;
    cs.zerob = (flags & XC_ZEROB) != 0;
    cs.stack_base = static_cast<const char *>(__builtin_frame_address(0));
    try {
        comp(buf, buf + len);
        int t = top();
        if (t == TY_NUM && wanted == XW_MAT) {
            emit(OP_MFROMN);
            t = TY_MAT;
        }
        const bool ok = (t == TY_NUM && (wanted == XW_NUM || wanted == XW_ANY || wanted == XW_NUMMAT)) ||
                        (t == TY_STR && (wanted == XW_STR || wanted == XW_ANY)) ||
                        (t == TY_MAT && (wanted == XW_MAT || wanted == XW_NUMMAT));
        if (!ok) fail_code(109);
        rec.restype = t == TY_STR ? XT_STR : t == TY_MAT ? XT_MAT : XT_NUM;
        if (t == TY_MAT) rec.matflag = 1;
    } catch (const Fail &f) {
        rec.last = -1;
        cs.rec = nullptr;
        return f.rc;
    } catch (const std::bad_alloc &) {
        rec.last = -1;
        cs.rec = nullptr;
        return session::error(909);
    }
    cs.rec = nullptr;
    rec.expressionSafe = rec.parallel && rec.pure;
    return 0;
}

int expr_compile_tok(ExprRecord &rec, int wanted, unsigned flags) {
    const char *end = nullptr;
    int rc = expr_compile(session::tokrest(), rec, wanted, &end, flags);
    if (rc == 0 || end) session::settok(end ? end : "");
    return rc;
}

void expr_set_ranges(ExprRecord &rec, int32_t in_first, int32_t in_last, int32_t grp_first,
                     int32_t grp_last) {
    rec.in_first = in_first;
    rec.in_last = in_last;
    rec.grp_first = grp_first;
    rec.grp_last = grp_last;
}

// ---- The machine ----------------------------------------------------------------------------------------

namespace {

// Counts of the numeric and string arguments of a row called with na arguments.
void arg_counts(const FnRow *r, int na, int &nn, int &nsr) {
    nn = nsr = 0;
    for (int k = 0; k < na; ++k)
        (type_at(r->types, k) == 's' ? nsr : nn)++;
}

} // namespace

namespace xp {

bool op_effect(const int16_t *code, int pc, int last, OpEffect &e) {
    const int word = code[pc];
    if (word == OP_MCALL) {
        if (pc + 2 > last || code[pc + 1] < 0 || code[pc + 1] >= MFN_COUNT) return false;
        const MatFnRow &m = matfn_rows[code[pc + 1]];
        int nn = 0, nsr = 0, nm = 0;
        for (const char *t = m.args; *t; ++t)
            (*t == 'n' ? nn : *t == 's' ? nsr : *t == 'm' ? nm : nn) += *t == 'N' ? 0 : 1;
        e = {m.name, 2, nn, m.result == 'n' ? 1 : 0, nsr, 0, nm, m.result == 'm' ? 1 : 0, RUN_ONE};
        return true;
    }
    if (const OpRow *r = op_row(word)) {
        if (pc + r->nopd > last) return false;
        const int na = r->nopd ? code[pc + 1] : 0;
        auto count = [na](int c) { return c == ARGS ? na : c == ARGS_1 ? na - 1 : c; };
        e = {r->name,  r->nopd,        count(r->npop), r->npush, count(r->spop),
             r->spush, count(r->mpop), r->mpush,       r->run};
        return true;
    }
    const FnRow *f = fn_of_word(word);
    if (!f) return false;
    const int nopd = fn_operands(f);
    if (pc + nopd > last) return false;
    const int na = nopd ? code[pc + 1] : f->amin;
    int nn, nsr;
    arg_counts(f, na, nn, nsr);
    const bool str = f->kind == FK_STR;
    // a number from numbers is a call per observation of the block as well
    e = {f->name, nopd, nn, str ? 0 : 1, nsr, str ? 1 : 0, 0, 0, !str && nsr == 0 ? RUN_BLOCK : RUN_ONE};
    return true;
}

bool stack_use(const ExprRecord &rec, StackUse &u) {
    u = StackUse{};
    int n = 0, s = 0, m = 0;
    for (int pc = 0; pc <= rec.last; ++pc) {
        OpEffect e;
        if (!op_effect(rec.code, pc, rec.last, e)) return false;
        if (e.npop < 0 || e.spop < 0 || e.mpop < 0 || e.npop > n || e.spop > s || e.mpop > m) return false;
        n += e.npush - e.npop;
        s += e.spush - e.spop;
        m += e.mpush - e.mpop;
        u.nmax = std::max(u.nmax, n);
        u.smax = std::max(u.smax, s);
        u.mmax = std::max(u.mmax, m);
        if (e.run == RUN_ONE) u.block = false;
        pc += e.nopd;
    }
    u.nend = n;
    u.send = s;
    u.mend = m;
    return true;
}

} // namespace xp

namespace {

// ---- The rules of the operations ----
//
// Each operation's rule is written once, for one value at a time: the machine for one observation
// applies it to the top of its stack, the block machine to each observation of a block, so the two
// give the same bits.

// What the rules read from the session: `.`, and whether missing values keep their letters in
// comparisons.
struct Rules {
    double dot;
    bool modern;
};

// What the comparisons see: NaN and infinities as `.`, and every missing value as `.` when the
// modern treatment of missing values is off.
inline double cmp_operand(double x, Rules r) {
    const bool dot = (!std::isfinite(x)) | ((!r.modern) & !(x < r.dot));
    return dot ? r.dot : x;
}

// Both operands are numbers, not missing values.
inline bool present(double x, double y, Rules r) { return (x < r.dot) & (y < r.dot); }

// The operations of kind K2: x is the left operand, pushed first.
template <int Op> inline double kernel2(double x, double y, Rules r) {
    // the tests are joined by | and &, not || and &&: no branch, so a loop of the rule vectorizes
    if constexpr (Op == OP_OR)
        return ((x != 0) | (y != 0)) ? 1 : 0;
    else if constexpr (Op == OP_AND)
        return ((x != 0) & (y != 0)) ? 1 : 0;
    else if constexpr (Op == OP_EQ)
        return cmp_operand(x, r) == cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_NE)
        return cmp_operand(x, r) != cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_GE)
        return cmp_operand(x, r) >= cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_LE)
        return cmp_operand(x, r) <= cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_LT)
        return cmp_operand(x, r) < cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_GT)
        return cmp_operand(x, r) > cmp_operand(y, r) ? 1 : 0;
    else if constexpr (Op == OP_ADD)
        return present(x, y, r) ? x + y : r.dot;
    else if constexpr (Op == OP_SUB)
        return present(x, y, r) ? x - y : r.dot;
    else if constexpr (Op == OP_MUL)
        return present(x, y, r) ? x * y : r.dot;
    // an invalid power is left to the end of the run
    else if constexpr (Op == OP_POW)
        return (x < r.dot && y < r.dot) ? std::pow(x, y) : r.dot;
    else if constexpr (Op == OP_DIV)
        return (present(x, y, r) & (y != 0)) ? x / y : r.dot;
    else
        static_assert(Op < 0, "an operation of kind K2 has no rule");
}

// The operations of kind K1.
template <int Op> inline double kernel1(double x, Rules r) {
    if constexpr (Op == OP_NEG)
        return x < r.dot ? -x : r.dot;
    else if constexpr (Op == OP_NOT)
        return x == 0 ? 1 : 0;
    else if constexpr (Op == OP_ISMISS)
        return x < r.dot ? 0 : 1;
    else
        static_assert(Op < 0, "an operation of kind K1 has no rule");
}

// The cells of observation i, or null outside the data.
inline const char *obs_row(int32_t i) {
    return (i >= 1 && i <= ds.nobs) ? ds.database + (int64_t)ds.index[i - 1] * ds.width : nullptr;
}

// VAR: the cell at offset off of a row, `.` outside the data.
inline double cell_or_dot(const char *row, int32_t off, int type, double dot) {
    return row ? cell_get(row + off, type) : dot;
}

// VARSUB and SVARSUB: the observation that subscript e names within the group, 0 when it names none.
inline int32_t subscript_obs(double e, const ExprRecord &rec, double dot) {
    if (!(e < dot && e >= -2147483648.0 && e <= 2147483647.0)) return 0;
    const int64_t k = (int64_t)rec.grp_first + (int64_t)std::trunc(e) - 1;
    return (k >= rec.grp_first && k <= rec.grp_last && k >= 1 && k <= ds.nobs) ? (int32_t)k : 0;
}

inline double num_at(int v, int32_t obs, double dot) { return obs ? get_num(v, obs) : dot; }

inline double obs_n(int32_t i, const ExprRecord &rec) { return (double)i - rec.grp_first + 1; }
inline double obs_nn(const ExprRecord &rec) { return (double)rec.grp_last - rec.grp_first + 1; }
inline double last_rc() { return session::lp.capture_rc; }

// ANY: 1 if any of the n values at(0) .. at(n-1) is not 0.
template <class At> inline double any_nonzero(int n, At at) {
    double r = 0;
    for (int j = 0; j < n; ++j)
        if (at(j) != 0) r = 1;
    return r;
}

// COND and SCOND: the branch taken for the test value x, counted from the first: 0 when x is not
// 0, 1 when it is 0, 2 (the fourth argument, when there is one) when it is missing.
inline int cond_branch(double x, int nargs, double dot) {
    if (nargs == 4 && !(x < dot)) return 2;
    return x != 0 ? 0 : 1;
}

// The value a numeric record gives: a NaN, an infinity or a value beyond `.z` becomes `.`.
inline double finish(double v, double dot, double dotz) { return (!std::isfinite(v) | (v > dotz)) ? dot : v; }

void scopy(char *dst, const char *src) {
    size_t n = strnlen(src, EXPR_STRLEN);
    std::memmove(dst, src, n);
    dst[n] = 0;
}

// A case of each machine for every operation of kind K2 and K1, from the table: EXPR_OPS(X) with X
// giving EXPR_RUN_CASE_##how(K2, K1, name) calls the machine's K2(name) or K1(name) for those rows.
#define EXPR_RUN_CASE_K2(K2, K1, name) K2(name)
#define EXPR_RUN_CASE_K1(K2, K1, name) K1(name)
#define EXPR_RUN_CASE_BLOCK(K2, K1, name)
#define EXPR_RUN_CASE_ONE(K2, K1, name)

// The machine for one observation. left, when given, gets the count of numbers and of strings left on
// the stacks. Both machines start on a cache line: where their dispatch loops fall otherwise depends
// on the code before them, and the one-observation machine ran 40% slower at the wrong offset.
[[gnu::aligned(64)]] int run(ExprRecord &rec, int32_t i, double *vout, char *sout, int *left = nullptr) {
    double ns[MAXTYPES];
    char ss[MAXSTR][EXPR_STRBUF];
    int sp = -1, tp = -1;
    const Rules rules{session::lim.dot, session::lp.modernmissing != 0};
    const double dot = rules.dot;
    const int16_t *code = rec.code;
    const int last = rec.last;
    // the cells of observation i, reached without a call for each variable
    const char *row = obs_row(i);
    const int32_t *offset = ds.offset.get();
    const uint8_t *vartype = ds.vartype.get();
    if (i == rec.in_first)
        for (int k = 0; k <= rec.lastsum; ++k)
            rec.sums[k] = 0;
    for (int pc = 0; pc <= last; ++pc) {
        const int op = code[pc];
        switch (op) {
#define K2(name)                                                                                             \
    case OP_##name: {                                                                                        \
        const double y = ns[sp--];                                                                           \
        ns[sp] = kernel2<OP_##name>(ns[sp], y, rules);                                                       \
        break;                                                                                               \
    }
#define K1(name)                                                                                             \
    case OP_##name:                                                                                          \
        ns[sp] = kernel1<OP_##name>(ns[sp], rules);                                                          \
        break;
#define X(name, word, nopd, npop, npush, spop, spush, mpop, mpush, how, what)                                \
    EXPR_RUN_CASE_##how(K2, K1, name)
            EXPR_OPS(X)
#undef X
#undef K1
#undef K2
        case OP_LIT:
            ns[++sp] = pools.lit[code[++pc]];
            break;
        case OP_VAR: {
            const int v = (uint16_t)code[++pc];
            ns[++sp] = cell_or_dot(row, offset[v - 1], vartype[v - 1], dot);
            break;
        }
        case OP_VARSUB:
        case OP_SVARSUB: {
            const int v = (uint16_t)code[++pc];
            const int32_t obs = subscript_obs(ns[sp], rec, dot);
            if (op == OP_VARSUB) {
                ns[sp] = num_at(v, obs, dot);
            } else {
                --sp;
                ++tp;
                if (obs)
                    get_str(v, obs, ss[tp]);
                else
                    ss[tp][0] = 0;
            }
            break;
        }
        case OP_TSVAR: {
            const int v = (uint16_t)code[++pc];
            ns[++sp] = ts_value(v, ps.ops[code[++pc]], i);
            break;
        }
        case OP_SVAR: {
            const int v = (uint16_t)code[++pc];
            ++tp;
            if (row)
                get_str(v, i, ss[tp]);
            else
                ss[tp][0] = 0;
            break;
        }
        case OP_SLIT:
            scopy(ss[++tp], pools.str + code[++pc]);
            break;
        case OP_SADD: {
            char *x = ss[tp - 1];
            const size_t n = std::strlen(x);
            const size_t m = std::min(std::strlen(ss[tp]), (size_t)EXPR_STRLEN - n);
            std::memcpy(x + n, ss[tp], m);
            x[n + m] = 0;
            --tp;
            break;
        }
        case OP_SEQ:
        case OP_SNE:
        case OP_SGE:
        case OP_SLE:
        case OP_SLT:
        case OP_SGT: {
            const int c = std::strcmp(ss[tp - 1], ss[tp]);
            tp -= 2;
            bool r;
            switch (op) {
            case OP_SEQ:
                r = c == 0;
                break;
            case OP_SNE:
                r = c != 0;
                break;
            case OP_SGE:
                r = c >= 0;
                break;
            case OP_SLE:
                r = c <= 0;
                break;
            case OP_SLT:
                r = c < 0;
                break;
            default:
                r = c > 0;
                break;
            }
            ns[++sp] = r ? 1 : 0;
            break;
        }
        case OP_OBSN:
            ns[++sp] = obs_n(i, rec);
            break;
        case OP_OBSNN:
            ns[++sp] = obs_nn(rec);
            break;
        case OP_RC:
            ns[++sp] = last_rc();
            break;
        case OP_SUM: {
            const int slot = code[++pc];
            const double x = ns[sp];
            if (x < dot) rec.sums[slot] += x;
            ns[sp] = rec.sums[slot];
            break;
        }
        case OP_SISMISS:
            ns[++sp] = ss[tp--][0] == 0 ? 1 : 0;
            break;
        case OP_ANY: {
            const int n = code[++pc];
            const double r = any_nonzero(n, [&](int j) { return ns[sp - j]; });
            sp -= n - 1;
            ns[sp] = r;
            break;
        }
        case OP_COND: {
            const int n = code[++pc];
            const double r = ns[sp - 1 - cond_branch(ns[sp], n, dot)];
            sp -= n - 1;
            ns[sp] = r;
            break;
        }
        case OP_SCOND: {
            const int n = code[++pc];
            const int k = cond_branch(ns[sp--], n, dot);
            const int dest = tp - (n - 2);
            if (tp - k != dest) scopy(ss[dest], ss[tp - k]);
            tp = dest;
            break;
        }
        case OP_MNAME:
        case OP_MFROMN:
        case OP_MJOINR:
        case OP_MJOINC:
        case OP_MKRON:
        case OP_MTRANS:
        case OP_MADD:
        case OP_MSUB:
        case OP_MMUL:
        case OP_MNEG:
        case OP_MSCALE:
        case OP_MDIVN:
        case OP_MEXPAND:
        case OP_MEL:
        case OP_MCALL:
        case OP_MSUBX: {
            // the matrix operations: their values belong to the matrix store
            if (!expr_hook_mat) return session::not_built("matrix expressions");
            OpEffect e;
            if (!op_effect(code, pc, last, e)) return session::error(198);
            const int opd = e.nopd ? code[pc + 1] : 0;
            const char *text = nullptr;
            if (op == OP_MNAME || op == OP_MEL || op == OP_MSUBX) text = pools.str + opd;
            if (op == OP_MCALL && code[pc + 2] >= 0) text = pools.str + code[pc + 2];
            double v = dot;
            if (int rc = expr_hook_mat(op, opd, text, sp >= 0 ? &ns[sp] : ns, tp >= 0 ? &ss[tp] : ss, &v))
                return rc;
            sp -= e.npop;
            tp -= e.spop;
            if (e.npush) ns[++sp] = v;
            pc += e.nopd;
            break;
        }
        default: {
            const FnRow *r = fn_of_word(op);
            if (!r) return session::error(198);
            const int na = fn_operands(r) ? code[++pc] : r->amin;
            int nn, nsr;
            arg_counts(r, na, nn, nsr);
            const Fa fa{sp >= 0 ? &ns[sp] : ns, tp >= 0 ? &ss[tp] : ss, na, i, &rec};
            if (r->kind == FK_NUM) {
                const double v = r->num(fa);
                sp -= nn;
                tp -= nsr;
                ns[++sp] = v;
            } else {
                char tmp[EXPR_STRBUF];
                if (int rc = r->str(fa, tmp)) return rc;
                sp -= nn;
                tp -= nsr;
                scopy(ss[++tp], tmp);
            }
            break;
        }
        }
    }
    if (left) {
        left[0] = sp + 1;
        left[1] = tp + 1;
    }
    if (rec.restype == XT_STR) {
        if (sout) scopy(sout, tp >= 0 ? ss[tp] : "");
        if (vout) *vout = dot;
    } else {
        if (vout) *vout = finish(sp >= 0 ? ns[sp] : dot, dot, session::lim.dot_z);
        if (sout) sout[0] = 0;
    }
    return 0;
}

// ---- Blocks of observations ----------------------------------------------------------------------------
//
// A numeric record whose every word has a block form (the table says which) can also be run for a
// block of observations at once: each operation then works through the whole block, so the cost of
// the dispatch is shared by the block. The rules are the ones above, value by value.

// A block is short: the first variable read brings its rows in from memory, and a short block keeps
// those reads from waiting in one long burst while the rest of the machine runs in the cache.
constexpr int BLK = 64;       // observations in one pass
constexpr int BLK_DEPTH = 24; // number stack of the block form

bool blockable(const ExprRecord &rec) {
    if (rec.restype != XT_NUM) return false;
    StackUse u;
    return stack_use(rec, u) && u.block && u.nmax <= BLK_DEPTH;
}

// The loops of the block machine are built twice, and the one for the processor is chosen when the
// program loads: with 256-bit vector instructions (four observations an instruction) where the
// processor has them, else for any x86-64.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define EXPR_VECTOR_CLONES gnu::target_clones("avx2", "default")
#else
#define EXPR_VECTOR_CLONES
#endif

// An operation of two numbers whose right operand is a literal, as the words LIT k OP run: the
// literal goes to the rule as it stands, with no block of copies of it. False for a word that is no
// such operation.
template <int Op> [[EXPR_VECTOR_CLONES]] void k2_literal(double *xv, double y, int n, Rules rules) {
#pragma omp simd
    for (int k = 0; k < n; ++k)
        xv[k] = kernel2<Op>(xv[k], y, rules);
}

bool run_k2_literal(int op, double *xv, double y, int n, Rules rules) {
    switch (op) {
#define K2(name)                                                                                             \
    case OP_##name:                                                                                          \
        k2_literal<OP_##name>(xv, y, n, rules);                                                              \
        return true;
#define K1(name)
#define X(name, word, nopd, npop, npush, spop, spush, mpop, mpush, how, what)                                \
    EXPR_RUN_CASE_##how(K2, K1, name)
        EXPR_OPS(X)
#undef X
#undef K1
#undef K2
    default:
        return false;
    }
}

// Runs rec for observations first .. first+n-1 (n at most BLK) into out. Returns the count of
// numbers left on the stack.
[[gnu::aligned(64), EXPR_VECTOR_CLONES]] int run_block(const ExprRecord &rec, int32_t first, int n,
                                                       double *out) {
    alignas(64) double st[BLK_DEPTH][BLK];
    const char *rows[BLK];
    const Rules rules{session::lim.dot, session::lp.modernmissing != 0};
    const double dot = rules.dot;
    // every observation of the block is in the data: its row is reached without a test
    const bool inside = first >= 1 && (int64_t)first + n - 1 <= ds.nobs;
    if (inside) {
        const char *const db = ds.database;
        const int32_t *const ix = ds.index + (first - 1);
        const int64_t w = ds.width;
        for (int k = 0; k < n; ++k)
            rows[k] = db + (int64_t)ix[k] * w;
    } else {
        for (int k = 0; k < n; ++k)
            rows[k] = obs_row(first + k);
    }
    const int32_t *offset = ds.offset.get();
    const uint8_t *vartype = ds.vartype.get();
    int sp = -1;
    for (int pc = 0; pc <= rec.last; ++pc) {
        const int op = rec.code[pc];
        switch (op) {
#define K2(name)                                                                                             \
    case OP_##name: {                                                                                        \
        const double *yv = st[sp--];                                                                         \
        double *xv = st[sp];                                                                                 \
        _Pragma("omp simd") for (int k = 0; k < n; ++k) xv[k] = kernel2<OP_##name>(xv[k], yv[k], rules);     \
        break;                                                                                               \
    }
#define K1(name)                                                                                             \
    case OP_##name: {                                                                                        \
        double *d = st[sp];                                                                                  \
        _Pragma("omp simd") for (int k = 0; k < n; ++k) d[k] = kernel1<OP_##name>(d[k], rules);              \
        break;                                                                                               \
    }
#define X(name, word, nopd, npop, npush, spop, spush, mpop, mpush, how, what)                                \
    EXPR_RUN_CASE_##how(K2, K1, name)
            EXPR_OPS(X)
#undef X
#undef K1
#undef K2
        case OP_LIT: {
            const double v = pools.lit[rec.code[++pc]];
            if (sp >= 0 && pc < rec.last && run_k2_literal(rec.code[pc + 1], st[sp], v, n, rules)) {
                ++pc;
                break;
            }
            double *d = st[++sp];
            for (int k = 0; k < n; ++k)
                d[k] = v;
            break;
        }
        case OP_VAR: {
            const int v = (uint16_t)rec.code[++pc];
            const int32_t off = offset[v - 1];
            const int t = vartype[v - 1];
            double *d = st[++sp];
            // with the type fixed for the loop, the cells of a double are read straight
            if (t == T_DOUBLE && inside)
                for (int k = 0; k < n; ++k)
                    std::memcpy(&d[k], rows[k] + off, 8);
            else if (t == T_DOUBLE)
                for (int k = 0; k < n; ++k)
                    d[k] = cell_or_dot(rows[k], off, T_DOUBLE, dot);
            else
                for (int k = 0; k < n; ++k)
                    d[k] = cell_or_dot(rows[k], off, t, dot);
            break;
        }
        case OP_OBSN: {
            double *d = st[++sp];
            for (int k = 0; k < n; ++k)
                d[k] = obs_n(first + k, rec);
            break;
        }
        case OP_OBSNN: {
            double *d = st[++sp];
            for (int k = 0; k < n; ++k)
                d[k] = obs_nn(rec);
            break;
        }
        case OP_RC: {
            double *d = st[++sp];
            for (int k = 0; k < n; ++k)
                d[k] = last_rc();
            break;
        }
        case OP_VARSUB: {
            const int v = (uint16_t)rec.code[++pc];
            double *d = st[sp];
            for (int k = 0; k < n; ++k)
                d[k] = num_at(v, subscript_obs(d[k], rec, dot), dot);
            break;
        }
        case OP_ANY: {
            const int na = rec.code[++pc];
            for (int k = 0; k < n; ++k)
                st[sp - na + 1][k] = any_nonzero(na, [&](int j) { return st[sp - j][k]; });
            sp -= na - 1;
            break;
        }
        case OP_COND: {
            const int na = rec.code[++pc];
            for (int k = 0; k < n; ++k)
                st[sp - na + 1][k] = st[sp - 1 - cond_branch(st[sp][k], na, dot)][k];
            sp -= na - 1;
            break;
        }
        default: {
            const FnRow *r = fn_of_word(op);
            const int na = fn_operands(r) ? rec.code[++pc] : r->amin;
            double args[BLK_DEPTH];
            for (int k = 0; k < n; ++k) {
                for (int j = 0; j < na; ++j)
                    args[na - 1 - j] = st[sp - j][k];
                const Fa fa{na > 0 ? &args[na - 1] : args, nullptr, na, first + k, &rec};
                const double v = r->num(fa);
                st[sp - na + 1][k] = v;
            }
            sp -= na - 1;
            break;
        }
        }
    }
    const double dotz = session::lim.dot_z;
    if (sp < 0) {
        std::fill(out, out + n, dot);
        return 0;
    }
    const double *top = st[sp];
#pragma omp simd
    for (int k = 0; k < n; ++k)
        out[k] = finish(top[k], dot, dotz);
    return sp + 1;
}

#undef EXPR_RUN_CASE_K2
#undef EXPR_RUN_CASE_K1
#undef EXPR_RUN_CASE_BLOCK
#undef EXPR_RUN_CASE_ONE

void refresh_ranges(ExprRecord &rec) {
    const int32_t n = ds.nobs;
    rec.in_first = ps.inrange ? ps.in_lo : 1;
    rec.in_last = ps.inrange ? ps.in_hi : n;
    rec.grp_first = 1;
    rec.grp_last = n;
}

} // namespace

int expr_run(ExprRecord &rec, int32_t i, double *v, char *buf) { return run(rec, i, v, buf); }

bool string_operator_at(const char *p) {
    for (const BinOp &o : binops)
        if (o.str && std::strncmp(p, o.text, (size_t)o.len) == 0) return true;
    return false;
}

double expr_xeqforby(ExprRecord &rec, int32_t i) {
    double v;
    if (int rc = run(rec, i, &v, nullptr)) {
        expr_lastrc = rc;
        return session::lim.dot;
    }
    return v;
}

double expr_xeq(ExprRecord &rec, int32_t i) {
    refresh_ranges(rec);
    return expr_xeqforby(rec, i);
}

int expr_xeq_block(ExprRecord &rec, int32_t first, int32_t n, double *out) {
    if (blockable(rec)) {
        for (int32_t k = 0; k < n; k += BLK)
            run_block(rec, first + k, (int)std::min<int32_t>(BLK, n - k), out + k);
        return 0;
    }
    for (int32_t k = 0; k < n; ++k)
        if (int rc = run(rec, first + k, &out[k], nullptr)) return rc;
    return 0;
}

namespace xp {

int run_left(ExprRecord &rec, int32_t i, int *nleft, int *sleft) {
    double v;
    char buf[EXPR_STRBUF];
    int left[2] = {0, 0};
    const int rc = run(rec, i, &v, buf, left);
    *nleft = left[0];
    *sleft = left[1];
    return rc;
}

bool has_block_form(const ExprRecord &rec) { return blockable(rec); }

int run_block_left(const ExprRecord &rec, int32_t first, int n, double *out) {
    return run_block(rec, first, std::min(n, BLK), out);
}

} // namespace xp

int expr_xeq_str(ExprRecord &rec, int32_t i, char *buf) {
    refresh_ranges(rec);
    return run(rec, i, nullptr, buf);
}

int expr_eval_scalar(const char *text, ExprValue &out, const char **end, int wanted) {
    static ExprRecord rec;
    const char *stop = nullptr;
    if (int rc = expr_compile(text, rec, wanted, &stop)) return rc;
    if (end)
        *end = stop;
    else {
        while (*stop == ' ')
            ++stop;
        if (*stop) return session::error(198);
    }
    if (rec.restype == XT_MAT) return session::error(509);
    expr_set_ranges(rec, 1, ds.nobs, 1, ds.nobs);
    out.type = rec.restype;
    return run(rec, 1, &out.num, out.str);
}

std::string expr_dump(const ExprRecord &rec) {
    std::string s;
    char line[96];
    for (int pc = 0; pc <= rec.last; ++pc) {
        const int w = rec.code[pc];
        int nopd = 0;
        const char *name = op_name(w, &nopd);
        if (!name) {
            std::snprintf(line, sizeof line, "?%d\n", w);
            s += line;
            continue;
        }
        s += name;
        if (nopd && pc < rec.last) {
            const int o = rec.code[++pc];
            if (w == OP_LIT)
                std::snprintf(line, sizeof line, " %d (%.17g)", o, pools.lit[o]);
            else if (w == OP_MCALL && pc < rec.last)
                std::snprintf(line, sizeof line, " %s %d", matfn_rows[o].name, rec.code[++pc]);
            else if (w == OP_SLIT || w == OP_MNAME || w == OP_MEL || w == OP_MSUBX)
                std::snprintf(line, sizeof line, " %d \"%s\"", o, pools.str + o);
            else if (w == OP_TSVAR && pc < rec.last) {
                const int k = rec.code[++pc];
                std::snprintf(line, sizeof line, " %d (%s%s)", o, tsop_text(&ps.ops[k]).c_str(),
                              (o >= 1 && o <= ds.nvar) ? ds.varname[o - 1] : "?");
            } else if (w == OP_VAR || w == OP_VARSUB || w == OP_SVAR || w == OP_SVARSUB)
                std::snprintf(line, sizeof line, " %d (%s)", o,
                              (o >= 1 && o <= ds.nvar) ? ds.varname[o - 1] : "?");
            else
                std::snprintf(line, sizeof line, " %d", o);
            s += line;
        }
        s += '\n';
    }
    return s;
}

} // namespace data
