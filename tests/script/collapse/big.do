* many groups over enough observations for the parallel paths; checked against sums under by
set obs 60000
generate g = mod(_n * 7919, 1500)
generate double x = cos(_n) * 10 + g
sort g
by g: generate double hs = sum(x)
by g: generate double hm = hs[_N] / _N
by g: generate double hq = sum((x - hm)^2)
by g: generate double hsd = sqrt(hq[_N] / (_N - 1))
by g: generate hn = _N
collapse (mean) m=x (sd) sd=x (count) n=x (last) hm hsd hn, by(g)
assert _N == 1500
assert reldif(m, hm) < 1e-12 & reldif(sd, hsd) < 1e-10 & n == hn
assert g == _n - 1
