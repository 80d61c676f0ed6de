// Return codes: the message of each code and the named-failure helpers.
#include "session/errors.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "output/channel.h"
#include "output/rimu.h"
#include "session/errtab.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace session {

bool empty_groups_normal = false;

namespace {

enum ErrKind { EK_TEXT, EK_RIMU, EK_NUMLIST, EK_MATSIZE, EK_SOFT, EK_TMPDIR, EK_ALIAS, EK_NOTE };

struct ErrRow {
    int code;
    ErrKind kind;
    int pub; // the code error() returns
    const char *text;
};

constexpr ErrRow err_rows[] = {
#define X(c, k, t) {c, k, c, t},
#define XA(c, p, t) {c, EK_ALIAS, p, t},
#define XN(c, t) {c, EK_NOTE, 0, t},
    ERR_TABLE
#undef X
#undef XA
#undef XN
};

struct NumlistRow {
    int code;
    const char *list;
    const char *single;
};

constexpr NumlistRow numlist_rows[] = {
#define NL(c, l, s) {c, l, s},
    NUMLIST_TABLE
#undef NL
};

struct NoteRow {
    int code;
    const char *text;
};

constexpr NoteRow note_rows[] = {
#define LN(c, t) {c, t},
    LONGNOTE_TABLE
#undef LN
};

struct FileRow {
    int code;
    bool note;
    bool named;
    const char *lead, *text, *tail;
};

constexpr FileRow file_rows[] = {
#define FF(c, n, nm, l, t, tl) {c, n != 0, nm != 0, l, t, tl},
    FILE_TABLE
#undef FF
};

enum ShowHow { SH_CODE, SH_TEXT, SH_FILE, SH_SOFT };

struct ShowRow {
    int first, last;
    ShowHow how;
    int code;
    const char *text;
};

constexpr ShowRow show_rows[] = {
#define SH(f, l, h, c, t) {f, l, h, c, t},
    SHOW_TABLE
#undef SH
};

constexpr bool rows_ascending() {
    for (size_t i = 1; i < std::size(err_rows); ++i)
        if (err_rows[i - 1].code >= err_rows[i].code) return false;
    return true;
}
static_assert(rows_ascending(), "the message table must be in code order");

const ErrRow *find_row(int code) {
    auto it = std::lower_bound(std::begin(err_rows), std::end(err_rows), code,
                               [](const ErrRow &r, int c) { return r.code < c; });
    return (it != std::end(err_rows) && it->code == code) ? it : nullptr;
}

const NumlistRow *find_numlist(int code) {
    for (const NumlistRow &r : numlist_rows)
        if (r.code == code) return &r;
    return nullptr;
}

// Error-class output; the callers hold a ClassScope so the caller's class comes back.
void err_text(std::string_view s) { out::out_error(s); }

void err_rimu(std::string_view s) {
    out::out_error(""); // class, markup mode and colour, nothing printed
    out::out_rimu(s);
}

void note_text(std::string_view s) {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text(s);
}

// A `by` group is running, or empty groups are declared normal: no observations is no failure.
bool by_silent() { return empty_groups_normal || lp.byprefix; }

// The word and one blank, or nothing for an empty word.
std::string word_blank(std::string_view w) {
    std::string s(w);
    if (!s.empty()) s += ' ';
    return s;
}

// A long note with its numbers put in.
std::string expand_note(const char *text) {
    std::string s;
    for (const char *p = text; *p; ++p) {
        long long v;
        switch (*p) {
        case '\001':
            v = st.maxvar;
            break;
        case '\002':
            v = st.maxvar - 1;
            break;
        case '\003':
            v = st.matsize;
            break;
        case '\004':
            v = 12LL * st.maxvar;
            break;
        default:
            s += *p;
            continue;
        }
        s += std::to_string(v);
    }
    return s;
}

int write_row(const ErrRow &r) {
    switch (r.kind) {
    case EK_TEXT:
        err_text(r.text);
        break;
    case EK_RIMU:
        err_rimu(r.text);
        break;
    case EK_NUMLIST:
        err_text(find_numlist(r.code)->list);
        break;
    case EK_MATSIZE:
        err_text(r.text);
        if (st.matsize < MATSIZE_REMARK_BELOW)
            err_rimu(MATSIZE_REMARK);
        else
            err_text("\n");
        break;
    case EK_SOFT:
        if (!by_silent()) {
            err_text(r.text);
            break;
        }
        note_text(r.text);
        return r.code == 2000 ? 0 : r.code;
    case EK_TMPDIR:
        err_text(r.text);
        err_text(st.tmpdir);
        err_text(TMPDIR_TAIL);
        break;
    case EK_ALIAS:
        err_text(r.text);
        break;
    case EK_NOTE:
        note_text(r.text);
        break;
    }
    return r.pub;
}

// For found_where_expected: 'text', long texts shortened to their head and tail, or nothing.
std::string quoted_or_nothing(std::string_view t) {
    if (t.empty()) return "nothing";
    std::string s(t);
    if (t.size() >= 21) s = std::string(t.substr(0, 20)) + "..." + std::string(t.substr(t.size() - 3));
    return "'" + out::brace_escaped(s) + "'";
}

int kind_not_found(const char *kind, std::string_view name, int rc) {
    return fail(rc, std::string(kind) + word_blank(name) + "not found\n");
}

// The name of a time-series operator, then ":  " for a short name or a new line for a long one.
std::string op_head(std::string_view name) { return std::string(name) + (name.size() < 30 ? ":  " : "\n"); }

} // namespace

