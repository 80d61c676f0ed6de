// format: sets the display format of variables, or lists the formats in force.
#include "data/formatcmd.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/varlist.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/tok.h"

namespace data {

namespace {

// The format text at the tokenizer, when the next thing there begins with %: up to the next blank.
bool read_format(std::string &text) {
    if (session::tk.tokpushed) { // the varlist parser stopped at the %
        session::tk.tokpos = session::tk.tokstart;
        session::tk.tokpushed = false;
    }
    const char *p = session::tokrest();
    if (*p != '%') return false;
    const char *e = p;
    while (*e && *e != ' ')
        ++e;
    text.assign(p, e - p);
    session::settok(e);
    return true;
}

int mismatch(const std::string &fmt, const char *kind, int v) {
    return session::fail(120, fmt + " invalid for " + kind + " variable " + ds.varname[v - 1] + "\n");
}

int list_formats(const std::vector<int> &vars) {
    if (vars.empty()) return 0;
    size_t col = 20;
    for (int v : vars)
        col = std::max(col, std::strlen(ds.varname[v - 1]) + 6);
    out::ClassScope cs(out::CLS_TEXT);
    out::out_rimuf("\n{txt}  variable name{col %zu}display format\n", col + 1);
    out::out_rimuf("  {hline %zu}\n", col + 14);
    for (int v : vars) {
        out::out_text("  " + std::string(ds.varname[v - 1]));
        out::out_rimuf("{col %zu}", col + 1);
        out::out_text(ds.fmt[v - 1]);
        out::out_text("\n");
    }
    return 0;
}

} // namespace

// format varlist %fmt | format %fmt varlist | format [varlist]
int cmd_format(int) {
    std::string text;
    bool fmt_first = read_format(text);
    if (int rc = parse_varlist(VL_ANY)) return rc;
    if (!fmt_first) read_format(text);
    if (*session::gettok(session::SEP_STD)) return session::error(198);
    std::vector<int> vars;
    if (ps.count == 0 && text.empty()) {
        if (int rc = list_all()) return rc;
    }
    for (int k = 0; k < ps.count; ++k)
        if (ps.var[k] >= 1) vars.push_back(ps.var[k]);
    if (text.empty()) return list_formats(vars);
    if (vars.empty()) return session::required("varlist");
    Fmt f;
    if (int rc = fmt_parse(text, f)) return rc;
    if ((int)text.size() > FMTLEN) return session::error(120);
    for (int v : vars) {
        const bool str = is_string_type(ds.vartype[v - 1]);
        if (str && !fmt_isstr(f)) return mismatch(text, "string", v);
        if (!str && fmt_isstr(f)) return mismatch(text, "numeric", v);
    }
    for (int v : vars) {
        if (std::strcmp(ds.fmt[v - 1], text.c_str()) == 0) continue;
        std::snprintf(ds.fmt[v - 1], FMTLEN + 1, "%s", text.c_str());
        mark_changed(ds.varname[v - 1]);
    }
    return 0;
}

} // namespace data
