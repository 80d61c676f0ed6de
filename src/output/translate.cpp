// translate and translator: the table of translators and their option sets.
#include "output/translate.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "output/channel.h"
#include "output/rimu.h"
#include "output/rimu2txt.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace out {

using session::cmdmatch;
using session::gettok;
using session::SEP_FILE;
using session::SEP_STD;

namespace {

// ---- kinds of file, by extension

enum Kind { K_NONE, K_RIMU, K_LOG, K_TXT, K_GPH, K_PS, K_EPS, K_PRN, K_GRAPH };

struct ExtRow {
    const char *ext;
    Kind kind;
};
const ExtRow ext_map[] = {
    {".rimu", K_RIMU}, {".orhlp", K_RIMU}, {".log", K_LOG}, {".txt", K_TXT},
    {".gph", K_GPH},   {".ps", K_PS},      {".eps", K_EPS}, {".prn", K_PRN},
};
// The word of a kind in translator names.
const char *const kind_word[] = {"", "rimu", "log", "txt", "gph", "ps", "eps", "prn", "Graph"};

Kind kind_of(const std::string &path) {
    std::string e = session::path_extension(path);
    for (const ExtRow &r : ext_map)
        if (e == r.ext) return r.kind;
    return K_NONE;
}

// ---- option sets

enum OptKind { O_ONOFF, O_NUM, O_TEXT, O_CHOICE, O_RGB };

struct OptDef {
    const char *name;
    OptKind kind;
    const char *def;
    const char *choices; // O_CHOICE: the words, blank-separated
};

// Plain text.
const OptDef text_opts[] = {
    {"cmdnumber", O_ONOFF, "off", nullptr}, {"header", O_ONOFF, "off", nullptr},
    {"headertext", O_TEXT, "", nullptr},    {"projecttext", O_TEXT, "", nullptr},
    {"user", O_TEXT, "", nullptr},          {"linesize", O_NUM, "0", nullptr}, // 0: the session's linesize
    {"lmargin", O_NUM, "0", nullptr},       {"pagelines", O_NUM, "0", nullptr},
};

// Text-based PostScript.
const OptDef ps_opts[] = {
    {"cmdnumber", O_ONOFF, "on", nullptr},
    {"header", O_ONOFF, "on", nullptr},
    {"headertext", O_TEXT, "", nullptr},
    {"projecttext", O_TEXT, "", nullptr},
    {"user", O_TEXT, "", nullptr},
    {"pagesize", O_CHOICE, "letter", "letter legal executive A4 custom"},
    {"fontsize", O_NUM, "9", nullptr},
    {"lmargin", O_NUM, "1", nullptr},
    {"rmargin", O_NUM, "1", nullptr},
    {"tmargin", O_NUM, "1", nullptr},
    {"bmargin", O_NUM, "1", nullptr},
    {"scheme", O_CHOICE, "monochrome", "monochrome color custom1 custom2 custom3"},
    {"logo", O_ONOFF, "on", nullptr},
};

// Graphs.
const OptDef gph_opts[] = {
    {"logo", O_ONOFF, "on", nullptr},
    {"orvatfonts", O_ONOFF, "on", nullptr},
    {"usegphsize", O_ONOFF, "on", nullptr},
    {"fontface", O_TEXT, "Helvetica", nullptr},
    {"pagesize", O_CHOICE, "letter", "letter legal executive A4 custom"},
    {"lmargin", O_NUM, "0", nullptr},
    {"tmargin", O_NUM, "0", nullptr},
    {"cmyk", O_ONOFF, "off", nullptr},
    {"preview", O_ONOFF, "off", nullptr},
    {"xsize", O_NUM, "6", nullptr},
    {"ysize", O_NUM, "4", nullptr},
    {"mag", O_NUM, "100", nullptr},
    {"xmag", O_NUM, "100", nullptr},
    {"ymag", O_NUM, "100", nullptr},
    {"scheme", O_CHOICE, "monochrome", "blackbg whitebg monochrome custom1 custom2 custom3"},
    {"symmag_all", O_NUM, "100", nullptr},
    {"symmag_O", O_NUM, "100", nullptr},
    {"symmag_S", O_NUM, "100", nullptr},
    {"symmag_T", O_NUM, "100", nullptr},
    {"symmag_o", O_NUM, "100", nullptr},
    {"symmag_d", O_NUM, "100", nullptr},
    {"symmag_p", O_NUM, "100", nullptr},
    {"symmag_x", O_NUM, "100", nullptr},
    {"pen1_color", O_RGB, "0 0 0", nullptr},
    {"pen2_color", O_RGB, "0 0 0", nullptr},
    {"pen3_color", O_RGB, "0 0 0", nullptr},
    {"pen4_color", O_RGB, "0 0 0", nullptr},
    {"pen5_color", O_RGB, "0 0 0", nullptr},
    {"pen6_color", O_RGB, "0 0 0", nullptr},
    {"pen7_color", O_RGB, "0 0 0", nullptr},
    {"pen8_color", O_RGB, "0 0 0", nullptr},
    {"pen9_color", O_RGB, "0 0 0", nullptr},
};

struct OptSet {
    const OptDef *defs;
    int count;
};
const OptSet SET_TEXT = {text_opts, (int)(sizeof text_opts / sizeof text_opts[0])};
const OptSet SET_PS = {ps_opts, (int)(sizeof ps_opts / sizeof ps_opts[0])};
const OptSet SET_GPH = {gph_opts, (int)(sizeof gph_opts / sizeof gph_opts[0])};

// ---- the translators

struct Translator {
    const char *name;
    int code; // 0 for those without one
    Kind from, to;
    const char *from_text, *to_text;
    const char *format; // in "(file ... written in %s format)"
    const OptSet *opts;
    bool built; // false: says so and returns 199
};

const Translator translators[] = {
    {"rimu2txt", 1, K_RIMU, K_TXT, "Rimu", "plain text", "text", &SET_TEXT, true},
    {"rimu2log", 2, K_RIMU, K_LOG, "Rimu", "Orvat ASCII text log", "Orvat ASCII text log", &SET_TEXT, true},
    {"rimu2ps", 3, K_RIMU, K_PS, "Rimu", "PostScript", "PostScript", &SET_PS, false},
    {"log2ps", 4, K_LOG, K_PS, "text log", "PostScript", "PostScript", &SET_PS, false},
    {"txt2ps", 5, K_TXT, K_PS, "plain text", "PostScript", "PostScript", &SET_PS, false},
    {"gph2ps", 6, K_GPH, K_PS, "graph", "PostScript", "PostScript", &SET_GPH, false},
    {"gph2eps", 7, K_GPH, K_EPS, "graph", "EPS", "EPS", &SET_GPH, false},
    {"Graph2ps", 0, K_GRAPH, K_PS, "graph in memory", "PostScript", "PostScript", &SET_GPH, false},
    {"Graph2eps", 0, K_GRAPH, K_EPS, "graph in memory", "EPS", "EPS", &SET_GPH, false},
    {"rimu2prn", 0, K_RIMU, K_PRN, "Rimu", "printer", "printer", &SET_PS, false},
    {"log2prn", 0, K_LOG, K_PRN, "text log", "printer", "printer", &SET_PS, false},
    {"txt2prn", 0, K_TXT, K_PRN, "plain text", "printer", "printer", &SET_PS, false},
    {"gph2prn", 0, K_GPH, K_PRN, "graph", "printer", "printer", &SET_GPH, false},
};
constexpr int n_translators = (int)(sizeof translators / sizeof translators[0]);

// The values in force, one vector for each translator, made from the defaults on first use.
std::vector<std::string> &values_of(int t) {
    static std::vector<std::string> values[n_translators];
    std::vector<std::string> &v = values[t];
    if (v.empty()) {
        const OptSet &s = *translators[t].opts;
        for (int i = 0; i < s.count; ++i)
            v.push_back(s.defs[i].def);
    }
    return v;
}

void reset_values(int t) {
    std::vector<std::string> &v = values_of(t);
    const OptSet &s = *translators[t].opts;
    for (int i = 0; i < s.count; ++i)
        v[i] = s.defs[i].def;
}

int find_translator(const std::string &name) {
    for (int i = 0; i < n_translators; ++i)
        if (name == translators[i].name) return i;
    return -1;
}

int find_option(int t, const std::string &name) {
    const OptSet &s = *translators[t].opts;
    for (int i = 0; i < s.count; ++i)
        if (name == s.defs[i].name) return i;
    return -1;
}

int translator_not_found(const std::string &name) {
    return session::fail(111, "translator " + name + " not found\n");
}

int not_built(const Translator &t) { return session::not_built(std::string("translator ") + t.name); }

bool is_number(const std::string &v) {
    if (v.empty()) return false;
    char *end = nullptr;
    std::strtod(v.c_str(), &end);
    return end && *end == '\0';
}

std::string trim(const std::string &s) {
    size_t a = s.find_first_not_of(' ');
    if (a == std::string::npos) return "";
    size_t b = s.find_last_not_of(' ');
    return s.substr(a, b - a + 1);
}

// Checks a value for an option and puts it in its stored form; 0, or 198 with the message.
int check_value(const OptDef &d, std::string &v) {
    v = trim(v);
    if (v.size() >= 2 && v.front() == '"' && v.back() == '"') v = v.substr(1, v.size() - 2);
    switch (d.kind) {
    case O_ONOFF:
        if (v != "on" && v != "off") return session::found_where_expected(v, "on or off");
        break;
    case O_NUM:
        if (!is_number(v)) return session::fail(198, v + " found where number expected\n");
        break;
    case O_CHOICE: {
        std::string list = std::string(" ") + d.choices + " ";
        if (v.empty() || v.find(' ') != std::string::npos || list.find(" " + v + " ") == std::string::npos)
            return session::fail(198, v + " found where one of " + d.choices + " expected\n");
        break;
    }
    case O_RGB: {
        int k = 0;
        const char *p = v.c_str();
        bool ok = true;
        std::string norm;
        while (*p) {
            while (*p == ' ')
                ++p;
            if (!*p) break;
            char *end;
            long c = std::strtol(p, &end, 10);
            if (end == p || (*end && *end != ' ') || c < 0 || c > 255) {
                ok = false;
                break;
            }
            norm += (k ? " " : "") + std::to_string(c);
            ++k;
            p = end;
        }
        if (!ok || k != 3) return session::fail(198, std::string("invalid rgb value in ") + d.name + "\n");
        v = norm;
        break;
    }
    case O_TEXT:
        break;
    }
    return 0;
}

// Sets an option of translator t; the preview note is shown as the console can't preview.
int set_option(int t, const std::string &opt, std::string value, std::vector<std::string> &vals) {
    int o = find_option(t, opt);
    if (o < 0) return session::option_not_allowed(opt);
    const OptDef &d = translators[t].opts->defs[o];
    if (int rc = check_value(d, value)) return rc;
    if (opt == "preview" && value == "on") {
        ClassScope cs(CLS_TEXT);
        out_text("(note: preview() option ignored in Orvat console)\n");
    }
    vals[o] = value;
    return 0;
}

const std::string &value(const std::vector<std::string> &vals, int t, const char *opt) {
    return vals[find_option(t, opt)];
}

} // namespace

