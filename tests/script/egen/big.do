* many groups and a sample large enough for the parallel paths: the result matches sums under by
set obs 50000
generate g = mod(_n * 7919, 1000)
generate double x = sin(_n) * 100 + g
egen double m = mean(x), by(g)
egen double sd = sd(x), by(g)
egen long n = count(x), by(g)
egen tg = tag(g)
egen gg = group(g)
sort g
by g: generate double cs = sum(x)
by g: assert reldif(m, cs[_N] / _N) < 1e-12 & n == _N
by g: generate double ss = sum((x - m)^2)
by g: assert reldif(sd, sqrt(ss[_N] / (_N - 1))) < 1e-10
count if tg
assert gg == g + 1
* non-integer keys take the hashed path
generate double h = g / 7
egen gh = group(h)
assert gh == gg
