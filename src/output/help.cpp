// chelp, man and view: help files found on the ado path, and files shown in the console through the
// Rimu engine (so the pager, the logs and the width apply as to any output).
#include "output/help.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "output/channel.h"
#include "output/log.h"
#include "output/rimu.h"
#include "session/commands.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/findfile.h"
#include "session/state.h"
#include "session/tok.h"

namespace out {

using session::gettok;
using session::SEP_FILE;
using session::SEP_STD;

namespace {

bool readable(const std::string &path) {
    struct stat sb;
    return ::stat(path.c_str(), &sb) == 0 && S_ISREG(sb.st_mode) && ::access(path.c_str(), R_OK) == 0;
}

// <topic>.orhlp on the ado path; when the path yields nothing (S_ADO emptied, say), the base
// directory of the system directory and its letter folder.
bool find_help(const std::string &topic, std::string &path) {
    std::string file = topic + ".orhlp";
    if (session::find_on_adopath(file.c_str(), &path)) return true;
    std::string base = session::st.sysdirs.BASE;
    if (base.empty() && !session::st.sysdir_orvat.empty()) base = session::st.sysdir_orvat + "ado/base/";
    if (base.empty()) return false;
    if (base.back() != '/') base += '/';
    for (const std::string &cand : {base + file, base + topic.substr(0, 1) + "/" + file}) {
        if (readable(cand)) {
            path = cand;
            return true;
        }
    }
    return false;
}

// Commands whose help is written in the file of another.
struct HelpAlias {
    const char *topic, *file;
};
const HelpAlias help_aliases[] = {
    {"chelp", "help"},         {"man", "help"},          {"translator", "translate"},
    {"break", "nobreak"},      {"include", "do"},        {"local", "macro"},
    {"global", "macro"},       {"c_local", "macro"},     {"else", "if"},
    {"continue", "forvalues"}, {"tempname", "tempvar"},  {"tempfile", "tempvar"},
    {"keep", "drop"},          {"ereturn", "return"},    {"sreturn", "return"},
    {"_return", "return"},     {"testfv", "fvdescribe"}, {"dumpfv", "fvdescribe"},
    {"cat", "type"},           {"tab1", "tabulate"},     {"tab2", "tabulate"},
    {"pwcorr", "correlate"},   {"post", "postfile"},     {"postclose", "postfile"},
    {"postutil", "postfile"},  {"mlsum", "mleval"},      {"mlvecsum", "mleval"},
    {"mlmatsum", "mleval"},    {"mlmatbysum", "mleval"}, {"_mlmatbysum", "mleval"},
};

int help_not_found(const std::string &topic) {
    return session::fail(111, "help for " + topic + " not found\n");
}

// Sends the file to the current stream a line at a time, as markup or as literal text; stops when
// Break or the pager's q sets PendingBreak. Afterwards the stream is back in line mode with the
// text style, whatever the file left open.
int show(int fd, bool rimu) {
    ClassScope cs(CLS_TEXT);
    out_text("");
    char buf[65536];
    std::string carry;
    int rc = 0;
    auto send = [&](std::string_view line) { return rimu ? out_rimu(line) : out_text(line); };
    for (;;) {
        ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        std::string_view text(buf, (size_t)n);
        while (!text.empty() && !rc) {
            size_t nl = text.find('\n');
            if (nl == std::string_view::npos) {
                carry.append(text);
                break;
            }
            if (carry.empty()) {
                rc = send(text.substr(0, nl + 1));
            } else {
                carry.append(text.substr(0, nl + 1));
                rc = send(carry);
                carry.clear();
            }
            text.remove_prefix(nl + 1);
        }
        if (rc) break;
    }
    if (!rc && !carry.empty()) rc = send(carry);
    if (rimu) {
        out_rimu("{rimu}\n");
        out_rimu("{reset}\n"); // the newline is the one the mode change drops
    } else if (ch.current && !ch.current->lineEmpty) {
        out_text("\n");
    }
    return rc;
}

// Opens a file to be shown: 601 when missing, 603 when it can't be read, 610 when it is binary.
int open_text_file(const std::string &path, int *fd_out, bool *starts_rimu) {
    struct stat sb;
    if (::stat(path.c_str(), &sb) != 0) return session::file_error(601, path);
    if (S_ISDIR(sb.st_mode)) return session::file_error(603, path);
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return session::file_error(603, path);
    char head[8192];
    ssize_t n = ::pread(fd, head, sizeof head, 0);
    if (n < 0 || session::looks_binary(head, (size_t)n)) {
        ::close(fd);
        return session::file_error(610, path);
    }
    std::string_view h(head, n > 0 ? (size_t)n : 0);
    *starts_rimu = h.substr(0, 6) == "{rimu}" || h.substr(0, 7) == "{o6hlp}";
    *fd_out = fd;
    return 0;
}

int show_path(const std::string &path, bool rimu_by_name) {
    int fd = -1;
    bool starts_rimu = false;
    if (int rc = open_text_file(path, &fd, &starts_rimu)) return rc;
    if (ch.console) stream_flush_logs(ch.console);
    int rc = show(fd, rimu_by_name || starts_rimu);
    ::close(fd);
    return rc;
}

int help_topic(std::string topic) {
    if (topic.empty()) topic = "contents";
    std::string path;
    bool found = topic.find('/') == std::string::npos && topic[0] != '.' && find_help(topic, path);
    if (!found) {
        // An abbreviation of a built-in command means that command.
        std::string name = topic;
        const session::CmdRow *row = session::find_command(topic.c_str());
        if (row) name = row->name;
        for (const HelpAlias &a : help_aliases)
            if (name == a.topic) name = a.file;
        if (name != topic) found = find_help(name, path);
    }
    if (!found) return help_not_found(topic);
    return show_path(path, true);
}

} // namespace

// chelp [topic]   (man is the same command)
int cmd_chelp(int) {
    std::string topic = gettok(SEP_FILE);
    if (!topic.empty() && topic[0] == '"') topic.erase(0, 1);
    if (*gettok(SEP_FILE)) return session::error(198);
    return help_topic(topic);
}

// view [file] filename
// view help [topic]
int cmd_view(int) {
    session::TokState at;
    session::savetok(at);
    std::string w = gettok(SEP_STD);
    if (w == "help") return cmd_chelp(1);
    if (w != "file") session::restoretok(at);
    std::string fn = gettok(SEP_FILE);
    if (!fn.empty() && fn[0] == '"') fn.erase(0, 1);
    if (fn.empty()) return session::error(7197);
    if (*gettok(SEP_FILE)) return session::error(198);
    std::string ext = session::path_extension(fn);
    return show_path(fn, ext == ".rimu" || ext == ".orhlp");
}

} // namespace out
