* the table and r() on small data; reference figures from generate sums
set obs 10
generate x = _n
generate double y = _n * _n
replace y = . in 10
generate str3 s = "a"
generate z = .
summarize x y
summarize
* y: nine values 1 4 ... 81; sum 285, sum of squared deviations 15333 - 285^2/9 = 6308
generate double dev2 = sum(cond(y < ., (y - 285/9)^2, 0))
scalar ss = dev2[_N]
quietly summarize y
display r(N) " " r(sum_w) " " r(sum) " " r(min) " " r(max)
assert reldif(r(mean), 285/9) < 1e-15
assert reldif(r(Var), ss/8) < 1e-14
assert reldif(r(Var), 788.5) < 1e-14
assert reldif(r(sd), sqrt(788.5)) < 1e-14
* all observations missing: 0 obs, r(N) 0, no mean
summarize z
display r(N) " " r(sum_w) " " r(sum) " " r(mean)
summarize s
display r(N)
* one observation: no variance
summarize x in 3
display r(Var) " " r(sd) " " r(mean)
summarize x if x > 100
display r(N)
* if and in; abbreviation; separator
summ x if mod(x, 2) in 1/7
display r(N) " " r(mean) " " r(sum)
drop dev2
forvalues j = 1/6 {
    generate v`j' = _n * `j'
}
summarize v1-v6, separator(2)
summarize v1-v6, sep(0)
format x %6.2f
summarize x, format
* meanonly: r() only, of the last variable
summarize x y, meanonly
display r(N) " " r(mean) " " r(min) " " r(max) " " r(sum)
display "`r(Var)'" "|" "`r(sd)'"
* options that do not go together
summarize x, detail meanonly
summarize x, nosuch
