// The data file: reading every known format, loading a file into the dataset, and writing one.
#include "data/dtafile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "data/expr.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/types.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/fileio.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

constexpr bool machine_lohi = std::endian::native == std::endian::little;

// Rows go through a buffer of this size (at least two rows) when they cannot be read in place.
constexpr int64_t ROWBUF = 1 << 20;
// Rows read straight into the store go in pieces of this size, so that a Break is seen.
constexpr int64_t DIRECT_PIECE = 8 << 20;

// ---- The versions ---------------------------------------------------------------------------------

// One row per format: what its header and descriptors hold and how wide each slot is.
struct Layout {
    int format;
    int nobs_bytes; // 2 (format 102) or 4
    int label;      // slot of the data label
    bool stamp;     // an 18-byte time stamp behind the label
    bool letters;   // type list in letters, not codes
    int name;       // slot of a variable name, and of the names of a characteristic
    int fmt;        // slot of a format
    int vallab;     // slot of a value-label name, in the descriptors and in front of a table
    int varlabel;   // slot of a variable label
    int exphead;    // bytes of the head of an expansion field: 0 none, 3, 5
    bool newlabels; // value-label tables in the form with a body
};

#define DTA_VERSIONS(X)                                                                                      \
    X(102, 2, 32, false, true, 9, 7, 9, 32, 0, false)                                                        \
    X(103, 4, 32, false, true, 9, 7, 9, 32, 0, false)                                                        \
    X(104, 4, 32, false, true, 9, 7, 9, 32, 0, false)                                                        \
    X(105, 4, 32, true, true, 9, 12, 9, 32, 3, false)                                                        \
    X(106, 4, 32, true, true, 9, 12, 9, 32, 3, true)                                                         \
    X(107, 4, 81, true, true, 9, 12, 9, 81, 3, true)                                                         \
    X(108, 4, 81, true, true, 9, 12, 9, 81, 3, true)                                                         \
    X(110, 4, 81, true, true, 33, 12, 33, 81, 5, true)                                                       \
    X(111, 4, 81, true, false, 33, 12, 33, 81, 5, true)                                                      \
    X(112, 4, 81, true, true, 33, 12, 33, 81, 5, true)                                                       \
    X(113, 4, 81, true, false, 33, 12, 33, 81, 5, true)                                                      \
    X(114, 4, 81, true, false, 33, 49, 33, 81, 5, true)

#define DTA_LAYOUT_ROW(f, nb, lab, st, let, nm, fm, vl, vlab, eh, nl)                                        \
    {f, nb, lab, st, let, nm, fm, vl, vlab, eh, nl},
constexpr Layout layouts[] = {DTA_VERSIONS(DTA_LAYOUT_ROW)};
#undef DTA_LAYOUT_ROW

const Layout *layout_of(int format) {
    for (const Layout &l : layouts)
        if (l.format == format) return &l;
    return nullptr;
}

// The header: format, byte order, file type, an unused byte, the variable count, then the
// observation count, the label and the stamp, each behind the other.
int label_at(const Layout &l) { return 6 + l.nobs_bytes; }
int header_bytes(const Layout &l) { return label_at(l) + l.label + (l.stamp ? DTA_STAMPLEN : 0); }

// Formats before 112 hold the old integer and floating types, with their single missing values.
bool legacy_format(int format) { return format < 112; }

// ---- Bytes ----------------------------------------------------------------------------------------

uint16_t get16(const char *p, bool swap) {
    uint16_t v;
    std::memcpy(&v, p, 2);
    return swap ? __builtin_bswap16(v) : v;
}
int32_t get32(const char *p, bool swap) {
    uint32_t v;
    std::memcpy(&v, p, 4);
    return (int32_t)(swap ? __builtin_bswap32(v) : v);
}
void swap_in_place(char *p, int w) {
    switch (w) {
    case 2: {
        uint16_t v;
        std::memcpy(&v, p, 2);
        v = __builtin_bswap16(v);
        std::memcpy(p, &v, 2);
        return;
    }
    case 4: {
        uint32_t v;
        std::memcpy(&v, p, 4);
        v = __builtin_bswap32(v);
        std::memcpy(p, &v, 4);
        return;
    }
    case 8: {
        uint64_t v;
        std::memcpy(&v, p, 8);
        v = __builtin_bswap64(v);
        std::memcpy(p, &v, 8);
        return;
    }
    default:
        return;
    }
}

// Reads up to n bytes at offset at; the count read, or -1 on an error.
int64_t read_at(int fd, char *p, int64_t n, int64_t at) {
    int64_t got = 0;
    while (got < n) {
        ssize_t r = ::pread(fd, p + got, (size_t)std::min<int64_t>(n - got, 1 << 30), (off_t)(at + got));
        if (r < 0 && errno == EINTR) continue;
        if (r < 0) return -1;
        if (r == 0) break;
        got += r;
    }
    return got;
}

// A text slot: up to its first NUL, and never its last byte, which belongs to the terminator.
std::string slot_text(const char *p, int slot) { return std::string(p, strnlen(p, (size_t)slot - 1)); }

// ---- Types and names --------------------------------------------------------------------------------

// The type code of a type-list byte, or 0 for none.
int type_of_byte(uint8_t b, const Layout &l) {
    int t = 0;
    if (l.letters) {
        switch (b) {
        case 'b':
            t = T_BYTE;
            break;
        case 'i':
            t = T_INT;
            break;
        case 'l':
            t = T_LONG;
            break;
        case 'f':
            t = T_FLOAT;
            break;
        case 'd':
            t = T_DOUBLE;
            break;
        default:
            t = b > 127 ? b - 127 : 0;
        }
    } else {
        t = (is_string_type(b) || (b >= T_BYTE && b <= T_DOUBLE)) ? b : 0;
    }
    if (t >= T_BYTE && legacy_format(l.format)) t = t - T_BYTE + T_LBYTE;
    return t;
}

bool is_name_char(char c, bool first) {
    const unsigned char u = (unsigned char)c;
    if (first) return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_';
    return session::name_ok(std::string("_") + c);
}

