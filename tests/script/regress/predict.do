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
capture noisily regress y x1 x2, vce(robust)
capture noisily regress y x1 x2, cluster(w)
capture noisily regress y x1 x2, vce(bad)
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
