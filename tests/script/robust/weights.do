* weights: pweights multiply the score, the others the outer product; checked against matrix accum
* of x with the squared scores as importance weights
run estref.inc
program epost, eclass
	ereturn post `0'
end
matrix accum XX = x1 x2
matrix D = invsym(XX)
matrix b = (0.5, -0.4, 1.1)
matrix colnames b = x1 x2 _cons
generate double e = y - (0.5*x1 - 0.4*x2 + 1.1)
generate double pe2 = (w*e)^2
generate double fe2 = w*e^2
generate double sw = sum(w)
local sw = sw[_N]
display `sw'
program check
	args wt expect nobs
	matrix bb = b
	matrix DD = D
	epost bb DD
	_robust e [`wt' = w]
	matrix R = e(V)
	matrix accum M = x1 x2 [iweight = `expect']
	matrix W = (`nobs' / (`nobs' - 3)) * D * M * D
	display "`wt': " (mreldif(R, W) < 1e-12)
end
check pweight pe2 500
check fweight fe2 `sw'
check iweight fe2 `sw'
* analytic weights scaled to sum to the count
generate double ae2 = fe2 * 500 / `sw'
check aweight ae2 500
* zero weights leave out the observation unless zeroweight; with it they count in N
replace w = 0 in 1/10
replace fe2 = w*e^2
generate double sw2 = sum(w)
local sw2 = sw2[_N]
matrix bb = b
matrix DD = D
epost bb DD
_robust e [iweight = w]
matrix R = e(V)
matrix accum M = x1 x2 [iweight = fe2]
matrix W = (`sw2' / (`sw2' - 3)) * D * M * D
display mreldif(R, W) < 1e-12
matrix bb = b
matrix DD = D
epost bb DD
_robust e [pweight = w], zeroweight
matrix R = e(V)
replace pe2 = (w*e)^2
matrix accum M = x1 x2 [iweight = pe2]
matrix W = (500 / 497) * D * M * D
display mreldif(R, W) < 1e-12
matrix bb = b
matrix DD = D
epost bb DD
_robust e [pweight = w]
matrix R = e(V)
matrix W = (490 / 487) * D * M * D
display mreldif(R, W) < 1e-12
