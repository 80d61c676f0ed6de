* the variance of a fit is the inverse of the information summed row by row, here over 1001 rows (a
* block of rows with an odd count at the end) with an odd and an even count of parameters, with and
* without the constant: the information is summed apart by matrix accum at the estimates
clear
set obs 1001
forvalues j = 1/6 {
	generate double x`j' = mod(_n * `j', 31) / 9 + sin(_n * `j')
}
generate double u = mod(_n * 7919, 10007) / 10007
generate byte yb = u < invlogit(0.3 * (x1 - x2) + 0.2 * x3 - 0.5)
capture program drop info
program info
	args cmd vars opt
	quietly `cmd' yb `vars', `opt'
	capture drop xb h
	quietly predict double xb, xb
	if "`cmd'" == "logit" quietly generate double h = invlogit(xb) * invlogit(-xb)
	else {
		quietly generate double h = normalden(xb) / normal(xb) * (normalden(xb) / normal(xb) + xb) if yb
		quietly replace h = normalden(xb) / normal(-xb) * (normalden(xb) / normal(-xb) - xb) if !yb
	}
	quietly matrix accum I = `vars' [iweight = h], `opt'
	matrix Vx = invsym(I)
	display "`cmd' `vars', `opt': k = " colsof(e(b)) ", " (mreldif(Vx, e(V)) < 1e-9)
end
info logit "x1-x6"
info logit "x1-x5"
info logit "x1-x6" noconstant
info probit "x1-x6"
info probit "x1-x5"
info probit "x1-x5" noconstant
