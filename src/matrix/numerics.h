// The numerics behind the functions of matrix expressions and the decompositions of `matrix svd`,
// `matrix symeigen` and `matrix eigenvalues`: pure routines over row-major arrays with a stride
// (element (i,j) of a at a[i*lda + j]), writing into arrays the caller gives. Each returns 0 or a
// return code whose message it has written; none keeps state but the record of LAPACK's error
// callback. The sweep inverse, invsym, is in matrix/sweep.h.
#pragma once
#include "matrix/sweep.h"

namespace mat {

// ---- LAPACK's error callback -----------------------------------------------------------------------

// The library reports a bad argument through its callback, which here records the routine's name
// and the argument's number instead of ending the process. la_reset() forgets the record;
// la_status() gives 0, or 3930 with "error in LAPACK routine\n" written when the callback was called
// since, and forgets it. Every routine below resets before its calls and checks after each.
void la_reset();
int la_status();
// The routine and argument of the last recorded call, for a test or a trace ("" and 0 when none).
const char *la_last_routine();
int la_last_argument();

// ---- Scalars ---------------------------------------------------------------------------------------

// All elements equal their mirror (exactly); false for a matrix that is not square.
bool issym(const double *a, int r, int c, int lda);
// Some element is missing.
bool matmissing(const double *a, int r, int c, int lda);
// The sum of the diagonal; `.` when an element of it is missing. 503 when not square.
int trace(const double *a, int r, int c, int lda, double *out);
// The count of zero elements on the diagonal. 503 when not square.
int diag0cnt(const double *a, int r, int c, int lda, int *out);
// The determinant, by LU with partial pivoting; 0 for a singular matrix, `.` when an element is
// missing. 503 when not square, 908 above matsize, 3930.
int det(const double *a, int r, int c, int lda, double *out);

// ---- Matrix results ----------------------------------------------------------------------------------
// x may be the array of a when the strides are equal, unless said otherwise. Every routine checks
// the sizes against matsize (908) before it looks at the elements.

// The inverse by LU with partial pivoting (getrf, getri). 503 not square, 504 a missing value,
// 3352 "singular matrix\n" for an exactly singular matrix, 3930.
int inv(const double *a, int r, int c, int lda, double *x, int ldx);
// The inverse of a symmetric matrix by the sweep in natural order (invsym without the pivoting
// switch): collinear columns are dropped, a missing value gives a missing result. 503, 505.
int syminv(const double *a, int r, int c, int lda, double *x, int ldx, InvsymOut *out);
// The lower-triangular L with L L' = A, zeros above the diagonal (potrf). 503, 505, 504,
// 506 "matrix not positive definite\n", 3930.
int cholesky(const double *a, int r, int c, int lda, double *l, int ldl);
// The correlation form of a symmetric matrix: a_ij / sqrt(a_ii a_jj), a missing element giving `.`.
// 503, 505, 508 "corr(): matrix has zero or negative values on diagonal\n".
int corr(const double *a, int r, int c, int lda, double *x, int ldx);
// The element-by-element product; `.` where a factor is missing. 503 when the sizes differ.
int hadamard(const double *a, int ra, int ca, int lda, const double *b, int rb, int cb, int ldb, double *x,
             int ldx);
// The columns stacked: x gets r*c elements, a column vector. x may not be a.
int vec(const double *a, int r, int c, int lda, double *x);
// The diagonal as a row vector of r elements. 503 when not square. x may not be a.
int vecdiag(const double *a, int r, int c, int lda, double *x);
// The square matrix with the vector v (1 by n or n by 1) on its diagonal and zeros elsewhere. 503
// when v is not a vector. x may not be v.
int diag(const double *v, int r, int c, int ldv, double *x, int ldx);
// r by c draws from the session's uniform generator, row by row.
int matuniform(int r, int c, double *x, int ldx);

// ---- Decompositions ------------------------------------------------------------------------------

// A symmetric A = V diag(lambda) V': the eigenvalues in descending order, the eigenvectors as the
// columns of vecs in the same order, each with its element of greatest size positive (the first of
// equals). vals has n elements; vecs may be null when only the values are wanted. 503, 505, 504,
// 430 when the iteration did not converge, 3930.
int symeigen(const double *a, int r, int c, int lda, double *vecs, int ldv, double *vals);
// A = U diag(w) V' with k = min(r, c): U r by k, w k singular values in descending order, V c by k,
// orthonormal columns; each column of V has its element of greatest size positive, U's column
// following. u or v may be null when not wanted. 504, 430, 3930.
int svd(const double *a, int r, int c, int lda, double *u, int ldu, double *w, double *v, int ldv);
// The eigenvalues of a general square matrix, real and imaginary parts, ordered by real part
// descending, then by imaginary part descending (so a conjugate pair stands with + first).
// 503, 504, 430, 3930.
int eigenvalues(const double *a, int r, int c, int lda, double *re, double *im);

} // namespace mat
