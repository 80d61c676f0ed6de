* generate and replace under by: one pass over all groups for a pure expression, the group loop for
* one that is not; both give the same numbers, at any number of processors
set obs 2000
generate g = floor((_n - 1) / 7)
generate double x = mod(_n * 37, 101) / 3
sort g
* pure: the one-pass path
by g: generate n = _n
by g: generate N = _N
by g: generate double s = sum(x)
by g: generate double lag = x[_n - 1]
* not pure: the group loop (runiform() is drawn, times 0)
by g: generate n2 = _n + 0 * runiform()
by g: generate double s2 = sum(x) + 0 * runiform()
by g: generate double lag2 = x[_n - 1] + 0 * runiform()
assert n == n2
assert s == s2
assert lag == lag2 | (missing(lag) & missing(lag2))
count if missing(lag)
* replace the same way
by g: replace s = s - x[1]
by g: replace s2 = s2 - x[1] + 0 * runiform()
assert s == s2
* a few values to compare between processor counts, bit for bit
format s %21x
list g n N s in 1995/2000
