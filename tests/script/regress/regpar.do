* A regression over enough observations to run the cross-products on the frame: with one
* processor and with two (the runner repeats this file with -p1 and -p2) the results agree to
* rounding, so what is shown to 9 digits and the checks below do not change.
clear
set obs 30000
generate double x1 = mod(_n * 7, 97) / 7
generate double x2 = sqrt(_n) / 3
generate float x3 = mod(_n, 13) - 6.5
generate d = mod(_n, 10) == 0
generate w = 1 + mod(_n, 5)
generate double y = 1 + 0.5 * x1 - 0.25 * x2 + 0.1 * x3 + 2 * d + sin(_n)
replace x2 = . if mod(_n, 1001) == 0
regress y x1 x2 x3 d
regress y x1 x2 x3 d [aweight = w], noheader
regress y x1 x2 x3 d if x3 > 0 in 11/29000 [fweight = w], noheader
* the same data twice in one session: the same bits
quietly regress y x1 x2 x3 d
scalar b1 = _b[x1]
scalar r1 = e(rss)
quietly regress y x1 x2 x3 d
assert _b[x1] == b1 & e(rss) == r1
