// assert: an expression that must be true in every observation chosen.
#pragma once

namespace data {

// assert exp [if exp] [in range]
int cmd_assert(int);

} // namespace data
