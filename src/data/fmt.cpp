// Display formats: the %format parser, the number-to-text algorithm and the number reader.
#include "data/fmt.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "data/dates.h"
#include "data/types.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace data {

namespace {
uint8_t period_forced = 0; // a PeriodDecimal guard is alive
} // namespace

// ---- parser ----

namespace {

int bad(bool quiet) { return quiet ? 120 : session::error(120); }

bool isdig(char c) { return c >= '0' && c <= '9'; }

} // namespace

// fmt := '%' ['-' | '~'] ( 't' kind ['0' digit] [display] | 'd' [display]
//                       | width ( 's' | 'x' | ('H'|'L') | ('.'|',') digits ('e' | ('f'|'g')['c']) ) )
int fmt_parse(std::string_view text, Fmt &f, bool quiet) {
    f = Fmt();
    if (text.size() < 2 || text.size() > (size_t)FMT_MAXLEN || text[0] != '%') return bad(quiet);
    size_t i = 1, n = text.size();
    if (text[i] == '-') {
        f.just = -1;
        ++i;
    } else if (text[i] == '~') {
        f.just = 0;
        ++i;
    }
    if (i < n && (text[i] == 't' || text[i] == 'd')) {
        if (f.just == 0) return bad(quiet);
        f.kind = 't';
        if (text[i] == 'd') {
            f.style = 'd';
            ++i;
        } else {
            ++i;
            if (i >= n || !std::strchr("dwmqhycCg", text[i])) return bad(quiet);
            f.style = text[i++];
            if (i + 1 < n && text[i] == '0' && isdig(text[i + 1])) i += 2; // a default style
            if (f.style == 'g') {
                if (i != n) return bad(quiet);
                f.width = 9;
                return 0;
            }
        }
        if (date_parse_display(text.substr(i), f.style, f)) return bad(quiet);
        f.width = date_width(f);
        return 0;
    }
    if (i >= n || !isdig(text[i])) return bad(quiet);
    bool lead0 = text[i] == '0';
    int w = 0;
    while (i < n && isdig(text[i])) {
        w = w * 10 + (text[i++] - '0');
        if (w > FMT_MAXWIDTH) return bad(quiet);
    }
    if (w < 1 || i >= n) return bad(quiet);
    f.width = w;
    char c = text[i++];
    if (c == 's') {
        if (i != n || lead0) return bad(quiet);
        f.kind = 's';
        f.style = 's';
        return 0;
    }
    if (f.just == 0 || (lead0 && (c == 'x' || c == 'H' || c == 'L'))) return bad(quiet);
    if (c == 'x') {
        if (i != n || w != 21) return bad(quiet);
        f.style = 'x';
        return 0;
    }
    if (c == 'H' || c == 'L') {
        if (i != n || (w != 16 && w != 8)) return bad(quiet);
        f.style = c;
        return 0;
    }
    if (c != '.' && c != ',') return bad(quiet);
    f.comma = c == ',';
    if (i >= n || !isdig(text[i])) return bad(quiet);
    int d = 0;
    while (i < n && isdig(text[i])) {
        d = d * 10 + (text[i++] - '0');
        if (d > FMT_MAXWIDTH) return bad(quiet);
    }
    if (d > w - 1 || i >= n) return bad(quiet);
    f.digits = d;
    c = text[i++];
    if (c != 'e' && c != 'f' && c != 'g') return bad(quiet);
    f.style = c;
    if (i < n && text[i] == 'c' && c != 'e') {
        f.group = true;
        ++i;
    }
    if (i != n) return bad(quiet);
    f.zero = lead0;
    return 0;
}

const Fmt &fmt_default() {
    static const Fmt f = [] {
        Fmt g;
        fmt_parse("%9.0g", g, true);
        return g;
    }();
    return f;
}

int fmt_width(const Fmt &f) { return f.width; }

double fmtwidth(std::string_view text) {
    Fmt f;
    return fmt_parse(text, f, true) ? missing_value(0) : fmt_width(f);
}

// ---- number to text ----

