// file: the subcommands over the handle table; the directives of `file write` and the binary forms of
// `file read` are read here.
#include "data/filecmd.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "data/expr.h"
#include "data/fmt.h"
#include "data/scalar.h"
#include "data/types.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/filehandles.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/tok.h"

namespace data {

namespace {

using session::FileHandle;
using session::SEP_FILE;
using session::SEP_STD;

std::string unquoted(std::string s) {
    if (!s.empty() && s[0] == '"') s.erase(0, 1);
    return s;
}

// A binary form: %{1|2|4}b[s|u] or %{4|8}z; size 0 when text is none.
struct BinForm {
    int size = 0;
    bool real = false, is_unsigned = false;
};

bool binary_form(std::string_view t, BinForm &b) {
    if (t.size() < 3 || t[0] != '%') return false;
    const char n = t[1], k = t[2];
    const std::string_view rest = t.substr(3);
    if (k == 'z' && (n == '4' || n == '8') && rest.empty()) {
        b = {n - '0', true, false};
        return true;
    }
    if (k == 'b' && (n == '1' || n == '2' || n == '4') && (rest.empty() || rest == "s" || rest == "u")) {
        b = {n - '0', false, rest == "u"};
        return true;
    }
    return false;
}

// %#s: a fixed-length string form; 0 when t is not one.
int string_form(std::string_view t) {
    if (t.size() < 3 || t[0] != '%' || t.back() != 's') return 0;
    int n = 0;
    for (char c : t.substr(1, t.size() - 2)) {
        if (c < '0' || c > '9' || n > 100000) return 0;
        n = n * 10 + (c - '0');
    }
    return n;
}

int storage_type(const BinForm &b) {
    if (b.real) return b.size == 8 ? T_DOUBLE : T_FLOAT;
    return b.size == 1 ? T_BYTE : b.size == 2 ? T_INT : T_LONG;
}

void reverse_if(std::string &s, bool hilo) {
    if (hilo) std::reverse(s.begin(), s.end());
}

// The bytes of v in form b: signed forms and reals keep the storage rules (out of range is `.`);
// unsigned forms take 0 up to the largest of their width and nothing else.
int binary_bytes(double v, const BinForm &b, bool hilo, std::string &out) {
    char cell[8] = {};
    if (b.is_unsigned) {
        const double top = b.size == 1 ? 255.0 : b.size == 2 ? 65535.0 : 4294967295.0;
        if (!(v >= 0 && v <= top))
            return session::fail(198, "value " + number_text(v) + " out of range for %" +
                                          std::to_string(b.size) + "bu\n");
        const uint32_t u = (uint32_t)v;
        std::memcpy(cell, &u, (size_t)b.size);
    } else {
        cell_put(cell, storage_type(b), v);
    }
    out.assign(cell, (size_t)b.size);
    reverse_if(out, hilo);
    return 0;
}

double binary_value(std::string bytes, const BinForm &b, bool hilo) {
    reverse_if(bytes, hilo);
    if (b.is_unsigned) {
        uint32_t u = 0;
        std::memcpy(&u, bytes.data(), (size_t)b.size);
        return (double)u;
    }
    return cell_get(bytes.data(), storage_type(b));
}

// The text behind p up to its matching close parenthesis; npos when unbalanced. Quotes are skipped.
size_t paren_close(const std::string &s, size_t open) {
    int depth = 0;
    for (size_t i = open; i < s.size(); ++i) {
        session::Quoted q;
        if (session::quoted_at(s, i, q)) {
            if (!q.closed) return std::string::npos;
            i = q.next - 1;
            continue;
        }
        if (s[i] == '(') ++depth;
        if (s[i] == ')' && --depth == 0) return i;
    }
    return std::string::npos;
}

// The number in a directive's parentheses, `_col(#)`: at least lo.
int directive_arg(const std::string &s, size_t &i, const std::string &word, int lo, int *n, bool optional) {
    if (i >= s.size() || s[i] != '(') {
        if (optional) return 0;
        return session::fail(198, word + "() invalid\n");
    }
    const size_t close = paren_close(s, i);
    if (close == std::string::npos) return session::fail(198, word + "() invalid\n");
    ExprValue v;
    const std::string inner = s.substr(i + 1, close - i - 1);
    if (int rc = expr_eval_scalar(inner.c_str(), v, nullptr, XW_NUM)) return rc;
    if (!(v.num >= lo && v.num <= 1e6)) return session::fail(198, word + "() invalid\n");
    *n = (int)v.num;
    i = close + 1;
    return 0;
}

// An expression at s[i]: in parentheses, or as far as the expression reader goes.
int directive_exp(const std::string &s, size_t &i, ExprValue &v) {
    if (s[i] == '(') {
        const size_t close = paren_close(s, i);
        if (close == std::string::npos) return session::error(198);
        // The parentheses belong to the expression, so that (1)+(2) is one.
    }
    const char *end = nullptr;
    if (int rc = expr_eval_scalar(s.c_str() + i, v, &end, XW_ANY)) return rc;
    i = (size_t)(end - s.c_str());
    return 0;
}

// One line of directives into bytes; col follows the handle's column from one write to the next.
int write_directives(FileHandle &h, const std::string &s, std::string &out) {
    size_t i = 0;
    Fmt fmt;
    bool have_fmt = false;
    int dup = 1;
    auto emit = [&](std::string_view bytes) {
        for (int k = 0; k < dup; ++k) {
            out.append(bytes);
            for (char c : bytes)
                h.col = c == '\n' ? 0 : h.col + 1;
        }
        dup = 1;
    };
    while (i < s.size()) {
        if (s[i] == ' ' || s[i] == '\t') {
            ++i;
            continue;
        }
        session::Quoted q;
        if (session::quoted_at(s, i, q)) {
            if (!q.closed) return session::unmatched_quote();
            emit(std::string_view(s).substr(q.begin, q.end - q.begin));
            i = q.next;
            continue;
        }
        if (s[i] == '_') {
            size_t j = i + 1;
            while (j < s.size() && std::isalpha((unsigned char)s[j]))
                ++j;
            const std::string word = s.substr(i, j - i);
            const char *w = word.c_str() + 1;
            int n = 1;
            i = j;
            if (session::cmdmatch(w, "newline", 1)) {
                if (int rc = directive_arg(s, i, word, 0, &n, true)) return rc;
                emit(std::string((size_t)n, '\n'));
            } else if (session::cmdmatch(w, "tab", 1)) {
                if (int rc = directive_arg(s, i, word, 0, &n, true)) return rc;
                emit(std::string((size_t)n, '\t'));
            } else if (session::cmdmatch(w, "column", 3)) {
                if (int rc = directive_arg(s, i, word, 1, &n, false)) return rc;
                if (n - 1 > h.col) emit(std::string((size_t)(n - 1 - h.col), ' '));
            } else if (session::cmdmatch(w, "skip", 1)) {
                if (int rc = directive_arg(s, i, word, 0, &n, false)) return rc;
                emit(std::string((size_t)n, ' '));
            } else if (session::cmdmatch(w, "char", 4)) {
                if (int rc = directive_arg(s, i, word, 0, &n, false)) return rc;
                if (n > 255) return session::fail(198, word + "() invalid\n");
                emit(std::string(1, (char)n));
            } else if (session::cmdmatch(w, "dup", 3)) {
                if (int rc = directive_arg(s, i, word, 0, &n, false)) return rc;
                dup = n;
            } else {
                // Not a directive: an expression that begins with a name such as _n or _pi.
                i -= word.size();
                ExprValue v;
                if (int rc = directive_exp(s, i, v)) return rc;
                char buf[FMT_BUFSIZE];
                if (v.type == XT_STR) {
                    emit(v.str);
                } else {
                    const int len = fmt_number(v.num, have_fmt ? fmt : fmt_default(), buf, sizeof buf);
                    emit(std::string_view(buf, (size_t)len));
                }
                have_fmt = false;
            }
            continue;
        }
        if (s[i] == '%') {
            size_t j = i;
            while (j < s.size() && s[j] != ' ' && s[j] != '\t' && s[j] != '(' && s[j] != '"' && s[j] != '`')
                ++j;
            const std::string f = s.substr(i, j - i);
            i = j;
            while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
                ++i;
            if (i >= s.size()) return session::fail(198, "nothing found where expression expected\n");
            ExprValue v;
            BinForm b;
            if (binary_form(f, b)) {
                if (int rc = directive_exp(s, i, v)) return rc;
                if (v.type == XT_STR) return session::error(109);
                std::string bytes;
                if (int rc = binary_bytes(v.num, b, h.hilo, bytes)) return rc;
                emit(bytes);
                continue;
            }
            if (const int len = string_form(f); len > 0 && h.binary) {
                // A fixed-length string of a binary file: cut or filled with NUL bytes.
                if (session::quoted_at(s, i, q)) {
                    if (!q.closed) return session::unmatched_quote();
                    std::string t = s.substr(q.begin, q.end - q.begin);
                    t.resize((size_t)len, '\0');
                    emit(t);
                    i = q.next;
                    continue;
                }
                if (int rc = directive_exp(s, i, v)) return rc;
                if (v.type != XT_STR) return session::error(109);
                std::string t = v.str;
                t.resize((size_t)len, '\0');
                emit(t);
                continue;
            }
            if (fmt_parse(f, fmt)) return 120;
            have_fmt = true;
            if (session::quoted_at(s, i, q)) {
                if (!q.closed) return session::unmatched_quote();
                char buf[FMT_BUFSIZE];
                const int len =
                    fmt_string(std::string_view(s).substr(q.begin, q.end - q.begin), fmt, buf, sizeof buf);
                emit(std::string_view(buf, (size_t)len));
                i = q.next;
                have_fmt = false;
                continue;
            }
            continue;
        }
        ExprValue v;
        if (int rc = directive_exp(s, i, v)) return rc;
        char buf[FMT_BUFSIZE];
        if (v.type == XT_STR) {
            const int len = have_fmt ? fmt_string(v.str, fmt, buf, sizeof buf) : (int)std::strlen(v.str);
            emit(std::string_view(have_fmt ? buf : v.str, (size_t)len));
        } else {
            int len = fmt_number(v.num, have_fmt ? fmt : fmt_default(), buf, sizeof buf);
            const char *p = buf;
            if (!have_fmt)
                while (*p == ' ')
                    ++p, --len;
            emit(std::string_view(p, (size_t)len));
        }
        have_fmt = false;
    }
    return 0;
}

// file open handle using filename, {read|write|append} [text|binary] [replace]
int file_open() {
    const std::string handle = session::gettok(SEP_STD);
    if (handle.empty()) return session::error(198);
    if (!session::name_ok(handle)) return session::invalid_name(handle);
    if (std::string(session::gettok(SEP_STD)) != "using") return session::required("using");
    const std::string path = unquoted(session::gettok(SEP_FILE));
    if (path.empty() || path == ",") return session::error(7197);
    session::FileOpen how;
    bool text = false;
    const session::OptSpec specs[] = {
        session::opt_flag("read", 4, how.read),     session::opt_flag("write", 5, how.write),
        session::opt_flag("append", 6, how.append), session::opt_flag("text", 4, text),
        session::opt_flag("binary", 6, how.binary), session::opt_flag("replace", 7, how.replace)};
    if (int rc = session::parse_options(specs)) return rc;
    if (!how.read && !how.write && !how.append)
        return session::fail(198, "must specify read, write, or append\n");
    if (how.write && how.append) return session::fail(198, "options write and append may not be combined\n");
    if (text && how.binary) return session::fail(198, "options text and binary may not be combined\n");
    if (how.read && how.write && !how.binary)
        return session::fail(198, "read write may be combined only with binary files\n");
    return session::fh_open(handle, path, how);
}

// file read handle macname | file read handle binary-spec ... (%1b name, %8z name, %#s name)
int file_read() {
    FileHandle *h;
    if (int rc = session::fh_get(session::gettok(SEP_STD), h)) return rc;
    mat::r_clear();
    std::string rest = session::tokrest();
    bool eof = false;
    if (rest.empty() || rest[0] != '%') {
        const std::string mac = session::gettok(SEP_STD);
        if (mac.empty()) return session::required("macro name");
        if (!session::name_ok(mac)) return session::invalid_name(mac);
        if (*session::tokrest()) return session::invalid_rest(session::tokrest());
        std::string line;
        if (int rc = session::fh_read_line(*h, line, &eof)) return rc;
        if (int rc = session::macro_set(session::local_name(mac).c_str(), line)) return rc;
        return mat::r_set_scalar("eof", eof ? 1 : 0);
    }
    // Pairs of a form and a name, read in order; at the end every later name is left missing.
    std::vector<std::string> words;
    for (size_t i = 0; i < rest.size();) {
        while (i < rest.size() && (rest[i] == ' ' || rest[i] == '\t'))
            ++i;
        const size_t b = i;
        while (i < rest.size() && rest[i] != ' ' && rest[i] != '\t')
            ++i;
        if (i > b) words.push_back(rest.substr(b, i - b));
    }
    for (size_t w = 0; w < words.size(); w += 2) {
        const std::string &form = words[w];
        const std::string name = w + 1 < words.size() ? words[w + 1] : "";
        if (name.empty()) return session::required("name");
        if (!session::name_ok(name)) return session::invalid_name(name);
        BinForm b;
        int len = 0;
        if (binary_form(form, b)) {
            std::string bytes;
            size_t got = 0;
            if (!eof)
                if (int rc = session::fh_read_bytes(*h, (size_t)b.size, bytes, &got)) return rc;
            if (got > 0 && got < (size_t)b.size)
                return session::fail(612, "unexpected end of file: " + std::to_string(got) + " of " +
                                              std::to_string(b.size) + " bytes read\n");
            eof = eof || got == 0;
            if (int rc = scalar_set(name.c_str(), eof ? missing_value(0) : binary_value(bytes, b, h->hilo)))
                return rc;
        } else if ((len = string_form(form)) > 0) {
            std::string bytes;
            size_t got = 0;
            if (!eof)
                if (int rc = session::fh_read_bytes(*h, (size_t)len, bytes, &got)) return rc;
            eof = eof || got == 0;
            const size_t nul = bytes.find('\0');
            if (nul != std::string::npos) bytes.resize(nul);
            if (int rc = session::macro_set(session::local_name(name).c_str(), bytes)) return rc;
        } else {
            return session::fail(198, form + " invalid binary format\n");
        }
    }
    return mat::r_set_scalar("eof", eof ? 1 : 0);
}

// file write handle [directives]
int file_write() {
    FileHandle *h;
    if (int rc = session::fh_get(session::gettok(SEP_STD), h)) return rc;
    if (!h->can_write) return session::fail(198, "file handle " + h->name + " not open for writing\n");
    std::string out;
    if (int rc = write_directives(*h, session::tokrest(), out)) return rc;
    if (int rc = session::fh_write(*h, out)) return rc;
    return session::fh_flush(*h);
}

// file seek handle {query|tof|eof|#}
int file_seek() {
    FileHandle *h;
    if (int rc = session::fh_get(session::gettok(SEP_STD), h)) return rc;
    // The position is one word; a sign belongs to it.
    std::string where = session::tokrest();
    while (!where.empty() && (where.back() == ' ' || where.back() == '\t'))
        where.pop_back();
    if (where.empty()) return session::required("position");
    if (where.find_first_of(" \t") != std::string::npos)
        return session::fail(198, where + " invalid file position\n");
    int rc = 0;
    if (where == "tof") {
        rc = session::fh_seek(*h, 0);
    } else if (where == "eof") {
        rc = session::fh_seek_end(*h);
    } else if (where != "query") {
        double pos;
        if (!text_to_number(where, pos, false) || pos != (double)(int64_t)pos || pos < 0)
            return session::fail(198, where + " invalid file position\n");
        rc = session::fh_seek(*h, (int64_t)pos);
    }
    if (rc) return rc;
    int64_t at = 0;
    if (int rc2 = session::fh_tell(*h, &at)) return rc2;
    mat::r_clear();
    return mat::r_set_scalar("loc", (double)at);
}

// file set handle byteorder {hilo|lohi|1|2}
int file_set() {
    FileHandle *h;
    if (int rc = session::fh_get(session::gettok(SEP_STD), h)) return rc;
    const std::string what = session::gettok(SEP_STD);
    if (!session::cmdmatch(what.c_str(), "byteorder", 9)) return session::fail(198, what + " invalid\n");
    const std::string order = session::gettok(SEP_STD);
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    if (order == "hilo" || order == "1") {
        h->hilo = true;
    } else if (order == "lohi" || order == "2") {
        h->hilo = false;
    } else {
        return session::fail(198, "byteorder must be hilo, lohi, 1, or 2\n");
    }
    return 0;
}

int file_close() {
    const std::string name = session::gettok(SEP_STD);
    if (name.empty()) return session::required("handle");
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    if (name == "_all") return session::fh_close_all();
    FileHandle *h;
    if (int rc = session::fh_get(name, h)) return rc;
    return session::fh_close(h);
}

int file_query() {
    if (*session::tokrest()) return session::invalid_rest(session::tokrest());
    out::ClassScope cs(out::CLS_TEXT);
    const auto &list = session::fh_list();
    if (list.empty()) {
        out::out_text("  no files open\n");
        return 0;
    }
    for (const FileHandle *h : list) {
        const char *mode = h->can_read && h->can_write ? "read/write" : h->can_read ? "read" : "write";
        out::out_textf("  %-12s %-10s %-6s %s\n", h->name.c_str(), mode, h->binary ? "binary" : "text",
                       h->path.c_str());
    }
    return 0;
}

} // namespace

int cmd_file(int) {
    const std::string sub = session::gettok(SEP_STD);
    const char *w = sub.c_str();
    if (sub.empty()) return session::fail(198, "invalid file subcommand\n");
    if (session::cmdmatch(w, "open", 4)) return file_open();
    if (session::cmdmatch(w, "read", 4)) return file_read();
    if (session::cmdmatch(w, "write", 5)) return file_write();
    if (session::cmdmatch(w, "seek", 4)) return file_seek();
    if (session::cmdmatch(w, "set", 3)) return file_set();
    if (session::cmdmatch(w, "close", 5)) return file_close();
    if (session::cmdmatch(w, "query", 1)) return file_query();
    return session::fail(198, "invalid file subcommand " + sub + "\n");
}

} // namespace data
