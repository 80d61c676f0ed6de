// The buildraw family: cross-products of a list of variables over the observations of a sample
// marker, with weights, in raw or deviations form, and the small passes beside it (means, products
// with a matrix). Engines only: they return what happened and print nothing.
#pragma once
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "estimate/compsum.h"
#include "estimate/frame.h"

namespace est {

// Weight types of the kernels, numbered as the work lists number them.
enum RawWeight : int { RW_NONE = 0, RW_A = 1, RW_F = 2, RW_I = 3, RW_P = 4 };

// What the kernels read: the variables in order, the marker, the weight.
struct RawSpec {
    std::vector<int> vars; // variable numbers (from 1), in list order
    int marker = 0;        // numeric variable: nonzero and not missing for an observation in use
    int weightType = RW_NONE;
    int weightVar = 0; // numeric variable holding the weight when weightType is not RW_NONE
    int k() const { return (int)vars.size(); }
};

// What a call found.
struct RawCounts {
    double nobs = 0; // observations used
    double sumw = 0; // their weight sum, before any aweight scale (nobs without a weight)
    // An aweight was in use: the note "(sum of wgt is ...)" is due, with sumw.
    bool awnote = false;
};

// The note of an aweight's sum, without a newline: "(sum of wgt is   1.2345e+01)".
std::string sumwgt_note(double w);

// Reads observation obs into row: 0 when the marker of obs is 0 (not used), else 1 with row[0]
// the weight (1 without one) and row[1..k] the variables. With an fweight, row[1] carries the
// marker value minus 1, the repeat count the marker keeps, and the variables begin at row[2].
// row needs k + 2 places.
int get_obs_values(const RawSpec &s, int32_t obs, double *row, int weightType);

// The observations of the marker in lo..hi, ascending, with the sum of their weights.
int raw_obslist(const RawSpec &s, int32_t lo, int32_t hi, ObsList &list, double *sumw);

// The cross-products of one call into xx, a (k+1) square array with stride ld (at least k+1):
// position 0 is the constant, 1..k the variables. Raw form: (0,0) the weight sum (the count without
// a weight), (0,j) and (j,0) the weighted sums, (i,j) the weighted products. Deviations form: (0,0)
// the weight sum, (0,j) and (j,0) the means, (i,j) the weighted products of deviations from the
// means. An aweight is scaled to sum to the count. Full symmetric array on return. minima and maxima
// (k+1 places each, or null) get each variable's extremes at 1..k. zeros (k+1 places, or null)
// count each variable's zero values. 0, 909 (message written), or 1 on Break (no message).
int brwrk_smp(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima,
              double *maxima, double *zeros, RawCounts *cnt);
// The serial twin: the same arguments and arithmetic, one thread; buf holds matsize doubles.
int brwrk(const RawSpec &s, const ObsList &obs, bool dev, double *xx, int ld, double *minima, double *maxima,
          double *zeros, RawCounts *cnt, double *buf);
// brwrk_smp over the variables at positions sel (from 0) of the list only; xx is (sel+1) square.
int brwrk_var_smp(const RawSpec &s, const std::vector<int> &sel, const ObsList &obs, bool dev, double *xx,
                  int ld, RawCounts *cnt);

// The cross-products of the variables of s over the observations lo..hi of the line's sample (the
// `if` and the weight expression of the line, weightType telling the weight's kind), in the layout
// of brwrk_smp, from the chunked pass that matrix accum uses: the same bits for any number of
// threads. Deviations come from the same single pass: each block of observations about its own
// mean, the blocks' co-moments merged in a fixed order. marks (one per observation) gets 1 for an observation
// used. A negative weight fails with 402, a noninteger frequency weight with 401. 0, 909, 402, 401, or 1 on
// Break (messages written).
int brwrk_line(const RawSpec &s, int32_t lo, int32_t hi, bool safe, bool dev, double *xx, int ld,
               uint8_t *marks, RawCounts *cnt);

// The weighted means of the variables into means[0..k-1]; *sumw the weight sum (scaled aweights sum
// to the count). 0 or 1 on Break.
int bwrkmean_u(const RawSpec &s, const ObsList &obs, double *means, double *sumw);

// For each observation of the list, its row (1 at position 0 for the constant, then the variables)
// times the (k+1) by m matrix b (row-major, stride m): out gets obs.size() rows of m. 0 or 1.
int bwrkmp_u(const RawSpec &s, const ObsList &obs, const double *b, int m, double *out);

} // namespace est
