// list: variables over observations as a boxed table, or one box per observation when the table
// would not fit the line; the if/in qualifiers as list and assert read them.
#include "data/list.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/expr.h"
#include "data/fmt.h"
#include "data/labels.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "output/rimu.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

using session::gettok;
using session::SEP_NUM;
using session::SEP_STD;

std::string abbreviate_name(const std::string &name, int n) {
    if ((int)name.size() <= n || n < 2) return name;
    return name.substr(0, (size_t)n - 2) + "~" + name.back();
}

namespace {

// A value as shown: the label of its value, cut to the format's width, when the variable has one;
// otherwise the number through the variable's format without its padding, or the string.
std::string cell_text(int v, int32_t i, bool nolabel) {
    const uint8_t type = ds.vartype[v - 1];
    if (is_string_type(type)) {
        char buf[EXPR_STRBUF];
        get_str(v, i, buf);
        return buf;
    }
    Fmt f;
    if (fmt_parse(ds.fmt[v - 1], f, true) || fmt_isstr(f)) f = fmt_default();
    const double x = get_num(v, i);
    if (!nolabel)
        if (const char *l = vl_text(ds.vallab[v - 1], x)) {
            std::string t(l);
            if (t.size() > (size_t)std::max(fmt_width(f), 1)) {
                t.resize((size_t)std::max(fmt_width(f), 1));
                while (t.size() > 1 && t.back() == ' ')
                    t.pop_back();
            }
            return t;
        }
    char buf[FMT_BUFSIZE];
    int n = fmt_number(x, f, buf, sizeof buf);
    std::string s(buf, (size_t)n);
    size_t b = s.find_first_not_of(' ');
    if (b == std::string::npos) return "";
    return s.substr(b, s.find_last_not_of(' ') - b + 1);
}

// Left-justified columns: strings under a %-s format, and numbers under a %- format, whose labels
// then stand to the left.
bool left_justified(int v) { return ds.fmt[v - 1][1] == '-'; }

std::string blanks(int n) { return n > 0 ? std::string((size_t)n, ' ') : std::string(); }

// text placed in a field of width w, escaped for markup.
std::string field(const std::string &text, int w, bool left) {
    int pad = w - (int)text.size();
    return left ? out::brace_escaped(text) + blanks(pad) : blanks(pad) + out::brace_escaped(text);
}

std::string rule(const char *l, int inner, const char *r) {
    return std::string("{txt}{c ") + l + "}{hline " + std::to_string(inner) + "}{c " + r + "}";
}

struct Layout {
    const ListOpts &o;
    int lw = 0;     // width of the observation numbers with their point
    int indent = 0; // where the box starts
    std::vector<std::string> lines;

    explicit Layout(const ListOpts &opts) : o(opts) {}

    std::string label(int32_t i) const {
        if (o.noobs) return blanks(indent);
        std::string t = std::to_string(i) + ".";
        return "{txt}" + blanks(lw - (int)t.size()) + t + " ";
    }
    // A bordered line: border, content padded to inner-2, border.
    void boxed(const std::string &lead, const std::string &content, int content_width, int inner) {
        if (o.clean) {
            std::string s = lead + "  " + content;
            lines.push_back(s);
            return;
        }
        lines.push_back(lead + "{txt}{c |} " + content + blanks(inner - 2 - content_width) + "{txt} {c |}");
    }
    void ruled(const char *l, int inner, const char *r) {
        if (!o.clean) lines.push_back(blanks(indent) + rule(l, inner, r));
    }
};

// Removes the trailing blanks of a clean line, and the colour tags among them.
void trim_right(std::string &s) {
    for (;;) {
        if (!s.empty() && s.back() == ' ')
            s.pop_back();
        else if (s.size() >= 5 &&
                 (s.compare(s.size() - 5, 5, "{res}") == 0 || s.compare(s.size() - 5, 5, "{txt}") == 0))
            s.resize(s.size() - 5);
        else
            break;
    }
}

} // namespace

