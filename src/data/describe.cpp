// _describe: the summary of the dataset and a line for each variable, with r(N), r(k), r(width),
// r(changed) and r(sortlist).
#include <cstdio>
#include <cstring>
#include <string>

#include "data/datacmd.h"
#include "data/dataset.h"
#include "data/labels.h"
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

} // namespace

// _describe [varlist] [using filename] [, short fullnames]
int cmd_describe(int) {
    bool shortform = false, fullnames = false;
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (std::string(gettok(SEP_STD)) == "using") return session::not_built("describe using");
    session::ungettok();
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

    char buf[200];
    text_line(fn && *fn ? std::string("Contains data from ") + fn : "Contains data");
    {
        std::snprintf(buf, sizeof buf, "  obs:%12d", ds.nobs);
        std::string line = buf;
        if (ds.datalabel[0]) {
            pad_to(line, COL_LABEL);
            line += ds.datalabel;
        }
        text_line(line);
        std::snprintf(buf, sizeof buf, " vars:%12d", k);
        line = buf;
        if (fdate && *fdate) {
            pad_to(line, COL_LABEL);
            line += fdate;
        }
        text_line(line);
        std::snprintf(buf, sizeof buf, " size:%12lld (%.1f%% of memory free)", (long long)size, freepct);
        text_line(buf);
    }

    if (!shortform && (k > 0 || listed)) {
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
        const int n = listed ? ps.count : ds.nvar;
        for (int j = 0; j < n; ++j) {
            const int v = listed ? ps.var[j] : j + 1;
            if (v < 1 || v > ds.nvar || is_e(v)) continue;
            if (session::poll_break()) return 1;
            std::string name = ds.varname[v - 1];
            out::ClassScope cs(out::CLS_RESULT);
            std::string line = fullnames ? name : abbrev(name, COL_TYPE - 2);
            if ((int)line.size() > COL_TYPE - 2) {
                // A full name wider than its column stands on a line of its own.
                out::out_text(line);
                out::out_text("\n");
                line.clear();
            }
            char tn[8];
            pad_to(line, COL_TYPE);
            line += type_name(ds.vartype[v - 1], tn);
            pad_to(line, COL_FMT);
            line += ds.fmt[v - 1];
            pad_to(line, COL_VALLAB);
            line += fullnames ? std::string(ds.vallab[v - 1])
                              : abbrev(ds.vallab[v - 1], COL_LABEL - COL_VALLAB - 1);
            std::string lbl = variable_label(name.c_str());
            if (!lbl.empty()) {
                pad_to(line, COL_LABEL);
                line += lbl;
            }
            while (!line.empty() && line.back() == ' ')
                line.pop_back();
            out::out_text(line);
            out::out_text("\n");
        }
    }
    if (!shortform && (k > 0 || listed)) rule();

    std::string sorted;
    for (int s = 0; ds.sortlist && ds.sortlist[s]; ++s) {
        if (!sorted.empty()) sorted.push_back(' ');
        sorted += ds.varname[ds.sortlist[s] - 1];
    }
    text_line("Sorted by:  " + sorted);

    mat::r_clear();
    int rc = r_scalar("N", ds.nobs);
    if (!rc) rc = r_scalar("k", k);
    if (!rc) rc = r_scalar("width", ds.w_cur);
    if (!rc) rc = r_scalar("changed", ds.changed);
    if (!rc && !sorted.empty()) rc = mat::r_set_macro("sortlist", sorted);
    return rc;
}

} // namespace data
