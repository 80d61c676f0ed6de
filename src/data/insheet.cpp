// insheet and outsheet: the commands over the parse of delimited text, and the writer.
#include "data/insheet.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/xeq.h"
#include "estimate/frame.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/options.h"
#include "session/tok.h"

namespace data {

namespace {

using session::gettok;
using session::SEP_FILE;
using session::SEP_STD;

constexpr int64_t PROGRESS_BYTES = 32ll << 20; // files from this size get a line before the parse
constexpr int RAGGED_NOTES = 5;                // lines named one by one
constexpr int32_t WRITE_BATCH = 1 << 16;       // observations formatted before a write

void note(const std::string &text) {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text(text);
}

std::string with_extension(const std::string &name, const char *ext) {
    return session::path_extension(name).empty() ? name + ext : name;
}

// delimiter("c"): one character, with or without its quotes (simple or compound); "\t" is a tab.
int delimiter_of(std::string arg, char *d) {
    if (arg.size() >= 4 && arg.compare(0, 2, "`\"") == 0 && arg.compare(arg.size() - 2, 2, "\"'") == 0)
        arg = arg.substr(2, arg.size() - 4);
    else if (arg.size() >= 2 && arg.front() == '"' && arg.back() == '"')
        arg = arg.substr(1, arg.size() - 2);
    if (arg == "\\t") arg = "\t";
    if (arg.size() != 1 || arg[0] == '"' || arg[0] == '\n' || arg[0] == '\r')
        return session::option_invalid("delimiter");
    *d = arg[0];
    return 0;
}

// A file's bytes, mapped read-only for as long as it lives.
struct Mapped {
    const char *p = nullptr;
    int64_t size = 0;
    Mapped() = default;
    Mapped(const Mapped &) = delete;
    Mapped &operator=(const Mapped &) = delete;
    ~Mapped() {
        if (p && size) ::munmap(const_cast<char *>(p), (size_t)size);
    }
};

// The whole file: 0, or 601, 603, 692 with the message written.
int map_file(const std::string &path, Mapped &m) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return session::file_error(errno == ENOENT || errno == ENOTDIR ? 601 : 603, path);
    struct stat sb;
    if (::fstat(fd, &sb) != 0 || !S_ISREG(sb.st_mode)) {
        ::close(fd);
        return session::file_error(603, path);
    }
    if (sb.st_size > 0) {
        void *a = ::mmap(nullptr, (size_t)sb.st_size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
        if (a == MAP_FAILED) {
            ::close(fd);
            return session::file_error(692, path);
        }
        m.p = static_cast<const char *>(a);
        m.size = sb.st_size;
    }
    ::close(fd);
    return 0;
}

// Tab or comma, from the first line: the one that occurs, or the more frequent.
char guess_delimiter(const char *p, int64_t n) {
    if (n == 0) return ','; // an empty file maps to no address
    const char *e = static_cast<const char *>(std::memchr(p, '\n', (size_t)n));
    if (!e) e = p + n;
    const auto tabs = std::count(p, e, '\t'), commas = std::count(p, e, ',');
    return tabs > commas ? '\t' : ',';
}

int64_t line_of(const char *text, int64_t pos) { return 1 + std::count(text, text + pos, '\n'); }

// A variable name from a header text: other bytes than letters, digits and '_' become '_', a digit
// first gets a '_' before it, the rest is cut at the name's length.
std::string clean_name(std::string_view raw, bool keep_case) {
    std::string s;
    for (char c : raw) {
        const unsigned char u = (unsigned char)c;
        const bool ok = std::isalnum(u) || c == '_';
        if (ok)
            s.push_back(keep_case ? c : (char)std::tolower(u));
        else if (!s.empty() && s.back() != '_')
            s.push_back('_');
    }
    while (!s.empty() && s.back() == '_' && s.size() > 1)
        s.pop_back();
    if (!s.empty() && std::isdigit((unsigned char)s[0])) s.insert(0, "_");
    if (s.size() > (size_t)VNAMELEN) s.resize(VNAMELEN);
    return s;
}

bool usable(const std::string &name) { return newname_ok(name.c_str()) && !find_var(name.c_str()); }

std::string unique_name(std::string name, int column) {
    if (!name.empty() && usable(name)) return name;
    name = "v" + std::to_string(column);
    for (int k = 2; !usable(name); ++k)
        name = "v" + std::to_string(column) + "_" + std::to_string(k);
    return name;
}

struct InOpts {
    bool comma = false, tab = false, names = false, nonames = false, clear = false, dbl = false,
         keep_case = false;
    std::string delimiter;
};

// The dataset made from a finished parse: variables, cells, labels. On a failure the dataset is
// empty.
int build(const CsvParse &cp, const InOpts &o) {
    const int ncol = (int)cp.cols.size();
    std::vector<int> types((size_t)ncol);
    int64_t width = 0;
    for (int j = 0; j < ncol; ++j) {
        bool trunc;
        types[(size_t)j] = csv_type(cp.cols[(size_t)j], o.dbl, &trunc);
        width += type_width(types[(size_t)j]);
    }
    if (ncol > ds.maxvar - 1) return session::error(900);
    if (width >= ds.maxwidth) return session::error(1000);
    const int64_t nobs = (int64_t)cp.starts.size() - (cp.has_header ? 1 : 0);
    clear_dataset();
    for (int j = 0; j < ncol; ++j) {
        const std::string raw = j < (int)cp.names.size() ? cp.names[(size_t)j] : std::string();
        const std::string name = unique_name(clean_name(raw, o.keep_case), j + 1);
        const int v = add_var_raw(name.c_str(), types[(size_t)j]);
        if (v < 0) {
            clear_dataset();
            return session::error(-v);
        }
        std::string folded = raw;
        if (!o.keep_case)
            for (char &c : folded)
                c = (char)std::tolower((unsigned char)c);
        if (!raw.empty() && folded != name && varlabel_set(name.c_str(), raw)) {
            clear_dataset();
            return session::error(950);
        }
    }
    // Room for the rows; the fill writes every cell, missing values included.
    if (nobs + 1 > ds.maxobs) {
        int rc = nobs + 1 > INT32_MAX ? 901 : add_obs_room(nobs + 1 - ds.maxobs);
        if (rc) {
            clear_dataset();
            return session::error(rc == 9996 ? 901 : rc);
        }
    }
    ds.nobs = (int32_t)nobs;
    std::vector<int64_t> cut;
    if (int rc = csv_fill(cp, 1, cut)) {
        clear_dataset();
        return rc;
    }
    for (int j = 0; j < ncol; ++j)
        if (cut[(size_t)j] > 0)
            note("(note: " + std::to_string(cut[(size_t)j]) + " value" + (cut[(size_t)j] > 1 ? "s" : "") +
                 " of " + ds.varname[j] + " cut to " + std::to_string(maxstrvarlen) + " characters)\n");
    ds.changed = 0;
    ++ds.structure;
    return 0;
}

// The records whose count of values is not that of the first.
void ragged_notes(const CsvParse &cp) {
    int64_t named = 0, more = 0, pos = 0, line = 1;
    for (size_t r = 1; r < cp.nfields.size(); ++r) {
        if ((int)cp.nfields[r] == cp.expected) continue;
        if (named == RAGGED_NOTES) {
            ++more;
            continue;
        }
        line += std::count(cp.text + pos, cp.text + cp.starts[r], '\n');
        pos = cp.starts[r];
        note("(note: line " + std::to_string(line) + " has " + std::to_string(cp.nfields[r]) + " value" +
             (cp.nfields[r] == 1 ? "" : "s") + ", " + std::to_string(cp.expected) + " expected)\n");
        ++named;
    }
    if (more)
        note("(note: " + std::to_string(more) + " more line" + (more > 1 ? "s have" : " has") +
             " another count of values)\n");
}

} // namespace

// insheet using filename [, comma tab delimiter("c") names nonames clear double case]
int cmd_insheet(int) {
    const std::string w = gettok(SEP_STD);
    if (w != "using") return session::required("using");
    std::string name = gettok(SEP_FILE);
    if (!name.empty() && name[0] == '"') name.erase(0, 1);
    if (name.empty() || name == ",") return session::error(7197);
    InOpts o;
    const session::OptSpec specs[] = {
        session::opt_flag("comma", 5, o.comma),         session::opt_flag("tab", 3, o.tab),
        session::opt_text("delimiter", 5, o.delimiter), session::opt_flag("names", 5, o.names),
        session::opt_flag("nonames", 7, o.nonames),     session::opt_flag("clear", 5, o.clear),
        session::opt_flag("double", 6, o.dbl),          session::opt_flag("case", 4, o.keep_case)};
    if (int rc = session::parse_options(specs)) return rc;
    if ((o.comma + o.tab + !o.delimiter.empty()) > 1)
        return session::fail(198, "options comma, tab and delimiter() may not be combined\n");
    if (o.names && o.nonames) return session::fail(198, "options names and nonames may not be combined\n");
    CsvParse cp;
    if (!o.delimiter.empty())
        if (int rc = delimiter_of(o.delimiter, &cp.delim)) return rc;
    if (ds.changed && !o.clear) return session::error(4);

    const std::string path = with_extension(name, ".raw");
    Mapped file;
    if (int rc = map_file(path, file)) return rc;
    const int64_t size = file.size;
    if (session::looks_binary(file.p, (size_t)std::min<int64_t>(size, 4096)))
        return session::fail(610, "file \"" + path + "\" holds binary data, not delimited text\n");
    if (size >= PROGRESS_BYTES) {
        char line[64];
        std::snprintf(line, sizeof line, "(reading %.1f MB)\n", (double)size / 1e6);
        note(line);
        out::out_flush();
    }
    cp.text = file.p;
    cp.size = size;
    if (o.comma) cp.delim = ',';
    if (o.tab) cp.delim = '\t';
    if (!o.comma && !o.tab && o.delimiter.empty()) cp.delim = guess_delimiter(cp.text, size);
    cp.header = o.names ? 1 : o.nonames ? 0 : -1;
    cp.asdouble = o.dbl;
    if (int rc = csv_split(cp)) return rc;
    if (cp.open_quote) {
        // Where the quote that stays open was opened: the last opening quote of the last record.
        bool inq = false;
        int64_t at = cp.starts.back();
        for (int64_t k = cp.starts.back(); k < size; ++k)
            if (cp.text[k] == '"') {
                inq = !inq;
                if (inq) at = k;
            }
        return session::fail(612, "unexpected end of file: the quote opened on line " +
                                      std::to_string(line_of(cp.text, at)) + " is never closed\n");
    }
    if (int rc = csv_scan(cp)) return rc;
    if (int rc = build(cp, o)) return rc;
    ragged_notes(cp);
    note("(" + std::to_string(ds.nvar) + " var" + (ds.nvar == 1 ? "" : "s") + ", " + std::to_string(ds.nobs) +
         " obs)\n");
    return 0;
}

// ---- outsheet -------------------------------------------------------------------------------------

namespace {

struct OutOpts {
    bool comma = false, tab = false, nonames = false, nolabel = false, noquote = false, replace = false;
    std::string delimiter;
    char delim = '\t';
};

// How a variable's cells are written.
struct Column {
    int var;
    int type;
    const char *vallab; // null when its labels are not written
    std::string fmt;    // a date format, written through it; empty for others
};

void put_text(std::string &o, const char *s, size_t n, const OutOpts &opt) {
    if (opt.noquote) {
        o.append(s, n);
        return;
    }
    o.push_back('"');
    for (size_t k = 0; k < n; ++k) {
        if (s[k] == '"') o.push_back('"');
        o.push_back(s[k]);
    }
    o.push_back('"');
}

// One cell: strings as text, numbers so that they read back to the same value, `.` as nothing.
void put_cell(std::string &o, const Column &c, int32_t obs, const OutOpts &opt) {
    const char *cell = cell_addr(c.var, obs);
    if (is_string_type(c.type)) {
        put_text(o, cell, strnlen(cell, (size_t)c.type), opt);
        return;
    }
    const double x = cell_get(cell, c.type);
    if (c.vallab)
        if (const char *t = vl_text(c.vallab, x)) {
            put_text(o, t, std::strlen(t), opt);
            return;
        }
    if (is_missing(x)) {
        const int k = missing_index(x);
        if (k > 0) {
            o.push_back('.');
            o.push_back((char)('a' + k - 1));
        }
        return;
    }
    if (!c.fmt.empty()) {
        const std::string t = fmt_text(x, c.fmt.c_str());
        const size_t a = t.find_first_not_of(' ');
        if (a != std::string::npos) o.append(t, a, std::string::npos);
        return;
    }
    char buf[40];
    std::to_chars_result r;
    if (c.type == T_FLOAT)
        r = std::to_chars(buf, buf + sizeof buf, (float)x);
    else if (c.type == T_DOUBLE)
        r = std::to_chars(buf, buf + sizeof buf, x);
    else
        r = std::to_chars(buf, buf + sizeof buf, (int64_t)x);
    o.append(buf, r.ptr);
}

// Where the text goes: a new file beside the target, renamed into place when whole; a target that
// is not a regular file (a device, a pipe) is written as it stands.
struct Sink {
    std::string path, target, tmp;
    int fd = -1;
    bool failed = false;
    int err = 0;

