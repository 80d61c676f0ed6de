* cut() by given points or into groups of equal size, and std() within groups
set obs 12
generate x = _n * 2 - 5
egen c1 = cut(x), at(-5 0 5 10)
egen c2 = cut(x), at(-5 0 5 10) icodes
egen c3 = cut(x), group(3)
egen c4 = cut(x), group(3) icodes
list x c1 c2 c3 c4, noobs sep(0)
count if c4 == 0
count if c4 == 1
count if c4 == 2
generate g = _n > 6
egen z = std(x), by(g)
egen z2 = std(x), by(g) mean(10) std(2)
by g, sort: summarize z z2
egen bad = cut(x)