// A name that breaks the name rule: every character that cannot stand in a name becomes `_`, and a
// name that cannot begin as it does, or is a reserved word, gets `_` in front (or, when it begins
// with `_` already, behind).
std::string mended_name(const std::string &raw) {
    std::string s;
    for (char c : raw)
        s.push_back(is_name_char(c, false) ? c : '_');
    if (s.empty() || !is_name_char(s[0], true)) s.insert(s.begin(), '_');
    if (s.size() > (size_t)VNAMELEN) s.resize(VNAMELEN);
    if (!newname_ok(s.c_str())) {
        if (s[0] == '_')
            s.push_back('_');
        else
            s.insert(s.begin(), '_');
        if (s.size() > (size_t)VNAMELEN) s.resize(VNAMELEN);
    }
    return s;
}

// The names of the file as the dataset will hold them: names that break the rule (all names with
// a dot in formats before 107) are mended, and a name that repeats an earlier one gets a number.
void settle_names(DtaFile &f, const std::vector<std::string> &raw) {
    std::vector<std::string> taken;
    auto is_taken = [&](const std::string &n) {
        return std::find(taken.begin(), taken.end(), n) != taken.end();
    };
    for (size_t v = 0; v < raw.size(); ++v) {
        const std::string &r = raw[v];
        const bool dotted = f.format < 107 && r.find('.') != std::string::npos;
        std::string n = (r == "(e)" || (!dotted && newname_ok(r.c_str()))) ? r : mended_name(r);
        if (is_taken(n)) {
            for (int k = 2;; ++k) {
                const std::string tail = std::to_string(k);
                std::string c = n.substr(0, std::min(n.size(), (size_t)VNAMELEN - tail.size())) + tail;
                if (!is_taken(c)) {
                    n = c;
                    break;
                }
            }
        }
        if (n != r) f.renamed.push_back({r, n});
        taken.push_back(n);
        std::snprintf(f.vars[v].name, sizeof f.vars[v].name, "%s", n.c_str());
    }
}

// A format of the file: kept when it is valid for the variable's type, else the type's default.
void settle_format(DtaVar &v, const std::string &text) {
    Fmt parsed;
    const bool str = is_string_type(v.type);
    if (!text.empty() && text.size() <= (size_t)FMTLEN && fmt_parse(text, parsed, true) == 0 &&
        fmt_isstr(parsed) == str) {
        std::snprintf(v.fmt, sizeof v.fmt, "%s", text.c_str());
        return;
    }
    default_format(v.type, v.fmt);
}

// The bits of 2^333, the `.` of double cells in formats before 108, and of 2^1023, the legacy `.`.
constexpr uint64_t OLD_DOT_BITS = 0x54C0000000000000ull;
constexpr uint64_t LEGACY_DOT_BITS = 0x7FE0000000000000ull;

int later_format(const std::string &path) {
    return session::fail_rimu(610, "{p 0 4}\nfile \"" + path +
                                       "\" from more recent version of Orvat;\ntype {cmd:update query} "
                                       "to learn how to obtain the latest version\n{p_end}\n");
}

// Reads the expansion fields from pos: characteristics into f.chars, others skipped. The position
// behind them, or -1 for a field that runs past the end of the file.
int64_t read_expansion(DtaFile &f, const Layout &l, int64_t pos, const std::vector<std::string> &raw) {
    const int h = l.exphead;
    std::vector<char> content;
    for (;;) {
        char head[5];
        if (pos + h > f.size || read_at(f.fd, head, h, pos) != h) return -1;
        pos += h;
        const uint8_t type = (uint8_t)head[0];
        const int64_t len = h == 3 ? get16(head + 1, f.swap) : get32(head + 1, f.swap);
        if (type == 0 && len == 0) return pos;
        if (len < 0 || pos + len > f.size) return -1;
        const int slot = l.name;
        if (type == 1 && len > 2 * slot) {
            content.resize((size_t)len);
            if (read_at(f.fd, content.data(), len, pos) != len) return -1;
            const std::string owner = slot_text(content.data(), slot);
            const std::string name = slot_text(content.data() + slot, slot);
            const char *text = content.data() + 2 * slot;
            const std::string body(text, strnlen(text, (size_t)(len - 2 * slot)));
            // A variable's characteristic follows its name when that was mended.
            std::string o;
            if (owner == DTA_OWNER) o = owner;
            for (size_t v = 0; v < raw.size() && o.empty(); ++v)
                if (raw[v] == owner) o = f.vars[v].name;
            if (!o.empty() && session::name_ok(name) && !body.empty()) f.chars.push_back({o, name, body});
        }
        pos += len;
    }
}

} // namespace

// ---- Opening --------------------------------------------------------------------------------------

DtaFile::~DtaFile() { dta_close(*this); }

void dta_close(DtaFile &f) {
    if (f.fd >= 0) ::close(f.fd);
    f.fd = -1;
}

