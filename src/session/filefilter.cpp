// filefilter: a copy of a file with one byte sequence replaced by another, written whole into place.
#include "session/filefilter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "matrix/results.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace session {

// The escapes of from() and to(), longest first where one begins another.
int filefilter_unescape(std::string_view text, std::string &out) {
    struct Esc {
        const char *code;
        const char *bytes;
    };
    static const Esc escapes[] = {{"BS", "\\"},  {"LQ", "`"},  {"RQ", "'"},  {"n", "\n"}, {"r", "\r"},
                                  {"t", "\t"},   {"\"", "\""}, {"\\", "\\"}, {"Q", "\""}, {"$", "$"},
                                  {"W", "\r\n"}, {"M", "\r"},  {"U", "\n"}};
    out.clear();
    for (size_t i = 0; i < text.size();) {
        if (text[i] != '\\') {
            out += text[i++];
            continue;
        }
        const std::string_view rest = text.substr(i + 1);
        // \###d: a byte by its decimal value, 0 to 255.
        size_t d = 0;
        while (d < 3 && d < rest.size() && std::isdigit((unsigned char)rest[d]))
            ++d;
        if (d == 3 && rest.size() > 3 && rest[3] == 'd') {
            const int v = std::stoi(std::string(rest.substr(0, 3)));
            if (v > 255)
                return fail(198,
                            "\\" + std::string(rest.substr(0, 4)) + " invalid: a byte is 000d to 255d\n");
            out += (char)v;
            i += 5;
            continue;
        }
        bool found = false;
        for (const Esc &e : escapes) {
            const std::string_view c = e.code;
            if (rest.substr(0, c.size()) == c) {
                out += e.bytes;
                i += 1 + c.size();
                found = true;
                break;
            }
        }
        if (!found) out += text[i++]; // a lone backslash stands for itself
    }
    return 0;
}

namespace {

std::string unquote(std::string s) {
    if (s.size() >= 2 && s.front() == '"' && s.back() == '"') return s.substr(1, s.size() - 2);
    if (s.size() >= 4 && s.compare(0, 2, "`\"") == 0 && s.compare(s.size() - 2, 2, "\"'") == 0)
        return s.substr(2, s.size() - 4);
    return s;
}

std::string next_name() {
    std::string fn = gettok(SEP_FILE);
    if (fn == ",") {
        ungettok();
        return "";
    }
    if (!fn.empty() && fn[0] == '"') fn.erase(0, 1);
    return fn;
}

} // namespace

// filefilter oldfile newfile, from(string) to(string) [replace]
int cmd_filefilter(int) {
    const std::string oldf = next_name();
    const std::string newf = oldf.empty() ? "" : next_name();
    std::string from_t, to_t;
    bool replace = false, from_given = false;
    const OptSpec specs[] = {opt_text("from", 4, from_t), opt_text("to", 2, to_t),
                             opt_flag("replace", 7, replace)};
    if (int rc = parse_options(specs)) return rc;
    if (oldf.empty() || newf.empty()) return error(7197);
    from_given = !from_t.empty();
    if (!from_given) return fail(198, "option from() required\n");
    std::string from, to;
    if (int rc = filefilter_unescape(unquote(from_t), from)) return rc;
    if (int rc = filefilter_unescape(unquote(to_t), to)) return rc;
    if (from.empty()) return option_invalid("from");

    struct stat sb;
    if (::stat(oldf.c_str(), &sb) != 0) return file_error(errno == ENOENT ? 601 : 603, oldf);
    if (S_ISDIR(sb.st_mode)) return file_error(603, oldf);
    struct stat nb;
    if (::stat(newf.c_str(), &nb) == 0) {
        if (!replace) return file_error(602, newf);
        if (nb.st_dev == sb.st_dev && nb.st_ino == sb.st_ino)
            return fail(602, "filefilter: the new file may not be the old file\n");
    }
    std::FILE *in = std::fopen(oldf.c_str(), "rb");
    if (!in) return file_error(603, oldf);

    const size_t slash = newf.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : newf.substr(0, slash == 0 ? 1 : slash);
    const std::string base = slash == std::string::npos ? newf : newf.substr(slash + 1);
    std::string tmp = dir + "/." + base + ".XXXXXX";
    const int fd = ::mkostemp(tmp.data(), O_CLOEXEC);
    if (fd < 0) {
        std::fclose(in);
        return file_error(603, newf);
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    (void)::fchmod(fd, 0666 & ~mask);

    // A match never spans more than from.size() bytes, so the tail of one block that could begin a
    // match is carried into the next.
    int64_t occurrences = 0, bytes_from = 0, bytes_to = 0;
    std::string pend, outb;
    std::vector<char> buf(1 << 16);
    bool bad = false, brk = false;
    size_t n;
    auto flush = [&]() {
        if (!outb.empty() && !write_all(fd, outb.data(), outb.size())) bad = true;
        bytes_to += (int64_t)outb.size();
        outb.clear();
    };
    for (;;) {
        n = std::fread(buf.data(), 1, buf.size(), in);
        const bool eof = n == 0;
        bytes_from += (int64_t)n;
        pend.append(buf.data(), n);
        size_t i = 0;
        const size_t keep = eof ? 0 : from.size() - 1;
        while (i + keep < pend.size()) {
            if (pend.size() - i >= from.size() && pend.compare(i, from.size(), from) == 0) {
                outb += to;
                i += from.size();
                ++occurrences;
            } else {
                outb += pend[i++];
            }
        }
        pend.erase(0, i);
        flush();
        if (eof || bad) break;
        if (poll_break()) {
            brk = true;
            break;
        }
    }
    const bool read_bad = std::ferror(in);
    std::fclose(in);
    const bool closed = ::close(fd) == 0;
    if (brk || bad || read_bad || !closed) {
        ::unlink(tmp.c_str());
        if (brk) return 1;
        return read_bad ? file_error(692, oldf) : file_error(693, newf);
    }
    if (::rename(tmp.c_str(), newf.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return error(694);
    }
    mat::r_clear();
    mat::r_set_scalar("occurrences", (double)occurrences);
    mat::r_set_scalar("bytes_from", (double)bytes_from);
    mat::r_set_scalar("bytes_to", (double)bytes_to);
    return 0;
}

} // namespace session
