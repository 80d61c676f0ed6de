// use and save: the dataset from and to a data file.
#pragma once
#include <string>

namespace data {

// use filename [, clear nolabel]
// use [varlist] [if] [in] using filename [, clear nolabel]
int cmd_use(int);
// save [filename] [, replace nolabel orphans oldformat all emptyok]
int cmd_save(int);

// A file name as the data commands take it: ".dta" is added when the name has no extension.
std::string dta_filename(const std::string &name);

} // namespace data
