* tobit's predictions of the censored outcome: pr(a,b), e(a,b) and ystar(a,b) against the censored
* normal formulas worked with generate from e(b), their identities, open ends and variable ends
run estref.inc
generate double ys = max(x1 + 0.5 * x2 + sin(_n * 7.3) * 0.5, 0)
replace ys = 1.2 if ys > 1.2
tobit ys x1 x2, ll(0) ul(1.2) nolog
generate double xb = _b[x1] * x1 + _b[x2] * x2 + _b[_cons]
scalar s = _b[_se]
* the chance of each part of the line: below 0, between, above 1.2
predict double plo, pr(.,0)
predict double pmid, pr(0,1.2)
predict double phi, pr(1.2,.)
assert abs(plo - normal(-xb / s)) < 1e-12
assert abs(pmid - (normal((1.2 - xb) / s) - normal(-xb / s))) < 1e-12
assert abs(phi - (1 - normal((1.2 - xb) / s))) < 1e-12
assert abs(plo + pmid + phi - 1) < 1e-12
* the mean above 0: xb plus sigma times the inverse Mills ratio
predict double e0, e(0,.)
assert abs(e0 - (xb + s * normalden(xb / s) / normal(xb / s))) < 1e-10
* the mean below 1.2, and between the limits
predict double e12, e(.,1.2)
assert abs(e12 - (xb - s * normalden((1.2 - xb) / s) / normal((1.2 - xb) / s))) < 1e-10
predict double emid, e(0,1.2)
generate double a = -xb / s
generate double b = (1.2 - xb) / s
assert abs(emid - (xb + s * (normalden(a) - normalden(b)) / (normal(b) - normal(a)))) < 1e-10 if a < 0
* far in the upper tail the chance between is the difference of the two upper tails
count if a > 0
assert abs(emid - (xb + s * (normalden(a) - normalden(b)) / (normal(-a) - normal(-b)))) < 1e-10 if a > 0
assert emid > 0 & emid < 1.2
* the censored mean is each part's mean times its chance, the ends counting at the limits
predict double ycen, ystar(0,1.2)
assert abs(ycen - (plo * 0 + pmid * emid + phi * 1.2)) < 1e-10
predict double y0, ystar(0,.)
assert abs(y0 - (normal(xb / s) * xb + s * normalden(xb / s))) < 1e-10
* both ends open: the whole line, whose mean is xb
predict double pall, pr(.,.)
predict double eall, e(.,.)
predict double yall, ystar(.,.)
assert pall == 1 & abs(eall - xb) < 1e-12 & abs(yall - xb) < 1e-12
* the ends may be variables; a missing value there is an open end
generate double lo = 0
replace lo = . in 1/10
predict double pv, pr(lo,1.2)
assert abs(pv - pmid) < 1e-15 in 11/l
assert abs(pv - (normal((1.2 - xb) / s))) < 1e-12 in 1/10
predict double yv, ystar(lo,1.2)
assert abs(yv - ycen) < 1e-12 in 11/l
* if and in, the labels of the defaults
predict double p5 in 1/5, pr(0,1.2)
count if p5 < .
predict double xbd
assert abs(xbd - xb) < 1e-12
* ends from variables in the wrong order give no prediction there
generate double hi = cond(_n <= 3, -1, 1.2)
predict double pw, pr(0,hi)
assert pw == . in 1/3
assert abs(pw - pmid) < 1e-15 in 4/l
* failures: one end, three ends, ends in the wrong order, two statistics, an unknown variable
predict double f0, e(1.2,0)
predict double f1, pr(0)
predict double f2, e(0,1,2)
predict double f3, pr(0,1) stdp
predict double f4, ystar(nosuch,1)
* after cnreg too
generate byte cf = cond(ys <= 0, -1, cond(ys >= 1.2, 1, 0))
cnreg ys x1 x2, censored(cf) nolog
predict double cmid, pr(0,1.2)
assert abs(cmid - pmid) < 1e-6
