// preserve and restore: the dataset kept in a temporary data file while a program works on it, and
// brought back by restore or at the end of the program or do-file that preserved it.
#pragma once

namespace data {

// The level preserved in the running frame (its call depth), -1 when none is. The call frame keeps
// the caller's value and starts each file or program at -1.
extern int preserve_level;

// preserve [, changed]
int cmd_preserve(int);
// restore [, not preserve]
int cmd_restore(int);

// The end of a do-file or program: a level still preserved in it is restored and dropped, with a
// Break held back while that runs. rc is the frame's code; the result is rc, or the code of a
// restore that failed when rc was 0.
int preserve_frame_end(int rc);

} // namespace data
