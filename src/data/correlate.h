// correlate and pwcorr: correlation and covariance matrices, casewise and pairwise.
#pragma once

namespace data {

// correlate [varlist] [if] [in] [weight] [, means noformat covariance wrap]
int cmd_correlate(int);
// pwcorr [varlist] [if] [in] [weight] [, obs sig star(#) bonferroni sidak print(#)]
int cmd_pwcorr(int);

} // namespace data
