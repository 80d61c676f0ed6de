* ordered logit and probit: the log likelihood recomputed from e(b) with generate, its numeric
* derivatives at the estimates, the two-outcome case against logit, predict, robust, replay
run estref.inc
generate byte yo = (x1 > -0.5) + (x1 + x2 > 0.3) + yb
ologit yo x1 x2
display e(k_cat) " " e(N) " `e(cmd)' `e(predict)' `e(crittype)'"
matrix list e(cat)
* the likelihood of each row from the cut points, summed, against e(ll)
program define ordll
	args F h
	tempvar xb p s
	quietly generate double `xb' = (_b[x1] + `h') * x1 + _b[x2] * x2
	quietly generate double `p' = cond(yo == 0, `F'(_b[_cut1] - `xb'), cond(yo == 1, `F'(_b[_cut2] - `xb') - `F'(_b[_cut1] - `xb'), cond(yo == 2, `F'(_b[_cut3] - `xb') - `F'(_b[_cut2] - `xb'), 1 - `F'(_b[_cut3] - `xb'))))
	quietly generate double `s' = sum(ln(`p'))
	scalar ordll_v = `s'[_N]
end
ordll invlogit 0
display abs(ordll_v - e(ll)) / abs(e(ll)) < 1e-10
* at the estimates the derivative of that likelihood in _b[x1] vanishes
ordll invlogit 1e-5
scalar up = ordll_v
ordll invlogit -1e-5
display abs((up - ordll_v) / 2e-5) < 1e-4
oprobit yo x1 x2, nolog
display "`e(cmd)' `e(predict)' `e(title)'"
ordll normal 0
display abs(ordll_v - e(ll)) / abs(e(ll)) < 1e-10
* two outcomes: logit's slopes, and its constant as the cut's opposite
quietly logit yb x1 x2
scalar c = _b[_cons]
scalar s1 = _b[x1]
scalar l = e(ll)
quietly ologit yb x1 x2
display abs(_b[_cut1] + c) < 1e-7 & abs(_b[x1] - s1) < 1e-7 & abs(e(ll) - l) < 1e-9
* predict: one variable per outcome, summing to 1; outcome() picks one
ologit yo x1 x2, nolog or
predict double p0 double p1 double p2 double p3
generate double tot = p0 + p1 + p2 + p3
assert abs(tot - 1) < 1e-12
predict double q2, outcome(2)
assert q2 == p2
predict double q3, outcome(#4)
assert q3 == p3
predict double xb, xb
assert abs(xb - _b[x1] * x1 - _b[x2] * x2) < 1e-12
predict double pf
assert pf == p0
predict a b
* replay, robust and cluster
ologit
ologit yo x1 x2, robust nolog
display "`e(vcetype)' `e(chi2type)'"
oprobit yo x1 x2 [pweight = w], cluster(g) nolog
display e(N_clust) " `e(crittype)'"
* failures: an outcome that does not vary, a string outcome, replay after another command
generate byte one = 1
ologit one x1
generate str1 s = "a"
oprobit s x1
quietly logit yb x1
oprobit
