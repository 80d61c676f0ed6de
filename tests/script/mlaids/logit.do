* a logit's likelihood, gradient and Hessian by the aids, against the same sums made with generate
* and matrix accum
clear
set obs 40
generate x1 = sin(_n)
generate x2 = 2*cos(0.7*_n)
generate y = mod(_n*7, 3) == 1
generate byte touse = _n != 5 & _n != 11
macro drop ML_*
global ML_n 1
global ML_samp touse
global ML_x1 x1 x2
global ML_fp1 1
global ML_lp1 3
global ML_eq1 y
matrix b = (0.5, -0.25, 0.1)
* the linear prediction: missing outside the sample
mleval xb = b
describe xb
generate double check = b[1,1]*x1 + b[1,2]*x2 + b[1,3] if touse
count if xb != check
drop check
generate double p = invlogit(xb)
* the log likelihood
mlsum lnf = cond(y, ln(p), ln(1-p))
generate double l = cond(y, ln(p), ln(1-p))
matrix vecaccum L = l if touse
display %20.0g lnf " " %20.0g L[1,1] " " reldif(lnf, L[1,1]) < 1e-13
* the gradient
mlvecsum lnf g = y - p
matrix list g
generate double r = y - p
matrix vecaccum G = r x1 x2 if touse
display mreldif(g, G) < 1e-13
* the Hessian
mlmatsum lnf H = -p*(1-p)
matrix list H
matrix accum A = x1 x2 if touse [iweight = p*(1-p)]
matrix A = -A
display mreldif(H, A) < 1e-13
display issymmetric(H)
* an `if` narrows the sample
mlvecsum lnf g = y - p if x1 > 0
matrix vecaccum G = r x1 x2 if touse & x1 > 0
display mreldif(g, G) < 1e-13
* weights of each kind: the fitter puts the weight to use in ML_w
generate w = 1 + mod(_n, 4)
global ML_w w
global ML_wtyp fweight
mlsum lnf = cond(y, ln(p), ln(1-p))
matrix vecaccum L = l if touse [fweight = w]
display reldif(lnf, L[1,1]) < 1e-13
mlvecsum lnf g = y - p
matrix vecaccum G = r x1 x2 if touse [fweight = w]
display mreldif(g, G) < 1e-13
mlmatsum lnf H = -p*(1-p)
matrix accum A = x1 x2 if touse [iweight = -w*p*(1-p)]
display mreldif(H, A) < 1e-13
* analytic weights scaled by the fitter to sum to the count
quietly count if touse
local n = r(N)
matrix vecaccum W = w if touse
generate double wa = w*`n'/W[1,1]
global ML_w wa
global ML_wtyp aweight
mlvecsum lnf g = y - p
matrix vecaccum G = r x1 x2 if touse [aweight = w]
display mreldif(g, G) < 1e-13
* importance and sampling weights as they stand
generate wi = 0.5 + sin(_n)/4
global ML_w wi
global ML_wtyp iweight
mlmatsum lnf H = -p*(1-p)
matrix accum A = x1 x2 if touse [iweight = -wi*p*(1-p)]
display mreldif(H, A) < 1e-13
global ML_wtyp pweight
mlvecsum lnf g = y - p
matrix vecaccum G = r x1 x2 if touse [iweight = wi]
display mreldif(g, G) < 1e-13
macro drop ML_w ML_wtyp
* two equations: the blocks of the Hessian, rows from the first number of eq()
global ML_n 2
global ML_x2 x2
global ML_eq2 lnsig
mlmatsum lnf H = -p*(1-p), eq(2,1)
matrix list H
generate double e = -p*(1-p)
generate double ex2 = e*x2
matrix vecaccum R1 = ex2 x1 x2 if touse
matrix vecaccum R2 = e x1 x2 if touse
matrix E = (R1 \ R2)
display mreldif(H, E) < 1e-13
mlmatsum lnf H = -p*(1-p), eq(2)
matrix list H
mlmatsum lnf H = -p*(1-p), eq(1,2)
matrix list H
* an equation without a name has plain stripes; an equation without a constant has no _cons
macro drop ML_eq1
global ML_xc1 1
mlvecsum lnf g = y - p
matrix list g
macro drop ML_xc1
* offset and exposure
generate off = _n/10
global ML_xo1 off
mleval xbo = b
count if touse & reldif(xbo, xb + off) > 1e-15
count if !touse & xbo < .
macro drop ML_xo1
global ML_xe1 off
mleval xbe = b
count if touse & reldif(xbe, xb + ln(off)) > 1e-15
macro drop ML_xe1
* a constant-only equation: its coefficient by mleval, scalar
global ML_ip2 1
global ML_fp2 4
matrix b2 = (b, 0.75)
mleval s = b2, eq(2) scalar
display s
* the cached list follows the variables: a variable of the list dropped and made again
mleval xb1 = b
drop x2
generate x2 = 0
mleval xb2 = b
count if touse & reldif(xb2, b[1,1]*x1 + b[1,3]) > 1e-15
