// The Rimu engine (first cut: line mode, colour tags, {c}, {hline}, {col}, links shown as their text).
#include "output/rimu.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "output/rimu_int.h"
#include "session/loop.h"

namespace out {

namespace {

uint8_t g_more_image[LINE_IMAGE_MAX];
bool g_more_built = false;

void log_write_all(int fd, const char *p, size_t n, uint8_t &ok) {
    while (ok && n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0) { ok = 0; return; }
        p += w;
        n -= (size_t)w;
    }
}

void logset_flush(LogSet &ls) {
    for (int i = 0; i < ls.count; ++i)
        if (ls.ok[i]) log_write_all(ls.fd[i], ls.buf, ls.fill, ls.ok[i]);
    ls.fill = 0;
}

void logset_put(LogSet &ls, const char *p, size_t n) {
    if (ls.count == 0) return;
    if (ls.fill + n > sizeof ls.buf) logset_flush(ls);
    if (n >= sizeof ls.buf) {
        for (int i = 0; i < ls.count; ++i)
            if (ls.ok[i]) log_write_all(ls.fd[i], p, n, ls.ok[i]);
        return;
    }
    std::memcpy(ls.buf + ls.fill, p, n);
    ls.fill += (int)n;
}

void new_line(RimuStream *s, bool continued) {
    s->lineLength = 0;
    s->runCount = 0;
    s->lineEmpty = 1;
    s->linkBytes = 0;
    s->markerBytes = 0;
    s->lineContinued = continued;
}

void pager(RimuStream *s);

void finish_line(RimuStream *s) {
    s->lineText[s->lineLength] = '\0';
    if (s->textLogs.count) {
        char copy[LINE_TEXT_MAX + 2];
        bool draw = false;
        for (int i = 0; i < s->runCount; ++i) draw |= (s->runStyle[i] & STY_LINEDRAW) != 0;
        for (int i = 0; i < s->lineLength; ++i) {
            char c = s->lineText[i];
            if (draw && c >= 1 && c <= 8) c = c <= 2 ? '-' : c <= 4 ? '|' : '+';
            if (c == 19) c = ' ';
            copy[i] = c;
        }
        copy[s->lineLength] = '\n';
        logset_put(s->textLogs, copy, s->lineLength + 1);
    }
    if (s->sink) {
        uint8_t img[LINE_IMAGE_MAX];
        line_build(img, s);
        s->sink(s->sinkContext, img, SINK_LINE);
    }
    new_line(s, false);
    if (s->pageLength && s->moreEnabled) {
        if (++s->linesShown >= s->pageLength) pager(s);
    }
}

void pager(RimuStream *s) {
    s->inMore = 1;
    if (!s->sink || !s->moreEnabled) {
        s->inMore = 0;
        return;
    }
    int key = s->sink(s->sinkContext, g_more_image, SINK_MORE);
    s->inMore = 0;
    if (key == 3 || key == 'q') {
        s->linesShown = 0;
        session::lp.PendingBreak = 1;
    } else if (key == '\n' || key == '\r' || key == 'l') {
        s->linesShown = s->pageLength;
    } else {
        s->linesShown = 0;
    }
}

void put_chars(RimuStream *s, const char *p, size_t n, uint8_t style) {
    for (size_t i = 0; i < n; ++i) {
        if (s->lineLength >= s->width) {
            finish_line(s);
            s->lineContinued = 1;
            put_chars(s, "> ", 2, s->style);
        }
        if (s->runCount == 0 || s->runStyle[s->runCount - 1] != style) {
            if (s->runCount > 0 && s->runStart[s->runCount - 1] == s->lineLength) {
                s->runStyle[s->runCount - 1] = style;
            } else {
                s->runStart[s->runCount] = (uint8_t)s->lineLength;
                s->runStyle[s->runCount] = style;
                ++s->runCount;
            }
        }
        s->lineText[s->lineLength++] = p[i];
        s->lineEmpty = 0;
    }
}

void write_text(RimuStream *s, const char *p, size_t n) {
    while (n > 0) {
        const char *nl = (const char *)std::memchr(p, '\n', n);
        size_t k = nl ? (size_t)(nl - p) : n;
        put_chars(s, p, k, s->style);
        if (!nl) break;
        finish_line(s);
        p += k + 1;
        n -= k + 1;
    }
}

bool directive(RimuStream *s, std::string_view d) {
    std::string name, rest, text;
    size_t colon = std::string::npos;
    int depth = 0;
    for (size_t i = 0; i < d.size(); ++i) {
        if (d[i] == '{') ++depth;
        else if (d[i] == '}') --depth;
        else if (d[i] == ':' && depth == 0) { colon = i; break; }
    }
    std::string_view head = colon == std::string::npos ? d : d.substr(0, colon);
    bool hasText = colon != std::string::npos;
    std::string_view body = hasText ? d.substr(colon + 1) : std::string_view();
    size_t sp = head.find(' ');
    name = std::string(head.substr(0, sp));
    rest = sp == std::string::npos ? "" : std::string(head.substr(sp + 1));
    auto colour = [&](int c) {
        if (hasText) {
            uint8_t old = s->style;
            s->style = (uint8_t)((s->style & ~7) | c);
            stream_put_rimu(s, body);
            s->style = (uint8_t)((s->style & ~7) | (old & 7));
        } else {
            s->style = (uint8_t)((s->style & ~7) | c);
        }
        return true;
    };
    if (name == "res" || name == "result") return colour(COL_RESULT);
    if (name == "txt" || name == "text") return colour(COL_TEXT);
    if (name == "err" || name == "error") return colour(COL_ERROR);
    if (name == "com" || name == "input") return colour(COL_INPUT);
    if (name == "hi" || name == "hilite" || name == "cmd") return colour(COL_HILITE);
    if (name == "search" || name == "help" || name == "browse" || name == "view" || name == "orvat") {
        uint8_t old = s->style;
        s->style = (uint8_t)((s->style & ~7) | COL_LINK);
        if (hasText) stream_put_rimu(s, body);
        else write_text(s, rest.data(), rest.size());
        s->style = old;
        return true;
    }
    if (name == "c" || name == "char") {
        if (rest == "-(") { put_chars(s, "{", 1, s->style); return true; }
        if (rest == ")-") { put_chars(s, "}", 1, s->style); return true; }
        if (rest == "|" || rest == "-" || rest == "+") { put_chars(s, rest.data(), 1, s->style); return true; }
        return false;
    }
    if (name == "hline") {
        int n = rest.empty() ? s->width - s->lineLength : std::atoi(rest.c_str());
        if (n < 0) n = s->width + n - s->lineLength;
        for (int i = 0; i < n; ++i) put_chars(s, "-", 1, s->style);
        return true;
    }
    if (name == "col") {
        int n = std::atoi(rest.c_str());
        while (s->lineLength < n - 1) put_chars(s, " ", 1, s->style);
        return true;
    }
    if (name == "p" || name == "p_end" || name == "reset") return true;
    return false;
}

}  // namespace

