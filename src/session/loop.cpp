// The line getter, the one-line executor and the prompt loop.
#include "session/loop.h"

namespace session {

Loop lp;

}  // namespace session
