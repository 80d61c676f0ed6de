// Factor-variable blocks beyond the parse: the level and mean pass over the data that estimation
// commands read, and the maintenance commands testfv, fvdescribe and dumpfv.
#pragma once
#include <cstdint>
#include <vector>

namespace data {

// Over the observations obs (already restricted to the sample), for the factor-variable terms the
// last parse left in ps.fv: the share of each factor level (fv_factormeans, beside fv_factorlevels),
// the level combinations of each interaction seen in the data (fv_intercells, fv_interlevels) and
// the mean of each combination's indicator times the term's continuous variables (fv_intermeans).
// 0, 1 on Break, or 950 (message written) when the store has no room; on failure no block is left.
int fv_means(const std::vector<int32_t> &obs);

// Drops every factor-variable block, so the store describes no list.
void fv_drop_blocks();

int cmd_testfv(int);
int cmd_fvdescribe(int);
int cmd_dumpfv(int);

} // namespace data
