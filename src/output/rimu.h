// The Rimu stream: markup in arbitrary pieces in, finished line images out to a sink and copies to logs.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace out {

// Colour classes (bits 0-2 of a style byte), fonts (bits 3-4), underline (bit 5), line drawing (bit 7).
enum : uint8_t {
    COL_RESULT = 1,
    COL_TEXT = 2,
    COL_BLUE = 3,
    COL_ERROR = 4,
    COL_INPUT = 5,
    COL_LINK = 6,
    COL_HILITE = 7,
    FONT_SF = 0,
    FONT_IT = 8,
    FONT_BF = 16,
    STY_UNDERLINE = 32,
    STY_LINEDRAW = 128,
};
inline constexpr uint8_t STY_COLOUR_BITS = 7;
inline constexpr uint8_t STY_FONT_BITS = 24;

// Sink codes.
enum : int {
    SINK_LINE = 1,
    SINK_PARTIAL = 2,
    SINK_FLUSH = 3,
    SINK_DESTROY = 4,
    SINK_MORE = 5,
    SINK_NEWLINE = 10
};

// Stream modes.
enum : int { MODE_ASIS = 1, MODE_LINE = 2, MODE_PARA = 3, MODE_OLDHELP = 4 };

// Line-drawing codes in line text, and the blank that doesn't break a word.
enum : uint8_t {
    CH_TT = 1,
    CH_BT = 2,
    CH_LT = 3,
    CH_RT = 4,
    CH_BRC = 5,
    CH_BLC = 6,
    CH_TRC = 7,
    CH_TLC = 8,
    CH_NBSP = 19,
};

// A sink gets a line image (or none) and a code; for SINK_MORE its result is the key pressed.
using SinkFn = int (*)(void *ctx, const uint8_t *image, int code);

// Up to five log descriptors of one kind, each with a still-usable flag, and one 512-byte buffer.
struct LogSet {
    int count = 0;
    int fd[5] = {-1, -1, -1, -1, -1};
    uint8_t ok[5] = {};
    char buf[512];
    int fill = 0;
};

inline constexpr int LINE_IMAGE_MAX = 1680;
inline constexpr int LINE_TEXT_MAX = 255;
inline constexpr int LINK_TABLE_MAX = 765; // bytes of link entries on one line
inline constexpr int MARKER_MAX = 99;      // bytes of marker names on one line
inline constexpr int PENDING_MAX = 1024;   // an unclosed tag waits up to this many characters

struct RimuStream {
    // Fields the channel and sinks rely on.
    int mode = MODE_LINE;
    uint8_t discarding = 0;
    uint8_t locked = 0;
    SinkFn sink = nullptr;
    SinkFn sinkBackup = nullptr;
    void *sinkContext = nullptr;
    void *sink_context_backup = nullptr;
    int width = 79;
    int markMatch = 0;
    uint8_t style = COL_TEXT;
    uint8_t underlineResets = 0;
    uint8_t inMore = 0;
    int commandLinkKind = 21;
    int kilnLinkKind = 23;
    int pageLength = 0;
    int linesShown = 0;
    uint8_t moreEnabled = 1;
    LogSet rimuLogs;
    LogSet textLogs;

