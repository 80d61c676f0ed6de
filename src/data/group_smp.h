// The kernels of egen and collapse: observations put in groups by the values of key variables,
// numbered in the order sort would give them, and the statistics of a variable within each group.
// Engines only: they return what happened and print nothing.
#pragma once
#include <cstdint>
#include <vector>

namespace data {

// The groups of a list of observations (entries): gid[k] is the group of entry k, from 0, groups
// numbered in the order of their keys as sort orders them (numbers before `.`, `.` before `.a`;
// strings by their bytes); first[g] is the first entry of group g.
struct Grouping {
    int32_t ngroups = 0;
    std::vector<int32_t> gid;
    std::vector<int32_t> first;
};

// Groups the observations obs[0..n) by the variables keys (numeric or string). With no keys every
// entry is in group 0 (no groups when n is 0). 0, 909 (message written) or 1 on Break.
int group_obs(const std::vector<int> &keys, const int32_t *obs, int64_t n, Grouping &g);

// The statistics of one variable within groups.
enum GroupStat : uint8_t {
    GS_MEAN,
    GS_SUM,   // missing values count as 0; a group without values sums to 0
    GS_COUNT, // values, or the sum of their weights under frequency weights
    GS_SD,
    GS_MIN,
    GS_MAX,
    GS_PCTILE, // the percentile p by the rule of summarize (GS_MEDIAN: p 50)
    GS_FIRST,  // the value of the first entry of the group, missing or not
    GS_LAST,
    GS_FIRSTNM, // the first value that is not missing
    GS_LASTNM,
};

// How weights count: none, frequency, analytic (and sampling), importance.
enum GroupWeight : uint8_t { GW_NONE, GW_F, GW_A, GW_I };

// The statistic of the values x[k] of the entries in their groups gid[k] (ngroups of them) into
// out[g]; w[k] the weight of entry k, null for none. A group without a value gets `.` (0 from
// GS_SUM and GS_COUNT). 0, 909 (message written) or 1 on Break.
int group_stat(GroupStat stat, double p, GroupWeight wk, const double *x, const double *w, const int32_t *gid,
               int64_t n, int32_t ngroups, std::vector<double> &out);

// The entries of each group together: order holds the entries grouped, in entry order within a
// group, and group g runs from start[g] to start[g + 1]. 0 or 909 (message written).
int group_order(const int32_t *gid, int64_t n, int32_t ngroups, std::vector<int32_t> &order,
                std::vector<int64_t> &start);

} // namespace data
