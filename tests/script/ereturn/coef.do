* _b[], _se[], [eq]_b[] and e(sample) in expressions
display _b[x]
program postit, eclass
	ereturn post `0'
end
matrix b = (1.5, -2, 3, 4)
matrix colnames b = y1:x y1:_cons y2:x y2:_cons
matrix V = (0.25, 0, 0, 0 \ 0, 4, 0, 0 \ 0, 0, 9, 0 \ 0, 0, 0, 0)
postit b V
display _b[x] " " _b[_cons] " " _se[x] " " _se[_cons]
display [y2]_b[x] " " [y2]_se[x] " " [y2]x " " [y1]_cons
display _b[y2:_cons] " " _se[y2:_cons] " " _coef[y2:x]
display [#2]x " " [#1]_b[_cons] " " _b[#2:_cons]
display _b[nosuch]
display _se[nosuch]
display [y3]x
display [#3]x
display _b[y2:nosuch]
display _b[]
display [y2]_b[]
display [y2]_se[nosuch]
* the values are taken when the expression is compiled, and serve generate
set obs 3
gen z = _b[x] * _n + [y2]_b[_cons]
list z, noobs
* e(sample) without a marker is 0
display e(sample)
count if e(sample)
* b alone: _se[] asks for e(V)
matrix b = (1)
matrix colnames b = x
postit b
display _b[x]
display _se[x]
* e(sample) follows the marker
gen k = _n
gen byte m = _n > 1
matrix b = (1)
postit b, esample(m)
gen w = e(sample)
list k w, noobs
ereturn clear
display e(sample)
display _b[x]
