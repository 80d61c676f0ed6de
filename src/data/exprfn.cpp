// The functions of the expression language: one table of rows (name, argument count and types,
// result, implementation), searched by the compiler in the order of its groups.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/dates.h"
#include "data/exprint.h"
#include "data/exprmath.h"
#include "data/fmt.h"
#include "data/regex.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace data::xp {

namespace {

double dot() { return xm::dot(); }
bool miss(double x) { return xm::miss(x); }

// ---- Adapters from the argument block to plain functions ----------------------------------------

template <double (*f)(double)> double w1(const Fa &a) { return f(a.n(0)); }
template <double (*f)(double, double)> double w2(const Fa &a) { return f(a.n(0), a.n(1)); }
template <double (*f)(double, double, double)> double w3(const Fa &a) { return f(a.n(0), a.n(1), a.n(2)); }
template <double (*f)(double, double, double, double)> double w4(const Fa &a) {
    return f(a.n(0), a.n(1), a.n(2), a.n(3));
}
template <double (*f)(double, double, double, double, double, double)> double w6(const Fa &a) {
    return f(a.n(0), a.n(1), a.n(2), a.n(3), a.n(4), a.n(5));
}
// One number in, `.` for a missing one; what the library gives otherwise (NaN and infinities are
// made `.` at the end of the run).
template <double (*f)(double)> double m1(const Fa &a) {
    const double x = a.n(0);
    return miss(x) ? dot() : f(x);
}
template <double (*f)(double, double)> double m2(const Fa &a) {
    const double x = a.n(0), y = a.n(1);
    return miss(x) || miss(y) ? dot() : f(x, y);
}

// ---- Arithmetic ---------------------------------------------------------------------------------

double f_abs(double x) { return std::fabs(x); }
double f_log(double x) { return std::log(x); }
double f_log10(double x) { return std::log10(x); }
double f_exp(double x) { return std::exp(x); }
double f_sqrt(double x) { return std::sqrt(x); }
double f_trunc(double x) { return std::trunc(x); }
double f_floor(double x) { return std::floor(x); }
double f_ceil(double x) { return std::ceil(x); }
double f_atan(double x) { return std::atan(x); }
double f_sin(double x) { return std::sin(x); }
double f_cos(double x) { return std::cos(x); }
double f_tan(double x) { return std::tan(x); }
double f_asin(double x) { return std::asin(x); }
double f_acos(double x) { return std::acos(x); }
double f_tanh(double x) { return std::tanh(x); }
double f_atanh(double x) { return std::atanh(x); }
double f_sign(double x) { return x > 0 ? 1 : x < 0 ? -1 : 0; }
double f_logit(double x) { return std::log(x / (1 - x)); }
double f_invlogit(double x) { return x >= 0 ? 1 / (1 + std::exp(-x)) : std::exp(x) / (1 + std::exp(x)); }
double f_cloglog(double x) { return std::log(-std::log1p(-x)); }
double f_invcloglog(double x) { return -std::expm1(-std::exp(x)); }
double f_atan2(double y, double x) { return std::atan2(y, x); }

double f_mod(double x, double y) { return y == 0 ? dot() : x - y * std::floor(x / y); }

// float(x): rounded to single precision; missing values stay as they are.
double fn_float(const Fa &a) {
    const double x = a.n(0);
    return miss(x) ? x : (double)(float)x;
}

double fn_reldif(const Fa &a) {
    const double x = a.n(0), y = a.n(1);
    if (miss(x) || miss(y)) return (x == y) ? 0 : dot();
    return std::fabs(x - y) / (std::fabs(y) + 1);
}

double fn_chop(const Fa &a) {
    const double x = a.n(0), e = a.n(1);
    if (miss(x) || miss(e)) return dot();
    const double r = std::floor(x + 0.5);
    return std::fabs(x - r) < e ? r : x;
}

// clip(x, a, b): x kept within [a, b]; a missing bound is no bound.
double fn_clip(const Fa &a) {
    const double x = a.n(0), lo = a.n(1), hi = a.n(2);
    if (miss(x)) return dot();
    double r = x;
    if (!miss(lo) && r < lo) r = lo;
    if (!miss(hi) && r > hi) r = hi;
    return r;
}

// autocode(x, n, x0, x1): [x0, x1] cut into n equal intervals; the upper end of the interval of x.
double fn_autocode(const Fa &a) {
    const double x = a.n(0), n = std::trunc(a.n(1)), x0 = a.n(2), x1 = a.n(3);
    if (miss(x) || miss(n) || miss(x0) || miss(x1) || n < 1 || !(x1 > x0)) return dot();
    const double h = (x1 - x0) / n;
    double k = std::ceil((x - x0) / h);
    if (k < 1) k = 1;
    if (k > n) k = n;
    return x0 + k * h;
}

// round(x) and round(x, y): to the nearest multiple of y (1 by default), halves upward.
double fn_round(const Fa &a) {
    const double x = a.n(0), y = a.na > 1 ? a.n(1) : 1;
    if (miss(x) || miss(y)) return dot();
    if (y == 0) return x;
    return y * std::floor(x / y + 0.5);
}

// max() and min(): missing arguments are ignored unless all are missing.
double fn_max(const Fa &a) {
    bool any = false;
    double r = 0;
    for (int i = 0; i < a.na; ++i) {
        const double x = a.n(i);
        if (miss(x)) continue;
        if (!any || x > r) r = x;
        any = true;
    }
    return any ? r : dot();
}

double fn_min(const Fa &a) {
    bool any = false;
    double r = 0;
    for (int i = 0; i < a.na; ++i) {
        const double x = a.n(i);
        if (miss(x)) continue;
        if (!any || x < r) r = x;
        any = true;
    }
    return any ? r : dot();
}

// recode(x, x1, ..., xn): the first xk with x <= xk, else xn.
double fn_recode(const Fa &a) {
    const double x = a.n(0);
    if (miss(x)) return dot();
    for (int i = 1; i < a.na - 1; ++i)
        if (x <= a.n(i)) return a.n(i);
    return a.n(a.na - 1);
}

// irecode(x, x1, ..., xn): 0 if x <= x1, 1 if x <= x2, ..., n beyond xn.
double fn_irecode(const Fa &a) {
    const double x = a.n(0);
    if (miss(x)) return dot();
    for (int i = 1; i < a.na; ++i)
        if (x <= a.n(i)) return i - 1;
    return a.na - 1;
}

// group(n): the observations of the `in` range cut into n groups of about equal size.
double fn_group(const Fa &a) {
    const double n = a.n(0);
    const double f = a.rec->in_first, l = a.rec->in_last;
    if (miss(n) || n <= 0 || l - f < 1) return n;
    return std::trunc(1 + (a.obs - f) * (n - 0.000001) / (l - f));
}

double fn_by(const Fa &) { return session::lp.byprefix || bys.running > 0 ? 1 : 0; }
double fn_byindex(const Fa &) { return exby.index; }
double fn_bylastcall(const Fa &) { return exby.lastcall; }
double fn_byn1(const Fa &a) { return a.rec->grp_first; }
double fn_byn2(const Fa &a) { return a.rec->grp_last; }

// ---- Normal densities with location and scale ---------------------------------------------------

// normalden(x), normalden(x, s), normalden(x, m, s)
double fn_normalden(const Fa &a) {
    double x = a.n(0), m = 0, s = 1;
    if (a.na == 2) s = a.n(1);
    if (a.na == 3) m = a.n(1), s = a.n(2);
    if (miss(x) || miss(m) || miss(s) || !(s > 0)) return dot();
    return xm::normalden((x - m) / s) / s;
}

double fn_lnnormalden(const Fa &a) {
    double x = a.n(0), m = 0, s = 1;
    if (a.na == 2) s = a.n(1);
    if (a.na == 3) m = a.n(1), s = a.n(2);
    if (miss(x) || miss(m) || miss(s) || !(s > 0)) return dot();
    return xm::lnnormalden((x - m) / s) - std::log(s);
}

// ---- Random draws -------------------------------------------------------------------------------

double fn_uniform(const Fa &) { return rnd_uniform(); }
double fn_rnormal(const Fa &a) {
    if (a.na == 0) return rnd_normal(0, 1);
    if (a.na == 1) return rnd_normal(a.n(0), 1);
    return rnd_normal(a.n(0), a.n(1));
}
double fn_rpoisson(const Fa &a) { return rnd_poisson(a.n(0)); }
double fn_rt(const Fa &a) { return rnd_t(a.n(0)); }
double fn_rchi2(const Fa &a) { return rnd_chi2(a.n(0)); }
double fn_rbeta(const Fa &a) { return rnd_beta(a.n(0), a.n(1)); }
double fn_rgamma(const Fa &a) { return rnd_gamma(a.n(0), a.n(1)); }
double fn_rbinomial(const Fa &a) { return rnd_binomial(a.n(0), a.n(1)); }
double fn_rnbinomial(const Fa &a) { return rnd_nbinomial(a.n(0), a.n(1)); }
double fn_rhypergeometric(const Fa &a) { return rnd_hypergeometric(a.n(0), a.n(1), a.n(2)); }

// ---- Old forms ----------------------------------------------------------------------------------

// invchi(df, p): the old inverse of the upper tail; invt(df, p): the t that holds p in the middle.
double fn_invchi(const Fa &a) { return xm::invchi2tail(a.n(0), a.n(1)); }
double fn_invt(const Fa &a) {
    const double df = a.n(0), p = a.n(1);
    if (miss(p) || p < 0 || p >= 1) return dot();
    return xm::invttail(df, (1 - p) / 2);
}

// ---- Dates --------------------------------------------------------------------------------------

double topyear(const Fa &a) { return a.na > 2 ? a.n(0) : NOARG; }
double fn_date(const Fa &a) { return data::date(a.s(0), a.s(1), topyear(a)); }
double fn_clock(const Fa &a) { return data::clock(a.s(0), a.s(1), topyear(a)); }
double fn_Clock(const Fa &a) { return data::Clock(a.s(0), a.s(1), topyear(a)); }
double fn_yearly(const Fa &a) { return data::yearly(a.s(0), a.s(1), topyear(a)); }
double fn_halfyearly(const Fa &a) { return data::halfyearly(a.s(0), a.s(1), topyear(a)); }
double fn_quarterly(const Fa &a) { return data::quarterly(a.s(0), a.s(1), topyear(a)); }
double fn_monthly(const Fa &a) { return data::monthly(a.s(0), a.s(1), topyear(a)); }
double fn_weekly(const Fa &a) { return data::weekly(a.s(0), a.s(1), topyear(a)); }

// ---- Strings to numbers -------------------------------------------------------------------------

double fn_length(const Fa &a) { return (double)std::strlen(a.s(0)); }

double fn_real(const Fa &a) {
    std::string_view s = a.s(0);
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    double v;
    return text_to_number(s, v, true) ? v : dot();
}

double fn_wordcount(const Fa &a) {
    int n = 0;
    for (const char *p = a.s(0); *p;) {
        while (*p == ' ')
            ++p;
        if (!*p) break;
        ++n;
        while (*p && *p != ' ')
            ++p;
    }
    return n;
}

double fn_fmtwidth(const Fa &a) { return fmtwidth(a.s(0)); }

// strpos(s1, s2): the position of s2 in s1, 0 if it is not there.
double fn_strpos(const Fa &a) {
    const char *p = std::strstr(a.s(0), a.s(1));
    return p ? (double)(p - a.s(0) + 1) : 0;
}

// indexnot(s1, s2): the position of the first character of s1 that is not in s2, 0 if none.
double fn_indexnot(const Fa &a) {
    const char *s = a.s(0), *set = a.s(1);
    for (const char *p = s; *p; ++p)
        if (!std::strchr(set, *p)) return (double)(p - s + 1);
    return 0;
}

bool wild(const char *p, const char *s) {
    for (; *p; ++p) {
        if (*p == '*') {
            while (p[1] == '*')
                ++p;
            if (!p[1]) return true;
            for (const char *t = s; *t; ++t)
                if (wild(p + 1, t)) return true;
            return false;
        }
        if (!*s) return false;
        if (*p != '?' && *p != *s) return false;
        ++s;
    }
    return *s == 0;
}

// strmatch(s, pattern): `*` stands for any run of characters, `?` for one.
double fn_strmatch(const Fa &a) { return wild(a.s(1), a.s(0)) ? 1 : 0; }

// The pattern regexm() and regexr() compiled last, and the last match of regexm() for regexs().
Regex expr_rx;

// regexm(s, re): 1 when re matches s; a pattern that fails to compile gives 0 and leaves no match.
double fn_regexm(const Fa &a) {
    if (regex_compile(expr_rx, a.s(1), false)) return 0;
    return regex_match(expr_rx, a.s(0)) ? 1 : 0;
}

// ---- Numbers to strings -------------------------------------------------------------------------

int put(char *out, std::string_view s) {
    size_t n = std::min<size_t>(s.size(), EXPR_STRLEN);
    std::memcpy(out, s.data(), n);
    out[n] = 0;
    return 0;
}

int fn_char(const Fa &a, char *out) {
    const double x = a.n(0);
    out[0] = 0;
    if (!miss(x) && x >= 1 && x <= 255) {
        out[0] = (char)(unsigned char)x;
        out[1] = 0;
    }
    return 0;
}

// regexs(n): sub-expression n of the last regexm() match.
int fn_regexs(const Fa &a, char *out) {
    out[0] = 0;
    const double n = a.n(0);
    std::string t;
    switch (regex_sub(expr_rx, miss(n) || n < 0 || n >= regex_nmatch ? -1 : (long long)n, t)) {
    case RX_TEXT:
        return put(out, t);
    case RX_NOT_RUN:
        return session::fail(
            198,
            "a regular expression match function must be executed prior to retrieving a subexpression\n");
    default:
        return session::numlist_error(125, true);
    }
}

// string(n) and string(n, format): the number through the format, "%9.0g" by default or when the
// format is invalid, with the leading blanks removed.
int fn_string(const Fa &a, char *out) {
    Fmt f;
    if (a.na < 2 || fmt_parse(a.s(0), f, true) != 0) f = fmt_default();
    char buf[FMT_BUFSIZE];
    fmt_number(a.n(0), f, buf, sizeof buf);
    const char *p = buf;
    while (*p == ' ')
        ++p;
    return put(out, p);
}

// ---- Strings to strings -------------------------------------------------------------------------

int fn_lower(const Fa &a, char *out) {
    std::string s = a.s(0);
    for (char &c : s)
        if (c >= 'A' && c <= 'Z') c = (char)(c - 'A' + 'a');
    return put(out, s);
}

int fn_upper(const Fa &a, char *out) {
    std::string s = a.s(0);
    for (char &c : s)
        if (c >= 'a' && c <= 'z') c = (char)(c - 'a' + 'A');
    return put(out, s);
}

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// proper(s): a letter behind a non-letter (or first) in upper case, every other letter in lower case.
int fn_proper(const Fa &a, char *out) {
    std::string s = a.s(0);
    bool after_letter = false;
    for (char &c : s) {
        if (is_letter(c)) {
            if (after_letter) {
                if (c >= 'A' && c <= 'Z') c = (char)(c - 'A' + 'a');
            } else if (c >= 'a' && c <= 'z') {
                c = (char)(c - 'a' + 'A');
            }
            after_letter = true;
        } else {
            after_letter = false;
        }
    }
    return put(out, s);
}

int fn_ltrim(const Fa &a, char *out) {
    const char *p = a.s(0);
    while (*p == ' ')
        ++p;
    return put(out, p);
}

int fn_rtrim(const Fa &a, char *out) {
    std::string_view s = a.s(0);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return put(out, s);
}

int fn_trim(const Fa &a, char *out) {
    std::string_view s = a.s(0);
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return put(out, s);
}

// itrim(s): runs of blanks inside the text made one blank.
int fn_itrim(const Fa &a, char *out) {
    std::string r;
    for (const char *p = a.s(0); *p; ++p)
        if (!(*p == ' ' && !r.empty() && r.back() == ' ')) r += *p;
    return put(out, r);
}

int fn_reverse(const Fa &a, char *out) {
    std::string s = a.s(0);
    std::reverse(s.begin(), s.end());
    return put(out, s);
}

// strsubdp(s): the decimal point of the `dp` setting put in; with the period in force, s itself.
int fn_strsubdp(const Fa &a, char *out) { return put(out, a.s(0)); }

// regexr(s, re, t): the first match of re in s replaced by t.
int fn_regexr(const Fa &a, char *out) {
    if (regex_compile(expr_rx, a.s(1), false)) return put(out, a.s(0));
    return put(out, regex_replace(expr_rx, a.s(0), a.s(2), false));
}

// substr(s, n1, n2): n2 bytes from position n1 (from the end when negative); n2 missing: to the end.
int fn_substr(const Fa &a, char *out) {
    std::string_view s = a.s(0);
    const double n1 = a.n(0), n2 = a.n(1);
    out[0] = 0;
    if (miss(n1) || n1 == 0) return 0;
    const double len = (double)s.size();
    double start = n1 > 0 ? std::trunc(n1) - 1 : len + std::trunc(n1);
    if (start < 0 || start >= len) return 0;
    double count = miss(n2) ? len - start : std::trunc(n2);
    if (count <= 0) return 0;
    if (count > len - start) count = len - start;
    return put(out, s.substr((size_t)start, (size_t)count));
}

// The words of s: runs of characters between blanks.
std::vector<std::string_view> words_of(std::string_view s) {
    std::vector<std::string_view> w;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        if (i > b) w.push_back(s.substr(b, i - b));
    }
    return w;
}

