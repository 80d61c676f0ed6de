// Compensated summation for the long sums whose last digits matter.
#pragma once
#include <cmath>

namespace est {

// Compensated (Neumaier) sum: the rounding error of each addition is kept beside the sum.
struct CompSum {
    double s = 0, c = 0;
    void add(double x) {
        const double t = s + x;
        if (std::abs(x) > std::abs(s))
            c += (x - t) + s;
        else
            c += (s - t) + x;
        s = t;
    }
    double value() const { return s + c; }
};

} // namespace est
