// do, run and include: a file read line by line through the one-line executor, in a call frame.
#include <cstring>
#include <string>

#include "lang/prog.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/tok.h"

namespace lang {

using session::lp;
using session::tk;

int callframes = 0;

namespace {

constexpr int max_callframes = 64;
enum { MODE_DO = 0, MODE_RUN = 1, MODE_PROG = 3, MODE_INCLUDE = 4 };

// What a frame saves on entry to a file or program and puts back at its end.
struct Frame {
    int16_t version;
    uint8_t modernmissing;
    uint8_t OutputLevel, EntryLevel;
    uint8_t in_prog;
    int curline;
    void *curprog;
    char progname[33], ownername[33];
    uint8_t delimiter_semi;
    session::FileSource *curfile;
    uint8_t execflag;

    void save() {
        version = lp.version;
        modernmissing = lp.modernmissing;
        OutputLevel = out::ch.OutputLevel;
        EntryLevel = out::ch.EntryLevel;
        in_prog = lp.in_prog;
        curline = lp.curline;
        curprog = lp.curprog;
        std::memcpy(progname, lp.progname, sizeof progname);
        std::memcpy(ownername, lp.ownername, sizeof ownername);
        delimiter_semi = lp.delimiter_semi;
        curfile = lp.curfile;
        execflag = lp.execflag;
    }
    void restore(int mode) {
        if (mode != MODE_INCLUDE) {
            lp.version = version;
            lp.modernmissing = modernmissing;
            out::ch.OutputLevel = OutputLevel;
            out::ch.EntryLevel = EntryLevel;
        }
        lp.in_prog = in_prog;
        lp.curline = curline;
        lp.curprog = curprog;
        std::memcpy(lp.progname, progname, sizeof progname);
        std::memcpy(lp.ownername, ownername, sizeof ownername);
        lp.delimiter_semi = delimiter_semi;
        lp.curfile = curfile;
        lp.execflag = execflag;
    }
};

// The name as given, or with ".do" added when its last component has no dot.
std::string with_suffix(const std::string &name) {
    size_t slash = name.rfind('/');
    size_t base = slash == std::string::npos ? 0 : slash + 1;
    if (name.find('.', base) != std::string::npos) return name;
    return name + ".do";
}

}  // namespace

// do filename [arguments] [, nostop stop delay]   run likewise   include filename
int cmd_do(int mode) {
    if (lp.byprefix) return session::error(190);
    if (callframes >= max_callframes) return session::error(1000);
    std::string name = session::gettok(session::SEP_FILE);
    if (name.empty() || name == ",") return session::invalid_text("file specification");
    if (name[0] == '"') name.erase(0, 1);
    bool stop = true;
    // Arguments are read up to the comma; options follow it.
    for (;;) {
        std::string t = session::gettok(session::SEP_STD);
        if (t.empty()) break;
        if (t != ",") {
            if (mode == MODE_INCLUDE) return session::error(198);
            continue;
        }
        for (;;) {
            std::string o = session::gettok(session::SEP_STD);
            if (o.empty()) break;
            if (session::cmdmatch(o.c_str(), "nostop", 6)) stop = false;
            else if (session::cmdmatch(o.c_str(), "stop", 1)) stop = true;
            else if (o == "delay") {
                // accepted and ignored, with its argument
                if (std::string(session::gettok(session::SEP_STD)) == "(") {
                    session::gettok(session::SEP_STD);
                    session::gettok(session::SEP_STD);
                } else {
                    session::ungettok();
                }
            } else {
                out::ClassScope cs(out::CLS_ERROR);
                out::out_error("option " + o + " not allowed\n");
                return 198;
            }
        }
        break;
    }
    std::string path = with_suffix(name);
    session::FileSource *f = session::file_open(path.c_str());
    if (!f) return session::file_error(601, path);

    Frame fr;
    fr.save();
    ++callframes;
    lp.curprog = nullptr;
    lp.curline = 0;
    lp.curfile = f;
    lp.delimiter_semi = 0;
    lp.in_prog = 0;
    lp.execflag = 1;
    if (mode != MODE_INCLUDE) {
        out::ch.EntryLevel = out::ch.OutputLevel;
        if (mode == MODE_RUN) out::ch.OutputLevel = out::LVL_QUIET;
    }
    session::set_prompt(f, mode == MODE_DO ? ". " : nullptr);

    bool by_exit = false;
    int rc = 0;
    for (;;) {
        lp.PendingBreak = 0;
        if (session::getline(1, 0)) {
            rc = lp.PendingBreak ? 1 : 0;
            break;
        }
        if (session::execline() == 0) {
            by_exit = true;
            rc = lp.linerc;
            break;
        }
        rc = lp.linerc;
        if (lp.PendingBreak) {
            rc = 1;
            break;
        }
        if (stop && rc) break;
        if (!stop) rc = 0;
    }
    session::file_close(f);
    fr.restore(mode);
    --callframes;
    if (mode == MODE_DO && !by_exit) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("end of do-file\n");
    }
    return rc;
}

int program_next_line(char *, int) { return 1; }

// The ado path and temporary files come with the program layer.
bool find_on_adopath(const char *, std::string *) { return false; }
void remove_temporary_files() {}

// Stored programs and ado-files are not built yet: no name is found.
int run_stored_program(const char *, bool *found) {
    *found = false;
    return 0;
}

int run_ado(const char *, bool *found) {
    *found = false;
    return 0;
}

}  // namespace lang
