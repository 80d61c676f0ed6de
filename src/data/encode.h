// encode and decode: a string variable to numeric codes with a value label, and back.
#pragma once

namespace data {

// encode varname [if] [in], generate(newvar) [label(name) noextend]
int cmd_encode(int);
// decode varname [if] [in], generate(newvar) [maxlength(#)]
int cmd_decode(int);

} // namespace data
