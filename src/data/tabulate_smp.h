// The counting kernels of tabulate: a variable's values over the sample turned into level codes,
// and the codes counted into cells, on the parallel frame where it pays.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace data::tab {

// The levels of one variable over a list of observations. Numeric levels ascend, the missing values
// (`.` then `.a` to `.z`) last; string levels sort by their bytes.
struct Coded {
    std::vector<int32_t> code; // per observation of the list: the level, or -1 for a missing value left out
    std::vector<double> num;   // the levels of a numeric variable
    std::vector<std::string> str; // the levels of a string variable
    // When the codes were not asked for and the values were counted directly: the observations at
    // each level (code is then empty).
    std::vector<double> count;
    bool is_str = false;
    int nlev() const { return is_str ? (int)str.size() : (int)num.size(); }
};

// Codes variable v over obs. missing: missing values (`.` to `.z`, "") are levels of their own.
// maxlev: more levels than this gives 134 (no message: the caller writes it). codes false: the caller
// needs only the unweighted count of each level, which whole numbers over a short range give
// without codes (in count). 0, 134, 909 (message written) or 1 at a Break.
int code_var(int v, const std::vector<int32_t> &obs, bool missing, int maxlev, Coded &out, bool codes = true);

// Adds w (1 when w is null) of every observation whose codes are both set into cells[r * ncol + c]
// (cc null: one column). Integer weights (counts, frequency weights) are summed on the frame; others
// serially, so that the same data give the same bits for every number of threads. 0, 909 or 1.
int count_cells(const std::vector<int32_t> &rc, const int32_t *cc, int ncol, const double *w, bool integer,
                std::vector<double> &cells);

} // namespace data::tab
