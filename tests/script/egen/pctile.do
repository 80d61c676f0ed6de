* median and pctile() follow summarize's percentile rule, group by group
set obs 30
generate g = 1 + (_n > 11) + (_n > 20)
generate x = mod(_n * 17, 29) / 4
egen med = median(x), by(g)
egen p25 = pctile(x), by(g) p(25)
egen p90 = pctile(x), p(90) by(g)
egen p50 = pctile(x), by(g)
assert med == p50
forvalues k = 1/3 {
    quietly summarize x if g == `k', detail
    assert med == float(r(p50)) if g == `k'
    assert p25 == float(r(p25)) if g == `k'
    assert p90 == float(r(p90)) if g == `k'
}
list g med p25 p90 if g != g[_n-1], noobs
egen bad = pctile(x), p(101)
