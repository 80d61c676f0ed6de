// The Rimu scanner: pieces of input, the directive syntax, and the table of directives with their handlers.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "output/rimu.h"
#include "output/rimu_int.h"
#include "session/tok.h"

namespace out {

bool (*ccl_lookup)(std::string_view name, std::string &text) = nullptr;

namespace {

struct Span {
    const char *p = nullptr;
    size_t n = 0;
};

// {name args:text}, already cut out of the input with its balancing brace.
struct Dir {
    Span src;
    Span rest; // behind the name, up to the closing brace
    bool optional = false;
};

Span trim(Span s) {
    while (s.n && (s.p[0] == ' ' || s.p[0] == '\t' || s.p[0] == '\n'))
        ++s.p, --s.n;
    while (s.n && (s.p[s.n - 1] == ' ' || s.p[s.n - 1] == '\t' || s.p[s.n - 1] == '\n'))
        --s.n;
    return s;
}

bool is_blank(Span s) { return trim(s).n == 0; }

// Argument tokens: blanks are skipped; "..." and `"..."' (nesting) lose their quotes; a colon is a
// token of its own; anything else runs to a blank or a colon.
enum { TK_END = -1, TK_COLON = -2, TK_LONG = -3 };

int next_token(const char *&p, const char *e, char *out) {
    while (p < e && (*p == ' ' || *p == '\t' || *p == '\n'))
        ++p;
    if (p >= e) return TK_END;
    if (*p == ':') {
        ++p;
        return TK_COLON;
    }
    const char *b, *q;
    session::Quoted qt;
    if (session::quoted_at(std::string_view(p, (size_t)(e - p)), 0, qt)) {
        b = p + qt.begin;
        q = p + qt.end;
        p += qt.next;
    } else {
        b = p;
        while (p < e && *p != ' ' && *p != ':' && *p != '\t' && *p != '\n')
            ++p;
        q = p;
    }
    size_t len = q - b;
    if (len >= 255) return TK_LONG;
    std::memcpy(out, b, len);
    out[len] = 0;
    return (int)len;
}

// Separates the arguments from ":text" at the first colon token; false on a token that is too long.
bool split(const Dir &d, Span &args, Span &text, bool &has) {
    char tok[256];
    const char *p = d.rest.p, *e = d.rest.p + d.rest.n;
    has = false;
    text = Span{};
    for (;;) {
        int t = next_token(p, e, tok);
        if (t == TK_LONG) return false;
        if (t == TK_END) break;
        if (t == TK_COLON) {
            args = Span{d.rest.p, (size_t)(p - 1 - d.rest.p)};
            text = Span{p, (size_t)(e - p)};
            has = true;
            return true;
        }
    }
    args = d.rest;
    return true;
}

// A number is plain digits, with a sign only where the caller allows one.
bool parse_num(const char *t, bool sign, int &v) {
    bool neg = false;
    if (sign && (*t == '-' || *t == '+')) neg = *t++ == '-';
    if (!*t) return false;
    long x = 0;
    int digits = 0;
    for (; *t; ++t) {
        if (*t < '0' || *t > '9' || ++digits > 9) return false;
        x = x * 10 + (*t - '0');
    }
    v = (int)(neg ? -x : x);
    return true;
}

// Reads up to max numbers; the argument at signed_at may carry a sign. Returns the count, or -1.
int numbers(Span a, int max, int signed_at, int *v) {
    char tok[256];
    const char *p = a.p, *e = a.p + a.n;
    int count = 0;
    for (;;) {
        int t = next_token(p, e, tok);
        if (t == TK_END) return count;
        if (t < 0 || count == max || !parse_num(tok, count == signed_at, v[count])) return -1;
        ++count;
    }
}

// The argument of a link: its tokens joined by single blanks; -1 when 255 characters or more.
int join_args(Span a, char *out) {
    char tok[256];
    const char *p = a.p, *e = a.p + a.n;
    int len = 0;
    for (;;) {
        int t = next_token(p, e, tok);
        if (t == TK_END) return len;
        if (t == TK_LONG) return -1;
        if (t == TK_COLON) {
            tok[0] = ':';
            tok[1] = 0;
            t = 1;
        }
        if (len + (len ? 1 : 0) + t >= 255) return -1;
        if (len) out[len++] = ' ';
        std::memcpy(out + len, tok, t);
        len += t;
        out[len] = 0;
    }
}

// Markup built by a shorthand, rendered as if it had been in the input.
struct Built {
    char b[2048];
    size_t n = 0;
    bool bad = false;
    void add(const char *p, size_t k) {
        if (n + k >= sizeof b) {
            bad = true;
            return;
        }
        std::memcpy(b + n, p, k);
        n += k;
    }
    void add(Span s) { add(s.p, s.n); }
    void add(const char *z) { add(z, std::strlen(z)); }
    void addf(const char *fmt, ...) __attribute__((format(printf, 2, 3))) {
        char t[256];
        va_list ap;
        va_start(ap, fmt);
        int k = std::vsnprintf(t, sizeof t, fmt, ap);
        va_end(ap);
        if (k < 0 || k >= (int)sizeof t) {
            bad = true;
            return;
        }
        add(t, k);
    }
};

bool run_built(RimuStream *s, const Built &b) {
    if (b.bad) return false;
    scan_nested(s, b.b, b.n);
    return true;
}

void render(RimuStream *s, Span t, uint8_t mask, uint8_t bits) {
    uint8_t old = s->style;
    s->style = (uint8_t)((s->style & ~mask) | bits);
    scan_nested(s, t.p, t.n);
    s->style = (uint8_t)((s->style & ~mask) | (old & mask));
}

void dashes(RimuStream *s, int n) {
    static const char d[] = "----------------------------------------------------------------";
    for (; n > 0; n -= 64)
        line_write(s, d, n < 64 ? n : 64, (uint8_t)(s->style | STY_LINEDRAW));
}

// Splits ":text" off; fails when anything but blanks stands before it or when has doesn't match need.
enum { TEXT_NO, TEXT_YES, TEXT_MAY };
bool no_args(const Dir &d, Span &text, bool &has, int need) {
    Span a;
    if (!split(d, a, text, has) || !is_blank(a)) return false;
    if (need == TEXT_NO && has) return false;
    if (need == TEXT_YES && !has) return false;
    return true;
}

using DirFn = bool (*)(RimuStream *, const Dir &, int);

// ---- colours, fonts, underline, reset, modes

bool dir_colour(RimuStream *s, const Dir &d, int colour) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_MAY)) return false;
    if (has)
        render(s, t, STY_COLOUR_BITS, (uint8_t)colour);
    else
        s->style = (uint8_t)((s->style & ~STY_COLOUR_BITS) | colour);
    return true;
}

