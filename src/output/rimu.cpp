// The Rimu stream: how text enters (colour tags, literal braces, Rimu logs, the {rimu} head line),
// what happens to a finished line (text logs, pager), the stream's life, and measuring.
#include "output/rimu.h"

#include <errno.h>
#include <unistd.h>

#include <cstring>

#include "output/rimu_int.h"
#include "session/state.h"

namespace out {

namespace {

constexpr char head_line[] = "{rimu}\n";
constexpr int head_len = 7;
constexpr int BREAK_RC = 1;

uint8_t more_img[LINE_IMAGE_MAX];
bool more_built = false;

// ---- logs

void log_write(int fd, const char *p, size_t n, uint8_t &ok) {
    if (!ok) return;
    ::lseek(fd, 0, SEEK_END); // text appended to the file from elsewhere isn't overwritten
    while (n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) {
            ok = 0;
            return;
        }
        p += w;
        n -= (size_t)w;
    }
}

void logset_flush(LogSet &ls) {
    if (ls.fill == 0) return;
    for (int i = 0; i < ls.count; ++i)
        log_write(ls.fd[i], ls.buf, ls.fill, ls.ok[i]);
    ls.fill = 0;
}

// A piece that doesn't fit flushes the buffer first; one of more than the buffer goes out directly.
void logset_put(LogSet &ls, const char *p, size_t n) {
    if (ls.count == 0 || n == 0) return;
    if (ls.fill + n > sizeof ls.buf) logset_flush(ls);
    if (n > sizeof ls.buf) {
        for (int i = 0; i < ls.count; ++i)
            log_write(ls.fd[i], p, n, ls.ok[i]);
        return;
    }
    std::memcpy(ls.buf + ls.fill, p, n);
    ls.fill += (int)n;
}

// A Rimu log gets the markup as it came; a text ending in a newline gets the platform's line end.
void rimu_log(RimuStream *s, const char *p, size_t n) {
    if (s->rimuLogs.count == 0 || n == 0) return;
    if (p[n - 1] == '\n') {
        logset_put(s->rimuLogs, p, n - 1);
        logset_put(s->rimuLogs, "\n", 1);
    } else {
        logset_put(s->rimuLogs, p, n);
    }
}

// ---- the {rimu} head line

// Passes text on to the scanner, but holds back what could be the start of "{rimu}\n" at the end, and
// drops the whole of it when it comes, changing to line mode.
void mark_feed(RimuStream *s, const char *p, size_t n) {
    size_t i = 0, seg = 0;
    if (s->markMatch) {
        int held = s->markMatch, m = held;
        size_t j = 0;
        while (j < n && m < head_len && p[j] == head_line[m])
            ++m, ++j;
        if (m == head_len) {
            stream_set_mode(s, MODE_LINE);
            seg = i = j;
        } else if (j == n) {
            s->markMatch = m;
            return;
        } else {
            s->markMatch = 0;
            scan_piece(s, head_line, held, true);
        }
    }
    while (i < n) {
        const char *b = (const char *)std::memchr(p + i, '{', n - i);
        if (!b) break;
        size_t k = b - p, j = k;
        int m = 0;
        while (j < n && m < head_len && p[j] == head_line[m])
            ++m, ++j;
        if (m == head_len) {
            scan_piece(s, p + seg, k - seg, true);
            stream_set_mode(s, MODE_LINE);
            seg = i = j;
            continue;
        }
        if (j == n) {
            scan_piece(s, p + seg, k - seg, true);
            s->markMatch = m;
            return;
        }
        i = k + 1;
    }
    scan_piece(s, p + seg, n - seg, true);
}

void enter(RimuStream *s, const char *p, size_t n) {
    rimu_log(s, p, n);
    mark_feed(s, p, n);
}

// ---- sinks of scratch streams

int more_store_sink(void *, const uint8_t *img, int code) {
    if (code == SINK_LINE && img) std::memcpy(more_img, img, img[0] | img[1] << 8);
    return 0;
}

struct Count {
    int total = 0;
    bool first_word_only = false;
    bool done = false;
};

int count_sink(void *ctx, const uint8_t *img, int code) {
    Count *c = static_cast<Count *>(ctx);
    if ((code != SINK_LINE && code != SINK_PARTIAL) || !img || c->done) return 0;
    LineView v = line_view(img);
    if (!c->first_word_only) {
        c->total += v.text_length;
        return 0;
    }
    const char *b = (const char *)std::memchr(v.text, ' ', v.text_length);
    c->total += b ? (int)(b - v.text) : v.text_length;
    if (b) c->done = true;
    return 0;
}

int measure_with(std::string_view rimu, bool first_word) {
    RimuStream tmp;
    stream_init(&tmp);
    tmp.width = 254;
    Count c;
    c.first_word_only = first_word;
    stream_set_sink(&tmp, count_sink, &c);
    stream_put_rimu(&tmp, rimu);
    stream_flush(&tmp);
    return c.total;
}

} // namespace

void text_log_line(RimuStream *s) {
    if (s->textLogs.count == 0) return;
    char copy[LINE_TEXT_MAX + 2];
    bool draw = false;
    for (int i = 0; i < s->run_count; ++i)
        draw |= (s->run_style[i] & STY_LINEDRAW) != 0;
    for (int i = 0; i < s->lineLength; ++i) {
        char c = s->line_text[i];
        if (draw && c >= CH_TT && c <= CH_TLC) c = c <= CH_BT ? '-' : c <= CH_RT ? '|' : '+';
        if (c == (char)CH_NBSP) c = ' ';
        copy[i] = c;
    }
    copy[s->lineLength] = '\n';
    logset_put(s->textLogs, copy, s->lineLength + 1);
}