namespace {

// Room for a fixed text of a value that fits a field (integer part at most 244 digits) with
// up to 243 decimals, or any scientific text.
constexpr int TMP = 640;

// Whole numbers below 10^15 are exact in a double and have at most 15 digits, so their texts are
// written from the integer directly; everything else goes through the runtime's conversions.
bool small_whole(double a) { return a >= 0 && a < 1e15 && a == std::floor(a); }

// Digits of a in fixed notation with dec decimals; returns the length.
int fixed(double a, int dec, char *t) {
    if (small_whole(a) && dec < TMP - 20) {
        auto r = std::to_chars(t, t + 20, (uint64_t)a);
        char *p = r.ptr;
        if (dec > 0) {
            *p++ = '.';
            std::memset(p, '0', (size_t)dec);
            p += dec;
        }
        *p = 0;
        return (int)(p - t);
    }
    auto r = std::to_chars(t, t + TMP - 1, a, std::chars_format::fixed, dec);
    *r.ptr = 0;
    return (int)(r.ptr - t);
}

// Digits of a in the runtime's e style with dec decimals; returns the length.
int sci(double a, int dec, char *t) {
    auto r = std::to_chars(t, t + TMP - 1, a, std::chars_format::scientific, dec);
    *r.ptr = 0;
    return (int)(r.ptr - t);
}

// Decimal exponent of a > 0: a = d.ddd times 10 to it.
int exp10(double a) {
    if (small_whole(a) && a >= 1) {
        int e = 0;
        for (uint64_t u = (uint64_t)a; u >= 10; u /= 10)
            ++e;
        return e;
    }
    char t[40];
    auto r = std::to_chars(t, t + sizeof t, a, std::chars_format::scientific, 16);
    *r.ptr = 0;
    return std::atoi(std::strchr(t, 'e') + 1);
}

// Cuts trailing zeros of a fraction, and the point if nothing stays behind it.
int cut_zeros(char *t, int n) {
    if (!std::memchr(t, '.', n)) return n;
    while (n > 0 && t[n - 1] == '0')
        --n;
    if (n > 0 && t[n - 1] == '.') --n;
    t[n] = 0;
    return n;
}

// Drops the 0 in front of the point of a number below 1.
int drop_lead0(char *t, int n) {
    if (n >= 2 && t[0] == '0' && t[1] == '.') {
        std::memmove(t, t + 1, n);
        return n - 1;
    }
    return n;
}

int int_len(const char *t, int n) {
    const char *p = (const char *)std::memchr(t, '.', n);
    if (!p) p = (const char *)std::memchr(t, 'e', n);
    return p ? (int)(p - t) : n;
}

int ncommas(int intlen) { return intlen > 0 ? (intlen - 1) / 3 : 0; }

// Marks groups of three in the integer part of an unsigned fixed text.
int add_commas(char *t, int n) {
    int il = int_len(t, n);
    int k = ncommas(il);
    if (!k) return n;
    std::memmove(t + il + k, t + il, n - il + 1);
    int src = il - 1, dst = il + k - 1, cnt = 0;
    while (src >= 0) {
        t[dst--] = t[src--];
        if (++cnt == 3 && src >= 0) {
            t[dst--] = ',';
            cnt = 0;
        }
    }
    return n + k;
}

// %w.0g: the automatic form. The digits get w - 2 places (one for the sign, one for the point),
// fewer by the leading zeros of a number below 1 and by the commas; too little room, or an
// integer part that does not fit, refuses the attempt (-1). A plain integer part may take the
// point's place as well; one with commas must fit the digits' places, so that a number whose
// commas crowd the field is shown without them rather than filling it to the sign.
int g_auto(double a, int w, bool group, char *t) {
    if (a == 0) {
        t[0] = '0';
        t[1] = 0;
        return 1;
    }
    int E = exp10(a);
    int floor_space = w - 6 > 2 ? w - 6 : 2;
    int n;
    if (E >= 0) {
        int il = E + 1;
        int nc = group ? ncommas(il) : 0;
        int space = w - 2 - nc;
        if (space < floor_space || il > (group ? space : space + 1)) return -1;
        int dec = space - il > 0 ? space - il : 0;
        n = cut_zeros(t, fixed(a, dec, t));
    } else {
        int space = w - 2 + E;
        if (space < floor_space) return -1;
        n = drop_lead0(t, cut_zeros(t, fixed(a, w - 2, t)));
    }
    if (group) n = add_commas(t, n);
    if (n > w - 1) return -1;
    return n;
}

// e style for %w.0g: as many decimals as fit beside the sign place.
int e_auto(double a, int w, char *t) {
    int E = a == 0 ? 0 : exp10(a);
    int ed = (E >= 100 || E <= -100) ? 3 : 2;
    int dec = w - 5 - ed;
    if (dec < 0) dec = 0;
    int n = sci(a, dec, t);
    while (n > w - 1 && dec > 0)
        n = sci(a, --dec, t);
    return n;
}

// %w.dg with d > 0: d significant digits, fixed when the exponent allows it, else e style.
int g_digits(double a, int d, bool group, bool force_e, char *t) {
    int n = sci(a, d - 1, t);
    int X = std::atoi(std::strchr(t, 'e') + 1);
    if (force_e || X < -4 || X >= d) {
        // trailing zeros of the mantissa go, as in the runtime's g style
        char *e = std::strchr(t, 'e');
        char *m = e;
        if (std::memchr(t, '.', e - t)) {
            while (m[-1] == '0')
                --m;
            if (m[-1] == '.') --m;
        }
        std::memmove(m, e, n - (e - t) + 1);
        return n - (int)(e - m);
    }
    n = drop_lead0(t, cut_zeros(t, fixed(a, d - 1 - X, t)));
    if (group) n = add_commas(t, n);
    return n;
}

// Picks the first form that fits room; when none does, the shortest.
struct Pick {
    char best[TMP];
    int len = -1;
    bool done = false;
    void offer(const char *t, int n, int room) {
        if (done || n < 0) return;
        if (n <= room) {
            std::memcpy(best, t, n + 1);
            len = n;
            done = true;
        } else if (len < 0 || n < len) {
            std::memcpy(best, t, n + 1);
            len = n;
        }
    }
};

// The unsigned text of a > 0 (or 0) under a numeric e/f/g format.
int number_text(double a, bool neg, const Fmt &f, char *out) {
    int w = f.width;
    Pick pk;
    char t[TMP];
    int sign = neg ? 1 : 0;
    if (f.style == 'e') {
        int n = sci(a, f.digits, t);
        std::memcpy(out, t, n + 1);
        return n;
    }
    if (f.style == 'f') {
        // an integer part wider than the field cannot fit: go straight to the next form
        int E = a == 0 ? 0 : exp10(a);
        if (E < w) {
            int n = fixed(a, f.digits, t);
            if (f.group) {
                char u[TMP];
                std::memcpy(u, t, n + 1);
                int m = add_commas(u, n);
                pk.offer(u, m, w - sign);
            }
            pk.offer(t, n, w - sign);
        }
        if (!pk.done) {
            int n = g_auto(a, w, false, t);
            pk.offer(t, n, w - 1);
        }
        if (!pk.done) pk.offer(t, e_auto(a, w, t), w - 1);
    } else if (f.digits > 0) {
        if (f.group) pk.offer(t, g_digits(a, f.digits, true, false, t), w - 1);
        pk.offer(t, g_digits(a, f.digits, false, false, t), w - 1);
        pk.offer(t, g_digits(a, f.digits, false, true, t), w - 1);
    } else {
        if (f.group) pk.offer(t, g_auto(a, w, true, t), w - 1);
        pk.offer(t, g_auto(a, w, false, t), w - 1);
        if (!pk.done) pk.offer(t, e_auto(a, w, t), w - 1);
    }
    std::memcpy(out, pk.best, pk.len + 1);
    return pk.len;
}

const char hexd[] = "0123456789abcdef";

// %21x: [sign]1.<13 hex digits>X[sign]<3 hex digits>.
int hex_text(double v, char *t) {
    uint64_t u;
    if (v == 0) v = 0; // -0.0 prints as 0
    std::memcpy(&u, &v, 8);
    int e = (int)((u >> 52) & 0x7FF);
    uint64_t frac = u & 0xFFFFFFFFFFFFFull;
    int n = 0;
    t[n++] = (u >> 63) ? '-' : '+';
    int ex;
    if (e == 0) {
        t[n++] = '0';
        ex = frac ? -1022 : 0;
    } else {
        t[n++] = '1';
        ex = e - 1023;
    }
    t[n++] = '.';
    for (int s = 48; s >= 0; s -= 4)
        t[n++] = hexd[(frac >> s) & 0xF];
    t[n++] = 'X';
    t[n++] = ex < 0 ? '-' : '+';
    int ax = ex < 0 ? -ex : ex;
    t[n++] = hexd[(ax >> 8) & 0xF];
    t[n++] = hexd[(ax >> 4) & 0xF];
    t[n++] = hexd[ax & 0xF];
    t[n] = 0;
    return n;
}

// %16H %16L %8H %8L: the bytes of a double or of a float, high or low byte first.
int bytes_text(double v, const Fmt &f, char *t) {
    unsigned char b[8];
    int nb;
    if (f.width == 16) {
        uint64_t u;
        std::memcpy(&u, &v, 8);
        for (int i = 0; i < 8; ++i)
            b[i] = (u >> (8 * i)) & 0xFF;
        nb = 8;
    } else {
        float x = (float)v;
        uint32_t u;
        std::memcpy(&u, &x, 4);
        for (int i = 0; i < 4; ++i)
            b[i] = (u >> (8 * i)) & 0xFF;
        nb = 4;
    }
    int n = 0;
    for (int i = 0; i < nb; ++i) {
        int k = f.style == 'H' ? nb - 1 - i : i;
        t[n++] = hexd[b[k] >> 4];
        t[n++] = hexd[b[k] & 0xF];
    }
    t[n] = 0;
    return n;
}

// Copies text into out, padded to width by the justification; centring puts half the pad,
// rounded down, in front. zero pads numbers with '0' behind their sign.
int justify(const char *t, int n, int width, int just, bool zero, char *out, int cap) {
    if (cap <= 0) return 0;
    int pad = width > n ? width - n : 0;
    int before = just > 0 ? pad : just == 0 ? pad / 2 : 0;
    int k = 0;
    auto put = [&](char c) {
        if (k < cap - 1) out[k++] = c;
    };
    if (zero && before) {
        int s = 0;
        if (n && (t[0] == '-')) put(t[s++]);
        for (int i = 0; i < before; ++i)
            put('0');
        for (int i = s; i < n; ++i)
            put(t[i]);
    } else {
        for (int i = 0; i < before; ++i)
            put(' ');
        for (int i = 0; i < n; ++i)
            put(t[i]);
    }
    for (int i = before; i < pad; ++i)
        put(' ');
    out[k] = 0;
    return k;
}

} // namespace

