// Handlers of the data-management commands: describe, drop/keep, rename, order, _move, compress,
// clear, _repart, numlist, and the `set obs` word of `set`.
#pragma once

namespace data {

// _describe [varlist] [, short fullnames]   (the ado-file `describe` calls it)
int cmd_describe(int);
// drop/keep varlist | drop/keep in range   (arg 0 drop, 1 keep)
int cmd_dropkeep(int keep);
// rename oldname newname
int cmd_rename(int);
// order varlist
int cmd_order(int);
// _move var1 var2: var1 to the position of var2
int cmd_move(int);
// compress [varlist]
int cmd_compress(int);
// clear: the dataset and what is keyed to it
int cmd_clear(int);
// _repart #width #obs: a repartition by a width change or an observation change
int cmd_repart(int);
// numlist "text" [, options]
int cmd_numlist(int);
// set obs #   (a word of the `set` table)
int cmd_set_obs(int);

// The note of a storage type that changed: "<name> was <type> now <type>" (compress, and replace
// when it promotes).
struct TypeChange;
void type_change_note(const TypeChange &c);

} // namespace data
