* two-way tables and their tests. The reference figures were computed once with scipy's
* chi2_contingency (correction off; lambda_="log-likelihood" for the likelihood ratio) and
* fisher_exact over the same 60 observations, made in Python as n % 3 + 1, (n*n // 7) % 4,
* (n*n // 5) % 2 and (n // 4) % 2 for n = 1..60.
set obs 60
generate a = mod(_n, 3) + 1
generate b = mod(floor(_n * _n / 7), 4)
generate c = mod(floor(_n * _n / 5), 2)
generate d = mod(floor(_n / 4), 2)
tabulate a b
display r(N) " " r(r) " " r(c)
tabulate a b, chi2 lrchi2 V
assert reldif(r(chi2), 1.581105169) < 1e-8
assert reldif(r(p), 0.9539261605) < 1e-8
assert reldif(r(chi2_lr), 1.626992465) < 1e-8
assert reldif(r(p_lr), 0.950617254) < 1e-8
assert reldif(r(CramersV), 0.1147862205) < 1e-8
tabulate c d, chi2 lrchi2 V exact
assert reldif(r(chi2), 1.668520578) < 1e-8
assert reldif(r(p), 0.196456808) < 1e-8
assert reldif(r(chi2_lr), 1.676376721) < 1e-8
assert reldif(r(CramersV), 0.1667593365) < 1e-8
assert reldif(r(p_exact), 0.3014671232) < 1e-8
* the one-sided probability lies in the direction of the observed table: "greater" here
assert reldif(r(p1_exact), 0.1507335616) < 1e-8
* Fisher's exact test of larger tables; the figures were computed once in Python by enumerating
* every table with the observed margins (itertools) and summing the probabilities of those no more
* likely than the observed one
tabulate a b in 1/24, exact
assert reldif(r(p_exact), 0.709556750147) < 1e-9
quietly tabulate a b, exact
assert reldif(r(p_exact), 0.960393291477) < 1e-9
* Pearson's statistic again, from cell and margin counts made by count
scalar x2 = 0
forvalues i = 0/1 {
    forvalues j = 0/1 {
        quietly count if c == `i' & d == `j'
        scalar o = r(N)
        quietly count if c == `i'
        scalar ri = r(N)
        quietly count if d == `j'
        scalar e = ri * r(N) / 60
        scalar x2 = x2 + (o - e)^2 / e
    }
}
quietly tabulate c d, chi2
assert reldif(r(chi2), x2) < 1e-12
* percentages and expected counts
tabulate c d, row
tabulate c d, column cell expected
tabulate c d, row nofreq
tabulate c d, nofreq
* labels on both margins, missing values as a row and a column of their own
label define cl 0 "even" 1 "odd"
label values c cl
label values d cl
replace d = . in 1/5
tabulate c d
tabulate c d, missing
tabulate c d, missing nolabel
* matcell(), matrow(), matcol()
tabulate a b, matcell(F) matrow(R) matcol(C)
matrix list F
matrix list R
matrix list C
* string margins
generate str5 s = cond(a == 1, "x", cond(a == 2, "yy", "zzz"))
tabulate s b
* frequency weights count as repeated observations
generate w = mod(_n, 3) + 1
tabulate a b [fweight = w], chi2
assert r(N) == 120
* by: one table a group
sort c
by c: tabulate a b
* the shortest forms of the command and its options
ta c d, col nof chi lr