// word(s, n): the n-th word, counted from the end when n is negative; "" beyond the words.
int fn_word(const Fa &a, char *out) {
    out[0] = 0;
    const double n = a.n(0);
    if (miss(n)) return 0;
    auto w = words_of(a.s(0));
    const double k = std::trunc(n);
    const double cnt = (double)w.size();
    if (k >= 1 && k <= cnt) return put(out, w[(size_t)k - 1]);
    if (k <= -1 && -k <= cnt) return put(out, w[(size_t)(cnt + k)]);
    return 0;
}

// abbrev(s, n): s cut to n characters (5 to 32) with a `~` in front of its last character.
int fn_abbrev(const Fa &a, char *out) {
    std::string_view s = a.s(0);
    const double nn = a.n(0);
    if (miss(nn)) return put(out, s);
    int n = (int)std::fmin(std::fmax(std::trunc(nn), 5), 32);
    if ((int)s.size() <= n) return put(out, s);
    std::string r(s.substr(0, (size_t)n - 2));
    r += '~';
    r += s.back();
    return put(out, r);
}

// subinstr(s1, s2, s3, n): the first n occurrences of s2 replaced by s3, all when n is missing.
std::string replace_in(std::string_view s, std::string_view from, std::string_view to, double n, bool words) {
    if (from.empty()) return std::string(s);
    std::string r;
    double done = 0;
    size_t i = 0;
    while (i < s.size()) {
        bool limit = !miss(n) && done >= n;
        if (!limit && s.compare(i, from.size(), from) == 0 &&
            (!words ||
             ((i == 0 || s[i - 1] == ' ') && (i + from.size() == s.size() || s[i + from.size()] == ' ')))) {
            r += to;
            i += from.size();
            done += 1;
            continue;
        }
        r += s[i++];
    }
    return r;
}

