* the edges of the binary-outcome fits: an outcome that does not vary, a string outcome, no
* observations, a collinear regressor, perfect prediction and its note, iterate(0) and an iteration
* limit (430 with e() posted), a flat start, an offset, no constant, e() kept on failure, predict
run estref.inc
* the outcome must vary; any value other than 0 is a positive outcome
generate byte one = 1
logit one x1
generate byte yb7 = yb * 7
logit yb7 x1 x2, nolog
display e(ll)
generate str1 s = "a"
logit s x1
logit yb s
logit yb x1 if x1 > 100
* e() stays as it was on failure
display "`e(cmd)' " e(N)
* a collinear regressor is dropped with a note
generate double x3 = 2 * x1 - x2
logit yb x1 x2 x3, nolog
display e(df_m) " " e(k) " " _b[x3]
* an offset and no constant
generate double off = 0.3
logit yb x1 x2, offset(off) nolog
display %12.0g _b[_cons]
display %12.0g e(ll)
* the names in e() are the variables', even when posting renumbers the variables
display "`e(offset)'"
generate long g2 = g
logit yb x1 x2, cluster(g2) nolog
display "`e(clustvar)'"
logit yb x1 x2, noconstant nolog
display %12.0g e(ll_0) " " e(k)
* iterate(0): the start evaluated once, not converged, the results posted
logit yb x1 x2, iterate(0)
display e(converged) " " e(ic) " " e(rc) " " %12.0g e(ll)
logit yb x1 x2, iterate(2)
display e(converged) " " e(ic)
* a flat start: a regressor of zeros and the constant's start already the estimate
generate byte z = 0
logit yb z
display e(ic) " " e(converged) " " %12.0g e(ll) " " %12.0g e(ll_0)
* perfect prediction: x1 above 0 gives the positive outcome
generate byte sep = x1 > 0
logit sep x1, nolog
display e(converged) " " e(N_cd) " " e(ll) " " e(ic)
* quasi-separation: where d is 1 the outcome is always positive, elsewhere it varies
generate byte d = x1 > 1.5
generate byte q = cond(d, 1, yb)
probit q d x2, nolog
display e(N_cd) " " e(converged)
* predict
run estref.inc
logit yb x1 x2, nolog
predict p1
predict double xb1, xb
predict double se1, stdp
predict p2, pr xb
assert abs(invlogit(xb1) - p1) < 1e-7
list p1 xb1 se1 in 1/3
probit yb x1 x2, nolog
predict double pp
assert abs(pp - normal(_b[x1]*x1 + _b[x2]*x2 + _b[_cons])) < 1e-15
display "`e(predict)'"
