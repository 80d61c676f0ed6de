// Settings: one table of the words of `set`, each with where its value lives, its preference key and
// its place in `query`; and the values `c()` and `creturn list` report.
#include "session/settings.h"
#include "session/findfile.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/varlist.h"
#include "estimate/frame.h"
#include "lang/prog.h"
#include "output/channel.h"
#include "output/conren.h"
#include "output/rimu.h"
#include "output/term.h"
#include "session/dispatch.h"
#include "session/errors.h"
#include "session/findfile.h"
#include "session/hexfloat.h"
#include "session/macstore.h"
#include "session/memory.h"
#include "session/options.h"
#include "session/prefs.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

// The ado cache limit that `memory` reports.
int32_t memory_adosize() { return se.adosize; }

namespace {

constexpr const char *SET_C = "set_c";
constexpr const char *MEM_SE_C = "mem_se_c";

enum Kind : uint8_t {
    K_ONOFF,   // on | off
    K_INT,     // an integer from lo to hi
    K_LONG,    // a 64-bit integer, at least lo
    K_CHOICE,  // one of the words in choices, held as its 1-based position
    K_TEXT,    // the rest of the line
    K_IRREL1,  // accepted and ignored: "is irrelvant nowadays"
    K_IRREL2,  // accepted and ignored: "irrelevant in this version"
    K_SPECIAL, // a handler reads and sets the value
};

// What a special setting does: read the value with the tokenizer (the rest must be empty), set it,
// return a code. show gives the value as text for query, c() and the preference store.
using Reader = int (*)();
using Shower = std::string (*)();

struct SetRow {
    const char *name;
    int minlen; // 0: only in exact form; -1: no `set` word, shown by query and c() only
    Kind kind;
    bool *b = nullptr;
    int *i = nullptr;
    std::string *s = nullptr;
    uint8_t *u = nullptr;
    long long *ll = nullptr;
    const char *choices = nullptr;
    int lo = 0, hi = 0;
    const char *group = nullptr; // preference group; null when the setting lasts the session only
    Reader read = nullptr;
    Shower show = nullptr;
    bool numeric = false; // c() of a special setting is a number
};

// ---- value readers ----

std::string rest_trimmed() {
    std::string r = tokrest();
    while (!r.empty() && r.back() == ' ')
        r.pop_back();
    return r;
}

int end_of_value() { return *tokrest() ? error(198) : 0; }

int read_long(long long *v) {
    std::string w = gettok(SEP_NUM);
    if (w == "-" || w == "+") w += gettok(SEP_NUM);
    char *end;
    long long n = std::strtoll(w.c_str(), &end, 10);
    if (w.empty() || *end) return error(198);
    *v = n;
    return end_of_value();
}

int read_int_range(int *v, int lo, int hi) {
    long long n;
    if (int rc = read_long(&n)) return rc;
    if (n < lo || n > hi) {
        char buf[120];
        std::snprintf(buf, sizeof buf, "%lld is not between %d and %d\n", n, lo, hi);
        return fail(198, buf);
    }
    *v = (int)n;
    return 0;
}

int read_onoff(bool *v) {
    std::string w = gettok(SEP_STD);
    if (w == "on")
        *v = true;
    else if (w == "off")
        *v = false;
    else
        return required("on or off");
    return end_of_value();
}

int choice_index(const char *choices, const std::string &w) {
    int k = 0;
    for (const char *p = choices; *p;) {
        const char *e = std::strchr(p, ' ');
        size_t n = e ? (size_t)(e - p) : std::strlen(p);
        ++k;
        if (w.size() == n && std::strncmp(p, w.c_str(), n) == 0) return k;
        p += n;
        while (*p == ' ')
            ++p;
    }
    return 0;
}

std::string choice_word(const char *choices, int k) {
    std::string all = choices;
    size_t start = 0;
    for (int j = 1;; ++j) {
        size_t e = all.find(' ', start);
        if (j == k) return all.substr(start, e == std::string::npos ? std::string::npos : e - start);
        if (e == std::string::npos) return "";
        start = e + 1;
    }
}

std::string on_off(bool v) { return v ? "on" : "off"; }

// ---- special settings ----

int rd_linesize() {
    int n;
    if (int rc = read_int_range(&n, 40, 255)) return rc;
    se.linesize = n;
    if (out::ch.console) out::ch.console->width = n;
    return 0;
}
std::string sh_linesize() { return std::to_string(se.linesize); }

int rd_pagesize() {
    int n;
    if (int rc = read_int_range(&n, 0, 10000)) return rc;
    se.pagesize = n;
    if (out::ch.console) out::ch.console->pageLength = n;
    return 0;
}
std::string sh_pagesize() { return std::to_string(se.pagesize); }

// set output {proc|inform|error}
int rd_output() {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return error(198);
    uint8_t lvl;
    if (cmdmatch(w.c_str(), "proc", 1))
        lvl = out::LVL_NORMAL;
    else if (cmdmatch(w.c_str(), "inform", 1))
        lvl = out::LVL_INFORM;
    else if (cmdmatch(w.c_str(), "error", 1))
        lvl = out::LVL_QUIET;
    else
        return invalid_text(w);
    if (int rc = end_of_value()) return rc;
    out::ch.OutputLevel = lvl;
    return 0;
}

int rd_more() {
    TokState ts;
    savetok(ts);
    std::string w = gettok(SEP_NUM);
    if (!w.empty() && std::isdigit((unsigned char)w[0])) {
        // The old form `set more #` is taken as on for a non-zero number.
        char *end;
        long n = std::strtol(w.c_str(), &end, 10);
        if (*end) return error(198);
        if (int rc = end_of_value()) return rc;
        out::more_switch = n != 0;
        return 0;
    }
    restoretok(ts);
    bool v;
    if (int rc = read_onoff(&v)) return rc;
    out::more_switch = v;
    return 0;
}
std::string sh_more() { return on_off(out::more_switch); }

int rd_rmsg() {
    bool v;
    if (int rc = read_onoff(&v)) return rc;
    lp.rmsg = v;
    return 0;
}
std::string sh_rmsg() { return on_off(lp.rmsg); }

int rd_dp() {
    std::string w = gettok(SEP_STD);
    int k = choice_index("period comma", w);
    if (!k) return invalid_text(w.empty() ? "dp" : w);
    if (int rc = end_of_value()) return rc;
    st.dp_comma = k == 2;
    return 0;
}
std::string sh_dp() { return st.dp_comma ? "comma" : "period"; }

// set level #: a confidence level from 10 to 99.99
int rd_level() {
    std::string w = rest_trimmed();
    settok("");
    if (w.size() > 5) {
        return session::fail(198, "level too long\n");
    }
    char *end;
    double v = std::strtod(w.c_str(), &end);
    if (w.empty() || *end) return error(198);
    if (v < 10 || v > 99.99) {
        return session::fail(198, "level must be between 10 and 99.99 inclusive\n");
    }
    se.level = data::number_text(v);
    session::macro_set("S_level", se.level);
    return 0;
}
std::string sh_level() { return se.level; }

int rd_logtype() {
    std::string w = gettok(SEP_STD);
    int k = choice_index("text rimu", w);
    if (!k) {
        out::ClassScope cs(out::CLS_ERROR);
        out::out_rimu("syntax error:  the valid valid default logtypes are {wh:text} and {wh:rimu}\n");
        return 198;
    }
    if (int rc = end_of_value()) return rc;
    se.logtype = k;
    return 0;
}
std::string sh_logtype() { return choice_word("text rimu", se.logtype); }

int rd_charset() {
    std::string w = gettok(SEP_STD);
    int k = choice_index("latin1 mac", w);
    if (!k) {
        return session::fail(198, "charset " + w + " invalid\n");
    }
    if (int rc = end_of_value()) return rc;
    se.charset = k;
    return 0;
}
std::string sh_charset() { return choice_word("latin1 mac", se.charset); }

int rd_printcolor() {
    std::string w = gettok(SEP_STD);
    int k = choice_index("automatic asis gs1 gs2 gs3", w);
    if (!k) {
        return fail(198,
                    "invalid " + w + " value\n     may be -automatic-, -asis-, -gs1-, -gs2-, or -gs3-\n");
    }
    if (int rc = end_of_value()) return rc;
    se.printcolor = k;
    return 0;
}
std::string sh_printcolor() { return choice_word("automatic asis gs1 gs2 gs3", se.printcolor); }

int rd_type() {
    std::string w = gettok(SEP_STD);
    if (w != "float" && w != "double") {
        return fail(198, "-set type- may not be set to " + w + "; float and double are allowed\n");
    }
    if (int rc = end_of_value()) return rc;
    se.type = w == "float" ? 254 : 255;
    return 0;
}
std::string sh_type() { return se.type == 255 ? "double" : "float"; }

// A scheme is the built-in one, or a file scheme-<name>.scheme on the ado path.
int rd_scheme() {
    std::string w = gettok(SEP_STD);
    if (w.empty() || w.size() > 33) return error(198);
    if (int rc = end_of_value()) return rc;
    std::string path;
    if (w != "s2color" && !session::findfile("scheme-" + w, "scheme", path)) {
        return session::fail(111, "scheme " + w + " not found\n");
    }
    se.scheme = w;
    return 0;
}
std::string sh_scheme() { return se.scheme; }

std::string memory_text(int64_t b) {
    char buf[40];
    if (b % 1048576 == 0)
        std::snprintf(buf, sizeof buf, "%lldM", (long long)(b / 1048576));
    else if (b % 1024 == 0)
        std::snprintf(buf, sizeof buf, "%lldk", (long long)(b / 1024));
    else
        std::snprintf(buf, sizeof buf, "%lldb", (long long)b);
    return buf;
}

// set memory #[b|k|m|g]
int rd_memory() {
    std::string w = gettok(SEP_NUM);
    char *end;
    double v = std::strtod(w.c_str(), &end);
    if (w.empty() || end == w.c_str()) return error(198);
    std::string unit = end;
    if (unit.empty()) unit = gettok(SEP_STD);
    double mult = unit.empty() || unit == "k" || unit == "K" ? 1024.0
                  : unit == "m" || unit == "M"               ? 1048576.0
                  : unit == "g" || unit == "G"               ? 1073741824.0
                  : unit == "b" || unit == "B"               ? 1.0
                                                             : -1.0;
    if (mult < 0) return error(198);
    if (int rc = end_of_value()) return rc;
    double bytes = v * mult;
    if (bytes > 9.0e15) return error(912);
    return data::set_memory((int64_t)bytes);
}
std::string sh_memory() { return memory_text(st.memory_bytes); }
std::string pref_memory() { return std::to_string(st.memory_bytes); }

int rd_maxvar() {
    long long n;
    if (int rc = read_long(&n)) return rc;
    if (n < 0 || n > 1000000) n = -1;
    return data::set_maxvar((int)n);
}
std::string sh_maxvar() { return std::to_string(st.maxvar); }

int rd_matsize() {
    long long n;
    if (int rc = read_long(&n)) return rc;
    if (n < 0 || n > 1000000) n = -1;
    return data::set_matsize((int)n);
}
std::string sh_matsize() { return std::to_string(st.matsize); }

// maxobs and old_maxvar belong to an older memory scheme.
int rd_oldmemory() {
    settok("");
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text("(maxvar and maxobs no longer need be set with this version of Orvat;\n");
    out::out_text(" use -set memory- to change the size of the data area)\n");
    return 0;
}

// The random-number generator holds its own state: a number from 0 to 2147483647 or a state text.
int rd_seed() {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return error(198);
    if (data::rng_set_seed(w.c_str())) return error(198);
    return end_of_value();
}
std::string sh_seed() { return data::rng_state_text(); }

// The parallel frame holds the number of processors.
// set processors [#]
int rd_processors() {
    std::string t = gettok(SEP_NUM);
    if (t.empty()) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("number of available processor(s): %d\n", est::fr.processors);
        return 0;
    }
    char *end;
    const double v = std::strtod(t.c_str(), &end);
    if (*end) return numlist_error(121, true);
    if (*gettok(SEP_NUM)) return error(198);
    if (v != std::floor(v)) return numlist_error(126, true);
    if (v < 1 || v > est::processors_max()) return numlist_error(125, true);
    const int old = est::fr.processors;
    if (int rc = est::set_processors((int)v)) return rc;
    out::ClassScope cs(out::CLS_TEXT);
    if (est::fr.processors != old)
        out::out_textf("number of available processor(s) changed from %d to %d\n", old, est::fr.processors);
    else
        out::out_textf("number of available processor(s): %d\n", old);
    return 0;
}
std::string sh_processors() { return std::to_string(est::fr.processors); }

