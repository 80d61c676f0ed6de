// The `display` command: directives read left to right (texts, expressions, formats, layout words),
// written to the screen or, for the extended macro function `display`, into a text.
#include "output/display.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "data/expr.h"
#include "data/fmt.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/reader.h"
#include "session/state.h"
#include "session/tok.h"

namespace out {

using session::gettok;
using session::SEP_NUM;
using session::SEP_STD;
using session::tk;

int displayMode = 2;

namespace {

constexpr int max_fmtlen = 13; // longest format text a directive may set
constexpr int max_count = 401; // _skip, _dup and _newline counts stay below this

// The state of one call.
struct Display {
    data::Fmt format;
    bool format_default = true; // "%10.0g", whose leading blanks are dropped from numbers
    int formatKind = 1;         // 1 numeric, 2 string
    int32_t repeat = 1;
    int32_t column = 1;
    bool newlineAtEnd = true;
    bool colorSeen = false;
    std::string *buffer = nullptr; // the text form collects here; null on the screen

    void defaults() {
        format_default = true;
        formatKind = 1;
        repeat = 1;
    }
};

// Writes one piece: into the buffer while it stays below the macro limit, else on the screen by
// the display mode.
int put(Display &d, std::string_view s) {
    if (d.buffer) {
        if (d.buffer->size() + s.size() < (size_t)session::maxmaclen) d.buffer->append(s);
        return 0;
    }
    switch (displayMode) {
    case 0:
        return out_text(s);
    case 1:
        out_text(""); // the colour of the class first
        return out_rimu(s);
    default:
        return out_rimu(s);
    }
}

int put_repeated(Display &d, const std::string &s, int32_t times) {
    for (int32_t i = 0; i < times; ++i) {
        if (int r = put(d, s)) return r;
        d.column += (int32_t)s.size();
    }
    return 0;
}

// A text item: padded to the width of a string format in force, repeated; then the defaults.
int text_item(Display &d, std::string_view text) {
    std::string s(text);
    if (!d.format_default && d.formatKind == 2 && (int)s.size() < d.format.width) {
        int pad = d.format.width - (int)s.size();
        int before = d.format.just > 0 ? pad : d.format.just == 0 ? pad / 2 : 0;
        s = std::string((size_t)before, ' ') + s + std::string((size_t)(pad - before), ' ');
    }
    int r = put_repeated(d, s, d.repeat);
    d.defaults();
    return r;
}

// ( # ): an integer read with the number separators. Returns 0 with *v, 1 when no parenthesis
// follows (nothing is read), or 198.
int paren_integer(long *v) {
    session::TokState ts;
    session::savetok(ts);
    if (std::strcmp(gettok(SEP_STD), "(") != 0) {
        session::restoretok(ts);
        return 1;
    }
    std::string t = gettok(SEP_NUM);
    errno = 0;
    char *end;
    long n = std::strtol(t.c_str(), &end, 10);
    if (t.empty() || *end || errno) return 198;
    if (std::strcmp(gettok(SEP_STD), ")") != 0) return 198;
    *v = n;
    return 0;
}

// ---- directives ----

using Directive = int (*)(Display &d);

// _continue: no newline at the end
int d_continue(Display &d) {
    d.newlineAtEnd = false;
    return 0;
}

// _page: the page string of the output context, which for the console and logs is empty
int d_page(Display &) { return 0; }

// _skip[(#)]
int d_skip(Display &d) {
    long n = 1;
    int rc = paren_integer(&n);
    if (rc > 1 || n >= max_count) return session::error(198);
    if (n < 0) n = 0;
    return put_repeated(d, std::string((size_t)n, ' '), d.repeat);
}

// _char(#)
int d_char(Display &d) {
    long n = 0;
    if (paren_integer(&n) || n < 1 || n > 255) return session::error(198);
    std::string s(1, (char)(unsigned char)n);
    for (int32_t i = 0; i < d.repeat; ++i) {
        // the byte itself, never read as markup
        int r = 0;
        if (d.buffer)
            r = put(d, s);
        else {
            if (displayMode == 1) out_text("");
            r = displayMode == 0 ? out_text(s) : out_text_nostyle(s);
        }
        ++d.column;
        if (r) break;
    }
    d.repeat = 1;
    return 0;
}

// _column[(#)]
int d_column(Display &d) {
    long n = 0;
    int rc = paren_integer(&n);
    if (rc > 1 || n < -999999) return session::error(198);
    if (n < 0) n = 0;
    if (d.buffer || displayMode == 0) {
        if (n > d.column) {
            put(d, std::string((size_t)(n - d.column), ' '));
            d.column = (int32_t)n;
        }
        return 0;
    }
    char tag[32];
    std::snprintf(tag, sizeof tag, "{col %ld}", n);
    return put(d, tag);
}

// _dup(#)
int d_dup(Display &d) {
    long n = 0;
    if (paren_integer(&n) || n < 0 || n >= max_count) return session::error(198);
    d.repeat = (int32_t)(d.repeat * n);
    return 0;
}

// _newline[(#)]
int d_newline(Display &d) {
    long n = 1;
    int rc = paren_integer(&n);
    if (rc > 1 || n < 0 || n >= max_count) return session::error(198);
    long total = n * d.repeat;
    for (long i = 0; i < total; ++i)
        if (out_newline()) break;
    d.column = 1;
    d.repeat = 1;
    return 0;
}

// _quote
int d_quote(Display &d) {
    for (int32_t i = 0; i < d.repeat; ++i) {
        if (put(d, "\"")) break;
        ++d.column;
    }
    d.repeat = 1;
    return 0;
}

// _request(macname): a line from the user into the macro
int d_request(Display &d) {
    if (std::strcmp(gettok(SEP_STD), "(") != 0) return session::error(198);
    std::string name = gettok(SEP_STD);
    if (name.empty() || !session::name_ok(name)) return session::error(198);
    // The unread rest of the line is put aside while the answer is read into the command buffer.
    std::string rest = tk.tokpos;
    std::string answer;
    if (session::st.batchmode) {
        session::error(8002);
    } else if (session::user_read("", tk.cmdbuf, session::maxcmdlen + 1) == 0) {
        answer = tk.cmdbuf;
    }
    int mrc = session::macro_set(name.c_str(), answer);
    std::memcpy(tk.cmdbuf, rest.c_str(), rest.size() + 1);
    session::settok(tk.cmdbuf);
    if (mrc) return session::error(mrc);
    if (std::strcmp(gettok(SEP_STD), ")") != 0) return session::error(198);
    if (!*session::tokrest()) {
        d.newlineAtEnd = false;
        return 0;
    }
    d.column = 1;
    return 0;
}

// _asis: text from here on is written literally
int d_asis(Display &) {
    displayMode = 0;
    return 0;
}

// as word, in word: the class of what follows, or markup
struct StyleRow {
    const char *word;
    int minlen; // 0: the whole word
    uint8_t cls;
};
const StyleRow style_rows[] = {
    {"yellow", 1, CLS_RESULT}, {"result", 3, CLS_RESULT}, {"green", 1, CLS_TEXT},  {"text", 0, CLS_TEXT},
    {"txt", 0, CLS_TEXT},      {"blue", 1, CLS_TEXT},     {"red", 1, CLS_ERROR},   {"error", 3, CLS_ERROR},
    {"white", 1, CLS_INPUT},   {"command", 3, CLS_INPUT}, {"input", 3, CLS_INPUT},
};

int d_style(Display &d) {
    std::string w = gettok(SEP_STD);
    for (const StyleRow &r : style_rows) {
        if (r.minlen ? session::cmdmatch(w.c_str(), r.word, r.minlen) : w == r.word) {
            ch.OutputClass = r.cls;
            d.colorSeen = true;
            if (displayMode != 0) displayMode = 1;
            return 0;
        }
    }
    if (!w.empty() && session::cmdmatch(w.c_str(), "rimu", 1)) {
        displayMode = d.colorSeen ? 1 : 2;
        return 0;
    }
    return session::error(198);
}

struct DirectiveRow {
    const char *word;
    int minlen; // 0: the whole word
    bool screen_only;
    Directive fn;
};
const DirectiveRow directive_rows[] = {
    {"_continue", 1, true, d_continue}, {"_page", 2, true, d_page},      {"_skip", 2, false, d_skip},
    {"_char", 5, false, d_char},        {"_column", 4, false, d_column}, {"_dup", 2, false, d_dup},
    {"_newline", 2, true, d_newline},   {"_quote", 6, true, d_quote},    {"_request", 2, true, d_request},
    {"_asis", 0, false, d_asis},        {"as", 0, true, d_style},        {"in", 0, true, d_style},
};

const DirectiveRow *find_directive(const std::string &w, bool buffer) {
    for (const DirectiveRow &r : directive_rows) {
        if (buffer && r.screen_only) continue;
        if (r.minlen ? session::cmdmatch(w.c_str(), r.word, r.minlen) : w == r.word) return &r;
    }
    return nullptr;
}

// A format directive: the text from the % to the next blank or quote.
int format_item(Display &d) {
    const char *s = tk.tokstart;
    const char *e = s;
    while (*e && *e != ' ' && *e != '"' && *e != '`')
        ++e;
    std::string text(s, e - s);
    session::settok(e);
    if ((int)text.size() > max_fmtlen) return session::error(120);
    data::Fmt f;
    if (int rc = data::fmt_parse(text, f)) return rc;
    d.format = f;
    d.format_default = false;
    d.formatKind = data::fmt_isstr(f) ? 2 : 1;
    return 0;
}

// An expression, evaluated once: a string is a text item, a number goes through the format.
int expression_item(Display &d, const char *start) {
    data::ExprValue v;
    const char *end = nullptr;
    if (int rc = data::expr_eval_scalar(start, v, &end)) return rc;
    session::settok(end);
    if (v.type == data::XT_STR) return text_item(d, v.str);
    if (d.formatKind == 2) d.format_default = true;
    static data::Fmt deflt;
    static bool parsed = data::fmt_parse("%10.0g", deflt, true) == 0;
    (void)parsed;
    char buf[data::FMT_BUFSIZE];
    int n = data::fmt_number(v.num, d.format_default ? deflt : d.format, buf, sizeof buf);
    std::string s(buf, (size_t)n);
    if (d.format_default) s.erase(0, std::min(s.find_first_not_of(' '), s.size()));
    int r = put_repeated(d, s, d.repeat);
    d.defaults();
    return r;
}

// A quoted token is followed into an expression only by an operator that strings have, "+" and
// the comparisons ("a" + "b", "x" == "y"); behind any other, as in "b=" -2, the text stands alone.
bool string_operator_follows() {
    const char *p = tk.tokpos;
    while (*p == ' ')
        ++p;
    return data::string_operator_at(p);
}

// display [directive ...]
// directive := "text" | `"text"' | [=] exp | %fmt | , | as word | in word | _asis
//            | _skip[(#)] | _column(#) | _char(#) | _dup(#) | _newline[(#)] | _continue
//            | _quote | _page | _request(macname)
int run_display(Display &d) {
    ClassScope cs(CLS_RESULT);
    if (!d.buffer) {
        displayMode = session::lp.version >= 700 ? 2 : 0;
        if (displayMode == 2) out_text(""); // the class colour, set once
    }
    for (;;) {
        std::string t = gettok(SEP_STD);
        if (t.empty()) break;
        int rc = 0;
        if (t[0] == '"') {
            rc = string_operator_follows() ? expression_item(d, tk.tokstart)
                                           : text_item(d, std::string_view(t).substr(1));
        } else if (t == ",") {
            session::TokState ts;
            session::savetok(ts);
            if (std::strcmp(gettok(SEP_STD), ",") != 0) {
                session::restoretok(ts);
                rc = put(d, " ");
                ++d.column;
            }
        } else if (t == "%") {
            rc = format_item(d);
        } else if (t == "=") {
            rc = expression_item(d, tk.tokpos);
        } else if (const DirectiveRow *r = find_directive(t, d.buffer != nullptr)) {
            rc = r->fn(d);
        } else {
            rc = expression_item(d, tk.tokstart);
        }
        if (rc) return rc;
    }
    if (d.buffer) return 0;
    if (d.newlineAtEnd) out_newline();
    out_flush();
    return session::poll_break();
}

} // namespace

int cmd_display(int) {
    Display d;
    return run_display(d);
}

int display_to_text(const char *args, std::string &text) {
    text.clear();
    std::string line = args;
    session::TokState ts;
    session::savetok(ts);
    session::settok(line.c_str());
    Display d;
    d.buffer = &text;
    int rc = run_display(d);
    session::restoretok(ts);
    return rc;
}

} // namespace out
