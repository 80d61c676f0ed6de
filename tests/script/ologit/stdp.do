* the standard error of the linear prediction after ologit and oprobit: x V x' over the regressors,
* the cut points left out, against the same worked with generate from e(V)
run estref.inc
generate byte yo = (x1 > -0.5) + (x1 + x2 > 0.3) + yb
ologit yo x1 x2, nolog
predict double se, stdp
matrix V = e(V)
generate double se2 = sqrt(x1^2 * V[1,1] + 2 * x1 * x2 * V[1,2] + x2^2 * V[2,2])
assert abs(se - se2) < 1e-12
summarize se
oprobit yo x1 x2 in 1/300, nolog
predict double sp in 1/5, stdp
matrix V = e(V)
generate double sp2 = sqrt(x1^2 * V[1,1] + 2 * x1 * x2 * V[1,2] + x2^2 * V[2,2]) in 1/5
assert abs(sp - sp2) < 1e-12 if sp2 < .
count if sp < .
* failures: two statistics, more than one new variable
predict double f1, stdp xb
predict double f2 double f3, stdp
