// The options reader.
#include "session/options.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "session/errors.h"
#include "session/tok.h"

namespace session {

namespace {

constexpr int max_nesting = 100; // parentheses and brackets inside one argument

// The argument of an option, from just behind its '(' to the balancing ')': *end gets the position
// of that ')'. 0, or the words of what is wrong.
const char *balance(const char *p, const char **end) {
    char stack[max_nesting];
    int depth = 0;
    const char *e = p + std::strlen(p);
    for (; *p; ++p) {
        const char c = *p;
        Quoted q;
        if (quoted_at(std::string_view(p, (size_t)(e - p)), 0, q)) {
            if (!q.closed) return "quotes do not match";
            p += q.next - 1;
            continue;
        }
        if (c == '(' || c == '[') {
            if (depth == max_nesting) return "too many nested parentheses or brackets";
            stack[depth++] = c;
        } else if (c == ')' || c == ']') {
            if (depth == 0) {
                if (c == ')') {
                    *end = p;
                    return nullptr;
                }
                return "unmatched close parenthesis or bracket";
            }
            const char open = stack[--depth];
            if (open == '(' && c == ']') return "( closed by ]";
            if (open == '[' && c == ')') return "[ closed by )";
        }
    }
    return "unmatched open parenthesis or bracket";
}

const OptSpec *find_spec(const std::string &w, std::span<const OptSpec> specs, bool *negated) {
    *negated = false;
    for (const OptSpec &s : specs) {
        if (cmdmatch(w.c_str(), s.name, s.minlen)) return &s;
        if (s.kind == OK_ONOFF && w.size() > 2 && w[0] == 'n' && w[1] == 'o' &&
            cmdmatch(w.c_str() + 2, s.name, s.minlen)) {
            *negated = true;
            return &s;
        }
    }
    return nullptr;
}

std::string trimmed(const std::string &s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

int take(const Option &o, const OptSpec &s, bool negated) {
    if (s.kind == OK_SKIP) return 0;
    if (s.kind == OK_FLAG || s.kind == OK_ONOFF) {
        if (o.paren) return option_not_allowed(o.name + "()");
        *s.flag = !negated;
        return 0;
    }
    const std::string v = trimmed(o.arg);
    if (!o.paren || v.empty()) return fail(198, "option " + o.name + "() required\n");
    switch (s.kind) {
    case OK_TEXT:
        *s.text = v;
        return 0;
    case OK_NAME:
        if (!name_ok(v)) return invalid_name(v);
        *s.text = v;
        return 0;
    case OK_INT: {
        char *e;
        errno = 0;
        const long n = std::strtol(v.c_str(), &e, 10);
        if (*e || errno || n < s.lo || n > s.hi) return option_invalid(o.name);
        *s.num = (int)n;
        return 0;
    }
    case OK_REAL: {
        char *e;
        const double d = std::strtod(v.c_str(), &e);
        if (*e || !std::isfinite(d)) return option_invalid(o.name);
        *s.real = d;
        return 0;
    }
    default:
        return 0;
    }
}

} // namespace

int option_invalid(std::string_view name) {
    return fail(198, "option " + std::string(name) + "() invalid\n");
}

int read_options(std::vector<Option> &out, char stop) {
    out.clear();
    const char *p = tk.tokpos ? tk.tokpos : "";
    for (;;) {
        while (*p == ' ')
            ++p;
        if (!*p || (stop && *p == stop)) break;
        if (*p == ',') {
            ++p;
            break;
        }
        Option o;
        const char *s = p;
        while (*p && *p != ' ' && *p != '(' && *p != ',' && !(stop && *p == stop))
            ++p;
        o.name.assign(s, (size_t)(p - s));
        const char *q = p;
        while (*q == ' ')
            ++q;
        if (*q == '(') {
            const char *end = nullptr;
            if (const char *what = balance(q + 1, &end))
                return fail(198, "invalid " + o.name + ": " + what + "\n");
            o.paren = true;
            o.arg.assign(q + 1, (size_t)(end - q - 1));
            p = end + 1;
        }
        if ((int)out.size() == max_options) return fail(1003, "too many options\n");
        out.push_back(std::move(o));
    }
    tk.tokpos = p;
    tk.tokpushed = false;
    return 0;
}

int match_options(const std::vector<Option> &opts, std::span<const OptSpec> specs) {
    for (const Option &o : opts) {
        bool negated;
        const OptSpec *s = find_spec(o.name, specs, &negated);
        if (!s) return option_not_allowed(o.paren ? o.name + "()" : o.name);
        if (int rc = take(o, *s, negated)) return rc;
    }
    return 0;
}

int parse_options(std::span<const OptSpec> specs) {
    const std::string t = gettok(SEP_STD);
    if (t.empty()) return 0;
    if (t != ",") return invalid_rest(tk.tokstart);
    return options_here(specs);
}

int options_here(std::span<const OptSpec> specs) {
    std::vector<Option> opts;
    if (int rc = read_options(opts)) return rc;
    if (int rc = match_options(opts, specs)) return rc;
    if (*tokrest()) return invalid_rest(tokrest());
    return 0;
}

namespace {

// Runs f with the tokenizer on text of its own, and puts the tokenizer back afterwards.
template <class F> int on_text(std::string_view text, F f) {
    const Tok saved = tk;
    const std::string copy(text);
    settok(copy.c_str());
    const int rc = f();
    tk = saved;
    return rc;
}

} // namespace

int options_of(std::string_view text, std::span<const OptSpec> specs) {
    return on_text(text, [&] { return options_here(specs); });
}

int read_options_of(std::string_view text, std::vector<Option> &out) {
    return on_text(text, [&] {
        if (int rc = read_options(out)) return rc;
        return *tokrest() ? invalid_rest(tokrest()) : 0;
    });
}

size_t options_comma(std::string_view s) {
    QuoteState qs;
    for (size_t i = 0; i < s.size(); ++i) {
        if (int k = qs.feed(s[i], i + 1 < s.size() ? s[i + 1] : '\0'))
            i += (size_t)k - 1;
        else if (s[i] == ',')
            return i;
    }
    return std::string_view::npos;
}

} // namespace session
