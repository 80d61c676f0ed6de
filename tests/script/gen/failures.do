* every failure leaves the dataset as it was: no variable, no change
set obs 5
generate x = _n
generate x = 1
generate _n = 1
generate str5 = 1
generate str0 = 1
generate byte s = "a"
generate str4 s = 1
generate y = nosuch + 1
generate y = 1 in 5/3
generate y = 1 in 0
generate y = 1 in 2/9
generate y = 1 in 2 in 3
generate y = 1 [fweight = x]
generate y = 1, fast
generate y
generate
generate double
generate y = 1 z
version 7
generate s = "a"
version 10.1
generate s = "a"
drop s
* a failure part way through the run leaves no half-made variable
display regexm("abc", "(b)")
generate s = regexs(cond(_n < 4, 1, 12))
generate s2 = cond(_n < 4, 1, 2) if regexs(cond(_n < 3, 0, 12)) == "b"
describe
list
