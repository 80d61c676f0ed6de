// The line getter, the file reader, the #-commands, the one-line executor and the prompt loop.
#include "session/loop.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "lang/macro.h"
#include "lang/prog.h"
#include "output/channel.h"
#include "output/log.h"
#include "output/term.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/lineedit.h"
#include "session/sedit2.h"
#include "session/tok.h"

namespace session {

Loop lp;
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
            while (n < 0 && errno == EINTR && !lp.PendingBreak);
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

// Reads one command from a file into out (cap bytes), doing comments, joins and the delimiter.
// Returns 0 with a command, 1 at end of file, 2 when the command was too long (and was discarded).
int file_read_command(FileSource *f, char *out, int cap) {
    int n = 0;
    bool too_long = false;
    bool in_dq = false; // inside "..."
    int cq = 0;         // inside `"..."' (nesting)
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
            if (in_dq) {
                if (ch == '"') in_dq = false;
                put(ch);
                continue;
            }
            if (cq > 0) {
                if (ch == '`' && nx == '"') {
                    ++cq;
                    put(ch);
                    put(nx);
                    ++i;
                    continue;
                }
                if (ch == '"' && nx == '\'') {
                    --cq;
                    put(ch);
                    put(nx);
                    ++i;
                    continue;
                }
                put(ch);
                continue;
            }
            if (ch == '`' && nx == '"') {
                cq = 1;
                put(ch);
                put(nx);
                ++i;
                seen_text = true;
                continue;
            }
            if (ch == '"') {
                in_dq = true;
                put(ch);
                seen_text = true;
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
        out::ClassScope cs(out::CLS_ERROR);
        out::out_error("input too long\n");
        out[0] = '\0';
        return 2;
    }
    return 0;
}

// #delimit and #review, handled while reading; they never reach the dispatcher.
void hash_command(const char *line) {
    settok(line + 1);
    const char *w = gettok(SEP_STD);
    std::string word = w;
    if (!word.empty() && cmdmatch(word.c_str(), "delimit", 1)) {
        if (!lp.curfile) return; // obeyed only in a file
        std::string arg = gettok(SEP_STD);
        out::ClassScope cs(out::CLS_TEXT);
        if (arg == "cr") {
            lp.delimiter_semi = 0;
            out::out_text("delimiter now cr\n");
        } else {
            lp.delimiter_semi = 1;
            out::out_text("delimiter now ;\n");
        }
        return;
    }
    if (!word.empty() && cmdmatch(word.c_str(), "review", 1)) {
        int n = 5, m = 0;
        std::string a = gettok(SEP_NUM);
        if (!a.empty()) n = std::atoi(a.c_str());
        std::string b = gettok(SEP_NUM);
        if (!b.empty()) m = std::atoi(b.c_str());
        if (n < 0) n = 0;
        if (n > 100) n = 100;
        review_show(n, m);
        return;
    }
    out::ClassScope cs(out::CLS_ERROR);
    out::out_text("Unknown #command\n");
}

bool skippable(const char *p) {
    while (*p == ' ')
        ++p;
    return *p == '\0' || *p == '*';
}

double now_seconds() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return tv.tv_sec + tv.tv_usec / 1e6;
}

// Reads a line typed at the terminal (or piped on standard input) into cmdbuf.
// Returns 0 with a line, 1 at end of input.
int read_console_line() {
    int r = read_terminal_line(tk.cmdbuf, maxcmdlen + 1);
    if (r == -1) return 1;
    if (r == -2) tk.cmdbuf[0] = '\0'; // Break while typing: an empty line
    // The typed line goes to the logs as input; the screen already shows it.
    out::RimuStream *s = out::ch.current;
    if (s == out::ch.console && !st.noninteractive) {
        out::SinkFn sink = s->sink;
        void *ctx = s->sinkContext;
        s->sink = nullptr;
        out::out_echo(tk.cmdbuf);
        out::out_echo("\n");
        s->sink = sink;
        s->sinkContext = ctx;
        if (sink) sink(ctx, nullptr, out::SINK_NEWLINE);
    } else {
        out::out_echo(tk.cmdbuf);
        out::out_echo("\n");
    }
    if (tk.cmdbuf[0] && !st.noninteractive) review_add(tk.cmdbuf);
    return 0;
}

} // namespace

