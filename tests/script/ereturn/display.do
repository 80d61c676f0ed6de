* ereturn display: coefficient, standard error, z or t, the p-value and the interval at c(level)
ereturn display
program postit, eclass
	ereturn post `0'
end
matrix b = (2, 1, 0)
matrix colnames b = x lengthy_variable_name _cons
matrix V = (0.25, 0, 0 \ 0, 0.5, 0 \ 0, 0, 0)
postit b V, depname(y)
ereturn display
* the same figures by hand: z = b/se, P = 2*normal(-|z|), b -/+ invnormal(.975)*se
display %7.2f 2/sqrt(.25) " " %6.3f 2*normal(-2/sqrt(.25)) " " %9.0g 2-invnormal(.975)*sqrt(.25) " " %9.0g 2+invnormal(.975)*sqrt(.25)
display %7.2f 1/sqrt(.5) " " %6.3f 2*normal(-1/sqrt(.5)) " " %9.0g 1-invnormal(.975)*sqrt(.5) " " %9.0g 1+invnormal(.975)*sqrt(.5)
ereturn display, level(90)
display %9.0g 2-invnormal(.95)*sqrt(.25) " " %9.0g 2+invnormal(.95)*sqrt(.25)
set level 99
ereturn display
set level 95
ereturn display, level(5)
* with degrees of freedom: t and its tail
matrix b = (3, -1)
matrix V = (4, 0 \ 0, 1)
matrix colnames b = x _cons
postit b V, dof(5)
ereturn display
display %7.2f 3/2 " " %6.3f 2*ttail(5, 3/2) " " %9.0g 3-invttail(5, .025)*2 " " %9.0g 3+invttail(5, .025)*2
* equations
matrix b = (1, 2, 3)
matrix colnames b = a:x a:_cons b:_cons
matrix V = I(3)
postit b V
ereturn display
* no variance: missing statistics
matrix b = (1)
postit b
ereturn display
