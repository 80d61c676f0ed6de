// The rules that the serial and parallel cross-product kernels share: the weight scale, the start of
// a call, one observation's products, and the closing of the array.
#pragma once
#include <vector>

#include "estimate/buildraw.h"

namespace est::rawcore {

struct Pass {
    int k = 0;
    bool weighted = false;
    int off = 1;                  // where the variables begin in a row read by get_obs_values
    double scale = 1;             // the aweight's n / W
    const double *mean = nullptr; // deviations: the means at 1..k
};

// Sums the weights of the list (the count without a weight); for an aweight the scale n / W, and
// *empty when W is 0.
int weight_scale(const RawSpec &s, const ObsList &obs, double *row, double *scale, double *sumw, bool *empty);
// Zeroes the array and the extremes, finds the scale and, for deviations, the means.
int start(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima, double *maxima,
          double *zeros, RawCounts *cnt, double *row, Pass *p, std::vector<double> &mean);
// One observation, read into row, into the lower triangle of acc (stride ld).
void add_obs(const Pass &p, double *row, double *acc, int ld, double *mn, double *mx, double *zr);
// The weight total that stands at (0,0): the count for an aweight, which is scaled to it.
inline double total(const RawSpec &s, const RawCounts &c) { return s.weightType == RW_A ? c.nobs : c.sumw; }
// Position 0 and the mirror: (0,0) the weight total, the means in deviations form.
void finish(const Pass &p, double *xx, int ld, double sumw);

} // namespace est::rawcore
