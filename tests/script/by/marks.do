* the mark commands under by: each group marks its own observations
set obs 8
generate g = cond(_n <= 4, 1, 2)
generate x = cond(mod(_n, 3) == 0, ., _n)
sort g
by g: mark m if _n > 1
by g: markout m x
list g x m
by g: markin if x > 2, name(r)
display "`r'"
