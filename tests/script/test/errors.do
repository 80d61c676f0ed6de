* failures of test, testparm and lincom
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
ereturn clear
test x1
lincom x1
matrix b = (1, 2, 3)
matrix colnames b = x1 x2 _cons
matrix V = (.25, .05, 0 \ .05, .16, 0 \ 0, 0, 1)
matrix colnames V = x1 x2 _cons
matrix rownames V = x1 x2 _cons
postit b V 16
test x9
test x1 = x9
test x1*x2 = 0
test x1 = = 2
test (x1 = 0
test x1, equal
test x2, accumulate
* a new post forgets the last test
matrix b = e(b)
matrix V = e(V)
test x1, notest
postit b V 16
test x2, accumulate
lincom x1 = x2
lincom x1*x2
lincom x1, level(5)
* coefficients without a variance cannot be tested
matrix b = (1, 2)
matrix colnames b = x1 _cons
postit b
test x1