bool dir_font(RimuStream *s, const Dir &d, int font) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_MAY)) return false;
    if (has)
        render(s, t, STY_FONT_BITS, (uint8_t)font);
    else
        s->style = (uint8_t)((s->style & ~STY_FONT_BITS) | font);
    return true;
}

// ul on | ul off | ul:text
bool dir_ul(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    if (!split(d, a, t, has)) return false;
    if (has) {
        if (!is_blank(a)) return false;
        render(s, t, STY_UNDERLINE, STY_UNDERLINE);
        return true;
    }
    char tok[256];
    const char *p = a.p, *e = a.p + a.n;
    if (next_token(p, e, tok) < 0) return false;
    char extra[256];
    if (next_token(p, e, extra) != TK_END) return false;
    if (std::strcmp(tok, "on") == 0)
        s->style |= STY_UNDERLINE;
    else if (std::strcmp(tok, "off") == 0)
        s->style &= (uint8_t)~STY_UNDERLINE;
    else
        return false;
    return true;
}

bool dir_reset(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest)) return false;
    s->style = COL_TEXT;
    return true;
}

bool dir_mode(RimuStream *s, const Dir &d, int mode) {
    if (!is_blank(d.rest)) return false;
    stream_set_mode(s, mode);
    return true;
}

// ---- paragraphs

// p [#1 [#2 [#3 [#4]]]]
bool dir_p(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[4] = {0, 0, 0, 0};
    if (!split(d, a, t, has) || has || s->inputDepth != 1) return false;
    if (numbers(a, 4, -1, v) < 0) return false;
    return para_begin(s, v[0], v[1], v[2], v[3]);
}

bool dir_p_end(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest) || s->mode != MODE_PARA || s->inputDepth != 1) return false;
    s->paragraphOpen = 0;
    stream_set_mode(s, MODE_LINE);
    return true;
}

// pstd, phang and the rest: first-line indent in the low byte, later lines in the next.
bool dir_pshort(RimuStream *s, const Dir &d, int indents) {
    if (!is_blank(d.rest) || s->inputDepth != 1) return false;
    return para_begin(s, indents & 0xff, indents >> 8, 2, 0);
}

bool dir_break(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest) || s->inputDepth != 1) return false;
    if (s->mode == MODE_PARA) {
        word_done(s, 0, false);
        if (!s->lineEmpty) finish_line(s);
    } else {
        finish_line(s);
    }
    return true;
}

// ---- rules, columns, blanks

// hline [n]
bool dir_hline(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[1];
    if (!split(d, a, t, has) || has) return false;
    int k = numbers(a, 1, 0, v);
    if (k < 0) return false;
    if (s->mode == MODE_PARA) {
        // Only the first column of a two-column row may hold a rule, of a length given.
        if (!s->in_first_column || k != 1 || v[0] < 0 || v[0] > 255) return false;
        char d[256];
        std::memset(d, '-', v[0]);
        text_write_styled(s, d, v[0], (uint8_t)(s->style | STY_LINEDRAW));
        return true;
    }
    int n;
    if (k == 0)
        n = s->width - s->lineLength < 0 ? 0 : s->width - s->lineLength;
    else
        n = v[0] < 0 ? s->width + v[0] - s->lineLength : v[0];
    if (n < 0 || n > 255) return false;
    dashes(s, n);
    return true;
}

// .- : a rule of the whole width on a line by itself
bool dir_rule(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest)) return false;
    if (s->mode == MODE_PARA) word_done(s, 0, false);
    if (!s->lineEmpty) finish_line(s);
    line_reset(s);
    dashes(s, s->width);
    finish_line(s);
    s->skipNewline = 1;
    return true;
}

bool dir_join(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest) || s->mode == MODE_PARA) return false;
    s->lineBreakArmed = 0;
    return true;
}

