// The `display` command (first cut: quoted strings, numeric literals, _newline, _continue, as-styles).
#include "output/display.h"

#include <cstdlib>
#include <string>

#include "output/channel.h"
#include "session/errors.h"
#include "session/tok.h"

namespace out {

using session::gettok;
using session::SEP_STD;

namespace {

int number_text(const std::string &t, std::string &shown) {
    char *end;
    double v = std::strtod(t.c_str(), &end);
    if (t.empty() || *end) return 198;
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.9g", v);
    shown = buf;
    return 0;
}

}  // namespace

// display [item [item ...]]
// item := "string" | `"string"' | number | _newline[(#)] | _n | _continue | _c | as {text|result|error|input}
int cmd_display(int) {
    ClassScope cs(CLS_RESULT);
    bool newline = true;
    std::string pending_sign;
    for (;;) {
        std::string t = gettok(SEP_STD);
        if (t.empty()) break;
        if (t[0] == '"') {
            out_text(std::string_view(t).substr(1));
            continue;
        }
        if (t == "_newline" || t == "_n") {
            int n = 1;
            if (std::string(gettok(SEP_STD)) == "(") {
                n = std::atoi(gettok(SEP_STD));
                if (std::string(gettok(SEP_STD)) != ")") return session::error(198);
            } else {
                session::ungettok();
            }
            for (int i = 0; i < n; ++i) out_newline();
            continue;
        }
        if (t == "_continue" || t == "_c") {
            newline = false;
            continue;
        }
        if (t == "as") {
            std::string s = gettok(SEP_STD);
            if (session::cmdmatch(s.c_str(), "text", 3) || s == "txt") ch.OutputClass = CLS_TEXT;
            else if (session::cmdmatch(s.c_str(), "result", 3)) ch.OutputClass = CLS_RESULT;
            else if (session::cmdmatch(s.c_str(), "error", 3) || s == "err") ch.OutputClass = CLS_ERROR;
            else if (session::cmdmatch(s.c_str(), "input", 3)) ch.OutputClass = CLS_INPUT;
            else return session::error(198);
            continue;
        }
        if (t == "-" || t == "+") {
            pending_sign = t;
            continue;
        }
        std::string shown;
        if (number_text(pending_sign + t, shown) == 0) {
            pending_sign.clear();
            out_text(shown);
            continue;
        }
        ClassScope es(CLS_ERROR);
        out_error("display: expressions are not available in this build; only quoted strings and numbers\n");
        return 199;
    }
    if (newline) out_newline();
    return 0;
}

}  // namespace out
