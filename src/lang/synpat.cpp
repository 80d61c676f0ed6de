// The reader of `syntax` patterns.
#include "lang/synpat.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "data/xeq.h"
#include "session/errors.h"
#include "session/tok.h"

namespace lang {

namespace {

using sv = std::string_view;

sv trim(sv s) {
    while (!s.empty() && s.front() == ' ')
        s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ')
        s.remove_suffix(1);
    return s;
}

bool word_is(sv w, const char *full, int minlen) {
    const std::string t(w);
    return session::cmdmatch(t.c_str(), full, minlen);
}

// The words of a specifier list, split at blanks and commas.
std::vector<sv> spec_words(sv s) {
    std::vector<sv> out;
    size_t i = 0;
    while (i < s.size()) {
        while (i < s.size() && (s[i] == ' ' || s[i] == ','))
            ++i;
        const size_t b = i;
        while (i < s.size() && s[i] != ' ' && s[i] != ',')
            ++i;
        if (i > b) out.push_back(s.substr(b, i - b));
    }
    return out;
}

bool read_int(sv s, int &v) {
    const std::string t(s);
    if (t.empty()) return false;
    char *e;
    errno = 0;
    const long n = std::strtol(t.c_str(), &e, 10);
    if (*e || errno || n < 0 || n > SYN_NOMAX) return false;
    v = (int)n;
    return true;
}

bool read_real(sv s, double &v) {
    const std::string t(s);
    if (t.empty()) return false;
    char *e;
    v = std::strtod(t.c_str(), &e);
    return *e == 0;
}

// `key=value` with key matched at minlen; false when w is not that key.
bool keyval(sv w, const char *key, int minlen, sv &value) {
    const size_t eq = w.find('=');
    if (eq == sv::npos || !word_is(w.substr(0, eq), key, minlen)) return false;
    value = w.substr(eq + 1);
    return true;
}

size_t closing(sv s, size_t open) { return group_close(s, open); }

bool lead_specs(sv specs, SynLeadSpec &L) {
    const bool vars = L.kind == SL_VARLIST || L.kind == SL_VARNAME;
    const bool newvars = L.kind == SL_NEWVARLIST || L.kind == SL_NEWVARNAME;
    const bool names = L.kind == SL_NAMELIST || L.kind == SL_NAME;
    for (sv w : spec_words(specs)) {
        sv v;
        if (keyval(w, "name", 4, v)) {
            const std::string n(v);
            if (!session::name_ok(n) || n.size() > 31) return false;
            L.mac = n;
        } else if ((vars || newvars || names) && keyval(w, "min", 3, v)) {
            if (!read_int(v, L.mincount)) return false;
        } else if ((vars || newvars || names) && keyval(w, "max", 3, v)) {
            if (!read_int(v, L.maxcount)) return false;
        } else if (vars && keyval(w, "default", 3, v)) {
            if (v == "all")
                L.all = true;
            else if (v == "none" || v == "empty")
                L.all = false;
            else
                return false;
        } else if (vars && word_is(w, "numeric", 3)) {
            L.numeric = true;
        } else if (vars && word_is(w, "string", 3)) {
            L.string = true;
        } else if ((vars || newvars) && word_is(w, "ts", 2)) {
            L.ts = true;
        } else if (vars && word_is(w, "fv", 2)) {
            L.fv = true;
        } else if ((vars || newvars) && word_is(w, "generate", 3)) {
            L.generate = newvars;
        } else if (L.kind == SL_ANYTHING && word_is(w, "equalok", 7)) {
            L.equalok = true;
        } else if (L.kind == SL_ANYTHING && word_is(w, "everything", 10)) {
            L.everything = true;
        } else if (names && word_is(w, "local", 5)) {
            L.local = true;
        } else {
            return false;
        }
    }
    if (L.numeric && L.string) return false;
    if (L.kind == SL_VARNAME || L.kind == SL_NEWVARNAME || L.kind == SL_NAME) L.maxcount = 1;
    return L.mincount <= L.maxcount;
}

struct LeadWord {
    const char *word;
    SynLead kind;
    const char *mac;
};
constexpr LeadWord lead_words[] = {
    {"varlist", SL_VARLIST, "varlist"},
    {"varname", SL_VARNAME, "varlist"},
    {"newvarlist", SL_NEWVARLIST, "varlist"},
    {"newvarname", SL_NEWVARNAME, "varlist"},
    {"anything", SL_ANYTHING, "anything"},
    {"namelist", SL_NAMELIST, "namelist"},
    {"name", SL_NAME, "namelist"},
};

bool lead_element(sv text, bool optional, SynPattern &p) {
    size_t e = 0;
    while (e < text.size() && std::isalpha((unsigned char)text[e]))
        ++e;
    const sv word = text.substr(0, e);
    sv rest = trim(text.substr(e));
    for (const LeadWord &lw : lead_words) {
        if (word != lw.word) continue;
        p.lead.kind = lw.kind;
        p.lead.optional = optional;
        p.lead.word = lw.word;
        p.lead.mac = lw.mac;
        if (rest.empty()) return lead_specs("", p.lead);
        if (rest.front() != '(' || closing(rest, 0) != rest.size() - 1) return false;
        return lead_specs(rest.substr(1, rest.size() - 2), p.lead);
    }
    return false;
}

struct WeightKind {
    const char *word;
    uint8_t bit;
};
constexpr WeightKind weight_kinds[] = {
    {"aweight", data::WT_A}, {"fweight", data::WT_F}, {"iweight", data::WT_I}, {"pweight", data::WT_P}};

// [aweight fweight ...]: the kinds a line may weight by; the first is what `weight` means.
bool weight_element(sv text, SynPattern &p) {
    const std::vector<sv> words = spec_words(text);
    if (words.empty() || p.weight) return false;
    for (sv w : words) {
        uint8_t bit = 0;
        for (const WeightKind &k : weight_kinds)
            if (word_is(w, k.word, 2)) bit = k.bit;
        if (w == "weight") bit = data::WT_F | data::WT_A | data::WT_I | data::WT_P;
        if (!bit) return false;
        if (!p.wdefault) p.wdefault = w == "weight" ? (uint8_t)data::WT_F : bit;
        p.wmask |= bit;
    }
    p.weight = true;
    return true;
}

// The word of an option kind, with its specifiers behind it.
bool option_kind(sv inside, SynOpt &o) {
    const std::vector<sv> w = spec_words(inside);
    if (w.empty()) return false;
    const sv k = w[0];
    const bool extra = w.size() > 1;
    if (word_is(k, "string", 3)) {
        o.kind = SO_STRING;
        for (size_t i = 1; i < w.size(); ++i)
            if (w[i] == "asis")
                o.asis = true;
            else
                return false;
        return true;
    }
    if (word_is(k, "real", 3) || word_is(k, "integer", 3)) {
        o.kind = word_is(k, "real", 3) ? SO_REAL : SO_INTEGER;
        if (w.size() > 2) return false;
        if (extra) {
            if (!read_real(w[1], o.defval)) return false;
            if (o.kind == SO_INTEGER && o.defval != (double)(long long)o.defval) return false;
            o.hasdefault = true;
        }
        return true;
    }
    if (k == "cilevel") {
        o.kind = SO_CILEVEL;
        return !extra;
    }
    if (k == "passthru" || (k.size() >= 4 && word_is(k, "passthru", 4))) {
        o.kind = SO_PASSTHRU;
        return !extra;
    }
    if (k == "numlist" || k == "varlist" || k == "varname" || k == "namelist" || k == "name") {
        o.kind = k == "numlist"    ? SO_NUMLIST
                 : k == "varlist"  ? SO_VARLIST
                 : k == "varname"  ? SO_VARNAME
                 : k == "namelist" ? SO_NAMELIST
                                   : SO_NAME;
        const bool vars = o.kind == SO_VARLIST || o.kind == SO_VARNAME;
        const bool names = o.kind == SO_NAMELIST || o.kind == SO_NAME;
        for (size_t i = 1; i < w.size(); ++i) {
            sv v;
            if (keyval(w[i], "min", 3, v) && o.kind != SO_VARNAME && o.kind != SO_NAME) {
                if (!read_int(v, o.mincount)) return false;
            } else if (keyval(w[i], "max", 3, v) && o.kind != SO_VARNAME && o.kind != SO_NAME) {
                if (!read_int(v, o.maxcount)) return false;
            } else if (o.kind == SO_NUMLIST && word_is(w[i], "ascending", 3)) {
                o.ascending = true;
            } else if (o.kind == SO_NUMLIST && word_is(w[i], "descending", 4)) {
                o.descending = true;
            } else if (o.kind == SO_NUMLIST && word_is(w[i], "integer", 3)) {
                o.integer = true;
            } else if (o.kind == SO_NUMLIST && word_is(w[i], "missingokay", 7)) {
                o.missingok = true;
            } else if (vars && word_is(w[i], "numeric", 3)) {
                o.numeric = true;
            } else if (vars && word_is(w[i], "string", 3)) {
                o.string = true;
            } else if (vars && word_is(w[i], "ts", 2)) {
                o.ts = true;
            } else if (names && word_is(w[i], "local", 5)) {
                o.local = true;
            } else {
                return false;
            }
        }
        if (o.kind == SO_VARNAME || o.kind == SO_NAME) {
            o.mincount = 1;
            o.maxcount = 1;
        }
        return o.mincount <= o.maxcount && !(o.numeric && o.string) && !(o.ascending && o.descending);
    }
    return false;
}

// Name or Name(kind ...): the capitals say how short the user may write it.
bool option_entry(sv tok, bool required, SynPattern &p) {
    size_t e = 0;
    while (e < tok.size() && (std::isalnum((unsigned char)tok[e]) || tok[e] == '_'))
        ++e;
    const sv written = tok.substr(0, e);
    if (written.empty() || !(std::isalpha((unsigned char)written[0]) || written[0] == '_')) return false;
    SynOpt o;
    o.required = required;
    const sv rest = tok.substr(e);
    if (!rest.empty()) {
        if (rest.front() != '(' || closing(rest, 0) != rest.size() - 1) return false;
        if (!option_kind(rest.substr(1, rest.size() - 2), o)) return false;
    }
    // noName: a flag whose negative form is what the user writes; the macro is named by the rest
    sv base = written;
    const bool neg = rest.empty() && written.size() > 2 && written[0] == 'n' && written[1] == 'o';
    if (neg) {
        o.kind = SO_NEG;
        base = written.substr(2);
    }
    int caps = 0;
    while (caps < (int)base.size() && std::isupper((unsigned char)base[caps]))
        ++caps;
    for (char c : base)
        o.mac.push_back((char)std::tolower((unsigned char)c));
    o.name = (neg ? "no" : "") + o.mac;
    o.minlen = caps ? caps + (neg ? 2 : 0) : (int)o.name.size();
    if (o.mac.size() > 31) return false;
    for (const SynOpt &q : p.opts)
        if (q.name == o.name || q.mac == o.mac) return false;
    if (o.required && (o.kind == SO_FLAG || o.kind == SO_NEG)) return false;
    p.opts.push_back(std::move(o));
    return true;
}

// The options, behind the comma: entries, `[` ... `]` around those that may be left out, `*` last.
bool options_part(sv s, bool optional, SynPattern &p) {
    if (p.options) return false;
    p.options = true;
    bool inbr = false;
    size_t i = 0;
    while (i < s.size()) {
        if (s[i] == ' ') {
            ++i;
            continue;
        }
        if (p.star && s[i] != ']') return false; // `*` comes last
        if (s[i] == '[') {
            if (inbr) return false;
            inbr = true;
            ++i;
            continue;
        }
        if (s[i] == ']') {
            if (!inbr) return false;
            inbr = false;
            ++i;
            continue;
        }
        if (s[i] == '*') {
            p.star = true;
            ++i;
            continue;
        }
        size_t j = i;
        while (j < s.size() && s[j] != ' ' && s[j] != '[' && s[j] != ']' && s[j] != '(')
            ++j;
        if (j < s.size() && s[j] == '(') {
            j = closing(s, j);
            if (j == sv::npos) return false;
            ++j;
        }
        if (!option_entry(s.substr(i, j - i), !optional && !inbr, p)) return false;
        i = j;
    }
    return !inbr;
}

// One element, without its brackets; first: nothing has come before it.
bool element(sv text, bool optional, bool first, SynPattern &p) {
    text = trim(text);
    if (text.empty()) return false;
    if (text.front() == ',') return options_part(text.substr(1), optional, p);
    if (p.options) return false; // the options end the pattern
    if (text.front() == '=') {
        if (trim(text.substr(1)) != "exp" || p.exp) return false;
        p.exp = true;
        p.exp_req = !optional;
        return true;
    }
    if (text == "if" || text == "if/") {
        if (p.ifq) return false;
        p.ifq = true;
        p.if_req = !optional;
        p.if_strip = text.size() == 3;
        return true;
    }
    if (text == "in") {
        if (p.in) return false;
        p.in = true;
        p.in_req = !optional;
        return true;
    }
    if (text == "using" || text == "using/") {
        if (p.usingf) return false;
        p.usingf = true;
        p.using_req = !optional;
        p.using_strip = text.size() == 6;
        return true;
    }
    if (first && lead_element(text, optional, p)) return true;
    if (optional) return weight_element(text, p);
    return false;
}

bool parse(sv s, SynPattern &p) {
    size_t i = 0;
    bool first = true;
    while (i < s.size()) {
        if (s[i] == ' ') {
            ++i;
            continue;
        }
        if (s[i] == '[') {
            const size_t c = closing(s, i);
            if (c == sv::npos) return false;
            if (!element(s.substr(i + 1, c - i - 1), true, first, p)) return false;
            i = c + 1;
        } else if (s[i] == ',') {
            return element(s.substr(i), false, first, p);
        } else {
            size_t j = i;
            while (j < s.size() && s[j] != ' ' && s[j] != '[' && s[j] != ',') {
                if (s[j] == '(') {
                    j = closing(s, j);
                    if (j == sv::npos) return false;
                }
                ++j;
            }
            if (!element(s.substr(i, j - i), false, first, p)) return false;
            i = j;
        }
        first = false;
    }
    if (p.exp && p.weight) return false; // both would be told in the local `exp`
    return true;
}

} // namespace

size_t group_close(std::string_view s, size_t open) {
    int depth = 0;
    for (size_t i = open; i < s.size(); ++i) {
        session::Quoted q;
        if (session::quoted_at(s, i, q)) {
            if (!q.closed) return std::string_view::npos;
            i = q.next - 1;
            continue;
        }
        if (s[i] == '(' || s[i] == '[')
            ++depth;
        else if ((s[i] == ')' || s[i] == ']') && --depth == 0)
            return i;
    }
    return std::string_view::npos;
}

int synpat_parse(std::string_view text, SynPattern &p) {
    p = SynPattern{};
    if (!parse(text, p)) return session::error(197);
    return 0;
}

} // namespace lang
