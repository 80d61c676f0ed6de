* matrix assignment and the operators of matrix expressions
matrix A = (1,2\3,4)
matrix list A
matrix B = A'
matrix list B
matrix C = A + B
matrix list C
matrix D = A - B
matrix list D
matrix E = A * B
matrix list E
matrix F = 2*A
matrix list F
matrix G = A/2
matrix list G
matrix H = A # I(2)
matrix list H
matrix K = (A, A \ B, B)
matrix list K
matrix L = 10 - A
matrix list L
matrix M = -A + 1
matrix list M
* element and submatrix subscripts
display A[2,1] " " el(A,1,2) " " el(A,9,9)
matrix S = K[2..3, 2...]
matrix list S
matrix T = K[1, 1..2]
matrix list T
* J() and I(), functions of matrices in scalar expressions
matrix Z = J(2,3,7)
matrix list Z
display rowsof(Z) " " colsof(Z) " " trace(A) " " det(A) " " issym(A) " " issym(C)
matrix I3 = I(3)
matrix A5 = A + J(2,2,0.5)
display diag0cnt(I3) " " mreldif(A, A5) " " diag0cnt(A)
display diag0cnt(I(3))
matrix V = vecdiag(A)
matrix list V
matrix W = diag(V)
matrix list W
matrix X = vec(A)
matrix list X
matrix Y = hadamard(A, A)
matrix list Y
matrix N = (nullmat(nosuch) \ (1,2))
matrix N = (nullmat(N) \ (3,4))
matrix N = nullmat(N) \ (3,4)
matrix list N
* conformability failures leave the target alone
matrix A2 = A
matrix A2 = A + Z
matrix A2 = A * Z'
matrix A2 = (A, Z')
matrix A2 = (A \ Z)
matrix list A2
matrix A2 = nosuch
matrix A2 = A[3,1]
matrix A2 = A[0,1]
matrix A2 = A[11001,1]
* the inverses: A is not symmetric; inv(A) = (-2,1 \ 1.5,-.5)
matrix A3 = invsym(A)
matrix A3 = inv(A)
matrix list A3
* element assignment
matrix A[1,2] = 20
matrix list A
matrix P = I(3)
matrix P[2,2] = 5
matrix list P
matrix P[3,1] = 9
matrix list P
matrix P[2,2] = (7,8\9,10)
matrix list P
matrix P[3,3] = (1,2)
matrix define Q = A
matrix def Q2 = A*2
matrix sub Q3 = A
matrix dir
* sizes
set matsize 10
matrix Big = J(11,1,0)
matrix Big = I(10)
display rowsof(Big)
matrix frob A
