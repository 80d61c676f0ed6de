// mark, markout, marksample and markin: the sample of a command kept as a 0/1 variable or as an `in`
// range, so that a program can carry its own parse to the commands it calls.
#pragma once

namespace data {

// mark newvar [weight] [if] [in] [, zeroweight]
int cmd_mark(int);
// markout markvar [varlist] [, strok]
int cmd_markout(int);
// marksample name [, zeroweight strok novarlist noby]
int cmd_marksample(int);
// markin [if] [in] [, name(lname) noby]
int cmd_markin(int);

} // namespace data
