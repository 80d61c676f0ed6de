* lincom on estimates posted by hand: x1 + x2 = 3 with se sqrt(.51) = .7141, t = 4.20 on 16 df
* x1 - x2 = -1 with se sqrt(.31) = .5568, z = -1.80, p = .0725, interval (-2.0913, .0913)
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
postit b V 16 y
lincom x1 + x2
return list
lincom x1 + x2, level(90)
lincom 2*x1 - _cons + 1
lincom x1 - x2, eform
display %9.4f r(estimate) " " %9.4f r(se)
matrix b = (1, 2, 3)
matrix colnames b = x1 x2 _cons
matrix V = (.25, .05, 0 \ .05, .16, 0 \ 0, 0, 1)
matrix colnames V = x1 x2 _cons
matrix rownames V = x1 x2 _cons
postit b V
lincom x1 - x2
display r(df)
