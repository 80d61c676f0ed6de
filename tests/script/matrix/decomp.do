* matrix symeigen, svd and eigenvalues; the results are named after the input
* (2,1\1,2) has the eigenvalues 3 and 1, with the vectors (1,1)/sqrt(2) and (1,-1)/sqrt(2)
matrix A = (2,1\1,2)
matrix rownames A = a b
matrix colnames A = a b
matrix symeigen X v = A
matrix list X
matrix list v
matrix XVX = X * diag(v) * X'
display mreldif(XVX, A) < 1e-14
matrix syme X v = (1,2\3,4)
matrix symeigen X v = J(2,3,1)
matrix symeigen X v = (1,.\.,1)
matrix symeigen X = A
matrix symeigen X v A
* (3,0\0,4): singular values 4 and 3, the unit vectors in that order
matrix svd U w V = (3,0\0,4)
matrix list U
matrix list w
matrix list V
matrix B = (1,2\3,4\5,6)
matrix colnames B = x y
matrix svd U w V = B
matrix list w, format(%9.6f)
matrix UWV = U * diag(w) * V'
display mreldif(UWV, B) < 1e-14
display rowsof(U) " " colsof(U) " " rowsof(V) " " colsof(V)
matrix svd U w V = (1,.)
* eigenvalues of a general matrix: real parts, then imaginary parts; a rotation has +i and -i
matrix eigenvalues re im = (0,1\-1,0)
matrix list re
matrix list im
matrix eigenval re im = (2,0\0,3)
matrix list re
matrix list im
matrix eigenvalues re im = J(2,3,1)
* cat stacks named matrices, or puts them side by side with columns
matrix P = (1,2)
matrix Q = (3,4)
matrix rownames Q = q
matrix cat C = P Q P
matrix list C
matrix cat C = P Q, columns
matrix list C
matrix R = (1,2,3)
matrix cat C = P R
matrix cat C = P R, col
matrix list C
matrix cat C = P nosuch
matrix cat C = P, junk
* dissimilarity between observations (the default) and between variables
clear
input x y str4 id
0 0 one
3 4 two
6 8 three
. 1 four
end
matrix dissimilarity D = x y
matrix list D
matrix dissim D = x y, L1 names(id)
matrix list D
matrix dis D = x y, Linfinity
matrix list D
matrix dis D = x y, Lpower(1)
matrix list D
matrix dis D = x y, L2squared
matrix list D
matrix dis D = x y, Canberra
matrix list D
matrix dis D = x y, variables
matrix list D
matrix dis D = x y, variables correlation
matrix list D
matrix dis D = x y, variables angular
matrix list D
matrix dis D = x y if x > 0
matrix list D
matrix dis D = x y, L1 L2
matrix dis D = x y, Lpower(.5)
matrix dis D = x y, variables observations
matrix dis D = x id
matrix dis D = x y if x > 100
* glsaccum and opaccum: groups 1 1 2, x 1 2 3, W = (2,1\1,3) read at rows 1 2 1
* glsaccum: (36,17\17,9); opaccum with v = 1 -1 2: (37,12\12,4)
clear
input g x r v
1 1 1 1
1 2 2 -1
2 3 1 2
2 . 1 5
end
matrix W = (2,1\1,3)
matrix R = (1,2)
matrix glsaccum G = x, group(g) glsmat(W) row(r)
matrix list G
display r(N)
matrix glsaccum G = x, group(g) glsmat(W) row(r) nocons
matrix list G
matrix opaccum O = x, group(g) opvar(v)
matrix list O
display r(N)
* the order of the observations does not matter
generate n = -_n
sort n
matrix opaccum O2 = x, group(g) opvar(v)
display mreldif(O, O2)
matrix glsaccum G = x, group(g) row(r)
matrix glsaccum G = x, glsmat(W) row(r)
matrix glsaccum G = x, group(g) glsmat(W)
matrix glsaccum G = x, group(g) glsmat(nosuch) row(r)
matrix glsaccum G = x, group(g) glsmat(W) row(v)
matrix glsaccum G = x, group(g) glsmat(R) row(r)
matrix opaccum O = x, group(g)
matrix opaccum O = x, group(g) opvar(nosuch)