int dta_open(const std::string &path, DtaFile &f) {
    dta_close(f);
    f.path = path;
    f.vars.clear();
    f.sortlist.clear();
    f.chars.clear();
    f.renamed.clear();
    f.next_row = 0;

    struct stat sb;
    if (::stat(path.c_str(), &sb) != 0)
        return session::file_error(errno == ENOENT || errno == ENOTDIR ? 601 : 603, path);
    if (!S_ISREG(sb.st_mode)) return session::file_error(603, path);
    f.fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (f.fd < 0) return session::file_error(errno == ENOENT ? 601 : 603, path);
    if (::fstat(f.fd, &sb) != 0) return session::file_error(692, path);
    f.size = sb.st_size;

    // The header.
    char head[109] = {};
    const int64_t got = read_at(f.fd, head, std::min<int64_t>(f.size, sizeof head), 0);
    if (got < 0) return session::file_error(692, path);
    if (got < 1) return session::file_error(610, path);
    f.format = (uint8_t)head[0];
    if (f.format == 115 || f.format == 116) return later_format(path);
    const Layout *lp = layout_of(f.format);
    if (!lp) return session::file_error(610, path);
    const Layout &l = *lp;
    if (got < header_bytes(l)) return session::file_error(610, path);
    int order = 2;
    if (f.format != 102) {
        order = (uint8_t)head[1];
        if (order != 1 && order != 2) return session::file_error(610, path);
    }
    f.swap = (order == 2) != machine_lohi;
    if (head[2] != 1) return session::file_error(609, path);
    f.nvar = get16(head + 4, f.swap);
    f.nobs = l.nobs_bytes == 2 ? (int32_t)get16(head + 6, f.swap) : get32(head + 6, f.swap);
    if (f.nobs < 0) return session::file_error(688, path);
    if (f.nvar > ds.maxvar) return session::error(900);
    std::snprintf(f.label, sizeof f.label, "%s", slot_text(head + label_at(l), l.label).c_str());
    f.stamp[0] = 0;
    if (l.stamp)
        std::snprintf(f.stamp, sizeof f.stamp, "%s",
                      slot_text(head + label_at(l) + l.label, DTA_STAMPLEN).c_str());

    // The descriptors, checked against the file's size before they are read.
    const int64_t nv = f.nvar;
    const int64_t dbytes = nv * (1 + l.name + l.fmt + l.vallab + l.varlabel) + 2 * (nv + 1);
    int64_t pos = header_bytes(l);
    if (pos + dbytes > f.size) return session::file_error(688, path);
    std::vector<char> d((size_t)dbytes);
    if (read_at(f.fd, d.data(), dbytes, pos) != dbytes) return session::file_error(692, path);
    pos += dbytes;
    const char *types = d.data();
    const char *names = types + nv;
    const char *sorts = names + nv * l.name;
    const char *fmts = sorts + 2 * (nv + 1);
    const char *vallabs = fmts + nv * l.fmt;
    const char *varlabels = vallabs + nv * l.vallab;

    f.vars.resize((size_t)nv);
    std::vector<std::string> raw((size_t)nv);
    int64_t width = 0;
    for (int64_t v = 0; v < nv; ++v) {
        DtaVar &x = f.vars[(size_t)v];
        const int t = type_of_byte((uint8_t)types[v], l);
        if (!t) return session::file_error(688, path);
        x.type = (uint8_t)t;
        x.offset = (int32_t)width;
        width += type_width(t);
        raw[(size_t)v] = slot_text(names + v * l.name, l.name);
        settle_format(x, slot_text(fmts + v * l.fmt, l.fmt));
        const std::string vl = slot_text(vallabs + v * l.vallab, l.vallab);
        if (session::name_ok(vl)) std::snprintf(x.vallab, sizeof x.vallab, "%s", vl.c_str());
        x.label = slot_text(varlabels + v * l.varlabel, l.varlabel);
    }
    f.width = (int32_t)width;
    settle_names(f, raw);
    // The sort list ends at its 0, or at the first entry that is no variable or a repeat.
    for (int64_t k = 0; k < nv; ++k) {
        const int s = get16(sorts + 2 * k, f.swap);
        if (s < 1 || s > nv || std::find(f.sortlist.begin(), f.sortlist.end(), s) != f.sortlist.end()) break;
        f.sortlist.push_back(s);
    }

    if (l.exphead) {
        pos = read_expansion(f, l, pos, raw);
        if (pos < 0) return session::file_error(688, path);
    }
    f.data_at = pos;
    const int64_t fit = f.width > 0 ? (f.size - f.data_at) / f.width : f.nobs;
    f.nrows = (int32_t)std::min<int64_t>(f.nobs, fit);
    f.olddot.assign((size_t)nv, 0);
    return 0;
}

int dta_modern_type(int t) {
    switch (t) {
    case T_LBYTE:
        return T_INT;
    case T_LINT:
        return T_LONG;
    case T_LLONG:
        return T_DOUBLE;
    case T_LFLOAT:
        return T_FLOAT;
    case T_LDOUBLE:
        return T_DOUBLE;
    default:
        return t;
    }
}

// ---- Rows -----------------------------------------------------------------------------------------

namespace {

// Brings n rows of the file at p into the machine's byte order, and the oldest `.` of doubles to the
// legacy `.`.
void fix_rows(DtaFile &f, char *p, int32_t n) {
    const bool olddot = f.format < 108;
    if (!f.swap && !olddot) return;
    for (size_t v = 0; v < f.vars.size(); ++v) {
        const DtaVar &x = f.vars[v];
        if (is_string_type(x.type)) continue;
        const int w = type_width(x.type);
        const bool dbl = olddot && x.type == T_LDOUBLE;
        if (!f.swap && !dbl) continue;
        char *c = p + x.offset;
        for (int32_t r = 0; r < n; ++r, c += f.width) {
            if (f.swap) swap_in_place(c, w);
            if (dbl) {
                uint64_t u;
                std::memcpy(&u, c, 8);
                if (u == OLD_DOT_BITS) {
                    u = LEGACY_DOT_BITS;
                    std::memcpy(c, &u, 8);
                    f.olddot[v] = 1;
                }
            }
        }
    }
}

} // namespace

int dta_read_rows(DtaFile &f, char *dest, int32_t max, int32_t *got) {
    *got = 0;
    const int32_t n = std::min(max, f.nrows - f.next_row);
    if (n <= 0) return 0;
    if (f.width == 0) {
        f.next_row += n;
        *got = n;
        return 0;
    }
    const int64_t bytes = (int64_t)n * f.width;
    const int64_t r = read_at(f.fd, dest, bytes, f.data_at + (int64_t)f.next_row * f.width);
    if (r < 0) return session::file_error(692, f.path);
    const int32_t whole = (int32_t)(r / f.width);
    if (whole < n) f.nrows = f.next_row + whole; // the file ended early: the rows end here
    fix_rows(f, dest, whole);
    f.next_row += whole;
    *got = whole;
    return 0;
}

void dta_skip_rows(DtaFile &f, int32_t n) {
    if (n > 0) f.next_row = (int32_t)std::min<int64_t>((int64_t)f.next_row + n, f.nrows);
}

// ---- Value labels ---------------------------------------------------------------------------------

