// Numerical functions of the expression language: distributions, inverses, densities, gamma family.
#include "data/exprmath.h"

#include <cmath>
#include <limits>

#include "session/hexfloat.h"

namespace data::xm {

namespace {

constexpr double PI = 3.14159265358979323846;
constexpr double LN_SQRT_2PI = 0.91893853320467274178; // ln(sqrt(2 pi))
constexpr double SQRT2 = 1.41421356237309504880;
constexpr double EPS = 1e-16;
constexpr double TINY = 1e-300;
constexpr double INF = std::numeric_limits<double>::infinity();

bool isint(double x) { return std::trunc(x) == x; }

double lgam(double x) {
    int sign;
    return lgamma_r(x, &sign);
}

double lbeta(double a, double b) { return lgam(a) + lgam(b) - lgam(a + b); }

// Regularized incomplete gamma: p = P(a,x) and q = Q(a,x), each taken directly in its own region,
// by the series below a+1 and by the continued fraction above it.
void gamma_pq(double a, double x, double &p, double &q) {
    if (x <= 0) {
        p = 0;
        q = 1;
        return;
    }
    if (std::isinf(x)) {
        p = 1;
        q = 0;
        return;
    }
    const double lpre = a * std::log(x) - x - lgam(a);
    if (x < a + 1) {
        double ap = a, del = 1.0 / a, sum = del;
        for (int n = 0; n < 2000000; ++n) {
            ap += 1;
            del *= x / ap;
            sum += del;
            if (del < sum * EPS) break;
        }
        p = sum * std::exp(lpre);
        if (p > 1) p = 1;
        q = 1 - p;
    } else {
        double b = x + 1 - a, c = 1 / TINY, d = 1 / b, h = d;
        for (int i = 1; i < 2000000; ++i) {
            double an = -i * (i - a);
            b += 2;
            d = an * d + b;
            if (std::fabs(d) < TINY) d = TINY;
            c = b + an / c;
            if (std::fabs(c) < TINY) c = TINY;
            d = 1 / d;
            double del = d * c;
            h *= del;
            if (std::fabs(del - 1) < EPS) break;
        }
        q = std::exp(lpre) * h;
        if (q > 1) q = 1;
        p = 1 - q;
    }
}

// The x with P(a,x) = p, where q = 1 - p is given as well so that the upper tail keeps its digits.
double invgam(double a, double p, double q) {
    if (p <= 0) return 0;
    if (q <= 0) return INF;
    const double gln = lgam(a), a1 = a - 1;
    double x, lna1 = 0, afac = 0;
    if (a > 1) {
        lna1 = std::log(a1);
        afac = std::exp(a1 * (lna1 - 1) - gln);
        double pp = p < 0.5 ? p : q;
        double t = std::sqrt(-2 * std::log(pp));
        x = (2.30753 + t * 0.27061) / (1 + t * (0.99229 + t * 0.04481)) - t;
        if (p < 0.5) x = -x;
        x = std::fmax(1e-3, a * std::pow(1 - 1 / (9 * a) - x / (3 * std::sqrt(a)), 3));
    } else {
        double t = 1 - a * (0.253 + a * 0.12);
        x = p < t ? std::pow(p / t, 1 / a) : 1 - std::log(q / (1 - t));
    }
    for (int j = 0; j < 200; ++j) {
        if (x <= 0) return 0;
        double P, Q;
        gamma_pq(a, x, P, Q);
        double err = p < 0.5 ? P - p : q - Q;
        double t = a > 1 ? afac * std::exp(-(x - a1) + a1 * (std::log(x) - lna1))
                         : std::exp(-x + a1 * std::log(x) - gln);
        if (!(t > 0)) break;
        double u = err / t;
        double step = u / (1 - 0.5 * std::fmin(1, u * ((a - 1) / x - 1)));
        x -= step;
        if (x <= 0) x = 0.5 * (x + step);
        if (std::fabs(step) < 1e-15 * x) break;
    }
    return x;
}

// The continued fraction of the incomplete beta function.
double betacf(double a, double b, double x) {
    const double qab = a + b, qap = a + 1, qam = a - 1;
    double c = 1, d = 1 - qab * x / qap;
    if (std::fabs(d) < TINY) d = TINY;
    d = 1 / d;
    double h = d;
    for (int m = 1; m < 2000000; ++m) {
        const int m2 = 2 * m;
        double aa = m * (b - m) * x / ((qam + m2) * (a + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < TINY) d = TINY;
        c = 1 + aa / c;
        if (std::fabs(c) < TINY) c = TINY;
        d = 1 / d;
        h *= d * c;
        aa = -(a + m) * (qab + m) * x / ((a + m2) * (qap + m2));
        d = 1 + aa * d;
        if (std::fabs(d) < TINY) d = TINY;
        c = 1 + aa / c;
        if (std::fabs(c) < TINY) c = TINY;
        d = 1 / d;
        double del = d * c;
        h *= del;
        if (std::fabs(del - 1) < EPS) break;
    }
    return h;
}

// Regularized incomplete beta: p = I_x(a,b) and q = 1 - p, with y = 1 - x given exactly.
void beta_pq(double a, double b, double x, double y, double &p, double &q) {
    if (x <= 0) {
        p = 0;
        q = 1;
        return;
    }
    if (y <= 0) {
        p = 1;
        q = 0;
        return;
    }
    const double lbt = -lbeta(a, b) + a * std::log(x) + b * std::log(y);
    if (x < (a + 1) / (a + b + 2)) {
        p = std::exp(lbt) * betacf(a, b, x) / a;
        if (p > 1) p = 1;
        q = 1 - p;
    } else {
        q = std::exp(lbt) * betacf(b, a, y) / b;
        if (q > 1) q = 1;
        p = 1 - q;
    }
}

double beta_density(double a, double b, double x) {
    if (x < 0 || x > 1) return 0;
    if (x == 0) return a < 1 ? INF : a == 1 ? std::exp(-lbeta(a, b)) : 0;
    if (x == 1) return b < 1 ? INF : b == 1 ? std::exp(-lbeta(a, b)) : 0;
    return std::exp((a - 1) * std::log(x) + (b - 1) * std::log1p(-x) - lbeta(a, b));
}

// The x in [0,1] with I_x(a,b) = p (q = 1 - p): Newton steps kept inside a shrinking bracket.
double invbeta(double a, double b, double p, double q) {
    if (p <= 0) return 0;
    if (q <= 0) return 1;
    if (p > 0.5) return 1 - invbeta(b, a, q, p);
    double x;
    if (a >= 1 && b >= 1) {
        double t = std::sqrt(-2 * std::log(p));
        double z = -((2.30753 + t * 0.27061) / (1 + t * (0.99229 + t * 0.04481)) - t);
        double al = (z * z - 3) / 6;
        double h = 2 / (1 / (2 * a - 1) + 1 / (2 * b - 1));
        double w =
            z * std::sqrt(al + h) / h - (1 / (2 * b - 1) - 1 / (2 * a - 1)) * (al + 5.0 / 6 - 2 / (3 * h));
        x = a / (a + b * std::exp(2 * w));
    } else {
        double lna = std::log(a / (a + b)), lnb = std::log(b / (a + b));
        double t = std::exp(a * lna) / a, u = std::exp(b * lnb) / b, w = t + u;
        x = p < t / w ? std::pow(a * w * p, 1 / a) : 1 - std::pow(b * w * q, 1 / b);
    }
    double lo = 0, hi = 1;
    if (!(x > 0 && x < 1)) x = 0.5;
    for (int it = 0; it < 400; ++it) {
        double P, Q;
        beta_pq(a, b, x, 1 - x, P, Q);
        double f = P - p;
        if (f == 0) return x;
        if (f < 0)
            lo = x;
        else
            hi = x;
        double d = beta_density(a, b, x);
        double nx = (d > 0 && std::isfinite(d)) ? x - f / d : -1;
        if (!(nx > lo && nx < hi)) nx = 0.5 * (lo + hi);
        if (std::fabs(nx - x) <= 1e-15 * x || hi - lo <= 1e-15 * lo) return nx;
        x = nx;
    }
    return x;
}

// A root of f in [lo, hi], where f changes sign, by regula falsi with the Illinois correction.
template <class Fn> double root(Fn f, double lo, double hi) {
    double flo = f(lo), fhi = f(hi);
    if (flo == 0) return lo;
    if (fhi == 0) return hi;
    if ((flo > 0) == (fhi > 0)) return dot();
    int side = 0;
    double x = lo;
    for (int it = 0; it < 500; ++it) {
        x = (lo * fhi - hi * flo) / (fhi - flo);
        if (!(x > lo && x < hi)) x = 0.5 * (lo + hi);
        double fx = f(x);
        if (fx == 0) return x;
        if ((fx > 0) == (fhi > 0)) {
            hi = x;
            fhi = fx;
            if (side == -1) flo /= 2;
            side = -1;
        } else {
            lo = x;
            flo = fx;
            if (side == 1) fhi /= 2;
            side = 1;
        }
        if (hi - lo <= 1e-15 * std::fmax(std::fabs(lo), std::fabs(hi)) + 1e-300) break;
    }
    return x;
}

// An upper bound b > lo at which f (increasing) reaches target, found by doubling; .  when none.
template <class Fn> double bracket_up(Fn f, double target, double start) {
    double b = start;
    for (int i = 0; i < 2000; ++i) {
        if (f(b) >= target) return b;
        b *= 2;
    }
    return dot();
}

// The weights of a Poisson(lam) mixture, summed outward from the mode until they stop counting:
// calls term(j, w) for each.
template <class Fn> void poisson_mix(double lam, Fn term) {
    const double j0 = std::floor(lam);
    const double w0 = std::exp(-lam + (j0 > 0 ? j0 * std::log(lam) : 0) - lgam(j0 + 1));
    double w = w0;
    for (double j = j0; j < j0 + 1e7; j += 1) {
        term(j, w);
        w *= lam / (j + 1);
        if (w < 1e-17 && j > lam) break;
    }
    w = w0;
    for (double j = j0 - 1; j >= 0; j -= 1) {
        w *= (j + 1) / lam;
        term(j, w);
        if (w < 1e-17) break;
    }
}

// Genz's method for the upper bivariate normal probability P(X > dh, Y > dk) at correlation r.
double bvnu(double dh, double dk, double r) {
    static const double W[3][10] = {{0.1713244923791705, 0.3607615730481384, 0.4679139345726904},
                                    {0.04717533638651177, 0.1069393259953183, 0.1600783285433464,
                                     0.2031674267230659, 0.2334925365383547, 0.2491470458134029},
                                    {0.01761400713915212, 0.04060142980038694, 0.06267204833410906,
                                     0.08327674157670475, 0.1019301198172404, 0.1181945319615184,
                                     0.1316886384491766, 0.1420961093183821, 0.1491729864726037,
                                     0.1527533871307259}};
    static const double X[3][10] = {{-0.9324695142031522, -0.6612093864662647, -0.2386191860831970},
                                    {-0.9815606342467191, -0.9041172563704750, -0.7699026741943050,
                                     -0.5873179542866171, -0.3678314989981802, -0.1252334085114692},
                                    {-0.9931285991850949, -0.9639719272779138, -0.9122344282513259,
                                     -0.8391169718222188, -0.7463319064601508, -0.6360536807265150,
                                     -0.5108670019508271, -0.3737060887154196, -0.2277858511416451,
                                     -0.07652652113349733}};
    const double TWOPI = 2 * PI;
    int ng, lg;
    if (std::fabs(r) < 0.3)
        ng = 0, lg = 3;
    else if (std::fabs(r) < 0.75)
        ng = 1, lg = 6;
    else
        ng = 2, lg = 10;
    double h = dh, k = dk, hk = h * k, bvn = 0;
    if (std::fabs(r) < 0.925) {
        double hs = (h * h + k * k) / 2, asr = std::asin(r);
        for (int i = 0; i < lg; ++i) {
            double sn = std::sin(asr * (X[ng][i] + 1) / 2);
            bvn += W[ng][i] * std::exp((sn * hk - hs) / (1 - sn * sn));
            sn = std::sin(asr * (-X[ng][i] + 1) / 2);
            bvn += W[ng][i] * std::exp((sn * hk - hs) / (1 - sn * sn));
        }
        return bvn * asr / (2 * TWOPI) + normal(-h) * normal(-k);
    }
    if (r < 0) {
        k = -k;
        hk = -hk;
    }
    if (std::fabs(r) < 1) {
        double as = (1 - r) * (1 + r), a = std::sqrt(as), bs = (h - k) * (h - k);
        double c = (4 - hk) / 8, d = (12 - hk) / 16;
        bvn = a * std::exp(-(bs / as + hk) / 2) *
              (1 - c * (bs - as) * (1 - d * bs / 5) / 3 + c * d * as * as / 5);
        if (hk > -160) {
            double b = std::sqrt(bs);
            bvn -= std::exp(-hk / 2) * std::sqrt(TWOPI) * normal(-b / a) * b *
                   (1 - c * bs * (1 - d * bs / 5) / 3);
        }
        a /= 2;
        for (int i = 0; i < lg; ++i) {
            for (int is = -1; is <= 1; is += 2) {
                double xs = a * (is * X[ng][i] + 1);
                xs *= xs;
                double rs = std::sqrt(1 - xs);
                bvn += a * W[ng][i] *
                       (std::exp(-bs / (2 * xs) - hk / (1 + rs)) / rs -
                        std::exp(-(bs / xs + hk) / 2) * (1 + c * xs * (1 + d * xs)));
            }
        }
        bvn = -bvn / TWOPI;
    }
    if (r > 0) return bvn + normal(-std::fmax(h, k));
    bvn = -bvn;
    if (k > h) bvn += h < 0 ? normal(k) - normal(h) : normal(-h) - normal(-k);
    return bvn;
}

// ln of the binomial coefficient for real arguments.
double lncomb(double n, double k) { return lgam(n + 1) - lgam(k + 1) - lgam(n - k + 1); }

// A numerical derivative in a of P(a,x): the five-point stencil, first (order 1) or second (order 2).
double dP_da(double a, double x, int order) {
    double h = 1e-3 * std::fmax(1.0, a);
    if (a - 2 * h <= 0) h = a / 4;
    auto P = [x](double aa) { return gammap(aa, x); };
    if (order == 1) return (-P(a + 2 * h) + 8 * P(a + h) - 8 * P(a - h) + P(a - 2 * h)) / (12 * h);
    return (-P(a + 2 * h) + 16 * P(a + h) - 30 * P(a) + 16 * P(a - h) - P(a - 2 * h)) / (12 * h * h);
}

} // namespace

double dot() { return session::lim.dot; }
bool miss(double x) { return !(x < session::lim.dot); }

// ---- Normal -------------------------------------------------------------------------------------

double normal(double z) {
    if (miss(z)) return dot();
    return 0.5 * std::erfc(-z / SQRT2);
}

double lnnormal(double z) {
    if (miss(z)) return dot();
    if (z > 0) return std::log1p(-0.5 * std::erfc(z / SQRT2));
    if (z > -20) return std::log(0.5 * std::erfc(-z / SQRT2));
    // Far in the lower tail: ln of the density over the continued fraction of Mills' ratio.
    double x = -z, t = x;
    for (int k = 200; k >= 1; --k)
        t = x + k / t;
    return -x * x / 2 - LN_SQRT_2PI - std::log(t);
}

double invnormal(double p) {
    if (miss(p) || !(p > 0 && p < 1)) return dot();
    static const double a[] = {-3.969683028665376e+01, 2.209460984245205e+02,  -2.759285104469687e+02,
                               1.383577518672690e+02,  -3.066479806614716e+01, 2.506628277459239e+00};
    static const double b[] = {-5.447609879822406e+01, 1.615858368580409e+02, -1.556989798598866e+02,
                               6.680131188771972e+01, -1.328068155288572e+01};
    static const double c[] = {-7.784894002430293e-03, -3.223964580411365e-01, -2.400758277161838e+00,
                               -2.549732539343734e+00, 4.374664141464968e+00,  2.938163982698783e+00};
    static const double d[] = {7.784695709041462e-03, 3.224671290700398e-01, 2.445134137142996e+00,
                               3.754408661907416e+00};
    const double plow = 0.02425;
    const double q1 = 1 - p; // exact for p >= 0.5
    double x;
    if (p < plow) {
        double q = std::sqrt(-2 * std::log(p));
        x = (((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
            ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
    } else if (p <= 1 - plow) {
        double q = p - 0.5, r = q * q;
        x = (((((a[0] * r + a[1]) * r + a[2]) * r + a[3]) * r + a[4]) * r + a[5]) * q /
            (((((b[0] * r + b[1]) * r + b[2]) * r + b[3]) * r + b[4]) * r + 1);
    } else {
        double q = std::sqrt(-2 * std::log(q1));
        x = -(((((c[0] * q + c[1]) * q + c[2]) * q + c[3]) * q + c[4]) * q + c[5]) /
            ((((d[0] * q + d[1]) * q + d[2]) * q + d[3]) * q + 1);
    }
    for (int i = 0; i < 2; ++i) {
        double e = p < 0.5 ? 0.5 * std::erfc(-x / SQRT2) - p : q1 - 0.5 * std::erfc(x / SQRT2);
        double u = e * std::exp(LN_SQRT_2PI + x * x / 2);
        x -= u / (1 + x * u / 2);
    }
    return x;
}

double normalden(double z) {
    if (miss(z)) return dot();
    return std::exp(-z * z / 2 - LN_SQRT_2PI);
}

double lnnormalden(double z) {
    if (miss(z)) return dot();
    return -z * z / 2 - LN_SQRT_2PI;
}

// ---- Gamma family -------------------------------------------------------------------------------

double lngamma(double x) {
    if (miss(x) || (x <= 0 && isint(x))) return dot();
    return lgam(x);
}

double digamma(double x) {
    if (miss(x) || (x <= 0 && isint(x))) return dot();
    if (x < 0) return digamma(1 - x) - PI / std::tan(PI * x);
    double r = 0;
    while (x < 10) {
        r -= 1 / x;
        x += 1;
    }
    double f = 1 / (x * x);
    return r + std::log(x) - 0.5 / x -
           f * (1.0 / 12 - f * (1.0 / 120 - f * (1.0 / 252 - f * (1.0 / 240 - f * (1.0 / 132)))));
}

double trigamma(double x) {
    if (miss(x) || (x <= 0 && isint(x))) return dot();
    if (x < 0) {
        double s = std::sin(PI * x);
        return -trigamma(1 - x) + PI * PI / (s * s);
    }
    double r = 0;
    while (x < 10) {
        r += 1 / (x * x);
        x += 1;
    }
    double f = 1 / (x * x);
    return r + 1 / x + f / 2 +
           f / x * (1.0 / 6 - f * (1.0 / 30 - f * (1.0 / 42 - f * (1.0 / 30 - f * (5.0 / 66)))));
}

double lnfactorial(double n) {
    if (miss(n) || n < 0) return dot();
    return lgam(std::trunc(n) + 1);
}

double comb(double n, double k) {
    if (miss(n) || miss(k) || !isint(n) || !isint(k) || n < 0 || k < 0 || k > n) return dot();
    if (k > n - k) k = n - k;
    if (k < 60) {
        double r = 1;
        for (double i = 1; i <= k; i += 1)
            r = r * (n - k + i) / i;
        return std::floor(r + 0.5);
    }
    return std::floor(std::exp(lncomb(n, k)) + 0.5);
}

double gammap(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    double p, q;
    gamma_pq(a, x, p, q);
    return p;
}

double gammaptail(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    double p, q;
    gamma_pq(a, x, p, q);
    return q;
}

double invgammap(double a, double p) {
    if (miss(a) || miss(p) || !(a > 0) || p < 0 || p >= 1) return dot();
    return invgam(a, p, 1 - p);
}

double invgammaptail(double a, double q) {
    if (miss(a) || miss(q) || !(a > 0) || q <= 0 || q > 1) return dot();
    return invgam(a, 1 - q, q);
}

double dgammapdx(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    if (x == 0) return a < 1 ? dot() : a == 1 ? 1 : 0;
    return std::exp((a - 1) * std::log(x) - x - lgam(a));
}

double dgammapda(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    if (x == 0) return 0;
    return dP_da(a, x, 1);
}

double dgammapdada(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    if (x == 0) return 0;
    return dP_da(a, x, 2);
}

double dgammapdadx(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    if (x == 0) return a < 1 ? dot() : 0;
    return dgammapdx(a, x) * (std::log(x) - digamma(a));
}

double dgammapdxdx(double a, double x) {
    if (miss(a) || miss(x) || !(a > 0) || x < 0) return dot();
    if (x == 0) return a < 2 ? dot() : a == 2 ? 1 : 0;
    return dgammapdx(a, x) * ((a - 1) / x - 1);
}

double gammaden(double a, double b, double g, double x) {
    if (miss(a) || miss(b) || miss(g) || miss(x) || !(a > 0) || !(b > 0)) return dot();
    double z = x - g;
    if (z < 0) return 0;
    if (z == 0) return a < 1 ? dot() : a == 1 ? 1 / b : 0;
    return std::exp((a - 1) * std::log(z) - z / b - a * std::log(b) - lgam(a));
}

// ---- Beta family --------------------------------------------------------------------------------

double ibeta(double a, double b, double x) {
    if (miss(a) || miss(b) || miss(x) || !(a > 0) || !(b > 0)) return dot();
    if (x <= 0) return 0;
    if (x >= 1) return 1;
    double p, q;
    beta_pq(a, b, x, 1 - x, p, q);
    return p;
}

double ibetatail(double a, double b, double x) {
    if (miss(a) || miss(b) || miss(x) || !(a > 0) || !(b > 0)) return dot();
    if (x <= 0) return 1;
    if (x >= 1) return 0;
    double p, q;
    beta_pq(a, b, x, 1 - x, p, q);
    return q;
}

double invibeta(double a, double b, double p) {
    if (miss(a) || miss(b) || miss(p) || !(a > 0) || !(b > 0) || p < 0 || p > 1) return dot();
    return invbeta(a, b, p, 1 - p);
}

double invibetatail(double a, double b, double q) {
    if (miss(a) || miss(b) || miss(q) || !(a > 0) || !(b > 0) || q < 0 || q > 1) return dot();
    return invbeta(a, b, 1 - q, q);
}

double betaden(double a, double b, double x) {
    if (miss(a) || miss(b) || miss(x) || !(a > 0) || !(b > 0)) return dot();
    double d = beta_density(a, b, x);
    return std::isfinite(d) ? d : dot();
}

// ---- Chi-squared, F, t --------------------------------------------------------------------------

double chi2(double n, double x) {
    if (miss(n) || miss(x) || !(n > 0)) return dot();
    return x <= 0 ? 0 : gammap(n / 2, x / 2);
}

double chi2tail(double n, double x) {
    if (miss(n) || miss(x) || !(n > 0)) return dot();
    return x <= 0 ? 1 : gammaptail(n / 2, x / 2);
}

double invchi2(double n, double p) {
    if (miss(n) || miss(p) || !(n > 0) || p < 0 || p >= 1) return dot();
    return 2 * invgam(n / 2, p, 1 - p);
}

double invchi2tail(double n, double q) {
    if (miss(n) || miss(q) || !(n > 0) || q <= 0 || q > 1) return dot();
    return 2 * invgam(n / 2, 1 - q, q);
}

double F(double n1, double n2, double f) {
    if (miss(n1) || miss(n2) || miss(f) || !(n1 > 0) || !(n2 > 0)) return dot();
    if (f <= 0) return 0;
    double p, q;
    beta_pq(n1 / 2, n2 / 2, n1 * f / (n1 * f + n2), n2 / (n1 * f + n2), p, q);
    return p;
}

double Ftail(double n1, double n2, double f) {
    if (miss(n1) || miss(n2) || miss(f) || !(n1 > 0) || !(n2 > 0)) return dot();
    if (f <= 0) return 1;
    double p, q;
    beta_pq(n1 / 2, n2 / 2, n1 * f / (n1 * f + n2), n2 / (n1 * f + n2), p, q);
    return q;
}

double invF(double n1, double n2, double p) {
    if (miss(n1) || miss(n2) || miss(p) || !(n1 > 0) || !(n2 > 0) || p < 0 || p >= 1) return dot();
    double x = invbeta(n1 / 2, n2 / 2, p, 1 - p);
    return n2 * x / (n1 * (1 - x));
}

double invFtail(double n1, double n2, double q) {
    if (miss(n1) || miss(n2) || miss(q) || !(n1 > 0) || !(n2 > 0) || q <= 0 || q > 1) return dot();
    double y = invbeta(n2 / 2, n1 / 2, q, 1 - q); // y = n2 / (n2 + n1 f)
    return n2 * (1 - y) / (n1 * y);
}

double Fden(double n1, double n2, double f) {
    if (miss(n1) || miss(n2) || miss(f) || !(n1 > 0) || !(n2 > 0)) return dot();
    if (f < 0) return 0;
    if (f == 0) return n1 < 2 ? dot() : n1 == 2 ? 1 : 0;
    return std::exp((n1 / 2) * std::log(n1 / n2) + (n1 / 2 - 1) * std::log(f) -
                    ((n1 + n2) / 2) * std::log1p(n1 * f / n2) - lbeta(n1 / 2, n2 / 2));
}

double ttail(double n, double t) {
    if (miss(n) || miss(t) || !(n > 0)) return dot();
    double at = std::fabs(t), p, q;
    // P(T > |t|) = I_x(n/2, 1/2) / 2 with x = n / (n + t^2)
    beta_pq(n / 2, 0.5, n / (n + at * at), at * at / (n + at * at), p, q);
    return t >= 0 ? p / 2 : 1 - p / 2;
}

double invttail(double n, double q) {
    if (miss(n) || miss(q) || !(n > 0) || q <= 0 || q >= 1) return dot();
    if (q == 0.5) return 0;
    double pp = q < 0.5 ? 2 * q : 2 * (1 - q); // I_x(n/2, 1/2) = pp
    double y;                                  // y = t^2 / (n + t^2) = 1 - x
    if (pp < 0.5)
        y = 1 - invbeta(n / 2, 0.5, pp, 1 - pp);
    else
        y = invbeta(0.5, n / 2, 1 - pp, pp);
    double t = std::sqrt(n * y / (1 - y));
    return q < 0.5 ? t : -t;
}

double tden(double n, double t) {
    if (miss(n) || miss(t) || !(n > 0)) return dot();
    return std::exp(lgam((n + 1) / 2) - lgam(n / 2) - 0.5 * std::log(n * PI) -
                    (n + 1) / 2 * std::log1p(t * t / n));
}

double tprob(double n, double t) {
    if (miss(n) || miss(t) || !(n > 0)) return dot();
    return 2 * ttail(n, std::fabs(t));
}

// ---- Noncentral ---------------------------------------------------------------------------------

double nchi2(double n, double L, double x) {
    if (miss(n) || miss(L) || miss(x) || !(n > 0) || L < 0) return dot();
    if (x <= 0) return 0;
    if (L == 0) return chi2(n, x);
    double s = 0;
    poisson_mix(L / 2, [&](double j, double w) {
        double p, q;
        gamma_pq(n / 2 + j, x / 2, p, q);
        s += w * p;
    });
    return std::fmin(s, 1.0);
}

double invnchi2(double n, double L, double p) {
    if (miss(n) || miss(L) || miss(p) || !(n > 0) || L < 0 || p < 0 || p >= 1) return dot();
    if (p == 0) return 0;
    auto f = [&](double x) { return nchi2(n, L, x); };
    double hi = bracket_up(f, p, std::fmax(1.0, n + L));
    if (miss(hi)) return dot();
    return root([&](double x) { return f(x) - p; }, 0, hi);
}

double npnchi2(double n, double x, double p) {
    if (miss(n) || miss(x) || miss(p) || !(n > 0) || x < 0 || !(p > 0 && p < 1)) return dot();
    double p0 = chi2(n, x);
    if (p > p0) return dot();
    if (p == p0) return 0;
    double hi = 1;
    while (nchi2(n, hi, x) > p) {
        hi *= 2;
        if (hi > 1e8) return dot();
    }
    return root([&](double L) { return p - nchi2(n, L, x); }, 0, hi);
}

double nibeta(double a, double b, double L, double x) {
    if (miss(a) || miss(b) || miss(L) || miss(x) || !(a > 0) || !(b > 0) || L < 0) return dot();
    if (x <= 0) return 0;
    if (x >= 1) return 1;
    double s = 0;
    poisson_mix(L / 2, [&](double j, double w) {
        double p, q;
        beta_pq(a + j, b, x, 1 - x, p, q);
        s += w * p;
    });
    return std::fmin(s, 1.0);
}

double invnibeta(double a, double b, double L, double p) {
    if (miss(a) || miss(b) || miss(L) || miss(p) || !(a > 0) || !(b > 0) || L < 0 || p < 0 || p > 1)
        return dot();
    if (p == 0) return 0;
    if (p == 1) return 1;
    return root([&](double x) { return nibeta(a, b, L, x) - p; }, 0, 1);
}

double nbetaden(double a, double b, double L, double x) {
    if (miss(a) || miss(b) || miss(L) || miss(x) || !(a > 0) || !(b > 0) || L < 0) return dot();
    double s = 0;
    poisson_mix(L / 2, [&](double j, double w) { s += w * beta_density(a + j, b, x); });
    return std::isfinite(s) ? s : dot();
}

double nFden(double n1, double n2, double L, double f) {
    if (miss(n1) || miss(n2) || miss(L) || miss(f) || !(n1 > 0) || !(n2 > 0) || L < 0) return dot();
    if (f < 0) return 0;
    double x = n1 * f / (n1 * f + n2);
    double dxdf = n1 * n2 / ((n1 * f + n2) * (n1 * f + n2));
    double d = nbetaden(n1 / 2, n2 / 2, L, x);
    return miss(d) ? dot() : d * dxdf;
}

double nFtail(double n1, double n2, double L, double f) {
    if (miss(n1) || miss(n2) || miss(L) || miss(f) || !(n1 > 0) || !(n2 > 0) || L < 0) return dot();
    if (f <= 0) return 1;
    double x = n1 * f / (n1 * f + n2), y = n2 / (n1 * f + n2), s = 0;
    poisson_mix(L / 2, [&](double j, double w) {
        double p, q;
        beta_pq(n1 / 2 + j, n2 / 2, x, y, p, q);
        s += w * q;
    });
    return std::fmin(s, 1.0);
}

double invnFtail(double n1, double n2, double L, double q) {
    if (miss(n1) || miss(n2) || miss(L) || miss(q) || !(n1 > 0) || !(n2 > 0) || L < 0 || q <= 0 || q > 1)
        return dot();
    if (q == 1) return 0;
    auto up = [&](double f) { return 1 - nFtail(n1, n2, L, f); };
    double hi = bracket_up(up, 1 - q, 1.0);
    if (miss(hi)) return dot();
    return root([&](double f) { return q - nFtail(n1, n2, L, f); }, 0, hi);
}

// ---- Discrete -----------------------------------------------------------------------------------

double binomial(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !isint(n) || !isint(k) || n < 0 || p < 0 || p > 1) return dot();
    if (k < 0) return 0;
    if (k >= n) return 1;
    double P, Q; // P(X <= k) = I_{1-p}(n-k, k+1)
    beta_pq(n - k, k + 1, 1 - p, p, P, Q);
    return P;
}

double binomialtail(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !isint(n) || !isint(k) || n < 0 || p < 0 || p > 1) return dot();
    if (k <= 0) return 1;
    if (k > n) return 0;
    double P, Q; // P(X >= k) = I_p(k, n-k+1)
    beta_pq(k, n - k + 1, p, 1 - p, P, Q);
    return P;
}

double binomialp(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !isint(n) || !isint(k) || n < 0 || p < 0 || p > 1) return dot();
    if (k < 0 || k > n) return 0;
    if (p == 0) return k == 0 ? 1 : 0;
    if (p == 1) return k == n ? 1 : 0;
    return std::exp(lncomb(n, k) + k * std::log(p) + (n - k) * std::log1p(-p));
}

double invbinomial(double n, double k, double P) {
    if (miss(n) || miss(k) || miss(P) || !isint(n) || !isint(k) || k < 0 || k >= n || !(P > 0 && P < 1))
        return dot();
    return invbeta(k + 1, n - k, 1 - P, P); // I_p(k+1, n-k) = 1 - P
}

double invbinomialtail(double n, double k, double P) {
    if (miss(n) || miss(k) || miss(P) || !isint(n) || !isint(k) || k < 1 || k > n || !(P > 0 && P < 1))
        return dot();
    return invbeta(k, n - k + 1, P, 1 - P);
}

double poisson(double m, double k) {
    if (miss(m) || miss(k) || m < 0 || !isint(k)) return dot();
    if (k < 0) return 0;
    if (m == 0) return 1;
    return gammaptail(k + 1, m);
}

double poissontail(double m, double k) {
    if (miss(m) || miss(k) || m < 0 || !isint(k)) return dot();
    if (k <= 0) return 1;
    if (m == 0) return 0;
    return gammap(k, m);
}

double poissonp(double m, double k) {
    if (miss(m) || miss(k) || m < 0 || !isint(k)) return dot();
    if (k < 0) return 0;
    if (m == 0) return k == 0 ? 1 : 0;
    return std::exp(k * std::log(m) - m - lgam(k + 1));
}

double invpoisson(double k, double p) {
    if (miss(k) || miss(p) || !isint(k) || k < 0 || !(p > 0 && p < 1)) return dot();
    return invgam(k + 1, 1 - p, p); // Q(k+1, m) = p
}

double invpoissontail(double k, double q) {
    if (miss(k) || miss(q) || !isint(k) || k < 1 || !(q > 0 && q < 1)) return dot();
    return invgam(k, q, 1 - q); // P(k, m) = q
}

double nbinomial(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !(n > 0) || !isint(k) || !(p > 0 && p <= 1)) return dot();
    if (k < 0) return 0;
    double P, Q;
    beta_pq(n, k + 1, p, 1 - p, P, Q);
    return P;
}

double nbinomialtail(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !(n > 0) || !isint(k) || !(p > 0 && p <= 1)) return dot();
    if (k <= 0) return 1;
    double P, Q; // P(X >= k) = 1 - I_p(n, k)
    beta_pq(n, k, p, 1 - p, P, Q);
    return Q;
}