int getline(int from_program, int prompt_flag) {
    (void)prompt_flag;
    for (;;) {
        if (from_program && lp.curprog) {
            int r = lang::program_next_line(tk.cmdbuf, maxcmdlen + 1);
            if (r) return 1;
            settok(tk.cmdbuf);
            return 0;
        }
        if (lp.curfile && lp.PendingBreak) return 1;
        int r;
        if (lp.curfile) {
            r = file_read_command(lp.curfile, tk.cmdbuf, maxcmdlen + 1);
            if (r == 1) return 1;
            if (r == 2) continue;
        } else if (st.noninteractive) {
            // Standard input that is not a terminal is read like a file, and echoed.
            static FileSource in;
            in.fd = 0;
            in.prompt = line_prompt;
            r = file_read_command(&in, tk.cmdbuf, maxcmdlen + 1);
            if (r == 1) return 1;
            if (r == 2) continue;
        } else {
            if (!(out::ch.OutputLevel > out::CLS_INPUT)) out::out_at_prompt(line_prompt);
            out::out_flush();
            r = read_console_line();
            if (r == 1) {
                out::out_text("\n"); // end the prompt's line before the session ends
                return 1;
            }
        }
        // Strip trailing blanks.
        size_t n = std::strlen(tk.cmdbuf);
        while (n > 0 && tk.cmdbuf[n - 1] == ' ')
            tk.cmdbuf[--n] = '\0';
        out::cmdlog_line(tk.cmdbuf);
        const char *p = tk.cmdbuf;
        while (*p == ' ')
            ++p;
        if (*p == '#') {
            hash_command(p);
            if (lp.curfile) continue;
            tk.cmdbuf[0] = '\0';
            settok(tk.cmdbuf);
            return 0;
        }
        if (skippable(tk.cmdbuf)) {
            if (lp.curfile) continue;
            // At the prompt an empty or comment line is a line that does nothing.
        }
        settok(tk.cmdbuf);
        return 0;
    }
}

namespace {

// True when the line, past capture/noisily/quietly prefixes, is a loop head.
bool loop_head(const char *line) {
    TokState saved;
    savetok(saved);
    settok(line);
    bool head = false;
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w == ":") continue;
        if (cmdmatch(w.c_str(), "capture", 3) || cmdmatch(w.c_str(), "noisily", 1) ||
            cmdmatch(w.c_str(), "quietly", 1))
            continue;
        head = cmdmatch(w.c_str(), "while", 2) || cmdmatch(w.c_str(), "forvalues", 4) ||
               cmdmatch(w.c_str(), "foreach", 7);
        break;
    }
    restoretok(saved);
    return head;
}

void report_outcome(int rc, double t0) {
    if (lp.in_prog) return;
    if (rc) {
        if (rc == 1) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_rimu("\n{hline 2}Break{hline 2}\n");
        }
        out::ClassScope cs(out::CLS_INFO);
        out::out_text(""); // the colour of the class, before the markup
        out::out_rimuf("{search r(%d):r(%d);}", rc, rc);
        if (!lp.rmsg) out::out_rimu("\n");
    } else if (lp.rmsg) {
        out::ClassScope cs(out::CLS_INFO);
        out::out_text("r;");
    }
    if (lp.rmsg) {
        double el = t0 ? now_seconds() - t0 : 0; // 0 for the line that turned rmsg on
        if (el < 0) el = 0;
        lp.rmsg_time = el;
        long hund = (long)(el * 100 + 0.5);
        time_t t = time(nullptr);
        struct tm tmv;
        localtime_r(&t, &tmv);
        out::ClassScope cs(out::CLS_INFO);
        out::out_textf(" t=%ld.%02ld %d:%02d:%02d\n", hund / 100, hund % 100, tmv.tm_hour, tmv.tm_min,
                       tmv.tm_sec);
    }
}

} // namespace

int execline() {
    lp.exitlevel = 0;
    // A new command typed or read at the top clears a Break; the lines a loop, program or do-file
    // runs do not, or a press landing between two of them would be lost before the next poll.
    if (lp.execdepth == 0) {
        lp.PendingBreak = 0;
        lp.breakheld = 0;
    }
    lp.byprefix = 0;
    double t0 = lp.rmsg ? now_seconds() : 0;
    int rc = 0;
    if (lp.in_prog) {
        if (lp.execflag) rc = lang::expand_macros(tk.cmdbuf);
    } else if (loop_head(tk.cmdbuf)) {
        lp.loopliteral = 0;
    } else {
        lp.loopliteral = 1;
        rc = lang::expand_macros(tk.cmdbuf);
    }
    if (rc == 0) {
        settok(tk.cmdbuf);
        const char *w = gettok(SEP_STD);
        std::snprintf(lp.cmdword, sizeof lp.cmdword, "%s", w);
        ++lp.execdepth;
        rc = dispatch();
        --lp.execdepth;
    }
    lp.linerc = rc;
    if (lp.exitlevel) {
        if (lp.exitsession) exit_path(0);
        lp.exitlevel = 0;
        return 0;
    }
    report_outcome(rc, t0);
    return 1;
}

int execute_text(const char *text) {
    std::snprintf(tk.cmdbuf, maxcmdlen + 1, "%s", text);
    settok(tk.cmdbuf);
    return execline();
}

void break_signal() {
    lp.PendingBreak = lp.breakenabled;
    lp.breakheld = !lp.breakenabled;
}

void break_enable(int enabled) {
    if (!enabled && lp.breakenabled) {
        lp.breakheld = lp.breakheld || lp.PendingBreak;
        lp.PendingBreak = 0;
    } else if (enabled && !lp.breakenabled) {
        if (lp.breakheld) lp.PendingBreak = 1;
        lp.breakheld = 0;
    }
    lp.breakenabled = enabled;
}

void prompt_loop() {
    for (;;) {
        lp.at_prompt = 0;
        if (getline(0, 1)) return;
        lp.at_prompt = 1;
        if (execline() == 0) return;
    }
}

} // namespace session
