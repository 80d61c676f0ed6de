// input: lines of values, one observation a line up to a line `end`, into new variables or onto the
// end of existing ones; at the prompt a bad line is asked for again, in a file or program it fails.
#include "session/input.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "data/dataset.h"
#include "data/fmt.h"
#include "data/labelcmd.h"
#include "data/labels.h"
#include "data/types.h"
#include "data/varlist.h"
#include "data/xeq.h"
#include "session/errors.h"
#include "session/loop.h"
#include "session/options.h"
#include "session/reader.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

using session::lp;

// One value of a line: its text without the quotes, and the number it reads as; under automatic a
// text that is no number is coded through the variable's value label.
struct Value {
    std::string text;
    double num = 0;
    bool coded = false;
};

// Whether the list names variables to make or variables that exist. The first element decides: a
// type, a `(type)` group or a name that no variable has exactly begins a new list; `_all`, a
// wildcard or the exact name of a variable begins a list of existing ones. The list parser then
// refuses the other kind with its own message ("x already defined", "variable y not found").
enum ListKind { LK_NONE, LK_NEW, LK_OLD };

ListKind list_kind() {
    const char *p = session::tokrest();
    if (!*p || *p == ',') return LK_NONE;
    if (*p == '(') return LK_NEW;
    std::string w;
    while (*p && !std::strchr(" ,-(", *p))
        w.push_back(*p++);
    if (type_from_name(w.c_str())) return LK_NEW;
    if (w == "_all" || w.find_first_of("*?~") != std::string::npos) return LK_OLD;
    return varlookup(w, false, false) > 0 ? LK_OLD : LK_NEW;
}

// Adds the variables of the new list, filled with missing values; when one cannot be added, those
// added before it go again and the dataset is as it was.
int create_new_vars() {
    const int nvar0 = ds.nvar;
    const int32_t nobs0 = ds.nobs, changed0 = ds.changed;
    const int rc = newvars_create();
    if (!rc) return 0;
    if (ds.nvar > nvar0) {
        std::vector<uint8_t> flags(ds.nvar, 0);
        for (int v = nvar0 + 1; v <= ds.nvar; ++v)
            flags[v - 1] = 1;
        drop_vars(flags.data());
        if (ds.nobs < nobs0) set_obs(nobs0); // dropping every variable cleared the observations
    }
    ds.changed = changed0;
    return rc;
}

// values := { word | "text" | `"text"' }   separated by blanks
int split_values(std::string_view s, std::vector<Value> &out) {
    out.clear();
    size_t i = 0;
    for (;;) {
        while (i < s.size() && s[i] == ' ')
            ++i;
        if (i >= s.size()) return 0;
        session::Quoted q;
        if (session::quoted_at(s, i, q)) {
            if (!q.closed) return session::unmatched_quote();
            out.push_back({std::string(s.substr(q.begin, q.end - q.begin))});
            i = q.next;
            continue;
        }
        const size_t b = i;
        while (i < s.size() && s[i] != ' ')
            ++i;
        out.push_back({std::string(s.substr(b, i - b))});
    }
}

// Reads the values of one line for the variables of the list: 0, or 198 with the message of a bad
// line (a quote left open, a count that is not that of the list, a value that is no number unless
// automatic codes it).
int read_values(std::string_view line, const std::vector<int> &vars, std::vector<Value> &vals,
                bool automatic) {
    if (int rc = split_values(line, vals)) return rc;
    if (vals.size() != vars.size())
        return session::fail(198, std::string(vals.size() < vars.size() ? "too few" : "too many") +
                                      " values (" + std::to_string(vars.size()) + " expected, " +
                                      std::to_string(vals.size()) + " given)\n");
    for (size_t k = 0; k < vars.size(); ++k) {
        const int v = vars[k];
        if (is_string_type(ds.vartype[v - 1])) continue;
        if (text_to_number(vals[k].text, vals[k].num, true)) continue;
        if (automatic && vals[k].text.empty()) {
            vals[k].num = missing_value(0);
            continue;
        }
        if (automatic) {
            vals[k].coded = true;
            continue;
        }
        return session::fail(198, "'" + vals[k].text + "' cannot be read as a number for " +
                                      ds.varname[v - 1] + "\n");
    }
    return 0;
}

