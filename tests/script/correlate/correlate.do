* correlations and covariances. The reference figures were computed once with numpy (corrcoef, cov;
* frequency weights by repeating each observation w times) over x1 = 10 sin(n), x2 = n % 7 + 0.5 cos(n),
* x3 = n*n % 11 for n = 1..60.
set obs 60
generate double x1 = 10 * sin(_n)
generate double x2 = mod(_n, 7) + 0.5 * cos(_n)
generate x3 = mod(_n * _n, 11)
correlate x1 x2 x3
assert r(N) == 60
assert reldif(r(rho), 0.03504315626256818) < 1e-12
matrix C = r(C)
assert reldif(C[3,1], 0.1439434570714019) < 1e-12
assert reldif(C[3,2], -0.03798341334638958) < 1e-12
correlate x1 x2 x3, covariance
assert reldif(r(cov_12), 0.5014277528350398) < 1e-12
assert reldif(r(Var_1), 50.69275449471237) < 1e-12
matrix C = r(C)
assert reldif(C[3,3], 8.066666666666668) < 1e-12
* the correlation of x1 and x2 again, from sums made with generate
quietly {
    generate double s1 = sum(x1)
    generate double s2 = sum(x2)
    generate double d12 = sum((x1 - s1[_N] / 60) * (x2 - s2[_N] / 60))
    generate double d11 = sum((x1 - s1[_N] / 60)^2)
    generate double d22 = sum((x2 - s2[_N] / 60)^2)
}
quietly correlate x1 x2
assert reldif(r(rho), d12[_N] / sqrt(d11[_N] * d22[_N])) < 1e-12
drop s1 s2 d12 d11 d22
correlate x1 x2 x3, means
generate w = mod(_n, 4) + 1
correlate x1 x2 x3 [fweight = w]
assert r(N) == 150
matrix C = r(C)
assert reldif(C[2,1], 0.02668169948706451) < 1e-12
assert reldif(C[3,1], 0.22194559714601705) < 1e-12
* analytic weights give the same correlations as frequency weights of the same values
correlate x1 x2 x3 [aweight = w]
matrix D = r(C)
assert reldif(D[3,1], 0.22194559714601705) < 1e-12
assert r(N) == 60
* casewise: an observation missing in any variable leaves
replace x3 = . in 1/10
correlate x1 x2 x3
assert r(N) == 50
correlate x1 x3 if x2 > 3
* no varlist: every numeric variable
generate str3 s = "a"
correlate
* bad input
correlate s x1
correlate x1 if x1 > 100
correlate x1 [fweight = 0.5]
cor x1 x2, cov nof
