* Wald tests on estimates posted by hand: b = (1, 2, 3), V with var(x1) .25, var(x2) .16, cov .05
* test x1: W = 1/.25 = 4, F(1,16) = 4, p = .0628
* test x1 x2: W = (.16 - .2 + 1)/.0375 = 25.6, F(2,16) = 12.8, p = .0005
* test x1 = x2: W = 1/(.25 + .16 - .1) = 3.2258, p = .0914
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
postit b V 16
test x1
return list
test x1 x2
display r(F) " " r(df) " " r(df_r)
test x1 = x2
test 2*x1 = x2 + 1 - 1
* an expression without = is tested against 0
test x1 + x2
test (x1 = 0) (x2 = 0)
* accumulate builds on the last test
test x1
test x2, accumulate
display r(F)
* notest keeps the constraint for the next test without a report
test x1, notest
test x2, accumulate
* equal: all coefficients equal the first
test x1 x2, equal
test x1 x2 _cons, equal
* a dependent constraint is dropped and the test goes on with the rest
test (x1 = x2) (2*x1 - 2*x2 = 0)
display r(df) " " r(drop)
* without df_r the statistic is chi2: W = 4, p = .0455; joint W = 25.6
matrix b = (1, 2, 3)
matrix colnames b = x1 x2 _cons
matrix V = (.25, .05, 0 \ .05, .16, 0 \ 0, 0, 1)
matrix colnames V = x1 x2 _cons
matrix rownames V = x1 x2 _cons
postit b V
test x1
test [#1]x1 _b[x2]
return list
* a constraint on nothing is dropped, and with it the whole test
test x1 - x1 = 0
return list
