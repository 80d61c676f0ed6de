* weights: a frequency weight counts as that many observations, analytic weights weigh the mean
input g x w
1 2 1
1 4 3
2 5 2
2 7 2
2 . 5
end
preserve
collapse (mean) m=x (sum) s=x (count) n=x (sd) sd=x (median) md=x [fweight = w], by(g)
list, noobs
restore, preserve
collapse (mean) m=x (count) n=x (sd) sd=x [aweight = w], by(g)
list, noobs
restore, preserve
collapse (mean) m=x [iweight = w], by(g)
list, noobs
restore, preserve
collapse (mean) m=x [pweight = w], by(g)
list, noobs
restore, preserve
replace w = 1.5 in 1
collapse (mean) x [fweight = w]
restore
collapse (mean) x [fweight = w] if g == 2
list, noobs
