* ci and ttest on ten observations. The reference figures were computed once with scipy.stats
* (ttest_1samp, ttest_rel, ttest_ind with and without equal_var, t.ppf, beta.ppf for the exact
* binomial bounds) and are written here to 12 or more digits.
input x y g str1 s b
3 2 1 a 1
5 4 1 a 1
4 5 1 a 0
7 5 1 a 1
9 8 2 b 0
6 6 2 b 1
8 6 2 b 1
5 4 2 b 1
6 7 2 b 0
10 8 2 b 1
end
ci x y
ci x
assert reldif(r(se), 0.7) < 1e-14
* the bounds hang on invttail(), which is good to some 1e-11 here
assert reldif(r(lb), 4.716489986081306) < 1e-10
assert reldif(r(ub), 7.883510013918694) < 1e-10
ci y, level(90)
assert reldif(r(lb), 4.398436221266859) < 1e-10
ci b, binomial
assert reldif(r(lb), 0.347547149940003) < 1e-10
assert reldif(r(ub), 0.933260488822266) < 1e-10
ci b, binomial level(90)
assert reldif(r(lb), 0.393375783894588) < 1e-10
assert reldif(r(ub), 0.91273556608585) < 1e-10
ci b if b == 0, binomial
assert r(lb) == 0
* no successes in 3: the upper bound is 1 - .025^(1/3)
assert reldif(r(ub), 1 - .025^(1/3)) < 1e-10
ci x, binomial
ci s
* one sample: t 1.85714285714286, p 0.0962503625116033
ttest x == 5
assert reldif(r(t), 1.85714285714286) < 1e-13
assert reldif(r(p), 0.0962503625116033) < 1e-10
assert r(df_t) == 9 & r(N_1) == 10
* paired: t 2.22834405812462, p 0.0528394465170704
ttest x == y
assert reldif(r(t), 2.22834405812462) < 1e-13
assert reldif(r(p), 0.0528394465170704) < 1e-10
* two groups, pooled: t -2.13602698390362, p 0.0651784245223779
ttest x, by(g)
assert reldif(r(t), -2.13602698390362) < 1e-13
assert reldif(r(p), 0.0651784245223779) < 1e-10
assert r(df_t) == 8 & r(N_1) == 4 & r(N_2) == 6
* unequal: t -2.20418757631638, p 0.0620355185899281, df 7.2488738955728
ttest x, by(g) unequal
assert reldif(r(t), -2.20418757631638) < 1e-13
assert reldif(r(p), 0.0620355185899281) < 1e-10
assert reldif(r(df_t), 7.2488738955728) < 1e-12
* a string group variable gives the same test
ttest x, by(s)
assert reldif(r(t), -2.13602698390362) < 1e-13
* faults
ttest s == 1
ttest x, by(y)
ttest x = 5
