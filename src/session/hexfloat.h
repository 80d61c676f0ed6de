// The session's own hex-float reader, and the numeric limits computed with it at start.
#pragma once

namespace session {

// Reads "[-]h.hhhx[+-]eee": a hexadecimal mantissa times 2 to a hexadecimal power ('x' or 'X').
// Returns false when the text is not of that form.
bool hexfloat(const char *text, double *out);

struct Limits {
    float fdot;            // system missing `.` as a float
    double fdot_d;         // the same, held as a double
    double dot;            // system missing `.` as a double
    double dot_z;          // the largest missing code `.z`
    double legacy_missing; // missing in data files older than format 108
    double maxdouble;      // largest non-missing double
    double neg_maxdouble;
    double mindouble;   // smallest (most negative) double
    double tiny_normal; // smallest positive normalised double above the guard
    double epsdouble;
    double smallestdouble; // smallest positive double
    float maxfloat;
    float minfloat;
    float epsfloat;
    double twopi;
};
extern Limits lim;

// Computes the limits from their texts; false when the reader or the arithmetic self test fails.
bool compute_limits();

} // namespace session
