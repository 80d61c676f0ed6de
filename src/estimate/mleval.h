// The likelihood evaluator aids: the model read from the ML_ globals a fitter sets, the kernels that
// sum over its estimation sample, and the commands mleval, mlsum, mlvecsum, mlmatsum, mlmatbysum and
// _mlmatbysum that an evaluator program calls at every iteration.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "data/dataset.h"
#include "data/expr.h"

namespace est::ml {

inline constexpr int MAX_EQ = 999; // equation numbers run from 1 to ML_n and at most this

// One variable's cell in a row, read through the type chosen once per call.
struct Cell {
    int32_t off = 0;
    uint8_t type = 0;
};
inline Cell cell_of(int v) { return {data::ds.offset[(size_t)v - 1], data::ds.vartype[(size_t)v - 1]}; }
inline double read(const char *row, Cell c) { return data::cell_get(row + c.off, c.type); }

// An equation of the model: the variables of ML_x# in order, then the constant unless ML_xc# exists;
// an offset (ML_xo#) or an exposure (ML_xe#, whose log is added).
struct Equation {
    int num = 0;
    std::string name; // ML_eq#: the equation's name in result stripes ("" for none)
    std::vector<int> var;
    // ML_xn#: the names of var in result stripes, when they are not the variables' own (the operated
    // variables L.x, D.x that the fitter holds in scratch variables); empty otherwise
    std::vector<std::string> label;
    bool cons = true;
    int offset = 0;
    bool exposure = false;
    int k() const { return (int)var.size() + (cons ? 1 : 0); }
};

// The observations a kernel runs over: lo..hi with the marker of ML_samp set, passing the command's
// `if` (data::ifexp) when useif, each weighted by the variable of ML_w when there is one.
struct Sample {
    int32_t lo = 1, hi = 0;
    int samp = 0;
    int wvar = 0;
    bool useif = false;
    // The `if` and the expression may be run for several observations at once: the kernels
    // evaluate them a block at a time and may use the team. Otherwise they run one observation at
    // a time, in order, and only where the marker is set.
    bool safe = true;
};

// ---- The model ---------------------------------------------------------------------------------

// ML_n: 0 and *n, or 304 (absent) or 305 (not a number), message written.
int model_equations(int *n);
// "equation %d out of range" (198) unless eq is from 1 to n and at most MAX_EQ.
int check_equation(int eq, int n);
// ML_samp (304 absent; 109's message then 305 unless a byte variable) and ML_w (111 for an unknown
// name, 109 for a string) into s.samp and s.wvar; lo and hi to the whole dataset.
int model_sample(Sample &s);
// Equation eq from its macros (102 with neither a variable nor a constant). The list of a previous
// call is taken again while the macros read the same and name the same variables; the reference
// stays valid until the next call for that equation.
int model_equation(int eq, const Equation *&out);

// ---- Kernels: 0, 909 with its message, or 1 at a Break (the caller writes that one) ----------------

// The linear prediction of eq with coefficients b (eq.k() of them) into variable target at every
// observation of lo..hi: `.` outside the sample, or where a value is missing.
int mleval_u_smp(const Sample &s, const Equation &eq, const double *b, int target);

// What a summing kernel found.
struct SumResult {
    bool poisoned = false; // a missing value (or a sum that is not finite): the result is missing
    bool excluded = false; // mlsum's check: a marked observation that the `if` leaves out
};

// The sum over the sample of w times e, compensated. check_if: also look for a marked observation
// that the `if` excludes (and go on past a missing value so as to see every one).
int mlsum_smp(const Sample &s, data::ExprRecord &e, bool check_if, double *sum, SumResult &r);
// g (eq.k()) = the sum of w e x, the constant (last) taking 1.
int mlvecsum_u_smp(const Sample &s, data::ExprRecord &e, const Equation &eq, std::vector<double> &g,
                   SumResult &r);
// H (a.k() by b.k(), row by row) = the sum of w e x_a' x_b; when a and b are one equation only the
// lower triangle is summed and then mirrored.
int mlmatsum_uxx_smp(const Sample &s, data::ExprRecord &e, const Equation &a, const Equation &b, bool same,
                     std::vector<double> &H, SumResult &r);
// The panel sums over groups of equal values of the by variables (the data sorted by them): within a
// group S = the sum of w A, Rx = the sum of B x, Ry = the sum of C y; each group adds S Rx' Ry to H.
// The uxx form takes y = x and C = B, and sums the lower triangle.
int mlmatbysum_uxx_smp(const Sample &s, const std::vector<int> &by, int A, int B, const Equation &a,
                       std::vector<double> &H, SumResult &r);
int mlmatbysum_uxy_smp(const Sample &s, const std::vector<int> &by, int A, int B, int C, const Equation &a,
                       const Equation &b, std::vector<double> &H, SumResult &r);

// ---- Commands -------------------------------------------------------------------------------------

// mleval newvar = vecname [, eq(#) scalar]
int cmd_mleval(int);
// mlsum scalarname = exp [if]
int cmd_mlsum(int);
// mlvecsum scalarname vecname = exp [if] [, eq(#)]
int cmd_mlvecsum(int);
// mlmatsum scalarname matname = exp [if] [, eq(#[,#])]
int cmd_mlmatsum(int);
// mlmatbysum scalarname matname varA varB [varC] [if], by(varlist) [eq(#[,#])]
int cmd_mlmatbysum(int);
// _mlmatbysum scalarname matname [if], a(varA) b(varB) [c(varC)] by(varlist) [eq(#[,#])]
int cmd__mlmatbysum(int);

} // namespace est::ml
