* the inverses, the sweep and the factorisations of matrix expressions
* a collinear cross-product: x3 = x1 + x2 is dropped by the sweep in natural order
* x1'x1 = 6, x1'x2 = 3, x2'x2 = 3; the kept block inverts to (1/3, -1/3 \ -1/3, 2/3)
clear
input x1 x2 x3
1 0 1
0 1 1
1 1 2
2 1 3
end
matrix accum XX = x1 x2 x3, nocons
matrix list XX
matrix XI = invsym(XX)
matrix list XI
display diag0cnt(XI) " " issym(XI) " " diag0cnt(XX)
matrix XS = syminv(XX)
display mreldif(XS, XI)
* the order of the columns decides which one is dropped
matrix accum YY = x3 x1 x2, nocons
matrix YI = invsym(YY)
matrix list YI
* rows of the inverse are named by the columns of the input, and its columns by the rows
matrix S = (2,1\1,2)
matrix rownames S = a b
matrix colnames S = c d
matrix SI = invsym(S)
matrix list SI
matrix SI = inv(S)
matrix list SI
* an all-zero matrix inverts to zeros with every column dropped; a diagonal of 1e-30 is dropped
matrix Z = J(3,3,0)
matrix ZI = invsym(Z)
matrix list ZI
display diag0cnt(ZI)
matrix T = (1e-30,0\0,4)
matrix TI = invsym(T)
matrix list TI
* a missing value gives a missing result
matrix M = (1,.\.,1)
matrix MI = invsym(M)
matrix list MI
* invsym needs a square, symmetric matrix, and leaves the target alone when it fails
matrix N = (1,2\3,4)
matrix TI = invsym(N)
matrix TI = invsym(J(2,3,1))
matrix TI = syminv(N)
matrix list TI
* inv: LU with pivoting; (2,1\1,1) inverts to (1,-1\-1,2)
matrix A = (2,1\1,1)
matrix AI = inv(A)
matrix list AI
matrix P = A * AI
matrix list P
matrix AI = inv((1,2\2,4))
matrix AI = inv(J(2,3,1))
matrix AI = inv(M)
* cholesky: (4,2\2,3) = L L' with L = (2,0\1,sqrt(2))
matrix C = (4,2\2,3)
matrix rownames C = u v
matrix colnames C = u v
matrix L = cholesky(C)
matrix list L
matrix LL = L * L'
display mreldif(LL, C) < 1e-15
matrix L = cholesky((1,2\2,1))
matrix L = cholesky(N)
matrix L = cholesky(J(2,3,1))
* corr: (4,2\2,9) has the correlation 2/(2*3)
matrix R = corr((4,2\2,9))
matrix list R
matrix R = corr((0,0\0,1))
matrix R = corr((1,0\0,-1))
matrix R = corr(N)
* sweep on the first pivot of (2,1\1,1): (.5,.5\-.5,.5); its row and column trade names
matrix W = sweep(A, 1)
matrix list W
matrix W = sweep(S, 1)
matrix list W
matrix W2 = sweep(sweep(A, 1), 2)
display mreldif(W2, AI)
matrix W = sweep(A, 3)
matrix W = sweep(A, .)
matrix W = sweep((0,1\1,1), 1)
matrix W = sweep(M, 1)
matrix W = sweep(J(2,3,1), 1)
* the scalar functions of matrices
display det(A) " " det(N) " " trace(N) " " issym(N) " " issymmetric(A) " " rowsof(N) " " colsof(Z)
matrix Q = (1,2\2,4)
matrix J3 = J(2,3,1)
display det(Q) " " diag0cnt(Z) " " diag0cnt(A) " " trace(M) " " det(M)
display det(J3)
display trace(J3)
display diag0cnt(J3)
display el(N,2,1) " " el(N,3,1) " " el(N,.,1)
display el(nosuch,1,1)
display mreldif(A, N) " " mreldif(M, M) " " mreldif(A, M)
display mreldif(A, J3)
display rowsof(nosuch)
* above matsize
clear
set matsize 10
matrix B = inv(I(11))
matrix B = invsym(I(10))
display rowsof(B)
matrix B = I(11)
matrix list B
