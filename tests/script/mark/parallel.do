* more than 200 observations: mark, markout and markin run on the team
set obs 3000
generate double x = mod(_n * 7919, 1000) / 1000
generate double wt = cond(mod(_n, 11) == 0, 0, cond(mod(_n, 13) == 0, ., 1 + mod(_n, 3)))
generate double y = cond(mod(_n, 17) == 0, ., _n)
mark m if x > 0.3
count if m
assert m == (x > 0.3)
mark mw [fweight = wt] in 101/2900
count if mw
assert mw == (wt > 0 & wt < .) in 101/2900
assert mw == 0 in 1/100
markout m y
count if m
assert m == (x > 0.3 & y < .)
markin if m, name(r)
display "`r'"
markin if x > 0.998, name(r)
display "`r'"
markin if _n > 1500 & x < 0.002, name(r)
display "`r'"
