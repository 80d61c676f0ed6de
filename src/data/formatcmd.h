// format: the display format of variables.
#pragma once

namespace data {

// format varlist %fmt | format %fmt varlist | format [varlist]   (the last lists the formats)
int cmd_format(int);

} // namespace data
