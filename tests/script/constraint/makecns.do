* matrix makeCns and dispCns against e(b); a dependent constraint is dropped with a note
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
matrix b = (1, 2, 3)
matrix colnames b = x1 x2 _cons
matrix V = (.25, .05, 0 \ .05, .16, 0 \ 0, 0, 1)
matrix colnames V = x1 x2 _cons
matrix rownames V = x1 x2 _cons
postit b V
constraint 1 x1 = x2
constraint 2 x1 + x2 = 1
constraint 3 2*x1 = 2*x2
constraint 4 x1 = 0.5
matrix makeCns
matrix dispCns
matrix C = get(Cns)
matrix list C
matrix makeCns 2 1
matrix dispCns
* inconsistent with those before it
constraint 5 x1 - x2 = 3
matrix makeCns 1 5
* a constraint that is not defined, or names a coefficient not in the model
matrix makeCns 1 7
constraint 6 x9 = 0
matrix makeCns 6
* the constraints in force go with e()
matrix makeCns 1
ereturn clear
matrix dispCns
matrix makeCns
