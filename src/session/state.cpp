// The process-wide state of the session and the Break routines.
#include "session/state.h"

namespace session {

Loop lp;
Startup st;
Settings se;

void break_signal() {
    lp.PendingBreak = lp.breakenabled;
    lp.breakheld = !lp.breakenabled;
}

void break_clear() {
    lp.PendingBreak = 0;
    lp.breakheld = 0;
}

void break_enable(int enabled) {
    if (!enabled && lp.breakenabled) {
        lp.breakheld = lp.breakheld || lp.PendingBreak;
        lp.PendingBreak = 0;
    } else if (enabled && !lp.breakenabled) {
        if (lp.breakheld) lp.PendingBreak = 1;
        lp.breakheld = 0;
    }
    lp.breakenabled = enabled;
}

} // namespace session
