* use [varlist] [if] [in] using: the list, the `if` and the `in` read the file's variables and rows.
program show
    quietly describe
    display _N " " c(width) " [`r(sortlist)'] " c(changed)
end
* on an empty dataset (the parse against the file stands in for an empty table); the sort list (i) is
* kept up to its first variable that is not loaded
use b i s using v114_lohi
show
list, noobs
use b s using v114_lohi, clear
show
* abbreviations, wildcards and ranges name the file's variables; the order is the file's
use s f-d i* using v114_lohi, clear
show
describe
* _n and _N count the rows of the file, whatever the rows kept so far
use if _n >= 2 & _n < _N using v114_lohi, clear
show
list b i, noobs
use b if mod(_n, 2) == 0 using v114_lohi, clear
list, noobs
* an `if` on a variable that is not loaded
use s if i > 0 & i < . using v114_lohi, clear
list, noobs
* `in` with `if`, and with a negative first observation
use i in 2/4 if s != "" using v114_lohi, clear
list, noobs
use in -2/-1 using v114_lohi, clear
list b s, noobs
* an `if` that keeps nothing
use if b == 42 using v114_lohi, clear
show
* the old types of a part are converted too, and their values can make them wider
use bp ip lp s using v110_hilo, clear
describe
list, noobs
use bp if bp > 100 & bp < . using v110_lohi, clear
list, noobs
describe
* the form is decided by the word using anywhere in the line
use using v114_lohi, clear nolabel
show
use "v114_lohi.dta", replace
show
* mistakes
use b using, clear
use b using v114_lohi, clear bogus
use b x using v114_lohi, clear
use
use v114_lohi extra, clear
