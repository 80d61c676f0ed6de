* the same fit with one processor and with two: the kernels sum fixed chunks in their order, so the
* estimates, the variance and the log likelihood have the same bits
clear
set obs 20000
generate double x1 = sin(_n)
generate double x2 = mod(_n, 13) / 5
generate double u = mod(_n * 7919, 10007) / 10007
generate byte yb = u < invlogit(0.5 + x1 - 0.3 * x2)
generate int g = mod(_n, 37)
capture program drop both
program both
	quietly set processors 1
	quietly `0'
	matrix b1 = e(b)
	matrix V1 = e(V)
	scalar ll1 = e(ll)
	capture quietly set processors 2
	quietly `0'
	display "`0': " (mreldif(b1, e(b)) == 0) (mreldif(V1, e(V)) == 0) (ll1 == e(ll))
	quietly set processors 1
end
both logit yb x1 x2
both probit yb x1 x2
both logit yb x1 x2, cluster(g)
both probit yb x1 x2 [pweight = g + 1]
logit yb x1 x2, nolog