// set tracehilite "pattern" [, word]
int rd_tracehilite() {
    std::string w = gettok(SEP_STD);
    if (!w.empty() && w[0] == '"') w.erase(0, 1);
    bool word = false;
    const OptSpec specs[] = {opt_flag("word", 4, word)};
    if (int rc = parse_options(specs)) return rc;
    se.tracehilite = w;
    se.tracehilite_word = word;
    return 0;
}
std::string sh_tracehilite() { return se.tracehilite; }

int rd_tol() {
    std::string w = rest_trimmed();
    settok("");
    char *end;
    double v = std::strtod(w.c_str(), &end);
    if (w.empty() || *end || !(v > 0)) return error(198);
    se.tol = v;
    return 0;
}
std::string sh_tol() { return data::number_text(se.tol); }

int rd_obs() { return data::cmd_set_obs(0); }
std::string sh_obs() { return std::to_string(data::ds.nobs); }

int rd_conren() { return out::set_conren(0); }

int rd_adosize() {
    int n;
    if (int rc = read_int_range(&n, 10, 10000)) return rc;
    se.adosize = n;
    lang::ado_trim(0);
    return 0;
}
std::string sh_adosize() { return std::to_string(se.adosize); }

// The words of `set`, in the order they are tried within a first letter; then the words known
// only in exact form; then values that query and c() show but `set` does not change.
const SetRow rows[] = {
    {.name = "ANSI", .minlen = 1, .kind = K_IRREL2},
    {.name = "adosize",
     .minlen = 1,
     .kind = K_SPECIAL,
     .group = SET_C,
     .read = rd_adosize,
     .show = sh_adosize,
     .numeric = true},
    {.name = "beep", .minlen = 1, .kind = K_ONOFF, .b = &se.beep},
    {.name = "eolchar", .minlen = 5, .kind = K_IRREL1},
    {.name = "help", .minlen = 1, .kind = K_IRREL2},
    {.name = "level",
     .minlen = 1,
     .kind = K_SPECIAL,
     .group = SET_C,
     .read = rd_level,
     .show = sh_level,
     .numeric = true},
    {.name = "linegap", .minlen = 5, .kind = K_IRREL1},
    {.name = "linesize",
     .minlen = 2,
     .kind = K_SPECIAL,
     .read = rd_linesize,
     .show = sh_linesize,
     .numeric = true},
    {.name = "matsize",
     .minlen = 3,
     .kind = K_SPECIAL,
     .group = MEM_SE_C,
     .read = rd_matsize,
     .show = sh_matsize,
     .numeric = true},
    {.name = "maxdb", .minlen = 5, .kind = K_IRREL1},
    {.name = "maxiter", .minlen = 7, .kind = K_INT, .i = &se.maxiter, .lo = 0, .hi = 16000, .group = SET_C},
    {.name = "maxobs", .minlen = 4, .kind = K_SPECIAL, .read = rd_oldmemory},
    {.name = "memory",
     .minlen = 3,
     .kind = K_SPECIAL,
     .group = MEM_SE_C,
     .read = rd_memory,
     .show = sh_memory,
     .numeric = true},
    {.name = "maxvar",
     .minlen = 6,
     .kind = K_SPECIAL,
     .group = MEM_SE_C,
     .read = rd_maxvar,
     .show = sh_maxvar,
     .numeric = true},
    {.name = "more", .minlen = 2, .kind = K_SPECIAL, .group = SET_C, .read = rd_more, .show = sh_more},
    {.name = "macgphengine", .minlen = 6, .kind = K_IRREL1},
    {.name = "kilncache",
     .minlen = 4,
     .kind = K_INT,
     .i = &se.kilncache,
     .lo = 10,
     .hi = 2097151,
     .group = SET_C},
    {.name = "netdebug", .minlen = 8, .kind = K_ONOFF, .b = &se.netdebug, .group = SET_C},
    {.name = "notifyuser", .minlen = 10, .kind = K_IRREL1},
    {.name = "old_maxvar", .minlen = 4, .kind = K_SPECIAL, .read = rd_oldmemory},
    {.name = "pagesize",
     .minlen = 2,
     .kind = K_SPECIAL,
     .read = rd_pagesize,
     .show = sh_pagesize,
     .numeric = true},
    {.name = "processors",
     .minlen = 9,
     .kind = K_SPECIAL,
     .read = rd_processors,
     .show = sh_processors,
     .numeric = true},
    {.name = "rmsg", .minlen = 1, .kind = K_SPECIAL, .group = SET_C, .read = rd_rmsg, .show = sh_rmsg},
    {.name = "uncompress", .minlen = 10, .kind = K_IRREL2},
    {.name = "varlabelpos", .minlen = 6, .kind = K_IRREL1},
    {.name = "varwindow", .minlen = 6, .kind = K_IRREL1},
    {.name = "varkeyboard", .minlen = 6, .kind = K_IRREL1},
    {.name = "video", .minlen = 1, .kind = K_IRREL2},
    {.name = "virtual", .minlen = 3, .kind = K_ONOFF, .b = &se.virtual_},
    {.name = "use_qd_text", .minlen = 11, .kind = K_IRREL1},
    {.name = "use_atsui_graph", .minlen = 15, .kind = K_IRREL1},
    {.name = "textsize", .minlen = 2, .kind = K_INT, .i = &se.textsize, .lo = 50, .hi = 300},
    {.name = "trace", .minlen = 2, .kind = K_ONOFF, .b = &se.trace},
    {.name = "tracedepth", .minlen = 6, .kind = K_INT, .i = &se.tracedepth, .lo = 1, .hi = 32000},
    {.name = "tracehilite", .minlen = 6, .kind = K_SPECIAL, .read = rd_tracehilite, .show = sh_tracehilite},
    {.name = "traceindent", .minlen = 6, .kind = K_ONOFF, .b = &se.traceindent, .group = SET_C},
    {.name = "traceexpand", .minlen = 6, .kind = K_ONOFF, .b = &se.traceexpand, .group = SET_C},
    {.name = "tracenumber", .minlen = 6, .kind = K_ONOFF, .b = &se.tracenumber, .group = SET_C},
    {.name = "tracesep", .minlen = 6, .kind = K_ONOFF, .b = &se.tracesep, .group = SET_C},
    {.name = "scrollbufsize", .minlen = 13, .kind = K_IRREL1},
    {.name = "smoothfonts", .minlen = 7, .kind = K_IRREL1},
    {.name = "smoothsize", .minlen = 7, .kind = K_IRREL1},
    {.name = "searchdefault",
     .minlen = 7,
     .kind = K_CHOICE,
     .i = &se.searchdefault,
     .choices = "local net all",
     .group = SET_C},
    {.name = "seed", .minlen = 2, .kind = K_SPECIAL, .read = rd_seed, .show = sh_seed},
    {.name = "seed0", .minlen = 5, .kind = K_LONG, .ll = &se.seed0, .lo = 0},
    {.name = "smalldlg", .minlen = 8, .kind = K_IRREL1},
    {.name = "reventries", .minlen = 7, .kind = K_IRREL1},
    {.name = "revwindow", .minlen = 6, .kind = K_IRREL1},
    {.name = "revkeyboard", .minlen = 6, .kind = K_IRREL1},
    {.name = "piccomments", .minlen = 6, .kind = K_IRREL1},
    {.name = "playsnd", .minlen = 7, .kind = K_IRREL1},
    {.name = "noprefix", .minlen = 1, .kind = K_IRREL2},
    {.name = "profiling", .minlen = 9, .kind = K_ONOFF, .b = &se.profiling},
    {.name = "output", .minlen = 2, .kind = K_SPECIAL, .read = rd_output},
    {.name = "kilnfavor",
     .minlen = 4,
     .kind = K_CHOICE,
     .i = &se.kilnfavor,
     .choices = "speed space",
     .group = SET_C},
    {.name = "logtype",
     .minlen = 4,
     .kind = K_SPECIAL,
     .group = SET_C,
     .read = rd_logtype,
     .show = sh_logtype},
    {.name = "icmap", .minlen = 5, .kind = K_IRREL1},
    {.name = "httpproxy", .minlen = 9, .kind = K_ONOFF, .b = &se.httpproxy},
    {.name = "httpproxyauth", .minlen = 10, .kind = K_ONOFF, .b = &se.httpproxyauth},
    {.name = "graphics", .minlen = 1, .kind = K_ONOFF, .b = &se.graphics},
    {.name = "display", .minlen = 1, .kind = K_IRREL2},
    {.name = "checksum", .minlen = 8, .kind = K_ONOFF, .b = &se.checksum, .group = SET_C},
    {.name = "conren", .minlen = 6, .kind = K_SPECIAL, .read = rd_conren},
    {.name = "copyaspict", .minlen = 10, .kind = K_IRREL1},
    {.name = "cmdtitle", .minlen = 7, .kind = K_IRREL1},
    // Known in exact form only.
    {.name = "kilnstrict", .minlen = 0, .kind = K_ONOFF, .b = &se.kilnstrict, .group = SET_C},
    {.name = "kilnlnum", .minlen = 0, .kind = K_ONOFF, .b = &se.kilnlnum},
    {.name = "kilnoptimize", .minlen = 0, .kind = K_ONOFF, .b = &se.kilnoptimize},
    {.name = "kilnlibs", .minlen = 0, .kind = K_TEXT, .s = &se.kilnlibs},
    {.name = "kilnkofirst", .minlen = 0, .kind = K_ONOFF, .b = &se.kilnkofirst, .group = SET_C},
    {.name = "kilndebug", .minlen = 0, .kind = K_INT, .i = &se.kilndebug, .lo = 0, .hi = 1000},
    {.name = "type", .minlen = 0, .kind = K_SPECIAL, .group = SET_C, .read = rd_type, .show = sh_type},
    {.name = "scheme", .minlen = 0, .kind = K_SPECIAL, .group = SET_C, .read = rd_scheme, .show = sh_scheme},
    {.name = "printcolor",
     .minlen = 0,
     .kind = K_SPECIAL,
     .group = SET_C,
     .read = rd_printcolor,
     .show = sh_printcolor},
    {.name = "odbcmgr",
     .minlen = 0,
     .kind = K_CHOICE,
     .i = &se.odbcmgr,
     .choices = "iodbc unixodbc",
     .group = SET_C},
    {.name = "dp", .minlen = 0, .kind = K_SPECIAL, .group = SET_C, .read = rd_dp, .show = sh_dp},
    {.name = "term", .minlen = 0, .kind = K_TEXT, .s = &se.term},
    {.name = "timeout1", .minlen = 0, .kind = K_INT, .i = &se.timeout1, .lo = 1, .hi = 32000, .group = SET_C},
    {.name = "timeout2", .minlen = 0, .kind = K_INT, .i = &se.timeout2, .lo = 1, .hi = 32000, .group = SET_C},
    {.name = "tol", .minlen = 0, .kind = K_SPECIAL, .read = rd_tol, .show = sh_tol, .numeric = true},
    {.name = "tracecode", .minlen = 0, .kind = K_ONOFF, .b = &se.tracecode},
    {.name = "tracetime", .minlen = 0, .kind = K_ONOFF, .b = &se.tracetime},
    {.name = "varabbrev", .minlen = 0, .kind = K_ONOFF, .b = &data::varabbrev, .group = SET_C},
    {.name = "update_query", .minlen = 0, .kind = K_ONOFF, .b = &se.update_query},
    {.name = "update_interval", .minlen = 0, .kind = K_INT, .i = &se.update_interval, .lo = 1, .hi = 365},
    {.name = "update_prompt", .minlen = 0, .kind = K_ONOFF, .b = &se.update_prompt},
    {.name = "update_oride", .minlen = 0, .kind = K_INT, .i = &se.update_oride, .lo = 0, .hi = 1},
    {.name = "sortseed", .minlen = 0, .kind = K_LONG, .ll = &se.sortseed, .lo = 0},
    {.name = "charset",
     .minlen = 0,
     .kind = K_SPECIAL,
     .group = SET_C,
     .read = rd_charset,
     .show = sh_charset},
    {.name = "log", .minlen = 0, .kind = K_IRREL2},
    {.name = "__profile", .minlen = 0, .kind = K_IRREL2},
    {.name = "obs", .minlen = 0, .kind = K_SPECIAL, .read = rd_obs, .show = sh_obs, .numeric = true},
    // Shown only.
    {.name = "httpproxyhost", .minlen = -1, .kind = K_TEXT, .s = &se.httpproxyhost},
    {.name = "httpproxyport", .minlen = -1, .kind = K_INT, .i = &se.httpproxyport},
    {.name = "httpproxyuser", .minlen = -1, .kind = K_TEXT, .s = &se.httpproxyuser},
    {.name = "httpproxypw", .minlen = -1, .kind = K_TEXT, .s = &se.httpproxypw},
};