namespace {

// A body whose labels are checked for their length; false when one is longer than allowed. Bodies
// that are damaged otherwise are left to the store's own check.
bool labels_fit(const char *body, int32_t bytes) {
    if (bytes < 8) return true;
    int32_t n, txtlen;
    std::memcpy(&n, body, 4);
    std::memcpy(&txtlen, body + 4, 4);
    if (n < 0 || txtlen < 0 || 8 + 8 * (int64_t)n + txtlen > bytes) return true;
    const char *txt = body + 8 + 8 * (int64_t)n;
    for (int32_t k = 0; k < n; ++k) {
        int32_t o;
        std::memcpy(&o, body + 8 + 4 * (int64_t)k, 4);
        if (o < 0 || o >= txtlen) continue;
        if (strnlen(txt + o, (size_t)(txtlen - o)) > (size_t)LABELTEXT_MAX) return false;
    }
    return true;
}

void read_new_labels(DtaFile &f, const Layout &l, int64_t pos,
                     const std::function<bool(const char *)> &wanted, std::vector<DtaLabelNote> &notes) {
    const int namepart = l.vallab + 3;
    std::vector<char> body;
    for (;;) {
        char head[4 + 36] = {};
        const int64_t got = read_at(f.fd, head, 4 + namepart, pos);
        if (got < 4) return;
        const int32_t len = get32(head, f.swap);
        if (len <= 0) return;
        const std::string name = slot_text(head + 4, l.vallab);
        if (got < 4 + namepart || pos + 4 + namepart + len > f.size) {
            notes.push_back({DtaLabelNote::FAILED, name, 688});
            return;
        }
        pos += 4 + namepart;
        const int64_t at = pos;
        pos += len;
        if (!session::name_ok(name)) {
            notes.push_back({DtaLabelNote::FAILED, name, 688});
            continue;
        }
        if (wanted && !wanted(name.c_str())) continue;
        if (vl_exists(name.c_str())) {
            notes.push_back({DtaLabelNote::EXISTS, name});
            continue;
        }
        body.resize((size_t)len);
        if (read_at(f.fd, body.data(), len, at) != len) {
            notes.push_back({DtaLabelNote::FAILED, name, 692});
            return;
        }
        if (f.swap) {
            // The count and the text length, then the offsets and the values.
            int32_t n = len >= 4 ? get32(body.data(), true) : -1;
            if (n < 0 || 8 + 8 * (int64_t)n > len) {
                notes.push_back({DtaLabelNote::FAILED, name, 688});
                continue;
            }
            for (int64_t k = 0; k < 2 + 2 * (int64_t)n; ++k)
                swap_in_place(body.data() + 4 * k, 4);
        }
        if (!labels_fit(body.data(), len)) {
            notes.push_back({DtaLabelNote::TOO_LONG, name});
            continue;
        }
        if (int rc = vl_store_body(name.c_str(), body.data(), len))
            notes.push_back({DtaLabelNote::FAILED, name, rc});
    }
}

// The form before 106: a count and a name, then the values, then texts of 8 bytes; the end of the
// file ends the tables.
void read_old_labels(DtaFile &f, int64_t pos, const std::function<bool(const char *)> &wanted,
                     std::vector<DtaLabelNote> &notes) {
    std::vector<char> part;
    for (;;) {
        char head[12];
        if (read_at(f.fd, head, 12, pos) != 12) return;
        const int64_t n = get16(head, f.swap);
        const std::string name = std::string(head + 2, strnlen(head + 2, 9));
        pos += 12;
        if (pos + 10 * n > f.size) {
            notes.push_back({DtaLabelNote::FAILED, name, 688});
            return;
        }
        const int64_t at = pos;
        pos += 10 * n;
        if (!session::name_ok(name)) {
            notes.push_back({DtaLabelNote::FAILED, name, 688});
            continue;
        }
        if (wanted && !wanted(name.c_str())) continue;
        if (vl_exists(name.c_str())) {
            notes.push_back({DtaLabelNote::EXISTS, name});
            continue;
        }
        part.resize((size_t)(10 * n));
        if (read_at(f.fd, part.data(), 10 * n, at) != 10 * n) {
            notes.push_back({DtaLabelNote::FAILED, name, 692});
            return;
        }
        std::vector<ValueLabel> entries((size_t)n);
        for (int64_t k = 0; k < n; ++k) {
            entries[(size_t)k].key = (int16_t)get16(part.data() + 2 * k, f.swap);
            const char *t = part.data() + 2 * n + 8 * k;
            entries[(size_t)k].text.assign(t, strnlen(t, 8));
        }
        if (int rc = vl_store(name.c_str(), std::move(entries)))
            notes.push_back({DtaLabelNote::FAILED, name, rc});
    }
}

} // namespace

void dta_read_labels(DtaFile &f, const std::function<bool(const char *)> &wanted,
                     std::vector<DtaLabelNote> &notes) {
    const Layout *l = layout_of(f.format);
    if (!l || f.fd < 0) return;
    const int64_t pos = f.data_at + (int64_t)f.nobs * f.width;
    if (l->newlabels)
        read_new_labels(f, *l, pos, wanted, notes);
    else
        read_old_labels(f, pos, wanted, notes);
}

void dta_label_notes(const DtaFile &f, const std::vector<DtaLabelNote> &notes) {
    for (const DtaLabelNote &n : notes) {
        switch (n.kind) {
        case DtaLabelNote::TOO_LONG: {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text("value label " + n.name + " contains labels longer than " +
                          std::to_string(LABELTEXT_MAX) + " characters\n");
            break;
        }
        case DtaLabelNote::EXISTS: {
            out::ClassScope cs(out::CLS_TEXT);
            out::out_text("(label " + n.name + " already defined)\n");
            break;
        }
        case DtaLabelNote::FAILED:
            if (n.code >= 600 && n.code < 700)
                session::file_error(n.code, f.path);
            else
                session::error(n.code);
            session::fail(0, "above message refers to value label " + n.name + "; value label not loaded\n");
            break;
        }
    }
}

// ---- Loading --------------------------------------------------------------------------------------

