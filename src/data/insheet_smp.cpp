// The parallel parse of delimited text: records, fields, numbers, column types, and the cells.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <deque>

#include "data/dataset.h"
#include "data/insheet.h"
#include "data/types.h"
#include "estimate/frame.h"
#include "session/tok.h"

namespace data {

namespace {

constexpr int64_t SPLIT_PIECE = 1 << 16; // bytes of one item of the split's team rule

inline bool blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// The shortest text of the float nearest to x says the same number as x.
bool float_says(double x) {
    if (!(std::fabs(x) <= 3.4e38)) return false;
    const float f = (float)x;
    char buf[32];
    const auto r = std::to_chars(buf, buf + sizeof buf, f);
    double y = 0;
    std::from_chars(buf, r.ptr, y);
    return y == x;
}

// A plain decimal of at most 19 digits whose digits make a whole number below 2^53, read as that
// number divided by a power of ten: both are doubles exactly, so the one division rounds correctly.
// False for anything else (an exponent, more digits), which from_chars reads.
bool exact_decimal(std::string_view s, double *x) {
    static constexpr double pow10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,
                                       1e10, 1e11, 1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19};
    const char *p = s.data(), *e = p + s.size();
    const bool neg = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    uint64_t m = 0;
    int nd = 0, fd = 0;
    for (; p < e && *p >= '0' && *p <= '9'; ++p, ++nd)
        m = m * 10 + (uint64_t)(*p - '0');
    if (p < e && *p == '.')
        for (++p; p < e && *p >= '0' && *p <= '9'; ++p, ++nd, ++fd)
            m = m * 10 + (uint64_t)(*p - '0');
    if (p != e || nd == 0 || nd > 19 || m > (1ull << 53)) return false;
    const double v = (double)m / pow10[fd];
    *x = neg ? -v : v;
    return true;
}

void note_field(CsvColumn &c, std::string_view text, int r, double x, bool real, bool fok) {
    if ((int64_t)text.size() > c.maxlen) c.maxlen = (int64_t)text.size();
    if (r < 0) {
        c.kind = CsvColumn::STRING;
        return;
    }
    if (r > 0) return;
    if (real) {
        if (c.kind < CsvColumn::REAL) c.kind = CsvColumn::REAL;
    } else if (c.kind < CsvColumn::INTEGER) {
        c.kind = CsvColumn::INTEGER;
    }
    c.float_ok = c.float_ok && fok;
    c.lo = std::min(c.lo, x);
    c.hi = std::max(c.hi, x);
}

// Reads one record's fields, noting each in cols and its number in vals; the count.
uint32_t scan_record(const char *p, const char *e, char delim, std::vector<CsvColumn> &cols,
                     std::vector<double> &vals, std::vector<std::string_view> &f,
                     std::deque<std::string> &scratch) {
    csv_fields(p, e, delim, f, scratch);
    if (cols.size() < f.size()) cols.resize(f.size());
    for (size_t j = 0; j < f.size(); ++j) {
        double x = 0;
        bool real = false, fok = false;
        // Once a column needs a double, its values are not tested against floats again.
        const int r = csv_number(f[j], &x, &real, cols[j].float_ok ? &fok : nullptr);
        note_field(cols[j], f[j], r, x, real, fok);
        vals.push_back(r >= 0 ? x : 0.0);
    }
    return (uint32_t)f.size();
}

} // namespace

void csv_merge(CsvColumn &a, const CsvColumn &b) {
    a.kind = std::max(a.kind, b.kind);
    a.float_ok = a.float_ok && b.float_ok;
    a.lo = std::min(a.lo, b.lo);
    a.hi = std::max(a.hi, b.hi);
    a.maxlen = std::max(a.maxlen, b.maxlen);
}

