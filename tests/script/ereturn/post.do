* ereturn post: the checks, and nothing half-posted on failure
program postit, eclass
	ereturn post `0'
end
program first, eclass
	matrix b0 = (1, 2)
	matrix colnames b0 = x _cons
	ereturn post b0, depname(old) obs(10)
end
first
matrix b = (0.5, 2, -1)
matrix colnames b = x z _cons
matrix V = (4, 1, 0 \ 1, 9, 0 \ 0, 0, 1)
matrix rownames V = x z _cons
matrix colnames V = x z _cons
* b not a row vector
matrix bb = (1, 2 \ 3, 4)
postit bb
* V of the wrong size
matrix V2 = I(2)
postit b V2
* V not square
matrix V3 = J(3, 2, 0)
postit b V3
* V whose names are not those of b
matrix Vn = V
matrix rownames Vn = x w _cons
postit b Vn
matrix Vn = V
matrix colnames Vn = z x _cons
postit b Vn
* a matrix that does not exist
postit b nosuch
* V not symmetric: fatal refuses
matrix Vs = V
matrix Vs[1,2] = 3
postit b Vs, fatal
* esample() of a variable that is not 0/1, or a string
set obs 5
gen t = _n
gen str3 st = "a"
postit b V, esample(t)
postit b V, esample(st)
postit b V, esample(nosuch)
* nothing of the failed posts took effect: the old results stand and the matrices are still here
ereturn list
matrix dir
* a post that works: b and V move into e()
gen byte touse = _n != 3
postit b V, depname(y) obs(5) dof(2) esample(touse) properties(b V mine)
ereturn list
matrix dir
matrix list e(b)
matrix list e(V)
capture confirm variable touse
display _rc
list t if e(sample), noobs
* V not symmetric without fatal: a warning, and the post stands
matrix b = (1, 2)
matrix Vs = (1, 0.5 \ 0.25, 1)
postit b Vs, obs(2.5)
ereturn list
* V without names takes those of b
matrix b = (1, 2)
matrix colnames b = a c
matrix V = (1, 0 \ 0, 1)
postit b V [aw = t], obs(.)
matrix list e(V)
display "`e(wtype)' `e(wexp)'"
postit b V [junk = t]
ereturn list
* b alone, and nothing
matrix b = (3)
postit b
display "`e(properties)'"
postit
ereturn list
* outside an e-class program
matrix b = (1)
ereturn post b
ereturn post b, clear
matrix list e(b)
ereturn post b, junk
