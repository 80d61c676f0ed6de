// Regular expressions through the POSIX matcher, with the pattern checked and prepared first.
#include "data/regex.h"

#include <cctype>

#include "session/errors.h"

namespace data {

namespace {

bool is_rep(char c) { return c == '*' || c == '+' || c == '?'; }

// Checks the pattern for the faults the matcher reports by name, and rewrites it for the library:
// braces are ordinary characters here. Returns the message of a fault, or null.
const char *rx_prepare(const char *pat, std::string &out) {
    int groups = 0, depth = 0;
    char prev = 0; // the previous significant character ('(' , '|', a repetition, or 'a' for an atom)
    for (const char *p = pat; *p; ++p) {
        char c = *p;
        if (c == '\\') {
            if (!p[1]) return "trailing \\";
            out += c;
            out += *++p;
            prev = 'a';
            continue;
        }
        if (c == '[') {
            const char *q = p + 1;
            if (*q == '^') ++q;
            if (*q == ']') ++q;
            while (*q && *q != ']')
                ++q;
            if (!*q) return "unmatched []";
            out.append(p, (size_t)(q - p + 1));
            p = q;
            prev = 'a';
            continue;
        }
        if (c == '{' || c == '}') {
            out += '\\';
            out += c;
            prev = 'a';
            continue;
        }
        if (is_rep(c)) {
            if (prev == 0 || prev == '(' || prev == '|') return "?+* follows nothing";
            if (is_rep(prev)) return "nested *?+";
            out += c;
            prev = c;
            continue;
        }
        if (c == '(') {
            if (++groups > 9) return "too many ()";
            ++depth;
            out += c;
            prev = '(';
            continue;
        }
        if (c == ')') {
            if (depth == 0) return "unmatched ()";
            --depth;
            out += c;
            prev = 'a';
            continue;
        }
        out += c;
        prev = c == '|' ? '|' : 'a';
    }
    if (depth > 0) return "unmatched ()";
    return nullptr;
}

void forget(Regex &rx) {
    if (rx.compiled) regfree(&rx.re);
    rx.compiled = false;
    rx.pattern.clear();
    rx.matched = 0;
}

} // namespace

Regex::~Regex() { forget(*this); }

int regex_compile(Regex &rx, std::string_view re, bool quiet) {
    if (rx.compiled && rx.pattern == re) return 0;
    forget(rx);
    std::string prepared;
    std::string text(re);
    rx.fault = rx_prepare(text.c_str(), prepared);
    if (!rx.fault) {
        int rc = regcomp(&rx.re, prepared.c_str(), REG_EXTENDED);
        if (rc != 0)
            rx.fault = rc == REG_ESPACE   ? "out of space"
                       : rc == REG_EPAREN ? "unmatched ()"
                                          : "corrupted regexp";
    }
    if (rx.fault) return quiet ? 198 : session::fail(198, std::string(rx.fault) + "\n");
    rx.pattern = std::move(text);
    rx.compiled = true;
    return 0;
}

bool regex_match(Regex &rx, std::string_view s) {
    if (!rx.compiled) return false;
    rx.subject.assign(s);
    rx.matched = regexec(&rx.re, rx.subject.c_str(), regex_nmatch, rx.m, 0) == 0 ? 1 : -1;
    return rx.matched == 1;
}

RegexSub regex_sub(const Regex &rx, long long n, std::string &out) {
    out.clear();
    if (rx.matched == 0) return RX_NOT_RUN;
    if (rx.matched < 0) return RX_NO_MATCH;
    if (n < 0 || n > (long long)rx.re.re_nsub || n >= regex_nmatch) return RX_OUT_OF_RANGE;
    const regmatch_t &m = rx.m[n];
    if (m.rm_so < 0) return RX_UNUSED;
    out = rx.subject.substr((size_t)m.rm_so, (size_t)(m.rm_eo - m.rm_so));
    return RX_TEXT;
}

std::string regex_replace(const Regex &rx, std::string_view s, std::string_view t, bool refs) {
    std::string text(s);
    regmatch_t m[regex_nmatch];
    if (!rx.compiled || regexec(&rx.re, text.c_str(), regex_nmatch, m, 0) != 0) return text;
    std::string r = text.substr(0, (size_t)m[0].rm_so);
    for (size_t i = 0; i < t.size(); ++i) {
        if (refs && t[i] == '\\' && i + 1 < t.size() && std::isdigit((unsigned char)t[i + 1])) {
            const regmatch_t &k = m[t[++i] - '0'];
            if (k.rm_so >= 0) r.append(text, (size_t)k.rm_so, (size_t)(k.rm_eo - k.rm_so));
        } else {
            r.push_back(t[i]);
        }
    }
    r.append(text, (size_t)m[0].rm_eo);
    return r;
}

} // namespace data
