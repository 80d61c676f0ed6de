* estimates store and restore: the results come back as they were stored
program postit, eclass
	ereturn post `0'
end
program addll, eclass
	ereturn scalar ll = `1'
	ereturn local cmd "handmade"
end
set obs 5
gen x = _n
gen byte s = _n != 2
matrix b = (0.5, -1)
matrix colnames b = x _cons
matrix V = (0.04, 0.01 \ 0.01, 0.09)
postit b V, depname(y) obs(4) dof(2) esample(s)
addll -3
ereturn list
matrix b1 = e(b)
matrix V1 = e(V)
estimates store first
* a new result replaces the current one
matrix b = (1)
postit b
ereturn list
estimates restore first
ereturn list
matrix eb = e(b)
matrix eV = e(V)
display mreldif(eb, b1) " " mreldif(eV, V1)
assert eb[1,1] == b1[1,1] & eb[1,2] == b1[1,2] & eV[1,2] == V1[1,2] & eV[2,2] == V1[2,2]
matrix list e(b)
list x if e(sample), noobs
* the stored copy stays: a second restore after a change gives the same
ereturn clear
estimates restore first
display _b[x] " " _se[_cons] " " e(ll) " " e(df_r) " `e(cmd)'"
* storing again replaces the stored copy
addll -2
estimates store first
ereturn clear
estimates restore first
display e(ll)
* an empty e() cannot be stored, and the old copy stays
ereturn clear
estimates store first
estimates dir
estimates restore nosuch
estimates store _all
* drop and clear
estimates restore first
estimates store second
estimates dir
estimates drop second
estimates dir
estimates drop nosuch
estimates clear
estimates dir
estimates junk