    int open(bool replace) {
        struct stat sb;
        const bool exists = ::stat(path.c_str(), &sb) == 0;
        if (exists && !replace) return session::file_error(602, path);
        if (exists && !S_ISREG(sb.st_mode)) {
            if (S_ISDIR(sb.st_mode)) return session::file_error(603, path);
            fd = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
            if (fd < 0) return session::file_error(errno == EACCES ? 608 : 603, path);
            return 0;
        }
        if (exists && ::access(path.c_str(), W_OK) != 0 && errno == EACCES)
            return session::file_error(608, path);
        const size_t slash = path.rfind('/');
        const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash);
        const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
        tmp = dir + "/." + base + ".XXXXXX";
        fd = ::mkostemp(tmp.data(), O_CLOEXEC);
        if (fd < 0) {
            tmp.clear();
            return session::file_error(603, path);
        }
        mode_t mode;
        if (exists) {
            mode = sb.st_mode & 07777;
        } else {
            const mode_t mask = ::umask(0);
            ::umask(mask);
            mode = 0666 & ~mask;
        }
        (void)::fchmod(fd, mode);
        return 0;
    }
    void write(const std::string &s) {
        if (failed || s.empty()) return;
        if (!session::write_all(fd, s.data(), s.size())) {
            failed = true;
            err = errno;
        }
    }
    // Closes, and renames into place when all went well; otherwise removes the new file.
    int finish(bool stop) {
        const bool closed = ::close(fd) == 0;
        if (!closed && !failed) {
            failed = true;
            err = errno;
        }
        if (stop || failed) {
            if (!tmp.empty()) ::unlink(tmp.c_str());
            if (stop) return 1;
            return err == ENOSPC ? session::file_error(699, "") : session::file_error(693, path);
        }
        if (!tmp.empty() && ::rename(tmp.c_str(), path.c_str()) != 0) {
            ::unlink(tmp.c_str());
            return session::error(694);
        }
        return 0;
    }
};

} // namespace

