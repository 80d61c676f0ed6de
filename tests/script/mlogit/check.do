* mlogit: the log likelihood recomputed from e(b) with generate, its numeric derivatives at the
* estimates, two outcomes against logit, the base outcome, predict, rrr, robust, replay
run estref.inc
generate byte yo = (x1 > -0.5) + (x1 + x2 > 0.3) + yb
label define yl 0 none 1 some 2 more 3 most
label values yo yl
mlogit yo x1 x2
display e(k_cat) " " e(baseout) " " e(ibaseout) " " e(k_eq) " `e(cmd)' `e(predict)'"
program define mll
	args h
	tempvar e0 e1 e3 s
	quietly generate double `e0' = exp((_b[none:x1] + `h') * x1 + _b[none:x2] * x2 + _b[none:_cons])
	quietly generate double `e1' = exp(_b[some:x1] * x1 + _b[some:x2] * x2 + _b[some:_cons])
	quietly generate double `e3' = exp(_b[most:x1] * x1 + _b[most:x2] * x2 + _b[most:_cons])
	quietly generate double `s' = sum(ln(cond(yo == 0, `e0', cond(yo == 1, `e1', cond(yo == 3, `e3', 1))) / (1 + `e0' + `e1' + `e3')))
	scalar mll_v = `s'[_N]
end
mll 0
display abs(mll_v - e(ll)) / abs(e(ll)) < 1e-10
mll 1e-5
scalar up = mll_v
mll -1e-5
display abs((up - mll_v) / 2e-5) < 1e-4
* two outcomes: logit
quietly logit yb x1 x2
scalar c = _b[_cons]
scalar s1 = _b[x1]
scalar l = e(ll)
mlogit yb x1 x2, baseoutcome(0) nolog
display abs(_b[1:_cons] - c) < 1e-7 & abs(_b[1:x1] - s1) < 1e-7 & abs(e(ll) - l) < 1e-9
* another base: the same likelihood
mlogit yo x1 x2, baseoutcome(0) rrr nolog
display abs(e(ll) - (-397.19539)) < 1e-4
* predict
predict double p0 double p1 double p2 double p3
generate double tot = p0 + p1 + p2 + p3
assert abs(tot - 1) < 1e-12
predict double q1, outcome(1)
assert q1 == p1
predict double x3, xb outcome(3)
assert abs(x3 - _b[most:x1] * x1 - _b[most:x2] * x2 - _b[most:_cons]) < 1e-12
* robust, replay
mlogit yo x1 x2, cluster(g) nolog
mlogit
* the comparison line names the outcome after posting renumbers the variables
generate byte yo2 = yo
mlogit yo2 x1, nolog
* failures
generate byte one = 1
mlogit one x1
mlogit yo x1, baseoutcome(7)
mlogit yo x1, offset(x2)
