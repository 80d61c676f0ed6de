// assert: an expression checked in every observation chosen by if and in; with no observations in
// the data and no qualifier, it is checked once, as a scalar.
#include "data/assert.h"

#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"
#include "data/xeq.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/state.h"
#include "session/tok.h"

namespace data {

namespace {

int assertion_false() { return session::fail(9, "assertion is false\n"); }

} // namespace

// assert exp [if exp] [in range]
int cmd_assert(int) {
    if (!*session::tokrest()) return session::error(198);
    if (int rc = expr_compile_tok(eqexp, XW_NUM)) return rc;
    ParseSpec spec;
    spec.options = PO_NONE;
    if (int rc = std_parse(spec)) return rc;
    const bool qualified = ps.inrange || sm.ifpresent;
    std::vector<int32_t> obs;
    if (int rc = sample_obs(obs)) return rc;
    sample_ranges(eqexp);
    if (ds.nobs == 0 && !qualified) {
        expr_set_ranges(eqexp, 1, 0, 1, 0);
        expr_lastrc = 0;
        double v = expr_xeqforby(eqexp, 1);
        if (expr_lastrc) return expr_lastrc;
        return v != 0 ? 0 : assertion_false();
    }
    int64_t contradictions = 0;
    expr_lastrc = 0;
    for (size_t k = 0; k < obs.size(); ++k) {
        if (expr_xeqforby(eqexp, obs[k]) == 0) ++contradictions;
        if ((k & 4095) == 4095 && session::poll_break()) return 1;
    }
    if (expr_lastrc) return expr_lastrc;
    if (!contradictions) return 0;
    {
        out::ClassScope cs(out::CLS_TEXT);
        out::out_textf("%lld contradiction%s in %zu observation%s\n", (long long)contradictions,
                       contradictions == 1 ? "" : "s", obs.size(), obs.size() == 1 ? "" : "s");
    }
    return assertion_false();
}

} // namespace data
