* bad input: a clear message and code, nothing made
set obs 10
tabulate
generate x = _n
generate y = mod(_n, 2)
generate str3 s = "a"
tabulate x y s
tabulate x, nosuch
tabulate x y, plot
tabulate x, chi2
tabulate x if x > 20
tabulate x [fweight = 1.5]
tabulate x [fweight = -y]
tabulate x [aweight = y], chi2
tabulate x y [aweight = y + 1], chi2
tabulate y s, exact
tabulate x, nofreq
tabulate s, matrow(M)
* all missing
generate m = .
tabulate m
tabulate m x
* more values than a table may hold
set obs 13000
replace x = _n
replace y = mod(_n, 2)
tabulate x
tabulate x y
tabulate y x in 1/100
tabulate y x in 1/60, exact
* generate() under by is refused
sort y
by y: tabulate x, generate(g)
