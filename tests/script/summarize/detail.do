* percentiles: odd count, even count, ties; the four smallest and largest; moments
set obs 5
generate x = _n
summarize x, detail
* 1..5: p25 at 1.25 of the way -> x(2); p50 at 2.5 -> x(3)
display r(p1) " " r(p5) " " r(p10) " " r(p25) " " r(p50) " " r(p75) " " r(p90) " " r(p95) " " r(p99)
clear
set obs 10
generate x = 11 - _n
label variable x "Ten values"
summarize x, detail
* 1..10: exact boundaries average: p10 = 1.5, p50 = 5.5, p90 = 9.5
display r(p1) " " r(p5) " " r(p10) " " r(p25) " " r(p50) " " r(p75) " " r(p90) " " r(p95) " " r(p99)
* skewness 0; kurtosis (1208.625/10) / 8.25^2 = 1.77575757...
display r(skewness)
assert reldif(r(kurtosis), 120.8625 / 8.25^2) < 1e-14
assert reldif(r(Var), 82.5/9) < 1e-14
* ties: 1 1 2 2 2 3
clear
set obs 6
generate x = 1
replace x = 2 in 3/5
replace x = 3 in 6
summarize x, detail
display r(p10) " " r(p25) " " r(p50) " " r(p75) " " r(p90)
* skewness and kurtosis against sums made by generate
quietly summarize x
scalar m = r(mean)
generate double d2 = sum((x - m)^2)
generate double d3 = sum((x - m)^3)
generate double d4 = sum((x - m)^4)
quietly summarize x, detail
assert reldif(r(skewness), (d3[_N]/6) / (d2[_N]/6)^1.5) < 1e-14
assert reldif(r(kurtosis), (d4[_N]/6) / (d2[_N]/6)^2) < 1e-14
* fewer than four values
clear
set obs 2
generate x = _n * 10
summarize x, detail
summarize x if x > 100, detail
display r(N) " " r(sum_w)