// col n [:text]
bool dir_col(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[1];
    if (!split(d, a, t, has) || numbers(a, 1, 0, v) != 1) return false;
    int n = v[0] < 0 ? 0 : v[0];
    if (n >= 255) return false;
    if (s->mode != MODE_LINE) return true;
    int target = (n < 1 ? 1 : n) - 1;
    if (!has) {
        line_blanks(s, target - s->lineLength);
        return true;
    }
    for (int guard = 0; guard < 256 && s->lineLength < target; ++guard) {
        int before = s->lineLength, serial = s->mode_serial;
        scan_nested(s, t.p, t.n);
        if (s->lineLength <= before || s->mode_serial != serial) break;
    }
    return true;
}

// space n: non-breaking in paragraphs
bool dir_space(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[1];
    if (!split(d, a, t, has) || has || numbers(a, 1, -1, v) != 1 || v[0] > 255) return false;
    if (s->mode == MODE_PARA) {
        char nb[256];
        std::memset(nb, CH_NBSP, v[0]);
        text_write(s, nb, v[0]);
    } else {
        line_blanks(s, v[0]);
    }
    return true;
}

bool dir_tab(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest)) return false;
    if (s->mode == MODE_LINE) line_blanks(s, 8 - s->lineLength % 8);
    return true;
}

// ---- alignment and centring

enum { AL_RIGHT, AL_LEFT_N, AL_RIGHT_N, AL_CENTER, AL_RCENTER };

// The room beside the text on this line; a full line is finished first.
int room_on_line(RimuStream *s, int w) {
    int room = s->width - s->lineLength - w;
    if (room < 1 && !s->lineEmpty) {
        finish_line(s);
        room = s->width - s->lineLength - w;
    }
    return room;
}

bool dir_align(RimuStream *s, const Dir &d, int how) {
    Span a, t;
    bool has;
    int v[1];
    if (!split(d, a, t, has) || !has) return false;
    int k = numbers(a, 1, -1, v);
    if (k < 0) return false;
    bool need_n = how == AL_LEFT_N || how == AL_RIGHT_N;
    if ((need_n && k != 1) || (how == AL_RIGHT && k != 0)) return false;
    if (k == 1 && v[0] > 254) return false;
    if (s->mode != MODE_LINE) {
        scan_nested(s, t.p, t.n);
        return true;
    }
    int w = measure(std::string_view(t.p, t.n));
    int front = 0, back = 0;
    if (how == AL_RIGHT) {
        int room = room_on_line(s, w);
        front = room < 1 ? 0 : room;
    } else if (how == AL_LEFT_N || how == AL_RIGHT_N) {
        int room = v[0] - w;
        if (room > 0) (how == AL_LEFT_N ? back : front) = room;
    } else {
        int room = k == 1 ? v[0] - w : room_on_line(s, w);
        if (room >= 1) {
            front = how == AL_CENTER ? room / 2 : room - room / 2;
            if (k == 1) back = room - front;
        }
    }
    line_blanks(s, front);
    scan_nested(s, t.p, t.n);
    line_blanks(s, back);
    return true;
}

bool dir_dup(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[1];
    if (!split(d, a, t, has) || !has || numbers(a, 1, -1, v) != 1 || v[0] > 32767) return false;
    for (int i = 0; i < v[0]; ++i)
        scan_nested(s, t.p, t.n);
    return true;
}

// ---- single characters, titles, binding, values, marks

bool dir_char(RimuStream *s, const Dir &d, int) {
    Span r = trim(d.rest);
    if (r.n == 0 || std::memchr(r.p, ' ', r.n)) return false;
    bool draw = false;
    int code = char_code(std::string_view(r.p, r.n), &draw);
    if (code < 0) return false;
    char c = (char)code;
    text_write_styled(s, &c, 1, draw ? (uint8_t)(s->style | STY_LINEDRAW) : s->style);
    return true;
}

bool dir_title(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_YES)) return false;
    if (t.n == 0) return true;
    if (s->mode != MODE_LINE) {
        scan_nested(s, t.p, t.n);
        return true;
    }
    if (s->underlineResets) {
        render(s, t, STY_FONT_BITS | STY_UNDERLINE, FONT_BF | STY_UNDERLINE);
        return true;
    }
    int start = s->lineLength;
    render(s, t, STY_FONT_BITS, FONT_BF);
    int w = measure(std::string_view(t.p, t.n));
    finish_line(s);
    line_blanks(s, start);
    dashes(s, w < s->width - start ? w : s->width - start);
    return true;
}

bool dir_bind(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_YES)) return false;
    ++s->bind_depth;
    scan_nested(s, t.p, t.n);
    --s->bind_depth;
    return true;
}

// One word argument and no text; false otherwise.
bool one_word(const Dir &d, char *word, int &len) {
    Span a, t;
    bool has;
    if (!split(d, a, t, has) || has) return false;
    const char *p = a.p, *e = a.p + a.n;
    len = next_token(p, e, word);
    char extra[256];
    return len > 0 && next_token(p, e, extra) == TK_END;
}

bool dir_ccl(RimuStream *s, const Dir &d, int) {
    char name[256];
    int len;
    std::string v;
    if (!one_word(d, name, len) || !ccl_lookup || !ccl_lookup(std::string_view(name, len), v)) return false;
    text_write(s, v.data(), v.size() < 499 ? v.size() : 499);
    return true;
}