// outsheet [varlist] using filename [if] [in] [, comma tab delimiter("c") nonames nolabel noquote
// replace]
int cmd_outsheet(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    spec.usingf = PO_REQUIRED;
    if (int rc = std_parse(spec)) return rc;
    OutOpts o;
    const session::OptSpec specs[] = {
        session::opt_flag("comma", 5, o.comma),         session::opt_flag("tab", 3, o.tab),
        session::opt_text("delimiter", 5, o.delimiter), session::opt_flag("nonames", 7, o.nonames),
        session::opt_flag("nolabel", 7, o.nolabel),     session::opt_flag("noquote", 7, o.noquote),
        session::opt_flag("replace", 7, o.replace)};
    if (int rc = std_options(specs)) return rc;
    if ((o.comma + o.tab + !o.delimiter.empty()) > 1)
        return session::fail(198, "options comma, tab and delimiter() may not be combined\n");
    if (o.comma) o.delim = ',';
    if (!o.delimiter.empty())
        if (int rc = delimiter_of(o.delimiter, &o.delim)) return rc;

    std::vector<Column> cols;
    bool serial = false; // value labels and date formats are read through shared tables
    auto add = [&](int v) {
        Column c{v, ds.vartype[v - 1], nullptr, {}};
        if (!is_string_type(c.type)) {
            if (!o.nolabel && ds.vallab[v - 1][0] && vl_exists(ds.vallab[v - 1])) c.vallab = ds.vallab[v - 1];
            Fmt f;
            if (fmt_parse(ds.fmt[v - 1], f, true) == 0 && fmt_isdate(f)) c.fmt = ds.fmt[v - 1];
            serial = serial || c.vallab || !c.fmt.empty();
        }
        cols.push_back(c);
    };
    if (ps.count > 0) {
        for (int k = 0; k < ps.count; ++k)
            if (ps.var[k] > 0) add(ps.var[k]);
    } else {
        for (int v = 1; v <= ds.nvar; ++v)
            if (ds.varname[v - 1][0] != '(') add(v);
    }
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;

    Sink sink;
    sink.path = with_extension(sm.usingfile, ".out");
    if (int rc = sink.open(o.replace)) return rc;
    if (!o.nonames && !cols.empty()) {
        std::string head;
        for (size_t k = 0; k < cols.size(); ++k) {
            if (k) head.push_back(o.delim);
            head += ds.varname[cols[k].var - 1];
        }
        head.push_back('\n');
        sink.write(head);
    }
    bool stop = false;
    const int threads = serial ? 1 : est::choose_team(WRITE_BATCH, est::granularity("csv_write_smp")).size;
    std::vector<std::string> text((size_t)std::max(1, threads));
    for (size_t at = 0; at < obs.size() && !sink.failed && !stop; at += WRITE_BATCH) {
        const int64_t n = std::min<int64_t>(WRITE_BATCH, (int64_t)(obs.size() - at));
        est::Team tm =
            serial ? est::Team{1, n, n, false} : est::choose_team(n, est::granularity("csv_write_smp"));
        if (text.size() < (size_t)tm.size) text.resize((size_t)tm.size);
        stop = est::run_region(tm, [&](int t, int64_t lo, int64_t hi) {
                   std::string &s = text[(size_t)t];
                   s.clear();
                   for (int64_t k = lo; k < hi; ++k) {
                       if ((k & 1023) == 0 && est::break_pending()) return;
                       const int32_t i = obs[at + (size_t)k];
                       for (size_t c = 0; c < cols.size(); ++c) {
                           if (c) s.push_back(o.delim);
                           put_cell(s, cols[c], i, o);
                       }
                       s.push_back('\n');
                   }
               }) != 0;
        for (int t = 0; t < tm.size && !stop; ++t)
            sink.write(text[(size_t)t]);
    }
    return sink.finish(stop);
}

} // namespace data
