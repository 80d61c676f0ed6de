// The likelihoods of a few linear indices: ordered logit and probit (the index and the cut points),
// the censored normal of tobit and cnreg (the index and the log of sigma), the multinomial logit
// (one index per outcome but the base); the conditional logit on matched sets; their kernels on the
// parallel frame, and the commands `_ologit`, `_oprobit`, `_tobit`, `_cnreg`, `_mlogit`, `_clogit`.
#pragma once
#include <cstdint>
#include <vector>

namespace est {

enum IndexKind : int { IK_OLOGIT, IK_OPROBIT, IK_TOBIT, IK_MLOGIT };

// An equation: its regressors (places among the model's columns) and a constant after them.
struct IndexEq {
    std::vector<int> cols;
    bool cons = true;
};

// The observations of a fit, by column. The coefficients run equation by equation, each with its
// regressors in order and its constant last.
struct IndexModel {
    IndexKind kind = IK_OLOGIT;
    int64_t rows = 0;
    std::vector<std::vector<double>> x;
    std::vector<IndexEq> eqs;
    std::vector<double> y;      // ordered and multinomial: the outcome's place 0..ncat-1; tobit: the value
                                // or, for a censored row, its limit
    std::vector<signed char> c; // tobit: -1 censored from the left, 1 from the right, 0 not
    std::vector<double> w;      // weights (empty: none)
    std::vector<double> offset; // added to the first index (empty: none)
    int ncat = 0;               // ordered and multinomial: the outcomes
    int base = 0;               // multinomial: the place of the base outcome
    int k() const;
};

// One row's part: the log likelihood at the indices q, and with derivs its gradient g (one per
// equation) and negative Hessian H (equations by equations) with respect to the indices. A row
// that cannot be evaluated gives a value that is not finite.
double index_row(const IndexModel &m, double y, int c, const double *q, bool derivs, double *g, double *H);

struct IndexSums {
    double ll = 0;         // missing when some row could not be evaluated
    std::vector<double> g; // k: the gradient of the log likelihood
    std::vector<double> H; // k by k: its negative Hessian
};

// The log likelihood at b and, with derivs, its gradient and negative Hessian. 0, 909, or 1 on
// Break (messages written).
int indexlf_smp(const IndexModel &m, const std::vector<double> &b, bool derivs, IndexSums &s);
// The score of each row with respect to each index, by equation. 0, 909, or 1 on Break.
int indexscore_smp(const IndexModel &m, const std::vector<double> &b,
                   std::vector<std::vector<double>> &score);

// Matched sets: rows sorted by group, with group_start (the groups' first rows, then rows).
struct GroupModel {
    int64_t rows = 0;
    std::vector<std::vector<double>> x;
    std::vector<double> y; // 0 or 1
    std::vector<double> w; // by row, constant within a group (empty: none)
    std::vector<double> offset;
    std::vector<int64_t> group_start;
    int k() const { return (int)x.size(); }
};

// The conditional log likelihood: in each group, the sum of xb over the positive rows less the log
// of the sum, over every subset of the group's size with as many rows as positives, of exp of the
// subset's xb, by the recursion over rows. With derivs its gradient and negative Hessian, and
// score (when not null) the derivative of each row's group term with respect to the row's xb.
int clogitlf_smp(const GroupModel &m, const std::vector<double> &b, bool derivs, IndexSums &s,
                 std::vector<double> *score = nullptr);

// _ologit depvar [indepvars] [if] [in] [weight] [, or level(#) robust cluster(var) offset(var)
//   iterate(#) nolog ...]; _oprobit the same with the normal. Without variables, the replay.
int cmd__ologit(int);
int cmd__oprobit(int);
// _tobit depvar [indepvars] ... , ll(#) ul(#) ...
int cmd__tobit(int);
// _cnreg depvar [indepvars] ... , censored(var) ...
int cmd__cnreg(int);
// _mlogit depvar [indepvars] ... [, baseoutcome(#) rrr ...]
int cmd__mlogit(int);
// _clogit depvar [indepvars] ... , group(var) [or ...]
int cmd__clogit(int);

} // namespace est
