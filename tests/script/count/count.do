* count shows the number and leaves it in r(N)
count
display r(N)
set obs 10
generate x = _n
generate y = cond(mod(_n, 3) == 0, ., _n)
count
display r(N)
count if x > 4
display r(N)
count in 2/5
count if y >= . in 1/6
count if y > 100
display r(N)
count in -3/l
* a missing result of the `if` is true
count if y
* failures, and r(N) as the last count left it
count if nosuch
count [fweight = x]
count, fast
count x
count in 5/3
display r(N)
