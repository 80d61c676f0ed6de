// What every built-in likelihood command does alike: the common options, the model's variables and
// the sample read from the line, the columns gathered once, collinear regressors dropped, the
// optimiser set from the options, the sandwich by row or by cluster, e() posted and the header.
#pragma once
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "estimate/optimize.h"
#include "estimate/robust.h"
#include "estimate/xprod.h"
#include "matrix/matstore.h"
#include "session/options.h"

namespace est {

// The options every member reads.
struct FitOpts {
    bool nocons = false, robust = false, nolog = false, log = false, noheader = false;
    std::string level, cluster, offset, vce;
    int iterate = 16000;
    double ltol = 1e-7, tol = 1e-6, nrtol = 1e-5;
};

// The common option table; a command appends its own rows.
std::vector<session::OptSpec> fit_option_specs(FitOpts &o);
// vce() into robust and cluster, and the range of level(). 0 or 198 (message written).
int fit_check_options(FitOpts &o);

// The model's variables, the sample and its columns.
struct FitData {
    std::vector<int> vars;  // the outcome, then the regressors of the line
    std::vector<int> extra; // further variables that must not be missing (a group, a censoring flag)
    int ovar = 0, cvar = 0; // the offset and the cluster variable
    bool weighted = false, pw = false, robust = false, cstr = false;
    int32_t lo = 1, hi = 0;
    std::vector<uint8_t> marks; // by observation: in the sample
    xprod::Sums sums; // the cross-products of the outcome, the regressors, the offset, the extras, 1
    int64_t rows = 0;
    std::vector<std::vector<double>> x;    // the regressors (after fit_drop_collinear: those kept)
    std::vector<int> kept;                 // the kept regressors' places among those of the line
    std::vector<double> y, w, offset;      // w empty without a weight; aweights sum to rows
    std::vector<std::vector<double>> xtra; // the extras' columns
    std::vector<double> ckey_num;          // the cluster keys by row
    std::vector<std::string> ckey_str;
    double sumw = 0; // the sum of the weights (rows without)
    double N = 0;    // the count: rows, or the sum of frequency weights
    int nx_all() const { return (int)vars.size() - 1; }
};

// The variables of the line (numeric, plain), the offset and the cluster. 0 or the code.
int fit_read_model(const FitOpts &o, FitData &d);
// The sample pass and the columns. 0, 2000 for no observations, or the code (messages written).
int fit_gather(FitData &d);
// Regressors collinear with the others (and with the constant, which is kept first, when cons is
// set) leave d.x with a note. 0 or the code.
int fit_drop_collinear(FitData &d, bool cons);

// The optimiser's limits, tolerances and log word from the options.
void fit_setup(const FitOpts &o, const FitData &d, Optimizer &op);
// "log likelihood", or "log pseudolikelihood" with pweights.
const char *fit_crittype(const FitData &d);

// The sandwich of V (k by k) from in's columns and scores; the weights and the clusters from d.
// 0 or the code; *nclust the count of clusters.
int fit_robust(const FitData &d, RobustInput &in, int k, int ne, bool cons, std::vector<double> &V,
               double *nclust);

// The Wald statistic b' inv(V) b over the parameters of `which`, and its rank in *df.
double fit_wald(const std::vector<double> &b, const std::vector<double> &V, const std::vector<int> &which,
                int k, double *df);

mat::StripeName fit_stripe(const char *eq, const char *name);

// Posts b (1 by k) and V with the sample, the counts and the weight, then the scalars and macros
// (N, e(vcetype), e(clustvar), e(N_clust), e(offset) from d). 0 or the code.
int fit_post(const FitData &d, mat::Matrix &b, mat::Matrix &V, double nclust,
             const std::vector<std::pair<const char *, double>> &scalars,
             const std::vector<std::pair<const char *, std::string>> &macros);

double fit_escalar(const char *name);
std::string fit_emacro(const char *name);

// The header from e(): the title and the log likelihood on the left; the count, the test and the
// pseudo R2 on the right.
int fit_header();

} // namespace est