std::string fmt_text(double v, const char *fmt) {
    Fmt f;
    fmt_parse(fmt, f, true);
    char buf[FMT_BUFSIZE];
    fmt_number(v, f, buf, sizeof buf);
    return buf;
}

int fmt_number(double v, const Fmt &fin, char *out, int cap) {
    const Fmt &f = fin.kind == 's' ? fmt_default() : fin;
    char t[TMP + 2];
    int k = missing_index(v);
    if (k >= 0) {
        if (k > 26 || std::isnan(v)) k = 0; // NaNs and stray codes above `.z` show as `.`
        t[0] = '.';
        t[1] = k ? (char)('a' + k - 1) : 0;
        t[2] = 0;
        return justify(t, k ? 2 : 1, f.width, f.just, false, out, cap);
    }
    if (f.kind == 't') {
        if (f.style != 'g') {
            char d[FMT_BUFSIZE];
            int n = date_text(v, f, d, sizeof d);
            if (n >= 0) return justify(d, n, f.width, f.just, false, out, cap);
        }
        return fmt_number(v, fmt_default(), out, cap);
    }
    int n;
    if (f.style == 'x') {
        n = hex_text(v, t);
    } else if (f.style == 'H' || f.style == 'L') {
        n = bytes_text(v, f, t);
    } else {
        bool neg = std::signbit(v) && v != 0;
        double a = std::fabs(v);
        n = number_text(a, neg, f, t + 1);
        if (neg) {
            t[0] = '-';
            ++n;
        } else {
            std::memmove(t, t + 1, n + 1);
        }
        // `set dp comma` swaps the roles once more, so a comma format under it shows periods.
        if (f.comma != (session::st.dp_comma && !period_forced)) {
            for (int i = 0; i < n; ++i) {
                if (t[i] == '.')
                    t[i] = ',';
                else if (t[i] == ',')
                    t[i] = '.';
            }
        }
    }
    return justify(t, n, f.width, f.just, f.zero, out, cap);
}

