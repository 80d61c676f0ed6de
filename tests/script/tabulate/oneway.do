* one-way tables: frequencies, percentages, value labels, missing values, sort, plot
set obs 60
generate a = mod(_n, 3) + 1
generate b = mod(floor(_n * _n / 7), 4)
replace b = . in 1/3
replace b = .a in 4
label define blab 0 "none" 1 "one" 2 "two"
label values b blab
tabulate a
display r(N) " " r(r)
tabulate b
display r(N) " " r(r)
tabulate b, missing
display r(N) " " r(r)
tabulate b, nolabel sort
tabulate a, plot
tabulate b if a == 1
tabulate a in 1/10
* string values sort by their bytes; "" is missing
generate str8 s = cond(a == 1, "pear", cond(a == 2, "apple", ""))
tabulate s
tabulate s, missing
* non-integer values
generate double h = a / 4
tabulate h
* the counts agree with count
count if a == 2
tabulate a if a == 2
assert r(N) == 20 & r(r) == 1
* matcell() and matrow()
tabulate b, matcell(F) matrow(V)
matrix list F
matrix list V
* weights: frequency weights add, analytic weights are scaled to the observations, importance
* weights add as they stand
generate w = a + mod(_n, 2)
tabulate a [fweight = w]
assert r(N) == 150
tabulate a [aweight = w]
assert r(N) == 60
tabulate a [iweight = w / 2]
assert r(N) == 75
* subpop() leaves out the observations where the variable is 0 or missing
generate sp = a != 3
tabulate a, subpop(sp)
assert r(N) == 40
