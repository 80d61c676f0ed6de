* the estimation subcommands of matrix: post, repost, mlout, score
set obs 4
gen x = _n
gen z = 10 - _n
replace z = . in 4
matrix b = (2, -0.5, 1)
matrix colnames b = x z _cons
* score: b[x]*x + b[z]*z + b[_cons], checked against the sum written out
matrix score s = b
gen h = 2*x - 0.5*z + 1
list x z s h, noobs
assert s == h
matrix score s = b
matrix score s = b if x > 2, replace
matrix score double s2 = b in 3/4, missval(-1)
list s2, noobs
matrix score s3 = nosuch
matrix b2 = (1, 3)
matrix colnames b2 = eq1:x eq2:x
matrix score s4 = b2, equation(eq2)
matrix score s5 = b2, equation(#1)
matrix score s6 = b2, equation(eq3)
list x s4 s5, noobs
matrix bw = (1)
matrix colnames bw = nosuchvar
matrix score s7 = bw
* post and repost under their old names
program mpost, eclass
	matrix post `0'
end
program mrepost, eclass
	matrix repost `0'
end
matrix V = I(3)
mpost b V, obs(4)
ereturn list
matrix nb = (1, 1, 1)
mrepost b=nb
matrix list e(b)
matrix post b
* mlout: the table of the posted results, or of matrices it posts first
program mout, eclass
	matrix mlout `0'
end
mout
matrix b = (4)
matrix V = (4)
matrix colnames b = w
mout b V, level(90)
matrix makeCns
matrix dispCns