    // Engine state.
    uint8_t lineBreakArmed = 1;
    uint8_t skipNewline = 0;
    int inputDepth = 0;
    uint8_t skipAfterParagraph = 0;
    uint8_t lastWasNewline = 0;
    int firstIndent = 0;
    int nextIndent = 0;
    int paragraphLines = 0;
    int rightMarginWidth = 79;
    uint8_t paragraphOpen = 0;
    char pendingTag[PENDING_MAX];
    int pending_len = 0;
    char wordBuffer[256];
    uint8_t wordStyles[256];
    int word_len = 0;
    int spaceState = 1;
    int spacesSeen = 0;
    uint8_t spaceStyle = COL_TEXT;
    uint8_t linkPending = 0;                      // the link's last characters wait in wordBuffer
    int link_close_at = 0;                        // ... and it closes after this many of them
    uint8_t p2colDefaults[5] = {1, 31, 35, 0, 2}; // #1, #2, #3, 1 when #4 is negative, |#4|
    // Link on the line: 1 idle, 2 open with an entry at linkHead, 3 to be opened at the next character shown.
    int linkState = 1;
    uint8_t link_open = 0; // a link directive is rendering its text
    int linkKind = 0;
    char linkArgument[256];
    int link_arg_len = 0;
    int linkHead = -1;
    int linkStart = 0;
    int bind_depth = 0;          // inside {bind:}: blanks don't break
    uint8_t in_first_column = 0; // rendering the first text of {p2col} or {synopt}
    int mode_serial = 0;         // counts mode changes, so the scanner sees one happen under it
    // The line being built.
    int lineLength = 0;
    uint8_t lineEmpty = 1;
    uint8_t line_continued = 0; // second or later line of a paragraph
    char line_text[LINE_TEXT_MAX + 1];
    uint8_t run_start[LINE_TEXT_MAX + 1];
    uint8_t run_style[LINE_TEXT_MAX + 1];
    int run_count = 0;
    uint8_t link_table[LINK_TABLE_MAX + 3];
    int linkBytes = 0;
    char markers[MARKER_MAX + 1];
    int marker_bytes = 0;
    char argBuffer[256];
    // Option-table layout of {synoptset}: width of the option column, 0 plain, 1 tabbed, 2 notes.
    int synopt_width = 20;
    int synopt_mode = 0;
};

// Reading a line image.
struct LineView {
    bool continued;   // second or later line of a paragraph
    const char *text; // zero-terminated
    int text_length;
    int run_count;
    const uint8_t *runs;  // pairs (start column, style), run_count of them
    int last_end;         // end column of the last run
    const uint8_t *links; // link table, closed by two zero bytes
    const char *markers;  // zero-terminated names, closed by a further zero
};
LineView line_view(const uint8_t *image);

// One entry of a line image's link table.
struct LinkView {
    int start, end, kind;
    const char *arg; // zero-terminated
    int arg_length;
};
// Reads the entry at *pos of a link table and moves *pos on; false at the closing two zero bytes.
bool link_next(const uint8_t *links, int *pos, LinkView *out);

RimuStream *stream_new();
void stream_free(RimuStream *s);
// Sets up a stream object that lives elsewhere (a scratch stream on the stack) as stream_new would.
void stream_init(RimuStream *s);
void stream_set_sink(RimuStream *s, SinkFn sink, void *ctx);
void stream_detach_sink(RimuStream *s);
void stream_restore_sink(RimuStream *s);
void stream_flush(RimuStream *s);
void stream_set_mode(RimuStream *s, int newMode);

// Markup in: braces are directives. Literal in: braces are shown (each goes in as {c -(} / {c )-}).
void stream_put_rimu(RimuStream *s, std::string_view text);
void stream_put_literal(RimuStream *s, std::string_view text);
// Puts the colour tag ({res}, {txt}, {err}, {com}) unless the colour is already in force.
void stream_set_colour(RimuStream *s, int colour);
// Text with its braces written as {c -(} and {c )-}, so that markup shows it as it stands.
std::string brace_escaped(std::string_view text);

// Logs: attach a descriptor as a Rimu log or a text log (non-zero when the stream is locked or the set
// is full); detach writes out the buffer first. A failed write marks the descriptor bad, silently.
int stream_add_log(RimuStream *s, int fd, bool rimu);
void stream_remove_log(RimuStream *s, int fd);
void stream_flush_logs(RimuStream *s);

// The stored --more-- image (built on the first stream_new).
const uint8_t *more_image();

// Renders markup with a counting sink at width 254 and returns the summed length of its lines.
int measure(std::string_view rimu);

// The global `more` switch (`set more`); the pager prompts only while it is on.
extern bool more_switch;
// Code page of {c} Latin names: ISO 8859-1 when set (the platform's), Mac Roman when clear.
extern bool latin1_codepage;
// c(name) as text for {ccl name}, installed by the session; false for a name c() does not know.
// Null while the engine runs alone: the directive then fails as for an unknown name.
extern bool (*ccl_lookup)(std::string_view name, std::string &text);

} // namespace out