int fn_subinstr(const Fa &a, char *out) {
    return put(out, replace_in(a.s(0), a.s(1), a.s(2), a.n(0), false));
}
int fn_subinword(const Fa &a, char *out) {
    return put(out, replace_in(a.s(0), a.s(1), a.s(2), a.n(0), true));
}

// plural(n, s [, s2]): s for 1 and -1; otherwise s with an "s", or as s2 says: "+suffix" adds,
// "-suffix" takes away, anything else replaces.
int fn_plural(const Fa &a, char *out) {
    const double n = a.n(0);
    std::string_view s = a.s(0);
    if (n == 1 || n == -1) return put(out, s);
    if (a.na < 3) return put(out, std::string(s) + "s");
    std::string_view t = a.s(1);
    if (!t.empty() && t[0] == '+') return put(out, std::string(s) + std::string(t.substr(1)));
    if (!t.empty() && t[0] == '-') {
        std::string_view suf = t.substr(1);
        if (s.size() >= suf.size() && s.compare(s.size() - suf.size(), suf.size(), suf) == 0)
            return put(out, s.substr(0, s.size() - suf.size()));
        return put(out, s);
    }
    return put(out, t);
}

// ---- inrange and inlist in both types -----------------------------------------------------------

double fn_inrange_n(const Fa &a) {
    const double z = a.n(0), lo = a.n(1), hi = a.n(2);
    const bool above = miss(lo) || z >= lo;
    const bool below = miss(hi) || z <= hi;
    return (above && below) ? 1 : 0;
}

