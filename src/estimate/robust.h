// The sandwich variance: D M D, with M the sum of outer products of the scores times x, by
// observation or by cluster, scaled by the small-sample factor; and the command `_robust`.
#pragma once
#include <cstdint>
#include <vector>

namespace est {

// How a weight enters: pweights multiply the score, the others the outer product (by observation;
// within a cluster every weight multiplies the score). Analytic weights are scaled to sum to n.
enum RobustWeight : uint8_t { RBW_NONE = 0, RBW_F = 1, RBW_A = 2, RBW_P = 4, RBW_I = 8 };

// What one call decides. The counts N, n and the factor are filled by the call.
struct RobustSpec {
    int k = 0;                // model parameters
    int ne = 1;               // equations
    double N = 0;             // observations, or clusters when clustering
    double n = 0;             // observations (the sum of the weights with frequency and importance weights)
    int clusterVar = 0;       // the cluster variable (0 none); the kernel reads the clusters of RobustInput
    int weightVar = 0;        // the variable of the weight, when it is one (0 otherwise)
    bool addConstant = false; // the scores include the constant position
    double minusFactor = -1;  // taken from the denominator: N - minus, or with clustering the
                              // regression form (n-1)/(n-minus); below 0: k, and no regression form
    bool noScale = false;     // M left as the plain sum of outer products
    bool unitScale = false;   // factor 1
    double factor = 0;        // the factor applied
};

// The observations of one call, none of whose values is missing. Columns hold rows 0..rows-1.
struct RobustInput {
    int64_t rows = 0;
    std::vector<const double *> x;     // by parameter: its column, or null for the constant
    std::vector<int> eq;               // by parameter: its equation, 0 to ne-1
    std::vector<const double *> score; // by equation (one score serves every equation)
    const double *w = nullptr;         // the weights, or null
    uint8_t wtype = RBW_NONE;
    // With clustering: the rows in cluster order, and where each cluster starts in that order, with
    // rows as the last entry. Empty cluster_start: no clustering (order may still be given).
    const int32_t *order = nullptr;
    std::vector<int64_t> cluster_start;
    // Stratified (the survey form, clusters being the PSUs): where each stratum starts among the
    // clusters, with the count of clusters last; and each stratum's sampling rate (empty: none).
    // Within a stratum the PSU totals are centred on their mean and scaled by (1 - f) n_h/(n_h - 1).
    std::vector<int64_t> stratum_start;
    std::vector<double> fpc;
};

// The small-sample factor of spec (N, n, k and the flags set); also stored in spec.factor.
double robust_factor(RobustSpec &spec, bool clustered);

// The robust variance of D (k by k, row by row) into V: M summed on the frame, the factor, D M D.
// Sets spec.N, spec.n and spec.factor. 0, 503 when the sizes do not conform, 909, or 1 on Break
// (messages written); V is untouched on failure.
int robust_variance(RobustSpec &spec, const RobustInput &in, const std::vector<double> &D,
                    std::vector<double> &V);

// _robust scorevars [weight] [if] [in] [, cluster(var) score(vars) variance(mat) minus(#) fatal
//   zeroweight strata(var) psu(var) fpc(var) subpop(var) vsrs(mat) srssubpop]
// psu() is cluster() by another name; strata() or fpc() ask for the stratified sum, whose factor is
// its own; vsrs() and srssubpop are answered as not available.
int cmd_robust(int);

} // namespace est
