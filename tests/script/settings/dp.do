* set dp comma swaps the decimal point and the grouping comma in numeric output
display 1234.5, %10.2fc 1234567.891, %9,2f 3.25
set dp comma
display 1234.5, %10.2fc 1234567.891, %9,2f 3.25
* macro values and references keep the period, so programs read them back the same
local x = 1/4
display "`x' `=1/8' `c(pi)'"
set dp period
display 1234.5
