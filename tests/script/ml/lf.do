* an own logit with method lf against the built-in logit: the estimates to 1e-6, the iteration log,
* e(), the replay, iterate() and the tolerances
run estref.inc
run evals.inc
ml model lf mylogit (yb = x1 x2)
ml maximize
matrix b1 = e(b)
matrix V1 = e(V)
scalar ll1 = e(ll)
ereturn list
matrix list e(b)
quietly count if e(sample)
display r(N)
ml display
ml display, level(90)
quietly logit yb x1 x2
display mreldif(b1, e(b)) < 1e-6 " " mreldif(V1, e(V)) < 1e-6 " " reldif(ll1, e(ll)) < 1e-10
* the model's state goes after a fit: maximize again needs a model
capture noisily ml maximize
* the equation name from the option-free form, an if and an in, and tighter tolerances
ml model lf mylogit (lgt: yb = x1 x2) if x1 > -1 in 1/400, title("My logit")
ml maximize, nolog tolerance(1e-8) ltolerance(1e-10) nrtolerance(1e-9)
matrix b1 = e(b)
display "`e(title)'" " " e(N)
quietly logit yb x1 x2 if x1 > -1 in 1/400
display mreldif(b1, e(b)) < 1e-6
* iterate(): not converged, the results posted, 430
ml model lf mylogit (yb = x1 x2)
ml maximize, iterate(2)
display e(converged) " " e(ic) " " e(rc)
ml maximize, iterate(0) nolog
display e(converged) " " e(ic) " " %10.0g e(ll)
* maximize run from ml model, and no constant
ml model lf mylogit (yb = x1 x2, noconstant), maximize nolog
matrix b1 = e(b)
quietly logit yb x1 x2, noconstant
display mreldif(b1, e(b)) < 1e-6
