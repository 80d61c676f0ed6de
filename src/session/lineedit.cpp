// The terminal line reader with its key table, and the review ring of lines typed at the terminal.
#include "session/lineedit.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "output/channel.h"
#include "output/term.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

// ---------------------------------------------------------------------------------------------------------
// Function keys.

std::string fkey_default(int n) {
    switch (n) {
    case 1:
        return "help ";
    case 2:
        return "#review;";
    case 3:
        return "describe;";
    case 7:
        return "save ";
    case 8:
        return "use ";
    default:
        return "";
    }
}

std::string (*fkey_text)(int n) = fkey_default;
std::vector<std::string> (*complete_names)(std::string_view stem) = nullptr;

// ---------------------------------------------------------------------------------------------------------
// The review ring.

namespace {

struct Review {
    std::unique_ptr<char[]> ring;
    int size = 0;
    int pos = 0; // where the next byte goes; the byte before it is the marker that ends the newest line
};
Review rv;

constexpr char MARK = '\0';

void review_ready() {
    if (!rv.ring) review_init(maxmaclen);
}

// Collects up to n lines, newest first. A line whose start has been overwritten ends the walk.
int review_lines(int n, std::string *lines) {
    review_ready();
    int R = rv.size;
    auto at = [&](int d) { return rv.ring[((rv.pos - d) % R + R) % R]; }; // d bytes back from pos
    int end = 1; // distance of the marker that ends the current line
    int got = 0;
    while (got < n) {
        int d = end + 1;
        while (d <= R && at(d) != MARK)
            ++d;
        if (d > R) break;
        std::string &s = lines[got++];
        s.clear();
        for (int k = d - 1; k > end; --k)
            s += at(k);
        end = d;
        if (end >= R) break;
    }
    return got;
}

} // namespace

void review_init(int size) {
    rv.ring.reset(new char[size]);
    std::memset(rv.ring.get(), MARK, size);
    rv.size = size;
    rv.pos = 0;
}

void review_add(const char *line) {
    review_ready();
    size_t n = std::strlen(line);
    while (n > 0 && line[n - 1] == ' ')
        --n;
    if (n == 0 || (int)n > rv.size - 2) return;
    for (size_t i = 0; i < n; ++i) {
        rv.ring[rv.pos] = line[i];
        rv.pos = (rv.pos + 1) % rv.size;
    }
    rv.ring[rv.pos] = MARK;
    rv.pos = (rv.pos + 1) % rv.size;
}

int review_get(int k, std::string &out) {
    out.clear();
    if (k < 1 || k > 100000) return 1;
    std::unique_ptr<std::string[]> lines(new std::string[k]);
    if (review_lines(k, lines.get()) < k || lines[k - 1].empty()) return 1;
    out = lines[k - 1];
    return 0;
}

void review_show(int n, int m) {
    if (n < 0) n = 0;
    if (n > 100) n = 100;
    int count = (m > 0 && m < n) ? m : n;
    if (count == 0) return;
    std::string lines[100];
    int got = review_lines(n, lines);
    out::ClassScope cs(out::CLS_TEXT);
    bool started = false;
    for (int k = n; k > n - count; --k) {
        const std::string &s = k <= got ? lines[k - 1] : std::string();
        if (!started && s.empty()) continue;
        started = true;
        out::out_textf("%d ", k);
        out::out_text(s);
        if (out::out_newline()) break; // Break, or q at --more--
    }
}

// ---------------------------------------------------------------------------------------------------------
// Plain lines from standard input (not a terminal, or a terminal that can't be edited on).

