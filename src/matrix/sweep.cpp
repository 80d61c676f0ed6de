// The sweep inverse (invsym) and the one-step sweep() of matrix expressions.
#include "matrix/sweep.h"

#include <cstdio>
#include <new>

#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace mat {

namespace {

bool is_missing(double v) { return !(v < session::lim.dot); }

// The next column to sweep, or -1 when none is left.
int next_pivot(const double *a, int n, int ld, const InvsymOpts &o, const std::vector<unsigned char> &state,
               size_t *forced_at) {
    while (*forced_at < o.forced.size()) {
        const int f = o.forced[(*forced_at)++];
        if (f >= 0 && f < n && state[f] == COL_UNSWEPT) return f;
    }
    int best = -1;
    for (int j = 0; j < n; ++j) {
        if (state[j] != COL_UNSWEPT) continue;
        if (!o.pivoting) return j;
        if (best < 0 || a[(int64_t)j * ld + j] > a[(int64_t)best * ld + best]) best = j;
    }
    return best;
}

void zero_row_col(double *a, int n, int ld, int p) {
    for (int j = 0; j < n; ++j) {
        a[(int64_t)p * ld + j] = 0;
        a[(int64_t)j * ld + p] = 0;
    }
}

} // namespace

double sweep_tolerance(double diag) {
    if (diag < 0) diag = 0;
    if (diag == 0) return SWEEP_TOL;
    const double t = SWEEP_TOL * diag;
    return t < SWEEP_TOL_MIN ? SWEEP_TOL_MIN : t;
}

int invsym(double *a, int n, int ld, const InvsymOpts &opts, InvsymOut *out) {
    out->state.clear();
    out->order.clear();
    out->steps.clear();
    out->dropped = 0;
    out->missing = false;
    if (n > session::st.matsize) return session::error(908);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < i; ++j) {
            const double x = a[(int64_t)i * ld + j], y = a[(int64_t)j * ld + i];
            if (x != y && !(is_missing(x) && is_missing(y))) return session::error(505);
        }
    bool missing = false;
    for (int i = 0; i < n && !missing; ++i)
        for (int j = 0; j <= i; ++j)
            if (is_missing(a[(int64_t)i * ld + j])) {
                missing = true;
                break;
            }
    if (missing) {
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                a[(int64_t)i * ld + j] = session::lim.dot;
        out->missing = true;
        return 0;
    }

    std::vector<double> tol, c, cs;
    try {
        out->state.assign((size_t)n, COL_UNSWEPT);
        out->order.reserve((size_t)n);
        if (opts.trace) out->steps.reserve((size_t)n);
        tol.resize((size_t)n);
        c.resize((size_t)n);
        cs.resize((size_t)n);
    } catch (const std::bad_alloc &) {
        out->state.clear();
        out->order.clear();
        out->steps.clear();
        return session::error(909);
    }
    // Fixed before the first step, from the input's diagonal.
    for (int j = 0; j < n; ++j)
        tol[j] = sweep_tolerance(a[(int64_t)j * ld + j]);

    std::vector<unsigned char> &state = out->state;
    size_t forced_at = 0;
    for (int step = 0; step < n; ++step) {
        if (session::poll_break()) return 1;
        const int p = next_pivot(a, n, ld, opts, state, &forced_at);
        const double d = a[(int64_t)p * ld + p];
        const bool drop = !(d > tol[p]);
        out->order.push_back(p);
        if (opts.trace) out->steps.push_back({p + 1, d, tol[p], drop});
        if (drop) {
            state[p] = COL_DROPPED;
            ++out->dropped;
            zero_row_col(a, n, ld, p);
            continue;
        }
        for (int j = 0; j < n; ++j) {
            c[j] = a[(int64_t)p * ld + j];
            cs[j] = state[j] == COL_SWEPT ? c[j] : -c[j];
        }
        const SweepPivot sp{a, n, ld, p, c.data(), cs.data(), d, 1.0 / d, state.data()};
        if (opts.parallel) {
            if (sweep_smp(sp)) return 1;
        } else {
            sweep_step(sp);
        }
        state[p] = COL_SWEPT;
    }
    // A dropped column may have picked up a signed zero from the pivot rows after it.
    for (int j = 0; j < n; ++j)
        if (state[j] == COL_DROPPED) zero_row_col(a, n, ld, j);
    return 0;
}

std::string sweep_trace_line(const SweepStep &s) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%c%2d %12.5e %12.5e", s.dropped ? '*' : ' ', s.pivot, s.diag, s.tol);
    return buf;
}

std::string sweep_trace_matrix(const char *label, const double *a, int n, int ld) {
    std::string t = label;
    t += '\n';
    char buf[40];
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            std::snprintf(buf, sizeof buf, " %12.5e ", a[(int64_t)i * ld + j]);
            t += buf;
        }
        t += '\n';
    }
    return t;
}

int sweep(double *a, int r, int c, int ld, int k) {
    if (r > session::st.matsize || c > session::st.matsize) return session::error(908);
    if (r != c || k < 1 || k > r) return session::fail(503, "sweep(): conformability error\n");
    const int n = r, p = k - 1;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            if (is_missing(a[(int64_t)i * ld + j]))
                return session::fail(504, "sweep(): matrix has missing values\n");
    const double d = a[(int64_t)p * ld + p];
    if (d == 0) return session::fail(508, "sweep(): matrix has zero values on diagonal\n");
    double *rowp = a + (int64_t)p * ld;
    for (int i = 0; i < n; ++i) {
        if (i == p) continue;
        double *row = a + (int64_t)i * ld;
        const double b = row[p];
        for (int j = 0; j < n; ++j)
            if (j != p) row[j] -= b * rowp[j] / d;
        row[p] = -b / d;
    }
    for (int j = 0; j < n; ++j)
        if (j != p) rowp[j] /= d;
    rowp[p] = 1.0 / d;
    return 0;
}

} // namespace mat
