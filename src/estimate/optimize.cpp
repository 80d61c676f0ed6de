// The Newton optimiser of the likelihood commands and its iteration log.
#include "estimate/optimize.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "data/fmt.h"
#include "matrix/sweep.h"
#include "output/channel.h"
#include "session/errors.h"
#include "session/hexfloat.h"
#include "session/state.h"

namespace est {

namespace {

using session::lim;

bool usable(double f) { return std::isfinite(f) && f < lim.dot; }

// Every coefficient's step small beside the coefficient: |d_j| / (|b_j| + 1) <= tolerance.
bool coef_test(const std::vector<double> &d, const std::vector<double> &b, double tol) {
    for (size_t j = 0; j < d.size(); ++j)
        if (!(std::abs(d[j]) / (std::abs(b[j]) + 1) <= tol)) return false;
    return true;
}

// V = the inverse of H by the sweep; columns that fall to their tolerance are dropped.
int invert_sweep(const std::vector<double> &H, int k, Optimizer &o) {
    o.V = H;
    mat::InvsymOpts io;
    mat::InvsymOut out;
    if (k == 0) return 0;
    if (int rc = mat::invsym(o.V.data(), k, k, io, &out)) return rc;
    o.dropped.assign((size_t)k, 0);
    o.ndropped = 0;
    for (int j = 0; j < k; ++j)
        if (out.state[(size_t)j] == mat::COL_DROPPED) {
            o.dropped[(size_t)j] = 1;
            ++o.ndropped;
        }
    return 0;
}

// V = the inverse of H by Gauss-Jordan with partial pivoting; false when a pivot vanishes.
bool invert_dense(const std::vector<double> &H, int k, std::vector<double> &V) {
    std::vector<double> a = H;
    V.assign((size_t)k * (size_t)k, 0.0);
    for (int j = 0; j < k; ++j)
        V[(size_t)j * (size_t)k + (size_t)j] = 1;
    double scale = 0;
    for (double x : a)
        scale = std::max(scale, std::abs(x));
    for (int c = 0; c < k; ++c) {
        int p = c;
        for (int r = c + 1; r < k; ++r)
            if (std::abs(a[(size_t)r * k + c]) > std::abs(a[(size_t)p * k + c])) p = r;
        const double piv = a[(size_t)p * k + c];
        if (!(std::abs(piv) > 1e-14 * scale)) return false;
        if (p != c)
            for (int j = 0; j < k; ++j) {
                std::swap(a[(size_t)p * k + j], a[(size_t)c * k + j]);
                std::swap(V[(size_t)p * k + j], V[(size_t)c * k + j]);
            }
        for (int j = 0; j < k; ++j) {
            a[(size_t)c * k + j] /= piv;
            V[(size_t)c * k + j] /= piv;
        }
        for (int r = 0; r < k; ++r) {
            if (r == c) continue;
            const double m = a[(size_t)r * k + c];
            if (m == 0) continue;
            for (int j = 0; j < k; ++j) {
                a[(size_t)r * k + j] -= m * a[(size_t)c * k + j];
                V[(size_t)r * k + j] -= m * V[(size_t)c * k + j];
            }
        }
    }
    return true;
}

int show_line(const Optimizer &o, int it, double f, int halvings, const std::vector<double> &b) {
    if (!o.showLog) return 0;
    const double v = usable(f) ? (o.negate ? -f : f) : lim.dot;
    std::string s = iteration_line(it, o.word, v, halvings);
    if (o.showCoefficients)
        for (size_t j = 0; j < b.size(); j += 5) {
            s += "{res}" + std::string(12, ' ');
            for (size_t c = j; c < std::min(b.size(), j + 5); ++c)
                s += (c > j ? "  " : "") + data::fmt_text(b[c], "%9.0g");
            s += "\n";
        }
    if (int rc = out::out_rimu(s)) return rc;
    return out::out_flush();
}

} // namespace

std::string iteration_line(int it, const std::string &word, double v, int halvings) {
    std::string s = "{txt}Iteration " + std::to_string(it) + ":";
    s += std::string(s.size() - 5 < 15 ? 15 - (s.size() - 5) : 1, ' ');
    s += word + " = {res}" + data::fmt_text(v, "%10.0g");
    if (halvings >= 6) s += "{txt}  (backed up)";
    return s + "\n";
}

int optimize(Optimizer &o, std::vector<double> &b) {
    const int k = (int)b.size();
    std::vector<double> H, g, d((size_t)k), b0, gn, Hn;
    o.iterations = 0;
    o.status = OPT_RUNNING;
    o.dropped.assign((size_t)k, 0);
    o.ndropped = 0;
    o.V.clear();
    double f = 0;
    try {
        H.assign((size_t)k * (size_t)k, 0.0);
        g.assign((size_t)k, 0.0);
        if (int rc = o.evaluator(b, EVAL_DERIVS, &f, g, H)) return rc;
        if (!usable(f)) f = lim.dot;
        o.objective = f;
        o.gradient = g;
        if (int rc = show_line(o, 0, f, 0, b)) return rc;
        bool singular = false;
        auto invert = [&]() -> int {
            if (o.invert) return invert_sweep(H, k, o);
            singular = !invert_dense(H, k, o.V);
            if (singular) return invert_sweep(H, k, o);
            return 0;
        };
        if (o.maxIterations < 1) {
            o.status = OPT_ITER;
        } else {
            if (!usable(f)) return session::fail(430, "flat region resulting in a missing likelihood\n");
            if (int rc = invert()) return rc;
        }
        while (o.status == OPT_RUNNING) {
            if (session::poll_break()) return session::error(1);
            ++o.iterations;
            // the step d = V g
            for (int i = 0; i < k; ++i) {
                double s = 0;
                for (int j = 0; j < k; ++j)
                    s += o.V[(size_t)i * (size_t)k + (size_t)j] * g[(size_t)j];
                d[(size_t)i] = s;
            }
            b0 = b;
            for (int j = 0; j < k; ++j)
                b[(size_t)j] = b0[(size_t)j] - d[(size_t)j];
            bool coefok = o.coefTestOnStep && coef_test(d, b0, o.coefTolerance);
            double fn = 0;
            if (int rc = o.evaluator(b, EVAL_OBJECTIVE, &fn, gn, Hn)) return rc;
            if (!usable(fn)) fn = lim.dot;
            // back up while the objective rises: a missing objective is a rise
            int halvings = 0;
            auto rises = [&](double x) { return !usable(x) || x - f > 1e-12 * std::abs(f); };
            while (rises(fn) && !coefok) {
                if (session::poll_break()) return session::error(1);
                if (++halvings >= 51) {
                    b = b0;
                    return session::error(430);
                }
                for (int j = 0; j < k; ++j) {
                    d[(size_t)j] /= 2;
                    b[(size_t)j] = b0[(size_t)j] - d[(size_t)j];
                }
                if (int rc = o.evaluator(b, EVAL_OBJECTIVE, &fn, gn, Hn)) return rc;
                if (!usable(fn)) fn = lim.dot;
                coefok = o.coefTestOnStep && coef_test(d, b0, o.coefTolerance);
            }
            if (!usable(fn)) {
                b = b0;
                return session::fail(430, "flat region resulting in a missing likelihood\n");
            }
            if ((o.logTolerance > 0 && std::abs(fn - f) <= o.logTolerance * std::abs(fn)) || fn == 0)
                o.status = OPT_OBJ;
            if (int rc = o.evaluator(b, EVAL_DERIVS, &f, g, H)) return rc;
            if (!usable(f)) f = lim.dot;
            if (o.status == OPT_RUNNING) {
                if (o.iterations >= o.maxIterations)
                    o.status = OPT_ITER;
                else if (halvings < 50)
                    o.status = coef_test(d, b0, o.coefTolerance) ? OPT_COEF : OPT_RUNNING;
                else
                    o.status = OPT_OBJ;
            }
            if (int rc = invert()) return rc;
            if ((o.status == OPT_COEF || o.status == OPT_OBJ) && o.gradientTolerance > 0) {
                double q = 0;
                for (int i = 0; i < k; ++i)
                    for (int j = 0; j < k; ++j)
                        q += g[(size_t)i] * o.V[(size_t)i * (size_t)k + (size_t)j] * g[(size_t)j];
                if (!(q <= o.gradientTolerance))
                    o.status = o.iterations >= o.maxIterations ? OPT_ITER : OPT_RUNNING;
            }
            if (int rc = show_line(o, o.iterations, f, halvings, b)) return rc;
        }
        if (o.status == OPT_ITER && o.V.empty()) {
            if (int rc = invert()) return rc;
        }
        if (!o.invert && o.flagSingular && singular) {
            o.status = OPT_SINGULAR;
            for (int j = 0; j < k; ++j)
                o.V[(size_t)j * (size_t)k + (size_t)j] = 0;
        }
        o.objective = f;
        o.gradient = g;
    } catch (const std::bad_alloc &) {
        return session::error(909);
    }
    return 0;
}

} // namespace est