namespace {

// A piece of a row that is copied as it stands: from the file's row to the store's.
struct Run {
    int32_t from, to, len;
};

// The runs that bring the cells of the variables with flags set together, in file order.
std::vector<Run> squeeze_runs(const DtaFile &f, const std::vector<uint8_t> &take) {
    std::vector<Run> runs;
    int32_t to = 0;
    for (size_t v = 0; v < f.vars.size(); ++v) {
        if (!take[v]) continue;
        const int32_t w = type_width(f.vars[v].type);
        if (!runs.empty() && runs.back().from + runs.back().len == f.vars[v].offset &&
            runs.back().to + runs.back().len == to)
            runs.back().len += w;
        else
            runs.push_back({f.vars[v].offset, to, w});
        to += w;
    }
    return runs;
}

char *store_row(int32_t k) { return ds.database + (int64_t)ds.index[k] * ds.width; }

// Makes sure that n rows and one spare fit.
int room_for(int64_t n) {
    if (n + 1 <= ds.maxobs) return 0;
    if (n + 1 > INT32_MAX) return session::error(901);
    int rc = add_obs_room(n + 1 - ds.maxobs);
    return rc ? session::error(rc == 9996 ? 901 : rc) : 0;
}

// Turns a variable of a legacy type into its modern type: the one missing value becomes `.`, and
// values the modern type keeps for its missing values make it the next wider type.
int modernize(int v) {
    const int t = ds.vartype[v - 1];
    const int32_t n = ds.nobs;
    switch (t) {
    case T_LBYTE:
    case T_LINT:
    case T_LLONG: {
        const TypeRow &old = type_row(t);
        const int modern = t - T_LBYTE + T_BYTE;
        const TypeRow &now = type_row(modern);
        for (int32_t i = 1; i <= n; ++i) {
            const double x = get_num(v, i);
            if (!is_missing(x) && (x > now.hi || x < now.lo)) return promote(v, dta_modern_type(t), n);
        }
        // Only the old missing value moves: every other value keeps its bytes.
        for (int32_t i = 1; i <= n; ++i) {
            char *c = cell_addr(v, i);
            int32_t x = t == T_LBYTE ? (int8_t)*c : 0;
            if (t == T_LINT) {
                int16_t s;
                std::memcpy(&s, c, 2);
                x = s;
            } else if (t == T_LLONG) {
                std::memcpy(&x, c, 4);
            }
            if (x == old.miss) cell_put(c, modern, session::lim.dot);
        }
        ds.vartype[v - 1] = (uint8_t)modern;
        break;
    }
    case T_LFLOAT: {
        const float top = ffrom(0x7EFFFFFFu);
        for (int32_t i = 1; i <= n; ++i) {
            float x;
            std::memcpy(&x, cell_addr(v, i), 4);
            if (x < -top) return promote(v, T_DOUBLE, n);
        }
        for (int32_t i = 1; i <= n; ++i) {
            char *c = cell_addr(v, i);
            float x;
            std::memcpy(&x, c, 4);
            if (!(x <= top)) std::memcpy(c, &session::lim.fdot, 4);
        }
        ds.vartype[v - 1] = T_FLOAT;
        break;
    }
    case T_LDOUBLE:
        for (int32_t i = 1; i <= n; ++i) {
            char *c = cell_addr(v, i);
            double x;
            std::memcpy(&x, c, 8);
            if (!(x < session::lim.dot)) std::memcpy(c, &session::lim.dot, 8);
        }
        ds.vartype[v - 1] = T_DOUBLE;
        break;
    default:
        return 0;
    }
    ++ds.structure;
    return 0;
}

int load_core(DtaFile &f, DtaLoad &ld) {
    const size_t nv = f.vars.size();
    std::vector<uint8_t> keep(nv, 1);
    if (!ld.keep.empty())
        for (size_t v = 0; v < nv; ++v)
            keep[v] = v < ld.keep.size() && ld.keep[v];
    const bool subset = std::find(keep.begin(), keep.end(), 0) != keep.end();
    // An `if` is run on whole rows of the file: its variables are numbered as in the file.
    const std::vector<uint8_t> inrow = ld.ifexp ? std::vector<uint8_t>(nv, 1) : keep;
    const int32_t first = std::max(ld.first, 1);
    const int32_t last = ld.last > 0 ? std::min(ld.last, f.nrows) : f.nrows;

    for (size_t v = 0; v < nv; ++v) {
        if (!inrow[v]) continue;
        const DtaVar &x = f.vars[v];
        const int r = add_var_raw(x.name, x.type);
        if (r < 0) return session::error(-r == 1010 || -r == 902 ? 1000 : -r);
        std::memcpy(ds.fmt[r - 1], x.fmt, sizeof x.fmt);
        std::memcpy(ds.vallab[r - 1], x.vallab, sizeof x.vallab);
    }
    ds.nvar_visible = ds.nvar;

    // The rows.
    const std::vector<Run> runs = squeeze_runs(f, inrow);
    int64_t want = std::max<int64_t>(0, (int64_t)last - first + 1);
    if (!ld.ifexp)
        if (int rc = room_for(want)) return rc;
    dta_skip_rows(f, first - 1 - f.next_row);
    const bool direct = !ld.ifexp && !subset && f.width > 0 && ds.width == f.width;
    const int64_t rowbytes = std::max<int32_t>(f.width, 1);
    const int32_t per = (int32_t)std::max<int64_t>(2, (direct ? DIRECT_PIECE : ROWBUF) / rowbytes);
    std::vector<char> buf(direct ? 0 : (size_t)(per * rowbytes));
    int32_t kept = 0;
    int64_t filerow = first; // of the next row read
    while (want > 0) {
        if (session::poll_break()) return 1;
        const int32_t n = (int32_t)std::min<int64_t>(want, per);
        int32_t got = 0;
        char *dst = direct ? store_row(kept) : buf.data();
        if (int rc = dta_read_rows(f, dst, n, &got)) return rc;
        if (got == 0) break;
        if (direct) {
            kept += got;
        } else {
            for (int32_t r = 0; r < got; ++r, ++filerow) {
                if (ld.ifexp)
                    if (int rc = room_for((int64_t)kept + 1)) return rc;
                const char *src = buf.data() + (int64_t)r * f.width;
                char *row = store_row(kept);
                for (const Run &run : runs)
                    std::memcpy(row + run.to, src + run.from, (size_t)run.len);
                if (!ld.ifexp) {
                    ++kept;
                    continue;
                }
                // _n and _N count the rows of the file.
                ds.nobs = kept + 1;
                const int32_t g = (int32_t)(kept + 1 - filerow + 1);
                expr_set_ranges(*ld.ifexp, g, g + f.nrows - 1, g, g + f.nrows - 1);
                expr_lastrc = 0;
                const double keepit = expr_xeqforby(*ld.ifexp, kept + 1);
                if (expr_lastrc) return expr_lastrc;
                if (keepit != 0) ++kept;
            }
        }
        ds.nobs = kept;
        want -= got;
        if (got < n) break;
    }
    ds.nobs = kept;

    // Variables that an `if` needed but that are not kept.
    if (ld.ifexp && subset) {
        std::vector<uint8_t> drop(nv);
        for (size_t v = 0; v < nv; ++v)
            drop[v] = !keep[v];
        if (int rc = drop_vars(drop.data())) return rc;
    }
    // The number in the dataset of each variable of the file, 0 when it is not loaded.
    std::vector<int> where(nv + 1, 0);
    for (size_t v = 0, k = 0; v < nv; ++v)
        if (keep[v]) where[v + 1] = (int)++k;

    // The oldest `.` in a sorted double leaves the order unknown.
    if (f.format < 108) {
        bool hit = false;
        for (int s : f.sortlist)
            if (where[s] && f.olddot[(size_t)s - 1]) hit = true;
        if (hit) {
            for (int s : f.sortlist) {
                if (!where[s]) break;
                ld.sort_names.push_back(f.vars[(size_t)s - 1].name);
            }
        }
    }
    if (legacy_format(f.format))
        for (int v = 1; v <= ds.nvar; ++v)
            if (int rc = modernize(v)) return rc;

    size_t k = 0;
    if (ld.sort_names.empty())
        for (int s : f.sortlist) {
            if (!where[s]) break;
            ds.sortlist[k++] = (int16_t)where[s];
        }
    ds.sortlist[k] = 0;
    std::snprintf(ds.datalabel, sizeof ds.datalabel, "%s", f.label);
    for (size_t v = 0; v < nv; ++v)
        if (keep[v] && !f.vars[v].label.empty())
            if (varlabel_set(f.vars[v].name, f.vars[v].label)) return session::error(950);
    for (const DtaChar &c : f.chars) {
        if (c.owner != DTA_OWNER && !find_var(c.owner.c_str())) continue;
        if (char_set(c.owner.c_str(), c.name.c_str(), c.text) == 950) return session::error(950);
    }

    if (!ld.nolabel) {
        if (subset) {
            auto used = [](const char *name) {
                for (int v = 1; v <= ds.nvar; ++v)
                    if (std::strcmp(ds.vallab[v - 1], name) == 0) return true;
                return false;
            };
            dta_read_labels(f, used, ld.notes);
        } else {
            dta_read_labels(f, nullptr, ld.notes);
        }
    }
    ds.changed = 0;
    ++ds.structure;
    return 0;
}

} // namespace

