* drop and keep of observations by range, with no variables
set obs 10
drop in 1
drop in 2/3
keep in 2/l
keep in -3/-2
_describe, short
drop in f/l
_describe, short
* ranges that fail; set obs cannot lower the count
set obs 4
set obs 6
drop in 5
drop in 0
drop in 3/2
drop in x
drop in 1/y
drop in 1 in 2
* observations chosen by an expression
drop if 1
keep in 1 if 1
* varlists that fail
drop
keep
drop x
drop x-y
drop x*
keep _all
_describe, short
drop _all
_describe, short
