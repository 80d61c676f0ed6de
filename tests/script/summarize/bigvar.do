* values near 1e9 with a spread of 1: the variance is exact to 1e-8. The reference is the variance
* of the spread alone, from sums made by generate; sums of squares of the raw values would lose it
set obs 100000
generate double u = mod(_n * 7919, 1000) / 1000
generate double x = 1e9 + u
generate double su = sum(u)
scalar mu = su[_N] / _N
generate double sd2 = sum((u - mu)^2)
scalar ref = sd2[_N] / (_N - 1)
quietly summarize x
assert abs(r(Var) - ref) < 1e-8
assert abs(r(mean) - (1e9 + mu)) < 1e-6
display %12.9f r(Var) "  " %12.9f ref
quietly summarize x [aweight = 2]
assert abs(r(Var) - ref) < 1e-8
quietly summarize x, detail
assert abs(r(Var) - ref) < 1e-8
display %20.9f r(p50) "  " %20.9f r(min) "  " %20.9f r(max)