int csv_number(std::string_view s, double *x, bool *real, bool *float_ok) {
    size_t a = 0, b = s.size();
    while (a < b && blank(s[a]))
        ++a;
    while (b > a && blank(s[b - 1]))
        --b;
    s = s.substr(a, b - a);
    *real = false;
    if (float_ok) *float_ok = true;
    if (s.empty() || s == ".") {
        *x = missing_value(0);
        return 1;
    }
    if (s.size() == 2 && s[0] == '.' && s[1] >= 'a' && s[1] <= 'z') {
        *x = missing_value(s[1] - 'a' + 1);
        return 1;
    }
    size_t k = 0;
    if (s[0] == '+' || s[0] == '-') k = 1;
    // Only digits and a point may open the number: no "inf", no "nan", no "+-1".
    if (k >= s.size() || !((s[k] >= '0' && s[k] <= '9') || s[k] == '.')) return -1;
    if (!exact_decimal(s, x)) {
        const char *from = s.data() + (s[0] == '+' ? 1 : 0);
        const auto res = std::from_chars(from, s.data() + s.size(), *x, std::chars_format::general);
        if (res.ec != std::errc() || res.ptr != s.data() + s.size()) return -1;
    }
    if (!std::isfinite(*x)) return -1;
    if (*x == 0) *x = 0; // no negative zero
    *real = *x != std::trunc(*x);
    if (float_ok && (*real || std::fabs(*x) > 16777216.0)) *float_ok = float_says(*x);
    return 0;
}

void csv_fields(const char *p, const char *e, char delim, std::vector<std::string_view> &out,
                std::deque<std::string> &scratch) {
    out.clear();
    scratch.clear();
    for (;;) {
        if (p < e && *p == '"') {
            const char *q = p + 1;
            const char *c = nullptr;
            bool doubled = false;
            for (;;) {
                c = static_cast<const char *>(std::memchr(q, '"', (size_t)(e - q)));
                if (!c || c + 1 >= e || c[1] != '"') break;
                doubled = true;
                q = c + 2;
            }
            const char *close = c ? c : e;
            const char *d = static_cast<const char *>(std::memchr(close, delim, (size_t)(e - close)));
            const char *fend = d ? d : e;
            if (!doubled && close + 1 >= fend) {
                out.emplace_back(p + 1, (size_t)(close - p - 1));
            } else {
                std::string &t = scratch.emplace_back();
                for (const char *r = p + 1; r < close; ++r) {
                    t.push_back(*r);
                    if (*r == '"') ++r; // the second of a doubled quote
                }
                // Text between a closing quote and the separator is kept as it stands.
                if (close + 1 < fend) t.append(close + 1, fend);
                out.emplace_back(t);
            }
            if (!d) return;
            p = d + 1;
        } else {
            const char *d = static_cast<const char *>(std::memchr(p, delim, (size_t)(e - p)));
            if (!d) {
                out.emplace_back(p, (size_t)(e - p));
                return;
            }
            out.emplace_back(p, (size_t)(d - p));
            p = d + 1;
        }
    }
}

int csv_split(CsvParse &cp) {
    cp.starts.clear();
    cp.ends.clear();
    cp.open_quote = false;
    const char *text = cp.text;
    const int64_t n = cp.size;
    if (n == 0) return 0;
    const est::Team tm =
        est::choose_team((n + SPLIT_PIECE - 1) / SPLIT_PIECE, est::granularity("csv_split_smp"));
    auto bytes_of = [&](int t, int64_t *lo, int64_t *hi) {
        est::block_of(t, tm.n, tm.B, lo, hi);
        *lo = std::min(n, *lo * SPLIT_PIECE);
        *hi = std::min(n, *hi * SPLIT_PIECE);
    };
    // The quotes of each block give the quote state at the start of the next.
    std::vector<int64_t> quotes((size_t)tm.size, 0);
    int rc = est::run_region(tm, [&](int t, int64_t, int64_t) {
        int64_t lo, hi;
        bytes_of(t, &lo, &hi);
        if (est::break_pending()) return;
        quotes[(size_t)t] = std::count(text + lo, text + hi, '"');
    });
    if (rc) return rc;
    std::vector<uint8_t> inq0((size_t)tm.size + 1, 0);
    for (int t = 0; t < tm.size; ++t)
        inq0[(size_t)t + 1] = (uint8_t)((inq0[(size_t)t] + quotes[(size_t)t]) & 1);
    cp.open_quote = inq0[(size_t)tm.size] != 0;

    std::vector<std::vector<int64_t>> nl((size_t)tm.size);
    rc = est::run_region(tm, [&](int t, int64_t, int64_t) {
        int64_t lo, hi;
        bytes_of(t, &lo, &hi);
        std::vector<int64_t> &out = nl[(size_t)t];
        bool inq = inq0[(size_t)t] != 0;
        const char *p = text + lo, *end = text + hi;
        auto next_quote = [&](const char *from) {
            const char *q = static_cast<const char *>(std::memchr(from, '"', (size_t)(end - from)));
            return q ? q : end;
        };
        // Line ends before the next quote end records, unless a quote is open.
        const char *nq = next_quote(p);
        while (p < end) {
            if (est::break_pending()) return;
            if (!inq) {
                const char *l = static_cast<const char *>(std::memchr(p, '\n', (size_t)(nq - p)));
                if (l) {
                    out.push_back(l - text);
                    p = l + 1;
                    continue;
                }
            }
            if (nq == end) break;
            inq = !inq;
            p = nq + 1;
            nq = next_quote(p);
        }
    });
    if (rc) return rc;

    size_t total = 1;
    for (const auto &v : nl)
        total += v.size();
    cp.starts.reserve(total);
    cp.ends.reserve(total);
    int64_t s = 0;
    auto add = [&](int64_t e) {
        int64_t f = e;
        if (f > s && text[f - 1] == '\r') --f;
        bool empty = true;
        for (int64_t k = s; k < f && empty; ++k)
            empty = blank(text[k]);
        if (!empty) {
            cp.starts.push_back(s);
            cp.ends.push_back(f);
        }
    };
    for (const auto &v : nl)
        for (int64_t e : v) {
            add(e);
            s = e + 1;
        }
    if (s < n) add(n);
    return 0;
}

