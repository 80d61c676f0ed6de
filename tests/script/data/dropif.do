* observations chosen by an expression, alone or with a range
set obs 10
drop if _n > 8
describe, short
keep if _n != 1
display _N
drop in 1/2 if _n == 2
display _N
keep in 2/4 if mod(_n, 2)
display _N
* nothing chosen: nothing dropped
drop if 0
* errors leave the data as they were
drop if nosuchvar > 1
drop if (1
drop if 1 if 1
keep if "a"
display _N