void add_marker(RimuStream *s, const char *name, int len) {
    if (s->marker_bytes + len + 1 > MARKER_MAX) return; // the block is full: the mark is dropped
    std::memcpy(s->markers + s->marker_bytes, name, len);
    s->marker_bytes += len;
    s->markers[s->marker_bytes++] = 0;
}

bool dir_marker(RimuStream *s, const Dir &d, int) {
    char name[256];
    int len;
    if (!one_word(d, name, len) || len > 32) return false;
    add_marker(s, name, len);
    return true;
}

bool dir_newpage(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest)) return false;
    add_marker(s, "\f", 1);
    return true;
}

// ---- links

enum { LINK_ANY = 0, LINK_NOARG = 1 };
enum { KIND_COMMAND = 0xff, KIND_KILN = 0xfe };
constexpr int link_row(int kind, int rule, bool bold) { return kind | rule << 8 | (bold ? 0x1000 : 0); }

bool dir_link(RimuStream *s, const Dir &d, int row) {
    int kind = row & 0xff, rule = (row >> 8) & 0xf;
    bool bold = (row & 0x1000) != 0;
    if (kind == KIND_COMMAND) kind = s->commandLinkKind;
    if (kind == KIND_KILN) kind = s->kilnLinkKind;
    Span a, t;
    bool has;
    char arg[256];
    if (!split(d, a, t, has)) return false;
    int al = join_args(a, arg);
    if (al < 0 || (rule == LINK_NOARG && al > 0) || (!has && al == 0)) return false;
    if (s->link_open) return false; // a link in a link
    if (s->mode != MODE_PARA && s->linkBytes + 4 + al + 1 > LINK_TABLE_MAX) return false;
    if (s->mode == MODE_PARA && s->word_len > 0) {
        // The pending word goes out now, kept on one line with the link's first word, which joins it.
        int w;
        if (has) {
            w = measure_first_word(std::string_view(t.p, t.n));
        } else {
            const char *b = (const char *)std::memchr(arg, ' ', al);
            w = b ? (int)(b - arg) : al;
        }
        word_done(s, w, false);
        s->spaceState = 2;
        s->spacesSeen = 0;
    }
    link_begin(s, kind, arg, al);
    s->link_open = 1;
    uint8_t mask = bold ? STY_COLOUR_BITS | STY_FONT_BITS : STY_COLOUR_BITS;
    uint8_t old = s->style;
    s->style = (uint8_t)((s->style & ~mask) | COL_LINK | (bold ? FONT_BF : 0));
    if (has)
        scan_nested(s, t.p, t.n);
    else
        text_write(s, arg, al);
    s->style = (uint8_t)((s->style & ~mask) | (old & mask));
    s->link_open = 0;
    if (s->mode == MODE_PARA && s->word_len > 0 && s->linkState != 1) {
        s->linkPending = 1; // closes when the word buffer goes out
        s->link_close_at = s->word_len;
    } else {
        link_close(s);
    }
    return true;
}

// ---- help-writing shorthands

const char *const var_words[] = {"varname", "varlist", "newvar", "depvar", "depvarlist", "indepvars"};

bool dir_var(RimuStream *s, const Dir &d, int which) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_MAY)) return false;
    Built b;
    b.add("{it:{help ");
    b.add(var_words[which]);
    if (has) {
        b.add(":");
        b.add(var_words[which]);
        b.add(t);
    }
    b.add("}}");
    return run_built(s, b);
}

const char *const fixed_texts[] = {
    "[{it:{help weight}}]",
    "[{it:{help if}}] [{it:{help in}}]",
    "[{it:{help datatypes:type}}]",
};

bool dir_fixed(RimuStream *s, const Dir &d, int which) {
    if (!is_blank(d.rest)) return false;
    scan_nested(s, fixed_texts[which], std::strlen(fixed_texts[which]));
    return true;
}

// opt name | opt na:me | opt name(args); opth puts the argument in a help link.
bool dir_opt(RimuStream *s, const Dir &d, int with_help) {
    Span r = trim(d.rest);
    if (r.n == 0 || r.p[0] == ':') return false;
    Span name = r, args;
    const char *paren = (const char *)std::memchr(r.p, '(', r.n);
    if (paren) {
        if (r.p[r.n - 1] != ')') return false;
        name = Span{r.p, (size_t)(paren - r.p)};
        args = Span{paren + 1, (size_t)(r.p + r.n - 1 - (paren + 1))};
    }
    Built b;
    b.add(std::memchr(name.p, ':', name.n) ? "{cmdab:" : "{cmd:");
    b.add(name);
    b.add("}");
    if (paren) {
        b.add(with_help ? "{cmd:(}{it:{help " : "{cmd:(}{it:");
        b.add(args);
        b.add(with_help ? "}}{cmd:)}" : "}{cmd:)}");
    }
    return run_built(s, b);
}

// cmdab:abbrev:rest
bool dir_cmdab(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_YES)) return false;
    Span first = t, second;
    int depth = 0;
    for (size_t i = 0; i < t.n; ++i) {
        char c = t.p[i];
        if (c == '{') ++depth;
        if (c == '}') --depth;
        if (c == ':' && depth == 0) {
            first = Span{t.p, i};
            second = Span{t.p + i + 1, t.n - i - 1};
            break;
        }
    }
    bool ul = s->underlineResets;
    render(s, first, STY_COLOUR_BITS | STY_UNDERLINE, (uint8_t)(COL_HILITE | (ul ? STY_UNDERLINE : 0)));
    if (ul)
        render(s, second, STY_COLOUR_BITS, COL_HILITE);
    else
        scan_nested(s, second.p, second.n);
    return true;
}