const SetRow *row_named(std::string_view name) {
    for (const SetRow &r : rows)
        if (name == r.name) return &r;
    return nullptr;
}

const SetRow *find_set_word(const std::string &w) {
    for (const SetRow &r : rows) {
        if (r.minlen < 0 || r.name[0] != w[0]) continue;
        if (r.minlen ? cmdmatch(w.c_str(), r.name, r.minlen) : w == r.name) return &r;
    }
    return nullptr;
}

bool irrelevant(const SetRow &r) { return r.kind == K_IRREL1 || r.kind == K_IRREL2; }

// The value as query shows it and as the preference store keeps it.
std::string value_text(const SetRow &r) {
    switch (r.kind) {
    case K_ONOFF:
        return on_off(*r.b);
    case K_INT:
        return std::to_string(*r.i);
    case K_LONG:
        return std::to_string(*r.ll);
    case K_CHOICE:
        return choice_word(r.choices, *r.i);
    case K_TEXT:
        return *r.s;
    case K_IRREL1:
    case K_IRREL2:
        return "(not relevant)";
    case K_SPECIAL:
        return r.show ? r.show() : "";
    }
    return "";
}

std::string stored_text(const SetRow &r) {
    if (r.kind == K_CHOICE) return std::to_string(*r.i);
    if (r.read == rd_memory) return pref_memory();
    if (r.read == rd_type) return std::to_string(se.type);
    if (r.read == rd_dp) return st.dp_comma ? "2" : "1";
    if (r.read == rd_logtype) return std::to_string(se.logtype);
    if (r.read == rd_charset) return std::to_string(se.charset);
    if (r.read == rd_printcolor) return std::to_string(se.printcolor);
    return value_text(r);
}

