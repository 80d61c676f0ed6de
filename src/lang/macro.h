// Macro expansion of a command line in place.
#pragma once

namespace lang {

// Expands macros in buf (capacity maxmaclen + 1); returns 0 or a return code (920 over the limit).
int expand_macros(char *buf);

}  // namespace lang