// manhelp topic section [:shown]
bool dir_manhelp(RimuStream *s, const Dir &d, int italic) {
    Span a, t;
    bool has;
    if (!split(d, a, t, has)) return false;
    char topic[256], section[256], extra[256];
    const char *p = a.p, *e = a.p + a.n;
    int tl = next_token(p, e, topic);
    int sl = next_token(p, e, section);
    if (tl <= 0 || sl <= 0 || next_token(p, e, extra) != TK_END) return false;
    Built b;
    b.add("{help ");
    b.add(topic);
    b.add(":{bf:[");
    b.add(section);
    b.add(italic ? "]} {it:" : "] ");
    if (has)
        b.add(t);
    else
        b.add(topic);
    b.add("}}");
    return run_built(s, b);
}

// A two-column row: a paragraph with first-line indent c1, the second column from c2, later lines at
// c3, right margin rm; the first text is padded with non-breaking blanks to c2, or the row breaks.
bool two_column_row(RimuStream *s, int c1, int c2, int c3, int rm, Span first) {
    if (s->inputDepth != 1 || c1 < 0 || c2 < 0 || c3 < 0) return false;
    if (!para_begin(s, c1, c3, rm < 0 ? 0 : rm, 0)) return false;
    // The first column is one unit: its blanks don't break, and it may hold a rule of a given length.
    ++s->bind_depth;
    s->in_first_column = 1;
    scan_nested(s, first.p, first.n);
    s->in_first_column = 0;
    --s->bind_depth;
    int w = measure(std::string_view(first.p, first.n));
    if (c1 + w >= c2) {
        word_done(s, 0, false);
        if (!s->lineEmpty) finish_line(s);
    } else {
        char nb[256];
        int pad = c2 - c1 - w > 255 ? 255 : c2 - c1 - w;
        std::memset(nb, CH_NBSP, pad);
        text_write_styled(s, nb, pad, COL_TEXT);
        word_done(s, 0, true); // the second column joins the padded first without a blank
    }
    return true;
}

// Reads up to four numbers (the fourth signed) over the p2col defaults.
bool p2col_args(RimuStream *s, Span a, int *v) {
    const uint8_t *def = s->p2colDefaults;
    v[0] = def[0];
    v[1] = def[1];
    v[2] = def[2];
    v[3] = def[3] ? -def[4] : def[4];
    int got[4];
    int k = numbers(a, 4, 3, got);
    if (k < 0) return false;
    for (int i = 0; i < k; ++i) {
        if (got[i] > 255 || got[i] < -255) return false;
        v[i] = got[i];
    }
    return true;
}

// p2col [#1 #2 #3 #4]:first ; p2coldent indents the first text by two more
bool dir_p2col(RimuStream *s, const Dir &d, int dent) {
    Span a, t;
    bool has;
    int v[4];
    if (!split(d, a, t, has) || !has || !p2col_args(s, a, v)) return false;
    return two_column_row(s, v[0] + (dent ? 2 : 0), v[1], v[2], v[3], t);
}

bool dir_p2colset(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[4];
    if (!split(d, a, t, has) || has || !p2col_args(s, a, v)) return false;
    uint8_t *def = s->p2colDefaults;
    def[0] = (uint8_t)v[0];
    def[1] = (uint8_t)v[1];
    def[2] = (uint8_t)v[2];
    def[3] = v[3] < 0;
    def[4] = (uint8_t)(v[3] < 0 ? -v[3] : v[3]);
    return true;
}

bool dir_p2colreset(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest)) return false;
    static const uint8_t def[5] = {1, 31, 35, 0, 2};
    std::memcpy(s->p2colDefaults, def, 5);
    return true;
}

// p2line [#1 #2]: dashes under the first column from #1 and under the second from #2 to the margin.
bool dir_p2line(RimuStream *s, const Dir &d, int dent) {
    Span a, t;
    bool has;
    int v[2];
    if (!split(d, a, t, has) || has || s->mode != MODE_LINE) return false;
    int k = numbers(a, 2, -1, v);
    if (k != 0 && k != 2) return false;
    const uint8_t *def = s->p2colDefaults;
    int c1 = (k ? v[0] : def[0]) + (dent ? 2 : 0), c2 = k ? v[1] : def[1];
    int rm = def[3] ? 0 : def[4];
    int w1 = c2 - c1 - 2 < 0 ? 0 : c2 - c1 - 2;
    int w2 = s->width - rm - c2 < 0 ? 0 : s->width - rm - c2;
    Built b;
    b.addf("{space %d}{hline %d}{space %d}{hline %d}", c1, w1, c2 - c1 - w1, w2);
    return run_built(s, b);
}

// The layout of the option table: first column, second column, continuation lines.
void synopt_layout(const RimuStream *s, int &c1, int &c2, int &c3) {
    c1 = s->synopt_mode == 2 ? 5 : 3;
    c2 = c1 + s->synopt_width + 2;
    c3 = c2 + 2;
}

