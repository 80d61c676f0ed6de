// The readers of command lines: a do-file (comments, joins, the delimiter, the echo) and the user (the
// terminal's line editor, or standard input read like a file when it is no terminal).
#include "session/reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "output/channel.h"
#include "output/term.h"
#include "session/errors.h"
#include "session/lineedit.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

const char *line_prompt = ". ";

// A do-file being read: a 512-byte buffered reader and the comment state that spans its lines.
struct FileSource {
    int fd = -1;
    char buf[512];
    int pos = 0;
    int len = 0;
    bool eof = false;
    bool pending_cr = false; // a CR was the last byte read: a following LF belongs to it
    int comment_depth = 0;   // /* */ nesting carried across lines
    std::string ahead;       // the rest of a physical line after a ';', read before the buffer
    size_t ahead_pos = 0;
    bool echoed_ahead = false;    // the next physical line was echoed with the line before it
    const char *prompt = nullptr; // echoed before each physical line (". " for do), none to echo nothing
};

FileSource *file_open(const char *path) {
    int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0) return nullptr;
    auto *f = new FileSource();
    f->fd = fd;
    return f;
}

void file_close(FileSource *f) {
    if (!f) return;
    if (f->fd >= 0) ::close(f->fd);
    delete f;
}

void set_prompt(FileSource *f, const char *prompt) { f->prompt = prompt; }

const char *file_prompt(const FileSource *f) { return f->prompt; }

namespace {

// Next byte of the file, or -1 at its end; CR and CR LF both come out as LF.
int file_byte(FileSource *f) {
    if (f->ahead_pos < f->ahead.size()) return (unsigned char)f->ahead[f->ahead_pos++];
    for (;;) {
        if (f->pos >= f->len) {
            if (f->eof) return -1;
            ssize_t n;
            do
                n = ::read(f->fd, f->buf, sizeof f->buf);
            while (n < 0 && errno == EINTR && !poll_break());
            if (n <= 0) {
                f->eof = true;
                return -1;
            }
            f->pos = 0;
            f->len = (int)n;
        }
        unsigned char c = (unsigned char)f->buf[f->pos++];
        if (c == '\r') {
            f->pending_cr = true;
            return '\n';
        }
        if (c == '\n' && f->pending_cr) {
            f->pending_cr = false;
            continue;
        }
        f->pending_cr = false;
        return c;
    }
}

// Echoes a physical line, 500 characters at a time, in class 2.
void echo_physical(const std::string &text, const char *prefix) {
    if (!prefix) return;
    {
        out::ClassScope cp(out::CLS_TEXT);
        out::out_text(prefix);
    }
    out::ClassScope cs(out::CLS_INFO);
    for (size_t i = 0; i < text.size(); i += 500)
        out::out_text(std::string_view(text).substr(i, 500));
    out::out_text("\n");
}

} // namespace

