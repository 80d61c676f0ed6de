// do, run, include and program calls: one runner that reads lines through the one-line executor in
// a call frame; exit; trace lines.
#include <cerrno>
#include <cstring>
#include <string>

#include "data/dataset.h"
#include "data/preserve.h"
#include "lang/cls.h"
#include "lang/exprhook.h"
#include "lang/flow.h"
#include "lang/macro.h"
#include "lang/prog_int.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/options.h"
#include "session/state.h"
#include "session/store.h"
#include "session/tok.h"

namespace lang {

using session::lp;
using session::se;
using session::tk;

Flow fl;
bool file_echo = false;

namespace {

// What a frame saves on entry to a file or program and puts back at its end.
struct Frame {
    int16_t version;
    uint8_t modernmissing;
    int64_t tempname_counter, tempfile_counter;
    uint8_t OutputLevel, EntryLevel;
    uint8_t in_prog;
    int curline;
    void *curprog;
    char progname[33], ownername[33];
    uint8_t if_taken, in_loop, contflag;
    bool trace;
    int tracedepth;
    uint8_t delimiter_semi;
    session::FileSource *curfile;
    bool file_echo;
    uint8_t rmsg;
    uint8_t byprefix;
    uint8_t execflag;
    int ProgramClass;
    int preserve_level;
    // The caller's line: a file or program overwrites cmdbuf, and callers such as `by` read theirs
    // again after the call.
    std::string line;
    ptrdiff_t tokpos_off, tokstart_off;