int csv_scan(CsvParse &cp) {
    const int64_t nrec = (int64_t)cp.starts.size();
    cp.nfields.assign((size_t)nrec, 0);
    cp.cols.clear();
    cp.names.clear();
    cp.vals.clear();
    cp.block_first.clear();
    cp.has_header = false;
    cp.expected = 0;
    if (nrec == 0) return 0;
    const est::Team tm = est::choose_team(nrec, est::granularity("csv_scan_smp"));
    std::vector<std::vector<CsvColumn>> cols((size_t)tm.size);
    std::vector<CsvColumn> first; // the first record's own needs
    cp.vals.resize((size_t)tm.size);
    cp.block_first.resize((size_t)tm.size);
    const int rc = est::run_region(tm, [&](int t, int64_t lo, int64_t hi) {
        std::vector<std::string_view> f;
        std::deque<std::string> scratch;
        std::vector<double> &vals = cp.vals[(size_t)t];
        // As many values a record as the block's first has separators, and one.
        if (lo < hi) {
            const char *a = cp.text + cp.starts[(size_t)lo], *b = cp.text + cp.ends[(size_t)lo];
            vals.reserve((size_t)(hi - lo) * (size_t)(1 + std::count(a, b, cp.delim)));
        }
        cp.block_first[(size_t)t] = lo;
        for (int64_t r = lo; r < hi; ++r) {
            if ((r & 1023) == 0 && est::break_pending()) return;
            std::vector<CsvColumn> &c = r == 0 ? first : cols[(size_t)t];
            cp.nfields[(size_t)r] = scan_record(cp.text + cp.starts[(size_t)r], cp.text + cp.ends[(size_t)r],
                                                cp.delim, c, vals, f, scratch);
        }
    });
    if (rc) return rc;

    std::vector<CsvColumn> &all = cp.cols;
    for (const auto &c : cols) {
        if (all.size() < c.size()) all.resize(c.size());
        for (size_t j = 0; j < c.size(); ++j)
            csv_merge(all[j], c[j]);
    }
    cp.expected = (int)cp.nfields[0];
    // The first record names the columns when none of its fields is a number and one is not empty,
    // and below it a column under a text holds numbers, or each of its texts is a name already.
    std::vector<std::string_view> f;
    std::deque<std::string> scratch;
    csv_fields(cp.text + cp.starts[0], cp.text + cp.ends[0], cp.delim, f, scratch);
    bool header = cp.header == 1;
    if (cp.header < 0 && nrec > 1) {
        bool texts = true, names = true, numbers = false, any = false;
        for (size_t j = 0; j < f.size(); ++j) {
            if (f[j].empty()) continue;
            double x;
            bool real, fok;
            any = true;
            texts = texts && csv_number(f[j], &x, &real, &fok) < 0;
            names = names && session::name_ok(f[j]);
            numbers = numbers || (j < all.size() && all[j].kind != CsvColumn::STRING);
        }
        header = any && texts && (numbers || names);
    }
    cp.has_header = header;
    if (header) {
        for (std::string_view s : f)
            cp.names.emplace_back(s);
        // A named column with no values below its name is still a column.
        if (all.size() < f.size()) all.resize(f.size());
    } else {
        if (all.size() < first.size()) all.resize(first.size());
        for (size_t j = 0; j < first.size(); ++j)
            csv_merge(all[j], first[j]);
    }
    return 0;
}