int file_read(FileSource *f, char *out, int cap) {
    int n = 0;
    bool too_long = false;
    QuoteState qs; // comment markers inside quotes are plain text
    bool seen_text = false;
    bool first_physical = true;
    auto put = [&](char c) {
        if (n < cap - 1)
            out[n++] = c;
        else
            too_long = true;
    };
    for (;;) {
        // Read one physical line, expanding tabs and dropping control bytes.
        std::string phys;
        int c;
        bool got_any = false;
        while ((c = file_byte(f)) != -1) {
            got_any = true;
            if (c == '\n') break;
            if (c == '\t') {
                int to = 8 - (int)(phys.size() % 8);
                phys.append(to, ' ');
                continue;
            }
            if (c < 32 || c > 254) continue;
            phys.push_back((char)c);
            if (phys.size() > (size_t)maxcmdlen * 2) {
                // an endless physical line: keep draining it without holding it all
                too_long = true;
                phys.resize(maxcmdlen);
            }
        }
        if (!got_any) {
            if (first_physical) {
                if (f->prompt) {
                    out::ClassScope cs(out::CLS_TEXT);
                    out::out_text(f->prompt);
                    out::out_text("\n");
                }
                return 1;
            }
            break; // end of file inside a command: what we have is the command
        }
        if (!f->echoed_ahead) echo_physical(phys, first_physical ? f->prompt : (f->prompt ? "> " : nullptr));
        f->echoed_ahead = false;
        first_physical = false;

        bool joined = false;
        bool ended = !lp.delimiter_semi; // in cr mode the line ends at the line end
        if (lp.delimiter_semi && !phys.empty() && phys[0] == '#' && n == 0) ended = true;
        size_t i = 0;
        for (; i < phys.size(); ++i) {
            char ch = phys[i];
            char nx = i + 1 < phys.size() ? phys[i + 1] : '\0';
            if (f->comment_depth > 0) {
                if (ch == '/' && nx == '*') {
                    ++f->comment_depth;
                    ++i;
                } else if (ch == '*' && nx == '/') {
                    --f->comment_depth;
                    ++i;
                }
                continue;
            }
            if (int k = qs.feed(ch, nx)) {
                put(ch);
                if (k == 2) put(nx);
                i += (size_t)k - 1;
                seen_text = true; // a quote opened here, or one that did is still open
                continue;
            }
            if (ch == '/' && nx == '*') {
                ++f->comment_depth;
                ++i;
                continue;
            }
            if (ch == '/' && nx == '/' && (i == 0 || phys[i - 1] == ' ')) {
                if (i + 2 < phys.size() && phys[i + 2] == '/' && !lp.delimiter_semi) joined = true;
                break; // rest of the line is a comment
            }
            if (lp.delimiter_semi && ch == ';' && !(n == 0 && phys[0] == '#')) {
                // The command ends here; what follows on the physical line is the next command's.
                ended = true;
                // The unread rest is read again, ahead of the buffer, as the next physical line.
                std::string rest = phys.substr(i + 1);
                if (rest.find_first_not_of(' ') != std::string::npos) {
                    f->ahead = rest + "\n" + f->ahead.substr(f->ahead_pos);
                    f->ahead_pos = 0;
                    f->echoed_ahead = true;
                }
                break;
            }
            put(ch);
            if (ch != ' ') seen_text = true;
        }
        if (joined) continue;
        if (!lp.delimiter_semi || ended) break;
        // ';' mode, no terminator yet: a line end becomes one blank once text has been seen.
        if (seen_text) put(' ');
    }
    while (n > 0 && out[n - 1] == ' ')
        --n;
    out[n] = '\0';
    if (too_long) {
        session::fail(0, "input too long\n"); // the line is dropped and reading goes on
        out[0] = '\0';
        return 2;
    }
    return 0;
}

namespace {

// Reads a line typed at the terminal into buf. Returns 0 with a line, 1 at end of input.
int console_read(char *buf, int cap) {
    int r = read_terminal_line(buf, cap);
    if (r == -1) return 1;
    if (r == -2) buf[0] = '\0'; // Break while typing: an empty line
    // The typed line goes to the logs as input; the screen already shows it.
    out::RimuStream *s = out::ch.current;
    if (s == out::ch.console && !st.noninteractive) {
        out::SinkFn sink = s->sink;
        void *ctx = s->sinkContext;
        s->sink = nullptr;
        out::out_echo(buf);
        out::out_echo("\n");
        s->sink = sink;
        s->sinkContext = ctx;
        if (sink) sink(ctx, nullptr, out::SINK_NEWLINE);
    } else {
        out::out_echo(buf);
        out::out_echo("\n");
    }
    if (buf[0] && !st.noninteractive) review_add(buf);
    return 0;
}

} // namespace

int user_read(const char *prompt, char *buf, int cap) {
    int r;
    if (st.noninteractive) {
        // Standard input that is not a terminal is read like a file, and echoed.
        static FileSource in;
        in.fd = 0;
        in.prompt = prompt;
        r = file_read(&in, buf, cap);
    } else {
        if (!(out::ch.OutputLevel > out::CLS_INPUT)) out::out_at_prompt(prompt);
        out::out_flush();
        r = console_read(buf, cap);
        if (r == 1) out::out_text("\n"); // end the prompt's line before the session ends
    }
    if (r == 0) {
        size_t n = std::strlen(buf);
        while (n > 0 && buf[n - 1] == ' ')
            buf[--n] = '\0';
    }
    return r;
}

} // namespace session
