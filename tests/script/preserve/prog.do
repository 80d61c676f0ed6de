* The frame of a program or a do-file restores what it preserved, however it ends.
program show
    display _N " obs, changed " c(changed) " [$S_FN]"
end
set obs 3
generate x = _n
save first
* a program that preserves and succeeds
program work
    preserve
    drop in 1/2
    replace x = 0
    display "inside: " _N
end
work
show
list
* one that fails
program fails
    preserve
    drop _all
    nosuchcommand
end
fails
show
capture fails
display _rc
show
* one that restores by itself, and one that cancels: the change stays
program cancels
    preserve
    replace x = x + 100
    restore, not
end
cancels
show
list
use first, clear
program twice
    preserve
    replace x = 1
    restore
    preserve
    replace x = 2
    restore, preserve
    display "after restore, preserve: " x[1]
    replace x = 3
    preserve
end
twice
show
* nested programs: each level preserves and gets its own data back
program inner
    preserve
    replace x = -1
    display "inner: " x[1]
end
program outer
    preserve
    replace x = 50
    inner
    display "outer after inner: " x[1]
    drop in 1
end
outer
show
list
* a level preserved at the top stays while a program preserves its own
preserve
replace x = 9 in 1
work
display x[1]
restore
display x[1]
* restore in a program sees its own frame only: the level of its caller is not its to restore
preserve
program other
    restore
end
other
restore
* a do-file is a frame too; include is not
do frame_do.inc
display x[1]
include frame_do.inc
display x[1]
restore
display x[1]
