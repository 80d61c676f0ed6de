* every statistic, default mean, and a variable list after a statistic
input g x y
2 4 1
2 . 2
2 6 3
1 1 4
1 3 .
1 2 6
1 10 7
3 . .
end
preserve
collapse x y, by(g)
list, noobs
restore, preserve
collapse (median) x (p25) p25=x (p75) p75=x (first) f=x (last) l=x (firstnm) fn=x (lastnm) ln=x, by(g)
list, noobs
restore, preserve
collapse (mean) x y
list, noobs
restore, preserve
collapse (max) x-y (count) n=x, by(g) cw
list, noobs
restore
collapse (p99) x
list, noobs
