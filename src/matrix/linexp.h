// Linear expressions in the coefficients of the posted estimates: the reader behind constraint,
// test, lincom and matrix makeCns. A text such as "2*x1 - [eq2]x1 = 3" becomes one row (R, r) of
// the system R b = r, R against the columns of e(b).
#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "matrix/matstore.h"

namespace mat {

// One linear restriction R b = r.
struct LinRow {
    std::vector<double> R; // one weight per column of the stripe
    double r = 0;
};

// Reads text against the column stripe of e(b):
//   side [= side]        (the right side is 0 when there is no `=`)
//   side  := [+|-] term {(+|-) term}
//   term  := factor {(*|/) factor}       a product keeps at most one coefficient; / only by a constant
//   factor:= number | (side) | coef
//   coef  := [eq]name | [eq]_b[name] | _b[[eq]name] | _b[eq:name] | name
// A name is matched as it stands in the stripe, time-series operator or factor level included
// ("L.x", "2.c3", "_cons"); without an equation it is looked up in the first equation. Returns 0,
// or the code with its message written: 111 "<name> not found", 303 an unknown equation, 131 for a
// term that is not linear, 198 for other syntax.
int parse_linexp(std::string_view text, const std::vector<StripeName> &stripe, LinRow &out);

// The restriction as a user reads it, the coefficients on the left and the constant on the right:
// "x1 - x2 = 0", "2*x1 + [eq2]x3 = 1.5". Equation names show when the stripe has equations.
std::string linrow_text(const LinRow &row, const std::vector<StripeName> &stripe);

// The column stripe of e(b) (defaults made); 301 with its message when nothing is posted.
int posted_stripe(std::vector<StripeName> &stripe);

} // namespace mat