// Reads and sets the value of r from the tokenizer; the rest of the value text must be empty.
int apply(const SetRow &r) {
    switch (r.kind) {
    case K_ONOFF:
        return read_onoff(r.b);
    case K_INT:
        return read_int_range(r.i, r.lo, r.hi);
    case K_LONG: {
        long long v;
        if (int rc = read_long(&v)) return rc;
        if (v < r.lo) return error(198);
        *r.ll = v;
        return 0;
    }
    case K_CHOICE: {
        std::string w = gettok(SEP_STD);
        int k = choice_index(r.choices, w);
        if (!k) return invalid_text(w.empty() ? r.name : w);
        if (int rc = end_of_value()) return rc;
        *r.i = k;
        return 0;
    }
    case K_TEXT: {
        std::string t = rest_trimmed();
        settok("");
        if (t.size() >= 2 && t[0] == '"' && t.back() == '"') t = t.substr(1, t.size() - 2);
        *r.s = t;
        return 0;
    }
    case K_SPECIAL:
        return r.read();
    default:
        return 0;
    }
}

} // namespace

// set word [value] [, permanently]
int cmd_set(int) {
    std::string w = gettok(SEP_STD);
    if (w.empty()) return error(198);
    const SetRow *r = find_set_word(w);
    if (!r) return error(198);
    const char *saved = current_command;
    current_command = r->name;
    struct Back {
        const char *s;
        ~Back() { current_command = s; }
    } back{saved};
    if (irrelevant(*r)) {
        settok("");
        out::ClassScope cs(out::CLS_TEXT);
        if (r->kind == K_IRREL1)
            out::out_text(std::string("(-set ") + r->name + "- is irrelvant nowadays)\n");
        else
            out::out_text(std::string("(-set ") + r->name + "- irrelevant in this version of Orvat)\n");
        return 0;
    }
    if (r->read == rd_conren || r->read == rd_tracehilite) return r->read();
    std::string rest = tokrest();
    size_t comma = options_comma(rest);
    bool perm = false;
    if (comma != std::string::npos) {
        settok(rest.c_str() + comma + 1);
        const OptSpec specs[] = {opt_flag("permanently", 4, perm)};
        if (int rc = options_here(specs)) return rc;
        rest.resize(comma);
    }
    if (perm && !r->group) return not_allowed("option permanently");
    if (perm && r->read == rd_more) {
        settok(rest.c_str());
        std::string v = gettok(SEP_NUM);
        if (!v.empty() && std::isdigit((unsigned char)v[0])) {
            return session::fail(198, "old syntax -set more #- may not be combined with permanent\n");
        }
    }
    settok(rest.c_str());
    if (int rc = apply(*r)) return rc;
    if (perm) {
        if (!pref_set(r->group, r->read == rd_level ? "cilevel" : r->name, stored_text(*r))) return 0;
        out::ClassScope cs(out::CLS_TEXT);
        out::out_rimu(std::string("({cmd:set ") + r->name + "} preference recorded)\n");
    }
    return 0;
}

