* the ML_ contract: every check of the table, every message and code of the aids
clear
input y x1 x2 str1 s f
1 1 2 "a" 1.5
0 2 1 "b" 2.5
1 3 5 "c" 3.5
0 4 3 "d" 4.5
end
generate byte touse = 1
matrix b = (1, 2, 3)
* ML_n absent, then not a number
macro drop ML_*
mlvecsum lnf g = y
global ML_n abc
mlvecsum lnf g = y
global ML_n 1
* ML_samp absent, not a variable, not a byte variable
mlvecsum lnf g = y
global ML_samp nosuch
mlvecsum lnf g = y
global ML_samp f
mlsum lnf = y
global ML_samp touse
* an unknown or string weight
global ML_w nosuch
mlsum lnf = y
global ML_w s
mlsum lnf = y
global ML_w
* equation numbers
global ML_x1 x1 x2
mlvecsum lnf g = y, eq(2)
mlvecsum lnf g = y, eq(0)
mlmatsum lnf H = y, eq(1,2)
mlvecsum lnf g = y, eq(x)
mlvecsum lnf g = y, eq(1,1)
global ML_n 1000
mlvecsum lnf g = y, eq(1000)
global ML_n 1
* an equation with neither a variable nor a constant
global ML_x1
global ML_xc1 1
mlvecsum lnf g = y
* a string variable, an unknown one, time-series operators
global ML_x1 s
mlvecsum lnf g = y
global ML_x1 x1 nosuch
mlvecsum lnf g = y
global ML_x1 L.x1
mlvecsum lnf g = y
global ML_x1 x1 x2
macro drop ML_xc1
* mleval: the new variable, the vector, the positions
mleval y = b
mleval 1xb = b
mleval xb = nosuch
global ML_fp1 1
global ML_lp1 2
mleval xb = b
global ML_lp1 3
mleval xb = b, eq(2)
matrix c = (1, 2 \ 3, 4)
mleval xb = c
capture confirm variable xb
display _rc
* mleval, scalar
mleval s1 = b, scalar
global ML_ip1 0
mleval s1 = b, eq(1) scalar
global ML_ip1 1
global ML_xo1 f
mleval s1 = b, scalar
macro drop ML_xo1
global ML_xe1 f
mleval s1 = b, scalar
macro drop ML_xe1
mleval s1 = nosuch, scalar
mleval s1 = b, scalar
display s1
global ML_fp1 3
mleval s1 = b, scalar
display s1
global ML_fp1 4
mleval s1 = b, scalar
global ML_fp1 1
* positions absent or malformed
macro drop ML_lp1
mleval xb = b
global ML_lp1 x
mleval xb = b
global ML_lp1 3
* mlsum and weights: an `if` narrower than the sample
global ML_w f
global ML_wtyp fweight
mlsum lnf = y if x1 > 1
mlsum lnf = y if x1 > 0
display lnf
mlsum lnf = y if x1 > 1 & touse
replace touse = 0 in 1
mlsum lnf = y if x1 > 1
display lnf
replace touse = 1 in 1
macro drop ML_wtyp
mlsum lnf = y if x1 > 1
display lnf
global ML_w
* syntax
mlsum lnf y
mlsum = y
mlsum lnf = y in 1/2
mlsum lnf = y, eq(1)
mlsum lnf = s
mlvecsum lnf = y
mlvecsum lnf g = y, nosuch
* matsize
clear
set matsize 10
set obs 3
forvalues j = 1/10 {
	generate x`j' = `j'
}
generate byte touse = 1
global ML_x1 x1-x10
mlvecsum lnf g = 1
mlmatsum lnf H = 1
global ML_xc1 1
mlmatsum lnf H = 1
matrix list H
capture matrix list g
display _rc
clear
set matsize 400
