* preserve and restore at the top of a do-file: the data come back, and the level goes
program show
    display _N " obs, width " c(width) ", changed " c(changed) " [$S_FN] " cond("$S_FNDATE" == "", "no date", "a date")
end
restore
preserve, not
restore, nosuch
set obs 3
generate x = _n
save first
show
preserve
replace x = 10 * x
drop in 1
show
restore
show
list
restore
* a second preserve in the same frame is refused
preserve
preserve
restore, preserve
replace x = 7
restore, preserve
list
restore
restore
* restore, not ends the level and leaves the data as they are
preserve
replace x = 5 in 1
restore, not
list
restore
show
* changed: data with no change are not written; a change after it clears the dataset
use first, clear
preserve, changed
replace x = 3 in 1
restore
show
use first, clear
preserve, changed
restore
show
list
* changed over data with changes writes them
replace x = 4 in 1
preserve, changed
drop _all
restore
show
list
* an empty dataset is preserved too
clear
preserve
set obs 2
restore
show
* insufficient memory: the data cannot come back, the level stays for another try
use first, clear
set obs 20000
preserve
clear
set memory 100k
restore
show
set memory 10m
restore
show
* labels, notes, formats, the sort list and the data label of a file (labeled.dta, written by
* ../dta/mkdta.py 114) come back with the data, and so do its name and date
use labeled, clear
preserve
drop _all
show
restore
describe
list b
show