    void save() {
        version = lp.version;
        modernmissing = lp.modernmissing;
        tempname_counter = lang::tempname_counter;
        tempfile_counter = lang::tempfile_counter;
        OutputLevel = out::ch.OutputLevel;
        EntryLevel = out::ch.EntryLevel;
        in_prog = lp.in_prog;
        curline = lp.curline;
        curprog = lp.curprog;
        std::memcpy(progname, lp.progname, sizeof progname);
        std::memcpy(ownername, lp.ownername, sizeof ownername);
        if_taken = fl.if_taken;
        in_loop = fl.in_loop;
        contflag = fl.contflag;
        trace = se.trace;
        tracedepth = se.tracedepth;
        delimiter_semi = lp.delimiter_semi;
        curfile = lp.curfile;
        file_echo = lang::file_echo;
        rmsg = lp.rmsg;
        byprefix = lp.byprefix;
        execflag = lp.execflag;
        ProgramClass = mat::res.ProgramClass;
        preserve_level = data::preserve_level;
        line = tk.cmdbuf;
        auto off = [](const char *p) -> ptrdiff_t {
            if (!p || p < tk.cmdbuf || p > tk.cmdbuf + std::strlen(tk.cmdbuf)) return -1;
            return p - tk.cmdbuf;
        };
        tokpos_off = off(tk.tokpos);
        tokstart_off = off(tk.tokstart);
    }
    void restore(int mode) {
        if (mode != MODE_INCLUDE) {
            lp.version = version;
            lp.modernmissing = modernmissing;
            lang::tempname_counter = tempname_counter;
            lang::tempfile_counter = tempfile_counter;
            out::ch.OutputLevel = OutputLevel;
            out::ch.EntryLevel = EntryLevel;
            data::preserve_level = preserve_level;
        }
        lp.in_prog = in_prog;
        lp.curline = curline;
        lp.curprog = curprog;
        std::memcpy(lp.progname, progname, sizeof progname);
        std::memcpy(lp.ownername, ownername, sizeof ownername);
        fl.if_taken = if_taken;
        fl.in_loop = in_loop;
        fl.contflag = contflag;
        se.trace = trace;
        se.tracedepth = tracedepth;
        lp.delimiter_semi = delimiter_semi;
        lp.curfile = curfile;
        lang::file_echo = file_echo;
        if (mode == MODE_PROG) lp.rmsg = rmsg;
        lp.byprefix = byprefix;
        lp.execflag = execflag;
        mat::res.ProgramClass = ProgramClass;
        std::memcpy(tk.cmdbuf, line.c_str(), line.size() + 1);
        tk.tokpos = tokpos_off >= 0 ? tk.cmdbuf + tokpos_off : tk.cmdbuf + line.size();
        tk.tokstart = tokstart_off >= 0 ? tk.cmdbuf + tokstart_off : nullptr;
        tk.tokpushed = tk.tokagain = false;
    }
};

// The name as given, or with ".do" added when its last component has no dot.
std::string with_suffix(const std::string &name) {
    size_t slash = name.rfind('/');
    size_t base = slash == std::string::npos ? 0 : slash + 1;
    if (name.find('.', base) != std::string::npos) return name;
    return name + ".do";
}

// Options of do and run: [no]stop, delay(#).
std::string trace_indent() {
    if (!se.traceindent || lp.callframes < 1) return "";
    return std::string((size_t)(lp.callframes - 1) * 2, ' ');
}

bool tracing() { return se.trace && lp.callframes >= 1 && lp.callframes <= se.tracedepth; }

void trace_rule(const char *what, const char *name) {
    if (!tracing() || !se.tracesep) return;
    int n = 44 - (int)std::strlen(name) - (int)trace_indent().size();
    if (n < 3) n = 3;
    out::ClassScope cs(out::CLS_TEXT);
    out::out_rimuf("%s{hline %d} %s %s {hline 3}\n", trace_indent().c_str(), n, what, name);
}

// A word of an ado-file's own lines outside a definition: only these may stand there.
bool ado_word_allowed(const char *line) {
    session::TokState ts;
    session::savetok(ts);
    session::settok(line);
    std::string w = session::gettok(session::SEP_STD);
    session::restoretok(ts);
    session::settok(line);
    return session::cmdmatch(w.c_str(), "program", 2) || session::cmdmatch(w.c_str(), "version", 4) ||
           w == "m" || session::cmdmatch(w.c_str(), "kiln", 4);
}

} // namespace

void trace_line(const char *line) {
    if (!tracing()) return;
    const char *p = line;
    while (*p == ' ')
        ++p;
    out::ClassScope cs(out::CLS_TEXT);
    std::string s = trace_indent();
    if (se.tracenumber) s += std::to_string(lp.curline) + " ";
    s += "- ";
    s += p;
    s += "\n";
    out::out_text(s);
}

void trace_expanded(const char *line) {
    if (!tracing() || !se.traceexpand) return;
    const char *p = line;
    while (*p == ' ')
        ++p;
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text(trace_indent() + "= " + p + "\n");
}

std::vector<std::string> split_args(const std::string &text) {
    std::vector<std::string> w;
    size_t i = 0, n = text.size();
    for (;;) {
        while (i < n && text[i] == ' ')
            ++i;
        if (i >= n) break;
        session::Quoted q;
        if (session::quoted_at(text, i, q)) {
            w.push_back(text.substr(q.begin, q.end - q.begin));
            i = q.next;
        } else {
            size_t j = i;
            while (j < n && text[j] != ' ' && text[j] != '"')
                ++j;
            w.push_back(text.substr(i, j - i));
            i = j;
        }
    }
    return w;
}

int runfile(int mode, ProgHeader *p, const char *name, bool adoload) {
    if (mode != MODE_PROG && lp.byprefix) return session::error(190);
    if (lp.callframes >= session::max_callframes) return session::error(1000);
    if (mode != MODE_INCLUDE && session::locallevel >= session::ST_LOCAL_LAST) return session::error(1000);

    Frame fr;
    fr.save();
    std::string args, shown;
    bool stop = true;
    session::FileSource *f = nullptr;
    if (mode != MODE_PROG) {
        std::string fname = session::gettok(session::SEP_FILE);
        if (fname.empty() || fname == ",") return session::error(7197);
        if (fname[0] == '"') fname.erase(0, 1);
        std::string rest = tk.tokpos ? tk.tokpos : "";
        size_t comma = session::options_comma(rest);
        args = rest.substr(0, comma);
        if (mode == MODE_INCLUDE) {
            if (comma != std::string::npos || args.find_first_not_of(' ') != std::string::npos)
                return session::error(198);
        } else if (comma != std::string::npos) {
            const session::OptSpec specs[] = {session::opt_onoff("stop", 1, stop),
                                              session::opt_skip("delay", 5)};
            if (int rc = session::options_of(rest.substr(comma + 1), specs)) return rc;
        }
        shown = with_suffix(fname);
        f = session::file_open(shown.c_str());
        if (!f) return session::file_error(errno == ENOENT || errno == ENOTDIR ? 601 : 603, shown);
    } else {
        args = tk.tokpos ? tk.tokpos : "";
        shown = name;
    }
    if (mode != MODE_INCLUDE && args.size() >= (size_t)session::maxcmdlen) {
        session::file_close(f);
        return session::error(1004);
    }

    ++lp.callframes;
    if (mode != MODE_INCLUDE) {
        data::preserve_level = -1;
        ++session::locallevel;
        session::macro_set("_0", args);
        int k = 0;
        for (const std::string &w : split_args(args)) {
            std::string an = session::local_name(std::to_string(++k));
            session::macro_set_at(an.c_str(), session::locallevel, w, true);
        }
    }
    lp.curprog = nullptr;
    lp.curline = 0;
    uint8_t was_inuse = 0;
    if (mode == MODE_PROG) {
        lp.rmsg = 0;
        lp.in_prog = 1;
        std::snprintf(lp.progname, sizeof lp.progname, "%s", name);
        std::snprintf(lp.ownername, sizeof lp.ownername, "%s", p->owner[0] ? p->owner : name);
        was_inuse = p->inuse;
        p->inuse = 1;
        p->usestamp = (uint32_t)lp.cmdserial;
        lp.version = p->version;
        lp.modernmissing = p->version >= 800;
        lp.curprog = p;
        mat::program_enter(p->cls);
    } else {
        if (mode != MODE_INCLUDE) mat::program_enter(0);
        lp.curfile = f;
        lp.delimiter_semi = 0;
        lp.in_prog = 0;
        if (mode != MODE_INCLUDE) lang::file_echo = mode == MODE_DO;
        if (!adoload && mode != MODE_INCLUDE) lp.ownername[0] = '\0';
        session::set_prompt(f, lang::file_echo ? ". " : nullptr);
    }
    if (mode != MODE_INCLUDE) {
        out::ch.EntryLevel = out::ch.OutputLevel;
        if (mode == MODE_RUN && out::ch.OutputLevel < out::LVL_QUIET) out::ch.OutputLevel = out::LVL_QUIET;
    }
    fl.in_loop = 0;
    fl.contflag = 0;
    lp.execflag = 1;
    trace_rule("begin", shown.c_str());

    bool by_exit = false;
    int rc = 0;
    for (;;) {
        if (session::getline(1, 0)) {
            rc = session::poll_break();
            break;
        }
        if (adoload && !ado_word_allowed(tk.cmdbuf)) {
            rc = session::error(161);
            break;
        }
        int more = session::execline();
        rc = lp.linerc;
        if (!more) {
            by_exit = true;
            break;
        }
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (rc && stop) break;
        if (!stop) rc = 0;
    }
    // A level this file or program preserved comes back, however it ended.
    if (mode != MODE_INCLUDE) rc = data::preserve_frame_end(rc);
    lp.linerc = rc;

    session::file_close(f);
    trace_rule("end", shown.c_str());
    if (mode == MODE_PROG) mat::program_leave(p->cls, rc);
    int64_t tn_now = tempname_counter, tf_now = tempfile_counter;
    int16_t level_version = lp.version;
    if (mode != MODE_INCLUDE) {
        cls_level_end(session::locallevel);
        session::store_drop_type(session::locallevel);
        --session::locallevel;
    }
    --lp.callframes;
    fr.restore(mode);
    if (mode != MODE_INCLUDE) {
        drop_temp_objects(fr.tempname_counter, tn_now);
        if (level_version >= 310) remove_tempfiles(fr.tempfile_counter, tf_now);
    }
    if (mode == MODE_PROG) {
        p->inuse = was_inuse;
        if (!p->inuse && p->dropped) program_delete(p);
    }
    if (mode == MODE_DO && !by_exit) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("end of do-file\n");
    }
    return rc;
}

