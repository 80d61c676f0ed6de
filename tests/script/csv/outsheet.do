* What outsheet writes reads back exactly: full precision for doubles, floats as floats, strings
* with separators, quotes and line breaks, extended missing values
clear
set obs 6
generate double d = _n / 7
replace d = -1e300 in 2
replace d = 1.5 in 3
replace d = .b in 4
generate float f = _n / 3
replace f = . in 5
generate byte b = _n
generate long l = 100000 * _n
generate str12 s = "a" + string(_n)
replace s = `"x, "y""' in 2
replace s = "" in 3
replace s = "two" + char(10) + "lines" in 4
outsheet using rt.csv, comma
type rt.csv
rename d d0
rename f f0
rename b b0
rename l l0
rename s s0
save rt0, replace
insheet using rt.csv, clear
describe
merge using rt0
assert d == d0 & f == f0 & b == b0 & l == l0 & s == s0
* tab by default, a part of the data, no names, no quotes
use rt0, clear
outsheet b0 s0 using part if b0 > 4, nonames
type part.out
outsheet s0 using part in 1/2, noquote replace
type part.out
* value labels unless nolabel
label define yn 1 "yes" 2 "no, not"
label values b0 yn
outsheet b0 using lab.csv in 1/3, comma
type lab.csv
outsheet b0 using lab.csv in 1/3, comma nolabel replace
type lab.csv
* dates through their format
clear
set obs 2
generate int day = 21915 + _n
format day %td
outsheet using day.csv, comma
type day.csv
* a file that is there needs replace, and is kept whole when refused
capture noisily outsheet using day.csv, comma
display "r(" _rc ")"
type day.csv