namespace {

struct Plain {
    char buf[4096];
    int fill = 0;
    int at = 0;
    bool eof = false;
};
Plain pl;

// 1 with a byte, 0 at end of input, -1 interrupted by a Break.
int plain_byte(unsigned char *c) {
    while (pl.at >= pl.fill) {
        if (pl.eof) return 0;
        ssize_t r = ::read(0, pl.buf, sizeof pl.buf);
        if (r > 0) {
            pl.fill = (int)r;
            pl.at = 0;
        } else if (r == 0) {
            pl.eof = true;
            return 0;
        } else if (errno == EINTR) {
            if (out::term.resized)
                out::term.resized = 0;
            else if (poll_break())
                return -1;
        } else {
            pl.eof = true;
            return 0;
        }
    }
    *c = (unsigned char)pl.buf[pl.at++];
    return 1;
}

int read_plain_line(char *buf, int cap) {
    int n = 0, col = 0;
    bool any = false;
    for (;;) {
        unsigned char c;
        int r = plain_byte(&c);
        if (r < 0) {
            buf[n] = '\0';
            return -2;
        }
        if (r == 0) {
            buf[n] = '\0';
            if (!any) {
                pl.eof = false; // a later read may find more (a terminal after its end-of-file key)
                return -1;
            }
            break;
        }
        any = true;
        if (c == '\n') break;
        if (c == '\t') {
            // A tab becomes the blanks up to the next multiple of 8 in the line.
            do {
                if (n < cap - 1) buf[n++] = ' ';
                ++col;
            } while (col % 8);
            continue;
        }
        if (c < 32 || c > 254) continue;
        if (n < cap - 1) buf[n++] = (char)c; // past the capacity the rest of the line is read and dropped
        ++col;
    }
    buf[n] = '\0';
    // A terminal in line mode has echoed the line and its end already.
    if (isatty(0)) out::con.fresh_row = true;
    return 0;
}

} // namespace

// ---------------------------------------------------------------------------------------------------------
// The line editor.

