* the same logit by methods d0, d1 and d2 against the built-in logit; ml check on it
run estref.inc
run evals.inc
quietly logit yb x1 x2
matrix bl = e(b)
matrix Vl = e(V)
ml model d2 logit_d (yb = x1 x2)
ml check
ml maximize
display mreldif(e(b), bl) < 1e-6 " " mreldif(e(V), Vl) < 1e-6 " " e(ml_method)
ml model d1 logit_d (yb = x1 x2)
ml maximize, nolog
display mreldif(e(b), bl) < 1e-6 " " mreldif(e(V), Vl) < 1e-6 " " e(ml_method)
ml model d0 logit_d (yb = x1 x2)
ml check
ml maximize, nolog
display mreldif(e(b), bl) < 1e-6 " " mreldif(e(V), Vl) < 1e-5 " " e(ml_method)
* starting values: ml init with a vector or with numbers
ml model d2 logit_d (yb = x1 x2)
capture noisily ml init 1 2, copy
display _rc
matrix s = (1, 2)
capture noisily ml init s
display _rc
capture noisily ml init nosuch
display _rc
matrix s = (0.5, -0.5, 0.5)
ml init s
ml maximize
ml model d2 logit_d (yb = x1 x2)
ml init 0.8 -0.4 0.37, copy
ml maximize, nolog
display e(ic) " " mreldif(e(b), bl) < 1e-6