// synoptset [#1] [tabbed|notes]
bool dir_synoptset(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    if (!split(d, a, t, has) || has) return false;
    char tok[256];
    const char *p = a.p, *e = a.p + a.n;
    int width = 20, mode = 0, k;
    bool seen_word = false, seen_num = false;
    while ((k = next_token(p, e, tok)) != TK_END) {
        if (k < 0) return false;
        int v;
        if (!seen_num && !seen_word && parse_num(tok, true, v)) {
            if (v > 200) return false;
            width = v < 0 ? 0 : v;
            seen_num = true;
        } else if (!seen_word && std::strcmp(tok, "tabbed") == 0) {
            mode = 1;
            seen_word = true;
        } else if (!seen_word && std::strcmp(tok, "notes") == 0) {
            mode = 2;
            seen_word = true;
        } else {
            return false;
        }
    }
    s->synopt_width = width;
    s->synopt_mode = mode;
    return true;
}

bool dir_synopt(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_YES)) return false;
    int c1, c2, c3;
    synopt_layout(s, c1, c2, c3);
    return two_column_row(s, c1, c2, c3, 2, t);
}

// synopthdr [:first word]: the heading row of the option table.
bool dir_synopthdr(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_MAY) || s->inputDepth != 1) return false;
    Built b;
    b.add("{it:");
    if (has && !is_blank(t))
        b.add(t);
    else
        b.add("options");
    b.add("}");
    if (b.bad) return false;
    int c1, c2, c3;
    synopt_layout(s, c1, c2, c3);
    if (!two_column_row(s, c1, c2, c2, 2, Span{b.b, b.n})) return false;
    text_write(s, "description", 11);
    s->paragraphOpen = 0;
    stream_set_mode(s, MODE_LINE);
    return true;
}

bool dir_synoptline(RimuStream *s, const Dir &d, int) {
    if (!is_blank(d.rest) || s->mode != MODE_LINE) return false;
    int c1, c2, c3;
    synopt_layout(s, c1, c2, c3);
    line_blanks(s, c1 - 1 - s->lineLength);
    dashes(s, s->width - 2 - s->lineLength);
    return true;
}

bool dir_syntab(RimuStream *s, const Dir &d, int) {
    Span t;
    bool has;
    if (!no_args(d, t, has, TEXT_YES)) return false;
    if (s->mode == MODE_LINE) {
        int c1, c2, c3;
        synopt_layout(s, c1, c2, c3);
        line_blanks(s, c1 - 2 - s->lineLength);
    }
    render(s, t, STY_FONT_BITS, FONT_IT);
    return true;
}

// dlgtab [#1 [#2]]:name — a tab drawn over a rule: the tab at column #1, the rule from column #2.
bool dir_dlgtab(RimuStream *s, const Dir &d, int) {
    Span a, t;
    bool has;
    int v[2] = {4, 0};
    if (!split(d, a, t, has) || !has || numbers(a, 2, -1, v) < 0) return false;
    if (v[0] > 200 || v[1] > v[0]) return false;
    if (s->mode != MODE_LINE) {
        render(s, t, STY_FONT_BITS, FONT_BF);
        return true;
    }
    int w = measure(std::string_view(t.p, t.n));
    Built b;
    b.addf("{space %d}{c TLC}{hline %d}{c TRC}\n{space %d}{hline %d}{c BRC} {bf:", v[0], w + 2, v[1],
           v[0] - v[1]);
    b.add(t);
    b.add("} {c BLC}{hline}");
    return run_built(s, b);
}

// ---- the table

struct DirRow {
    const char *name;
    DirFn fn;
    int arg;
};

constexpr int ind(int first, int next) { return first | next << 8; }

