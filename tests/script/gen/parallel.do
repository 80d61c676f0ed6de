* more than 200 observations: generate and replace run on the team when
* processors allow, with the values and counts of the serial loop; assert
* runs observation by observation
set obs 1000
generate double x = _n / 7
generate double z = mod(_n * 37, 101) - 50
generate w = mod(_n, 3)
generate double y = x*2 + z/3 - (w>1)
assert y == x*2 + z/3 - (w>1)
format y %21x
list y in 1/3
list y in 998/l
* an if that selects some, most, none and all of the observations
generate double y2 = x*2 + z/3 - (w>1) if w > 0
assert y2 == cond(w > 0, x*2 + z/3 - (w>1), .)
generate double y3 = sqrt(z) if mod(_n, 97) == 0
assert y3 == cond(mod(_n, 97) == 0, sqrt(z), .)
generate y4 = 1 if x > 1000
generate y5 = _n if x > 0
assert y5 == _n
* in ranges, and types that store missing values
generate float f = x * 1.1 in 101/900
assert f == float(x * 1.1) in 101/900
count if f >= .
generate byte b = z * 3
count if b >= .
generate int i = z * 1000
count if i >= .
* replace: double and float run on the team, with their counts
replace y = y * 3 if w == 1
assert y == (x*2 + z/3 - (w>1)) * cond(w == 1, 3, 1)
replace y = y
replace y = . if z > 45
replace f = f + 0.00001
replace f = 1e39 in 1/10
replace f = .a if w == 2
list f in 1/4
* a byte that promotes runs serially; with nopromote it may run on the team
replace b = z * 3 if b >= .
describe b
generate byte nb = 0
replace nb = z * 3, nopromote
replace nb = z / 3, nopromote
* _n and _N with the in range
generate double n = _n * 1000 + _N in 300/700
assert n == _n * 1000 + 1000 in 300/700
count if n < .
* text is serial and widens
generate t = substr("abcdefghijklmnopqrstuvwxyz", 1, mod(_n, 26) + 1) if w
describe t
count if t == ""
