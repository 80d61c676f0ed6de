// The terminal: set-up from the termcap description, buffered output to fd 1, keys, modes and the console
// sink.
#pragma once
#include <csignal>
#include <cstdint>
#include <string>
#include <string_view>

namespace out {

// Internal codes of keys that terminals send as sequences; plain bytes keep their own value (0-255).
enum : int {
    KEY_F1 = 315, // k1 .. k9 are KEY_F1 .. KEY_F1 + 8; F10 is KEY_F1 + 9
    KEY_UP = 328,
    KEY_DOWN = 329,
    KEY_RIGHT = 330,
    KEY_LEFT = 331,
    KEY_HOME = 332,
    KEY_END = 333,
    KEY_BS = 334,
    KEY_INS = 337,
    KEY_DEL = 338,
    KEY_PGUP = 370,
    KEY_PGDN = 371,
};
// What term_getkey returns besides keys.
enum : int { KEY_NONE = 0, KEY_EOF = -1, KEY_BREAK = -2, KEY_RESIZE = -3 };

inline constexpr int KEYTAB_MAX = 100;
inline constexpr int KEYSEQ_MAX = 11;

struct KeySeq {
    uint8_t len;
    char seq[KEYSEQ_MAX + 1];
    int code;
};
struct KeyTable {
    int count = 0;
    KeySeq e[KEYTAB_MAX];
};

// Enters seq under code. Refused (false): a full table, a missing or empty sequence, one over 11 bytes,
// and one of several bytes that doesn't begin with escape.
bool key_add(KeyTable &t, const char *seq, int code);
// The code of the entry equal to bytes[0..n); 0 when bytes are a proper prefix of some entry; -1 otherwise.
int key_match(const KeyTable &t, const char *bytes, int n);

// A termcap string without its padding: leading digits and '*' go, and every "$<digits>" delay inside.
std::string strip_padding(const char *s);

struct Term {
    int cols = 80;
    int lines = 25;
    int tabsize = 8;
    int pagesize = 0;  // default of the session's pagesize: lines - 2 when lines > 4, else 0 (no pager)
    int linesize = 79; // columns - 1, clamped to 40..255
    bool batch = false;
    bool described = false; // tgetent found the terminal
    bool editing = false;   // command line editing: a described terminal on fd 0 and fd 1, not batch
    bool colour = false;    // the default colour table is in use
    bool in_tty = false;    // isatty(0)
    bool out_tty = false;   // isatty(1): escape sequences are written only then
    char name[512] = {};
    // Screen-editing strings, padding stripped. bc is what moves the cursor one column left.
    std::string bc = "\b", ce, cd, dc, ic, so, se, cm, up, ks, ke;
    KeyTable keys;
    volatile sig_atomic_t resized = 0; // set by on_winch, cleared by whoever takes the new size
};
extern Term term;

// Terminal set-up at start. name is ORVATTERM over TERM (or null). Sets the console stream's page length
// and width when it exists; call it after the output context is made and before term_modes_set.
void term_setup(bool batch, const char *name);

// Buffered output to fd 1: up to 511 bytes are collected; 512 bytes or more go directly after a flush.
void term_put(const char *p, size_t n);
inline void term_put(std::string_view s) { term_put(s.data(), s.size()); }
void term_flush();
void term_put_flush(std::string_view s);

// Raw terminal modes for key-at-a-time input (only when editing is possible); the restore writes the
// end-of-session string and the reset sequence and puts the saved modes back.
void term_modes_set();
void term_modes_restore();

// SIGWINCH: takes the new size, sets the console stream's page length and width, marks resized.
void on_winch(int);

// Reads one key from fd 0: a byte, a key code of the terminal's table, KEY_NONE for an unknown escape
// sequence, KEY_EOF, or, when read is interrupted, KEY_BREAK (Break pending) or KEY_RESIZE.
int term_getkey();

// The console sink and its state.
struct Console {
    int shownColumn = 0;    // columns of the current line already written
    int last_style = -1;    // style of the last sequences sent; -1 unknown
    bool underline = false; // the underline-on sequence is in force
    bool fresh_row = false; // the cursor stands at the start of an empty row (the line editor left it there)
    char partial[256] = {}; // plain text of the partial line shown last (the prompt, for redraws)
};
extern Console con;
int console_sink(void *ctx, const uint8_t *image, int code);

// `set conren`: 3 fonts by 7 colours of counted sequences, and underline-off, underline-on, reset.
inline constexpr int CONREN_MAX = 19;
struct ConSeq {
    uint8_t len = 0;
    char b[CONREN_MAX] = {};
    std::string_view view() const { return {b, len}; }
};
struct Conren {
    ConSeq tab[21];
    ConSeq uloff, ulon, reset;
};
extern Conren conren;

// Table index of a style: (font / 8) * 7 + colour - 1; -1 for a style without a colour.
int conren_index(int style);
// Fills the table with the default colours (ANSI sequences) or empties it.
void conren_defaults(bool colour);
// The console underlines by its own sequences only when it can also end them.
void update_underline_resets();

} // namespace out
