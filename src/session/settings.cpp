// `set`: the word table, found by first letter and minimum length, and the settings built so far.
#include "session/settings.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "output/channel.h"
#include "output/term.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/tok.h"

namespace session {

Settings se;

namespace {

// on | off
int read_onoff(bool *v) {
    std::string w = gettok(SEP_STD);
    if (w == "on") *v = true;
    else if (w == "off") *v = false;
    else return required("on or off");
    return 0;
}

// The rest of the line must be empty (`, permanently` comes with the preference store).
int rest_empty() {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return 0;
    if (w == ",") {
        std::string o = gettok(SEP_STD);
        if (cmdmatch(o.c_str(), "permanently", 4)) {
            out::ClassScope cs(out::CLS_ERROR);
            out::out_error("option permanently is not available in this build\n");
            return 199;
        }
        return error(198);
    }
    return error(198);
}

int read_int(int *v) {
    std::string w = gettok(SEP_NUM);
    char *end;
    long n = std::strtol(w.c_str(), &end, 10);
    if (w.empty() || *end) return error(198);
    *v = (int)n;
    return 0;
}

int set_more(int) {
    bool v;
    TokState ts;
    savetok(ts);
    std::string w = gettok(SEP_NUM);
    if (!w.empty() && std::isdigit((unsigned char)w[0])) return rest_empty();  // old `set more #`
    restoretok(ts);
    if (int rc = read_onoff(&v)) return rc;
    if (int rc = rest_empty()) return rc;
    out::more_switch = v;
    return 0;
}

int set_rmsg(int) {
    bool v;
    if (int rc = read_onoff(&v)) return rc;
    if (int rc = rest_empty()) return rc;
    lp.rmsg = v;
    return 0;
}

// set output {proc|inform|error}
int set_output(int) {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return error(198);
    uint8_t lvl;
    if (cmdmatch(w.c_str(), "proc", 1)) lvl = out::LVL_NORMAL;
    else if (cmdmatch(w.c_str(), "inform", 1)) lvl = out::LVL_INFORM;
    else if (cmdmatch(w.c_str(), "error", 1)) lvl = out::LVL_QUIET;
    else return invalid_text(w);
    if (int rc = rest_empty()) return rc;
    out::ch.OutputLevel = lvl;
    return 0;
}

int set_linesize(int) {
    int n;
    if (int rc = read_int(&n)) return rc;
    if (int rc = rest_empty()) return rc;
    if (n < 40) n = 40;
    if (n > 255) n = 255;
    se.linesize = n;
    if (out::ch.console) out::ch.console->width = n;
    return 0;
}

int set_pagesize(int) {
    int n;
    if (int rc = read_int(&n)) return rc;
    if (int rc = rest_empty()) return rc;
    if (n < 0) return error(198);
    se.pagesize = n;
    if (out::ch.console) out::ch.console->pageLength = n;
    return 0;
}

int set_na(int) {
    out::ClassScope cs(out::CLS_ERROR);
    out::out_error("set ");
    out::out_error(current_command);
    out::out_error(" is not available in this build\n");
    return 199;
}

struct SetRow {
    const char *name;
    int minlen;  // 0: known in exact form only
    Handler handler;
};

// Tried in this order within a first letter.
const SetRow set_rows[] = {
    {"ANSI", 1, set_na},        {"adosize", 1, set_na},      {"beep", 1, set_na},
    {"eolchar", 5, set_na},     {"help", 1, set_na},         {"level", 1, set_na},
    {"linegap", 5, set_na},     {"linesize", 2, set_linesize}, {"matsize", 3, set_na},
    {"maxdb", 5, set_na},       {"maxiter", 7, set_na},      {"maxobs", 4, set_na},
    {"memory", 3, set_na},      {"maxvar", 6, set_na},       {"more", 2, set_more},
    {"macgphengine", 6, set_na}, {"kilncache", 4, set_na},   {"netdebug", 8, set_na},
    {"notifyuser", 10, set_na}, {"old_maxvar", 4, set_na},   {"pagesize", 2, set_pagesize},
    {"processors", 9, set_na},  {"rmsg", 1, set_rmsg},       {"uncompress", 10, set_na},
    {"varlabelpos", 6, set_na}, {"varwindow", 6, set_na},    {"varkeyboard", 6, set_na},
    {"video", 1, set_na},       {"virtual", 3, set_na},      {"use_qd_text", 11, set_na},
    {"use_atsui_graph", 15, set_na}, {"textsize", 2, set_na}, {"trace", 2, set_na},
    {"tracedepth", 6, set_na},  {"tracehilite", 6, set_na},  {"traceindent", 6, set_na},
    {"traceexpand", 6, set_na}, {"tracenumber", 6, set_na},  {"tracesep", 6, set_na},
    {"scrollbufsize", 13, set_na}, {"smoothfonts", 7, set_na}, {"smoothsize", 7, set_na},
    {"searchdefault", 7, set_na}, {"seed", 2, set_na},       {"seed0", 5, set_na},
    {"smalldlg", 8, set_na},    {"reventries", 7, set_na},   {"revwindow", 6, set_na},
    {"revkeyboard", 6, set_na}, {"piccomments", 6, set_na},  {"playsnd", 7, set_na},
    {"noprefix", 1, set_na},    {"profiling", 9, set_na},    {"output", 2, set_output},
    {"kilnfavor", 4, set_na},   {"logtype", 4, set_na},      {"icmap", 5, set_na},
    {"httpproxy", 9, set_na},   {"httpproxyauth", 10, set_na}, {"graphics", 1, set_na},
    {"display", 1, set_na},     {"checksum", 8, set_na},     {"conren", 6, out::set_conren},
    {"copyaspict", 10, set_na}, {"cmdtitle", 7, set_na},
    // Known in exact form only.
    {"kilnstrict", 0, set_na},  {"kilnlnum", 0, set_na},     {"kilnoptimize", 0, set_na},
    {"kilnlibs", 0, set_na},    {"kilnkofirst", 0, set_na},  {"kilndebug", 0, set_na},
    {"type", 0, set_na},        {"scheme", 0, set_na},       {"printcolor", 0, set_na},
    {"odbcmgr", 0, set_na},     {"dp", 0, set_na},           {"term", 0, set_na},
    {"timeout1", 0, set_na},    {"timeout2", 0, set_na},     {"tol", 0, set_na},
    {"tracecode", 0, set_na},   {"tracetime", 0, set_na},    {"varabbrev", 0, set_na},
    {"update_query", 0, set_na}, {"update_interval", 0, set_na}, {"update_prompt", 0, set_na},
    {"update_oride", 0, set_na}, {"sortseed", 0, set_na},    {"charset", 0, set_na},
    {"log", 0, set_na},         {"__profile", 0, set_na},
};

}  // namespace

// set word [value] [, permanently]
int cmd_set(int) {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return error(198);
    for (const SetRow &r : set_rows) {
        if (r.name[0] != w[0]) continue;
        bool hit = r.minlen ? cmdmatch(w.c_str(), r.name, r.minlen) : w == r.name;
        if (!hit) continue;
        const char *saved = current_command;
        current_command = r.name;
        int rc = r.handler(0);
        current_command = saved;
        return rc;
    }
    return error(198);
}

}  // namespace session
