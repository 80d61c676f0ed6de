* tabstat over summarize: the same figures in other tables
input x y g str2 s
1 10 1 aa
2 20 1 aa
3 30 2 bb
4 40 2 bb
5 50 2 bb
end
tabstat x y
tabstat x y, statistics(mean sd n sum min max range)
matrix list r(StatTotal)
tabstat x y, statistics(median iqr p25 q) columns(statistics)
tabstat x, by(g) statistics(mean n)
matrix list r(Stat1)
display "`r(name2)'"
tabstat x y, by(s) statistics(mean) nototal format(%6.2f)
tabstat x [fweight = g], statistics(mean n variance)
tabstat x, statistics(nosuch)
tabstat s
