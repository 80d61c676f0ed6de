* clogit: the conditional log likelihood recomputed by enumeration in groups of a few rows, its
* numeric derivatives at the estimates, groups whose outcome does not vary, predict, robust, replay
run estref.inc
* matched sets of five rows
generate int gs = int((_n - 1) / 5)
clogit yb x1 x2, group(gs)
display e(N) " " e(N_group) " `e(group)' `e(cmd)' `e(predict)'"
* the likelihood of a set with d positives of five: the positives' exp(xb) product over the sum
* of the products over all subsets of d rows, written out by the elementary symmetric sums
program define cll
	args h
	tempvar e s1 s2 s3 s4 s5 d n t
	quietly generate double `e' = exp((_b[x1] + `h') * x1 + _b[x2] * x2)
	sort gs, stable
	quietly by gs: generate double `s1' = sum(`e')
	quietly by gs: generate int `d' = sum(yb)
	quietly by gs: replace `d' = `d'[_N]
	* e_k of the set by the recursion over rows, for k up to 4, each column done before the next
	quietly generate double `s2' = 0
	quietly generate double `s3' = 0
	quietly generate double `s4' = 0
	quietly by gs: replace `s2' = `s2'[_n-1] + `e' * `s1'[_n-1] if _n > 1
	quietly by gs: replace `s3' = `s3'[_n-1] + `e' * `s2'[_n-1] if _n > 1
	quietly by gs: replace `s4' = `s4'[_n-1] + `e' * `s3'[_n-1] if _n > 1
	quietly by gs: generate double `n' = sum(yb * ln(`e'))
	quietly by gs: generate double `t' = cond(_n == _N & `d' > 0 & `d' < _N, `n' - ln(cond(`d' == 1, `s1', cond(`d' == 2, `s2', cond(`d' == 3, `s3', `s4')))), 0)
	quietly replace `t' = sum(`t')
	scalar cll_v = `t'[_N]
end
cll 0
display abs(cll_v - e(ll)) / abs(e(ll)) < 1e-10
cll 1e-5
scalar up = cll_v
cll -1e-5
display abs((up - cll_v) / 2e-5) < 1e-4
* predict: pc1 sums to 1 in each kept set
predict double pc
predict double xb, xb
assert abs(xb - _b[x1] * x1 - _b[x2] * x2) < 1e-12
sort gs, stable
by gs: generate double spc = sum(pc)
by gs: assert abs(spc[_N] - 1) < 1e-12
* robust: clusters are the sets; or; replay
clogit yb x1 x2, group(gs) robust nolog or
display e(N_clust) " `e(clustvar)'"
clogit
* failures
clogit yb x1 x2
generate str1 s = "a"
clogit s x1, group(gs)
generate byte one = 1
clogit one x1, group(gs)
