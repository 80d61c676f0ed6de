// Hex-float text to double, bit exact on any machine, and the session's numeric limits.
#include "session/hexfloat.h"

#include <cmath>
#include <cstdint>

namespace session {

Limits lim;

namespace {

int hexdigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

// hexfloat := ['-'] hexdigits ['.' hexdigits] ('x'|'X') ['+'|'-'] hexdigits
bool hexfloat(const char *text, double *out) {
    const char *p = text;
    bool neg = false;
    if (*p == '-') {
        neg = true;
        ++p;
    }
    uint64_t mant = 0;
    int shift = 0; // binary places after the point held in mant
    int digits = 0;
    bool any = false;
    for (; hexdigit(*p) >= 0; ++p) {
        if (digits >= 15) return false;
        mant = mant * 16 + hexdigit(*p);
        if (mant) ++digits;
        any = true;
    }
    if (*p == '.') {
        ++p;
        for (; hexdigit(*p) >= 0; ++p) {
            if (digits >= 15) {
                if (hexdigit(*p) != 0) return false; // more precision than a double holds
                continue;
            }
            mant = mant * 16 + hexdigit(*p);
            if (mant) ++digits;
            shift += 4;
            any = true;
        }
    }
    if (!any || (*p != 'x' && *p != 'X')) return false;
    ++p;
    bool eneg = false;
    if (*p == '+' || *p == '-') {
        eneg = *p == '-';
        ++p;
    }
    int e = 0;
    bool edig = false;
    for (; hexdigit(*p) >= 0; ++p) {
        e = e * 16 + hexdigit(*p);
        if (e > 0x1000) return false;
        edig = true;
    }
    if (!edig || *p) return false;
    if (eneg) e = -e;
    // mant holds at most 60 bits; the value is mant * 2^(e - shift), exact for 53 significant bits.
    double v = std::ldexp((double)mant, e - shift);
    *out = neg ? -v : v;
    return true;
}

bool compute_limits() {
    struct Row {
        const char *text;
        double *d;
        float *f;
    };
    double fdot = 0, maxf = 0, minf = 0, epsf = 0;
    const Row rows[] = {
        {"1.0x+7f", &fdot, nullptr},
        {"1.0x+3ff", &lim.dot, nullptr},
        {"1.01ax+3ff", &lim.dot_z, nullptr},
        {"1.0x+14d", &lim.legacy_missing, nullptr},
        {"1.fffffffffffffX+3fe", &lim.maxdouble, nullptr},
        {"-1.fffffffffffffX+3fe", &lim.neg_maxdouble, nullptr},
        {"-1.fffffffffffffX+3ff", &lim.mindouble, nullptr},
        {"1.0000000000000X-3fe", &lim.tiny_normal, nullptr},
        {"1.0X-34", &lim.epsdouble, nullptr},
        {"1.0000000000001X-3ff", &lim.smallestdouble, nullptr},
        {"1.fffffeX+7e", &maxf, nullptr},
        {"-1.fffffeX+7e", &minf, nullptr},
        {"1.0X-17", &epsf, nullptr},
    };
    for (const Row &r : rows)
        if (!hexfloat(r.text, r.d)) return false;
    lim.fdot = (float)fdot;
    lim.fdot_d = fdot;
    lim.maxfloat = (float)maxf;
    lim.minfloat = (float)minf;
    lim.epsfloat = (float)epsf;
    lim.twopi = 2 * M_PI;
    return true;
}

} // namespace session
