// Random numbers: the session's generator, `set seed`, and the draws behind uniform() and its kin.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "data/expr.h"
#include "data/exprint.h"
#include "data/exprmath.h"

namespace data {

namespace {

// A 256-bit xor-shift-rotate generator; its state is seeded from one number through a 64-bit
// mixing sequence, so that nearby seeds give unrelated streams.
struct Rng {
    uint64_t s[4];
};
Rng rng;
bool rng_ready = false;
constexpr uint64_t DEFAULT_SEED = 123456789;

uint64_t rotl(uint64_t x, int k) { return (x << k) | (x >> (64 - k)); }

uint64_t mix64(uint64_t &x) {
    uint64_t z = (x += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

void seed_with(uint64_t seed) {
    uint64_t x = seed;
    for (uint64_t &w : rng.s)
        w = mix64(x);
    rng_ready = true;
}

uint64_t next64() {
    if (!rng_ready) seed_with(DEFAULT_SEED);
    uint64_t *s = rng.s;
    const uint64_t r = rotl(s[1] * 5, 7) * 9;
    const uint64_t t = s[1] << 17;
    s[2] ^= s[0];
    s[3] ^= s[1];
    s[1] ^= s[2];
    s[0] ^= s[3];
    s[2] ^= t;
    s[3] = rotl(s[3], 45);
    return r;
}

} // namespace

double rng_uniform() { return ((double)(next64() >> 11) + 0.5) * 0x1.0p-53; }

int rng_set_seed(const char *text) {
    while (*text == ' ')
        ++text;
    size_t n = std::strlen(text);
    while (n && text[n - 1] == ' ')
        --n;
    if (n == 65 && (text[0] == 'X' || text[0] == 'x')) {
        Rng r;
        for (int w = 0; w < 4; ++w) {
            uint64_t v = 0;
            for (int i = 0; i < 16; ++i) {
                char c = text[1 + w * 16 + i];
                int d = (c >= '0' && c <= '9')   ? c - '0'
                        : (c >= 'a' && c <= 'f') ? c - 'a' + 10
                        : (c >= 'A' && c <= 'F') ? c - 'A' + 10
                                                 : -1;
                if (d < 0) return 198;
                v = v * 16 + (uint64_t)d;
            }
            r.s[w] = v;
        }
        if ((r.s[0] | r.s[1] | r.s[2] | r.s[3]) == 0) return 198;
        rng = r;
        rng_ready = true;
        return 0;
    }
    if (n == 0 || n > 10) return 198;
    uint64_t v = 0;
    for (size_t i = 0; i < n; ++i) {
        if (text[i] < '0' || text[i] > '9') return 198;
        v = v * 10 + (uint64_t)(text[i] - '0');
    }
    if (v > 2147483647ull) return 198;
    seed_with(v);
    return 0;
}

std::string rng_state_text() {
    if (!rng_ready) seed_with(DEFAULT_SEED);
    char buf[70];
    int k = std::snprintf(buf, sizeof buf, "X");
    for (uint64_t w : rng.s)
        k += std::snprintf(buf + k, sizeof buf - k, "%016llx", (unsigned long long)w);
    return buf;
}

namespace xp {

namespace {

double dot() { return xm::dot(); }
bool miss(double x) { return xm::miss(x); }

// A discrete draw by inversion, searching from the mode: cdf(m) decides the direction, and the
// probabilities of the neighbours follow from pmf. Exact up to rounding, with about sqrt(variance)
// steps.
template <class Pmf> double invert_from_mode(double mode, double cdf_mode, double lo, double hi, Pmf pmf) {
    double u = rng_uniform();
    double k = mode, F = cdf_mode;
    if (u <= F) {
        // walk down while the observation below still covers u
        double p = pmf(k);
        while (k > lo) {
            double Fb = F - p;
            if (u > Fb) break;
            F = Fb;
            k -= 1;
            p = pmf(k);
            if (p <= 0 && F <= 0) break;
        }
        return k;
    }
    while (k < hi) {
        k += 1;
        double p = pmf(k);
        F += p;
        if (u <= F || p <= 0) break;
    }
    return k;
}

} // namespace

double rnd_uniform() { return rng_uniform(); }

double rnd_normal(double m, double s) {
    if (miss(m) || miss(s) || s < 0) return dot();
    return m + s * xm::invnormal(rng_uniform());
}

// Gamma with shape a and scale b: squeeze and rejection for a >= 1, raised by u^(1/a) below 1.
double rnd_gamma(double a, double b) {
    if (miss(a) || miss(b) || !(a > 0) || !(b > 0)) return dot();
    double boost = 1;
    if (a < 1) {
        boost = std::pow(rng_uniform(), 1 / a);
        a += 1;
    }
    const double d = a - 1.0 / 3, c = 1 / std::sqrt(9 * d);
    for (;;) {
        double x, v;
        do {
            x = xm::invnormal(rng_uniform());
            v = 1 + c * x;
        } while (v <= 0);
        v = v * v * v;
        double u = rng_uniform();
        if (u < 1 - 0.0331 * x * x * x * x) return d * v * boost * b;
        if (std::log(u) < 0.5 * x * x + d * (1 - v + std::log(v))) return d * v * boost * b;
    }
}

double rnd_beta(double a, double b) {
    if (miss(a) || miss(b) || !(a > 0) || !(b > 0)) return dot();
    double x = rnd_gamma(a, 1), y = rnd_gamma(b, 1);
    return x / (x + y);
}

double rnd_chi2(double df) {
    if (miss(df) || !(df > 0)) return dot();
    return 2 * rnd_gamma(df / 2, 1);
}

double rnd_t(double df) {
    if (miss(df) || !(df > 0)) return dot();
    double z = xm::invnormal(rng_uniform());
    return z / std::sqrt(rnd_chi2(df) / df);
}

double rnd_poisson(double m) {
    if (miss(m) || m < 0) return dot();
    if (m == 0) return 0;
    double mode = std::floor(m);
    return invert_from_mode(mode, xm::poisson(m, mode), 0, 1e300,
                            [m](double k) { return xm::poissonp(m, k); });
}

double rnd_binomial(double n, double p) {
    if (miss(n) || miss(p) || n < 0 || std::trunc(n) != n || p < 0 || p > 1) return dot();
    if (n == 0 || p == 0) return 0;
    if (p == 1) return n;
    double mode = std::floor((n + 1) * p);
    if (mode > n) mode = n;
    return invert_from_mode(mode, xm::binomial(n, mode, p), 0, n,
                            [n, p](double k) { return xm::binomialp(n, k, p); });
}

// Failures before the n-th success: a Poisson draw whose mean is a gamma draw.
double rnd_nbinomial(double n, double p) {
    if (miss(n) || miss(p) || !(n > 0) || !(p > 0) || p > 1) return dot();
    if (p == 1) return 0;
    return rnd_poisson(rnd_gamma(n, (1 - p) / p));
}

double rnd_hypergeometric(double N, double K, double n) {
    if (miss(N) || miss(K) || miss(n) || std::trunc(N) != N || std::trunc(K) != K || std::trunc(n) != n ||
        N < 1 || K < 0 || K > N || n < 0 || n > N)
        return dot();
    const double lo = std::fmax(0, n + K - N), hi = std::fmin(n, K);
    double mode = std::floor((n + 1) * (K + 1) / (N + 2));
    if (mode < lo) mode = lo;
    if (mode > hi) mode = hi;
    return invert_from_mode(mode, xm::hypergeometric(N, K, n, mode), lo, hi,
                            [N, K, n](double k) { return xm::hypergeometricp(N, K, n, k); });
}

} // namespace xp

} // namespace data
