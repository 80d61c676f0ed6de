// sort: the observations of the dataset, or of a range, in the order of a list of variables. Rows
// never move; the observation index is permuted.
#pragma once
#include <cstdint>

namespace data {

// sort varlist [in] [, stable noparallel index(varname)]
int cmd_sort(int);

// The entry of commands that sort for themselves (bysort, merge): the observations lo..hi (from 1)
// by the variables vars[0..nvars). stable keeps the order of equal keys; parallel allows the sort by
// regular sampling when the team rule gives more than one thread. A sort of the whole dataset leaves
// the variables as the sort list (repeats once); a sort of part of it leaves the list empty. Returns
// 0, or the code with the message written: 103 (stable with as many keys as variables may be), 909,
// 1 at a Break, which leaves the index a permutation and, once anything has moved, the sort list
// empty.
int sort_keys(const int *vars, int nvars, int32_t lo, int32_t hi, bool stable, bool parallel);

// The whole dataset in the order held by the `long` variable ivar, a permutation of 1 to _N, and
// vars as the sort list. 109 for another type; 1 when the values are no permutation, checked before
// anything moves.
int sort_by_index(const int *vars, int nvars, int ivar);

} // namespace data
