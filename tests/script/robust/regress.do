* regress with the robust, cluster, HC2 and HC3 variance, made by _regress from the residuals of its
* own fit. HC1 and the clusters of g against the reference figures; the HC2 and HC3 figures, and
* those of the fit with the indicators of c3, were computed once apart, with numpy: the hat values
* h = diag(X inv(X'X) X'), the scores e/sqrt(1-h) and e/(1-h), and inv(X'X) M inv(X'X) without a
* small-sample factor (12 significant digits kept).
run estref.inc
capture program drop near
program near
	args est ref
	if reldif(`est', `ref') > 1e-8 {
		display as error "`est' is " %20.15g `est' ", reference " %20.15g `ref'
		exit 9
	}
end
regress y x1 x2, vce(robust)
near _se[x1] 0.100899054253
near _se[x2] 0.102747894074
near _se[_cons] 0.0955440927509
display "`e(vce)' [`e(vcetype)'] " e(df_r) " " e(df_m)
* the F of the header is the Wald test of the slopes under the robust variance
test x1 x2
display reldif(r(F), e(F)) < 1e-10 " " reldif(r(p), e(p)) < 1e-10
regress y x1 x2, cluster(g) noheader
near _se[x1] 0.0821276199061
near _se[x2] 0.115389027446
near _se[_cons] 0.135729931288
display "`e(vce)' [`e(vcetype)'] `e(clustvar)' " e(N_clust) " " e(df_r)
quietly test x1 x2
display reldif(r(F), e(F)) < 1e-10 " " r(df_r)
quietly regress y x1 x2, hc2
near _se[x1] 0.101122760137
near _se[x2] 0.102879037356
near _se[_cons] 0.0956013923275
display "`e(vce)' [`e(vcetype)']"
regress y x1 x2, hc3 noheader
near _se[x1] 0.101653171029
near _se[x2] 0.103321334654
near _se[_cons] 0.0959475429633

* the factor's columns against indicators made by hand: the same variance, the base at 0
generate byte c3_2 = c3 == 2
generate byte c3_3 = c3 == 3
quietly regress y x1 x2 c3_2 c3_3, vce(robust)
matrix A = e(V)
regress y x1 x2 i(c3), vce(robust)
near _se[x1] 0.100860799832
near _se[x2] 0.102881642888
near _se[2.c3] 0.239118164809
near _se[3.c3] 0.234904624637
near _se[_cons] 0.178241161837
matrix B = e(V)
display reldif(A[3,4], B[4,5]) < 1e-10 " " reldif(A[1,5], B[1,6]) < 1e-10 " " reldif(e(F), 9.41) < 1
display _se[1b.c3] " " B[3,3] " " B[3,1] " " B[6,3]
quietly regress y x1 x2 c3_2 c3_3, cluster(g)
matrix A = e(V)
quietly regress y x1 x2 i(c3), cluster(g)
matrix B = e(V)
display reldif(A[3,3], B[4,4]) < 1e-10 " " reldif(A[5,4], B[6,5]) < 1e-10 " " B[3,3]
quietly regress y x1 x2 i(c3), hc3
near _se[x1] 0.101819650207
near _se[x2] 0.103670558918
near _se[2.c3] 0.2407304428
near _se[3.c3] 0.236484484412
near _se[_cons] 0.179623122407

* the weighted forms give what _robust gives from the residuals of the plain fit
capture program drop byhand
program byhand, eclass
	args wt vce
	quietly regress y x1 x2 [`wt' = w], `vce'
	local clopt = cond("`vce'" == "robust", "", "`vce'")
	matrix R = e(V)
	quietly _regress y x1 x2 [`wt' = w]
	matrix b = e(b)
	capture drop res
	quietly matrix score double res = b if e(sample)
	quietly replace res = y - res
	matrix D = e(V) / (e(rmse)^2)
	ereturn repost V = D
	quietly _robust res [`wt' = w] if e(sample), `clopt' minus(3)
	display "`wt' `vce': " (mreldif(R, e(V)) < 1e-12)
end
byhand pweight
byhand aweight robust
byhand fweight robust
byhand aweight cluster(g)
byhand pweight cluster(g)

* a missing cluster leaves the sample, as an if would
generate gm = g
replace gm = . in 1/10
quietly regress y x1 x2, cluster(gm)
matrix A = e(V)
display e(N) " " e(N_clust)
quietly regress y x1 x2 if gm < ., cluster(g)
display e(N) " " mreldif(A, e(V))
quietly _regress y x1 x2, cluster(gm)
display e(N) " " mreldif(A, e(V))
* a string cluster variable gives the same clusters
generate str3 gs = "c" + string(g)
quietly regress y x1 x2, cluster(gs)
display e(N_clust) " " (reldif(_se[x1], 0.0821276199061) < 1e-8)

* fewer clusters than slopes: the variance of the slopes is singular and F cannot be made
generate g2 = mod(_n, 2)
regress y x1 x2, cluster(g2)
display e(F) " " e(df_m) " " e(df_r)
* one cluster: the factor is 0, and so is the variance
generate one = 1
regress y x1 x2, cluster(one)
display e(N_clust) " " e(df_r) " " _se[x1]

* failures leave e() as it was
quietly regress y x1 x2, hc2
regress y x1 x2, hc2 hc3
regress y x1 x2, hc3 cluster(g)
regress y x1 x2 [iweight = w], robust
_regress y x1 x2 [iweight = w], cluster(g)
regress y x1 x2, beta cluster(g)
_regress y x1 x2, cluster(nosuch)
regress y x1 x2 if x1 > 100, robust
display "`e(vce)' [`e(vcetype)'] " e(N)
