// expand: observations duplicated as many times as an expression says.
#include "data/expand.h"

#include <cmath>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/tok.h"

namespace data {

// expand [=]exp [if] [in]
// An observation whose count is below 1 or missing stays once; the copies go to the end.
int cmd_expand(int) {
    // The `=` may be left out: the line is read again with it in front.
    static std::string line;
    const char *rest = session::tokrest();
    while (*rest == ' ')
        ++rest;
    line = (*rest == '=' || !*rest ? "" : "= ") + std::string(rest);
    session::settok(line.c_str());
    ParseSpec spec;
    spec.exp = PO_REQUIRED;
    spec.options = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;

    // Every count first, so that a total too large is refused before anything changes.
    sample_ranges(eqexp);
    expr_lastrc = 0;
    std::vector<int64_t> extra(obs.size(), 0);
    int64_t total = 0;
    for (size_t k = 0; k < obs.size(); ++k) {
        const double n = expr_xeqforby(eqexp, obs[k]);
        if (expr_lastrc) return expr_lastrc;
        if (is_missing(n) || n < 2) continue;
        extra[k] = n >= 4e18 ? (int64_t)4e18 : (int64_t)std::floor(n) - 1;
        total += extra[k];
        if ((int64_t)ds.nobs + total > obs_limit() - 1) return session::error(901);
    }
    const int32_t old = ds.nobs;
    if (total) {
        if (int rc = set_obs((int64_t)old + total)) return rc;
        std::vector<char> row(ds.w_cur > 0 ? ds.w_cur : 1);
        int32_t to = old;
        for (size_t k = 0; k < obs.size(); ++k) {
            if (!extra[k]) continue;
            row_out(obs[k], row.data());
            for (int64_t c = 0; c < extra[k]; ++c)
                row_in(++to, row.data());
        }
        ds.sortlist[0] = 0;
    }
    out::ClassScope cs(out::CLS_TEXT);
    out::out_textf("(%lld observation%s created)\n", (long long)total, total == 1 ? "" : "s");
    return 0;
}

} // namespace data
