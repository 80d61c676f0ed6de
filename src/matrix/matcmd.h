// The matrix command and its subcommands.
#pragma once
#include <string>

#include "matrix/matstore.h"

namespace mat {

// matrix {name = exp | name[i,j] = exp | define | input | list | dir | drop | rename | rownames |
// colnames | roweq | coleq | substitute | accum | ...}
int cmd_matrix(int);
// mat_put_rr name: the matrix name moves to r(name)
int cmd_mat_put_rr(int);

// Lists m under the heading name, as `matrix list` does (also for `ereturn list`-style callers).
struct ListOpts {
    std::string format = "%10.0g";
    bool blank = true, half = true, header = true, names = true, dotz = false;
    std::string title;
};
int list_matrix(const char *name, const Matrix &m, const ListOpts &o);

} // namespace mat
