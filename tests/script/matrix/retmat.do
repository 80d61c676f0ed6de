* return matrix: moved or copied into return(), handed to r() at the end, listed with its sizes
program retm, rclass
	matrix A = (1,2\3,4)
	matrix colnames A = a b
	return matrix M = A, copy
	return matrix N A
	return scalar s = 1
end
retm
return list
matrix list r(M)
matrix list A
matrix B = r(N) * 2
matrix list B
program bad
	matrix A = 1
	return matrix M = A
end
bad
