// The chunked cross-product pass shared by matrix accum and _regress: the observations of a range
// that pass the `if`, have a usable weight and no missing value among the columns, gathered a few
// hundred at a time into columns, and each pair of columns adding one dot product.
#pragma once
#include <cstdint>
#include <vector>

namespace est::xprod {

// What a pass reads and where it puts what it found.
struct Pass {
    const std::vector<int> *var = nullptr; // the variables, in order
    bool cons = true;                      // a constant column after the variables
    bool weighted = false;                 // the weight expression of the line is in use
    bool vec = false;                      // only the first column times the others
    bool sums = false;                     // the weighted sums of the columns only
    const double *centre = nullptr;        // the values to take off the variables, or null
    // The products summed in observation order and the sums compensated, as a serial loop over
    // the observations of a chunk would make them (slower; the estimation commands' numerics).
    bool seq = false;
    // One pass about the means: each block of observations is centred on its own weighted mean
    // and its co-moments merged into the running ones by the update for two samples' means and
    // co-moments, in a fixed order. The constant column must be off.
    bool moments = false;
    // Weight checks of an estimation command: a negative weight gives 402, a noninteger one 401
    // when integer is set. The first failing observation in data order wins.
    bool check = false, integer = false;
    uint8_t *marks = nullptr; // per observation (from 1 at [0]): 1 when it was used, or null
    int32_t lo = 1, hi = 0;   // the range of observations
};

// The sums of a pass: k = the columns (the constant included); acc the k by k products (lower
// triangle, or the first row for vec; for moments the weighted co-moments about the means), sum the
// k sums (the sums pass and moments, compensated), the count and the weight sum.
struct Sums {
    std::vector<double> acc, sum;
    double nobs = 0, sumw = 0;
};

// Runs the pass over fixed chunks of the range, in parallel when the team rule and `safe` allow;
// the chunks are added in order, so the result has the same bits for any number of threads.
// 0, 909, 1 on Break (messages written); 402 or 401 of the weight checks, no message written, with
// *bad the observation.
int run(const Pass &p, bool safe, Sums &out, int32_t *bad = nullptr);

} // namespace est::xprod
