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
#include "session/commands.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/lineedit.h"
#include "session/reader.h"
#include "session/sedit2.h"
#include "session/tok.h"

namespace session {

namespace {

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
        if (lp.curfile && poll_break()) return 1;
        const int r = lp.curfile ? file_read(lp.curfile, tk.cmdbuf, maxcmdlen + 1)
                                 : user_read(line_prompt, tk.cmdbuf, maxcmdlen + 1);
        if (r == 1) return 1;
        if (r == 2) continue;
        // Only the top level of a do-file is recorded, never the lines of an ado-file being loaded.
        if (!(lp.curfile && (lp.callframes > 1 || lang::ado_loading()))) out::cmdlog_line(tk.cmdbuf);
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
        if (command_has(w.c_str(), CF_PREFIX)) continue;
        head = command_has(w.c_str(), CF_LOOP);
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
    if (lp.execdepth == 0) break_clear();
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

void prompt_loop() {
    for (;;) {
        lp.at_prompt = 0;
        if (getline(0, 1)) return;
        lp.at_prompt = 1;
        if (execline() == 0) return;
    }
}

} // namespace session
