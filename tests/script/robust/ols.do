* _robust after an OLS fitted by hand: the residual as the score and invsym(X'X) as the variance
* give the robust (HC1) and cluster-robust standard errors of the reference figures
run estref.inc
program epost, eclass
	ereturn post `0'
end
program olsfit
	matrix accum XX = x1 x2
	matrix vecaccum a = y x1 x2
	matrix D = invsym(XX)
	matrix b = a * D
	capture drop e
	generate double e = y - (b[1,1]*x1 + b[1,2]*x2 + b[1,3])
	epost b D
end
program showse
	args r1 r2 r3
	matrix V = e(V)
	display %12.10f sqrt(V[1,1]) " " %12.10f sqrt(V[2,2]) " " %12.10f sqrt(V[3,3])
	display reldif(sqrt(V[1,1]), `r1') < 1e-8 " " reldif(sqrt(V[2,2]), `r2') < 1e-8 " " ///
		reldif(sqrt(V[3,3]), `r3') < 1e-8
end
olsfit
display "[`e(vcetype)'] [$S_E_vce]"
_robust e
display "[`e(vcetype)'] [$S_E_vce] [`e(clustvar)'] [`e(N_clust)']"
showse 0.100899054253 0.102747894074 0.0955440927509
* the variance before the call is kept in VCE
matrix list VCE, format(%9.6f)
* clusters of g; minus(3) asks for the regression form (n-1)/(n-k)
olsfit
_robust e, cluster(g) minus(3)
display "[`e(vcetype)'] [$S_E_vce] [`e(clustvar)'] [$S_E_cvn] " e(N_clust) " $S_E_cn"
showse 0.0821276199061 0.115389027446 0.135729931288
* a string cluster variable compared as text gives the same clusters
generate str3 gs = "c" + string(g)
olsfit
_robust e, cluster(gs) minus(3)
display e(N_clust)
showse 0.0821276199061 0.115389027446 0.135729931288
* the score may be named in score()
olsfit
_robust, score(e)
showse 0.100899054253 0.102747894074 0.0955440927509
* without minus() the cluster factor is G/(G-1) alone
olsfit
_robust e, cluster(g)
matrix V = e(V)
display reldif(sqrt(V[1,1]), 0.0821276199061 / sqrt(499/497)) < 1e-8
* variance() works on a matrix of its own and leaves e() alone
olsfit
matrix W = e(V)
_robust e, variance(W)
display "[`e(vcetype)']"
display reldif(sqrt(W[1,1]), 0.100899054253) < 1e-8 " " mreldif(e(V), VCE)
