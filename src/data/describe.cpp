// _describe: the summary of the dataset and a line for each variable, with r(N), r(k), r(width),
// r(changed) and r(sortlist).
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/dtafile.h"
#include "data/labels.h"
#include "data/usecmd.h"
#include "data/varlist.h"
#include "matrix/results.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/macstore.h"
#include "session/options.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

using session::cmdmatch;
using session::gettok;
using session::SEP_STD;

// Columns of a variable line: name, type, format, value label, variable label.
constexpr int COL_TYPE = 17, COL_FMT = 25, COL_VALLAB = 36, COL_LABEL = 47;
constexpr int RULE = 79;

// A name longer than w keeps its head and its last two bytes around a `~`, which as a pattern
// matches the variable again.
std::string abbrev(const std::string &s, int w) {
    if ((int)s.size() <= w) return s;
    return s.substr(0, w - 3) + "~" + s.substr(s.size() - 2);
}

// Pads line to reach column col (from 1), at least one blank when it is already there.
void pad_to(std::string &line, int col) {
    if ((int)line.size() >= col - 1) line.push_back(' ');
    while ((int)line.size() < col - 1)
        line.push_back(' ');
}

std::string variable_label(const char *name) {
    const char *l = varlabel_get(name);
    return l ? l : "";
}

bool is_e(int v) { return std::strcmp(ds.varname[v - 1], "(e)") == 0; }

void rule() {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_rimuf("{hline %d}\n", RULE);
}

void text_line(const std::string &s) {
    out::ClassScope cs(out::CLS_TEXT);
    out::out_text(s);
    out::out_text("\n");
}

int r_scalar(const char *name, double v) { return mat::r_set_scalar(name, v); }

// What a variable line shows.
struct VarLine {
    std::string name;
    int type;
    std::string fmt, vallab, label;
};

// What the lines above the variables show.
struct Summary {
    std::string from; // the file, or empty
    int32_t nobs;
    int k;
    int64_t size;
    std::string size_tail; // behind the size
    std::string label, stamp;
};

void summary_lines(const Summary &s) {
    char buf[200];
    text_line(!s.from.empty() ? "Contains data from " + s.from : "Contains data");
    std::snprintf(buf, sizeof buf, "  obs:%12d", s.nobs);
    std::string line = buf;
    if (!s.label.empty()) {
        pad_to(line, COL_LABEL);
        line += s.label;
    }
    text_line(line);
    std::snprintf(buf, sizeof buf, " vars:%12d", s.k);
    line = buf;
    if (!s.stamp.empty()) {
        pad_to(line, COL_LABEL);
        line += s.stamp;
    }
    text_line(line);
    std::snprintf(buf, sizeof buf, " size:%12lld", (long long)s.size);
    text_line(buf + s.size_tail);
}

int variable_lines(const std::vector<VarLine> &vars, bool fullnames) {
    rule();
    std::string head = "variable";
    pad_to(head, COL_TYPE);
    head += "type";
    pad_to(head, COL_FMT);
    head += "format";
    pad_to(head, COL_VALLAB);
    head += "val. label";
    pad_to(head, COL_LABEL);
    head += "variable label";
    text_line(head);
    rule();
    for (const VarLine &x : vars) {
        if (session::poll_break()) return 1;
        out::ClassScope cs(out::CLS_RESULT);
        std::string line = fullnames ? x.name : abbrev(x.name, COL_TYPE - 2);
        if ((int)line.size() > COL_TYPE - 2) {
            // A full name wider than its column stands on a line of its own.
            out::out_text(line);
            out::out_text("\n");
            line.clear();
        }
        char tn[8];
        pad_to(line, COL_TYPE);
        line += type_name(x.type, tn);
        pad_to(line, COL_FMT);
        line += x.fmt;
        pad_to(line, COL_VALLAB);
        line += fullnames ? x.vallab : abbrev(x.vallab, COL_LABEL - COL_VALLAB - 1);
        if (!x.label.empty()) {
            pad_to(line, COL_LABEL);
            line += x.label;
        }
        while (!line.empty() && line.back() == ' ')
            line.pop_back();
        out::out_text(line);
        out::out_text("\n");
    }
    rule();
    return 0;
}

int sorted_line(const std::string &sorted, int32_t nobs, int k, int32_t width, int32_t changed) {
    text_line("Sorted by:  " + sorted);
    mat::r_clear();
    int rc = r_scalar("N", nobs);
    if (!rc) rc = r_scalar("k", k);
    if (!rc) rc = r_scalar("width", width);
    if (!rc) rc = r_scalar("changed", changed);
    if (!rc && !sorted.empty()) rc = mat::r_set_macro("sortlist", sorted);
    return rc;
}

