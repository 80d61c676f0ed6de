// The `error` command: the message of a code, as a program raises it.
#include "session/errorcmd.h"

#include <cmath>

#include "data/expr.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/tok.h"

namespace session {

// error exp
int cmd_error(int) {
    // An expression that fails to compile or run is 197, without a message of its own.
    data::ExprValue v;
    const uint8_t level = out::ch.OutputLevel;
    out::ch.OutputLevel = out::LVL_CAPTURED;
    int rc = *tokrest() ? data::expr_eval_scalar(tk.tokpos, v, nullptr, data::XW_NUM) : 197;
    out::ch.OutputLevel = level;
    if (rc) return 197;
    double n = std::trunc(v.num);
    int code = (n < 0 || n >= 100001) ? 100000 : (int)n; // a missing value is beyond every code
    return error_cmd_show(code);
}

} // namespace session
