// The binary-outcome likelihoods, logit and probit: the model's columns gathered once, the kernels
// that sum the log likelihood with its gradient and Hessian on the parallel frame, the scores of
// the robust variance, and the commands `_logit` and `_probit`.
#pragma once
#include <cstdint>
#include <vector>

namespace est {

// The observations of a fit, by column: row r of every column is one observation of the sample.
struct BinModel {
    int64_t rows = 0;
    std::vector<std::vector<double>> x; // the regressors in use, each a column
    bool cons = true;                   // a constant after the regressors
    std::vector<double> y;              // 0 or 1
    std::vector<double> w;              // weights (empty: none)
    std::vector<double> offset;         // offsets (empty: none)
    bool probit = false;                // the normal tail in place of the logistic
    int k() const { return (int)x.size() + (cons ? 1 : 0); }
};

// What one pass of a kernel gives, summed over fixed chunks of rows added in chunk order, so that
// the bits do not depend on the number of threads.
struct BinSums {
    double ll = 0;           // the log likelihood (missing when some row could not be evaluated)
    std::vector<double> g;   // k: the gradient of the log likelihood
    std::vector<double> H;   // k by k: the negative Hessian of the log likelihood, row by row
    double n[2][2] = {};     // by the sign of xb (0 negative, 1 not) and the outcome: the count
    double nw[2][2] = {};    // the same by weight
    double determined = 0;   // rows whose outcome the model gives with probability 1 to working precision
    double determined_w = 0; // their weight
};

// The log likelihood at b (k coefficients, the constant last) and, with derivs, its gradient, its
// negative Hessian and the counts. 0, 909, or 1 on Break (messages written).
int loglf_smp(const BinModel &m, const std::vector<double> &b, bool derivs, BinSums &s);
// The same with the normal distribution function: the log of the tails by a form that stays finite
// far out.
int problf_smp(const BinModel &m, const std::vector<double> &b, bool derivs, BinSums &s);
// The score of each row at b: the derivative of its log likelihood with respect to xb (y - p for
// logit), into score (rows). 0, 909, or 1 on Break.
int plscore_smp(const BinModel &m, const std::vector<double> &b, std::vector<double> &score);

// _logit depvar [indepvars] [if] [in] [weight] [, noconstant or level(#) robust cluster(var)
//   offset(var) iterate(#) nolog asis ltolerance(#) tolerance(#) nrtolerance(#) noheader]
// Without variables, the replay of the last logit.
int cmd__logit(int);
// _probit: the same model with the normal tail.
int cmd__probit(int);

} // namespace est
