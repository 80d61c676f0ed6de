* regress with operated variables matches the same fit on variables made by hand
clear
set obs 30
generate t = _n
generate double x = mod(t*7, 11) + t/10
generate double y = 3 + 0.5*x + mod(t*5, 7)/3
tsset t
generate double lx = x[_n-1]
generate double dx = x - x[_n-1]
regress y L.x D.x
matrix b1 = e(b)
matrix V1 = e(V)
scalar r1 = e(r2)
display _b[L.x] "  " _b[D.x] "  " e(N)
test L.x
test L.x D.x
quietly regress y lx dx
display mreldif(b1, e(b)) "  " mreldif(V1, e(V)) "  " (r1 == e(r2))
display %21.0g b1[1,1] "  " %21.0g _b[lx]
* the robust and cluster forms read the operated columns as the plain fit does
foreach v in "vce(robust)" "hc3" "vce(cluster t)" {
	quietly regress y L.x D.x, `v'
	matrix V1 = e(V)
	quietly regress y lx dx, `v'
	display "`v'  " mreldif(V1, e(V))
}
* the dependent variable operated, panels, and the combined operators
clear
input id t x y
1 1 1.5 2
1 2 2.25 3.5
1 3 2 5
1 4 4.5 4
1 5 3 7.25
2 1 1 1
2 2 3 2.5
2 3 2.5 2
2 4 5 6
2 5 6.5 5.5
3 1 2 3
3 2 4 1
3 4 3.5 2.5
3 5 7 8
end
tsset id t
regress D.y L.x LD.x
matrix b1 = e(b)
display "`e(depvar)'"
matrix list e(b)
sort id t
by id: generate double dy = y - y[_n-1] if t == t[_n-1] + 1
by id: generate double l1 = x[_n-1] if t == t[_n-1] + 1
by id: generate double ld = l1 - l1[_n-1] if t == t[_n-1] + 1
quietly regress dy l1 ld
display mreldif(b1, e(b))
