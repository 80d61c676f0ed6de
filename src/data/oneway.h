// oneway: one-way analysis of variance.
#pragma once

namespace data {

// oneway response factor [if] [in] [weight] [, tabulate noanova nolabel missing]
int cmd_oneway(int);

} // namespace data
