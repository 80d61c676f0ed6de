* pairwise correlations: each pair over the observations where both are present. The p-values were
* computed once with scipy's pearsonr over the data of correlate.do (x1, x2, x3 of n = 1..60).
set obs 60
generate double x1 = 10 * sin(_n)
generate double x2 = mod(_n, 7) + 0.5 * cos(_n)
generate x3 = mod(_n * _n, 11)
pwcorr x1 x2 x3, sig obs
matrix P = r(sig)
assert reldif(P[2,1], 0.7903819479) < 1e-8
assert reldif(P[3,1], 0.2725309675) < 1e-8
assert reldif(P[3,2], 0.7732448903) < 1e-8
pwcorr x1 x2 x3, sig bonferroni
matrix P = r(sig)
assert reldif(P[3,1], 3 * 0.2725309675) < 1e-8
pwcorr x1 x2 x3, star(0.3)
replace x2 = . in 1/10
pwcorr x1 x2 x3, obs
matrix N = r(Nobs)
assert N[2,1] == 50 & N[3,1] == 60
pwcorr x1 x2 x3, print(0.5)
* the Sidak adjustment: 1 - (1 - p)^3 for three pairs
replace x2 = mod(_n, 7) + 0.5 * cos(_n)
pwcorr x1 x2 x3, sig sid
matrix P = r(sig)
assert reldif(P[3,1], 1 - (1 - 0.2725309675)^3) < 1e-8