// The code of a text in the value label of variable v (named like the variable unless it has one):
// the value the text already labels, or the next whole number above the table's largest, which
// then joins the table. The variable is linked to the table. 0, or 950.
int code_of(int v, const std::string &text, double *x) {
    if (!ds.vallab[v - 1][0]) std::snprintf(ds.vallab[v - 1], VNAMELEN + 1, "%s", ds.varname[v - 1]);
    const char *lbl = ds.vallab[v - 1];
    if (vl_value_of(lbl, text, x) == 0) return 0;
    std::vector<ValueLabel> entries;
    vl_entries(lbl, entries);
    int32_t top = 0;
    for (const ValueLabel &e : entries)
        if (!is_missing(vl_value(e.key))) top = std::max(top, e.key);
    if (top >= 2147483620) return session::error(1000);
    entries.push_back({top + 1, text});
    if (int rc = vl_store(lbl, std::move(entries))) return session::error(rc);
    widen_label_formats(lbl);
    *x = top + 1;
    return 0;
}

// Writes the values into observation obs, adding it when it is one past the last. Only a whole line
// is written: the values were read before anything changes.
int store_values(int32_t obs, const std::vector<int> &vars, const std::vector<Value> &vals) {
    if (obs > ds.nobs) {
        if (int rc = set_obs(obs)) return rc;
        ds.sortlist[0] = 0; // the new observation may stand out of order
    }
    for (size_t k = 0; k < vars.size(); ++k) {
        const int v = vars[k];
        if (vals[k].coded) {
            double x;
            if (int rc = code_of(v, vals[k].text, &x)) return rc;
            put_num(v, obs, x);
        } else if (is_string_type(ds.vartype[v - 1]))
            put_str(v, obs, vals[k].text.c_str()); // cut to the variable's width
        else
            put_num(v, obs, vals[k].num); // out of the type's range: `.`
    }
    return 0;
}

bool is_end(const char *line) {
    while (*line == ' ')
        ++line;
    return std::strcmp(line, "end") == 0;
}

bool is_blank_line(const char *line) {
    while (*line == ' ')
        ++line;
    return *line == '\0' || *line == '*';
}

// The lines of values, each prompted or echoed with the number of its observation. From the user a
// bad line is asked for again; from a file or program it ends input with its code. The end of the
// source ends input as `end` does.
int read_observations(const std::vector<int> &vars, int32_t first, bool automatic) {
    const bool from_user = !lp.curprog && !lp.curfile;
    const char *saved_prompt = session::line_prompt;
    session::FileSource *file = lp.curprog ? nullptr : lp.curfile;
    const char *saved_echo = file ? session::file_prompt(file) : nullptr;
    static char numbered[24];
    std::vector<Value> vals;
    int rc = 0;
    for (int32_t obs = first;;) {
        std::snprintf(numbered, sizeof numbered, "%3d. ", obs);
        session::line_prompt = numbered;
        if (saved_echo) session::set_prompt(file, numbered); // a file under run echoes nothing
        const int ended = session::getline(1, 0);
        if (session::poll_break()) {
            rc = 1;
            break;
        }
        if (ended || is_end(session::tk.cmdbuf)) break;
        if (is_blank_line(session::tk.cmdbuf)) continue;
        rc = read_values(session::tk.cmdbuf, vars, vals, automatic);
        if (rc && from_user) {
            rc = 0;
            continue;
        }
        if (rc == 0) rc = store_values(obs, vars, vals);
        if (rc) break;
        ++obs;
    }
    session::line_prompt = saved_prompt;
    if (saved_echo) session::set_prompt(file, saved_echo);
    return rc;
}

} // namespace

// input [varlist] [, automatic]
// varlist := new list with types and (type) groups | list of existing variables | nothing (all of them)
int cmd_input(int) {
    const ListKind kind = list_kind();
    if (kind == LK_NEW) {
        if (int rc = parse_varlist(VL_NEW | VL_TYPEPAREN)) return rc;
    } else if (kind == LK_OLD) {
        if (int rc = parse_varlist(VL_ANY)) return rc;
    }
    ParseSpec spec;
    spec.varlist = PO_OWN;
    spec.ifq = PO_NONE;
    spec.in = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    bool automatic = false;
    const session::OptSpec specs[] = {session::opt_flag("automatic", 2, automatic)};
    if (int rc = std_options(specs)) return rc;
    if (kind == LK_NONE)
        if (int rc = list_all()) return rc;
    if (kind == LK_NEW ? ps.newvars.empty() : ps.count == 0) return session::error(104);
    if (kind == LK_OLD)
        for (int a = 0; a < ps.count; ++a)
            for (int b = 0; b < a; ++b)
                if (ps.var[a] == ps.var[b])
                    return session::fail(198, std::string("variable ") + ds.varname[ps.var[a] - 1] +
                                                  " listed twice\n");
    if (kind == LK_NEW)
        if (int rc = create_new_vars()) return rc;
    const std::vector<int> vars(ps.var.begin(), ps.var.begin() + ps.count);
    // New variables take the values of the observations there are, from the first; existing ones
    // take new observations behind the last.
    return read_observations(vars, kind == LK_NEW ? 1 : ds.nobs + 1, automatic);
}

} // namespace data