// ---- preferences at start ----

namespace {

// Sets r from a stored text quietly; a text that does not read leaves the default.
void apply_stored(const SetRow &r, const std::string &text) {
    uint8_t level = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    std::string t = text;
    if (r.kind == K_CHOICE) {
        int k = std::atoi(t.c_str());
        if (choice_word(r.choices, k).empty()) k = 0;
        if (k) *r.i = k;
    } else if (r.read == rd_type) {
        if (t == "254" || t == "255") se.type = std::atoi(t.c_str());
    } else if (r.read == rd_dp) {
        st.dp_comma = t == "2";
    } else if (r.read == rd_logtype || r.read == rd_charset || r.read == rd_printcolor) {
        const char *ch = r.read == rd_logtype   ? "text rimu"
                         : r.read == rd_charset ? "latin1 mac"
                                                : "automatic asis gs1 gs2 gs3";
        int k = std::atoi(t.c_str());
        if (!choice_word(ch, k).empty()) {
            if (r.read == rd_logtype)
                se.logtype = k;
            else if (r.read == rd_charset)
                se.charset = k;
            else
                se.printcolor = k;
        }
    } else {
        settok(t.c_str());
        apply(r);
    }
    out::ch.OutputLevel = level;
}

} // namespace

void load_stored_settings() {
    for (const SetRow &r : rows) {
        if (r.group != SET_C || r.read == rd_level) continue;
        std::string v = pref_text(SET_C, r.name, "\x01");
        if (v == "\x01") continue;
        apply_stored(r, v);
    }
    std::string sch = pref_text(SET_C, "scheme", "");
    if (!sch.empty() && sch.size() <= 33) se.scheme = sch;
    settok("");
}

