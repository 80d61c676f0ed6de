// translate and translator.
#pragma once

namespace out {

// translate filein fileout [, translator(name) name(value) ... replace]
int cmd_translate(int);
// translator {query|set|reset} ...
int cmd_translator(int);

} // namespace out
