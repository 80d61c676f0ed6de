// The linear regression kernel: from the cross-products of the dependent variable and the
// regressors, the coefficients, their variance, the sums of squares and the fit statistics.
// An engine: it returns what it found and prints nothing but failure messages.
#pragma once
#include <vector>

#include "estimate/buildraw.h"

namespace est {

struct RegSpec {
    RawSpec raw;          // vars[0] the dependent variable, then the regressors in order
    bool cons = true;     // a constant is added (noconstant clears it)
    bool hascons = false; // the regressors hold a constant of their own
    bool tsscons = false; // the total sum of squares about the mean even without a constant
    bool mse1 = false;    // the variance scale is 1
    double dof = -1;      // df_r as given (-1 for none)
};

struct RegFit {
    int p = 0;                          // regressors
    int ncoef = 0;                      // p plus the constant
    std::vector<double> b;              // ncoef: the regressors, then the constant
    std::vector<double> V;              // ncoef square
    std::vector<double> inv;            // ncoef square: the inverse cross-product, V before its scale
    std::vector<unsigned char> dropped; // p: collinear with earlier ones
    std::vector<double> beta;           // ncoef: standardized coefficients (missing for the constant)
    int ndropped = 0;
    RawCounts cnt;
    double N = 0, W = 0; // the count of e(N) and the weight total of the cross-products
    double mss = 0, rss = 0, tss = 0, df_m = 0, df_r = 0, rmse = 0, F = 0, r2 = 0, r2_a = 0, ll = 0, ll_0 = 0;
};

// Fits the model of s over the observations of obs. 0; 908 more regressors than matsize minus 2;
// 2000 no observations; 506 a sweep failure; 481 with hascons when the constant is not in the span
// of the regressors; 909; 1 on Break (messages written, Break's excepted).
int reg2(const RegSpec &s, const ObsList &obs, RegFit *f);
// The same from cross-products already made: xx the (k+1) square array of brwrk_smp, in
// deviations form when reg2_dev(s), and f->cnt what that call counted.
int reg2_fit(const RegSpec &s, const std::vector<double> &xx, RegFit *f);
// The figures that follow from f->rss and f->tss: mss, the degrees of freedom, rmse, V from f->inv,
// F, r2, r2_a, ll and ll_0. reg2_fit calls it; a caller that finds a better rss calls it again.
void reg2_stats(const RegSpec &s, RegFit *f);
// The cross-products of the model are taken about the means: a constant is added, not held.
inline bool reg2_dev(const RegSpec &s) { return s.cons && !s.hascons; }

} // namespace est
