// The standard parse of the data commands and the sample it leaves behind.
#include "data/xeq.h"

#include <cstdlib>
#include <cstring>

#include "data/dataset.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

using session::gettok;
using session::SEP_FILE;
using session::SEP_NUM;
using session::SEP_STD;
using session::tk;

Sample sm;
ExprRecord wtexp;
ByState bys;

namespace {

// One item of an `in` range; false for a bad item.
bool in_item(const std::string &t, bool own, int32_t *obs) {
    if (t == "f" || t == "F") {
        *obs = 1;
        return true;
    }
    if (t == "l" || t == "L") {
        *obs = own ? 2147483646 : ds.nobs;
        return true;
    }
    if (t.empty()) return false;
    char *end;
    const long long v = std::strtoll(t.c_str(), &end, 10);
    if (*end || v == 0) return false;
    if (v < 0) {
        const long long o = (long long)ds.nobs + 1 + v;
        *obs = o < -1 ? -1 : (int32_t)o; // 0 or below: out of range
    } else {
        *obs = v > 2147483647LL ? 2147483647 : (int32_t)v;
    }
    return true;
}

// The weight keywords: what each means and its shortest form.
struct WeightWord {
    const char *name;
    int minlen;
    uint8_t type; // WT_NONE: the command's default
};
constexpr WeightWord weight_words[] = {
    {"fweight", 2, WT_F},   {"aweight", 2, WT_A},  {"pweight", 2, WT_P},   {"iweight", 2, WT_I},
    {"weight", 1, WT_NONE}, {"cellsize", 4, WT_A}, {"frequency", 4, WT_F},
};

const char *weight_name(uint8_t t) {
    switch (t) {
    case WT_F:
        return "fweight";
    case WT_A:
        return "aweight";
    case WT_P:
        return "pweight";
    case WT_I:
        return "iweight";
    default:
        return "";
    }
}

uint8_t default_weight(const ParseSpec &spec) {
    if (spec.wdefault) return spec.wdefault;
    for (uint8_t t : {WT_F, WT_A, WT_P, WT_I})
        if (spec.wmask & t) return t;
    return WT_NONE;
}

// The text of the weight's expression is kept here: the record points into it.
std::string wtext;

int compile_weight(uint8_t type, const char *text, size_t len) {
    wtext.assign(text, len);
    if (int rc = expr_compile(wtext.c_str(), wtexp, XW_NUM)) return rc;
    sm.wtype = type;
    sm.wname = weight_name(type);
    return 0;
}

} // namespace

// [ keyword = exp ]  or  [ ]   (the `[` has been read)
int parse_weight(const ParseSpec &spec) {
    // The text up to the `]` that closes the bracket, with brackets and quotes inside balanced.
    const char *p = tk.tokpos;
    const char *close = nullptr;
    int depth = 0;
    for (const char *q = p; *q && !close; ++q) {
        session::Quoted qt;
        if (session::quoted_at(q, 0, qt)) {
            q += qt.next - 1;
            continue;
        }
        if (*q == '[' || *q == '(')
            ++depth;
        else if ((*q == ']' || *q == ')') && depth > 0)
            --depth;
        else if (*q == ']')
            close = q;
    }
    if (!close) return session::error(198);
    std::string inside(p, (size_t)(close - p));
    tk.tokpos = close + 1;
    tk.tokpushed = false;
    if (inside.find_first_not_of(' ') == std::string::npos) return 0; // [] is no weight
    if (sm.wtype != WT_NONE) return session::fail(198, "too many weights\n");
    if (spec.weight == PO_NONE) return session::not_allowed("weights");
    // keyword
    size_t b = inside.find_first_not_of(' ');
    size_t e = b;
    while (e < inside.size() && inside[e] != ' ' && inside[e] != '=')
        ++e;
    const std::string word = inside.substr(b, e - b);
    const WeightWord *w = nullptr;
    for (const WeightWord &ww : weight_words)
        if (session::cmdmatch(word.c_str(), ww.name, ww.minlen)) {
            w = &ww;
            break;
        }
    if (!w) return session::fail(198, word + " unknown weight type\n");
    const uint8_t type = w->type == WT_NONE ? default_weight(spec) : w->type;
    if (!(spec.wmask & type)) return session::not_allowed(weight_name(type));
    size_t eq = inside.find_first_not_of(' ', e);
    if (eq == std::string::npos || inside[eq] != '=') return session::error(198);
    const std::string exp = inside.substr(eq + 1);
    if (exp.find_first_not_of(' ') == std::string::npos) return session::error(198);
    return compile_weight(type, exp.c_str(), exp.size());
}

namespace {

// =exp in a command that takes none: a weight in the old style, refused since version 3.
int old_style_weight(const ParseSpec &spec) {
    if (session::lp.version >= 300 || !spec.wmask) return session::error(198);
    if (sm.wtype != WT_NONE) return session::fail(198, "too many weights\n");
    const char *start = tk.tokpos;
    const char *end = nullptr;
    ExprRecord probe;
    if (int rc = expr_compile(start, probe, XW_NUM, &end, XC_PRESCAN)) return rc;
    if (out::ch.OutputLevel < out::LVL_QUIET) {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_text("(please avoid =exp old-style weight syntax)\n");
    }
    tk.tokpos = end;
    tk.tokpushed = false;
    return compile_weight(default_weight(spec), start, (size_t)(end - start));
}

} // namespace

int read_using() {
    std::string f = gettok(SEP_FILE);
    if (!f.empty() && f[0] == '"') f.erase(0, 1);
    if (f.empty() || f == "," || f.size() > (size_t)USING_MAX) return session::error(7197);
    sm.usingfile = f;
    sm.usingpresent = true;
    return 0;
}