double fn_inrange_s(const Fa &a) {
    return (std::strcmp(a.s(0), a.s(1)) >= 0 && std::strcmp(a.s(0), a.s(2)) <= 0) ? 1 : 0;
}

double fn_inlist_n(const Fa &a) {
    for (int i = 1; i < a.na; ++i)
        if (a.n(0) == a.n(i)) return 1;
    return 0;
}

double fn_inlist_s(const Fa &a) {
    for (int i = 1; i < a.na; ++i)
        if (std::strcmp(a.s(0), a.s(i)) == 0) return 1;
    return 0;
}

// ---- Constants ----------------------------------------------------------------------------------

double c_maxdouble() { return session::lim.maxdouble; }
double c_mindouble() { return session::lim.neg_maxdouble; }
double c_epsdouble() { return session::lim.epsdouble; }
double c_smallestdouble() { return session::lim.tiny_normal; }
double c_maxfloat() { return session::lim.maxfloat; }
double c_minfloat() { return session::lim.minfloat; }
double c_epsfloat() { return session::lim.epsfloat; }
double c_maxlong() { return 2147483620.0; }
double c_minlong() { return -2147483647.0; }
double c_maxint() { return 32740; }
double c_minint() { return -32767; }
double c_maxbyte() { return 100; }
double c_minbyte() { return -127; }
double c_byteorder() { return 2; }

// ---- Row makers ---------------------------------------------------------------------------------

constexpr FnRow num(const char *name, int amin, int amax, const char *types, FnNum f, uint8_t flags = 0,
                    FnGroup g = FG_MAIN) {
    return FnRow{name,    g, FK_NUM, (int8_t)amin, (int8_t)amax, types, flags, f, nullptr, nullptr,
                 SP_NONE, 0, 0};
}
constexpr FnRow N(const char *name, int na, FnNum f, uint8_t flags = 0) {
    return num(name, na, na, "n", f, flags);
}
constexpr FnRow str(const char *name, int amin, int amax, const char *types, FnStr f, uint8_t flags = 0,
                    FnGroup g = FG_MAIN) {
    return FnRow{name,    g, FK_STR, (int8_t)amin, (int8_t)amax, types, flags, nullptr, f, nullptr,
                 SP_NONE, 0, 0};
}
constexpr FnRow cnst(const char *name, FnConst c) {
    return FnRow{name, FG_SPECIAL, FK_CONST, 0, 0, "", 0, nullptr, nullptr, c, SP_NONE, 0, 0};
}
constexpr FnRow form(const char *name, FnSpecial sp, int amin, int amax, char datekind = 0) {
    return FnRow{name,    FG_SPECIAL, FK_SPECIAL, (int8_t)amin, (int8_t)amax, "", 0, nullptr, nullptr,
                 nullptr, sp,         0,          datekind};
}
constexpr FnRow na(const char *name, FnGroup g = FG_MAIN) {
    return FnRow{name, g, FK_NA, 0, -1, "", 0, nullptr, nullptr, nullptr, SP_NONE, 0, 0};
}
constexpr FnRow matfn(MatFn id, FnGroup g) {
    const int n = (int)std::char_traits<char>::length(matfn_rows[id].args);
    return FnRow{matfn_rows[id].name,
                 g,
                 FK_SPECIAL,
                 (int8_t)n,
                 (int8_t)n,
                 matfn_rows[id].args,
                 FF_IMPURE,
                 nullptr,
                 nullptr,
                 nullptr,
                 SP_MATFN,
                 0,
                 (char)id};
}
constexpr FnRow old(const char *name, FnNum f) {
    return FnRow{name, FG_OLD, FK_NUM, 2, 2, "n", 0, f, nullptr, nullptr, SP_NONE, 700, 0};
}

