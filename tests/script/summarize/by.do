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
