* failures leave the data as they were
input g x
1 1
2 2
end
generate str1 s = "a"
collapse (mean) s, by(g)
collapse (nosuch) x, by(g)
collapse (mean) g, by(g)
collapse (mean) x (sum) x, by(g)
collapse (mean) x if g > 5, by(g)
collapse (mean) x, by(nosuch)
collapse x, by(g) nosuchopt
by g: collapse x
collapse (mean) y=nosuch
list, noobs
describe, short
