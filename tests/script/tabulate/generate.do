* generate() makes one indicator per value, missing where the variable is missing
set obs 12
generate a = mod(_n, 3) + 1
generate b = cond(_n <= 2, ., mod(_n, 2))
label define ab 1 "low" 2 "mid" 3 "high"
label values a ab
tabulate a, generate(ia)
describe ia1 ia2 ia3
assert ia1 + ia2 + ia3 == 1
assert ia1 == (a == 1) & ia2 == (a == 2) & ia3 == (a == 3)
tabulate b, generate(ib)
list b ib1 ib2 in 1/5
* only the observations of the sample get 0 or 1
tabulate a in 1/6, generate(ja)
assert ja1 == . in 7/12
assert !missing(ja1) in 1/6
* an existing name: nothing is made
generate ka2 = 0
tabulate a, generate(ka)
capture confirm variable ka1
display _rc
tabulate a, generate(ia)
