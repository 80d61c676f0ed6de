* the survey form: PSU totals centred within strata, with the finite-population factor
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
	matrix DD = D
	epost b DD
end
* at the fitted coefficients the scores sum to 0, so one stratum with PSUs g gives the clustered
* variance with its factor G/(G-1); a sampling rate of one half halves it, and so do PSU totals of 50
olsfit
_robust e, cluster(g)
matrix C = e(V)
generate zero = 0
olsfit
_robust e, psu(g) fpc(zero)
display mreldif(e(V), C) " " e(N_strata) " " e(N_psu) " [`e(clustvar)'] " e(N_clust)
generate half = 0.5
olsfit
_robust e, psu(g) fpc(half)
matrix H = 0.5 * C
display mreldif(e(V), H) < 1e-14
generate fifty = 50
olsfit
_robust e, psu(g) fpc(fifty)
display mreldif(e(V), H) < 1e-14
* strata of c3 with every observation a PSU: checked against the deviations from the stratum means
* of u = e x, summed by matrix accum with n_h/(n_h-1) as the weight
olsfit
_robust e, strata(c3)
matrix S = e(V)
display e(N_strata) " " e(N_psu) " [`e(clustvar)']"
sort c3
by c3: generate double t1 = sum(e * x1)
by c3: generate double t2 = sum(e * x2)
by c3: generate double t3 = sum(e)
by c3: generate nh = _N
by c3: replace t1 = t1[_N] / nh
by c3: replace t2 = t2[_N] / nh
by c3: replace t3 = t3[_N] / nh
generate double d1 = e * x1 - t1
generate double d2 = e * x2 - t2
generate double d3 = e - t3
generate double ch = nh / (nh - 1)
matrix accum M = d1 d2 d3 [iweight = ch], noconstant
matrix W = D * M * D
display mreldif(S, W) < 1e-12
* a string stratum variable gives the same strata; subpop() sets the scores outside it to 0
generate str2 hs = "h" + string(c3)
olsfit
_robust e, strata(hs)
display mreldif(e(V), S) < 1e-14
generate sp = x1 > 0
olsfit
_robust e, strata(c3) subpop(sp)
matrix P = e(V)
replace e = 0 if !sp
olsfit
replace e = 0 if !sp
_robust e, strata(c3)
display mreldif(e(V), P)
* a rate between 1 and the count of PSUs is neither
generate three = 3
olsfit
_robust e, psu(g) fpc(three)
display "[`e(vcetype)']"