namespace {

// ---- translate

int run_rimu_to_text(int t, const std::vector<std::string> &vals, int in, int outfd) {
    TextTarget tt;
    tt.fd = outfd;
    int ls = std::atoi(value(vals, t, "linesize").c_str());
    tt.width = ls > 0 ? ls : session::se.linesize;
    tt.lmargin = std::max(0, std::min(200, std::atoi(value(vals, t, "lmargin").c_str())));
    tt.cmdnumber = value(vals, t, "cmdnumber") == "on";
    tt.header = value(vals, t, "header") == "on";
    tt.pagelines = std::max(0, std::atoi(value(vals, t, "pagelines").c_str()));
    tt.headertext = value(vals, t, "headertext");
    tt.projecttext = value(vals, t, "projecttext");
    tt.user = value(vals, t, "user");
    rimu_to_text_begin(&tt);
    char buf[65536];
    ssize_t n;
    int rc = 0;
    for (;;) {
        n = ::read(in, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) rc = 692;
        if (n <= 0) break;
        rimu_to_text_feed(&tt, std::string_view(buf, (size_t)n));
    }
    rimu_to_text_end(&tt);
    if (!rc && tt.failed) rc = 693;
    return rc;
}

// translate from to [, translator(name) replace option(value) ...]
int translate_files() {
    std::string from = gettok(SEP_FILE);
    std::string to = gettok(SEP_FILE);
    if (!from.empty() && from[0] == '"') from.erase(0, 1);
    if (!to.empty() && to[0] == '"') to.erase(0, 1);
    if (from.empty() || from == "," || to.empty() || to == ",") return session::error(7197);
    std::string tname;
    bool replace = false;
    std::vector<std::pair<std::string, std::string>> overrides;
    // replace, translator(name), and the options of the translator, each with its value.
    std::string w = gettok(SEP_STD);
    if (!w.empty()) {
        if (w != ",") return session::invalid_rest(session::tk.tokstart);
        std::vector<session::Option> opts;
        if (int rc = session::read_options(opts)) return rc;
        if (*session::tokrest()) return session::invalid_rest(session::tokrest());
        for (const session::Option &o : opts) {
            if (o.name == "replace" && !o.paren)
                replace = true;
            else if (!o.paren)
                return session::option_not_allowed(o.name);
            else if (cmdmatch(o.name.c_str(), "translator", 5))
                tname = trim(o.arg);
            else
                overrides.push_back({o.name, o.arg});
        }
    }

    // A printer alias as the target: no printer interface is built, so no printer is found.
    if (to[0] == '@') {
        std::string printer = to.substr(1);
        if (!tname.empty()) {
            int t = find_translator(tname);
            if (t < 0) return translator_not_found(tname);
            if (translators[t].to != K_PRN)
                return session::fail(198, "@" + printer + " and translator " + tname + " do not match\n");
        }
        return session::fail(111, "printer " + printer + " not found\n");
    }

    bool from_memory = from == "@Graph";
    struct stat sb;
    if (!from_memory && ::stat(from.c_str(), &sb) != 0) return session::file_error(601, from);

    int t;
    if (!tname.empty()) {
        t = find_translator(tname);
        if (t < 0) return translator_not_found(tname);
    } else {
        Kind fk = from_memory ? K_GRAPH : kind_of(from), tk = kind_of(to);
        if (fk == K_NONE || tk == K_NONE) return session::fail(198, "translator option required\n");
        std::string guess = std::string(kind_word[fk]) + "2" + kind_word[tk];
        t = find_translator(guess);
        if (t < 0) return translator_not_found(guess);
    }
    const Translator &tr = translators[t];
    std::vector<std::string> vals = values_of(t);
    for (auto &[opt, v] : overrides)
        if (int rc = set_option(t, opt, v, vals)) return rc;
    if (!tr.built) return not_built(tr);
    if (from_memory)
        return session::fail(198, "translator " + std::string(tr.name) + " does not take @Graph\n");

    if (S_ISDIR(sb.st_mode)) return session::file_error(603, from);
    // The file may be an open log: what is buffered for it goes out first.
    if (ch.console) stream_flush_logs(ch.console);
    int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (in < 0) return session::file_error(603, from);
    char head[8192];
    ssize_t hn = ::pread(in, head, sizeof head, 0);
    if (hn < 0 || session::looks_binary(head, (size_t)hn)) {
        ::close(in);
        return session::file_error(610, from);
    }
    struct stat tb;
    if (::stat(to.c_str(), &tb) == 0) {
        if (!replace) {
            ::close(in);
            return session::file_error(602, to);
        }
        if (tb.st_dev == sb.st_dev && tb.st_ino == sb.st_ino) {
            ::close(in);
            return session::fail(198, "source and target are the same file\n");
        }
    }
    // The text goes to a new file beside the target, which takes the target's place only when it is
    // whole: a failure part way leaves the old target as it was.
    std::string fresh = to + ".new" + std::to_string(::getpid());
    int outfd = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (outfd < 0) {
        ::close(in);
        return session::file_error(603, to);
    }
    int rc = run_rimu_to_text(t, vals, in, outfd);
    ::close(in);
    if (::fsync(outfd) != 0 && !rc) rc = 693;
    if (::close(outfd) != 0 && !rc) rc = 693;
    if (!rc && ::rename(fresh.c_str(), to.c_str()) != 0) rc = 694;
    if (rc) {
        ::unlink(fresh.c_str());
        return rc == 694 ? session::error(694) : session::file_error(rc, rc == 692 ? from : to);
    }
    ClassScope cs(CLS_TEXT);
    out_text("(file " + to + " written in " + tr.format + " format)\n");
    return 0;
}

// ---- translator query/set/reset

int query_all() {
    ClassScope cs(CLS_TEXT);
    out_rimu("{txt}\n    Translator{col 20}Input{col 42}Output\n    {hline 60}\n");
    for (const Translator &t : translators) {
        out_rimuf("    {orvat translator query %s:%s}{col 20}%s{col 42}%s%s\n", t.name, t.name, t.from_text,
                  t.to_text, t.built ? "" : " (not available)");
    }
    return 0;
}

int query_one(int t) {
    const Translator &tr = translators[t];
    const OptSet &s = *tr.opts;
    std::vector<std::string> &vals = values_of(t);
    ClassScope cs(CLS_TEXT);
    out_text("\n");
    out_textf("    %s  (%s to %s)\n", tr.name, tr.from_text, tr.to_text);
    out_rimu("    {hline 60}\n");
    for (int i = 0; i < s.count; ++i) {
        out_text(std::string("    ") + s.defs[i].name);
        out_rimu("{col 24}");
        ClassScope r(CLS_RESULT);
        out_text(s.defs[i].kind == O_TEXT ? "\"" + vals[i] + "\"" : vals[i]);
        out_text("\n");
    }
    if (!tr.built) out_text("    (this translator is not available in this build)\n");
    return 0;
}

} // namespace

