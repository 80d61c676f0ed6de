// Posting estimates into e(): ereturn post and repost (and their old names, matrix post and repost),
// the coefficient table, the coefficient look-up of _b[] and _se[], and the estimation subcommands of
// matrix: mlout and score (makeCns and dispCns are in matrix/constraint.h).
#pragma once

namespace mat {

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
