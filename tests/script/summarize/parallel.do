* 200,000 observations: the moments run on the team in chunks; the bits shown in hexadecimal are
* those of every team size
set obs 200000
generate double x = mod(_n * 7919, 100003) / 1000 + sin(_n)
replace x = . if mod(_n, 97) == 0
generate w = 1 + mod(_n, 3)
generate g = _n > 120000
summarize x
display %21x r(mean) " " %21x r(Var) " " %21x r(sum)
summarize x [aweight = w]
display %21x r(mean) " " %21x r(Var)
summarize x [fweight = w] if mod(_n, 2)
display %21x r(mean) " " %21x r(Var) " " r(N)
summarize x, detail
display %21x r(skewness) " " %21x r(kurtosis)
bysort g: summarize x
display %21x r(mean) " " %21x r(Var)
* against sums made by generate
quietly summarize x
scalar m = r(mean)
generate double d2 = sum(cond(x < ., (x - m)^2, 0))
assert reldif(r(Var), d2[_N] / (r(N) - 1)) < 1e-12