RimuStream *stream_new() {
    auto *s = new RimuStream();
    new_line(s, false);
    if (!g_more_built) {
        g_more_built = true;
        RimuStream tmp;
        new_line(&tmp, false);
        tmp.style = COL_LINK;
        put_chars(&tmp, "--more--", 8, COL_LINK);
        line_build(g_more_image, &tmp);
    }
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
    s->sinkContext = s->sinkContextBackup = ctx;
}

void stream_detach_sink(RimuStream *s) {
    stream_flush(s);
    s->sink = nullptr;
}

void stream_restore_sink(RimuStream *s) {
    stream_flush(s);
    s->sink = s->sinkBackup;
    s->sinkContext = s->sinkContextBackup;
}

void stream_flush(RimuStream *s) {
    if (s->sink) {
        if (!s->lineEmpty) {
            uint8_t img[LINE_IMAGE_MAX];
            s->lineText[s->lineLength] = '\0';
            line_build(img, s);
            s->sink(s->sinkContext, img, SINK_PARTIAL);
        }
        s->sink(s->sinkContext, nullptr, SINK_FLUSH);
    }
    stream_flush_logs(s);
}

void stream_set_mode(RimuStream *s, int newMode) {
    if (!s->lineEmpty) finish_line(s);
    s->mode = newMode;
}

void stream_put_rimu(RimuStream *s, std::string_view text) {
    if (s->discarding) return;
    logset_put(s->rimuLogs, text.data(), text.size());
    const char *p = text.data();
    size_t n = text.size();
    while (n > 0) {
        const char *b = (const char *)std::memchr(p, '{', n);
        size_t k = b ? (size_t)(b - p) : n;
        write_text(s, p, k);
        if (!b) break;
        p += k;
        n -= k;
        int depth = 0;
        size_t end = 0;
        for (size_t i = 0; i < n; ++i) {
            if (p[i] == '{') ++depth;
            else if (p[i] == '}' && --depth == 0) { end = i; break; }
        }
        if (end == 0) {
            write_text(s, p, 1);
            ++p;
            --n;
            continue;
        }
        if (!directive(s, std::string_view(p + 1, end - 1))) write_text(s, p, end + 1);
        p += end + 1;
        n -= end + 1;
    }
}

void stream_put_literal(RimuStream *s, std::string_view text) {
    if (s->discarding) return;
    logset_put(s->rimuLogs, text.data(), text.size());
    write_text(s, text.data(), text.size());
}

void stream_set_colour(RimuStream *s, int colour) {
    if ((s->style & 7) == colour) return;
    static const char *tag[8] = {"", "{res}", "{txt}", "", "{err}", "{com}", "", ""};
    if (*tag[colour]) stream_put_rimu(s, tag[colour]);
}

int stream_add_log(RimuStream *s, int fd, bool rimu) {
    LogSet &ls = rimu ? s->rimuLogs : s->textLogs;
    if (ls.count >= 5) return 1;
    ls.fd[ls.count] = fd;
    ls.ok[ls.count] = 1;
    ++ls.count;
    return 0;
}

void stream_remove_log(RimuStream *s, int fd) {
    for (LogSet *ls : {&s->rimuLogs, &s->textLogs}) {
        for (int i = 0; i < ls->count; ++i) {
            if (ls->fd[i] != fd) continue;
            logset_flush(*ls);
            for (int j = i + 1; j < ls->count; ++j) {
                ls->fd[j - 1] = ls->fd[j];
                ls->ok[j - 1] = ls->ok[j];
            }
            --ls->count;
            return;
        }
    }
}

void stream_flush_logs(RimuStream *s) {
    logset_flush(s->rimuLogs);
    logset_flush(s->textLogs);
}

const uint8_t *more_image() { return g_more_image; }

int measure(std::string_view rimu) { return (int)rimu.size(); }

}  // namespace out
