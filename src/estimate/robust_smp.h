// The sum of outer products of the robust variance, on the parallel frame.
#pragma once
#include <vector>

#include "estimate/robust.h"

namespace est {

// M (k by k, row by row, symmetric) = the sum over observations, or over clusters, of u u', u the
// score times x with the weight taken in. Fixed chunks of rows (never splitting a cluster) sum into
// their own slots, which are added in chunk order: the bits do not depend on the team. Also gives
// the count of observations (*nobs, the sum of the weights for frequency and importance weights)
// and of clusters (*nclust). 0, 909 or 1 on Break (messages written).
int robust_meat_smp(int k, const RobustInput &in, std::vector<double> &M, double *nobs, double *nclust);

} // namespace est