namespace {

// What a key does.
enum Act {
    A_NONE,
    A_UP,
    A_DN,
    A_RGT,
    A_LFT,
    A_HOME,
    A_EOL,
    A_BS,
    A_ERA,
    A_HACK,
    A_INS,
    A_DEL,
    A_FWD,
    A_BCK,
    A_SK,
    A_PGUP,
    A_PGDN,
    A_FKEY,
    A_ENTER
};

struct KeyRow {
    int key;
    Act act;
};

// Control characters and the codes of the terminal's key sequences.
constexpr KeyRow key_rows[] = {
    {15, A_UP},
    {out::KEY_UP, A_UP},
    {14, A_DN},
    {out::KEY_DOWN, A_DN},
    {12, A_RGT},
    {out::KEY_RIGHT, A_RGT},
    {8, A_LFT},
    {out::KEY_LEFT, A_LFT},
    {11, A_HOME},
    {out::KEY_HOME, A_HOME},
    {16, A_EOL},
    {out::KEY_END, A_EOL},
    {20, A_BS},
    {127, A_BS},
    {out::KEY_BS, A_BS},
    {21, A_ERA},
    {24, A_HACK},
    {5, A_INS},
    {out::KEY_INS, A_INS},
    {4, A_DEL},
    {out::KEY_DEL, A_DEL},
    {9, A_FWD},
    {7, A_BCK},
    {23, A_SK},
    {18, A_PGUP},
    {out::KEY_PGUP, A_PGUP},
    {2, A_PGDN},
    {out::KEY_PGDN, A_PGDN},
    {6, A_FKEY},
    {13, A_ENTER},
    {10, A_ENTER},
};

Act action_of(int key) {
    for (const KeyRow &r : key_rows)
        if (r.key == key) return r.act;
    return A_NONE;
}

bool cont_byte(char c) { return ((unsigned char)c & 0xC0) == 0x80; }

// The line being edited and where the screen stands. Screen positions count columns from the start of the
// row the prompt began on; the text begins at plen.
struct Ed {
    char *buf;
    int cap;
    int len = 0;
    int cur = 0; // byte index of the cursor
    int plen = 0;
    int P = 0;          // screen position of the terminal's cursor
    int shown_end = 0;  // screen position past the last column that may still show text
    bool insert = true; // insert mode (Ctrl-E toggles to overwrite)
    int recall = 0;     // how far back the last recall went
    std::string typed;  // the line as typed, kept while recalled lines are shown
};

int C() { return out::term.cols > 1 ? out::term.cols : 80; }

int next_ix(const Ed &e, int i) {
    if (i < e.len) ++i;
    while (i < e.len && cont_byte(e.buf[i]))
        ++i;
    return i;
}

int prev_ix(const Ed &e, int i) {
    if (i > 0) --i;
    while (i > 0 && cont_byte(e.buf[i]))
        --i;
    return i;
}

int pos_of(const Ed &e, int i) {
    int p = e.plen;
    for (int k = 0; k < i; ++k)
        if (!cont_byte(e.buf[k])) ++p;
    return p;
}

// The byte index of the character shown at screen position P (len when past the text).
int index_at(const Ed &e, int P) {
    int p = e.plen, i = 0;
    while (i < e.len && p < P) {
        i = next_ix(e, i);
        ++p;
    }
    return i;
}

void put(const char *p, int n) { out::term_put(p, (size_t)n); }

// Writes the characters (or blanks past the text) for screen positions [from, to) and follows the cursor.
void write_span(Ed &e, int from, int to) {
    int i = index_at(e, from);
    size_t plen = std::strlen(out::con.partial);
    for (int P = from; P < to; ++P) {
        if (P < e.plen) {
            put((size_t)P < plen ? out::con.partial + P : " ", 1); // a prompt that spans rows
        } else if (i < e.len) {
            int j = next_ix(e, i);
            put(e.buf + i, j - i);
            i = j;
        } else {
            put(" ", 1);
        }
    }
    e.P = to;
}

// After writing up to a row's last column the terminal may hold the cursor there until the next character;
// writing the next character and a carriage return settles it at the start of the new row either way.
void settle(Ed &e) {
    if (e.P == 0 || e.P % C() != 0) return;
    int P = e.P;
    write_span(e, P, P + 1);
    put("\r", 1);
    e.P = P;
}

void go(Ed &e, int P) {
    int c = C();
    int r1 = e.P / c, c1 = e.P % c, r2 = P / c, c2 = P % c;
    if (r2 < r1) {
        for (int k = r2; k < r1; ++k)
            out::term_put(out::term.up);
    } else if (r2 > r1) {
        for (int k = r1; k < r2; ++k)
            put("\r\n", 2);
        c1 = 0;
    }
    if (c2 < c1) {
        for (int k = c2; k < c1; ++k)
            out::term_put(out::term.bc);
    } else if (c2 > c1) {
        write_span(e, r2 * c + c1, r2 * c + c2);
    }
    e.P = P;
}

// Shows the text from byte i on, blanks out what the line held beyond its new end, puts the cursor back.
void redraw_from(Ed &e, int i) {
    int from = pos_of(e, i), end = pos_of(e, e.len);
    go(e, from);
    write_span(e, from, end);
    settle(e);
    if (e.shown_end > end) {
        if (!out::term.cd.empty()) {
            out::term_put(out::term.cd);
        } else {
            write_span(e, end, e.shown_end);
            settle(e);
        }
    }
    e.shown_end = end;
    go(e, pos_of(e, e.cur));
}

void set_cursor(Ed &e, int i) {
    e.cur = i;
    go(e, pos_of(e, i));
}

// Inserts (or, in overwrite mode, puts over) n bytes at the cursor; false when the line is full.
bool insert_bytes(Ed &e, const char *s, int n) {
    int at = e.cur;
    if (!e.insert && at < e.len) {
        int j = next_ix(e, at);
        std::memmove(e.buf + at, e.buf + j, e.len - j);
        e.len -= j - at;
    }
    if (e.len + n > e.cap - 1) return false;
    std::memmove(e.buf + at + n, e.buf + at, e.len - at);
    std::memcpy(e.buf + at, s, n);
    e.len += n;
    e.cur = at + n;
    redraw_from(e, at);
    return true;
}

void erase_bytes(Ed &e, int a, int b) {
    std::memmove(e.buf + a, e.buf + b, e.len - b);
    e.len -= b - a;
    e.cur = a;
    redraw_from(e, a);
}

void replace_line(Ed &e, const std::string &s) {
    int n = (int)std::min<size_t>(s.size(), (size_t)(e.cap - 1));
    while (n > 0 && n < (int)s.size() && cont_byte(s[n]))
        --n; // never keep half a character
    std::memcpy(e.buf, s.data(), n);
    e.len = n;
    e.cur = n;
    redraw_from(e, 0);
}

// Inserts text with control characters left out.
void insert_text(Ed &e, const std::string &t) {
    std::string clean;
    for (char c : t)
        if ((unsigned char)c >= 32 && c != 127) clean += c;
    if (!clean.empty()) insert_bytes(e, clean.data(), (int)clean.size());
}

bool name_byte(char c) { return std::isalnum((unsigned char)c) || c == '_'; }

// Tab behind the start of a name: the names that begin with it are asked for; one name is completed
// and followed by a blank, several are completed as far as they agree. False (the key moves instead)
// when there is no name before the cursor, the cursor stands inside a word, or nothing begins so.
bool complete(Ed &e) {
    if (!complete_names || e.cur == 0 || (e.cur < e.len && name_byte(e.buf[e.cur]))) return false;
    int start = e.cur;
    while (start > 0 && name_byte(e.buf[start - 1]))
        --start;
    if (start == e.cur || std::isdigit((unsigned char)e.buf[start])) return false;
    const std::string stem(e.buf + start, (size_t)(e.cur - start));
    const std::vector<std::string> names = complete_names(stem);
    if (names.empty()) return false;
    std::string common = names[0];
    for (const std::string &n : names) {
        size_t k = 0;
        while (k < common.size() && k < n.size() && common[k] == n[k])
            ++k;
        common.resize(k);
    }
    std::string add = common.size() > stem.size() ? common.substr(stem.size()) : "";
    if (names.size() == 1) add += ' ';
    insert_text(e, add);
    return true;
}

// Brings back command k (1 the newest); 0 brings back the line as it was typed before the first recall.
void recall(Ed &e, int k) {
    std::string s;
    if (k == 0) {
        e.recall = 0;
        replace_line(e, e.typed);
    } else if (review_get(k, s) == 0) {
        if (e.recall == 0) e.typed.assign(e.buf, e.len);
        e.recall = k;
        replace_line(e, s);
    }
}

// The screen after a change of window size: the line again, on a new row, with the prompt.
void redraw_all(Ed &e) {
    put("\r\n", 2);
    out::term_put(out::con.partial);
    e.P = e.plen;
    e.shown_end = e.plen;
    redraw_from(e, 0);
}

void finish(Ed &e) {
    go(e, pos_of(e, e.len));
    e.buf[e.len] = '\0';
    out::con.fresh_row = e.P > 0 && e.P % C() == 0;
}

int edit_line(char *buf, int cap) {
    Ed e;
    e.buf = buf;
    e.cap = cap;
    e.plen = out::con.shownColumn;
    e.P = e.shown_end = e.plen;
    out::term.resized = 0; // the prompt was just drawn at the present size
    settle(e);
    out::term_flush();
    int pending = 0; // a key read ahead that still has to be acted on
    for (;;) {
        int k = pending ? pending : out::term_getkey();
        pending = 0;
        if (k == out::KEY_EOF) {
            finish(e);
            if (!out::con.fresh_row) put("\r\n", 2);
            out::con.fresh_row = false;
            out::con.shownColumn = 0;
            out::term_flush();
            return -1;
        }
        if (k == out::KEY_BREAK) {
            finish(e);
            out::term_flush();
            return -2;
        }
        if (k == out::KEY_RESIZE) {
            redraw_all(e);
            out::term_flush();
            continue;
        }
        int fkey = 0;
        Act a = action_of(k);
        if (k >= out::KEY_F1 && k <= out::KEY_F1 + 9) {
            fkey = k - out::KEY_F1 + 1;
        } else if (a == A_FKEY) {
            int d = out::term_getkey();
            if (d >= '0' && d <= '9')
                fkey = d == '0' ? 10 : d - '0';
            else
                pending = d;
            if (d == out::KEY_EOF || d == out::KEY_BREAK) pending = d;
        }
        if (fkey) {
            std::string t = fkey_text ? fkey_text(fkey) : std::string();
            bool enter = !t.empty() && t.back() == ';';
            if (enter) t.pop_back();
            insert_text(e, t);
            if (enter)
                a = A_ENTER;
            else
                a = A_NONE;
        }
        int c = C();
        switch (a) {
        case A_ENTER:
            finish(e);
            out::term_flush();
            return 0;
        case A_UP: {
            // Up a row; on the first row there is nothing above, so the previous command comes instead.
            int P = pos_of(e, e.cur);
            if (P / c > e.plen / c)
                set_cursor(e, index_at(e, std::max(P - c, e.plen)));
            else
                recall(e, e.recall + 1);
            break;
        }
        case A_DN: {
            // Down a row; on the last row the next command comes instead.
            int P = pos_of(e, e.cur), end = pos_of(e, e.len);
            if (P / c < end / c)
                set_cursor(e, index_at(e, std::min(P + c, end)));
            else if (e.recall > 0)
                recall(e, e.recall - 1);
            break;
        }
        case A_RGT:
            set_cursor(e, next_ix(e, e.cur));
            break;
        case A_LFT:
            set_cursor(e, prev_ix(e, e.cur));
            break;
        case A_HOME:
            set_cursor(e, 0);
            break;
        case A_EOL:
            set_cursor(e, e.len);
            break;
        case A_BS:
            if (e.cur > 0) erase_bytes(e, prev_ix(e, e.cur), e.cur);
            break;
        case A_ERA:
            e.len = e.cur = 0;
            redraw_from(e, 0);
            break;
        case A_HACK:
            e.len = e.cur;
            redraw_from(e, e.cur);
            break;
        case A_INS:
            e.insert = !e.insert;
            break;
        case A_DEL:
            if (e.cur < e.len) erase_bytes(e, e.cur, next_ix(e, e.cur));
            break;
        case A_FWD: {
            if (complete(e)) break;
            int i = e.cur;
            for (int n = 0; n < 8; ++n)
                i = next_ix(e, i);
            set_cursor(e, i);
            break;
        }
        case A_BCK: {
            int i = e.cur;
            for (int n = 0; n < 8; ++n)
                i = prev_ix(e, i);
            set_cursor(e, i);
            break;
        }
        case A_SK: {
            // The line's text is a number: that command back comes to the line.
            std::string t(e.buf, e.len);
            char *end;
            long n = std::strtol(t.c_str(), &end, 10);
            while (*end == ' ')
                ++end;
            if (!t.empty() && *end == '\0' && n >= 1 && n <= 100000) recall(e, (int)n);
            break;
        }
        case A_PGUP:
            recall(e, e.recall + 1);
            break;
        case A_PGDN:
            if (e.recall > 0) recall(e, e.recall - 1);
            break;
        case A_FKEY:
        case A_NONE:
            if (!fkey && k >= 32 && k < 256 && k != 127) {
                char s[4] = {(char)k};
                int n = 1, want = k >= 0xF0 ? 3 : k >= 0xE0 ? 2 : k >= 0xC0 ? 1 : 0;
                // The rest of a multi-byte character goes in with its first byte.
                while (want-- > 0) {
                    int d = out::term_getkey();
                    if (d >= 0x80 && d < 0xC0) {
                        s[n++] = (char)d;
                    } else {
                        pending = d;
                        break;
                    }
                }
                insert_bytes(e, s, n);
            }
            break;
        }
        out::term_flush();
    }
}

} // namespace

int read_terminal_line(char *buf, int cap) {
    if (cap < 1) return -1;
    buf[0] = '\0';
    if (!out::term.editing) return read_plain_line(buf, cap);
    return edit_line(buf, cap);
}

} // namespace session
