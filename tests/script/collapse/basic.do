* collapse to group statistics, checked against the same figures made by hand
set obs 20
generate g = mod(_n * 3, 4)
generate x = mod(_n * 7, 9) + 1
replace x = . in 6
generate double y = _n / 3
label variable x "the x"
sort g
by g: generate double hsx = sum(x)
by g: generate double hnx = sum(x < .)
by g: generate double hsy = sum(y)
by g: generate double hmx = hsx[_N] / hnx[_N]
by g: generate double hss = sum((x - hmx)^2 * (x < .))
by g: generate double hsd = sqrt(hss[_N] / (hnx[_N] - 1))
by g: generate double hlo = sum(cond(x < ., x, 99) * (_n == 1))
collapse (mean) mx=x (sum) sx=x sy=y (count) nx=x (sd) sdx=x (min) lo=x (max) hi=x ///
    (last) hsx hnx hsy hmx hsd, by(g)
describe
list g mx sx sy nx sdx lo hi, noobs
assert reldif(mx, hmx) < 1e-6 & sx == hsx & reldif(sy, hsy) < 1e-12 & nx == hnx
assert reldif(sdx, hsd) < 1e-6