int cmd_translate(int) { return translate_files(); }

// translator query [name]
// translator set name option value
// translator reset [name]
int cmd_translator(int) {
    std::string sub = gettok(SEP_STD);
    if (sub.empty() || cmdmatch(sub.c_str(), "query", 1)) {
        std::string name = gettok(SEP_STD);
        if (*gettok(SEP_STD)) return session::error(198);
        if (name.empty()) return query_all();
        int t = find_translator(name);
        if (t < 0) return translator_not_found(name);
        return query_one(t);
    }
    if (sub == "set") {
        std::string name = gettok(SEP_STD);
        if (name.empty()) return session::error(198);
        int t = find_translator(name);
        if (t < 0) return translator_not_found(name);
        std::string opt = gettok(SEP_STD);
        if (opt.empty()) return session::error(198);
        std::string v = session::tokrest();
        if (find_option(t, opt) < 0) return session::option_not_allowed(opt);
        return set_option(t, opt, v, values_of(t));
    }
    if (sub == "reset") {
        std::string name = gettok(SEP_STD);
        if (*gettok(SEP_STD)) return session::error(198);
        if (name.empty()) {
            for (int t = 0; t < n_translators; ++t)
                reset_values(t);
            return 0;
        }
        int t = find_translator(name);
        if (t < 0) return translator_not_found(name);
        reset_values(t);
        return 0;
    }
    return session::error(198);
}

} // namespace out
