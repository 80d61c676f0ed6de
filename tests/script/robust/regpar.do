* regress with a robust variance over enough observations to run the scores and the sums of outer
* products on the frame: each score is made from its own row, and the outer products are summed
* over fixed chunks, so the bits are the same with one processor or two (the runner repeats this
* file with -p1 and -p2, and the log must not change)
capture program drop show
program show
	matrix R = e(V)
	local k = colsof(R)
	display %21x R[1,1] " " %21x R[2,1] " " %21x R[`k',`k'] " " %21x e(F)
end
clear
set obs 70000
generate double x1 = mod(_n * 7, 97) / 7
generate double x2 = sqrt(_n) / 3
generate c3 = 1 + mod(_n * 5, 3)
generate w = 1 + mod(_n, 4)
generate g = mod(_n * 11, 503)
generate str4 gs = "g" + string(mod(_n, 37))
generate double y = 1 + 0.5 * x1 - 0.25 * x2 + 0.1 * c3 + sin(_n) * (1 + x1 / 10)
replace x2 = . if mod(_n, 1001) == 0
replace g = . if mod(_n, 2003) == 0
quietly regress y x1 x2, vce(robust)
show
quietly regress y x1 x2, cluster(g)
show
quietly regress y x1 x2 i(c3), cluster(gs)
show
quietly regress y x1 x2, hc2
show
quietly regress y x1 x2 i(c3), hc3
show
quietly regress y x1 x2 [pweight = w] if x1 > 2
show
quietly regress y x1 x2 [aweight = w], cluster(g)
show
quietly regress y x1 x2 [fweight = w], hc3
show
* within one session: two processors give the result of one, bit for bit
quietly regress y x1 x2 i(c3), hc3
matrix A = e(V)
capture quietly set processors 2
quietly regress y x1 x2 i(c3), hc3
matrix B = e(V)
quietly regress y x1 x2, cluster(g)
matrix C = e(V)
quietly set processors 1
quietly regress y x1 x2, cluster(g)
display mreldif(A, B) " " mreldif(C, e(V))
