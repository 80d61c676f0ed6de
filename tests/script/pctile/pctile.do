* _pctile, pctile and xtile on small data; the figures worked by hand from the sorted values
set obs 10
generate x = 11 - _n
generate w = 1 + (_n > 5)
_pctile x
display r(r1)
* quartiles of 1..10: positions 2.5, 5, 7.5 -> x(3), (x(5)+x(6))/2, x(8)
_pctile x, nquantiles(4)
display r(r1) " " r(r2) " " r(r3)
_pctile x, percentiles(10, 33.3 90 100 0)
display r(r1) " " r(r2) " " r(r3) " " r(r4) " " r(r5)
* thirds: positions 10/3 and 20/3
_pctile x, nq(3)
display r(r1) " " r(r2)
* altdef: position (n+1)p/100: 2.75 -> 2 + .75, 8.25 -> 8 + .25
_pctile x, p(25 75) altdef
display r(r1) " " r(r2)
* weights 2 for the values 1..5: cumulative 2 4 6 8 10 11 .. 15, half is 7.5 -> 4
_pctile x [fweight = w]
display r(r1)
_pctile x [aweight = w], p(20)
display r(r1)
_pctile x if x > 20
_pctile x, nq(1)
_pctile x, p(101)
_pctile x w
pctile q = x, nquantiles(5) genp(pc)
list q pc in 1/5
xtile c = x, nquantiles(4)
list x c, separator(0)
generate cuts = 3 * _n in 1/2
xtile c2 = x, cutpoints(cuts)
list x c2, separator(0)
xtile c3 = x + 100 if x != 5
list x c3, separator(0)
* weighted: the median of 1..5 twice and 6..10 once is 4
pctile qw = x [fweight = w]
display qw[1]
xtile cw = x [fweight = w]
count if cw == 1
* no observations: nothing is left behind
xtile none = x if x > 100
pctile none = x if x > 100
confirm new variable none
generate str1 sv = "a"
_pctile sv