int error(int code) {
    if (code == 0) return 0;
    out::ClassScope cs(out::CLS_ERROR);
    int rc = code;
    if (const ErrRow *r = find_row(code)) rc = write_row(*r);
    if (code >= 3001 && code <= 3999) err_text(KILN_RUNTIME_TEXT);
    for (const NoteRow &n : note_rows)
        if (n.code == code) err_rimu(expand_note(n.text));
    return rc;
}

int error_cmd_show(int code) {
    if (code == 0) return 0;
    if (code < 0 || code >= 100001) code = 100000;
    const ShowRow *row = nullptr;
    for (const ShowRow &r : show_rows)
        if (code >= r.first && code <= r.last) row = &r;
    if (!row) return error(code);
    switch (row->how) {
    case SH_CODE:
        error(row->code);
        break;
    case SH_TEXT:
        fail(code, row->text);
        break;
    case SH_FILE:
        file_error(code, "");
        break;
    case SH_SOFT:
        if (by_silent()) {
            lp.exitlevel = 1;
            error(code);
            return 0;
        }
        error(code);
        break;
    }
    return code;
}

int fail(int rc, std::string_view s) {
    out::ClassScope cs(out::CLS_ERROR);
    err_text(s);
    return rc;
}

int fail_rimu(int rc, std::string_view markup) {
    out::ClassScope cs(out::CLS_ERROR);
    err_rimu(markup);
    return rc;
}

int not_allowed(std::string_view what) { return fail(101, std::string(what) + " not allowed\n"); }

int required(std::string_view what) { return fail(100, std::string(what) + " required\n"); }

int invalid_text(std::string_view text) { return fail(198, "invalid " + std::string(text) + "\n"); }

int invalid_rest(std::string_view text) { return fail(198, "'" + std::string(text) + "' invalid\n"); }

int invalid_name(std::string_view word) { return fail(198, word_blank(word) + "invalid name\n"); }

int invalid_varname(std::string_view word) { return fail(198, word_blank(word) + "invalid varname\n"); }

int check_name(std::string_view name, bool quiet) {
    if (name_ok(name)) return 0;
    return quiet ? 198 : invalid_name(name);
}

int option_not_allowed(std::string_view name) {
    return fail(198, "option " + std::string(name) + " not allowed\n");
}

int not_built(std::string_view what) {
    return fail(199, std::string(what) + " is not available in this build\n");
}

int already_defined(std::string_view word) { return fail(110, std::string(word) + " already defined\n"); }

int ambiguous(std::string_view word) { return fail(111, std::string(word) + " ambiguous abbreviation\n"); }

int not_found(std::string_view word) { return kind_not_found("", word, 111); }

int not_labeled(std::string_view word) { return fail(182, word_blank(word) + "not labeled\n"); }

int matrix_not_found(std::string_view name) { return kind_not_found("matrix ", name, 111); }
int label_not_found(std::string_view name) { return kind_not_found("label ", name, 111); }
int regressor_not_found(std::string_view name) { return kind_not_found("regressor ", name, 111); }
int variable_not_found(std::string_view name) { return kind_not_found("variable ", name, 111); }
int equation_not_found(std::string_view name) { return kind_not_found("equation ", name, 111); }
int equation_missing(std::string_view name) { return kind_not_found("equation ", name, 303); }

// Locals are held under their name with a leading `_`; the user knows them without it.
int macro_not_found(std::string_view name) {
    if (!name.empty() && name[0] == '_')
        return fail(111, "local macro `" + std::string(name.substr(1)) + "' not found\n");
    return fail(111, "global macro $" + std::string(name) + " not found\n");
}

int unmatched_quote() { return fail(198, "unmatched quote\n"); }

int quotes_unbalanced() { return fail(198, "quotes unbalanced\n"); }

int brace_not_found() { return fail(198, "program error:  matching close brace not found\n"); }

int code_after_brace(char c) {
    return fail(198, std::string("program error:  code follows on the same line as ") +
                         (c == '{' ? "open" : "close") + " brace\n");
}

int no_observations() {
    note_text("no observations\n");
    return 0;
}

int op_too_long(std::string_view name) { return fail(1000, op_head(name) + "operator too long\n"); }

int op_invalid_diff(std::string_view name) {
    return fail(198, op_head(name) + "operator invalid:  D20 is maximum allowed difference\n");
}

int found_where_expected(std::string_view found, std::string_view expected) {
    out::ClassScope cs(out::CLS_ERROR);
    err_rimu("{p}\n" + quoted_or_nothing(found) + "\nfound where\n" + quoted_or_nothing(expected) +
             "\nexpected\n{p_end}\n");
    return 198;
}

int file_error(int code, std::string_view name) {
    const FileRow *row = nullptr;
    for (const FileRow &r : file_rows)
        if (r.code == code) row = &r;
    std::string s = row ? row->lead : "file ";
    if ((!row || row->named) && !name.empty()) s += "\"" + std::string(name) + "\" ";
    if (row) {
        s += row->text;
        s += row->tail;
    } else {
        char buf[32];
        std::snprintf(buf, sizeof buf, FILE_OTHER_FORMAT, code);
        s += buf;
    }
    if (row && row->note) {
        note_text(s);
        return code;
    }
    return fail(code, s);
}

int numlist_error(int code, bool single) {
    const NumlistRow *r = find_numlist(code);
    if (!r) return error(code);
    return fail(code, single ? r->single : r->list);
}

int out_of_memory_for(std::string_view name, int storetype) {
    std::string kind = store_kind(storetype);
    if (storetype >= ST_LOCAL_FIRST && storetype <= ST_LOCAL_LAST && !name.empty() && name[0] == '_')
        name.remove_prefix(1);
    std::string s = "insufficient memory for " + kind;
    if (!kind.empty() && kind.back() == '(')
        s += std::string(name) + ")";
    else
        s += " " + std::string(name);
    return fail(0, s + "\n");
}

} // namespace session
