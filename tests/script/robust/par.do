* _robust over enough observations to run on the frame: the outer products are summed over fixed
* chunks and added in order, so the bits are the same with one processor or two (the runner repeats
* this file with -p1 and -p2, and the log must not change)
program epost, eclass
	ereturn post `0'
end
program fit
	matrix b = (0.5, -0.25, 1)
	matrix colnames b = x1 x2 _cons
	matrix V = (2, 0.1, 0.2 \ 0.1, 1, 0.3 \ 0.2, 0.3, 4)
	epost b V
	_robust s `0'
	matrix R = e(V)
	display %21x R[1,1] " " %21x R[2,1] " " %21x R[3,2] " " %21x R[3,3]
end
clear
set obs 70000
generate double x1 = mod(_n * 7, 97) / 7
generate double x2 = sqrt(_n) / 3
generate double s = mod(_n * 13, 31) / 31 - 0.5
generate w = 1 + mod(_n, 4)
generate g = mod(_n * 11, 503)
generate str4 gs = "g" + string(mod(_n, 37))
replace x2 = . if mod(_n, 1001) == 0
fit
fit [pweight = w]
fit [fweight = w] if x1 > 2
fit, cluster(g)
fit [aweight = w], cluster(gs) minus(3)
* within one session: two processors give the result of one, bit for bit
fit, cluster(g)
matrix A = e(V)
capture quietly set processors 2
fit, cluster(g)
matrix B = e(V)
quietly set processors 1
display mreldif(A, B)
