* regress written over _regress, predict through e(predict), and vce; the values of leverage, cooksd,
* stdr and stdf were checked against a hat matrix worked apart
clear
input y x1 x2 w
1 1 2 1
3 2 1 2
2 3 5 1
5 4 3 3
4 5 4 1
7 6 8 2
6 7 6 1
. 3 3 1
end
capture noisily predict p
regress y x1 x2
reg y x1, level(90) noheader
regress
regress y x1 x2 if x1 < 7, beta
* robust and clustered (3 clusters of w): the standard errors .3512145 .3931787 .8048042 and
* .1660446 .2410311 .4890859, and the Wald F 12.18 (p .0199) and 145.03 on 2 and 2 (p .0068),
* were worked apart from the sandwich (X'X)^-1 M (X'X)^-1 with n/(n-k), and G/(G-1) (n-1)/(n-k)
capture noisily regress y x1 x2, vce(robust)
capture noisily regress y x1 x2, cluster(w)
capture noisily regress y x1 x2, vce(bad)
* HC3: the standard errors .5006369 .6615754 1.234041 and the Wald F 5.48
* were worked apart from the residuals over 1 - h, without n/(n-k)
capture noisily regress y x1 x2, hc3
* the variance in e() is the robust one, and replay shows it again
regress y x1 x2, vce(robust)
display e(vcetype) " " e(df_r) " " %9.7f _se[x1]
regress y x1 x2, cluster(w)
display e(vcetype) " " e(clustvar) " " e(N_clust) " " e(df_r) " " %9.7f _se[x1]
regress, noheader
regress y x1 x2
predict p
predict double r, residuals
predict sp, stdp
predict sf, stdf
predict sr, stdr
predict h, leverage
predict cd, cooksd
predict xb2 in 2/4, xb
list
vce
vce, corr
* xb and stdp out of the sample; stdr and cooksd in it only (observation 8 has no y)
regress y x1 x2 if x1 > 2
predict o1 if x1 < 3
predict o2 if x1 < 3, stdr
list x1 o1 o2 in 1/3
capture noisily predict o3, xb stdp
ereturn clear
capture noisily vce
capture noisily predict o4
