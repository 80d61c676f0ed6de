// Posting estimates into e(): ereturn post and repost (and their old names, matrix post and repost),
// the coefficient table, the coefficient look-up of _b[] and _se[], and the estimation subcommands of
// matrix: mlout and score (makeCns and dispCns are in matrix/constraint.h).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mat {

// The coefficient table's variants: level(#) as written ("" for c(level)), a Beta column in place
// of the interval (one value per coefficient, missing for none), eform's column title with
// exponentiated coefficients, and plus, which leaves the table open for more rows.
struct CoefTableOpts {
    std::string level;
    const std::vector<double> *beta = nullptr;
    std::string eform;
    bool plus = false;
    int eform_plain = 0; // under eform, the last rows (cut points, ancillary parameters) as they are
};
// The coefficient table of e(b) and e(V) with those variants. 0 or the code, message written.
int coef_table_with(const CoefTableOpts &o);

// What a command posts beside b and V (ereturn post's depname, obs, dof, weight and properties),
// and the sample marker of e(sample), one place per observation (null for none).
struct PostExtras {
    std::string depname, wtype, wexp, properties;
    bool has_props = false;
    double obs = 1000000; // not given
    double dof = -1;      // not given
    const std::vector<uint8_t> *marks = nullptr;
};
// ereturn post of the matrices stored under bname and vname, from a built-in command: e() is
// replaced only when every check has passed, and the two matrices leave the store.
int post_estimates(const std::string &bname, const std::string &vname, const PostExtras &x);

// post (0) and repost (1) of the rest of the line:
//   [b [V [Cns]]] [weight] [, depname(s) obs(#) dof(#) esample(var) properties(s) fatal clear]
//   [b=name] [V=name] [, esample(var) rename properties(s) fatal]
// Everything is checked before e() changes: a failure leaves e() as it was.
int cmd_estpost(int which);
// The coefficient table of e(b) and e(V), for the rest of the line `[, level(#)]`.
int cmd_estdisplay(int);
int cmd_mlout(int);
int cmd_score(int);

// _b[] (which 0) and _se[] (which 1) of the posted estimates: eq "" is the first equation, "#k" the
// k-th. 0 and *v, or the code with the message written (301 no estimates, 303 no such equation, 111
// no such coefficient).
int coef_value(int which, const char *eq, const char *name, double *v);

} // namespace mat
