* one-way analysis of variance. The reference figures were computed once with scipy's f_oneway and
* bartlett over x3 = n*n % 11 and x1 = 10 sin(n) in the groups n % 3 + 1, n = 1..60.
set obs 60
generate a = mod(_n, 3) + 1
generate double x1 = 10 * sin(_n)
generate x3 = mod(_n * _n, 11)
oneway x3 a
assert reldif(r(F), 0.013979398780744164) < 1e-10
assert reldif(r(chi2bart), 0.3404681559083442) < 1e-10
assert r(N) == 60 & r(df_m) == 2 & r(df_r) == 57
oneway x1 a, tabulate
assert reldif(r(F), 0.02872768928492499) < 1e-10
assert reldif(r(chi2bart), 0.18260477809718753) < 1e-10
label define al 1 "first" 2 "second" 3 "third"
label values a al
oneway x1 a, tabulate noanova
* the F statistic again from sums made with generate
quietly {
    generate double y = x3
    by a, sort: generate double gs = sum(y)
    by a: generate double gm = gs[_N] / _N
    generate double sw = sum((y - gm)^2)
    generate double gt = sum(y)
    generate double sb = sum((gm - gt[_N] / 60)^2)
}
display ((sb[_N]) / 2) / (sw[_N] / 57)
assert reldif(((sb[_N]) / 2) / (sw[_N] / 57), 0.013979398780744164) < 1e-10
* bad input
generate str3 s = "a"
oneway s a
oneway x1
oneway x1 a if a > 5
