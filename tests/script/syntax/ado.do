* syntax in ado-files as real commands use it: a list, if and in, weights, by through byable(recall)
set obs 8
generate g = cond(_n <= 4, 1, 2)
generate x = _n
generate y = cond(_n == 3, ., 10 * _n)
generate w = cond(_n == 5, 0, 2)
generate str2 s = "ab"
mysum x
mysum x y, detail
mysum x if g == 2
mysum x in 2/4, noheader format(%6.1f)
mysum x [fw=w]
mysum x y [aweight = w] if x > 1
mysum x [pw=w]
mysum s
mysum x, bogus
mysum nosuch
mysum
bysort g: mysum x y
by g: mysum x if x != 2, nohead
bysort g: mysum x [fw=w]
by g: mysum x in 1/2
* the edge cases
edge empty
edge min2 x
edge min2
edge name, na(x)
edge name, name(long)
edge name, n(x)
edge name
edge match
* the project's own ado-files read their lines with syntax: clear takes nothing
clear x
clear, all
describe, short
clear
describe, short
