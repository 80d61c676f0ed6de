// The `type` command: a text file shown on the screen, as literal text or as markup.
#pragma once

namespace out {

// type filename [, asis showtabs]   (cat is the same command)
int cmd_type(int);

} // namespace out