void load_stored_level() {
    std::string v = pref_text(SET_C, "cilevel", "95");
    char *end;
    double d = std::strtod(v.c_str(), &end);
    if (v.empty() || *end || d < 10 || d > 99.99) return;
    se.level = data::number_text(d);
    session::macro_set("S_level", se.level);
}

// ---- query ----

namespace {

// Each row: a setting name, then after '|' the remark shown at column 40.
const char *const q_memory[] = {"memory", "maxvar|2048-32767; max. vars allowed",
                                "matsize|10-11000; max. # vars in models", "virtual", nullptr};
const char *const q_output[] = {"more",
                                "rmsg",
                                "dp|may be {res:period} or {res:comma}",
                                "linesize|characters",
                                "pagesize|lines",
                                "logtype|may be {res:text} or {res:rimu}",
                                "charset|may be {res:latin1} or {res:mac}",
                                "eolchar",
                                "notifyuser",
                                "playsnd",
                                "beep",
                                nullptr};
const char *const q_interface[] = {"linegap",     "scrollbufsize", "varlabelpos", "reventries",
                                   "maxdb",       "smalldlg",      "varkeyboard", "revkeyboard",
                                   "smoothfonts", "cmdtitle",      "textsize",    nullptr};
const char *const q_graphics[] = {
    "graphics",
    "scheme",
    "printcolor|may be {res:automatic}, {res:asis}, {res:gs1}, {res:gs2}, {res:gs3}",
    "copyaspict",
    "piccomments",
    "macgphengine",
    nullptr};
const char *const q_efficiency[] = {"adosize|kilobytes", "processors", nullptr};
const char *const q_network[] = {"checksum",
                                 "timeout1|seconds",
                                 "timeout2|seconds",
                                 "searchdefault|may be {res:local}, {res:net}, or {res:all}",
                                 "httpproxy",
                                 "httpproxyhost",
                                 "httpproxyport",
                                 "httpproxyauth",
                                 "httpproxyuser",
                                 "httpproxypw",
                                 nullptr};
const char *const q_update[] = {"update_query", "update_interval|days", "update_prompt", nullptr};
const char *const q_trace[] = {"trace",       "tracedepth",  "tracesep",    "traceindent",
                               "traceexpand", "tracenumber", "tracehilite", nullptr};
const char *const q_kiln[] = {
    "kilnstrict",          "kilnlnum", "kilnoptimize", "kilnfavor|may be {res:speed} or {res:space}",
    "kilncache|kilobytes", "kilnlibs", "kilnkofirst",  nullptr};
const char *const q_other[] = {"type|may be {res:float} or {res:double}",
                               "maxiter|max iterations for estimation",
                               "level|default confidence level",
                               "seed",
                               "varabbrev",
                               "odbcmgr|may be {res:iodbc} or {res:unixodbc}",
                               nullptr};
const char *const q_debug[] = {"netdebug",  "profiling", "tracecode", "tracetime",
                               "kilndebug", "tol",       nullptr};

struct Group {
    const char *word;
    const char *title;
    bool in_all;
    const char *const *rows;
};

const Group groups[] = {
    {"memory", "Memory settings", true, q_memory},
    {"output", "Output settings", true, q_output},
    {"interface", "Interface settings", true, q_interface},
    {"graphics", "Graphics settings", true, q_graphics},
    {"efficiency", "Efficiency settings", true, q_efficiency},
    {"network", "Network settings", true, q_network},
    {"update", "Update settings", true, q_update},
    {"trace", "Debug", true, q_trace},
    {"kiln", "Kiln settings", true, q_kiln},
    {"other", "Other settings", true, q_other},
    {"debug", "Debug", false, q_debug},
};

std::string row_name(const char *spec) {
    const char *bar = std::strchr(spec, '|');
    return bar ? std::string(spec, bar - spec) : std::string(spec);
}

int show_group(const Group &g, bool first) {
    std::string s = first ? "" : "\n";
    s += std::string("{txt}    ") + g.title + "\n{hline}\n";
    for (const char *const *p = g.rows; *p; ++p) {
        std::string name = row_name(*p);
        const char *bar = std::strchr(*p, '|');
        const SetRow *r = row_named(name);
        std::string v = r ? value_text(*r) : "";
        s += "{col 9}{help set:" + name + "}{col 29}";
        s += r && irrelevant(*r) ? "{txt}" + v : "{res}" + out::brace_escaped(v) + "{txt}";
        if (bar) s += std::string("{col 40}") + (bar + 1);
        s += "\n";
    }
    out::ClassScope cs(out::CLS_TEXT);
    return out::out_rimu(s);
}

} // namespace

// query [group | born | compilenumber | pagesize | sortseed]
int cmd_query(int) {
    std::string w = gettok(SEP_STD);
    if (!w.empty() && *tokrest()) return error(198);
    if (w.empty()) {
        bool first = true;
        for (const Group &g : groups) {
            if (!g.in_all) continue;
            if (int rc = show_group(g, first)) return rc;
            first = false;
            if (poll_break()) return 1;
        }
        return 0;
    }
    for (const Group &g : groups)
        if (w == g.word) return show_group(g, true);
    out::ClassScope cs(out::CLS_RESULT);
    if (w == "born") return out::out_text("10 Jun 2010\n");
    if (w == "compilenumber") return out::out_text("Compile number 559\n");
    if (w == "pagesize") return out::out_text(std::to_string(se.pagesize) + "\n");
    if (w == "sortseed") return out::out_text(std::to_string(se.sortseed) + "\n");
    return error(198);
}

// ---- c() ----

