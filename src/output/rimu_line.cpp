// Line building for the Rimu engine: the line writer, the paragraph writer, links on a line, mode changes.
#include <cstring>

#include "output/rimu.h"
#include "output/rimu_int.h"

namespace out {

namespace {

const char blanks64[] = "                                                                ";

// Starts a run in sty, or restyles a run that holds no character yet.
void add_run(RimuStream *s, uint8_t sty) {
    int last = s->run_count - 1;
    if (s->run_style[last] == sty) return;
    if (s->run_start[last] == s->lineLength) {
        if (last > 0 && s->run_style[last - 1] == sty) {
            --s->run_count;
            return;
        }
        s->run_style[last] = sty;
        return;
    }
    s->run_start[s->run_count] = (uint8_t)s->lineLength;
    s->run_style[s->run_count] = sty;
    ++s->run_count;
}

// The entry of a link on this line: header of start, end, kind, argument length, then the argument.
void link_entry_open(RimuStream *s) {
    int need = 4 + s->link_arg_len + 1;
    s->linkState = 2;
    s->linkStart = s->lineLength;
    if (s->linkBytes + need > LINK_TABLE_MAX) {
        s->linkHead = -1; // no room on this line: the text shows without an entry
        return;
    }
    uint8_t *e = s->link_table + s->linkBytes;
    e[0] = (uint8_t)s->lineLength;
    e[1] = (uint8_t)s->lineLength;
    e[2] = (uint8_t)s->linkKind;
    e[3] = (uint8_t)s->link_arg_len;
    std::memcpy(e + 4, s->linkArgument, s->link_arg_len);
    e[4 + s->link_arg_len] = 0;
    s->linkHead = s->linkBytes;
    s->linkBytes += need;
}

void link_entry_close(RimuStream *s) {
    if (s->linkHead < 0) return;
    if (s->lineLength == s->linkStart)
        s->linkBytes = s->linkHead; // nothing was shown: the entry goes
    else
        s->link_table[s->linkHead + 1] = (uint8_t)s->lineLength;
    s->linkHead = -1;
}

void line_newline(RimuStream *s) {
    if (s->lineBreakArmed)
        finish_line(s);
    else
        s->lineBreakArmed = 1;
}

// A blank of paragraph input: it completes a pending word and is counted.
void para_blank(RimuStream *s) {
    if (s->word_len) word_done(s, 0, false);
    ++s->spacesSeen;
    s->spaceStyle = s->style;
}

void para_char(RimuStream *s, char c) {
    s->wordBuffer[s->word_len] = c;
    s->wordStyles[s->word_len] = s->style;
    if (++s->word_len >= 255) word_done(s, 0, true);
}

void para_write(RimuStream *s, const char *p, size_t n) {
    for (size_t i = 0; i < n; ++i) {
        char c = p[i];
        if (c == '\n' || c == '\t') {
            para_blank(s); // a line end or a tab counts as two blanks
            para_blank(s);
        } else if (c == ' ' && s->bind_depth == 0) {
            para_blank(s);
        } else {
            para_char(s, c == ' ' ? (char)CH_NBSP : c);
        }
    }
}

// Puts the word buffer on the line, closing a link whose last character it holds.
void place_word(RimuStream *s) {
    int i = 0;
    while (i < s->word_len) {
        int j = i + 1;
        while (j < s->word_len && s->wordStyles[j] == s->wordStyles[i] &&
               !(s->linkPending && j == s->link_close_at))
            ++j;
        int room = LINE_TEXT_MAX - s->lineLength;
        if (room <= 0) {
            finish_line(s);
            continue;
        }
        int k = j - i < room ? j - i : room;
        line_place(s, s->wordBuffer + i, k, s->wordStyles[i]);
        i += k;
        if (s->linkPending && i == s->link_close_at) {
            link_close(s);
            s->linkPending = 0;
        }
    }
}

// The line as built goes to the text logs and the sink, and counts toward the page.
void ship_line(RimuStream *s) {
    text_log_line(s);
    if (s->sink) {
        uint8_t img[LINE_IMAGE_MAX];
        line_build(img, s);
        s->sink(s->sinkContext, img, SINK_LINE);
    }
    pager_count(s);
}

// Leaving mode 3: the pending word goes out, the line is finished, and an empty line follows unless
// the paragraph was ended by {p_end}.
void end_paragraph(RimuStream *s) {
    if (s->word_len) word_done(s, 0, false);
    if (!s->lineEmpty) finish_line(s);
    link_close(s);
    s->linkPending = 0;
    line_reset(s);
    if (s->paragraphOpen) {
        ship_line(s);
        line_reset(s);
    }
    s->width = s->rightMarginWidth;
}

} // namespace

void line_reset(RimuStream *s) {
    if (s->linkState == 2) s->linkState = 3;
    s->lineLength = 0;
    s->run_count = 1;
    s->run_start[0] = 0;
    s->run_style[0] = s->style;
    s->linkBytes = 0;
    s->linkHead = -1;
    s->marker_bytes = 0;
    s->lineEmpty = 1;
    s->line_continued = 0;
}

void line_begin(RimuStream *s) {
    line_reset(s);
    if (s->mode != MODE_PARA) return;
    s->line_continued = s->paragraphLines > 0;
    if (s->firstIndent > 0 && s->firstIndent < s->width - 5) {
        for (int k = s->firstIndent; k > 0; k -= 64)
            line_raw(s, blanks64, k < 64 ? k : 64, COL_TEXT);
    }
    s->firstIndent = s->nextIndent;
}

void line_raw(RimuStream *s, const char *p, int n, uint8_t sty) {
    if (n > LINE_TEXT_MAX - s->lineLength) n = LINE_TEXT_MAX - s->lineLength;
    if (n <= 0) return;
    add_run(s, sty);
    char *d = s->line_text + s->lineLength;
    for (int i = 0; i < n; ++i)
        d[i] = p[i] == (char)CH_NBSP ? ' ' : p[i];
    s->lineLength += n;
}

void line_place(RimuStream *s, const char *p, int n, uint8_t sty) {
    if (n <= 0) return;
    if (s->linkState == 3) link_entry_open(s);
    line_raw(s, p, n, sty);
    s->lineEmpty = 0;
    s->skipNewline = 0;
}

// Text reaching past the width: what fits goes on, the line is finished, and the rest continues on
// lines that begin with "> ".
void line_write(RimuStream *s, const char *p, size_t n, uint8_t sty) {
    int width = s->width < 10 ? 10 : s->width;
    if (width > LINE_TEXT_MAX) width = LINE_TEXT_MAX;
    while (n > 0) {
        int room = width - s->lineLength;
        if (room <= 0) {
            finish_line(s);
            line_raw(s, "> ", 2, s->style);
            continue;
        }
        int k = n < (size_t)room ? (int)n : room;
        line_place(s, p, k, sty);
        p += k;
        n -= k;
    }
}

void line_blanks(RimuStream *s, int n) {
    for (; n > 0; n -= 64)
        line_write(s, blanks64, n < 64 ? n : 64, s->style);
}

void finish_line(RimuStream *s) {
    if (s->linkState == 2) { // cut at the line's end, to be reopened on the next
        link_entry_close(s);
        s->linkState = 3;
    }
    if (s->mode == MODE_PARA) ++s->paragraphLines;
    ship_line(s);
    line_begin(s);
}

void link_begin(RimuStream *s, int kind, const char *arg, int arg_len) {
    s->linkKind = kind;
    std::memcpy(s->linkArgument, arg, arg_len);
    s->linkArgument[arg_len] = 0;
    s->link_arg_len = arg_len;
    s->linkState = 3;
}

void link_close(RimuStream *s) {
    if (s->linkState == 2) link_entry_close(s);
    s->linkState = 1;
}

void text_write(RimuStream *s, const char *p, size_t n) {
    if (n == 0) return;
    if (s->skipNewline) {
        s->skipNewline = 0;
        if (*p == '\n') {
            ++p;
            --n;
        }
    }
    if (s->mode == MODE_PARA) {
        para_write(s, p, n);
        return;
    }
    while (n > 0) {
        const char *nl = (const char *)std::memchr(p, '\n', n);
        size_t k = nl ? (size_t)(nl - p) : n;
        line_write(s, p, k, s->style);
        if (!nl) break;
        line_newline(s);
        p += k + 1;
        n -= k + 1;
    }
}

void text_write_styled(RimuStream *s, const char *p, size_t n, uint8_t sty) {
    uint8_t old = s->style;
    s->style = sty;
    text_write(s, p, n);
    s->style = old;
}

// The separator: after a forced join one blank only when blanks were seen; after a sentence two
// when two were seen; else one. None at the start of a line.
void word_done(RimuStream *s, int extra, bool forced) {
    if (s->word_len == 0) return;
    int sep = s->spaceState == 2   ? (s->spacesSeen ? 1 : 0)
              : s->spaceState == 1 ? (s->spacesSeen > 1 ? 2 : 1)
                                   : 1;
    if (s->lineEmpty) {
        sep = 0;
    } else if (s->lineLength + sep + s->word_len + extra > s->width) {
        finish_line(s);
        sep = 0;
    }
    if (sep) line_raw(s, "  ", sep, s->spaceStyle);
    place_word(s);
    char last = s->wordBuffer[s->word_len - 1];
    s->spaceState = (last == '.' || last == '!' || last == '?' || last == ':') ? 1 : 0;
    if (forced) s->spaceState = 2;
    s->spacesSeen = 0;
    s->word_len = 0;
}

bool para_begin(RimuStream *s, int first, int next, int margin, int line_width) {
    if (first < 0 || first > 255 || next < 0 || next > 255 || margin < 0 || line_width < 0) return false;
    if (line_width) line_width = line_width < 40 ? 40 : line_width > 255 ? 255 : line_width;
    int base = s->mode == MODE_PARA ? s->rightMarginWidth : s->width;
    int L = line_width ? line_width : base;
    int cap = L - 20 < 0 ? 0 : L - 20;
    if (first > cap) first = cap;
    if (next > cap) next = cap;
    int widest = first > next ? first : next;
    if (margin > L - widest - 20) margin = L - widest - 20 < 0 ? 0 : L - widest - 20;
    // Marks set on an empty line just before the paragraph stay with its first line.
    char marks[MARKER_MAX + 1];
    int mark_bytes = 0;
    if (s->lineEmpty && line_width == 0) {
        mark_bytes = s->marker_bytes;
        std::memcpy(marks, s->markers, mark_bytes);
    }
    stream_set_mode(s, MODE_LINE);
    s->firstIndent = first;
    s->nextIndent = next;
    stream_set_mode(s, MODE_PARA);
    if (line_width) s->width = line_width;
    s->width -= margin;
    s->firstIndent = first; // the first line starts again under the paragraph's width
    line_begin(s);
    std::memcpy(s->markers, marks, mark_bytes);
    s->marker_bytes = mark_bytes;
    return true;
}

void stream_set_mode(RimuStream *s, int newMode) {
    int old = s->mode;
    if (s->pending_len && old != MODE_OLDHELP) { // an unclosed tag shows as it stands
        char held[PENDING_MAX];
        int n = s->pending_len;
        std::memcpy(held, s->pendingTag, n);
        s->pending_len = 0;
        text_write(s, held, n);
    }
    switch (old) {
    case MODE_PARA:
        end_paragraph(s);
        break;
    case MODE_OLDHELP:
        oldhelp_flush(s);
        if (!s->lineEmpty) finish_line(s);
        break;
    default:
        if (!s->lineEmpty) finish_line(s);
        break;
    }
    link_close(s);
    s->linkPending = 0;
    s->lineBreakArmed = 1;
    s->markMatch = 0;
    if (newMode == MODE_LINE || newMode == MODE_PARA) s->inputDepth = 0;
    if (newMode == MODE_PARA) {
        s->spacesSeen = 2;
        s->word_len = 0;
        s->spaceState = 1;
        s->spaceStyle = s->style;
        s->lastWasNewline = 0;
        s->paragraphLines = 0;
        s->paragraphOpen = 1;
        s->rightMarginWidth = s->width;
    }
    if (newMode == MODE_LINE) s->skipAfterParagraph = old == MODE_PARA && !s->paragraphOpen;
    if (newMode == MODE_OLDHELP) s->style = COL_TEXT;
    s->skipNewline = 1;
    s->mode = newMode;
    ++s->mode_serial;
    line_begin(s);
}

} // namespace out
