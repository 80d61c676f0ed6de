// The sweep inverse of a symmetric matrix (invsym), which drops the columns that are collinear with
// those swept before them, and sweep(), one pivot step of a square matrix. Pure routines over
// row-major arrays with a stride: no store, no stripes, no printing beyond the failure messages.
#pragma once
#include <span>
#include <string>
#include <vector>

#include "matrix/sweep_smp.h"

namespace mat {

inline constexpr double SWEEP_TOL = 1e-9;      // relative tolerance of a pivot
inline constexpr double SWEEP_TOL_MIN = 1e-19; // its floor

// One pivot of an invsym, for its trace.
struct SweepStep {
    int pivot;    // the column, counted from 1
    double diag;  // its diagonal element when its turn came
    double tol;   // its tolerance
    bool dropped; // at or below the tolerance: the column was dropped
};

struct InvsymOpts {
    // The session's pivoting switch: after the forced columns, the unswept column with the greatest
    // diagonal goes next (the first of equals). Off: the natural order.
    bool pivoting = false;
    // Columns (from 0) swept first, in this order, whatever the switch. Repeats are passed over.
    std::span<const int> forced;
    // The trace wanted: the steps are recorded in InvsymOut::steps.
    bool trace = false;
    // false runs the serial twin whatever the team rule says.
    bool parallel = true;
};

struct InvsymOut {
    std::vector<unsigned char> state; // per column: COL_SWEPT or COL_DROPPED
    std::vector<int> order;           // the columns (from 0) in the order they were taken
    std::vector<SweepStep> steps;     // when the trace was asked for
    int dropped = 0;                  // diag0cnt of the result
    bool missing = false;             // the input had a missing value: the result is all `.`
};

// The tolerance of a pivot, from the input's diagonal element.
double sweep_tolerance(double diag);

// Inverts the symmetric n by n matrix at a (row-major, stride ld >= n) in place by the sweep. A
// column whose diagonal has fallen to its tolerance when its turn comes is dropped: its row and
// column become 0 and the rest is the inverse of the kept columns. A missing value anywhere gives
// a result of all `.` (out->missing). 0; 908 when n is above matsize, 505 when a is not symmetric,
// 909 for the work arrays (messages written); 1 on Break (the matrix is then lost).
int invsym(double *a, int n, int ld, const InvsymOpts &opts, InvsymOut *out);

// The trace's line for a step: "*%2d %12.5e %12.5e" for a dropped column, the same with a blank in
// place of the star for a swept one; no newline.
std::string sweep_trace_line(const SweepStep &s);
// The trace's picture of a matrix: the label line, then each row as " %12.5e " per element, each
// line ending in a newline.
std::string sweep_trace_matrix(const char *label, const double *a, int n, int ld);

// sweep(A, k): one pivot step of the r by c matrix at a, in place, on row and column k (from 1):
// (k,k) becomes 1/a_kk, the rest of row k is divided by a_kk, the rest of column k divided by
// -a_kk, and (i,j) loses a_ik a_kj / a_kk. Sweeping every pivot in turn inverts the matrix. Fails
// with "sweep(): " and the message: 503 not square or k out of range, 504 a missing value, 508 a
// zero pivot, 908 above matsize.
int sweep(double *a, int r, int c, int ld, int k);

} // namespace mat