// do filename [arguments] [, nostop delay(#)] ; run likewise ; include filename
int cmd_do(int mode) { return runfile(mode, nullptr, nullptr, false); }

// exit [exp] [, clear ORVAT prefs noprefs]
int cmd_exit(int) {
    std::string rest = tk.tokpos ? tk.tokpos : "";
    size_t comma = session::options_comma(rest);
    std::string exp = rest.substr(0, comma);
    bool clear = false, whole = false, prefs = session::st.saveprefs;
    if (comma != std::string::npos) {
        const session::OptSpec specs[] = {session::opt_flag("clear", 5, clear),
                                          session::opt_flag("ORVAT", 5, whole),
                                          session::opt_onoff("prefs", 4, prefs)};
        if (int rc = session::options_of(rest.substr(comma + 1), specs)) return rc;
        session::st.saveprefs = prefs;
    }
    long long code = 0;
    if (exp.find_first_not_of(' ') != std::string::npos)
        if (int rc = eval_to_int(exp, code, false)) return rc;
    if (whole || (lp.callframes == 0 && !lp.in_prog)) {
        if (data::ds.changed && !clear) return session::error(4);
        lp.exitsession = 1;
    }
    lp.exitlevel = 1;
    if ((code == 2000 || code == 2001) && (session::empty_groups_normal || lp.byprefix)) return 0;
    return (int)code;
}

} // namespace lang