double nbinomialp(double n, double k, double p) {
    if (miss(n) || miss(k) || miss(p) || !(n > 0) || !isint(k) || !(p > 0 && p <= 1)) return dot();
    if (k < 0) return 0;
    if (p == 1) return k == 0 ? 1 : 0;
    return std::exp(lgam(n + k) - lgam(k + 1) - lgam(n) + n * std::log(p) + k * std::log1p(-p));
}

double invnbinomial(double n, double k, double q) {
    if (miss(n) || miss(k) || miss(q) || !(n > 0) || !isint(k) || k < 0 || !(q > 0 && q < 1)) return dot();
    return invbeta(n, k + 1, q, 1 - q);
}

double invnbinomialtail(double n, double k, double q) {
    if (miss(n) || miss(k) || miss(q) || !(n > 0) || !isint(k) || k < 1 || !(q > 0 && q < 1)) return dot();
    return invbeta(n, k, 1 - q, q); // 1 - I_p(n, k) = q
}

double hypergeometricp(double N, double K, double n, double k) {
    if (miss(N) || miss(K) || miss(n) || miss(k) || !isint(N) || !isint(K) || !isint(n) || !isint(k) ||
        N < 1 || K < 0 || K > N || n < 0 || n > N)
        return dot();
    if (k < std::fmax(0, n + K - N) || k > std::fmin(n, K)) return 0;
    return std::exp(lncomb(K, k) + lncomb(N - K, n - k) - lncomb(N, n));
}

double hypergeometric(double N, double K, double n, double k) {
    if (miss(N) || miss(K) || miss(n) || miss(k) || !isint(N) || !isint(K) || !isint(n) || !isint(k) ||
        N < 1 || K < 0 || K > N || n < 0 || n > N)
        return dot();
    const double lo = std::fmax(0, n + K - N), hi = std::fmin(n, K);
    if (k < lo) return 0;
    if (k >= hi) return 1;
    const double mode = std::floor((n + 1) * (K + 1) / (N + 2));
    double s = 0;
    if (k < mode) {
        for (double j = lo; j <= k; j += 1)
            s += hypergeometricp(N, K, n, j);
        return std::fmin(s, 1.0);
    }
    for (double j = k + 1; j <= hi; j += 1)
        s += hypergeometricp(N, K, n, j);
    return std::fmax(1 - s, 0.0);
}

double binormal(double h, double k, double r) {
    if (miss(h) || miss(k) || miss(r) || r < -1 || r > 1) return dot();
    double v = bvnu(-h, -k, r);
    return std::fmin(std::fmax(v, 0.0), 1.0);
}

} // namespace data::xm
