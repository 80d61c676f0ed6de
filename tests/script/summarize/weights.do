* every weight type on x = 1 2 3 4 with w = 1 2 3 4, figures worked by hand:
* sum of w = 10, sum of w*x = 30, weighted mean 3, sum of w*(x-3)^2 = 4 + 2 + 0 + 4 = 10
set obs 4
generate x = _n
generate w = _n
summarize x [fweight = w]
display r(N) " " r(sum_w) " " r(mean) " " r(sum) " " r(min) " " r(max)
* fweight: 10 observations, variance 10/9
assert reldif(r(Var), 10/9) < 1e-15
summarize x [aweight = w]
* aweight: weights scaled to sum to the 4 observations: variance 10/10 * 4/3
display r(N) " " r(sum_w) " " r(mean)
assert reldif(r(Var), 4/3) < 1e-15
summarize x [iweight = w]
display r(N) " " r(sum_w) " " r(mean)
assert reldif(r(Var), 10/9) < 1e-15
summarize x [weight = w]
display r(N)
* pweights: with detail or meanonly only
summarize x [pweight = w]
summarize x [pweight = w], meanonly
display r(N) " " r(sum_w) " " r(mean)
summarize x [pweight = w], detail
assert reldif(r(Var), 4/3) < 1e-15
* the expanded data 1 2 2 3 3 3 4 4 4 4: p10 = (1+2)/2, p25 = 2, p50 = (3+3)/2, p75 = 4
summarize x [fweight = w], detail
display r(p10) " " r(p25) " " r(p50) " " r(p75) " " r(p90)
* a zero or missing weight leaves the observation out
replace w = 0 in 1
replace w = . in 2
summarize x [fweight = w]
display r(N) " " r(mean)
* bad weights, nothing left behind
replace w = 1.5 in 1
summarize x [fweight = w]
replace w = -1 in 1
summarize x [aweight = w]
summarize x [fweight = w]
* an importance weight may be negative
summarize x [iweight = w]
display r(N) " " r(sum_w)