std::vector<std::string> list_lines(const std::vector<int> &vars, const std::vector<int32_t> &obs,
                                    const ListOpts &o) {
    Layout L(o);
    if (vars.empty() || obs.empty()) return L.lines;
    const int k = (int)vars.size();
    const int abbrev = std::clamp(o.abbreviate, 5, 32);
    if (!o.noobs) {
        L.lw = 4;
        for (int32_t i : obs)
            L.lw = std::max(L.lw, (int)std::to_string(i).size() + 1);
        L.indent = L.lw + 1;
    } else {
        L.indent = 2;
    }
    // The cells as text, by variable.
    std::vector<std::vector<std::string>> cells((size_t)k);
    std::vector<int> valw((size_t)k, 0);
    for (int j = 0; j < k; ++j) {
        cells[j].reserve(obs.size());
        for (int32_t i : obs) {
            cells[j].push_back(cell_text(vars[j], i, o.nolabel));
            valw[j] = std::max(valw[j], (int)cells[j].back().size());
        }
    }
    // The table: header over each column, names cut to what the values need but not below abbrev.
    std::vector<std::string> head((size_t)k);
    std::vector<int> w((size_t)k);
    int inner = 1;
    for (int j = 0; j < k; ++j) {
        head[j] = abbreviate_name(ds.varname[vars[j] - 1], std::max(valw[j], abbrev));
        w[j] = std::max(valw[j], (int)head[j].size());
        inner += w[j] + (j ? 3 : 0);
    }
    inner += 1;
    if (L.indent + inner + 2 <= o.linesize) {
        auto row = [&](const std::vector<std::string> &texts, const char *colour) {
            std::string s;
            int width = 0;
            for (int j = 0; j < k; ++j) {
                if (j) s += "   ";
                s += colour + field(texts[j], w[j], left_justified(vars[j]));
                width += w[j] + (j ? 3 : 0);
            }
            return std::pair<std::string, int>(s, width);
        };
        L.ruled("TLC", inner, "TRC");
        auto h = row(head, "{txt}");
        L.boxed(blanks(L.indent), h.first, h.second, inner);
        L.ruled("LT", inner, "RT");
        for (size_t r = 0; r < obs.size(); ++r) {
            if (r && o.separator > 0 && r % (size_t)o.separator == 0) L.ruled("LT", inner, "RT");
            std::vector<std::string> texts((size_t)k);
            for (int j = 0; j < k; ++j)
                texts[j] = cells[j][r];
            auto v = row(texts, "{res}");
            L.boxed(L.label(obs[r]), v.first, v.second, inner);
        }
        L.ruled("BLC", inner, "BRC");
        if (o.clean)
            for (std::string &s : L.lines)
                trim_right(s);
        return L.lines;
    }

    // Too wide: each observation in a box across the line, its cells packed into rows of name over
    // value. A value wider than the box goes on over several lines.
    const int box = std::max(o.linesize - L.indent - 2, 12);
    const int room = box - 2;
    for (size_t r = 0; r < obs.size(); ++r) {
        L.ruled("TLC", box, "TRC");
        bool first_group = true;
        int j = 0;
        while (j < k) {
            // The cells of this group.
            int used = 0, end = j;
            std::vector<int> cw;
            while (end < k) {
                const std::string nm = ds.varname[vars[end] - 1];
                int c = std::max((int)std::min((int)nm.size(), room), (int)cells[end][r].size());
                c = std::min(c, room);
                int need = (end > j ? 3 : 0) + c;
                if (end > j && used + need > room) break;
                used += need;
                cw.push_back(c);
                ++end;
            }
            if (!first_group) L.ruled("LT", box, "RT");
            std::string hs, vs;
            int width = 0;
            size_t longest = 0;
            for (int g = j; g < end; ++g)
                longest = std::max(longest, cells[g][r].size());
            // Value lines: one, or more for a value wider than the box (then alone in its group).
            const size_t nlines = std::max<size_t>(1, (longest + (size_t)room - 1) / (size_t)room);
            for (int g = j; g < end; ++g) {
                const int c = cw[(size_t)(g - j)];
                if (g > j) {
                    hs += "   ";
                    width += 3;
                }
                hs += "{txt}" + field(abbreviate_name(ds.varname[vars[g] - 1], c), c,
                                      left_justified(vars[g]) || nlines > 1);
                width += c;
            }
            L.boxed(first_group ? L.label(obs[r]) : blanks(L.indent), hs, width, box);
            for (size_t ln = 0; ln < nlines; ++ln) {
                std::string s;
                for (int g = j; g < end; ++g) {
                    const int c = cw[(size_t)(g - j)];
                    const std::string &t = cells[g][r];
                    std::string piece =
                        nlines > 1
                            ? (ln * (size_t)room < t.size() ? t.substr(ln * (size_t)room, (size_t)room) : "")
                            : t;
                    if (g > j) s += "   ";
                    s += "{res}" + field(piece, c, left_justified(vars[g]) || nlines > 1);
                }
                L.boxed(blanks(L.indent), s, width, box);
            }
            first_group = false;
            j = end;
        }
        L.ruled("BLC", box, "BRC");
    }
    if (o.clean)
        for (std::string &s : L.lines)
            trim_right(s);
    return L.lines;
}

// list [varlist] [if exp] [in range] [, noobs clean nolabel separator(#) abbreviate(#)]
int cmd_list(int) {
    ParseSpec spec;
    spec.varlist = PO_OPTIONAL;
    if (int rc = std_parse(spec)) return rc;
    ListOpts o;
    o.linesize = session::se.linesize;
    const session::OptSpec specs[] = {
        session::opt_flag("noobs", 4, o.noobs),
        session::opt_flag("clean", 5, o.clean),
        session::opt_flag("nolabel", 3, o.nolabel),
        session::opt_int("separator", 3, o.separator, 0, 1000000),
        session::opt_int("abbreviate", 2, o.abbreviate, 0, 1000000),
    };
    if (int rc = std_options(specs)) return rc;
    if (ps.count == 0)
        if (int rc = list_all()) return rc;
    std::vector<int> vars;
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[k] >= 1) vars.push_back(ps.var[k]);
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;
    out::ClassScope cs(out::CLS_RESULT);
    for (const std::string &line : list_lines(vars, obs, o)) {
        out::out_rimu(line);
        out::out_rimu("{txt}\n");
        if (session::poll_break()) return 1;
    }
    return 0;
}

} // namespace data