int dta_load(DtaFile &f, DtaLoad &ld) {
    ld.notes.clear();
    ld.sort_names.clear();
    // What can be known before the dataset goes: the width and the count of the row in the store.
    int64_t w = 0;
    int32_t n = 0;
    for (size_t v = 0; v < f.vars.size(); ++v)
        if (ld.ifexp || ld.keep.empty() || (v < ld.keep.size() && ld.keep[v])) {
            w += type_width(f.vars[v].type);
            ++n;
        }
    if (n > ds.maxvar - 1) return session::error(900);
    if (w >= ds.maxwidth) return session::error(1000);
    clear_dataset();
    const int rc = load_core(f, ld);
    if (rc) clear_dataset();
    return rc;
}

void dta_load_notes(const DtaFile &f, const DtaLoad &ld) {
    dta_label_notes(f, ld.notes);
    out::ClassScope cs(out::CLS_TEXT);
    for (const DtaRename &r : f.renamed)
        if (find_var(r.to.c_str())) out::out_text("Warning:  renamed " + r.from + " to " + r.to + "\n");
    if (!ld.sort_names.empty()) {
        std::string names;
        for (const std::string &s : ld.sort_names)
            names += " " + s;
        out::out_text("Warning:  old-format data was sorted by" + names + "\n");
        out::out_text("because of changes in Orvat, the sort information had to be cleared\n");
        out::out_text("in this case; you must reissue the sort command if you care\n");
    }
}

// ---- The parse against a file -----------------------------------------------------------------------

DtaParseScope::DtaParseScope(const DtaFile &f)
    : nvar(ds.nvar), nobs(ds.nobs), nvar_visible(ds.nvar_visible), w_cur(ds.w_cur) {
    const size_t n = (size_t)ds.nvar;
    names.assign(&ds.varname[0][0], &ds.varname[0][0] + n * (VNAMELEN + 1));
    fmts.assign(&ds.fmt[0][0], &ds.fmt[0][0] + n * (FMTLEN + 1));
    vallabs.assign(&ds.vallab[0][0], &ds.vallab[0][0] + n * (VNAMELEN + 1));
    types.assign(ds.vartype.get(), ds.vartype.get() + n);
    offsets.assign(ds.offset.get(), ds.offset.get() + n);
    int k = 0;
    while (ds.sortlist[k])
        ++k;
    sortlist.assign(ds.sortlist.get(), ds.sortlist.get() + k + 1);

    for (size_t v = 0; v < f.vars.size(); ++v) {
        const DtaVar &x = f.vars[v];
        std::memcpy(ds.varname[v], x.name, sizeof x.name);
        std::memcpy(ds.fmt[v], x.fmt, sizeof x.fmt);
        std::memcpy(ds.vallab[v], x.vallab, sizeof x.vallab);
        ds.vartype[v] = x.type;
        ds.offset[v] = x.offset;
    }
    ds.nvar = ds.nvar_visible = (int32_t)f.vars.size();
    ds.nobs = f.nrows;
    ds.w_cur = f.width;
    ds.sortlist[0] = 0;
    ++ds.structure;
}

DtaParseScope::~DtaParseScope() {
    const size_t n = (size_t)nvar;
    if (n > 0) {
        std::memcpy(&ds.varname[0][0], names.data(), n * (VNAMELEN + 1));
        std::memcpy(&ds.fmt[0][0], fmts.data(), n * (FMTLEN + 1));
        std::memcpy(&ds.vallab[0][0], vallabs.data(), n * (VNAMELEN + 1));
        std::memcpy(ds.vartype.get(), types.data(), n);
        std::memcpy(ds.offset.get(), offsets.data(), n * sizeof(int32_t));
    }
    std::memcpy(ds.sortlist.get(), sortlist.data(), sortlist.size() * sizeof(int16_t));
    ds.nvar = nvar;
    ds.nobs = nobs;
    ds.nvar_visible = nvar_visible;
    ds.w_cur = w_cur;
    ++ds.structure;
}

// ---- Writing ------------------------------------------------------------------------------------------

static_assert(std::endian::native == std::endian::little,
              "rows and value-label bodies are written as memory holds them, in byte order 2");

