* testparm: the coefficients of variables in the model are zero, or equal
program postit, eclass
	args b V df dep
	ereturn post `b' `V'
	if "`df'" != "" {
		ereturn scalar df_r = `df'
	}
	if "`dep'" != "" {
		ereturn local depvar `dep'
	}
end
set obs 2
gen x1 = _n
gen x2 = _n
gen z = _n
matrix b = (1, 2, 3)
matrix colnames b = x1 x2 _cons
matrix V = (.25, .05, 0 \ .05, .16, 0 \ 0, 0, 1)
matrix colnames V = x1 x2 _cons
matrix rownames V = x1 x2 _cons
postit b V 16
testparm x1 x2
testparm x*, equal
testparm x1 z
testparm z
testparm nosuch
