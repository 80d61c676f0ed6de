* vce(robust), vce(cluster) and weights against the built-in logit's
run estref.inc
run evals.inc
ml model lf mylogit (yb = x1 x2), vce(robust)
ml maximize, nolog
matrix b1 = e(b)
matrix V1 = e(V)
display "`e(vce)' `e(vcetype)'"
quietly logit yb x1 x2, robust
display mreldif(b1, e(b)) < 1e-6 " " mreldif(V1, e(V)) < 1e-6
ml model lf mylogit (yb = x1 x2), cluster(g)
ml maximize, nolog
matrix V1 = e(V)
display "`e(vce)' `e(vcetype)' `e(clustvar)' " e(N_clust)
quietly logit yb x1 x2, vce(cluster g)
display mreldif(V1, e(V)) < 1e-6
* frequency weights: the count is their sum
ml model lf mylogit (yb = x1 x2) [fweight = w]
ml maximize, nolog
matrix b1 = e(b)
matrix V1 = e(V)
display e(N) " `e(wtype)' `e(wexp)'"
quietly logit yb x1 x2 [fweight = w]
display mreldif(b1, e(b)) < 1e-6 " " mreldif(V1, e(V)) < 1e-6
* analytic weights are scaled to sum to the count
ml model lf mylogit (yb = x1 x2) [aweight = w], vce(robust)
ml maximize, nolog
matrix b1 = e(b)
matrix V1 = e(V)
quietly logit yb x1 x2 [aweight = w], vce(robust)
display mreldif(b1, e(b)) < 1e-6 " " mreldif(V1, e(V)) < 1e-6
* sampling weights make the variance robust and the likelihood a pseudolikelihood
ml model lf mylogit (yb = x1 x2) [pweight = w]
ml maximize, nolog
matrix b1 = e(b)
matrix V1 = e(V)
display "`e(crittype)' `e(vcetype)'"
quietly logit yb x1 x2 [pweight = w]
display mreldif(b1, e(b)) < 1e-6 " " mreldif(V1, e(V)) < 1e-6
* weights with a d2 evaluator: the aids take them from ML_w
ml model d2 logit_d (yb = x1 x2) [iweight = w/2]
ml maximize, nolog
matrix b1 = e(b)
quietly logit yb x1 x2 [iweight = w/2]
display mreldif(b1, e(b)) < 1e-6
* robust needs the scores of lf
ml model d2 logit_d (yb = x1 x2), vce(robust)
ml maximize
ml clear
ml model lf mylogit (yb = x1 x2), vce(bootstrap)
