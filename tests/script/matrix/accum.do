* cross-products; the expected values are worked by hand in the comments
clear
set matsize 10
input x y w
1 2 1
2 1 2
3 0 1
. 4 1
5 . 1
end
* usable: observations 1 to 3; x'x = 14, x'y = 4, sum x = 6, y'y = 5, sum y = 3, N = 3
matrix accum A = x y
matrix list A
display r(N)
* fweights 1 2 1: x'x = 18, x'y = 6, x = 8, y'y = 6, y = 4, N = 4
matrix accum A = x y [fweight=w]
matrix list A
display r(N)
* aweights are scaled to sum to N: (3/4) of the fweight sums; r(sum_w) = 4
matrix accum A = x y [aweight=w]
matrix list A
display r(N) " " r(sum_w)
* deviations from the means 2 and 1: 2, -2, 2; the constant's row 0 0 3
matrix accum A = x y, deviations
matrix list A
matrix accum A = x y, noconstant
matrix list A
matrix accum A = x y if x > 1
matrix list A
matrix accum A = x y in 2/3, nocons
matrix list A
* vecaccum: y'x = 4, y'1 = 3
matrix vecaccum a = y x
matrix list a
matrix veca a = y x [fw=w], nocons
matrix list a
matrix ac B = x, junk
matrix accum B = nosuch
gen str1 s = "a"
matrix accum B = x s
matrix glsaccum B = x, group(w) glsmat(W) row(w)
matrix accum B = x x x x x x x x x x
matrix accum B = x x x x x x x x x, nocons
display rowsof(B)
