// The `numlist` command: a number list expanded into r(numlist).
#include <string>
#include <vector>

#include "data/datacmd.h"
#include "data/fmt.h"
#include "data/varlist.h"
#include "matrix/results.h"
#include "session/errors.h"
#include "session/options.h"
#include "session/tok.h"

namespace data {

namespace {

// range({>=|>|<=|<} number ...)
int range_option(const std::string &text, NumlistOpts &o) {
    session::TokState at;
    session::savetok(at);
    const std::string saved = session::tk.token;
    session::settok(text.c_str());
    int rc = 0;
    for (;;) {
        std::string op = session::gettok(session::SEP_NUM);
        if (op.empty()) break;
        double v;
        if ((op != ">=" && op != ">" && op != "<=" && op != "<") ||
            !text_to_number(session::gettok(session::SEP_NUM), v, false)) {
            rc = session::option_invalid("range");
            break;
        }
        if (op[0] == '>') {
            o.min = v;
            o.minopen = op.size() == 1;
        } else {
            o.max = v;
            o.maxopen = op.size() == 1;
        }
    }
    session::restoretok(at);
    std::snprintf(session::tk.token, sizeof session::tk.token, "%s", saved.c_str());
    return rc;
}

int count_option(const char *name, const std::string &text, int *count) {
    double v;
    if (text.empty()) return 0;
    if (!text_to_number(text, v, false)) return session::option_invalid(name);
    *count = (int)v;
    return 0;
}

} // namespace

// numlist "text" [, integer missingokay ascending descending sort min(#) max(#) range(...)]
int cmd_numlist(int) {
    std::string text = session::gettok(session::SEP_STD);
    if (text.empty() || text == ",") return session::required("numlist");
    if (text[0] == '"') text.erase(0, 1);
    NumlistOpts o;
    std::string min, max, range;
    const session::OptSpec specs[] = {
        session::opt_flag("integer", 3, o.integer),
        session::opt_flag("missingokay", 4, o.missingok),
        session::opt_flag("ascending", 1, o.ascending),
        session::opt_flag("descending", 1, o.descending),
        session::opt_flag("sort", 4, o.sort),
        session::opt_text("min", 3, min),
        session::opt_text("max", 3, max),
        session::opt_text("range", 5, range),
    };
    if (int rc = session::parse_options(specs)) return rc;
    if (int rc = count_option("min", min, &o.mincount)) return rc;
    if (int rc = count_option("max", max, &o.maxcount)) return rc;
    if (!range.empty())
        if (int rc = range_option(range, o)) return rc;
    std::vector<double> v;
    if (int rc = numlist_parse(text, o, v, false)) return rc;
    mat::r_clear();
    return mat::r_set_macro("numlist", numlist_text(v));
}

} // namespace data
