* outfile then infile gives the same data
clear
set obs 5
generate id = _n
generate double d = _n / 7
generate float f = _n / 3
generate str10 s = "s" + string(_n)
replace s = "two words" in 2
replace d = .b in 4
label define yn 1 "yes" 2 "no"
label values id yn
outfile using out
type out.raw
outfile using out, nolabel replace
type out.raw
preserve
infile id double d float f str10 s using out, clear
list
generate double d0 = _n / 7
assert d == d0 if _n != 4
assert d == .b in 4
generate float f0 = _n / 3
assert f == f0
restore
* comma
outfile id s using outc, comma nolabel
type outc.raw
infile id str10 s using outc, clear
list
* dictionary: the file holds its dictionary, which infile reads
clear
set obs 3
generate byte b = _n
generate str5 t = "t" + string(_n)
label variable b "the b"
outfile using dict, dictionary
type dict.dct
infile using dict, clear
describe
list
* wide keeps an observation on one line; without it long lines are broken
clear
set obs 1
forvalues i = 1/30 {
    generate double v`i' = `i' + 0.25
}
outfile using long
type long.raw
outfile using long, wide replace
type long.raw
infile v1-v30 using long, clear
assert v30 == 30.25
