* the factor is 0 when N equals k, or with one cluster; failures leave e(V) as it was
program epost, eclass
	ereturn post `0'
end
clear
input x s one
1 0.5 1
2 -0.25 1
3 1 1
end
matrix b = (1, 2, 3)
matrix colnames b = x s _cons
matrix V = I(3)
epost b V
display "[`e(vcetype)']"
* three observations, three parameters
_robust s
matrix list e(V)
display "[`e(vcetype)']"
* one cluster
matrix b = (1, 2)
matrix colnames b = x _cons
matrix V = I(2)
epost b V
_robust s, cluster(one)
matrix list e(V)
display e(N_clust) " `e(clustvar)'"
* failures: each leaves e(V) as it was
matrix b = (1, 2)
matrix colnames b = x _cons
matrix V = (2, 1 \ 1, 3)
epost b V
_robust
_robust s one
_robust nosuch
_robust s, cluster(nosuch)
_robust s, variance(nosuch)
matrix W = I(3)
_robust s, variance(W)
_robust s, vsrs(W)
_robust s, cluster(one) psu(one)
generate two = 2
_robust s, strata(one) fpc(two)
generate str1 t = "a"
_robust s, fpc(t)
_robust s, srssubpop
_robust s if x > 5
_robust s [fweight = s]
_robust s [pweight = s]
matrix list e(V)
display "[`e(vcetype)']"
* a call without clusters drops what an earlier one left
_robust s, cluster(one)
display e(N_clust) " [`e(clustvar)'] [$S_E_cvn]"
_robust s
display e(N_clust) " [`e(clustvar)'] [$S_E_cvn]"
* a coefficient that names no variable
matrix b = (1, 2)
matrix colnames b = zz _cons
matrix V = I(2)
epost b V
_robust s
* two equations take two scores
matrix b = (1, 2, 3)
matrix colnames b = a:x a:_cons b:_cons
matrix V = I(3)
epost b V
_robust s
_robust s one x
_robust s one
matrix list e(V), format(%9.6f)
* fatal: a failure clears the estimates
_robust s, fatal
display "[`e(vcetype)']"
ereturn list
* no estimates at all
_robust s
