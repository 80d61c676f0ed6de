// The terminal: set-up from the termcap description, buffered output to fd 1, keys, modes and the console
// sink.
#include "output/term.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <termcap.h>

#include "output/channel.h"
#include "output/rimu.h"
#include "session/fileio.h"
#include "session/state.h"

namespace out {

Term term;
Console con;
Conren conren;

// ---------------------------------------------------------------------------------------------------------
// Key sequences and padding.

bool key_add(KeyTable &t, const char *seq, int code) {
    if (!seq || t.count >= KEYTAB_MAX) return false;
    size_t n = std::strlen(seq);
    if (n < 1 || n > (size_t)KEYSEQ_MAX) return false;
    if (n > 1 && seq[0] != '\x1b') return false;
    KeySeq &e = t.e[t.count++];
    e.len = (uint8_t)n;
    std::memcpy(e.seq, seq, n + 1);
    e.code = code;
    return true;
}

int key_match(const KeyTable &t, const char *bytes, int n) {
    bool prefix = false;
    for (int i = 0; i < t.count; ++i) {
        const KeySeq &e = t.e[i];
        if (n > e.len || std::memcmp(e.seq, bytes, n) != 0) continue;
        if (n == e.len) return e.code;
        prefix = true;
    }
    return prefix ? 0 : -1;
}

std::string strip_padding(const char *s) {
    std::string r;
    if (!s) return r;
    while ((*s >= '0' && *s <= '9') || *s == '*')
        ++s;
    while (*s) {
        if (s[0] == '$' && s[1] == '<') {
            const char *q = s + 2;
            while (*q >= '0' && *q <= '9')
                ++q;
            if (q > s + 2 && *q == '>') {
                s = q + 1;
                continue;
            }
        }
        r += *s++;
    }
    return r;
}

// ---------------------------------------------------------------------------------------------------------
// Output to fd 1.

namespace {

char obuf[512];
int ofill = 0;

} // namespace

void term_flush() {
    if (ofill > 0)
        session::write_all(1, obuf, (size_t)ofill); // a terminal that is gone drops output silently
    ofill = 0;
}

void term_put(const char *p, size_t n) {
    if (n == 0) return;
    if (n >= sizeof obuf) {
        term_flush();
        session::write_all(1, p, n);
        return;
    }
    if (ofill + n > sizeof obuf - 1) term_flush();
    std::memcpy(obuf + ofill, p, n);
    ofill += (int)n;
}

void term_put_flush(std::string_view s) {
    term_put(s);
    term_flush();
}

// ---------------------------------------------------------------------------------------------------------
// Set-up.

namespace {

int clamp_width(int w) { return w < 40 ? 40 : w > 255 ? 255 : w; }

std::string capstr(const char *id) {
    char area[2048];
    char *ap = area;
    const char *v = tgetstr(id, &ap);
    return v ? strip_padding(v) : std::string();
}

void add_cap_key(const char *id, int code) {
    char area[2048];
    char *ap = area;
    const char *v = tgetstr(id, &ap);
    if (v) key_add(term.keys, v, code);
}

void set_seq(ConSeq &s, std::string_view v) {
    s.len = (uint8_t)std::min<size_t>(v.size(), CONREN_MAX);
    std::memcpy(s.b, v.data(), s.len);
}

} // namespace

void update_underline_resets() {
    if (!ch.console) return;
    ch.console->underlineResets = conren.ulon.len && (conren.uloff.len || conren.reset.len);
}

void conren_defaults(bool colour) {
    conren = Conren{};
    if (colour) {
        // Colours in table order: result, text, blue, error, input, link, hilite.
        static const char *const colours[7] = {"\x1b[1m", "",         "\x1b[34m", "\x1b[31m",
                                               "",        "\x1b[36m", "\x1b[1m"};
        static const char *const fonts[3] = {"", "\x1b[3m", "\x1b[1m"};
        for (int f = 0; f < 3; ++f)
            for (int c = 0; c < 7; ++c)
                set_seq(conren.tab[f * 7 + c], std::string(fonts[f]) + colours[c]);
        set_seq(conren.reset, "\x1b[0m");
        set_seq(conren.ulon, "\x1b[4m");
        set_seq(conren.uloff, "\x1b[24m");
    }
    update_underline_resets();
}

void term_setup(bool batch, const char *name) {
    term.cols = 80;
    term.lines = 25;
    term.tabsize = 8;
    term.pagesize = 0;
    term.linesize = 79;
    term.batch = batch;
    term.described = term.editing = term.colour = false;
    term.in_tty = isatty(0);
    term.out_tty = isatty(1);
    term.name[0] = '\0';
    term.bc = "\b";
    term.ce = term.cd = term.dc = term.ic = term.so = term.se = term.cm = term.up = term.ks = term.ke = "";
    term.keys.count = 0;
    con.last_style = -1;
    conren_defaults(false);
    if (name) {
        std::strncpy(term.name, name, sizeof term.name - 1);
        term.name[sizeof term.name - 1] = '\0';
    }
    if (batch || !term.name[0]) return;
    static char entry[4096];
    if (tgetent(entry, term.name) != 1) return;
    term.described = true;
    int v = tgetnum("co");
    if (v != -1) term.cols = v;
    v = tgetnum("li");
    if (v != -1) term.lines = v;
    if (std::strcmp(term.name, "sun-cmd") == 0) {
        term_put_flush("\nOrvat works better under shelltool.\n");
        return;
    }
    if (term.lines > 4) {
        term.pagesize = term.lines - 2;
        if (ch.console) ch.console->pageLength = term.pagesize;
    }
    term.linesize = clamp_width(term.cols - 1);
    if (ch.console) ch.console->width = term.linesize;

    add_cap_key("kd", KEY_DOWN);
    add_cap_key("kl", KEY_LEFT);
    add_cap_key("kr", KEY_RIGHT);
    add_cap_key("ku", KEY_UP);
    add_cap_key("kb", KEY_BS);
    add_cap_key("kh", KEY_HOME);
    static const char *const fkeys[9] = {"k1", "k2", "k3", "k4", "k5", "k6", "k7", "k8", "k9"};
    for (int i = 0; i < 9; ++i)
        add_cap_key(fkeys[i], KEY_F1 + i);
    if (std::strcmp(term.name, "sun") == 0 || std::strcmp(term.name, "sunkbrd") == 0) {
        key_add(term.keys, "\x1b[214z", KEY_HOME);
        key_add(term.keys, "\x1b[220z", KEY_END);
        key_add(term.keys, "\x1b[247z", KEY_INS);
        key_add(term.keys, "\x1b[249z", KEY_DEL);
        key_add(term.keys, "\x1b[216z", KEY_PGUP);
        key_add(term.keys, "\x1b[222z", KEY_PGDN);
    }
    add_cap_key("kI", KEY_INS);
    add_cap_key("kD", KEY_DEL);
    add_cap_key("kP", KEY_PGUP);
    add_cap_key("kN", KEY_PGDN);
    add_cap_key("@7", KEY_END);
    add_cap_key("kh", KEY_HOME);

    if (!tgetflag("bs")) {
        std::string b = capstr("bc");
        if (!b.empty()) term.bc = b;
    }
    term.ce = capstr("ce");
    term.cd = capstr("cd");
    term.dc = capstr("dc");
    term.ic = capstr("ic");
    term.so = capstr("so");
    term.se = capstr("se");
    term.cm = capstr("cm");
    term.up = capstr("up");
    term.ks = capstr("ks");
    term.ke = capstr("ke");

    // Editing a line that spans rows needs the cursor to go up.
    term.editing = term.in_tty && term.out_tty && !term.up.empty();
    term.colour = term.out_tty && tgetnum("Co") >= 8;
    conren_defaults(term.colour);
}

// ---------------------------------------------------------------------------------------------------------
// Modes and signals.

namespace {
struct termios saved_modes;
bool modes_saved = false;
} // namespace

void term_modes_set() {
    if (!term.editing || modes_saved) return;
    if (tcgetattr(0, &saved_modes) != 0) return;
    modes_saved = true;
    struct termios t = saved_modes;
    t.c_iflag |= BRKINT;
    t.c_lflag &= ~(ICANON | ECHO);
    t.c_lflag |= NOFLSH;
    t.c_cc[VEOF] = 1;
    t.c_cc[VTIME] = 0;
    t.c_cc[VMIN] = 1;
    tcsetattr(0, TCSADRAIN, &t);
    // Keypad transmit mode makes the keys send the sequences the description lists.
    if (!term.ks.empty()) term_put_flush(term.ks);
}

void term_modes_restore() {
    if (term.out_tty) {
        if (con.last_style != -1) term_put(conren.reset.view());
        if (!term.ke.empty()) term_put(term.ke);
    }
    term_flush();
    if (modes_saved) {
        tcsetattr(0, TCSADRAIN, &saved_modes);
        modes_saved = false;
    }
}

// Only async-signal-safe calls: the size comes from the kernel's record of the window.
void on_winch(int) {
    int saved = errno;
    struct winsize ws;
    if ((ioctl(1, TIOCGWINSZ, &ws) == 0 || ioctl(0, TIOCGWINSZ, &ws) == 0) && ws.ws_col > 0 &&
        ws.ws_row > 0) {
        term.cols = ws.ws_col;
        term.lines = ws.ws_row;
    }
    if (ch.console) {
        if (term.lines > 4) ch.console->pageLength = term.lines - 2;
        ch.console->width = clamp_width(term.cols - 1);
    }
    term.resized = 1;
    errno = saved;
}

// ---------------------------------------------------------------------------------------------------------
// Keys.

namespace {

// One byte from fd 0; 1 with a byte, 0 at end of input, -1 interrupted.
int read_byte(unsigned char *c) {
    for (;;) {
        ssize_t r = ::read(0, c, 1);
        if (r == 1) return 1;
        if (r == 0) return 0;
        if (errno == EINTR) return -1;
        if (errno == EAGAIN) {
            struct pollfd p = {0, POLLIN, 0};
            poll(&p, 1, -1);
            continue;
        }
        return 0; // a read error ends input like end of file
    }
}

// True when another byte arrives within ms milliseconds: the rest of a key's sequence.
bool byte_follows(int ms) {
    struct pollfd p = {0, POLLIN, 0};
    return poll(&p, 1, ms) == 1 && (p.revents & POLLIN);
}

} // namespace

int term_getkey() {
    unsigned char c;
    if (term.resized) {
        term.resized = 0;
        return KEY_RESIZE;
    }
    for (;;) {
        int r = read_byte(&c);
        if (r == 1) break;
        if (r == 0) return KEY_EOF;
        // A window change is looked at first: a Break left over from the pager must not take the line.
        if (term.resized) {
            term.resized = 0;
            return KEY_RESIZE;
        }
        if (session::poll_break()) return KEY_BREAK;
    }
    char seq[KEYSEQ_MAX + 1];
    int n = 0;
    seq[n++] = (char)c;
    for (;;) {
        int m = key_match(term.keys, seq, n);
        if (m > 0) return m;
        if (m < 0 || n >= KEYSEQ_MAX || !byte_follows(100)) break;
        if (read_byte(&c) != 1) break;
        seq[n++] = (char)c;
    }
    if (n == 1) return (unsigned char)seq[0];
    if (seq[0] != '\x1b') return (unsigned char)seq[0];
    // An escape sequence the table doesn't know: drop it whole, through its final byte.
    bool csi = seq[1] == '[' || seq[1] == 'O';
    unsigned char last = (unsigned char)seq[n - 1];
    if (csi && n >= 2 && !(n > 2 && last >= 0x40 && last <= 0x7e)) {
        while (byte_follows(100) && read_byte(&c) == 1)
            if (c >= 0x40 && c <= 0x7e) break;
    }
    return KEY_NONE;
}

// ---------------------------------------------------------------------------------------------------------
// The console sink.

int conren_index(int style) {
    int colour = style & 7;
    if (colour == 0) return -1;
    int font = (style & 0x18) >> 3;
    if (font > 2) font = 2;
    return font * 7 + colour - 1;
}

namespace {

void send_style(int style) {
    int key = style & 0x3f;
    if (key == con.last_style) return;
    if (term.out_tty) {
        if (con.underline && conren.uloff.len) term_put(conren.uloff.view());
        term_put(conren.reset.view());
        int i = conren_index(key);
        if (i >= 0) term_put(conren.tab[i].view());
        if (key & STY_UNDERLINE) term_put(conren.ulon.view());
    }
    con.underline = (key & STY_UNDERLINE) != 0;
    con.last_style = key;
}

void show_line(const uint8_t *image, int code) {
    LineView v = line_view(image);
    int len = v.text_length;
    if (len < 0) len = 0;
    if (len > LINE_TEXT_MAX) len = LINE_TEXT_MAX;
    bool draw = false;
    for (int i = 0; i < v.run_count; ++i)
        draw |= (v.runs[2 * i + 1] & STY_LINEDRAW) != 0;
    char text[LINE_TEXT_MAX + 1];
    for (int i = 0; i < len; ++i) {
        char c = v.text[i];
        if (draw && c >= 1 && c <= 8) c = c <= 2 ? '-' : c <= 4 ? '|' : '+';
        if (c == 19) c = ' '; // a hard blank
        text[i] = c;
    }
    // After a partial line only the columns not yet written go out.
    int from = con.shownColumn <= len ? con.shownColumn : 0;
    con.fresh_row = false;
    for (int r = 0; r < v.run_count; ++r) {
        int a = v.runs[2 * r];
        int b = r + 1 < v.run_count ? v.runs[2 * (r + 1)] : len;
        if (r == 0) a = 0;
        if (b > len) b = len;
        if (a < from) a = from;
        if (a >= b) continue;
        send_style(v.runs[2 * r + 1]);
        term_put(text + a, b - a);
    }
    if (code == SINK_LINE) {
        term_put("\n", 1);
        con.shownColumn = 0;
        con.partial[0] = '\0';
    } else {
        con.shownColumn = len;
        std::memcpy(con.partial, text, len);
        con.partial[len] = '\0';
    }
}

// The page is full: show --more-- and wait for one key.
int more_wait() {
    if (term.batch || !term.in_tty || !term.out_tty) return ' ';
    send_style(COL_LINK);
    term_put_flush("--more--");
    int k;
    do
        k = term_getkey();
    while (k == KEY_RESIZE || k == KEY_NONE);
    term_put_flush("\b\b\b\b\b\b\b\b        \b\b\b\b\b\b\b\b");
    if (k == KEY_BREAK) return 3;
    if (k == KEY_EOF || k > 255) return ' ';
    return k;
}

} // namespace

int console_sink(void *, const uint8_t *image, int code) {
    switch (code) {
    case SINK_LINE:
    case SINK_PARTIAL:
        if (image) show_line(image, code);
        return 0;
    case SINK_FLUSH:
    case SINK_DESTROY:
        term_flush();
        return 0;
    case SINK_MORE:
        return more_wait();
    case SINK_NEWLINE:
        if (!con.fresh_row) term_put("\n", 1);
        con.fresh_row = false;
        con.shownColumn = 0;
        con.partial[0] = '\0';
        return 0;
    default:
        return 0;
    }
}

} // namespace out
