* ereturn repost and ereturn matrix
program postit, eclass
	ereturn post `0'
end
program repostit, eclass
	ereturn repost `0'
end
program ematrix, eclass
	ereturn matrix `0'
end
matrix b = (1, 2)
matrix colnames b = x _cons
matrix V = (1, 0 \ 0, 4)
matrix colnames V = x _cons
matrix rownames V = x _cons
postit b V
* new values keep the posted names
matrix nb = (5, 6)
matrix nV = (2, 1 \ 1, 3)
repostit b=nb V=nV
matrix list e(b)
matrix list e(V)
display _b[x] " " _se[_cons]
capture matrix list nb
display _rc
* with rename the new names replace the old
matrix nb = (7, 8)
matrix colnames nb = w _cons
repostit b = nb, rename
matrix list e(b)
* wrong sizes
matrix nb = (1, 2, 3)
repostit b=nb
matrix nV = I(3)
repostit V=nV
* not symmetric
matrix nV = (1, 2 \ 3, 4)
repostit V=nV, fatal
repostit V=nV
matrix list e(V)
* the sample marker is replaced
set obs 3
gen k = _n
gen byte s = _n == 2
repostit, esample(s)
count if e(sample)
list k if e(sample), noobs
* properties
repostit, properties(b)
display "`e(properties)'"
ereturn repost, properties(b V)
* ereturn matrix moves a matrix into e(), or copies it
matrix g = (1, 2 \ 3, 4)
ematrix gm = g
capture matrix list g
display _rc
matrix g = (9)
ematrix gc g, copy
matrix list g
matrix list e(gc)
ereturn list
ematrix x = nosuch
ereturn matrix y = g
* repost with nothing posted
ereturn clear
repostit b=g
