* logit and probit of yb on x1 and x2 over 500 observations against reference values computed apart
* (12 significant digits), each to 1e-7: the coefficients and log likelihoods of the reference file;
* the standard errors of a reference fit run to full convergence. The reference file's standard
* errors come from a fit that stopped at its default tolerance and whose variance uses the weights
* of the iteration before its last: they agree to 1e-4 only, checked below at that distance. Its
* probit errors are those of the expected information, checked through matrix accum.
capture program drop near
program near
	args est ref tol
	if "`tol'" == "" local tol 1e-7
	local d = reldif(`est', `ref')
	if `d' > `tol' {
		display as error "`est' is " %20.15g `est' ", reference " %20.15g `ref'
		exit 9
	}
end
capture program drop nearall
program nearall
	args what b1 b2 b3 tol
	near `what'[x1] `b1' `tol'
	near `what'[x2] `b2' `tol'
	near `what'[_cons] `b3' `tol'
end
run estref.inc
logit yb x1 x2
nearall _b 0.804308404435 -0.423416422364 0.374090327335
nearall _se 0.114838394613 0.0892431066667 0.0987747081012
nearall _se 0.114836684672 0.0892421407251 0.0987738671426 1e-4
near e(ll) -299.347887808
near e(ll_0) -338.061171987
near e(chi2) 2*(338.061171987-299.347887808)
near e(r2_p) 1-299.347887808/338.061171987
display e(N) " " e(k) " " e(ic) " " e(converged) " " e(N_cd) " " e(df_m)
display "`e(cmd)' `e(predict)' `e(crittype)' `e(properties)' `e(chi2type)' `e(depvar)'"
logit yb x1 x2, robust nolog
nearall _b 0.804308404435 -0.423416422364 0.374090327335
nearall _se 0.120179954755 0.0885636637714 0.0990602844629
nearall _se 0.12018079796 0.0885636504291 0.0990603488405 1e-4
display "`e(vcetype)' `e(chi2type)'"
logit yb x1 x2, cluster(g) nolog
nearall _se 0.105576819448 0.0902101756715 0.113227139264
nearall _se 0.105578309278 0.0902100466482 0.113227628693 1e-4
display e(N_clust) " `e(clustvar)'"
logit yb x1 x2, vce(cluster g) nolog
nearall _se 0.105576819448 0.0902101756715 0.113227139264
logit yb x1 x2, vce(robust) nolog
nearall _se 0.120179954755 0.0885636637714 0.0990602844629
probit yb x1 x2
nearall _b 0.479321182372 -0.25695598432 0.224709275075
near _b[x1] 0.479320944548 1e-6
near _b[_cons] 0.224709181677 1e-6
* the observed information
nearall _se 0.0660438723705 0.053340502484 0.0595299382007
near e(ll) -299.615579573
near e(ll_0) -338.061171987
display "`e(cmd)' `e(predict)'"
* the expected information at the estimates
predict double xb, xb
generate double wexp = normalden(xb)^2 / (normal(xb) * normal(-xb))
matrix accum I = x1 x2 [iweight = wexp]
matrix Vx = invsym(I)
near sqrt(Vx[1,1]) 0.0668340871717
near sqrt(Vx[2,2]) 0.0532460062984
near sqrt(Vx[3,3]) 0.059528573386
near sqrt(Vx[1,1]) 0.0668343205973 1e-4
probit, level(80)
* replay, odds ratios and another level
quietly logit yb x1 x2
logit
logit, or level(90)
logistic yb x1 x2, nolog
display "`e(cmd)'"
near _b[x1] 0.804308404435
logistic
* the last estimates are not those of probit
probit