int fmt_string(std::string_view s, const Fmt &f, char *out, int cap) {
    int width = f.kind == 's' ? f.width : 0;
    int n = (int)s.size();
    if (cap <= 0) return 0;
    int pad = width > n ? width - n : 0;
    int before = f.just > 0 ? pad : f.just == 0 ? pad / 2 : 0;
    int k = 0;
    for (int i = 0; i < before && k < cap - 1; ++i)
        out[k++] = ' ';
    for (int i = 0; i < n && k < cap - 1; ++i)
        out[k++] = s[i];
    for (int i = before; i < pad && k < cap - 1; ++i)
        out[k++] = ' ';
    out[k] = 0;
    return k;
}

// ---- the number reader ----

namespace {

bool ishex(char c) { return isdig(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

// decimal := [sign] (digits ['.' [digits]] | '.' digits) [('e'|'E'|'d'|'D') [sign] digits]
bool decimal_shape(std::string_view s) {
    size_t i = 0, n = s.size();
    if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
    size_t d0 = i;
    while (i < n && isdig(s[i]))
        ++i;
    size_t nd = i - d0;
    if (i < n && s[i] == '.') {
        ++i;
        size_t f0 = i;
        while (i < n && isdig(s[i]))
            ++i;
        nd += i - f0;
    }
    if (!nd) return false;
    if (i < n && (s[i] == 'e' || s[i] == 'E' || s[i] == 'd' || s[i] == 'D')) {
        ++i;
        if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
        size_t e0 = i;
        while (i < n && isdig(s[i]))
            ++i;
        if (i == e0) return false;
    }
    return i == n;
}

// hexfloat := [sign] ('1'|'0') '.' hexdigits ('x'|'X') [sign] hexdigits
bool hex_shape(std::string_view s) {
    size_t i = 0, n = s.size();
    if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
    if (i + 1 >= n || (s[i] != '1' && s[i] != '0') || s[i + 1] != '.') return false;
    i += 2;
    while (i < n && ishex(s[i]))
        ++i;
    if (i >= n || (s[i] != 'x' && s[i] != 'X')) return false;
    ++i;
    if (i < n && (s[i] == '+' || s[i] == '-')) ++i;
    size_t e0 = i;
    while (i < n && ishex(s[i]))
        ++i;
    return i > e0 && i == n;
}

} // namespace

bool text_to_number(std::string_view s, double &v, bool missing) {
    if (s.empty()) return false;
    if (missing && s[0] == '.' && (s.size() == 1 || (s.size() == 2 && s[1] >= 'a' && s[1] <= 'z'))) {
        v = missing_value(s.size() == 1 ? 0 : s[1] - 'a' + 1);
        return true;
    }
    char small[128];
    char *buf = small;
    char *big = nullptr;
    if (s.size() >= sizeof small) buf = big = (char *)std::malloc(s.size() + 1);
    if (!buf) return false;
    bool ok = false;
    if (decimal_shape(s)) {
        for (size_t i = 0; i < s.size(); ++i)
            buf[i] = (s[i] == 'd' || s[i] == 'D') ? 'e' : s[i];
        buf[s.size()] = 0;
        double x = std::strtod(buf, nullptr);
        v = (x < session::lim.dot && !std::isinf(x)) ? x : missing_value(0);
        ok = true;
    } else if (hex_shape(s)) {
        size_t skip = s[0] == '+' ? 1 : 0;
        std::memcpy(buf, s.data() + skip, s.size() - skip);
        buf[s.size() - skip] = 0;
        ok = session::hexfloat(buf, &v);
    }
    std::free(big);
    return ok;
}

PeriodDecimal::PeriodDecimal() : saved(period_forced) { period_forced = 1; }
PeriodDecimal::~PeriodDecimal() { period_forced = saved; }

std::string number_text(double v) {
    static Fmt f;
    static bool parsed = fmt_parse("%18.0g", f, true) == 0;
    (void)parsed;
    char buf[FMT_BUFSIZE];
    int n = fmt_number(v, f, buf, sizeof buf);
    std::string s;
    for (int i = 0; i < n; ++i)
        if (buf[i] != ' ') s.push_back(buf[i]);
    return s;
}

} // namespace data
