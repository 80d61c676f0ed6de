* The fit about the means in one pass over many blocks and chunks: a regressor a million from
* zero with a spread of 29, and residuals of +1 and -1 that are orthogonal to it, so that the
* slope is 2, the constant 3 and the residual sum of squares the count, exactly.
clear
set obs 40000
generate double x = 1e6 + mod(_n - 1, 100)
generate double y = 3 + 2 * x + 1 - 2 * mod(floor((_n - 1) / 100), 2)
quietly regress y x
display %18.12f _b[x] "  " %18.9f _b[_cons] "  " %14.6f e(rss) "  " e(N)
assert reldif(_b[x], 2) < 1e-10
assert reldif(e(rss), 40000) < 1e-7
* regress without weights reads the if, the in and the missing values in the fit's own pass:
* the same sample, and the same figures to rounding (an `in` range starts the blocks elsewhere)
* as through a marker variable
replace x = . if mod(_n, 997) == 0
generate byte touse = mod(_n, 3) != 0 & _n >= 11 & _n <= 39000 & x < .
quietly regress y x if mod(_n, 3) != 0 in 11/39000
scalar b1 = _b[x]
scalar r1 = e(rss)
scalar n1 = e(N)
quietly count if e(sample) != touse
display r(N) "  " n1
assert r(N) == 0
quietly regress y x if touse
assert reldif(_b[x], b1) < 1e-10 & reldif(e(rss), r1) < 1e-10 & e(N) == n1
display %18.12f b1 "  " %14.6f r1
