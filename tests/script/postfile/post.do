* postfile: rows posted one by one into a new data file that use reads
tempname p
postfile `p' int id double x str8 name y using results, replace
forvalues i = 1/4 {
    post `p' (`i') (`i'/3) ("n`i'") (`i'^2)
}
postutil dir
postclose `p'
postutil dir
use results, clear
foreach v of varlist _all {
    display "`v' `: type `v'' `: format `v''"
}
display _N
list
display %20.18f x[1]
* every() writes rows out as they come; double makes the default type double
postfile q a b using more, double every(2) replace
post q (1) (2)
post q (3) (.a)
post q (5) (6)
postclose q
use more, clear
foreach v of varlist _all {
    display "`v' `: type `v'' `: format `v''"
}
display _N
list
* postutil clear closes every postfile, and its file is whole
postfile q a using cleared, replace
post q (42)
postutil clear
use cleared, clear
list
