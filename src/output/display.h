// The `display` command.
#pragma once

namespace out {

int cmd_display(int);

}  // namespace out