namespace {

struct CVal {
    bool str = false;
    double num = 0;
    std::string s;
};
CVal N(double v) { return {false, v, ""}; }
CVal S(std::string v) { return {true, 0, std::move(v)}; }

const char *const month_abbr[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char *const month_full[] = {"January", "February", "March",     "April",   "May",      "June",
                                  "July",    "August",   "September", "October", "November", "December"};
const char *const wday_abbr[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char *const wday_full[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                 "Thursday", "Friday", "Saturday"};

std::string joined(const char *const *w, int n) {
    std::string s;
    for (int i = 0; i < n; ++i) {
        if (i) s.push_back(' ');
        s += w[i];
    }
    return s;
}

struct tm now_tm() {
    time_t t = time(nullptr);
    struct tm v;
    localtime_r(&t, &v);
    return v;
}

std::string global_text(const char *name) {
    const char *t = session::macro_get(name);
    return t ? t : "";
}

struct CRow {
    const char *heading; // null: shown by c() and not by `creturn list`
    const char *name;
    CVal (*get)();
};

const char *const H_SYS = "System values";
const char *const H_DIR = "Directories and paths";
const char *const H_LIM = "System limits";
const char *const H_NUM = "Numerical limits";
const char *const H_STR = "String limits";
const char *const H_DATA = "Current dataset";
const char *const H_OTHER = "Other";

const CRow crows[] = {
    {H_SYS, "current_date",
     [] {
         struct tm t = now_tm();
         char b[40];
         std::snprintf(b, sizeof b, "%d %s %d", t.tm_mday, month_abbr[t.tm_mon], t.tm_year + 1900);
         return S(b);
     }},
    {H_SYS, "current_time",
     [] {
         struct tm t = now_tm();
         char b[40];
         std::snprintf(b, sizeof b, "%02d:%02d:%02d", t.tm_hour, t.tm_min, t.tm_sec);
         return S(b);
     }},
    {H_SYS, "rmsg_time", [] { return N(lp.rmsg_time); }},
    {H_SYS, "orvat_version", [] { return N(10.1); }},
    {H_SYS, "version", [] { return N(lp.version / 100.0); }},
    {H_SYS, "born_date", [] { return S("10 Jun 2010"); }},
    {H_SYS, "flavor", [] { return S("Broadline"); }},
    {H_SYS, "processors", [] { return N(est::fr.processors); }},
    {H_SYS, "processors_mach", [] { return N(est::processors_max()); }},
    {H_SYS, "processors_max", [] { return N(est::processors_max()); }},
    {H_SYS, "console", [] { return S("console"); }},
    {H_SYS, "osdtl",
     [] {
         struct utsname u;
         return S(uname(&u) == 0 ? std::string(u.release) : "");
     }},
    {H_SYS, "machine_type", [] { return S("PC (64-bit x86-64)"); }},
    {H_SYS, "byteorder", [] { return S("lohi"); }},
    {H_SYS, "username",
     [] {
         struct passwd *pw = getpwuid(getuid());
         if (pw && pw->pw_name) return S(pw->pw_name);
         const char *u = std::getenv("USER");
         return S(u ? u : "");
     }},
    {H_DIR, "sysdir_orvat", [] { return S(st.sysdir_orvat); }},
    {H_DIR, "sysdir_updates", [] { return S(st.sysdirs.UPDATES); }},
    {H_DIR, "sysdir_base", [] { return S(st.sysdirs.BASE); }},
    {H_DIR, "sysdir_site", [] { return S(st.sysdirs.SITE); }},
    {H_DIR, "sysdir_plus", [] { return S(st.sysdirs.PLUS); }},
    {H_DIR, "sysdir_personal", [] { return S(st.sysdirs.PERSONAL); }},
    {H_DIR, "sysdir_oldplace", [] { return S(st.sysdirs.OLDPLACE); }},
    {H_DIR, "tmpdir", [] { return S(st.tmpdir); }},
    {H_DIR, "adopath", [] { return S(global_text("S_ADO")); }},
    {H_DIR, "dirsep", [] { return S("/"); }},
    {H_LIM, "max_N_theory", [] { return N(2147483647.0); }},
    {H_LIM, "max_k_theory", [] { return N(st.maxvar); }},
    {H_LIM, "max_width_theory", [] { return N(12.0 * st.maxvar); }},
    {H_LIM, "max_N_current", [] { return N(data::ds.maxobs); }},
    {H_LIM, "max_k_current", [] { return N(data::ds.k_cur); }},
    {H_LIM, "max_width_current", [] { return N(data::ds.width); }},
    {H_LIM, "max_matsize", [] { return N(11000); }},
    {H_LIM, "min_matsize", [] { return N(10); }},
    {H_LIM, "max_macrolen", [] { return N(maxmaclen); }},
    {H_LIM, "macrolen", [] { return N(maxmaclen); }},
    {H_LIM, "max_cmdlen", [] { return N(maxcmdlen); }},
    {H_LIM, "cmdlen", [] { return N(maxcmdlen); }},
    {H_LIM, "namelen", [] { return N(32); }},
    {H_NUM, "mindouble", [] { return N(lim.mindouble); }},
    {H_NUM, "maxdouble", [] { return N(lim.maxdouble); }},
    {H_NUM, "epsdouble", [] { return N(lim.epsdouble); }},
    {H_NUM, "smallestdouble", [] { return N(lim.smallestdouble); }},
    {H_NUM, "minfloat", [] { return N(lim.minfloat); }},
    {H_NUM, "maxfloat", [] { return N(lim.maxfloat); }},
    {H_NUM, "epsfloat", [] { return N(lim.epsfloat); }},
    {H_NUM, "minlong", [] { return N(-2147483647.0); }},
    {H_NUM, "maxlong", [] { return N(2147483620.0); }},
    {H_NUM, "minint", [] { return N(-32767); }},
    {H_NUM, "maxint", [] { return N(32740); }},
    {H_NUM, "minbyte", [] { return N(-127); }},
    {H_NUM, "maxbyte", [] { return N(100); }},
    {H_STR, "maxstrvarlen", [] { return N(244); }},
    {H_DATA, "width", [] { return N(data::ds.w_cur); }},
    {H_DATA, "changed", [] { return N(data::ds.changed != 0); }},
    {H_DATA, "filename", [] { return S(global_text("S_FN")); }},
    {H_DATA, "filedate", [] { return S(global_text("S_FNDATE")); }},
    {H_OTHER, "pi", [] { return N(M_PI); }},
    {H_OTHER, "alpha", [] { return S("a b c d e f g h i j k l m n o p q r s t u v w x y z"); }},
    {H_OTHER, "ALPHA", [] { return S("A B C D E F G H I J K L M N O P Q R S T U V W X Y Z"); }},
    {H_OTHER, "Mons", [] { return S(joined(month_abbr, 12)); }},
    {H_OTHER, "Months", [] { return S(joined(month_full, 12)); }},
    {H_OTHER, "Wdays", [] { return S(joined(wday_abbr, 7)); }},
    {H_OTHER, "Weekdays", [] { return S(joined(wday_full, 7)); }},
    {H_OTHER, "rc", [] { return N(lp.capture_rc); }},
    {nullptr, "compile_number", [] { return N(559); }},
    {nullptr, "debug", [] { return N(0); }},
    {nullptr, "guixeqcmd", [] { return N(0); }},
    {nullptr, "di_g", [] { return N(0); }},
    {nullptr, "loghelp", [] { return N(0); }},
    {nullptr, "update_oride", [] { return N(se.update_oride); }},
    {nullptr, "charset", [] { return S(sh_charset()); }},
    {nullptr, "profiling", [] { return S(on_off(se.profiling)); }},
    {nullptr, "netdebug", [] { return S(on_off(se.netdebug)); }},
    {nullptr, "pollrate", [] { return N(100); }},
    {nullptr, "polltime", [] { return N(1); }},
    {nullptr, "getsockopt", [] { return N(1); }},
    {nullptr, "cmdtitle", [] { return S(on_off(se.cmdtitle)); }},
    {nullptr, "unlinktimeout", [] { return N(5); }},
    {nullptr, "helpcolor", [] { return N(0); }},
    {nullptr, "tracecode", [] { return S(on_off(se.tracecode)); }},
    {nullptr, "tracetime", [] { return S(on_off(se.tracetime)); }},
    {nullptr, "tol_0", [] { return N(se.tol); }},
    {nullptr, "tol_1", [] { return N(1e-10); }},
    {nullptr, "tol_2", [] { return N(1e-7); }},
    {nullptr, "tol_r", [] { return N(1e-13); }},
    {nullptr, "tokenlen", [] { return N(tokenlen); }},
    {nullptr, "filenamelen", [] { return N(499); }},
    {nullptr, "maxoptions", [] { return N(70); }},
    {nullptr, "jitterseed", [] { return N(se.seed0); }},
    {nullptr, "curscm", [] { return S(se.scheme); }},
};

const CRow *crow_named(std::string_view name) {
    for (const CRow &r : crows)
        if (name == r.name) return &r;
    return nullptr;
}

// A setting reached by c(): the numbers of numeric settings, and the text of the others.
bool setting_value(std::string_view name, CVal &v) {
    for (const Group &g : groups) {
        if (!g.in_all) continue;
        for (const char *const *p = g.rows; *p; ++p) {
            if (row_name(*p) != name) continue;
            const SetRow *r = row_named(name);
            if (!r || irrelevant(*r)) return false;
            std::string t = value_text(*r);
            if (r->kind == K_INT || r->kind == K_LONG || r->numeric) {
                if (r->read == rd_memory)
                    v = N((double)st.memory_bytes);
                else
                    v = N(std::strtod(t.c_str(), nullptr));
            } else {
                v = S(t);
            }
            return true;
        }
    }
    return false;
}

bool c_lookup(std::string_view name, CVal &v) {
    if (const CRow *r = crow_named(name)) {
        v = r->get();
        return true;
    }
    return setting_value(name, v);
}

} // namespace

bool creturn_value(std::string_view name, double *num, std::string *str, bool *is_string) {
    CVal v;
    if (!c_lookup(name, v)) return false;
    *is_string = v.str;
    if (v.str)
        *str = v.s;
    else
        *num = v.num;
    return true;
}

bool creturn_text(std::string_view name, std::string &text) {
    CVal v;
    text.clear();
    if (!c_lookup(name, v)) return false;
    text = v.str ? v.s : data::number_text(v.num);
    return true;
}

namespace {

int creturn_line(const std::string &name, const CVal &v) {
    std::string s = "{col 5}c(" + name + "){col 25}= ";
    if (v.str)
        s += "{res}\"" + out::brace_escaped(v.s) + "\"{txt}\n";
    else
        s += "{res}" + data::number_text(v.num) + "{txt}\n";
    out::ClassScope cs(out::CLS_TEXT);
    return out::out_rimu(s);
}

int creturn_heading(const char *h) {
    out::ClassScope cs(out::CLS_TEXT);
    return out::out_rimu(std::string("\n{txt}    ") + h + "\n{hline}\n");
}

} // namespace

// creturn list
int cmd_creturn(int) {
    std::string w = gettok(SEP_STD);
    if (!cmdmatch(w.c_str(), "list", 1) || *tokrest()) return error(198);
    const char *heading = nullptr;
    auto block = [&](const char *h) -> int {
        if (h != heading) {
            heading = h;
            return creturn_heading(h);
        }
        return 0;
    };
    for (const CRow &r : crows) {
        if (!r.heading || r.heading == H_OTHER) continue;
        if (int rc = block(r.heading)) return rc;
        if (int rc = creturn_line(r.name, r.get())) return rc;
        if (poll_break()) return 1;
    }
    for (const Group &g : groups) {
        if (!g.in_all) continue;
        for (const char *const *p = g.rows; *p; ++p) {
            std::string name = row_name(*p);
            CVal v;
            const CRow *cr = crow_named(name);
            if ((cr && cr->heading) || !setting_value(name, v)) continue;
            if (int rc = block(g.title)) return rc;
            if (int rc = creturn_line(name, v)) return rc;
        }
    }
    for (const CRow &r : crows) {
        if (r.heading != H_OTHER) continue;
        if (int rc = block(r.heading)) return rc;
        if (int rc = creturn_line(r.name, r.get())) return rc;
    }
    return 0;
}

int creturn_for_expressions(const char *name, double *v, char *buf) {
    double num = 0;
    std::string str;
    bool is_string = false;
    if (!creturn_value(name, &num, &str, &is_string)) return 0;
    if (is_string) {
        std::snprintf(buf, data::EXPR_STRBUF, "%s", str.c_str());
        return 2;
    }
    *v = num;
    return 1;
}

} // namespace session
