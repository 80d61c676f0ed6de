// log and cmdlog: opening, pausing, resuming, closing and reporting logs, and the command log.
#include "output/log.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "lang/macro.h"
#include "lang/prog.h"
#include "lang/prog_int.h" // lang::ado: an ado-file being loaded is not typed input
#include "matrix/results.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/sedit2.h"
#include "session/settings.h"
#include "session/store.h"
#include "session/tok.h"

namespace out {

LogFile unnamed_log;
CommandLog cmdlog;

using session::cmdmatch;
using session::gettok;
using session::SEP_FILE;
using session::SEP_STD;

namespace {

int64_t open_serial = 0;

const char *const month_abbr[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// ---- messages

int fail_text(int rc, const std::string &s) {
    ClassScope cs(CLS_ERROR);
    out_error(s);
    return rc;
}

int refused() { return fail_text(603, "rimu refused log request -- log not opened\n"); }

int option_not_allowed(const std::string &w) { return fail_text(198, "option " + w + " not allowed\n"); }

int log_not_found(const std::string &name) { return fail_text(198, "log " + name + " not found\n"); }

void note_rimu(const char *s) {
    ClassScope cs(CLS_TEXT);
    out_rimu(s);
}

// ---- files

// The token as a filename: the opening quote that the tokenizer keeps is dropped.
std::string unquoted(const char *tok) {
    std::string s = tok;
    if (!s.empty() && s[0] == '"') s.erase(0, 1);
    return s;
}

bool has_extension(const std::string &path) { return !path_extension(path).empty(); }

std::string absolute(const std::string &path) {
    if (!path.empty() && path[0] == '/') return path;
    char cwd[4096];
    if (!::getcwd(cwd, sizeof cwd)) return path;
    return std::string(cwd) + "/" + path;
}

// Descriptors of logs are never 0, which marks a closed log.
int keep_above_zero(int fd) {
    if (fd != 0) return fd;
    int nfd = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
    ::close(fd);
    return nfd;
}

// Opens a log file: new (fails when it exists), or truncated for replace, or for append.
// Returns the descriptor, or -1 with the code in *rc (602 exists, 603 cannot open); the message is
// written unless quiet.
int open_log_file(const std::string &fn, bool append, bool replace, bool quiet, int *rc) {
    // Read and write: the text can be read back if the file is removed while the log is open.
    int flags = O_RDWR | O_CREAT | O_CLOEXEC;
    flags |= append ? O_APPEND : replace ? O_TRUNC : O_EXCL;
    int fd = ::open(fn.c_str(), flags, 0666);
    if (fd >= 0) fd = keep_above_zero(fd);
    if (fd >= 0) {
        struct stat sb;
        if (::fstat(fd, &sb) == 0 && !S_ISREG(sb.st_mode) && !S_ISCHR(sb.st_mode) && !S_ISFIFO(sb.st_mode)) {
            ::close(fd);
            fd = -1;
            errno = EISDIR;
        }
    }
    if (fd >= 0) return fd;
    *rc = errno == EEXIST ? 602 : 603;
    if (!quiet) session::file_error(*rc, fn);
    return -1;
}

bool write_all(int fd, const char *p, size_t n) {
    while (n > 0) {
        ssize_t w = ::write(fd, p, n);
        if (w < 0 && errno == EINTR) continue;
        if (w <= 0) return false;
        p += w;
        n -= (size_t)w;
    }
    return true;
}

// The text of a log whose file was removed while it was open is still behind the descriptor: it is
// copied to a new file at the same place, or, when that can't be made, into the temporary
// directory. Returns 0, or 603 when no copy could be made.
int recover_removed(int fd, const char *abspath, const char *shown) {
    struct stat sb;
    if (::fstat(fd, &sb) != 0 || !S_ISREG(sb.st_mode) || sb.st_nlink > 0) return 0;
    std::string base = abspath;
    size_t slash = base.rfind('/');
    if (slash != std::string::npos) base = base.substr(slash + 1);
    std::string tmp = session::st.tmpdir.empty() ? "/tmp" : session::st.tmpdir;
    if (tmp.back() != '/') tmp += '/';
    const std::string places[] = {abspath, tmp + base};
    for (const std::string &place : places) {
        int nfd = ::open(place.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (nfd < 0) continue;
        char buf[65536];
        off_t at = 0;
        ssize_t n;
        bool ok = true;
        while ((n = ::pread(fd, buf, sizeof buf, at)) > 0) {
            if (!write_all(nfd, buf, (size_t)n)) {
                ok = false;
                break;
            }
            at += n;
        }
        if (n < 0) ok = false;
        if (::close(nfd) != 0) ok = false;
        if (!ok) {
            ::unlink(place.c_str());
            continue;
        }
        ClassScope cs(CLS_TEXT);
        if (place == abspath)
            out_text(std::string("(note: file ") + shown +
                     " was removed while the log was open; written again)\n");
        else
            out_text(std::string("(note: file ") + shown +
                     " was removed while the log was open; its text is in " + place + ")\n");
        return 0;
    }
    return session::file_error(603, shown);
}

// ---- the console stream's log sets

RimuStream *console() { return ch.console; }

LogSet &set_of(RimuStream *s, bool rimu) { return rimu ? s->rimuLogs : s->textLogs; }

// The usable byte of fd in its set (1 when not attached).
bool still_usable(int fd, bool rimu) {
    RimuStream *s = console();
    if (!s) return true;
    LogSet &ls = set_of(s, rimu);
    for (int i = 0; i < ls.count; ++i)
        if (ls.fd[i] == fd) return ls.ok[i] != 0;
    return true;
}

bool room_in(bool rimu) {
    RimuStream *s = console();
    return s && !s->locked && set_of(s, rimu).count < LOG_MAX_PER_SET;
}

// A Rimu log opens with the head line and the style in force, so that it renders from its first
// line as the screen did.
std::string rimu_head(const RimuStream *s) {
    std::string h = "{rimu}\n";
    static const char *const colour[8] = {"{txt}", "{res}", "{txt}", "{txt}",
                                          "{err}", "{com}", "{txt}", "{hi}"};
    h += colour[s->style & STY_COLOUR_BITS];
    int font = s->style & STY_FONT_BITS;
    h += font == FONT_IT ? "{it}" : font == FONT_BF ? "{bf}" : "{sf}";
    h += (s->style & STY_UNDERLINE) ? "{ul on}" : "{ul off}";
    char buf[64];
    switch (s->mode) {
    case MODE_ASIS:
        h += "{asis}\n";
        break;
    case MODE_PARA:
        std::snprintf(buf, sizeof buf, "{p %d %d %d}\n", s->firstIndent, s->nextIndent,
                      std::max(0, s->rightMarginWidth - s->width));
        h += buf;
        break;
    case MODE_OLDHELP:
        h += "{o6hlp}\n";
        break;
    default:
        h += "\n";
        break; // taken by the mode change of the head line
    }
    return h;
}

bool attach(LogFile &lf) {
    RimuStream *s = console();
    if (!s) return false;
    stream_flush(s);
    if (stream_add_log(s, lf.fd, lf.isRimu)) return false;
    lf.active = 1;
    return true;
}

void detach(LogFile &lf) {
    RimuStream *s = console();
    if (!s || !lf.active) return;
    stream_flush(s);
    if (!still_usable(lf.fd, lf.isRimu)) lf.failed = 1;
    stream_remove_log(s, lf.fd);
    lf.active = 0;
}

// ---- headers

std::string now_text() {
    time_t t = std::time(nullptr);
    struct tm tmv;
    localtime_r(&t, &tmv);
    char b[64];
    std::snprintf(b, sizeof b, "%d %s %d %02d:%02d:%02d", tmv.tm_mday, month_abbr[tmv.tm_mon],
                  tmv.tm_year + 1900, tmv.tm_hour, tmv.tm_min, tmv.tm_sec);
    return b;
}

void label_value(const char *label, const std::string &value) {
    {
        ClassScope cs(CLS_TEXT);
        out_text(label);
    }
    {
        ClassScope cs(CLS_RESULT);
        out_text(value);
    }
    ClassScope cs(CLS_TEXT);
    out_text("\n");
}

void header(const LogFile &lf, const char *word, bool closing_rule) {
    if (ch.OutputLevel >= LVL_QUIET) return;
    {
        ClassScope cs(CLS_TEXT);
        out_text("");
        out_rimu("{.-}\n");
    }
    label_value("       log:  ", lf.filename);
    label_value("  log type:  ", lf.isRimu ? "rimu" : "text");
    char lab[32];
    std::snprintf(lab, sizeof lab, "%7s on:  ", word);
    label_value(lab, now_text());
    if (closing_rule) {
        ClassScope cs(CLS_TEXT);
        out_rimu("{txt}{.-}\n");
    }
}

// ---- the logs by name

LogFile *find_named(const std::string &name) {
    return static_cast<LogFile *>(session::store_find(name.c_str(), LOG_STORE_TYPE, nullptr));
}

// All open logs, the unnamed first, then the named in the order they were opened.
std::vector<LogFile *> all_logs() {
    std::vector<LogFile *> v;
    for (void *p = session::store_walk(nullptr, nullptr, LOG_STORE_TYPE, nullptr); p;
         p = session::store_walk(p, nullptr, LOG_STORE_TYPE, nullptr))
        v.push_back(static_cast<LogFile *>(p));
    std::sort(v.begin(), v.end(), [](LogFile *a, LogFile *b) { return a->serial < b->serial; });
    if (unnamed_log.fd) v.insert(v.begin(), &unnamed_log);
    return v;
}

// Reads an optional log name and makes sure nothing follows it: 0, or 198.
int read_name(std::string &name) {
    name = gettok(SEP_STD);
    std::string rest = gettok(SEP_STD);
    if (!rest.empty()) return session::error(198);
    return 0;
}

// The log a name means, the unnamed one when the name is empty: null with the message written.
LogFile *target(const std::string &name, int *rc) {
    if (name.empty()) {
        if (unnamed_log.fd) return &unnamed_log;
        *rc = session::error(606);
        return nullptr;
    }
    LogFile *lf = find_named(name);
    if (!lf) *rc = log_not_found(name);
    return lf;
}

// True when path names a file that an open log or the command log writes already.
bool open_already(const std::string &path) {
    struct stat sb, ob;
    if (::stat(path.c_str(), &sb) != 0) return false;
    std::vector<int> fds;
    for (LogFile *lf : all_logs())
        fds.push_back(lf->fd);
    if (cmdlog.fd) fds.push_back(cmdlog.fd);
    for (int fd : fds)
        if (::fstat(fd, &ob) == 0 && ob.st_dev == sb.st_dev && ob.st_ino == sb.st_ino) return true;
    return false;
}

// ---- subcommands

// log using filename [, append replace text rimu name(name)]
int log_using() {
    std::string fn = unquoted(gettok(SEP_FILE));
    if (fn.empty() || fn == ",") return session::error(7197);
    bool append = false, replace = false, text = false, rimu = false;
    std::string name;
    std::string w = gettok(SEP_STD);
    if (!w.empty()) {
        if (w != ",") return session::error(198);
        while (!(w = gettok(SEP_STD)).empty()) {
            if (cmdmatch(w.c_str(), "append", 1))
                append = true;
            else if (w == "replace")
                replace = true;
            else if (w == "text")
                text = true;
            else if (w == "rimu")
                rimu = true;
            else if (w == "name") {
                if (std::string(gettok(SEP_STD)) != "(") return session::error(198);
                name = gettok(SEP_STD);
                if (name == ")") return session::required("name()");
                if (std::string(gettok(SEP_STD)) != ")") return session::error(198);
                if (int rc = lang::check_name(name)) return rc;
            } else
                return option_not_allowed(w);
        }
    }
    if (append && replace) return fail_text(198, "options append and replace may not be combined\n");
    if (text && rimu) return fail_text(198, "options text and rimu may not be combined\n");
    bool isRimu;
    std::string ext = path_extension(fn);
    if (rimu || text)
        isRimu = rimu;
    else if (ext == ".log")
        isRimu = false;
    else if (ext == ".rimu")
        isRimu = true;
    else
        isRimu = session::se.logtype == 2;
    if (!has_extension(fn)) fn += isRimu ? ".rimu" : ".log";
    if (fn.size() > 499) return session::error(7197);

    if (name.empty() ? unnamed_log.fd != 0 : find_named(name) != nullptr) return session::error(604);
    if (open_already(fn)) return session::error(604); // two logs in one file would mix their text
    // A set that is full refuses before the file is touched, so a refused replace destroys nothing.
    if (!room_in(isRimu)) return refused();

    int rc = 0;
    int fd = open_log_file(fn, append, replace, false, &rc);
    if (fd < 0) return rc;
    LogFile lf;
    lf.fd = fd;
    lf.isRimu = isRimu;
    std::snprintf(lf.filename, sizeof lf.filename, "%s", fn.c_str());
    std::snprintf(lf.name, sizeof lf.name, "%s", name.c_str());
    std::snprintf(lf.abspath, sizeof lf.abspath, "%s", absolute(fn).c_str());
    lf.serial = ++open_serial;
    if (isRimu) {
        std::string head = rimu_head(console());
        ::lseek(fd, 0, SEEK_END);
        if (!write_all(fd, head.data(), head.size())) {
            ::close(fd);
            return session::file_error(693, fn);
        }
    }
    if (!attach(lf)) {
        ::close(fd);
        if (!append && !replace) ::unlink(fn.c_str());
        return refused();
    }
    LogFile *placed = &unnamed_log;
    if (!name.empty()) {
        placed =
            static_cast<LogFile *>(session::store_add_copy(name.c_str(), LOG_STORE_TYPE, 0, &lf, sizeof lf));
        if (!placed) {
            detach(lf);
            ::close(fd);
            return 950;
        }
    } else {
        unnamed_log = lf;
    }
    header(*placed, "opened", true);
    return 0;
}

int log_off(const std::string &name) {
    int rc = 0;
    LogFile *lf = target(name, &rc);
    if (!lf) return rc;
    if (!lf->active) {
        note_rimu("{txt}(log already off)\n");
        return 0;
    }
    header(*lf, "paused", false);
    detach(*lf);
    return 0;
}

int log_on(const std::string &name) {
    int rc = 0;
    LogFile *lf = target(name, &rc);
    if (!lf) return rc;
    if (lf->active) {
        note_rimu("{txt}(log already on)\n");
        return 0;
    }
    if (!room_in(lf->isRimu) || !attach(*lf)) return refused();
    header(*lf, "resumed", true);
    return 0;
}

// Closes one log: the header goes into it while it is still attached. A file removed while open is
// written again; a write that failed is reported.
int close_one(LogFile *lf) {
    header(*lf, "closed", true);
    detach(*lf);
    int rc = recover_removed(lf->fd, lf->abspath, lf->filename);
    if (::close(lf->fd) != 0 && errno != EINTR) lf->failed = 1;
    if (!rc && lf->failed) rc = session::file_error(693, lf->filename);
    if (lf == &unnamed_log)
        unnamed_log = LogFile{};
    else
        session::store_delete(lf);
    return rc;
}

int log_close(const std::string &name) {
    if (name == "_all") {
        int rc = 0;
        for (LogFile *lf : all_logs()) {
            int r = close_one(lf);
            if (!rc) rc = r;
        }
        return rc;
    }
    int rc = 0;
    LogFile *lf = target(name, &rc);
    if (!lf) return rc;
    return close_one(lf);
}

void report_one(const LogFile &lf) {
    label_value("      name:  ", lf.name[0] ? lf.name : "<unnamed>");
    label_value("       log:  ", lf.filename);
    label_value("  log type:  ", lf.isRimu ? "rimu" : "text");
    label_value("    status:  ", lf.active ? "on" : "off");
}

int set_r(const LogFile *lf) {
    mat::r_clear();
    if (!lf) return 0;
    if (int rc = mat::r_set_macro("filename", lf->filename)) return rc;
    if (int rc = mat::r_set_macro("status", lf->active ? "on" : "off")) return rc;
    return mat::r_set_macro("type", lf->isRimu ? "rimu" : "text");
}

void report_cmdlog() {
    if (!cmdlog.fd) {
        label_value("    cmdlog:  ", "(closed)");
        return;
    }
    label_value("    cmdlog:  ", cmdlog.filename);
    label_value("    status:  ", cmdlog.on ? "on" : "off");
}

// log [query] [name | _all]
int log_query(const std::string &name) {
    std::vector<LogFile *> logs;
    if (name.empty() || name == "_all") {
        logs = all_logs();
    } else {
        LogFile *lf = find_named(name);
        if (!lf) return log_not_found(name);
        logs.push_back(lf);
    }
    if (logs.empty()) label_value("       log:  ", "(closed)");
    for (LogFile *lf : logs)
        report_one(*lf);
    report_cmdlog();
    return set_r(logs.empty() ? nullptr : logs.front());
}

// ---- cmdlog

int cmdlog_using() {
    std::string fn = unquoted(gettok(SEP_FILE));
    if (fn.empty() || fn == ",") return session::error(7197);
    bool append = false, replace = false;
    std::string w = gettok(SEP_STD);
    if (!w.empty()) {
        if (w != ",") return session::error(198);
        while (!(w = gettok(SEP_STD)).empty()) {
            if (cmdmatch(w.c_str(), "append", 1))
                append = true;
            else if (w == "replace")
                replace = true;
            else
                return option_not_allowed(w);
        }
    }
    if (append && replace) return fail_text(198, "options append and replace may not be combined\n");
    if (!has_extension(fn)) fn += ".txt";
    if (fn.size() > 499) return session::error(7197);
    if (cmdlog.fd || open_already(fn)) return session::error(604);
    int rc = 0;
    int fd = open_log_file(fn, append, replace, false, &rc);
    if (fd < 0) return rc;
    cmdlog = CommandLog{};
    cmdlog.fd = fd;
    cmdlog.on = 1;
    std::snprintf(cmdlog.filename, sizeof cmdlog.filename, "%s", fn.c_str());
    std::snprintf(cmdlog.abspath, sizeof cmdlog.abspath, "%s", absolute(fn).c_str());
    return 0;
}

int cmdlog_close() {
    if (!cmdlog.fd) return session::error(607);
    int rc = recover_removed(cmdlog.fd, cmdlog.abspath, cmdlog.filename);
    if (::close(cmdlog.fd) != 0 && errno != EINTR) cmdlog.failed = 1;
    if (!rc && cmdlog.failed) rc = session::file_error(693, cmdlog.filename);
    cmdlog = CommandLog{};
    return rc;
}

// True when the line, past the prefixes capture, quietly and noisily, is a cmdlog command.
bool is_cmdlog_command(const char *line) {
    session::TokState saved;
    session::savetok(saved);
    bool saved_pushed = session::tk.tokpushed, saved_again = session::tk.tokagain;
    std::string saved_token = session::tk.token;
    session::settok(line);
    bool found = false;
    for (;;) {
        std::string w = gettok(SEP_STD);
        if (w == ":") continue;
        if (cmdmatch(w.c_str(), "capture", 3) || cmdmatch(w.c_str(), "quietly", 1) ||
            cmdmatch(w.c_str(), "noisily", 1))
            continue;
        found = cmdmatch(w.c_str(), "cmdlog", 6);
        break;
    }
    session::restoretok(saved);
    session::tk.tokpushed = saved_pushed;
    session::tk.tokagain = saved_again;
    std::snprintf(session::tk.token, sizeof session::tk.token, "%s", saved_token.c_str());
    return found;
}

} // namespace

std::string path_extension(std::string_view path) {
    size_t slash = path.rfind('/');
    size_t base = slash == std::string_view::npos ? 0 : slash + 1;
    size_t dot = path.rfind('.');
    if (dot == std::string_view::npos || dot < base) return "";
    return std::string(path.substr(dot));
}

bool looks_binary(const char *p, size_t n) {
    size_t control = 0;
    for (size_t i = 0; i < n; ++i) {
        unsigned char c = (unsigned char)p[i];
        if (c == 0) return true;
        if (c < 32 && c != '\t' && c != '\n' && c != '\r' && c != '\f' && c != 27) ++control;
    }
    return n > 0 && control * 8 > n;
}

// log using filename [, append replace text rimu name(name)]
// log {off | on} [name]
// log close [name | _all]
// log [query] [name | _all]
int cmd_log(int) {
    std::string sub = gettok(SEP_STD);
    std::string name;
    if (sub.empty()) return log_query("");
    if (cmdmatch(sub.c_str(), "using", 2)) return log_using();
    if (sub == "off") {
        if (int rc = read_name(name)) return rc;
        return log_off(name);
    }
    if (sub == "on") {
        if (int rc = read_name(name)) return rc;
        return log_on(name);
    }
    if (sub == "close") {
        if (int rc = read_name(name)) return rc;
        return log_close(name);
    }
    if (cmdmatch(sub.c_str(), "query", 1)) {
        if (int rc = read_name(name)) return rc;
        return log_query(name);
    }
    return session::error(198);
}

// cmdlog using filename [, append replace]
// cmdlog {on | off | close | query}
int cmd_cmdlog(int) {
    std::string sub = gettok(SEP_STD);
    if (cmdmatch(sub.c_str(), "using", 2)) return cmdlog_using();
    if (sub.empty() || cmdmatch(sub.c_str(), "query", 1)) {
        if (*gettok(SEP_STD)) return session::error(198);
        report_cmdlog();
        return 0;
    }
    if (*gettok(SEP_STD)) return session::error(198);
    if (sub == "close") return cmdlog_close();
    if (sub == "on" || sub == "off") {
        if (!cmdlog.fd) return session::error(607);
        bool on = sub == "on";
        if (cmdlog.on == on) {
            note_rimu(on ? "{txt}(cmdlog already on)\n" : "{txt}(cmdlog already off)\n");
            return 0;
        }
        cmdlog.on = on;
        return 0;
    }
    return session::error(198);
}

void cmdlog_line(const char *line) {
    if (!cmdlog.fd || !cmdlog.on || cmdlog.failed) return;
    if (ch.OutputLevel > CLS_INPUT) return; // input hidden: not recorded either
    if (session::lp.curfile && (lang::callframes > 1 || lang::ado.depth > 0 || lang::ado.active))
        return; // only the top level of a do-file, and never the lines of an ado-file being loaded
    const char *p = line;
    while (*p == ' ')
        ++p;
    if (!*p || is_cmdlog_command(p)) return;
    std::string text = std::string(line) + "\n";
    ::lseek(cmdlog.fd, 0, SEEK_END);
    if (!write_all(cmdlog.fd, text.data(), text.size()))
        cmdlog.failed = 1;
    else
        cmdlog.written = 1;
}

void logs_close_at_exit() {
    for (LogFile *lf : all_logs())
        close_one(lf);
    if (cmdlog.fd) cmdlog_close();
}

} // namespace out
