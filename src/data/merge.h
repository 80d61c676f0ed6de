// merge and append: a data file brought into the dataset in memory, its rows read a block at a time
// beside the rows in memory, never loaded as a dataset of its own.
#pragma once

namespace data {

// _merge [varlist] using filename [, nolabel update replace nokeep _merge(name) keep(varlist) nonotes
// unique uniqmaster uniqusing]; `merge` is the ado-file over it.
int cmd_merge(int);
// append using filename [, nolabel nonotes keep(varlist)]
int cmd_append(int);

// The type that holds every value of a and b, two types of one kind (legacy types count as their
// modern ones): the wider string; the wider numeric type, and double for long against float.
int common_type(int a, int b);

} // namespace data