// Counts a shown line; a full page waits at --more-- for a key.
void pager_count(RimuStream *s) {
    if (!s->pageLength || !s->moreEnabled) return;
    if (++s->linesShown < s->pageLength) return;
    s->inMore = 1;
    if (!s->sink || !more_switch) {
        s->inMore = 0;
        s->linesShown = 0;
        return;
    }
    int key = s->sink(s->sinkContext, more_img, SINK_MORE);
    s->inMore = 0;
    if (key == 3 || key == 'q') {
        s->linesShown = 0;
        session::break_signal();
    } else if (key == '\n' || key == '\r' || key == 'l') {
        s->linesShown = s->pageLength; // one more line, then the prompt again
    } else {
        s->linesShown = 0;
    }
}

int measure(std::string_view rimu) {
    if (!std::memchr(rimu.data(), '{', rimu.size())) return (int)rimu.size();
    return measure_with(rimu, false);
}

int measure_first_word(std::string_view rimu) { return measure_with(rimu, true); }

void stream_init(RimuStream *s) {
    *s = RimuStream{};
    line_reset(s);
}

RimuStream *stream_new() {
    if (!more_built) {
        more_built = true;
        RimuStream tmp;
        stream_init(&tmp);
        stream_set_sink(&tmp, more_store_sink, nullptr);
        stream_put_rimu(&tmp, "{clearmore:{hline 2}more{hline 2}}\n");
    }
    RimuStream *s = new RimuStream();
    line_reset(s);
    return s;
}

void stream_free(RimuStream *s) {
    if (!s) return;
    if (s->sink) {
        s->sink(s->sinkContext, nullptr, SINK_FLUSH);
        s->sink(s->sinkContext, nullptr, SINK_DESTROY);
    }
    stream_flush_logs(s);
    delete s;
}

void stream_set_sink(RimuStream *s, SinkFn sink, void *ctx) {
    s->sink = s->sinkBackup = sink;
    s->sinkContext = s->sink_context_backup = ctx;
}

void stream_detach_sink(RimuStream *s) {
    stream_flush(s);
    s->sink = nullptr;
}

void stream_restore_sink(RimuStream *s) {
    stream_flush(s);
    s->sink = s->sinkBackup;
    s->sinkContext = s->sink_context_backup;
}

void stream_flush(RimuStream *s) {
    if (s->sink) {
        if (!s->lineEmpty) {
            uint8_t img[LINE_IMAGE_MAX];
            line_build(img, s);
            s->sink(s->sinkContext, img, SINK_PARTIAL);
        }
        s->sink(s->sinkContext, nullptr, SINK_FLUSH);
    }
    stream_flush_logs(s);
}

void stream_put_rimu(RimuStream *s, std::string_view text) {
    if (s->discarding || text.empty()) return;
    enter(s, text.data(), text.size());
}

// Braces of literal text go in as {c -(} and {c )-}, except in as-is and old-help modes.
void stream_put_literal(RimuStream *s, std::string_view text) {
    if (s->discarding || text.empty()) return;
    const char *p = text.data();
    size_t n = text.size();
    if (s->mode == MODE_ASIS || s->mode == MODE_OLDHELP) {
        enter(s, p, n);
        return;
    }
    while (n > 0) {
        const char *o = (const char *)std::memchr(p, '{', n);
        const char *c = (const char *)std::memchr(p, '}', o ? (size_t)(o - p) : n);
        const char *b = c ? c : o;
        size_t k = b ? (size_t)(b - p) : n;
        if (k) enter(s, p, k);
        if (!b) return;
        if (*b == '{')
            enter(s, "{c -(}", 6);
        else
            enter(s, "{c )-}", 6);
        p += k + 1;
        n -= k + 1;
    }
}

std::string brace_escaped(std::string_view text) {
    std::string s;
    s.reserve(text.size());
    for (char c : text) {
        if (c == '{')
            s += "{c -(}";
        else if (c == '}')
            s += "{c )-}";
        else
            s += c;
    }
    return s;
}

void stream_set_colour(RimuStream *s, int colour) {
    static const char *const tag[8] = {nullptr, "{res}", "{txt}", nullptr,
                                       "{err}", "{com}", nullptr, nullptr};
    if (s->mode == MODE_ASIS || s->mode == MODE_OLDHELP) return;
    if (colour < 0 || colour > 7 || !tag[colour]) return;
    bool settled = s->mode == MODE_PARA ? s->word_len == 0 : s->pending_len == 0;
    if (settled && (s->style & STY_COLOUR_BITS) == colour) return;
    stream_put_rimu(s, tag[colour]);
}

int stream_add_log(RimuStream *s, int fd, bool rimu) {
    LogSet &ls = rimu ? s->rimuLogs : s->textLogs;
    if (s->locked || ls.count >= 5) return 1;
    logset_flush(ls); // what came before doesn't reach the new log
    ls.fd[ls.count] = fd;
    ls.ok[ls.count] = 1;
    ++ls.count;
    return 0;
}

void stream_remove_log(RimuStream *s, int fd) {
    if (s->locked) return;
    for (LogSet *ls : {&s->rimuLogs, &s->textLogs}) {
        for (int i = 0; i < ls->count; ++i) {
            if (ls->fd[i] != fd) continue;
            logset_flush(*ls);
            for (int j = i + 1; j < ls->count; ++j) {
                ls->fd[j - 1] = ls->fd[j];
                ls->ok[j - 1] = ls->ok[j];
            }
            --ls->count;
            ls->fd[ls->count] = -1;
            ls->ok[ls->count] = 0;
            return;
        }
    }
}

void stream_flush_logs(RimuStream *s) {
    logset_flush(s->rimuLogs);
    logset_flush(s->textLogs);
}

const uint8_t *more_image() { return more_img; }

} // namespace out
