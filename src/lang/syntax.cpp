// syntax, args, tokenize and gettoken: a program's arguments into local macros.
#include "lang/syntax.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "lang/synpat.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace lang {

using session::gettok;
using session::SEP_STD;
using session::tk;

namespace {

// ---- The pattern cache ----------------------------------------------------------------------

// A program runs its syntax line once a call: the pattern is read the first time its text is seen.
// Patterns built by macros can be many, so the cache is emptied when it grows past this.
constexpr size_t max_patterns = 512;

struct Held {
    SynPattern pat;
    std::string lead_mac; // stored names of the result locals ("_varlist" ...)
    std::vector<std::string> opt_macs;
};
std::unordered_map<std::string, std::unique_ptr<Held>> patterns;
const std::string *last_text = nullptr; // the pattern of the last call, the usual hit
Held *last_held = nullptr;

int pattern_for(const char *text, Held **out) {
    const size_t n = std::strlen(text);
    if (last_text && last_text->size() == n && std::memcmp(last_text->data(), text, n) == 0) {
        *out = last_held;
        return 0;
    }
    std::string key(text, n);
    auto it = patterns.find(key);
    if (it == patterns.end()) {
        auto h = std::make_unique<Held>();
        if (int rc = synpat_parse(key, h->pat)) return rc;
        h->lead_mac = session::local_name(h->pat.lead.mac);
        for (const SynOpt &o : h->pat.opts)
            h->opt_macs.push_back(session::local_name(o.mac));
        if (patterns.size() >= max_patterns) patterns.clear();
        it = patterns.emplace(std::move(key), std::move(h)).first;
    }
    last_text = &it->first;
    last_held = it->second.get();
    *out = last_held;
    return 0;
}

// ---- Results --------------------------------------------------------------------------------

// What one match leaves; every local of an element in the pattern is set from it, empty or not.
struct Result {
    std::string lead, typlist, exp, ifq, in, weight, usingf, options;
    bool tsops = false;
    std::vector<std::string> opt; // by the pattern's options
};

int set_local(const char *stored, const std::string &v) { return session::macro_set(stored, v); }

int store(const Held &h, const Result &r) {
    const SynPattern &p = h.pat;
    int rc = 0;
    auto put = [&](const char *stored, const std::string &v) {
        if (!rc) rc = set_local(stored, v);
    };
    if (p.lead.kind != SL_NONE) put(h.lead_mac.c_str(), r.lead);
    if (p.lead.kind == SL_NEWVARLIST || p.lead.kind == SL_NEWVARNAME) put("_typlist", r.typlist);
    if (p.lead.kind == SL_VARLIST || p.lead.kind == SL_VARNAME || p.lead.kind == SL_NEWVARLIST ||
        p.lead.kind == SL_NEWVARNAME)
        put("_tsops", r.tsops ? "true" : "");
    if (p.exp || p.weight) put("_exp", r.exp);
    if (p.ifq) put("_if", r.ifq);
    if (p.in) put("_in", r.in);
    if (p.weight) put("_weight", r.weight);
    if (p.usingf) put("_using", r.usingf);
    for (size_t k = 0; k < p.opts.size(); ++k)
        put(h.opt_macs[k].c_str(), r.opt[k]);
    if (p.star) put("_options", r.options);
    return rc == 0 ? 0 : session::error(rc);
}

// A failure leaves no part of an earlier call behind.
int fail_clean(const Held &h, int rc) {
    Result empty;
    empty.opt.resize(h.pat.opts.size());
    store(h, empty);
    return rc;
}

std::string trimmed(std::string_view s) {
    const size_t b = s.find_first_not_of(' ');
    if (b == std::string_view::npos) return "";
    return std::string(s.substr(b, s.find_last_not_of(' ') - b + 1));
}

// The text of the tokenizer's position: behind a pushed-back token, its start.
const char *tok_here() { return tk.tokpushed ? tk.tokstart : tk.tokpos; }

// ---- The leading element --------------------------------------------------------------------

std::string type_text(int t) {
    char buf[16];
    if (!t) t = session::se.type == data::T_DOUBLE ? data::T_DOUBLE : data::T_FLOAT;
    return data::type_name(t, buf);
}

// The list array from entry k0 on as text; *ops tells whether an entry has an operator.
std::string list_text(int k0, bool *ops) {
    std::string s;
    for (int k = k0; k < data::ps.count; ++k) {
        if (k > k0) s.push_back(' ');
        const int v = data::ps.var[k];
        if (data::ps.info[k].op) {
            *ops = true;
            s += data::list_entry_text(k);
        } else if (v > 0 && !data::ps.info[k].fvterm) {
            s += data::ds.varname[v - 1];
        } else {
            s += data::list_entry_text(k);
        }
    }
    return s;
}

// 109 for a variable of the kind a list does not take.
int kind_check(int k0, bool numeric, bool string) {
    for (int k = k0; k < data::ps.count; ++k) {
        const int v = data::ps.var[k];
        if (v <= 0) continue;
        const bool str = data::is_string_type(data::ds.vartype[v - 1]);
        if (numeric && str)
            return session::fail(109,
                                 std::string(data::ds.varname[v - 1]) + ":  string variable not allowed\n");
        if (string && !str)
            return session::fail(109,
                                 std::string(data::ds.varname[v - 1]) + ":  numeric variable not allowed\n");
    }
    return 0;
}

int count_check(const SynLeadSpec &L, int n) {
    if (n < L.mincount) return session::fail(102, L.word + ":  too few specified\n");
    if (n > L.maxcount) return session::fail(103, L.word + ":  too many specified\n");
    return 0;
}

bool word_char(char c) { return std::isalnum((unsigned char)c) || c == '_'; }

// The text of anything, name and namelist: up to a comma, a `[`, `=` (unless equalok) or one of the
// words if, in, using standing alone, outside quotes and parentheses; with everything only a comma
// ends it.
const char *free_text_end(const char *p, const SynLeadSpec &L) {
    const char *s = p;
    int depth = 0;
    std::string_view all(p);
    for (size_t i = 0; i < all.size(); ++i) {
        session::Quoted q;
        if (session::quoted_at(all, i, q)) {
            i = q.next - 1;
            continue;
        }
        const char c = all[i];
        if (c == '(') {
            ++depth;
            continue;
        }
        if (c == ')' && depth > 0) {
            --depth;
            continue;
        }
        if (depth) continue;
        if (c == ',') return s + i;
        if (L.everything) continue;
        if (c == '[') return s + i;
        if (c == '=' && !L.equalok) return s + i;
        if ((i == 0 || all[i - 1] == ' ') && std::isalpha((unsigned char)c)) {
            size_t j = i;
            while (j < all.size() && word_char(all[j]))
                ++j;
            const std::string_view w = all.substr(i, j - i);
            if (w == "if" || w == "in" || w == "using") return s + i;
        }
    }
    return s + all.size();
}

int lead_free(const SynLeadSpec &L, Result &r) {
    const char *p = session::tokrest();
    const char *e = free_text_end(p, L);
    r.lead = trimmed(std::string_view(p, (size_t)(e - p)));
    session::settok(e);
    if (L.kind == SL_ANYTHING) {
        if (r.lead.empty() && !L.optional) return session::required(L.word);
        return 0;
    }
    // names: each checked, then counted
    int n = 0;
    size_t i = 0;
    const std::string &t = r.lead;
    std::string norm;
    while (i < t.size()) {
        while (i < t.size() && t[i] == ' ')
            ++i;
        if (i >= t.size()) break;
        size_t j = i;
        while (j < t.size() && t[j] != ' ')
            ++j;
        const std::string w = t.substr(i, j - i);
        if (!session::name_ok(w) || (L.local && w.size() > 31)) return session::invalid_name(w);
        if (n) norm.push_back(' ');
        norm += w;
        ++n;
        i = j;
    }
    r.lead = norm;
    if (n == 0) return L.optional ? 0 : session::required(L.word);
    return count_check(L, n);
}

int lead_element(const SynLeadSpec &L, Result &r) {
    if (L.kind == SL_ANYTHING || L.kind == SL_NAMELIST || L.kind == SL_NAME) return lead_free(L, r);
    const bool isnew = L.kind == SL_NEWVARLIST || L.kind == SL_NEWVARNAME;
    unsigned flags = isnew ? data::VL_NEW | data::VL_TYPEPAREN : data::VL_ANY;
    if (L.ts) flags |= data::VL_TS;
    if (L.fv) flags |= data::VL_FV;
    if (isnew && L.generate) flags |= data::VL_CREATE;
    const char *before = session::tokrest();
    if (int rc = data::parse_varlist(flags)) return rc;
    const char *after = tok_here();
    while (after && *after == ' ')
        ++after;
    if (isnew) {
        const int n = (int)data::ps.newvars.size();
        if (n == 0) return L.optional ? 0 : session::required(L.word);
        if (int rc = count_check(L, n)) return rc;
        for (int k = 0; k < n; ++k) {
            if (k) {
                r.lead.push_back(' ');
                r.typlist.push_back(' ');
            }
            r.lead += data::ps.newvars[(size_t)k].name;
            r.typlist += type_text(data::ps.newvars[(size_t)k].type);
        }
        return 0;
    }
    const bool given = data::ps.count > 0 || (after && after != before);
    if (!given) {
        if (!L.optional) return session::required(L.word);
        if (!L.all) return 0;
        if (int rc = data::list_all()) return rc;
        if (data::ps.count == 0) return 0;
    }
    if (int rc = count_check(L, data::ps.count)) return rc;
    if (int rc = kind_check(0, L.numeric, L.string)) return rc;
    r.lead = list_text(0, &r.tsops);
    return 0;
}

// ---- Options --------------------------------------------------------------------------------

int opt_invalid(const SynOpt &o) { return session::fail(198, "option " + o.name + " invalid\n"); }

// A number as the macros of syntax hold it: %18.0g, or %9.0g for programs of versions below 10.
std::string num_text(double v) {
    if (session::lp.version >= 1000) return data::number_text(v);
    data::PeriodDecimal period;
    data::Fmt f;
    data::fmt_parse("%9.0g", f, true);
    char buf[64];
    data::fmt_number(v, f, buf, sizeof buf);
    return trimmed(buf);
}

bool read_number(const std::string &t, double &v) {
    return data::text_to_number(t, v, false) && std::isfinite(v);
}

// The whole text in one pair of plain or compound quotes loses them.
std::string unquoted(const std::string &s) {
    session::Quoted q;
    if (session::quoted_at(s, 0, q) && q.closed && q.next == s.size())
        return s.substr(q.begin, q.end - q.begin);
    return s;
}

// Runs f with the tokenizer on text of its own, and puts it back afterwards.
template <class F> int on_text(const std::string &text, F f) {
    const session::Tok saved = tk;
    session::settok(text.c_str());
    const int rc = f();
    tk = saved;
    return rc;
}

int opt_varlist(const SynOpt &o, const std::string &arg, std::string &val, bool *tsops) {
    const int k0 = data::ps.count;
    const bool one = o.kind == SO_VARNAME;
    unsigned flags = data::VL_ANY;
    if (o.ts) flags |= data::VL_TS;
    // the list's own messages give way to the option's
    const uint8_t level = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = on_text(arg, [&] {
        if (int r = data::parse_varlist(flags)) return r;
        return *session::tokrest() ? 198 : 0;
    });
    out::ch.OutputLevel = level;
    const int n = data::ps.count - k0;
    if (rc || n == 0)
        return session::fail(198, "option " + o.name + "() does not contain a valid " +
                                      (one ? "varname\n" : "varlist\n"));
    if (n < o.mincount) return session::fail(102, "option " + o.name + "():  too few variables specified\n");
    if (n > o.maxcount) {
        if (one) return session::fail(198, "option " + o.name + "() does not contain a valid varname\n");
        return session::fail(103, "option " + o.name + "():  too many variables specified\n");
    }
    if (int r = kind_check(k0, o.numeric, o.string)) return r;
    val = list_text(k0, tsops);
    return 0;
}

int opt_names(const SynOpt &o, const std::string &arg, std::string &val) {
    int n = 0;
    size_t i = 0;
    while (i < arg.size()) {
        while (i < arg.size() && arg[i] == ' ')
            ++i;
        if (i >= arg.size()) break;
        size_t j = i;
        while (j < arg.size() && arg[j] != ' ')
            ++j;
        const std::string w = arg.substr(i, j - i);
        if (!session::name_ok(w) || (o.local && w.size() > 31)) return session::invalid_name(w);
        if (n) val.push_back(' ');
        val += w;
        ++n;
        i = j;
    }
    if (n < o.mincount) return session::fail(102, "option " + o.name + "():  too few names specified\n");
    if (n > o.maxcount) return session::fail(103, "option " + o.name + "():  too many names specified\n");
    return 0;
}

int opt_numlist(const SynOpt &o, const std::string &arg, std::string &val) {
    data::NumlistOpts no;
    no.integer = o.integer;
    no.missingok = o.missingok;
    no.ascending = o.ascending;
    no.descending = o.descending;
    no.mincount = o.mincount;
    no.maxcount = o.maxcount;
    std::vector<double> v;
    if (int rc = data::numlist_parse(arg, no, v, true)) {
        session::fail(rc, o.name + "() invalid -- ");
        return session::numlist_error(rc, false);
    }
    val = data::numlist_text(v);
    return 0;
}

// The value of one option as written, by its kind.
int opt_value(const SynOpt &o, const session::Option &u, std::string &val, bool *tsops) {
    if (o.kind == SO_FLAG || o.kind == SO_NEG) {
        if (u.paren) return session::option_not_allowed(u.name + "()");
        val = o.name;
        return 0;
    }
    if (o.kind == SO_PASSTHRU) {
        val = u.paren ? u.name + "(" + u.arg + ")" : u.name;
        return 0;
    }
    if (!u.paren) return session::fail(198, "option " + o.name + " required\n");
    const std::string arg = trimmed(u.arg);
    if (o.kind == SO_STRING) {
        val = o.asis ? u.arg : unquoted(arg);
        if (val.size() > (size_t)SYN_STRMAX) return opt_invalid(o);
        return 0;
    }
    if (arg.empty()) return session::fail(198, "option " + o.name + " required\n");
    switch (o.kind) {
    case SO_REAL:
    case SO_INTEGER:
    case SO_CILEVEL: {
        double v;
        if (!read_number(arg, v)) return opt_invalid(o);
        if (o.kind == SO_INTEGER && (v != std::floor(v) || std::fabs(v) > 2147483647.0))
            return opt_invalid(o);
        if (o.kind == SO_CILEVEL && (v < 10 || v > 99.99)) return opt_invalid(o);
        val = o.kind == SO_INTEGER ? data::number_text(v) : num_text(v);
        return 0;
    }
    case SO_NUMLIST:
        return opt_numlist(o, arg, val);
    case SO_VARLIST:
    case SO_VARNAME:
        return opt_varlist(o, arg, val, tsops);
    case SO_NAMELIST:
    case SO_NAME:
        return opt_names(o, arg, val);
    default:
        return 0;
    }
}

const SynOpt *find_opt(const SynPattern &p, const std::string &w, size_t *k) {
    for (size_t i = 0; i < p.opts.size(); ++i)
        if (session::cmdmatch(w.c_str(), p.opts[i].name.c_str(), p.opts[i].minlen)) {
            *k = i;
            return &p.opts[i];
        }
    return nullptr;
}

int match_opts(const SynPattern &p, const std::vector<session::Option> &given, Result &r) {
    std::vector<uint8_t> seen(p.opts.size(), 0);
    for (const session::Option &u : given) {
        size_t k = 0;
        const SynOpt *o = find_opt(p, u.name, &k);
        if (!o) {
            if (!p.star) return session::option_not_allowed(u.name);
            if (!r.options.empty()) r.options.push_back(' ');
            r.options += u.paren ? u.name + "(" + u.arg + ")" : u.name;
            continue;
        }
        std::string val;
        if (int rc = opt_value(*o, u, val, &r.tsops)) return rc;
        r.opt[k] = std::move(val);
        seen[k] = 1;
    }
    for (size_t k = 0; k < p.opts.size(); ++k) {
        const SynOpt &o = p.opts[k];
        if (seen[k]) continue;
        if (o.required) return session::fail(198, "option " + o.name + " required\n");
        if (o.hasdefault) r.opt[k] = o.kind == SO_INTEGER ? data::number_text(o.defval) : num_text(o.defval);
        if (o.kind == SO_CILEVEL) r.opt[k] = session::se.level;
    }
    return 0;
}

// ---- The rest of the line -------------------------------------------------------------------

int match_rest(const SynPattern &p, Result &r) {
    std::vector<session::Option> given;
    bool any = false, opts = false;
    for (;;) {
        const std::string t = gettok(SEP_STD);
        if (t.empty()) break;
        int rc = 0;
        if (t == "in") {
            if (!p.in) return session::not_allowed("in");
            if (data::ps.inrange) return session::invalid_rest(tk.tokstart);
            // a program that by runs once a group takes its range from by
            if (data::bys.state) return session::fail(190, "'in' may not be combined with 'by'\n");
            const char *b = session::tokrest();
            rc = data::parse_in(false);
            if (!rc) r.in = "in " + trimmed(std::string_view(b, (size_t)(tok_here() - b)));
        } else if (t == "if") {
            if (!p.ifq) return session::not_allowed("if");
            if (!r.ifq.empty()) return session::invalid_rest(tk.tokstart);
            const char *b = session::tokrest();
            rc = data::expr_compile_tok(data::ifexp, data::XW_NUM);
            if (!rc) {
                const std::string e = trimmed(std::string_view(b, (size_t)(tok_here() - b)));
                r.ifq = p.if_strip ? e : "if " + e;
            }
        } else if (t == "=") {
            if (!p.exp) return session::not_allowed("=exp");
            if (!r.exp.empty()) return session::invalid_rest(tk.tokstart);
            const char *b = session::tokrest();
            rc = data::expr_compile_tok(data::eqexp, data::XW_ANY);
            if (!rc) r.exp = trimmed(std::string_view(b, (size_t)(tok_here() - b)));
        } else if (t == "[") {
            if (!p.weight) {
                // an empty pair is no weight; anything else is one the pattern does not take
                const char *q = session::tokrest();
                if (*q == ']') {
                    session::settok(q + 1);
                    continue;
                }
                return session::not_allowed("weights");
            }
            data::ParseSpec spec;
            spec.weight = data::PO_OPTIONAL;
            spec.wmask = p.wmask;
            spec.wdefault = p.wdefault;
            rc = data::parse_weight(spec);
            if (!rc && data::sm.wtype != data::WT_NONE) {
                r.weight = data::sm.wname;
                r.exp =
                    "= " + trimmed(std::string_view(data::wtexp.text_begin,
                                                    (size_t)(data::wtexp.text_end - data::wtexp.text_begin)));
            }
        } else if (t == "using") {
            if (!p.usingf) return session::not_allowed("using");
            if (data::sm.usingpresent) return session::invalid_rest(tk.tokstart);
            rc = data::read_using();
            if (!rc) {
                const std::string &f = data::sm.usingfile;
                r.usingf = p.using_strip                      ? f
                           : f.find(' ') != std::string::npos ? "using \"" + f + "\""
                                                              : "using " + f;
            }
        } else if (t == ",") {
            if (!p.options) return session::not_allowed("options");
            if (opts) return session::invalid_rest(tk.tokstart);
            opts = true;
            rc = session::read_options(given);
        } else {
            if (!any && p.lead.kind == SL_NONE) return session::not_allowed("varlist");
            return session::invalid_rest(tk.tokstart);
        }
        if (rc) return rc;
        any = true;
    }
    if (p.exp_req && r.exp.empty()) return session::required("=exp");
    if (p.if_req && r.ifq.empty()) return session::required("if exp");
    if (p.in_req && r.in.empty()) return session::required("in range");
    if (p.using_req && !data::sm.usingpresent) return session::required("using");
    return match_opts(p, given, r);
}

} // namespace

