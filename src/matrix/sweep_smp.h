// One pivot step of the sweep over the rows of a matrix: the row kernel, its serial twin and
// sweep_smp, which runs the rows on the parallel frame. Every element's arithmetic is the same
// whichever thread does it, so the result does not depend on the team.
#pragma once
#include <cstdint>

namespace mat {

// Column states of a sweep in progress.
enum : unsigned char { COL_UNSWEPT = 0, COL_SWEPT = 1, COL_DROPPED = 2 };

inline constexpr int D_SWEEP = 10; // granularity of sweep_smp: rows are the work items

// What a pivot step reads. c is a copy of the pivot's row as it stood before the step (equal to its
// column, the matrix being symmetric); cs is the same row with the sign of each column's state:
// +c[j] for a swept column, -c[j] otherwise. state[p] is still COL_UNSWEPT during the step.
struct SweepPivot {
    double *a;
    int n, ld, p;
    const double *c;
    const double *cs;
    double d, invd; // the pivot and its reciprocal
    const unsigned char *state;
};

// The step on rows lo..hi-1. With M the matrix of a partial sweep, swept set S:
//   [ A_SS^-1            -A_SS^-1 A_SU           ]
//   [ -A_US A_SS^-1      A_UU - A_US A_SS^-1 A_SU ]
// moving p from U to S makes (i,j) gain c_i c_j / d when i and j are both swept, and lose it
// otherwise; the pivot's row and column become c_j / d for a swept j and -c_j / d for an unswept one,
// the pivot 1/d. The product c_i c_j is formed before the scaling, so (i,j) and (j,i) get the same
// bits and the matrix stays exactly symmetric. Dropped rows are all zero and are left alone.
inline void sweep_rows(const SweepPivot &s, int64_t lo, int64_t hi) {
    const int n = s.n, p = s.p;
    const double invd = s.invd, d = s.d;
    for (int64_t i = lo; i < hi; ++i) {
        double *__restrict row = s.a + i * (int64_t)s.ld;
        if (i == p) {
            for (int j = 0; j < n; ++j)
                row[j] = s.cs[j] / d;
            row[p] = 1.0 / d;
            continue;
        }
        if (s.state[i] == COL_DROPPED) continue;
        const double r = s.c[i];
        if (s.state[i] == COL_SWEPT) {
            const double *__restrict cs = s.cs;
#pragma omp simd
            for (int j = 0; j < n; ++j)
                row[j] += (r * cs[j]) * invd;
            row[p] = r / d;
        } else {
            const double *__restrict c = s.c;
#pragma omp simd
            for (int j = 0; j < n; ++j)
                row[j] -= (r * c[j]) * invd;
            row[p] = -r / d;
        }
    }
}

// The serial twin: every row on the calling thread.
void sweep_step(const SweepPivot &s);
// The step on the frame, D_SWEEP, rows as work items; the serial twin when the team rule says so.
// 0, or 1 when Break stopped the region (the matrix is then half stepped and must be thrown away).
int sweep_smp(const SweepPivot &s);

} // namespace mat