void sample_reset() {
    sm.ifpresent = sm.exppresent = sm.usingpresent = false;
    sm.wtype = WT_NONE;
    sm.wname.clear();
    sm.usingfile.clear();
    sm.options.clear();
}

void command_begin() {
    command_start();
    parser_reset();
    sample_reset();
}

int parse_in(bool own) {
    if (session::lp.byprefix) return session::fail(190, "'in' may not be combined with 'by'\n");
    if (ps.inrange) return session::error(198);
    std::string a = gettok(SEP_NUM);
    int32_t lo, hi;
    if (!in_item(a, own, &lo)) return session::fail(198, "'" + a + "' invalid obs no\n");
    hi = lo;
    if (std::strcmp(gettok(SEP_NUM), "/") == 0) {
        std::string b = gettok(SEP_NUM);
        if (!in_item(b, own, &hi)) return session::fail(198, "'" + b + "' invalid obs no\n");
    } else {
        session::ungettok();
    }
    if (lo < 1 || lo > hi || (!own && hi > ds.nobs)) return session::fail(198, "Obs. nos. out of range\n");
    ps.inrange = true;
    ps.in_lo = lo;
    ps.in_hi = hi;
    return 0;
}

int std_parse(const ParseSpec &spec) {
    bool had_list = ps.count > 0;
    if (spec.varlist == PO_REQUIRED || spec.varlist == PO_OPTIONAL) {
        // A list that names nothing (`_all` of a dataset without variables) was still given.
        const char *before = session::tokrest();
        if (int rc = parse_varlist(spec.vlflags)) return rc;
        const char *after = tk.tokpushed ? tk.tokstart : tk.tokpos;
        while (after && *after == ' ')
            ++after;
        had_list = ps.count > 0 || (after && after != before);
    }
    for (;;) {
        const std::string t = gettok(SEP_STD);
        if (t.empty()) break;
        int rc = 0;
        if (t == "in") {
            if (spec.in == PO_NONE) return session::not_allowed("in");
            if (ps.inrange) return session::invalid_rest(tk.tokstart);
            rc = parse_in(spec.in == PO_OWN);
        } else if (t == "if") {
            if (spec.ifq == PO_NONE) return session::not_allowed("if");
            if (sm.ifpresent) return session::invalid_rest(tk.tokstart);
            rc = expr_compile_tok(ifexp, XW_NUM);
            sm.ifpresent = rc == 0;
        } else if (t == "=") {
            if (spec.exp == PO_NONE) {
                rc = old_style_weight(spec);
            } else {
                if (sm.exppresent) return session::invalid_rest(tk.tokstart);
                rc = expr_compile_tok(eqexp, spec.exptype);
                sm.exppresent = rc == 0;
            }
        } else if (t == "[") {
            rc = parse_weight(spec);
        } else if (t == "using") {
            if (spec.usingf == PO_NONE) return session::not_allowed("using");
            if (sm.usingpresent) return session::invalid_rest(tk.tokstart);
            rc = read_using();
        } else if (t == ",") {
            if (spec.options == PO_NONE) return session::not_allowed("options");
            std::vector<session::Option> more;
            rc = session::read_options(more);
            if ((int)(sm.options.size() + more.size()) > session::max_options)
                return session::fail(1003, "too many options\n");
            sm.options.insert(sm.options.end(), more.begin(), more.end());
        } else {
            return session::invalid_rest(tk.tokstart);
        }
        if (rc) return rc;
    }
    if (spec.need_one && !had_list && !ps.inrange && !sm.ifpresent) return session::required(spec.need_one);
    if (spec.varlist == PO_REQUIRED && !had_list) return session::required("varlist");
    if (spec.usingf == PO_REQUIRED && !sm.usingpresent) return session::required("using");
    if (spec.exp == PO_REQUIRED && !sm.exppresent) return session::required("=exp");
    if (spec.in == PO_REQUIRED && !ps.inrange) return session::required("in range");
    if (spec.ifq == PO_REQUIRED && !sm.ifpresent) return session::required("if exp");
    if (spec.weight == PO_REQUIRED && sm.wtype == WT_NONE) return session::required("weight");
    return 0;
}

int std_options(std::span<const session::OptSpec> specs) { return session::match_options(sm.options, specs); }

int32_t sample_lo() {
    int32_t lo = ps.inrange ? ps.in_lo : 1;
    if (bys.state && bys.lo > lo) lo = bys.lo;
    return lo;
}

int32_t sample_hi() {
    int32_t hi = ps.inrange ? ps.in_hi : ds.nobs;
    if (bys.state && bys.hi < hi) hi = bys.hi;
    return hi;
}

void sample_ranges(ExprRecord &rec) {
    const int32_t lo = ps.inrange ? ps.in_lo : 1, hi = ps.inrange ? ps.in_hi : ds.nobs;
    if (bys.state)
        expr_set_ranges(rec, lo, hi, bys.lo, bys.hi);
    else
        expr_set_ranges(rec, lo, hi, 1, ds.nobs);
}

int sample_obs(std::vector<int32_t> &obs) {
    obs.clear();
    if (sm.ifpresent) sample_ranges(ifexp);
    expr_lastrc = 0;
    const int32_t lo = sample_lo(), hi = sample_hi();
    for (int32_t i = lo; i <= hi; ++i) {
        if (((i - lo) & 4095) == 4095 && session::poll_break()) return 1;
        if (if_true(i)) obs.push_back(i);
    }
    return expr_lastrc;
}

} // namespace data
