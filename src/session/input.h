// input: observations typed at the prompt or read from the lines of a do-file or program.
#pragma once

namespace data {

// input [varlist] [, automatic]   then one line of values per observation, up to a line `end`
int cmd_input(int);

} // namespace data
