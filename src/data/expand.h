// expand: observations duplicated as many times as an expression says.
#pragma once

namespace data {

// expand [=]exp [if] [in]
int cmd_expand(int);

} // namespace data