namespace {

// A buffered writer that remembers its first failure.
struct Writer {
    int fd;
    std::vector<char> buf;
    size_t n = 0;
    bool failed = false;

    explicit Writer(int d) : fd(d), buf((size_t)ROWBUF) {}
    void flush() {
        if (n && !failed && !session::write_all(fd, buf.data(), n)) failed = true;
        n = 0;
    }
    void put(const void *p, size_t len) {
        if (failed) return;
        if (len >= buf.size()) {
            flush();
            if (!failed && !session::write_all(fd, static_cast<const char *>(p), len)) failed = true;
            return;
        }
        if (n + len > buf.size()) flush();
        std::memcpy(buf.data() + n, p, len);
        n += len;
    }
    char *room(size_t len) {
        if (n + len > buf.size()) flush();
        char *p = buf.data() + n;
        n += len;
        return p;
    }
    void byte(uint8_t b) { put(&b, 1); }
    void u16(uint16_t v) { put(&v, 2); }
    void i32(int32_t v) { put(&v, 4); }
    // A text into a zero-filled slot of len bytes, cut to leave its NUL.
    void slot(std::string_view s, size_t len) {
        char *p = room(len);
        std::memset(p, 0, len);
        std::memcpy(p, s.data(), std::min(s.size(), len - 1));
    }
};

std::string time_stamp() {
    static const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::time_t t = std::time(nullptr);
    std::tm tmv;
    localtime_r(&t, &tmv);
    char buf[32];
    std::snprintf(buf, sizeof buf, "%2d %s %04d %02d:%02d", tmv.tm_mday, months[tmv.tm_mon],
                  tmv.tm_year + 1900, tmv.tm_hour, tmv.tm_min);
    return buf;
}

// The file a save writes: a symbolic link is followed to the file it names, so that the link stays.
std::string save_target(const std::string &path) {
    struct stat lsb;
    if (::lstat(path.c_str(), &lsb) == 0 && S_ISLNK(lsb.st_mode)) {
        if (char *rp = ::realpath(path.c_str(), nullptr)) {
            std::string t = rp;
            std::free(rp);
            return t;
        }
    }
    return path;
}

void write_contents(Writer &w, int format, int nw, const std::string &stamp) {
    // Header.
    w.byte((uint8_t)format);
    w.byte(2);
    w.byte(1);
    w.byte(0);
    w.u16((uint16_t)nw);
    w.i32(ds.nobs);
    w.slot(ds.datalabel, 81);
    w.slot(stamp, DTA_STAMPLEN);
    // Descriptors.
    for (int v = 1; v <= nw; ++v)
        w.byte(ds.vartype[v - 1]);
    for (int v = 1; v <= nw; ++v)
        w.slot(ds.varname[v - 1], 33);
    int k = 0;
    for (; ds.sortlist[k] && ds.sortlist[k] <= nw; ++k)
        w.u16((uint16_t)ds.sortlist[k]);
    for (; k <= nw; ++k)
        w.u16(0);
    for (int v = 1; v <= nw; ++v)
        if (format == DTA_OLDFORMAT)
            w.slot(dta_short_format(ds.fmt[v - 1]), 12);
        else
            w.slot(ds.fmt[v - 1], 49);
    for (int v = 1; v <= nw; ++v)
        w.slot(ds.vallab[v - 1], 33);
    for (int v = 1; v <= nw; ++v) {
        const char *l = varlabel_get(ds.varname[v - 1]);
        w.slot(l ? l : "", 81);
    }
    // Characteristics, the dataset's first.
    auto chars_of = [&](const char *owner) {
        for (const auto &[name, text] : char_list(owner)) {
            w.byte(1);
            w.i32((int32_t)(2 * CHARNAME_LEN + text.size() + 1));
            w.slot(owner, CHARNAME_LEN);
            w.slot(name, CHARNAME_LEN);
            w.put(text.c_str(), text.size() + 1);
        }
    };
    chars_of(DTA_OWNER);
    for (int v = 1; v <= nw; ++v)
        chars_of(ds.varname[v - 1]);
    w.byte(0);
    w.i32(0);
}

int write_rows(Writer &w, int32_t width) {
    if (width == 0) return 0;
    const int32_t per = (int32_t)std::max<int64_t>(2, ROWBUF / width);
    for (int32_t i = 0; i < ds.nobs && !w.failed;) {
        if (session::poll_break()) return 1;
        const int32_t end = (int32_t)std::min<int64_t>((int64_t)i + per, ds.nobs);
        // Rows in a run of the index that stand one behind the other go out as they are.
        if (ds.width == width) {
            while (i < end) {
                int32_t j = i + 1;
                while (j < end && ds.index[j] == ds.index[j - 1] + 1)
                    ++j;
                w.put(ds.database + (int64_t)ds.index[i] * ds.width, (size_t)(j - i) * width);
                i = j;
            }
        } else {
            for (; i < end; ++i)
                w.put(ds.database + (int64_t)ds.index[i] * ds.width, (size_t)width);
        }
    }
    return 0;
}

void write_labels(Writer &w, int nw, const DtaSave &o) {
    if (o.nolabel) return;
    for (const std::string &name : vl_names()) {
        bool used = o.orphans;
        for (int v = 1; v <= nw && !used; ++v)
            used = name == ds.vallab[v - 1];
        if (!used) continue;
        int32_t bytes = 0;
        const char *body = vl_body(name.c_str(), &bytes);
        if (!body) continue;
        w.i32(bytes);
        w.slot(name, 36);
        w.put(body, (size_t)bytes);
    }
}

} // namespace

std::string dta_short_format(const char *fmt) {
    std::string s = fmt;
    if (s.size() <= 11) return s;
    // "%t" or "%d" with its justification and kind letter, without the display part.
    size_t p = 1;
    if (p < s.size() && (s[p] == '-' || s[p] == '~')) ++p;
    if (p < s.size() && s[p] == 't' && p + 1 < s.size()) return s.substr(0, p + 2);
    if (p < s.size() && s[p] == 'd') return s.substr(0, p + 1);
    return s.substr(0, 11);
}

