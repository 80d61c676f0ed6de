// The kernels of summarize and the percentile commands: the moments of one variable over a sample,
// from chunks of fixed length combined pairwise in a fixed order, and the order statistics of its
// values by selection. Engines only: they return what happened and print nothing.
#pragma once
#include <cstdint>
#include <vector>

namespace data {

// The observations a summary reads: lo..hi (from 1), and the weight of each (wt[i - lo]), 0 for an
// observation outside the sample. wt null: every observation in, with weight 1.
struct SumSample {
    int32_t lo = 1, hi = 0;
    const double *wt = nullptr;
};

// The moments of the nonmissing values of one variable over a sample.
struct Moments {
    double n = 0;    // observations with a value
    double w = 0;    // their weight sum (n without weights)
    double sum = 0;  // the weighted sum of the values
    double mean = 0; // the weighted mean
    double m2 = 0;   // the weighted sum of squared deviations from the mean
    double min = 0, max = 0;
};

// Combines the moments of two disjoint parts (a first, then b).
Moments moments_join(const Moments &a, const Moments &b);

// The moments of variable v over the sample. Chunks of observations of a fixed length are reduced
// about a common shift (the first value of the sample) and joined pairwise in a fixed tree, so
// that the bits do not depend on the number of threads. 0, 909 (message written) or 1 on Break.
int sum_moments(int v, const SumSample &s, Moments *m);

// The nonmissing values of v in the sample into x, in order of observation, with their weights into
// w (w left empty when s has no weights). 0, 909 (message written) or 1 on Break.
int sum_values(int v, const SumSample &s, std::vector<double> &x, std::vector<double> &w);

// The weighted sums of the third and fourth powers of the deviations of x from mean (w empty: all
// weights 1), summed pairwise over chunks of fixed length.
void sum_higher(const std::vector<double> &x, const std::vector<double> &w, double mean, double *m3,
                double *m4);

// The values of x at the 0-based ranks given, as if x were sorted; x is reordered. Selection, not a
// full sort: each rank is placed by nth_element within the part its neighbours leave.
void select_ranks(std::vector<double> &x, const std::vector<int64_t> &ranks, std::vector<double> &out);

// The four smallest values of x ascending into lo and the four largest descending into hi, in one
// pass; places beyond the count of x are left alone.
void extremes4(const std::vector<double> &x, double *lo, double *hi);

// The p-th percentiles of x (weights w, empty for none) for each p in ps (0 to 100): the smallest
// value at which the cumulative weight reaches p percent of the total, averaged with the next value
// when the cumulative weight meets that point exactly. altdef (unweighted only): the interpolation
// between order statistics at position (n+1)p/100. x and w are reordered. x must not be empty.
void percentiles(std::vector<double> &x, std::vector<double> &w, const std::vector<double> &ps, bool altdef,
                 std::vector<double> &out);

} // namespace data
