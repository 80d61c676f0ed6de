* Factor-variable terms in the regressor list: the indicators of a factor with its base level kept
* in e(b) at 0, products of continuous variables, and a factor's interaction with a continuous
* variable, each checked against the same fit with hand-made columns.
capture program drop same
program same
	args a b
	if reldif(`a', `b') > 1e-12 {
		display as error "`a' is " %20.15g `a' ", not " %20.15g `b'
		exit 9
	}
end
clear
set obs 60
generate double x1 = sin(_n)
generate double x2 = cos(1.3 * _n)
generate byte c3 = mod(_n, 3) + 1
generate double y = 1 + x1 - 0.5 * x2 + 0.3 * (c3 == 2) - 0.2 * (c3 == 3) + 0.4 * x1 * x2 + sin(7 * _n) / 2
generate byte c3_2 = c3 == 2
generate byte c3_3 = c3 == 3
generate double x1x2 = x1 * x2
generate double c3_2x1 = c3_2 * x1
generate double c3_3x1 = c3_3 * x1

* the indicators of c3, the first level the base
_regress y x1 i(c3)
matrix list e(b)
display _b[2.c3] "  " _b[3.c3] "  " _b[1b.c3] "  " _se[1b.c3]
test 2.c3 3.c3
scalar F_fv = r(F)
matrix b_fv = e(b)
matrix V_fv = e(V)
quietly regress y x1 c3_2 c3_3
test c3_2 c3_3
same F_fv r(F)
same b_fv[1,1] _b[x1]
same b_fv[1,3] _b[c3_2]
same b_fv[1,4] _b[c3_3]
same b_fv[1,5] _b[_cons]
same sqrt(V_fv[1,1]) _se[x1]
same sqrt(V_fv[3,3]) _se[c3_2]
same sqrt(V_fv[4,4]) _se[c3_3]
same sqrt(V_fv[5,5]) _se[_cons]

* a chosen base: the second level
quietly _regress y x1 i(c3(2))
matrix list e(b)
display _b[2b.c3] "  " _se[2b.c3]

* the product of two continuous variables
_regress y x1 x2 i(c(x1)*c(x2)), noheader
matrix b_fv = e(b)
matrix V_fv = e(V)
quietly regress y x1 x2 x1x2
same b_fv[1,3] _b[x1x2]
same sqrt(V_fv[3,3]) _se[x1x2]
same sqrt(V_fv[4,4]) _se[_cons]

* the factor by a continuous variable
_regress y x1 i(c3) i(c3*c(x1)), noheader
matrix list e(b)
display _b[1b.c3#c.x1] "  " _b[2.c3#c.x1]
matrix b_fv = e(b)
matrix V_fv = e(V)
quietly regress y x1 c3_2 c3_3 c3_2x1 c3_3x1
same b_fv[1,6] _b[c3_2x1]
same b_fv[1,7] _b[c3_3x1]
same sqrt(V_fv[6,6]) _se[c3_2x1]
same sqrt(V_fv[7,7]) _se[c3_3x1]
same b_fv[1,8] _b[_cons]

* a missing level leaves the observation out of the sample
replace c3 = . in 5
quietly _regress y x1 i(c3)
display e(N)

* regress takes the terms too, with its sample: the if and the missing level
regress y x1 i(c3(2)) i(c3*c(x1)) if _n < 59, noheader
display e(N)
regress, noheader
* robust takes the factor's columns too; the base stays 0 in e(V)
capture noisily regress y x1 i(c3), robust
display _rc " " _se[1b.c3] " " el(e(V), 2, 2) " " el(e(V), 5, 2)

* the dependent variable stays a plain variable, and time-series operators stay refused
capture noisily _regress i(c3) x1
display _rc
capture noisily _regress y i(c3) L.x1
display _rc