// True when the word `using` stands in the rest of the line.
bool using_ahead() {
    session::TokState st;
    session::savetok(st);
    bool found = false;
    for (const char *t = gettok(SEP_STD); *t && !found; t = gettok(SEP_STD))
        found = std::strcmp(t, "using") == 0;
    session::restoretok(st);
    return found;
}

// _describe [varlist] using filename [, short fullnames]
int describe_using() {
    // The file first: the list names its variables.
    session::TokState st;
    session::savetok(st);
    for (const char *t = gettok(SEP_STD); *t && std::strcmp(t, "using") != 0; t = gettok(SEP_STD)) {
    }
    std::string name = gettok(session::SEP_FILE);
    if (!name.empty() && name[0] == '"') name.erase(0, 1);
    session::restoretok(st);
    if (name.empty() || name == ",") return session::error(7197);
    DtaFile f;
    if (int rc = dta_open(dta_filename(name), f)) return rc;
    {
        DtaParseScope scope(f);
        if (int rc = parse_varlist(VL_ANY)) return rc;
    }
    if (std::strcmp(gettok(SEP_STD), "using") != 0) return session::invalid_rest(session::tk.tokstart);
    gettok(session::SEP_FILE);
    bool shortform = false, fullnames = false;
    const session::OptSpec specs[] = {session::opt_flag("short", 1, shortform),
                                      session::opt_flag("fullnames", 4, fullnames)};
    if (int rc = session::parse_options(specs)) return rc;

    const bool listed = ps.count > 0;
    int k = 0;
    for (const DtaVar &x : f.vars)
        if (std::strcmp(x.name, "(e)") != 0) ++k;
    summary_lines({f.path, f.nobs, k, (int64_t)f.nobs * f.width, "", f.label, f.stamp});
    if (!shortform && (k > 0 || listed)) {
        std::vector<VarLine> lines;
        const int n = listed ? ps.count : (int)f.vars.size();
        for (int j = 0; j < n; ++j) {
            const int v = listed ? ps.var[j] : j + 1;
            if (v < 1 || v > (int)f.vars.size()) continue;
            const DtaVar &x = f.vars[(size_t)v - 1];
            if (std::strcmp(x.name, "(e)") == 0) continue;
            lines.push_back({x.name, x.type, x.fmt, x.vallab, x.label});
        }
        if (int rc = variable_lines(lines, fullnames)) return rc;
    }
    std::string sorted;
    for (int s : f.sortlist) {
        if (!sorted.empty()) sorted.push_back(' ');
        sorted += f.vars[(size_t)s - 1].name;
    }
    return sorted_line(sorted, f.nobs, k, f.width, 0);
}

} // namespace

// _describe [varlist] [using filename] [, short fullnames]
int cmd_describe(int) {
    if (using_ahead()) return describe_using();
    bool shortform = false, fullnames = false;
    if (int rc = parse_varlist(VL_ANY)) return rc;
    const session::OptSpec specs[] = {session::opt_flag("short", 1, shortform),
                                      session::opt_flag("fullnames", 4, fullnames)};
    if (int rc = session::parse_options(specs)) return rc;
    const bool listed = ps.count > 0;

    // The dataset as a whole: the hidden sample variable `(e)` is not one of its variables.
    int k = 0;
    for (int v = 1; v <= ds.nvar; ++v)
        if (!is_e(v)) ++k;
    const MemInfo mi = data_memory_info();
    const int64_t size = (int64_t)ds.nobs * ds.w_cur;
    const double freepct =
        mi.M_total > 0 ? 100.0 * (double)(mi.M_total - mi.M_data - mi.M_oh) / (double)mi.M_total : 0.0;
    const char *fn = session::macro_get("S_FN");
    const char *fdate = session::macro_get("S_FNDATE");
    char tail[64];
    std::snprintf(tail, sizeof tail, " (%.1f%% of memory free)", freepct);
    summary_lines({fn ? fn : "", ds.nobs, k, size, tail, ds.datalabel, fdate ? fdate : ""});

    if (!shortform && (k > 0 || listed)) {
        std::vector<VarLine> lines;
        const int n = listed ? ps.count : ds.nvar;
        for (int j = 0; j < n; ++j) {
            const int v = listed ? ps.var[j] : j + 1;
            if (v < 1 || v > ds.nvar || is_e(v)) continue;
            lines.push_back({ds.varname[v - 1], ds.vartype[v - 1], ds.fmt[v - 1], ds.vallab[v - 1],
                             variable_label(ds.varname[v - 1])});
        }
        if (int rc = variable_lines(lines, fullnames)) return rc;
    }

    std::string sorted;
    for (int s = 0; ds.sortlist && ds.sortlist[s]; ++s) {
        if (!sorted.empty()) sorted.push_back(' ');
        sorted += ds.varname[ds.sortlist[s] - 1];
    }
    return sorted_line(sorted, ds.nobs, k, ds.w_cur, ds.changed);
}

} // namespace data
