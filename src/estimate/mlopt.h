// The engine of ml: the model described by the ML_ globals that ml.ado sets, the user's evaluator
// called through the dispatcher at every step, numerical derivatives where its method gives none,
// the Newton optimiser, the robust variance from the scores, e() and the replay.
#pragma once

namespace est::ml {

// _ml_opt maximize [, iterate(#) tolerance(#) ltolerance(#) nrtolerance(#) difficult nolog
//                     nooutput level(#)]
// _ml_opt check | search [, repeat(#)] | display [, level(#)]
// The model comes from the globals: ML_meth (lf, d0, d1, d2), ML_user, ML_n, ML_k, ML_samp, ML_w,
// ML_wtyp, ML_N, ML_x#, ML_fp#, ML_lp#, ML_eq#, ML_ip#, ML_xc#, ML_xo#, ML_xe#, ML_y#, ML_ny,
// ML_vce, ML_clust, ML_title; the starting values from the matrix ML_b.
int cmd__ml_opt(int);

} // namespace est::ml