int csv_type(const CsvColumn &c, bool asdouble, bool *truncated) {
    *truncated = false;
    switch (c.kind) {
    case CsvColumn::EMPTY:
        return T_BYTE;
    case CsvColumn::INTEGER:
        for (int t : {T_BYTE, T_INT, T_LONG})
            if (c.lo >= type_row(t).lo && c.hi <= type_row(t).hi) return t;
        return !asdouble && c.float_ok ? T_FLOAT : T_DOUBLE;
    case CsvColumn::REAL:
        return !asdouble && c.float_ok ? T_FLOAT : T_DOUBLE;
    case CsvColumn::STRING:
        break;
    }
    if (c.maxlen > maxstrvarlen) *truncated = true;
    return (int)std::clamp<int64_t>(c.maxlen, 1, maxstrvarlen);
}

int csv_fill(const CsvParse &cp, int first, std::vector<int64_t> &cut) {
    const int ncol = (int)cp.cols.size();
    const int skip = cp.has_header ? 1 : 0;
    std::vector<uint8_t> types((size_t)ncol);
    bool strings = false;
    for (int j = 0; j < ncol; ++j) {
        types[(size_t)j] = ds.vartype[first - 1 + j];
        strings = strings || is_string_type(types[(size_t)j]);
    }
    const int blocks = (int)cp.vals.size();
    const double dot = missing_value(0);
    std::vector<std::vector<int64_t>> cuts((size_t)blocks, std::vector<int64_t>((size_t)ncol, 0));
    // The blocks of the scan, one thread each: their numbers stand in the order the scan read them.
    est::Team tm{};
    tm.size = blocks;
    tm.n = blocks;
    tm.B = 1;
    tm.parallel = blocks > 1;
    const int rc = est::run_region(tm, [&](int t, int64_t, int64_t) {
        const int64_t lo = cp.block_first[(size_t)t];
        const int64_t hi = t + 1 < blocks ? cp.block_first[(size_t)t + 1] : (int64_t)cp.starts.size();
        const std::vector<double> &vals = cp.vals[(size_t)t];
        std::vector<std::string_view> f;
        std::deque<std::string> scratch;
        size_t off = 0;
        for (int64_t r = lo; r < hi; ++r) {
            if ((r & 1023) == 0 && est::break_pending()) return;
            const int nf = (int)cp.nfields[(size_t)r];
            if (r < skip) {
                off += (size_t)nf;
                continue;
            }
            const int32_t obs = (int32_t)(r - skip + 1);
            char *row = row_addr(obs);
            if (strings)
                csv_fields(cp.text + cp.starts[(size_t)r], cp.text + cp.ends[(size_t)r], cp.delim, f,
                           scratch);
            for (int j = 0; j < nf; ++j) {
                const int ty = types[(size_t)j];
                char *cell = row + ds.offset[first - 1 + j];
                if (is_string_type(ty)) {
                    const std::string_view s = f[(size_t)j];
                    const size_t k = std::min(s.size(), (size_t)ty);
                    std::memcpy(cell, s.data(), k);
                    if ((int)k < ty) cell[k] = 0;
                    if (s.size() > (size_t)ty) ++cuts[(size_t)t][(size_t)j];
                } else {
                    cell_put(cell, ty, vals[off + (size_t)j]);
                }
            }
            // A short record ends in missing values.
            for (int j = nf; j < ncol; ++j) {
                const int ty = types[(size_t)j];
                char *cell = row + ds.offset[first - 1 + j];
                if (is_string_type(ty))
                    cell[0] = 0;
                else
                    cell_put(cell, ty, dot);
            }
            off += (size_t)nf;
        }
    });
    cut.assign((size_t)ncol, 0);
    for (const auto &c : cuts)
        for (int j = 0; j < ncol; ++j)
            cut[(size_t)j] += c[(size_t)j];
    return rc;
}

} // namespace data
