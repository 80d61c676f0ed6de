// The one call point from the command language into the expression evaluator; integer literals,
// which need no evaluator, are read here.
#include "lang/exprhook.h"

#include <cstdio>
#include <cstdlib>

#include "data/expr.h"
#include "data/fmt.h"

#include "output/channel.h"

namespace lang {

bool expressions_available() { return true; }

int eval_to_text(std::string_view exp, std::string &text, bool quiet) {
    text.clear();
    std::string src(exp);
    data::ExprValue v;
    uint8_t saved = out::ch.OutputLevel;
    if (quiet) out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = data::expr_eval_scalar(src.c_str(), v);
    out::ch.OutputLevel = saved;
    if (rc) return rc;
    if (v.type == data::XT_STR) {
        text = v.str;
        return 0;
    }
    data::PeriodDecimal period;
    static data::Fmt g18;
    static bool parsed = data::fmt_parse("%18.0g", g18, true) == 0;
    char buf[64];
    int n = parsed ? data::fmt_number(v.num, g18, buf, sizeof buf)
                   : std::snprintf(buf, sizeof buf, "%.17g", v.num);
    for (int i = 0; i < n; ++i)
        if (buf[i] != ' ') text.push_back(buf[i]);
    return 0;
}

int eval_to_int(std::string_view exp, long long &v, bool quiet) {
    size_t b = exp.find_first_not_of(' '), e = exp.find_last_not_of(' ');
    if (b != std::string_view::npos) {
        std::string t(exp.substr(b, e - b + 1));
        char *end;
        long long n = std::strtoll(t.c_str(), &end, 10);
        if (*end == '\0' && end != t.c_str()) {
            v = n;
            return 0;
        }
    }
    std::string text;
    int rc = eval_to_text(exp, text, quiet);
    if (rc) return rc;
    v = std::atoll(text.c_str());
    return 0;
}

int not_built(std::string_view what) {
    out::ClassScope cs(out::CLS_ERROR);
    out::out_error(std::string(what) + " is not available in this build\n");
    return 199;
}

} // namespace lang