int dta_save(const std::string &path, const DtaSave &o, std::string *stamp_out) {
    const std::string target = save_target(path);
    struct stat sb;
    const bool exists = ::stat(target.c_str(), &sb) == 0;
    if (exists) {
        if (!o.replace) return session::file_error(602, path);
        if (!S_ISREG(sb.st_mode)) return session::file_error(603, path);
        if (::access(target.c_str(), W_OK) != 0 && errno == EACCES) return session::file_error(608, path);
    }

    // The sample of the estimates goes last, so that the row without it is a prefix.
    int nw = ds.nvar;
    if (!o.all)
        if (const int e = find_var("(e)")) {
            if (e != ds.nvar)
                if (int rc = move_var(e, ds.nvar)) return rc;
            nw = ds.nvar - 1;
        }
    const int32_t width = nw > 0 ? ds.offset[nw - 1] + type_width(ds.vartype[nw - 1]) : 0;

    const size_t slash = target.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : target.substr(0, slash == 0 ? 1 : slash);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    std::string tmp = dir + "/." + base + ".XXXXXX";
    const int fd = ::mkostemp(tmp.data(), O_CLOEXEC);
    if (fd < 0) return session::file_error(603, path);
    mode_t mode;
    if (exists) {
        mode = sb.st_mode & 07777;
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        mode = 0666 & ~mask;
    }
    (void)::fchmod(fd, mode);

    const std::string stamp = time_stamp();
    Writer w(fd);
    write_contents(w, o.oldformat ? DTA_OLDFORMAT : DTA_FORMAT, nw, stamp);
    const int brk = write_rows(w, width);
    if (!brk) write_labels(w, nw, o);
    w.flush();
    const bool closed = ::close(fd) == 0;
    if (brk || w.failed || !closed) {
        ::unlink(tmp.c_str());
        return brk ? 1 : session::file_error(699, "");
    }
    if (::rename(tmp.c_str(), target.c_str()) != 0) {
        ::unlink(tmp.c_str());
        return session::error(694);
    }
    if (stamp_out) *stamp_out = stamp;
    return 0;
}

// ---- Writing a row at a time ---------------------------------------------------------------------

namespace {

constexpr int32_t NOBS_AT = 6; // where the header holds the count of rows

int stream_write_failed(DtaStream &s, int err) {
    s.failed = true;
    return session::file_error(err == ENOSPC || err == EDQUOT ? 699 : 693, err == ENOSPC ? "" : s.path);
}

int stream_flush(DtaStream &s) {
    if (s.buf.empty() || s.failed) return 0;
    if (!session::write_all(s.fd, s.buf.data(), s.buf.size())) return stream_write_failed(s, errno);
    s.buf.clear();
    return 0;
}

} // namespace

DtaStream::~DtaStream() { dta_stream_abandon(*this); }

void dta_stream_abandon(DtaStream &s) {
    if (s.fd >= 0) ::close(s.fd);
    if (!s.tmp.empty()) ::unlink(s.tmp.c_str());
    s.fd = -1;
    s.tmp.clear();
    s.buf.clear();
}

int dta_stream_open(const std::string &path, bool replace, const std::vector<DtaStreamVar> &vars,
                    DtaStream &s) {
    s.path = path;
    s.target = save_target(path);
    struct stat sb;
    const bool exists = ::stat(s.target.c_str(), &sb) == 0;
    if (exists) {
        if (!replace) return session::file_error(602, path);
        if (!S_ISREG(sb.st_mode)) return session::file_error(603, path);
        if (::access(s.target.c_str(), W_OK) != 0 && errno == EACCES) return session::file_error(608, path);
    }
    const size_t slash = s.target.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : s.target.substr(0, slash == 0 ? 1 : slash);
    const std::string base = slash == std::string::npos ? s.target : s.target.substr(slash + 1);
    s.tmp = dir + "/." + base + ".XXXXXX";
    s.fd = ::mkostemp(s.tmp.data(), O_CLOEXEC);
    if (s.fd < 0) {
        s.tmp.clear();
        return session::file_error(603, path);
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    (void)::fchmod(s.fd, exists ? sb.st_mode & 07777 : 0666 & ~mask);

    const int nw = (int)vars.size();
    Writer w(s.fd);
    w.byte((uint8_t)DTA_FORMAT);
    w.byte(2);
    w.byte(1);
    w.byte(0);
    w.u16((uint16_t)nw);
    w.i32(0);
    w.slot("", 81);
    w.slot(time_stamp(), DTA_STAMPLEN);
    for (const DtaStreamVar &v : vars)
        w.byte((uint8_t)v.type);
    for (const DtaStreamVar &v : vars)
        w.slot(v.name, 33);
    for (int k = 0; k <= nw; ++k)
        w.u16(0);
    char fmt[FMTLEN + 1];
    for (const DtaStreamVar &v : vars) {
        default_format(v.type, fmt);
        w.slot(fmt, 49);
    }
    for (int k = 0; k < nw; ++k)
        w.slot("", 33);
    for (int k = 0; k < nw; ++k)
        w.slot("", 81);
    w.byte(0);
    w.i32(0);
    w.flush();
    s.width = 0;
    for (const DtaStreamVar &v : vars)
        s.width += type_width(v.type);
    if (w.failed) {
        const int err = errno;
        dta_stream_abandon(s);
        return stream_write_failed(s, err);
    }
    return 0;
}

int dta_stream_row(DtaStream &s, const char *row) {
    if (s.failed) return session::file_error(693, s.path);
    if (s.nobs == INT32_MAX - 1) return session::error(901);
    s.buf.append(row, (size_t)s.width);
    ++s.nobs;
    if ((s.every > 0 && s.nobs % s.every == 0) || s.buf.size() >= (size_t)ROWBUF) return stream_flush(s);
    return 0;
}

int dta_stream_finish(DtaStream &s) {
    int rc = stream_flush(s);
    if (!rc) {
        const int32_t n = s.nobs;
        if (::pwrite(s.fd, &n, 4, NOBS_AT) != 4) rc = stream_write_failed(s, errno);
    }
    if (!rc && ::close(s.fd) != 0)
        rc = stream_write_failed(s, errno);
    else if (rc)
        ::close(s.fd);
    s.fd = -1;
    if (!rc && ::rename(s.tmp.c_str(), s.target.c_str()) != 0) rc = session::error(694);
    if (rc) ::unlink(s.tmp.c_str());
    s.tmp.clear();
    return rc;
}

} // namespace data