const DirRow dir_table[] = {
    {"res", dir_colour, COL_RESULT},
    {"result", dir_colour, COL_RESULT},
    {"ye", dir_colour, COL_RESULT},
    {"yellow", dir_colour, COL_RESULT},
    {"txt", dir_colour, COL_TEXT},
    {"text", dir_colour, COL_TEXT},
    {"gr", dir_colour, COL_TEXT},
    {"green", dir_colour, COL_TEXT},
    {"err", dir_colour, COL_ERROR},
    {"error", dir_colour, COL_ERROR},
    {"re", dir_colour, COL_ERROR},
    {"red", dir_colour, COL_ERROR},
    {"com", dir_colour, COL_INPUT},
    {"command", dir_colour, COL_INPUT},
    {"inp", dir_colour, COL_INPUT},
    {"input", dir_colour, COL_INPUT},
    {"wh", dir_colour, COL_INPUT},
    {"white", dir_colour, COL_INPUT},
    {"hi", dir_colour, COL_HILITE},
    {"hilite", dir_colour, COL_HILITE},
    {"cmd", dir_colour, COL_HILITE},
    {"sf", dir_font, FONT_SF},
    {"rm", dir_font, FONT_SF},
    {"it", dir_font, FONT_IT},
    {"bf", dir_font, FONT_BF},
    {"ul", dir_ul, 0},
    {"reset", dir_reset, 0},
    {"asis", dir_mode, MODE_ASIS},
    {"o6hlp", dir_mode, MODE_OLDHELP},
    {"p", dir_p, 0},
    {"p_end", dir_p_end, 0},
    {"pstd", dir_pshort, ind(4, 4)},
    {"psee", dir_pshort, ind(4, 13)},
    {"phang", dir_pshort, ind(4, 8)},
    {"pmore", dir_pshort, ind(8, 8)},
    {"pin", dir_pshort, ind(8, 8)},
    {"phang2", dir_pshort, ind(8, 12)},
    {"pmore2", dir_pshort, ind(12, 12)},
    {"pin2", dir_pshort, ind(12, 12)},
    {"phang3", dir_pshort, ind(12, 16)},
    {"pmore3", dir_pshort, ind(16, 16)},
    {"pin3", dir_pshort, ind(16, 16)},
    {"hline", dir_hline, 0},
    {".-", dir_rule, 0},
    {"...", dir_join, 0},
    {"col", dir_col, 0},
    {"space", dir_space, 0},
    {"tab", dir_tab, 0},
    {"right", dir_align, AL_RIGHT},
    {"lalign", dir_align, AL_LEFT_N},
    {"ralign", dir_align, AL_RIGHT_N},
    {"center", dir_align, AL_CENTER},
    {"centre", dir_align, AL_CENTER},
    {"rcenter", dir_align, AL_RCENTER},
    {"rcentre", dir_align, AL_RCENTER},
    {"dup", dir_dup, 0},
    {"c", dir_char, 0},
    {"char", dir_char, 0},
    {"title", dir_title, 0},
    {"bind", dir_bind, 0},
    {"break", dir_break, 0},
    {"ccl", dir_ccl, 0},
    {"marker", dir_marker, 0},
    {"newpage", dir_newpage, 0},
    // help-writing shorthands
    {"opt", dir_opt, 0},
    {"opth", dir_opt, 1},
    {"cmdab", dir_cmdab, 0},
    {"manhelp", dir_manhelp, 0},
    {"manhelpi", dir_manhelp, 1},
    {"var", dir_var, 0},
    {"varname", dir_var, 0},
    {"vars", dir_var, 1},
    {"varlist", dir_var, 1},
    {"newvar", dir_var, 2},
    {"depvar", dir_var, 3},
    {"depvars", dir_var, 4},
    {"depvarlist", dir_var, 4},
    {"indepvars", dir_var, 5},
    {"weight", dir_fixed, 0},
    {"ifin", dir_fixed, 1},
    {"dtype", dir_fixed, 2},
    {"dlgtab", dir_dlgtab, 0},
    {"syntab", dir_syntab, 0},
    {"synopt", dir_synopt, 0},
    {"synopthdr", dir_synopthdr, 0},
    {"synoptline", dir_synoptline, 0},
    {"synoptset", dir_synoptset, 0},
    {"p2col", dir_p2col, 0},
    {"p2coldent", dir_p2col, 1},
    {"p2colset", dir_p2colset, 0},
    {"p2colreset", dir_p2colreset, 0},
    {"p2line", dir_p2line, 0},
    {"p2linedent", dir_p2line, 1},
    // links
    {"orvat", dir_link, link_row(KIND_COMMAND, LINK_ANY, false)},
    {"kilncmd", dir_link, link_row(KIND_KILN, LINK_ANY, false)},
    {"help", dir_link, link_row(12, LINK_ANY, false)},
    {"helpb", dir_link, link_row(12, LINK_ANY, true)},
    {"browse", dir_link, link_row(9, LINK_ANY, false)},
    {"search", dir_link, link_row(14, LINK_ANY, false)},
    {"net", dir_link, link_row(15, LINK_ANY, false)},
    {"ado", dir_link, link_row(16, LINK_ANY, false)},
    {"update", dir_link, link_row(17, LINK_ANY, false)},
    {"rnethelp", dir_link, link_row(18, LINK_ANY, false)},
    {"view", dir_link, link_row(19, LINK_ANY, false)},
    {"news", dir_link, link_row(20, LINK_NOARG, false)},
    {"adorm", dir_link, link_row(10, LINK_ANY, false)},
    {"back", dir_link, link_row(11, LINK_NOARG, false)},
    {"clearmore", dir_link, link_row(8, LINK_NOARG, false)},
    {"dialog", dir_link, link_row(25, LINK_ANY, false)},
    {"ado_d", dir_link, link_row(1, LINK_NOARG, false)},
    {"asdialog", dir_link, link_row(1, LINK_NOARG, false)},
    {"help_d", dir_link, link_row(2, LINK_NOARG, false)},
    {"cdialog", dir_link, link_row(2, LINK_NOARG, false)},
    {"net_d", dir_link, link_row(3, LINK_NOARG, false)},
    {"nsdialog", dir_link, link_row(3, LINK_NOARG, false)},
    {"netfrom_d", dir_link, link_row(4, LINK_NOARG, false)},
    {"nfdialog", dir_link, link_row(4, LINK_NOARG, false)},
    {"search_d", dir_link, link_row(5, LINK_NOARG, false)},
    {"sdialog", dir_link, link_row(5, LINK_NOARG, false)},
    {"update_d", dir_link, link_row(6, LINK_NOARG, false)},
    {"ufdialog", dir_link, link_row(6, LINK_NOARG, false)},
    {"view_d", dir_link, link_row(7, LINK_NOARG, false)},
    {"vdialog", dir_link, link_row(7, LINK_NOARG, false)},
};

const DirRow *find_directive(const char *name, size_t len) {
    for (const DirRow &r : dir_table)
        if (r.name[0] == name[0] && std::strncmp(r.name, name, len) == 0 && r.name[len] == 0) return &r;
    return nullptr;
}

