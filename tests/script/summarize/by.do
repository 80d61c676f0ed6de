* summarize under by: one table per group, r() of the last
set obs 9
generate g = 1 + (_n > 4) + (_n > 7)
generate x = _n
by g: summarize x
sort g
by g: summarize x
display r(N) " " r(mean)
by g: summarize x, meanonly
display r(N) " " r(mean)
bysort g: summarize x if x != 2, detail
* weights within groups: group 3 holds 8 and 9 with weights 3 and 3
by g: summarize x [fweight = g]
display r(N) " " r(mean) " " r(Var)