const FnRow rows[] = {
    // ---- the main table: no argument
    form("replay", SP_REPLAY, 0, 0),
    N("uniform", 0, fn_uniform, FF_IMPURE),
    N("uniform0", 0, fn_uniform, FF_IMPURE),
    N("runiform", 0, fn_uniform, FF_IMPURE),
    N("_by", 0, fn_by, FF_IMPURE),
    N("_bylastcall", 0, fn_bylastcall, FF_IMPURE),
    N("_byindex", 0, fn_byindex, FF_IMPURE),
    N("_byn1", 0, fn_byn1, FF_IMPURE),
    N("_byn2", 0, fn_byn2, FF_IMPURE),
    // one number
    N("abs", 1, m1<f_abs>),
    N("log", 1, m1<f_log>),
    N("ln", 1, m1<f_log>),
    N("exp", 1, m1<f_exp>),
    N("sqrt", 1, m1<f_sqrt>),
    N("trunc", 1, m1<f_trunc>),
    N("int", 1, m1<f_trunc>),
    N("float", 1, fn_float),
    N("group", 1, fn_group, FF_SERIAL),
    N("normal", 1, w1<xm::normal>),
    N("normprob", 1, w1<xm::normal>),
    N("lnnormal", 1, w1<xm::lnnormal>),
    N("lnormal", 1, w1<xm::lnnormal>),
    N("invnormal", 1, w1<xm::invnormal>),
    N("atan", 1, m1<f_atan>),
    N("sin", 1, m1<f_sin>),
    N("cos", 1, m1<f_cos>),
    N("sign", 1, m1<f_sign>),
    na("_result"),
    N("lngamma", 1, w1<xm::lngamma>),
    na("_hyp2f1"),
    N("log10", 1, m1<f_log10>),
    N("dow", 1, w1<data::dow>),
    N("day", 1, w1<data::day>),
    N("month", 1, w1<data::month>),
    N("year", 1, w1<data::year>),
    N("yofd", 1, w1<data::year>),
    N("lnfactorial", 1, w1<xm::lnfactorial>),
    N("tan", 1, m1<f_tan>),
    N("asin", 1, m1<f_asin>),
    N("acos", 1, m1<f_acos>),
    N("digamma", 1, w1<xm::digamma>),
    N("trigamma", 1, w1<xm::trigamma>),
    N("dofy", 1, w1<data::dofy>),
    N("dofh", 1, w1<data::dofh>),
    N("dofq", 1, w1<data::dofq>),
    N("dofm", 1, w1<data::dofm>),
    N("dofw", 1, w1<data::dofw>),
    N("dofd", 1, w1<data::dofd>),
    N("hofd", 1, w1<data::hofd>),
    N("qofd", 1, w1<data::qofd>),
    N("mofd", 1, w1<data::mofd>),
    N("wofd", 1, w1<data::wofd>),
    N("halfyear", 1, w1<data::halfyear>),
    N("quarter", 1, w1<data::quarter>),
    N("week", 1, w1<data::week>),
    N("doy", 1, w1<data::doy>),
    N("floor", 1, m1<f_floor>),
    N("ceil", 1, m1<f_ceil>),
    N("logit", 1, m1<f_logit>),
    N("invlogit", 1, m1<f_invlogit>),
    N("cloglog", 1, m1<f_cloglog>),
    N("invcloglog", 1, m1<f_invcloglog>),
    N("tanh", 1, m1<f_tanh>),
    N("atanh", 1, m1<f_atanh>),
    N("Cofc", 1, w1<data::Cofc>),
    N("cofC", 1, w1<data::cofC>),
    N("hours", 1, w1<data::hours>),
    N("minutes", 1, w1<data::minutes>),
    N("seconds", 1, w1<data::seconds>),
    N("hh", 1, w1<data::hh>),
    N("mm", 1, w1<data::mm>),
    N("ss", 1, w1<data::ss>),
    N("hhC", 1, w1<data::hhC>),
    N("mmC", 1, w1<data::mmC>),
    N("ssC", 1, w1<data::ssC>),
    N("dofc", 1, w1<data::dofc>),
    N("dofC", 1, w1<data::dofC>),
    N("cofd", 1, w1<data::cofd>),
    N("Cofd", 1, w1<data::Cofd>),
    N("msofhours", 1, w1<data::msofhours>),
    N("msofminutes", 1, w1<data::msofminutes>),
    N("msofseconds", 1, w1<data::msofseconds>),
    N("rpoisson", 1, fn_rpoisson, FF_IMPURE),
    N("rt", 1, fn_rt, FF_IMPURE),
    N("rchi2", 1, fn_rchi2, FF_IMPURE),
    // two numbers
    N("mod", 2, m2<f_mod>),
    N("tprob", 2, w2<xm::tprob>),
    N("chi2", 2, w2<xm::chi2>),
    N("_chi2_old", 2, w2<xm::chi2>),
    N("chi2tail", 2, w2<xm::chi2tail>),
    N("_chi2tail_old", 2, w2<xm::chi2tail>),
    N("invchi2", 2, w2<xm::invchi2>),
    N("_invchi2_old", 2, w2<xm::invchi2>),
    N("invchi2tail", 2, w2<xm::invchi2tail>),
    N("_invchi2tail_old", 2, w2<xm::invchi2tail>),
    N("chiprob", 2, w2<xm::chi2tail>),
    N("comb", 2, w2<xm::comb>),
    N("_gammap_old", 2, w2<xm::gammap>),
    N("gammap", 2, w2<xm::gammap>),
    N("gammaptail", 2, w2<xm::gammaptail>),
    N("dgammapda", 2, w2<xm::dgammapda>),
    N("dgammapdx", 2, w2<xm::dgammapdx>),
    N("dgammapdada", 2, w2<xm::dgammapdada>),
    N("dgammapdadx", 2, w2<xm::dgammapdadx>),
    N("dgammapdxdx", 2, w2<xm::dgammapdxdx>),
    N("_invgammap_old", 2, w2<xm::invgammap>),
    N("invgammap", 2, w2<xm::invgammap>),
    N("invgammaptail", 2, w2<xm::invgammaptail>),
    N("atan2", 2, m2<f_atan2>),
    na("_lnbk"),
    na("_dibk"),
    na("_tribk"),
    N("reldif", 2, fn_reldif),
    N("yw", 2, w2<data::yw>),
    N("ym", 2, w2<data::ym>),
    N("yq", 2, w2<data::yq>),
    N("yh", 2, w2<data::yh>),
    N("ttail", 2, w2<xm::ttail>),
    N("_ttail_old", 2, w2<xm::ttail>),
    N("invttail", 2, w2<xm::invttail>),
    N("_invttail_old", 2, w2<xm::invttail>),
    na("serset"),
    N("chop", 2, fn_chop),
    N("tden", 2, w2<xm::tden>),
    N("rbeta", 2, fn_rbeta, FF_IMPURE),
    N("rgamma", 2, fn_rgamma, FF_IMPURE),
    N("rbinomial", 2, fn_rbinomial, FF_IMPURE),
    N("rnbinomial", 2, fn_rnbinomial, FF_IMPURE),
    N("poisson", 2, w2<xm::poisson>),
    N("poissontail", 2, w2<xm::poissontail>),
    N("poissonp", 2, w2<xm::poissonp>),
    N("invpoisson", 2, w2<xm::invpoisson>),
    N("invpoissontail", 2, w2<xm::invpoissontail>),
    // three numbers
    N("fprob", 3, w3<xm::Ftail>),
    N("invfprob", 3, w3<xm::invFtail>),
    N("Ftail", 3, w3<xm::Ftail>),
    N("F", 3, w3<xm::F>),
    N("_Ftail_old", 3, w3<xm::Ftail>),
    N("_F_old", 3, w3<xm::F>),
    N("invFtail", 3, w3<xm::invFtail>),
    N("invF", 3, w3<xm::invF>),
    N("_invFtail_old", 3, w3<xm::invFtail>),
    N("_invF_old", 3, w3<xm::invF>),
    N("nchi", 3, w3<xm::nchi2>),
    N("nchi2", 3, w3<xm::nchi2>),
    N("invnchi", 3, w3<xm::invnchi2>),
    N("invnchi2", 3, w3<xm::invnchi2>),
    N("_invnchi2_old", 3, w3<xm::invnchi2>),
    N("npnchi", 3, w3<xm::npnchi2>),
    N("npnchi2", 3, w3<xm::npnchi2>),
    N("_npnchi2_old", 3, w3<xm::npnchi2>),
    N("binomialtail", 3, w3<xm::binomialtail>),
    N("binomial", 3, w3<xm::binomial>),
    N("_Binomial_old", 3, w3<xm::binomialtail>),
    N("invbinomial", 3, w3<xm::invbinomial>),
    N("invbinomialtail", 3, w3<xm::invbinomialtail>),
    N("_invbinomial_old", 3, w3<xm::invbinomial>),
    N("binorm", 3, w3<xm::binormal>),
    N("binormal", 3, w3<xm::binormal>),
    N("ibeta", 3, w3<xm::ibeta>),
    N("_ibeta_old", 3, w3<xm::ibeta>),
    N("ibetatail", 3, w3<xm::ibetatail>),
    N("mdy", 3, w3<data::mdy>),
    na("_Eabsk"),
    N("clip", 3, fn_clip),
    N("betaden", 3, w3<xm::betaden>),
    N("invibeta", 3, w3<xm::invibeta>),
    N("_invibeta_old", 3, w3<xm::invibeta>),
    N("invibetatail", 3, w3<xm::invibetatail>),
    N("Fden", 3, w3<xm::Fden>),
    na("E1overkBin"),
    na("E1overkHyp"),
    N("hms", 3, w3<data::hms>),
    N("Chms", 3, w3<data::Chms>),
    N("rhypergeometric", 3, fn_rhypergeometric, FF_IMPURE),
    N("binomialp", 3, w3<xm::binomialp>),
    N("nbinomial", 3, w3<xm::nbinomial>),
    N("nbinomialtail", 3, w3<xm::nbinomialtail>),
    N("nbinomialp", 3, w3<xm::nbinomialp>),
    N("invnbinomial", 3, w3<xm::invnbinomial>),
    N("invnbinomialtail", 3, w3<xm::invnbinomialtail>),
    // four numbers
    N("autocode", 4, fn_autocode),
    N("gammaden", 4, w4<xm::gammaden>),
    N("nbetaden", 4, w4<xm::nbetaden>),
    N("nibeta", 4, w4<xm::nibeta>),
    N("invnibeta", 4, w4<xm::invnibeta>),
    N("_invnibeta_old", 4, w4<xm::invnibeta>),
    N("nFden", 4, w4<xm::nFden>),
    N("nFtail", 4, w4<xm::nFtail>),
    N("invnFtail", 4, w4<xm::invnFtail>),
    N("_invnFtail_old", 4, w4<xm::invnFtail>),
    N("dhms", 4, w4<data::dhms>),
    N("Cdhms", 4, w4<data::Cdhms>),
    N("hypergeometric", 4, w4<xm::hypergeometric>),
    N("hypergeometricp", 4, w4<xm::hypergeometricp>),
    // six numbers
    N("mdyhms", 6, w6<data::mdyhms>),
    N("Cmdyhms", 6, w6<data::Cmdyhms>),
    // one string to a number
    num("length", 1, 1, "s", fn_length),
    num("strlen", 1, 1, "s", fn_length),
    num("real", 1, 1, "s", fn_real),
    na("cls"),
    num("wordcount", 1, 1, "s", fn_wordcount),
    num("fmtwidth", 1, 1, "s", fn_fmtwidth),
    // two strings to a number
    num("strpos", 2, 2, "s", fn_strpos),
    num("index", 2, 2, "s", fn_strpos),
    num("match", 2, 2, "s", fn_strmatch),
    num("strmatch", 2, 2, "s", fn_strmatch),
    num("regex", 2, 2, "s", fn_regexm, FF_IMPURE),
    num("regexm", 2, 2, "s", fn_regexm, FF_IMPURE),
    num("indexnot", 2, 2, "s", fn_indexnot),
    // numbers to a string
    str("regexs", 1, 1, "n", fn_regexs, FF_IMPURE),
    str("char", 1, 1, "n", fn_char),
    na("strserset"),
    // one string to a string
    str("lower", 1, 1, "s", fn_lower),
    str("upper", 1, 1, "s", fn_upper),
    str("proper", 1, 1, "s", fn_proper),
    str("strlower", 1, 1, "s", fn_lower),
    str("strupper", 1, 1, "s", fn_upper),
    str("strproper", 1, 1, "s", fn_proper),
    str("itrim", 1, 1, "s", fn_itrim),
    str("ltrim", 1, 1, "s", fn_ltrim),
    str("rtrim", 1, 1, "s", fn_rtrim),
    str("trim", 1, 1, "s", fn_trim),
    str("stritrim", 1, 1, "s", fn_itrim),
    str("strltrim", 1, 1, "s", fn_ltrim),
    str("strrtrim", 1, 1, "s", fn_rtrim),
    str("strtrim", 1, 1, "s", fn_trim),
    str("reverse", 1, 1, "s", fn_reverse),
    str("strreverse", 1, 1, "s", fn_reverse),
    na("scls"),
    str("strsubdp", 1, 1, "s", fn_strsubdp),
    // three strings to a string
    str("regexr", 3, 3, "s", fn_regexr, FF_IMPURE),

    // ---- the old table (below version 7)
    old("invchi", fn_invchi),
    old("invt", fn_invt),

    // ---- a variable number of arguments
    num("recode", 3, -1, "n", fn_recode, 0, FG_VARARG),
    num("irecode", 2, -1, "n", fn_irecode, 0, FG_VARARG),
    num("max", 2, -1, "n", fn_max, 0, FG_VARARG),
    num("min", 2, -1, "n", fn_min, 0, FG_VARARG),
    num("round", 1, 2, "n", fn_round, 0, FG_VARARG),

    // ---- functions of a matrix name
    matfn(MFN_TRACE, FG_MATNAME),
    matfn(MFN_DET, FG_MATNAME),
    matfn(MFN_ROWSOF, FG_MATNAME),
    matfn(MFN_COLSOF, FG_MATNAME),
    matfn(MFN_DIAG0CNT, FG_MATNAME),
    matfn(MFN_MATMISSING, FG_MATNAME),
    matfn(MFN_ISSYM, FG_MATNAME),
    matfn(MFN_ISSYMM, FG_MATNAME),

    // ---- matrix results, in matrix expressions
    matfn(MFN_I, FG_MATMODE),
    matfn(MFN_J, FG_MATMODE),
    matfn(MFN_MATUNIFORM, FG_MATMODE),
    matfn(MFN_SYMINV, FG_MATMODE),
    matfn(MFN_INVSYM, FG_MATMODE),
    matfn(MFN_CORR, FG_MATMODE),
    matfn(MFN_DIAG, FG_MATMODE),
    matfn(MFN_VECDIAG, FG_MATMODE),
    matfn(MFN_CHOLESKY, FG_MATMODE),
    matfn(MFN_INV, FG_MATMODE),
    matfn(MFN_VEC, FG_MATMODE),
    matfn(MFN_HADAMARD, FG_MATMODE),
    matfn(MFN_SWEEP, FG_MATMODE),
    matfn(MFN_NULLMAT, FG_MATMODE),
    matfn(MFN_GET, FG_MATMODE),

    // ---- the special forms
    form("cond", SP_COND, 3, 4),
    str("string", 1, 2, "ns", fn_string, FF_IMPURE, FG_SPECIAL),
    str("strofreal", 1, 2, "ns", fn_string, FF_IMPURE, FG_SPECIAL),
    str("substr", 3, 3, "snn", fn_substr, 0, FG_SPECIAL),
    str("word", 2, 2, "sn", fn_word, 0, FG_SPECIAL),
    str("abbrev", 2, 2, "sn", fn_abbrev, 0, FG_SPECIAL),
    matfn(MFN_ROWNUMB, FG_SPECIAL),
    matfn(MFN_COLNUMB, FG_SPECIAL),
    matfn(MFN_EL, FG_SPECIAL),
    form("sum", SP_SUM, 1, 1),
    form("scalar", SP_FORCE_SCALAR, 1, 1),
    form("matrix", SP_FORCE_MATRIX, 1, 1),
    form("variable", SP_FORCE_VARIABLE, 1, 1),
    form("e", SP_RES_E, 1, 1),
    form("r", SP_RES_R, 1, 1),
    form("s", SP_RES_S, 1, 1),
    form("c", SP_RES_C, 1, 1),
    form("_caller", SP_CALLER, 0, 0),
    form("has_eprop", SP_HASEPROP, 1, 1),
    form("missing", SP_MISSING, 1, -1),
    form("mi", SP_MISSING, 1, -1),
    num("normalden", 1, 3, "n", fn_normalden, 0, FG_SPECIAL),
    num("normd", 1, 3, "n", fn_normalden, 0, FG_SPECIAL),
    num("normden", 1, 3, "n", fn_normalden, 0, FG_SPECIAL),
    num("lnnormalden", 1, 3, "n", fn_lnnormalden, 0, FG_SPECIAL),
    num("lnormalden", 1, 3, "n", fn_lnnormalden, 0, FG_SPECIAL),
    num("lnnormald", 1, 3, "n", fn_lnnormalden, 0, FG_SPECIAL),
    num("lnormald", 1, 3, "n", fn_lnnormalden, 0, FG_SPECIAL),
    num("rnormal", 0, 2, "n", fn_rnormal, FF_IMPURE, FG_SPECIAL),
    num("date", 2, 3, "ssn", fn_date, 0, FG_SPECIAL),
    num("daily", 2, 3, "ssn", fn_date, 0, FG_SPECIAL),
    num("clock", 2, 3, "ssn", fn_clock, 0, FG_SPECIAL),
    num("Clock", 2, 3, "ssn", fn_Clock, 0, FG_SPECIAL),
    num("yearly", 2, 3, "ssn", fn_yearly, 0, FG_SPECIAL),
    num("halfyearly", 2, 3, "ssn", fn_halfyearly, 0, FG_SPECIAL),
    num("quarterly", 2, 3, "ssn", fn_quarterly, 0, FG_SPECIAL),
    num("monthly", 2, 3, "ssn", fn_monthly, 0, FG_SPECIAL),
    num("weekly", 2, 3, "ssn", fn_weekly, 0, FG_SPECIAL),
    na("tin", FG_SPECIAL),
    na("twithin", FG_SPECIAL),
    str("subinstr", 4, 4, "sssn", fn_subinstr, 0, FG_SPECIAL),
    str("subinword", 4, 4, "sssn", fn_subinword, 0, FG_SPECIAL),
    form("inrange", SP_INRANGE, 3, 3),
    form("inlist", SP_INLIST, 2, -1),
    str("plural", 2, 3, "nss", fn_plural, 0, FG_SPECIAL),
    cnst("byteorder", c_byteorder),
    cnst("maxdouble", c_maxdouble),
    cnst("mindouble", c_mindouble),
    cnst("epsdouble", c_epsdouble),
    cnst("smallestdouble", c_smallestdouble),
    cnst("maxfloat", c_maxfloat),
    cnst("minfloat", c_minfloat),
    cnst("epsfloat", c_epsfloat),
    cnst("maxlong", c_maxlong),
    cnst("minlong", c_minlong),
    cnst("maxint", c_maxint),
    cnst("minint", c_minint),
    cnst("maxbyte", c_maxbyte),
    cnst("minbyte", c_minbyte),
    matfn(MFN_MRELDIF, FG_SPECIAL),
    form("invnorm", SP_INVNORM, 1, 1),
    form("norm", SP_NORM, 1, 1),
    form("lnfact", SP_LNFACT, 1, 1),
    form("Binomial", SP_BINOMIAL, 3, 3),
    // date literals: read at compile time
    form("tc", SP_DATELIT, 1, 1, 'c'),
    form("tC", SP_DATELIT, 1, 1, 'C'),
    form("td", SP_DATELIT, 1, 1, 'd'),
    form("th", SP_DATELIT, 1, 1, 'h'),
    form("tm", SP_DATELIT, 1, 1, 'm'),
    form("tq", SP_DATELIT, 1, 1, 'q'),
    form("tw", SP_DATELIT, 1, 1, 'w'),
    form("d", SP_OLDDATELIT, 1, 1, 'd'),
    form("y", SP_OLDDATELIT, 1, 1, 'y'),
    form("h", SP_OLDDATELIT, 1, 1, 'h'),
    form("q", SP_OLDDATELIT, 1, 1, 'q'),
    form("m", SP_OLDDATELIT, 1, 1, 'm'),
    form("w", SP_OLDDATELIT, 1, 1, 'w'),
};
constexpr int NROWS = (int)(sizeof rows / sizeof rows[0]);

