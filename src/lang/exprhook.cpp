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
    data::PeriodDecimal period; // macro text keeps the period whatever set dp says
    text = data::number_text(v.num);
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

} // namespace lang
