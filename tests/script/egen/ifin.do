* if and in restrict the sample; outside it the result is missing
set obs 10
generate g = mod(_n, 2)
generate x = _n
egen m = mean(x) if x > 2, by(g)
egen m2 = mean(x) in 3/8, by(g)
egen n = count(x) if g, by(g)
list, noobs sep(0)
sort g
by g: egen m3 = mean(x) if x > 2
assert m3 == m
