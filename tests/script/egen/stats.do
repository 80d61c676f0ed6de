* egen statistics within groups against the same figures made with generate under by and sums
set obs 23
generate g = mod(_n * 7, 4)
generate x = mod(_n * 13, 11) - 3
replace x = . in 5
replace x = .a in 9
generate s = cond(g == 0, "b", cond(g == 1, "a", cond(g == 2, "c", "a b")))
egen m = mean(x), by(g)
egen t = total(x), by(g)
egen t2 = sum(x), by(g)
egen n = count(x), by(g)
egen lo = min(x), by(g)
egen hi = max(x), by(g)
egen sd = sd(x), by(g)
sort g x
by g: generate double cs = sum(x)
by g: generate double cn = sum(x < .)
by g: generate double mc = cs[_N] / cn[_N]
by g: generate double ss = sum((x - mc)^2 * (x < .))
by g: generate double sdc = sqrt(ss[_N] / (cn[_N] - 1))
by g: generate lc = x[1]
by g: generate hc = x[cn[_N]]
assert reldif(m, mc) < 1e-6
by g: assert t == cs[_N] & t2 == t & n == cn[_N]
by g: assert lo == lc & hi == hc
assert reldif(sd, sdc) < 1e-6
list g m t n lo hi sd if g != g[_n-1], noobs
* the same within string groups and under the by prefix
egen ms = mean(x), by(s)
bysort s: egen ms2 = mean(x)
assert ms == ms2
by s: generate double ct = sum(x)
by s: generate double cc = sum(x < .)
by s: assert reldif(ms, ct[_N] / cc[_N]) < 1e-6
describe m t n lo ms2
* an expression, no groups
egen all = mean(2 * x + 1)
summarize x, meanonly
assert reldif(all, 2 * r(mean) + 1) < 1e-6
