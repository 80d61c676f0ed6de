* a normal regression of two equations, (xb: y = x1 x2) /lnsigma, against regress
run estref.inc
run evals.inc
generate double y = 1 + 2*x1 - x2 + sin(_n)
ml model lf mynormal (xb: y = x1 x2) /lnsigma
ml check
ml search
ml maximize
matrix b1 = e(b)
display e(k_eq) " " e(k) " " "`e(depvar)'"
display %10.0g exp(_b[lnsigma:_cons])
quietly regress y x1 x2
matrix b2 = e(b)
matrix b1s = b1[1, 1..3]
display mreldif(b1s, b2) < 1e-6
* the maximum-likelihood sigma is the root of the residuals' mean square
display reldif(exp(b1[1,4]), sqrt(e(rss)/e(N))) < 1e-6
* difficult takes the non-concave start with a larger ridge, to the same place
ml model lf mynormal (xb: y = x1 x2) (lnsigma:), difficult
ml maximize, nolog
display mreldif(e(b), b1) < 1e-6
