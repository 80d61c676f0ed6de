* tobit and cnreg: the log likelihood recomputed from e(b) with generate, its numeric derivatives at
* the estimates, no censoring against regress, the two commands against each other, predict
run estref.inc
generate double ys = max(x1 + 0.5 * x2 + sin(_n * 7.3) * 0.5, 0)
replace ys = 1.2 if ys > 1.2
tobit ys x1 x2, ll(0) ul(1.2)
display e(N_lc) " " e(N_unc) " " e(N_rc) " `e(llopt)' `e(ulopt)' `e(cmd)' `e(predict)'"
program define tobll
	args h hs
	tempvar xb l s
	local sig = _b[_se] * exp(`hs')
	quietly generate double `xb' = (_b[x1] + `h') * x1 + _b[x2] * x2 + _b[_cons]
	quietly generate double `l' = cond(ys <= 0, ln(normal((0 - `xb') / `sig')), cond(ys >= 1.2, ln(normal((`xb' - 1.2) / `sig')), ln(normalden((ys - `xb') / `sig')) - ln(`sig')))
	quietly generate double `s' = sum(`l')
	scalar tobll_v = `s'[_N]
end
tobll 0 0
display abs(tobll_v - e(ll)) / abs(e(ll)) < 1e-10
tobll 1e-5 0
scalar up = tobll_v
tobll -1e-5 0
display abs((up - tobll_v) / 2e-5) < 1e-4
tobll 0 1e-5
scalar up = tobll_v
tobll 0 -1e-5
display abs((up - tobll_v) / 2e-5) < 1e-4
* cnreg with the same censoring gives the same fit
generate byte cf = cond(ys <= 0, -1, cond(ys >= 1.2, 1, 0))
scalar l = e(ll)
scalar b1 = _b[x1]
cnreg ys x1 x2, censored(cf) nolog
display abs(e(ll) - l) < 1e-9 & abs(_b[x1] - b1) < 1e-7
display "`e(cmd)' `e(censored)' " e(N_lc) " " e(N_rc)
* no censored observation: regress's coefficients, and sigma the root of rss over N
generate double yu = x1 + 0.5 * x2 + sin(_n * 7.3) * 0.5
quietly regress yu x1 x2
scalar r1 = _b[x1]
scalar r2 = _b[x2]
scalar rc = _b[_cons]
scalar sg = sqrt(e(rss) / e(N))
tobit yu x1 x2, ll(-100) nolog
display abs(_b[x1] - r1) < 1e-8 & abs(_b[x2] - r2) < 1e-8 & abs(_b[_cons] - rc) < 1e-8 & abs(_b[_se] - sg) < 1e-8
display e(N_lc) " " e(N_unc) " " e(N_rc)
* predict
tobit ys x1 x2, ll(0) nolog
predict double xb1
assert abs(xb1 - _b[x1] * x1 - _b[x2] * x2 - _b[_cons]) < 1e-12
predict double se1, stdp
assert se1 > 0 & se1 < .
* robust, replay
tobit ys x1 x2, ll(0) robust nolog
tobit
* failures: a string outcome, a bad censoring flag, no censoring flag, no uncensored observation
generate str1 s = "a"
tobit s x1, ll(0)
generate byte bad = 2
cnreg ys x1, censored(bad)
cnreg ys x1
tobit ys x1, ul(-5)
