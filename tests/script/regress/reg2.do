* _regress: the header and the coefficient table, weights, options, dropped columns, replay, and
* failures that leave e() as it was. Values checked against a least-squares solve done apart.
clear
input y x1 x2 w
1 1 2 1
3 2 1 2
2 3 5 1
5 4 3 3
4 5 4 1
7 6 8 2
6 7 6 1
end
* b = (.9157509, -.025641, .4432234), se = (.3752032, .3362789, 1.024443)
_regress y x1 x2
ereturn list
matrix list e(V)
* aweights scaled to sum to 7: b = (.9578059, -.0379747, .6843115)
_regress y x1 x2 [aweight=w], beta
_regress y x1 x2 [fweight=w]
display e(N) " " e(df_r)
_regress y x1 x2 [iweight=w], noheader
_regress y x1 x2 [pweight=w], noheader
_regress y x1 x2, noconstant level(90)
_regress y x1 x2, noconstant tsscons
display e(mss) + e(rss)
* a variable equal to twice another: the later one is dropped, df_m counts what is left
generate x3 = 2*x1
_regress y x1 x3 x2
display e(df_m) " " e(df_r)
_regress, level(80)
_regress y x1 x2 [fweight=w], noheader eform(exp(b)) plus
_regress y x1 x2, mse1 dof(10) noheader
display e(df_r) " " e(rmse)
_regress y x1 x2, bmat(B) rssmat(R) depname(outcome) properties(b V mine) noheader
matrix list B
matrix list R
display "`e(depvar)' `e(properties)'"
* hascons: a constant among the regressors
generate one = 1
_regress y x1 one, hascons noheader
generate half = x1 > 3
_regress y x1 half, hascons noheader
* the perfect fit: no residual, F missing
generate z = 3 + 2*x1
_regress z x1
* as many regressors as observations: df_r 0
_regress y x1 x2 w in 1/4
* all regressors collinear with the constant
generate c5 = 5
_regress y c5
* failures leave e() as it was
_regress y x1
_regress y x1 if y > 100
display e(N) " " e(df_m)
generate s = "a"
_regress y s
_regress y x1 [aweight=0*w]
display e(N) " " e(df_m)
_regress y x1, robust
_regress y x1, vce(robust)
_regress y x1, beta cluster(w)
* more regressors than matsize minus 2
clear
set matsize 10
set obs 12
generate x = _n
generate y = mod(_n, 5)
_regress y x
_regress y x x x x x x x x x
display e(N) " " e(df_m)
ereturn clear
_regress
