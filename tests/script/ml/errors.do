* failures: no model, bad ML_ globals, a broken evaluator under ml check, a missing likelihood at
* the start, an evaluator that fails, a singular Hessian; e() stays as it was on each
run estref.inc
run evals.inc
quietly logit yb x1 x2
ml
ml nosuch
ml maximize
ml display
ml model qq mylogit (yb = x1 x2)
ml model lf
ml model lf mylogit
ml model lf mylogit (yb = x1 nosuch)
ml model lf mylogit (yb = x1, noconstant offset(x2) exposure(x2))
ml model lf mylogit (yb = , noconstant)
ml model lf mylogit (yb = x1) if x1 > 100
ml model lf mylogit (yb = x1 x2), vce(cluster nosuch)
* the ML_ macros of the contract: the aids' codes
ml model lf mylogit (yb = x1 x2)
global ML_n
ml maximize
global ML_n two
ml maximize
global ML_n 1
global ML_samp x1
ml maximize
global ML_samp __ML_samp
global ML_x1 x1 nosuch
ml maximize
ml clear
* a broken d2 evaluator: its gradient is off by a factor
capture program drop badgrad
program badgrad
	args todo b lnf g H
	logit_d `todo' `b' `lnf' `g' `H'
	if `todo' >= 1 matrix `g' = 2 * `g'
end
ml model d2 badgrad (yb = x1 x2)
ml check
* an evaluator that changes the coefficient vector
capture program drop badb
program badb
	args todo b lnf g H
	logit_d `todo' `b' `lnf' `g' `H'
	matrix `b' = 2 * `b'
end
ml model d0 badb (yb = x1 x2)
ml init 0.1 0.1 0.1, copy
ml check
* an evaluator that fails: its code passes through, under check and maximize
capture program drop failing
program failing
	args lnf xb
	error 459
end
ml model lf failing (yb = x1 x2)
ml check
ml maximize
ml clear
* a missing likelihood at the start
capture program drop missing
program missing
	args lnf xb
	quietly replace `lnf' = ln(invlogit(`xb')) if $ML_y1 != 0
end
ml model lf missing (yb = x1 x2)
ml check
ml maximize
* ml search finds no value where the likelihood can be computed
ml search
ml clear
* a regressor that is always 0: the likelihood does not depend on its coefficient, the Hessian is
* singular
generate byte z = 0
ml model lf mylogit (yb = x1 z)
ml maximize, nolog
ml clear
* e() is the logit's still
display "`e(cmd)' " e(N) " " %10.0g e(ll)
