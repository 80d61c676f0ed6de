* time-series operators in the equations of ml: the operated variables are held for the model and
* named by their operators in e(b); the fit equals one on variables generated with the operators
run estref.inc
run evals.inc
generate int t = _n
tsset t
ml model lf mylogit (yb = L.x1 D.x2 x2)
ml maximize, nolog
matrix list e(b)
display e(N)
matrix b1 = e(b)
generate double lx1 = L.x1
generate double dx2 = D.x2
quietly logit yb lx1 dx2 x2
matrix b2 = e(b)
display mreldif(b1, b2) < 1e-6
* the scratch variables go with the model
capture describe __ML_t*
display _rc
* a d2 evaluator reads them through the aids, with lags of two steps in a list
ml model d2 logit_d (yb = L(1/2).x1 x2)
display "$ML_x1 | $ML_xn1"
* the aids' results carry the operators' names too
scalar lnf = 0
mlvecsum lnf g = 1
display "`: colfullnames g'"
ml maximize, nolog
display colsof(e(b)) " " e(N) " `: colnames e(b)'"
* ml init by name: eq:name=#, /eq=# for a constant, name=# in the first equation
generate double y = 1 + 2*x1 - x2 + sin(_n)
ml model lf mynormal (xb: y = x1 L.x2) /lnsigma
ml init xb:x1=1.5 /lnsigma=-0.5 _cons=1
matrix list ML_b
ml init xb:L.x2=-1
matrix list ML_b
* failures: a name not in the model, an equation not in it, a value that is not a number
ml init xb:x9=1
ml init /nosuch=1
ml init xb:x1=abc
ml maximize, nolog
matrix b1 = e(b)
quietly regress y x1 L.x2
matrix b2 = e(b)
matrix b1s = b1[1, 1..3]
display mreldif(b1s, b2) < 1e-6
