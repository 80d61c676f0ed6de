// Wald tests of linear hypotheses on the posted estimates (`_test`, behind the `test`, `testparm`
// and `lincom` ado-files).
#pragma once

namespace mat {

// _test spec [, accumulate notest equal lincom level(#) eform]
//   spec := (exp[=exp]) {(exp[=exp])} | exp=exp | coeflist
//   coeflist := {[eq] | [eq]name | name}     each coefficient = 0; with equal, all equal the first
// With lincom the one expression is estimated instead: estimate, standard error, test and
// confidence interval.
int cmd__test(int);

// Clearing e() forgets the last test, which accumulate builds on.
void wald_reset();

} // namespace mat
