// infile, infix, outfile: the dataset from and to text files.
#pragma once

namespace data {

// infile varlist [_skip[(#)]] using filename [if] [in] [, clear]
// infile using dictfile [if] [in] [, using(filename) clear]
int cmd_infile(int);
// infix [# lines] [#:] [type] name col[-col] ... using filename [if] [in] [, clear]
// infix using dictfile [if] [in] [, using(filename) clear]
int cmd_infix(int);
// outfile [varlist] using filename [if] [in] [, comma dictionary nolabel noquote replace wide]
int cmd_outfile(int);

} // namespace data