int syntax_patterns_held() { return (int)patterns.size(); }

// syntax pattern
int cmd_syntax(int) {
    Held *h = nullptr;
    if (int rc = pattern_for(session::tokrest(), &h)) return rc;
    const char *zero = session::macro_get("_0");
    const std::string line = zero ? zero : "";
    Result r;
    r.opt.resize(h->pat.opts.size());
    const session::Tok saved = tk;
    session::settok(line.c_str());
    int rc = 0;
    if (h->pat.lead.kind != SL_NONE) rc = lead_element(h->pat.lead, r);
    if (!rc) rc = match_rest(h->pat, r);
    tk = saved;
    if (rc) return fail_clean(*h, rc);
    return store(*h, r);
}

} // namespace lang

// ---- args, tokenize, gettoken -----------------------------------------------------------------

namespace lang {

namespace {

// A local macro name as gettoken takes it: a letter or '_' first, then letters, digits and '_', at
// most 31 bytes; or a number, which names a positional argument (0, 1, ...).
bool local_ok(std::string_view n) {
    if (n.empty() || n.size() > 31) return false;
    bool digits = true;
    for (char c : n) {
        if (!word_char(c)) return false;
        digits = digits && std::isdigit((unsigned char)c);
    }
    return digits || !std::isdigit((unsigned char)n[0]);
}

std::string local_text(const std::string &stored) {
    const char *t = session::macro_get(stored.c_str());
    return t ? t : "";
}

// parse("chars"): the separators, quotes taken off.
std::string parse_chars(const std::string &opt) { return opt.empty() ? " " : unquoted(opt); }

bool is_sep(const std::string &seps, char c) { return seps.find(c) != std::string::npos; }

} // namespace

// args name [name ...]
int cmd_args(int) {
    const char *p = session::tokrest();
    std::vector<std::string> names;
    while (*p) {
        const char *b = p;
        while (*p && *p != ' ')
            ++p;
        names.emplace_back(b, (size_t)(p - b));
        while (*p == ' ')
            ++p;
    }
    for (const std::string &n : names)
        if (!session::name_ok(n)) return session::invalid_name(n);
    std::vector<std::string> vals;
    for (size_t k = 0; k < names.size(); ++k)
        vals.push_back(local_text(session::local_name(std::to_string(k + 1))));
    for (size_t k = 0; k < names.size(); ++k)
        if (int rc = session::macro_set(session::local_name(names[k]).c_str(), vals[k]))
            return session::error(rc);
    return 0;
}

// tokenize [text] [, parse("chars")]
int cmd_tokenize(int) {
    const std::string rest = session::tokrest();
    const size_t comma = session::options_comma(rest);
    std::string text = trimmed(std::string_view(rest).substr(0, comma));
    std::string popt;
    if (comma != std::string::npos) {
        const session::OptSpec specs[] = {session::opt_text("parse", 1, popt)};
        if (int rc = session::options_of(std::string_view(rest).substr(comma + 1), specs)) return rc;
    }
    const std::string seps = parse_chars(popt);
    session::Quoted q;
    if (session::quoted_at(text, 0, q)) {
        if (!q.closed) return session::unmatched_quote();
        if (q.next == text.size()) text = text.substr(q.begin, q.end - q.begin);
    }
    struct Token {
        std::string text;
    };
    std::vector<Token> toks;
    size_t i = 0;
    const size_t n = text.size();
    while (i < n) {
        const char c = text[i];
        if (c == ' ' && is_sep(seps, ' ')) {
            ++i;
            continue;
        }
        if (is_sep(seps, c)) {
            toks.push_back({std::string(1, c)});
            ++i;
            continue;
        }
        if (session::quoted_at(text, i, q)) {
            if (!q.closed) return session::unmatched_quote();
            if (q.next == n || is_sep(seps, text[q.next])) { // quoted as a whole: the quotes go
                toks.push_back({text.substr(q.begin, q.end - q.begin)});
                i = q.next;
                continue;
            }
        }
        size_t j = i;
        while (j < n && !is_sep(seps, text[j])) {
            if (session::quoted_at(text, j, q)) {
                if (!q.closed) return session::unmatched_quote();
                j = q.next;
            } else {
                ++j;
            }
        }
        toks.push_back({text.substr(i, j - i)});
        i = j;
    }
    for (int k = 1;; ++k) {
        const std::string nm = session::local_name(std::to_string(k));
        if (!session::macro_get(nm.c_str())) break;
        session::macro_drop(nm.c_str());
    }
    for (size_t k = 0; k < toks.size(); ++k) {
        const std::string nm = session::local_name(std::to_string(k + 1));
        if (int rc = session::macro_set_at(nm.c_str(), session::locallevel, toks[k].text, true))
            return session::error(rc);
    }
    return 0;
}

namespace {

// name | (local) name | (global) name: the stored name of the macro.
int macro_spec(std::string &stored) {
    std::string t = gettok(SEP_STD);
    bool global = false;
    if (t == "(") {
        const std::string kind = gettok(SEP_STD);
        if (kind == "global")
            global = true;
        else if (kind != "local")
            return session::error(198);
        if (std::string(gettok(SEP_STD)) != ")") return session::error(198);
        t = gettok(SEP_STD);
    }
    if (t.empty() || t == ":" || t == ",") return session::error(198);
    if (global) {
        if (!session::name_ok(t) || t[0] == '_') return session::invalid_name(t);
        stored = t;
        return 0;
    }
    if (!local_ok(t)) return session::invalid_name(t);
    stored = session::local_name(t);
    return 0;
}

} // namespace

// gettoken emac [emac2] : source [, parse("chars") match(lmac) quotes qed(lmac) bind]
int cmd_gettoken(int) {
    std::string emac, emac2, source;
    if (int rc = macro_spec(emac)) return rc;
    std::string t = gettok(SEP_STD);
    if (t != ":") {
        session::ungettok();
        if (int rc = macro_spec(emac2)) return rc;
        t = gettok(SEP_STD);
    }
    if (t != ":") return session::error(198);
    if (int rc = macro_spec(source)) return rc;
    std::string popt, matchm, qedm;
    bool quotes = false, bind = false;
    const session::OptSpec specs[] = {
        session::opt_text("parse", 1, popt),    session::opt_name("match", 1, matchm),
        session::opt_flag("quotes", 1, quotes), session::opt_name("qed", 3, qedm),
        session::opt_flag("bind", 4, bind),
    };
    if (int rc = session::parse_options(specs)) return rc;
    if (!matchm.empty() && !local_ok(matchm)) return session::invalid_name(matchm);
    if (!qedm.empty() && !local_ok(qedm)) return session::invalid_name(qedm);
    const std::string seps = parse_chars(popt);
    const std::string s = local_text(source);

    size_t i = 0;
    const size_t n = s.size();
    if (is_sep(seps, ' '))
        while (i < n && s[i] == ' ')
            ++i;
    std::string token, paren;
    bool quoted = false;
    size_t next = i;
    session::Quoted q;
    if (i >= n) {
        next = n;
    } else if (!matchm.empty() && s[i] == '(') {
        const size_t e = group_close(s, i);
        if (e == std::string::npos || s[e] != ')') return session::fail(132, "parentheses unbalanced\n");
        token = s.substr(i + 1, e - i - 1);
        paren = "(";
        next = e + 1;
    } else if (session::quoted_at(s, i, q)) {
        if (!q.closed) return session::unmatched_quote();
        token = quotes ? s.substr(i, q.next - i) : s.substr(q.begin, q.end - q.begin);
        quoted = true;
        next = q.next;
    } else if (is_sep(seps, s[i])) {
        token = s.substr(i, 1);
        next = i + 1;
    } else {
        size_t j = i;
        while (j < n && !is_sep(seps, s[j])) {
            if (session::quoted_at(s, j, q)) {
                if (!q.closed) return session::unmatched_quote();
                j = q.next;
            } else if (bind && (s[j] == '(' || s[j] == '[')) {
                const size_t e = group_close(s, j);
                if (e == std::string::npos) return session::fail(132, "parentheses unbalanced\n");
                j = e + 1;
            } else {
                ++j;
            }
        }
        token = s.substr(i, j - i);
        next = j;
    }
    const std::string rest = s.substr(next);
    if (int rc = session::macro_set(emac.c_str(), token)) return session::error(rc);
    if (!emac2.empty())
        if (int rc = session::macro_set(emac2.c_str(), rest)) return session::error(rc);
    if (!matchm.empty())
        if (int rc = session::macro_set(session::local_name(matchm).c_str(), paren))
            return session::error(rc);
    if (!qedm.empty())
        if (int rc = session::macro_set(session::local_name(qedm).c_str(), quoted ? "1" : "0"))
            return session::error(rc);
    return 0;
}

} // namespace lang
