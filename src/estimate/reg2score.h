// The robust variance of a least-squares fit: the residuals as scores, adjusted by the leverage for
// HC2 and HC3, gathered in the order the sandwich reads them, and the sandwich itself.
// An engine: it returns what it found and prints nothing but failure messages.
#pragma once
#include <cstdint>
#include <vector>

namespace est {

// How the residual becomes the score.
enum ScoreForm : int { SCORE_PLAIN = 1, SCORE_HC2 = 2, SCORE_HC3 = 3 };

// The weight of the fit, numbered as the work lists number it (1 aweight, 2 fweight, 3 iweight,
// 4 pweight, 0 none); its values come from the line's weight expression.
struct RegScoreSpec {
    int y = 0;                      // the dependent variable
    std::vector<int> x;             // the regressors kept in the fit (variables of the data)
    std::vector<double> b;          // their coefficients, then the constant's when cons
    bool cons = false;              // a constant follows the regressors
    std::vector<double> D;          // the bread: the unscaled inverse cross-product, (x + cons) square
    const uint8_t *marks = nullptr; // the fit's sample, one mark per observation
    int32_t lo = 1, hi = 0;         // the observations the marks may hold
    int weightType = 0;
    bool safe = true;   // the weight expression may run on several threads
    int clusterVar = 0; // 0 without clustering; numeric, or string compared as text
    int form = SCORE_PLAIN;
    double params = 0; // parameters of the fit: N/(N-params), or (n-1)/(n-params) with clusters
};

struct RegScoreOut {
    std::vector<double> V; // the robust variance, in the layout of D
    double nobs = 0;       // observations in the sandwich (the weight sum with fweights)
    double nclust = 0;     // clusters
    int64_t lev1 = 0;      // observations of leverage 1, whose HC2 or HC3 score is missing
};

// The robust variance of the fit described by s. 0; 909; 2000 when no observation is left; 1 on
// Break (messages written). out is untouched on failure.
int reg2_robust(const RegScoreSpec &s, RegScoreOut *out);

// The sum of squared residuals of the fit described by s (its y, x, b, cons, marks, weight), each
// times its weight as the cross-products weigh it (aweights scaled to sum to the count), summed with
// compensation in the data's order. 0; 909; 2000 when no observation is marked; 1 on Break.
int reg2ess_smp(const RegScoreSpec &s, double *ess);

// ---- The kernels, on the parallel frame (reg2score_smp.cpp) -------------------------------------

// The fit's columns of the rows of a sandwich: row r is observation obs[r].
struct ScoreRows {
    const std::vector<int32_t> *obs = nullptr;
    int y = 0;
    const std::vector<int> *x = nullptr;
    const std::vector<double> *b = nullptr; // x.size() coefficients, then the constant's when cons
    bool cons = false;
    int weightType = 0;
    bool safe = true;
};

// Gathers the regressors into xcol (one column of obs->size() for each), the weights into w (when
// weighted) and the residuals y - xb into e, row by row, each row alone: the bits do not depend on
// the team. 0, 909 or 1 on Break (messages written).
int reg2score_smp(const ScoreRows &s, std::vector<std::vector<double>> &xcol, std::vector<double> &w,
                  std::vector<double> &e);

// The HC2 (form 2) or HC3 (form 3) scores in place of the residuals e: e / sqrt(1 - h) or e / (1 - h),
// h = x'Dx times the weight (fweights count copies: not times the weight), with the weights of an
// aweight scaled by wscale; a leverage of 1 (within rounding) gives a missing score, counted in
// *lev1. 0 or 1 on Break.
int reg2score2_smp(int form, const std::vector<std::vector<double>> &xcol, bool cons,
                   const std::vector<double> &D, const double *w, double wscale, bool wtimes,
                   std::vector<double> &e, int64_t *lev1);

} // namespace est
