* missing values poison the result: a missing scalar, the former vector or matrix left alone, rc 0
clear
input y x z
1 1 2
0 2 1
1 3 .
0 4 3
end
generate byte touse = 1
macro drop ML_*
global ML_n 1
global ML_samp touse
global ML_x1 x
global ML_fp1 1
global ML_lp1 2
scalar lnf = -3
mlsum lnf = y + z
display lnf
mlsum lnf = y + z if z < .
display lnf
* a sum that is not finite
mlsum lnf = 8e307
display lnf
scalar lnf = -3
mlvecsum lnf g = z
display _rc " " lnf
capture matrix list g
display _rc
mlvecsum lnf g = y
display lnf
matrix list g
mlvecsum lnf g = z
display lnf
matrix list g
scalar lnf = -3
mlmatsum lnf H = z
display lnf
capture matrix list H
display _rc
* a missing value in a variable of the equation, or in the weight
global ML_x1 z
scalar lnf = -3
mlvecsum lnf g = y
display lnf
matrix list g
global ML_x1 x
generate w = cond(_n == 2, ., 1)
global ML_w w
mlsum lnf = y
display lnf
global ML_w
* outside the sample a missing value does not count
replace touse = 0 in 3
mlsum lnf = y + z
display lnf
mlvecsum lnf g = z
matrix list g
* mleval: missing where a value is missing
replace touse = 1 in 3
global ML_x1 z
matrix b = (2, 1)
mleval xb = b
list xb
* the panel sums
sort x
generate a = 1
global ML_x1 x
scalar lnf = -3
mlmatbysum lnf M a z, by(x)
display lnf
capture matrix list M
display _rc
