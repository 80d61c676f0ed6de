// The `type` command: each line of a text file through the print primitives, in text class; a
// Rimu log or help file rendered, unless asis asks for the text as it stands.
#include "output/type.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/tok.h"

namespace out {

namespace {

// A file of markup: a Rimu log or help file, by its extension or its {rimu} head line.
bool is_markup(const std::string &fn, std::FILE *f) {
    const std::string ext = session::path_extension(fn);
    if (ext == ".rimu" || ext == ".orhlp") return true;
    char head[8] = {};
    const size_t n = std::fread(head, 1, 7, f);
    std::rewind(f);
    return n >= 6 && std::string_view(head, 6) == "{rimu}" && (n == 6 || head[6] == '\n' || head[6] == '\r');
}

// A line as it is sent, with its newline. A tab shows as <T> with showtabs; otherwise literal text
// gets blanks to the next multiple of 8, and markup keeps the tab, which the engine moves to the
// same stop in line mode.
std::string shown_line(std::string_view line, bool markup, bool showtabs) {
    std::string s;
    s.reserve(line.size() + 1);
    for (char c : line) {
        if (c != '\t')
            s += c;
        else if (showtabs)
            s += "<T>";
        else if (markup)
            s += c;
        else
            s.append(8 - s.size() % 8, ' ');
    }
    s += '\n';
    return s;
}

} // namespace

// type filename [, asis showtabs]
int cmd_type(int) {
    std::string fn = session::gettok(session::SEP_FILE);
    if (!fn.empty() && fn[0] == '"') fn.erase(0, 1);
    if (fn.empty() || fn == ",") return session::error(7197);
    bool asis = false, showtabs = false;
    const session::OptSpec specs[] = {session::opt_flag("asis", 4, asis),
                                      session::opt_flag("showtabs", 8, showtabs)};
    if (int rc = session::parse_options(specs)) return rc;

    struct stat sb;
    if (::stat(fn.c_str(), &sb) != 0) return session::file_error(errno == ENOENT ? 601 : 603, fn);
    if (S_ISDIR(sb.st_mode)) return session::file_error(603, fn);
    std::FILE *f = std::fopen(fn.c_str(), "r");
    if (!f) return session::file_error(603, fn);
    // A markup file is shown rendered; asis shows any file as the text it holds, as {asis} would.
    const bool markup = !asis && is_markup(fn, f);
    // The file may be a log that is open: what the log holds so far is written out first.
    if (ch.console) stream_flush_logs(ch.console);

    ClassScope cs(CLS_TEXT);
    out_text(""); // the colour of the class, which markup starts from too
    char *buf = nullptr;
    size_t cap = 0;
    ssize_t n;
    int rc = 0;
    // A print primitive returns non-zero once Break is pending, so each line polls it.
    while (!rc && (n = ::getline(&buf, &cap, f)) > 0) {
        std::string_view line(buf, (size_t)n);
        if (line.back() == '\n') line.remove_suffix(1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        std::string s = shown_line(line, markup, showtabs);
        rc = (markup ? out_rimu(s) : out_text(s)) ? 1 : 0;
    }
    std::free(buf);
    bool read_failed = std::ferror(f) != 0;
    std::fclose(f);
    if (markup) {
        // Whatever mode or style the file left open, the screen goes back to plain line mode.
        out_rimu("{rimu}\n");
        out_rimu("{reset}\n"); // the newline is the one the mode change drops
    }
    if (rc) return rc;
    return read_failed ? session::file_error(692, fn) : 0;
}

} // namespace out
