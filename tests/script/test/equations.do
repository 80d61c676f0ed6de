* tests across equations: b = (1, 2, 3, 4) in y1:(x _cons) y2:(x _cons), V diagonal .25 .16 1 .64
program postit, eclass
	ereturn post `0'
end
matrix b = (1, 2, 3, 4)
matrix colnames b = y1:x y1:_cons y2:x y2:_cons
matrix V = (.25, 0, 0, 0 \ 0, .16, 0, 0 \ 0, 0, 1, 0 \ 0, 0, 0, .64)
matrix colnames V = y1:x y1:_cons y2:x y2:_cons
matrix rownames V = y1:x y1:_cons y2:x y2:_cons
postit b V
* [y2] alone: both of its coefficients, chi2 = 9/1 + 16/.64 = 34
test [y2]
* the same name in two equations: (1 - 3)^2/(.25 + 1) = 3.2
test [y1]x = [y2]x
test [y1]x [y2]_cons
lincom [y2]x - [y1]x
test [y3]x
