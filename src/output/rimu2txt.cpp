// Rimu rendered to plain text lines, as a text log holds them: the rimu2txt translator's engine.
#include "output/rimu2txt.h"

#include <string>

#include "output/rimu.h"
#include "session/fileio.h"

namespace out {

namespace {

void put_out(TextTarget *t, const std::string &s) {
    t->buf += s;
    if (t->buf.size() >= 65536) {
        if (t->into) t->into->append(t->buf);
        if (t->fd >= 0 && !t->failed && !session::write_all(t->fd, t->buf.data(), t->buf.size()))
            t->failed = true;
        t->buf.clear();
    }
}

void page_head(TextTarget *t) {
    ++t->page;
    t->lines = 0;
    if (!t->header) return;
    std::string left = t->headertext;
    for (const std::string *s : {&t->projecttext, &t->user})
        if (!s->empty()) left += (left.empty() ? "" : "  ") + *s;
    std::string right = "Page " + std::to_string(t->page);
    int room = t->width - (int)left.size() - (int)right.size();
    std::string line(t->lmargin, ' ');
    line += left + std::string(room > 2 ? room : 2, ' ') + right + "\n\n";
    put_out(t, line);
}

int text_sink(void *ctx, const uint8_t *img, int code) {
    TextTarget *t = static_cast<TextTarget *>(ctx);
    if (code != SINK_LINE || !img) return 0;
    LineView v = line_view(img);
    bool draw = false;
    for (int i = 0; i < v.run_count; ++i)
        draw |= (v.runs[2 * i + 1] & STY_LINEDRAW) != 0;
    std::string line(t->lmargin, ' ');
    size_t at = line.size();
    line.append(v.text, v.text_length);
    for (size_t i = at; i < line.size(); ++i) {
        char &c = line[i];
        if (draw && c >= CH_TT && c <= CH_TLC) c = c <= CH_BT ? '-' : c <= CH_RT ? '|' : '+';
        if (c == (char)CH_NBSP) c = ' ';
    }
    // A command line is one that begins with the prompt ". " (continuations begin with "> ").
    if (t->cmdnumber && v.text_length >= 2 && v.text[0] == '.' && v.text[1] == ' ')
        line.insert(at, std::to_string(++t->commands));
    if (t->pagelines > 0 && t->lines >= t->pagelines) {
        put_out(t, "\f");
        page_head(t);
    }
    line += '\n';
    put_out(t, line);
    ++t->lines;
    ++t->total;
    return 0;
}

// Sends a piece of one line (ending in a newline, or the file's last piece) to the engine.
void feed_line(TextTarget *t, std::string_view piece) { stream_put_rimu(t->stream, piece); }

} // namespace

void rimu_to_text_begin(TextTarget *t) {
    t->stream = stream_new();
    t->stream->width = t->width < 40 ? 40 : t->width > 255 ? 255 : t->width;
    stream_set_sink(t->stream, text_sink, t);
    t->page = 0;
    page_head(t);
}

// The engine is given the text a line at a time, as output reaches it in a session.
void rimu_to_text_feed(TextTarget *t, std::string_view text) {
    while (!text.empty()) {
        size_t nl = text.find('\n');
        if (nl == std::string_view::npos) {
            t->carry.append(text);
            return;
        }
        if (t->carry.empty()) {
            feed_line(t, text.substr(0, nl + 1));
        } else {
            t->carry.append(text.substr(0, nl + 1));
            feed_line(t, t->carry);
            t->carry.clear();
        }
        text.remove_prefix(nl + 1);
    }
}

void rimu_to_text_end(TextTarget *t) {
    if (!t->carry.empty()) {
        feed_line(t, t->carry);
        t->carry.clear();
    }
    stream_set_mode(t->stream, MODE_LINE); // the last paragraph or line is finished
    stream_free(t->stream);
    t->stream = nullptr;
    std::string rest;
    rest.swap(t->buf);
    if (t->into) t->into->append(rest);
    if (t->fd >= 0 && !t->failed && !session::write_all(t->fd, rest.data(), rest.size())) t->failed = true;
}

} // namespace out