// The hidden variants that inrange() and inlist() choose by the type of their first argument.
const FnRow variants[] = {
    num("inrange", 3, 3, "n", fn_inrange_n, 0, FG_SPECIAL),
    num("inrange", 3, 3, "s", fn_inrange_s, 0, FG_SPECIAL),
    num("inlist", 2, -1, "n", fn_inlist_n, 0, FG_SPECIAL),
    num("inlist", 2, -1, "s", fn_inlist_s, 0, FG_SPECIAL),
};

// Operation words: one per distinct implementation, in the order of the table; names that stand
// twice share their word.
struct Words {
    const FnRow *of_word[OP_MAX + 1] = {};
    int word_of_row[NROWS + 4] = {};
    Words() {
        int next = FN_BASE;
        auto assign = [&](const FnRow &r, int idx) {
            if (r.kind != FK_NUM && r.kind != FK_STR) return;
            for (int w = FN_BASE; w < next; ++w) {
                const FnRow *o = of_word[w];
                if (o->kind == r.kind && o->num == r.num && o->str == r.str) {
                    word_of_row[idx] = w;
                    return;
                }
            }
            if (next > OP_MAX) return; // caught by the test of the table
            of_word[next] = &r;
            word_of_row[idx] = next++;
        };
        for (int i = 0; i < NROWS; ++i)
            assign(rows[i], i);
        for (int i = 0; i < 4; ++i)
            assign(variants[i], NROWS + i);
    }
};
const Words &words() {
    static const Words w;
    return w;
}

} // namespace

const FnRow *fn_find(std::string_view name, bool matmode, int version) {
    for (int g = FG_MAIN; g <= FG_SPECIAL; ++g) {
        if (g == FG_OLD && version >= 700) continue;
        if (g == FG_MATMODE && !matmode) continue;
        for (const FnRow &r : rows)
            if (r.group == g && name == r.name && (r.belowver == 0 || version < r.belowver)) return &r;
    }
    return nullptr;
}

const FnRow *fn_find_variant(const char *name, char type) {
    for (const FnRow &r : variants)
        if (std::strcmp(r.name, name) == 0 && r.types[0] == type) return &r;
    return nullptr;
}

int fn_word(const FnRow *row) {
    const Words &w = words();
    if (row >= rows && row < rows + NROWS) return w.word_of_row[row - rows];
    if (row >= variants && row < variants + 4) return w.word_of_row[NROWS + (row - variants)];
    return 0;
}

const FnRow *fn_of_word(int word) {
    if (word < FN_BASE || word > OP_MAX) return nullptr;
    return words().of_word[word];
}

const FnRow *fn_rows(int *n) {
    *n = NROWS;
    return rows;
}

} // namespace data::xp