// Runs "{...}"; false when it fails, and the caller shows it as it stands.
bool directive(RimuStream *s, const char *src, size_t len) {
    const char *b = src + 1, *e = src + len - 1;
    while (b < e && *b == ' ')
        ++b;
    Dir d;
    d.src = Span{src, len};
    if (b < e && *b == '?') {
        d.optional = true;
        ++b;
    }
    const char *ne = b;
    while (ne < e && *ne != ' ' && *ne != ':')
        ++ne;
    size_t name_len = ne - b;
    if (name_len < 1 || name_len > 13) return false;
    d.rest = Span{ne, (size_t)(e - ne)};
    const DirRow *row = find_directive(b, name_len);
    if (row) return row->fn(s, d, row->arg);
    if (!d.optional) return false;
    Span a, t;
    bool has;
    if (!split(d, a, t, has)) return false;
    if (has) scan_nested(s, t.p, t.n);
    return true;
}

// The "}" that balances the "{" at p, or null.
const char *balance(const char *p, const char *e) {
    int depth = 0;
    for (const char *q = p; q < e; ++q) {
        if (*q == '{') {
            ++depth;
        } else if (*q == '}') {
            if (--depth == 0) return q;
        }
    }
    return nullptr;
}

void body(RimuStream *s, const char *p, size_t n, bool top);

// After a mode change the rest of the text starts over in the new mode.
void resume(RimuStream *s, const char *p, size_t n, bool top) {
    if (top)
        scan_piece(s, p, n, true);
    else
        scan_nested(s, p, n);
}

// Text to the text writer, directives run; at the top an unclosed tag waits in pendingTag.
void body(RimuStream *s, const char *p, size_t n, bool top) {
    const char *e = p + n;
    const char *tab = (const char *)std::memchr(p, '\t', n);
    while (p < e) {
        if (tab && tab < p) tab = (const char *)std::memchr(p, '\t', e - p);
        const char *brace = (const char *)std::memchr(p, '{', e - p);
        const char *stop = brace && (!tab || brace < tab) ? brace : tab;
        if (!stop) {
            text_write(s, p, e - p);
            return;
        }
        text_write(s, p, stop - p);
        p = stop;
        if (*p == '\t') {
            ++p;
            if (s->mode == MODE_PARA)
                text_write(s, "  ", 2);
            else if (s->mode == MODE_LINE)
                line_blanks(s, 8 - s->lineLength % 8);
            else
                text_write(s, "\t", 1);
            continue;
        }
        const char *close = balance(p, e);
        if (!close) {
            if (top && e[-1] != '\n' && e - p < PENDING_MAX) {
                std::memcpy(s->pendingTag, p, e - p);
                s->pending_len = (int)(e - p);
                return;
            }
            text_write(s, p, 1);
            ++p;
            continue;
        }
        int serial = s->mode_serial;
        size_t len = close + 1 - p;
        if (!directive(s, p, len)) text_write(s, p, len);
        p = close + 1;
        if (s->mode_serial != serial) {
            resume(s, p, e - p, top);
            return;
        }
    }
}

bool blank_line(const char *p, size_t n) {
    if (n == 0 || p[n - 1] != '\n') return false;
    for (size_t i = 0; i + 1 < n; ++i)
        if (p[i] != ' ' && p[i] != '\t') return false;
    return true;
}

// Text in the as-is and old-help modes does not go through the directive scanner: true when it went
// to its own writer.
bool passed_on(RimuStream *s, const char *p, size_t n) {
    if (s->mode == MODE_ASIS)
        text_write(s, p, n);
    else if (s->mode == MODE_OLDHELP)
        oldhelp_feed(s, p, n);
    else
        return false;
    return true;
}

} // namespace

void scan_piece(RimuStream *s, const char *p, size_t n, bool steps) {
    if (n == 0 || passed_on(s, p, n)) return;
    int saved = s->inputDepth;
    s->inputDepth = saved + 1;
    if (steps) {
        // A blank line after a line end closes the paragraph.
        if (s->mode == MODE_PARA && s->inputDepth == 1) {
            bool nl = p[n - 1] == '\n';
            if (nl && s->lastWasNewline && blank_line(p, n)) {
                stream_set_mode(s, MODE_LINE);
                s->inputDepth = 1;
            }
            s->lastWasNewline = nl;
        }
        if (s->mode == MODE_LINE && s->skipAfterParagraph) {
            s->skipAfterParagraph = 0;
            s->skipNewline = 1;
        }
    }
    if (s->pending_len) {
        // The waiting tag and the new text are read as one, up to PENDING_MAX characters.
        char joined[PENDING_MAX];
        int m = s->pending_len;
        size_t k = n < (size_t)(PENDING_MAX - m) ? n : (size_t)(PENDING_MAX - m);
        std::memcpy(joined, s->pendingTag, m);
        std::memcpy(joined + m, p, k);
        s->pending_len = 0;
        body(s, joined, m + k, true);
        if (k < n) scan_piece(s, p + k, n - k, false);
    } else {
        body(s, p, n, true);
    }
    s->inputDepth = saved;
}

void scan_nested(RimuStream *s, const char *p, size_t n) {
    if (n == 0 || passed_on(s, p, n)) return;
    int saved = s->inputDepth;
    s->inputDepth = saved + 1;
    body(s, p, n, false);
    s->inputDepth = saved;
}

} // namespace out
