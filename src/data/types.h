// Storage types of the dataset: type codes, the 27 missing values, and the cell encodings.
#pragma once
#include <cstdint>
#include <cstring>

#include "session/hexfloat.h"

namespace data {

// Type codes. 1 to 244 are strings of that many bytes; 246 to 250 are the types of old data files,
// alive only between reading such a file and converting it.
enum : uint8_t {
    T_STRMAX = 244,
    T_LBYTE = 246,
    T_LINT = 247,
    T_LLONG = 248,
    T_LFLOAT = 249,
    T_LDOUBLE = 250,
    T_BYTE = 251,
    T_INT = 252,
    T_LONG = 253,
    T_FLOAT = 254,
    T_DOUBLE = 255,
};

inline constexpr int maxstrvarlen = 244;
inline constexpr int NMISSING = 27; // `.` and `.a` to `.z`

// One row per numeric type. For the integer types, lo..hi is the legal range and `miss` the code of
// `.` (new types: the first of the 27 codes; old types: the single missing value). `elim` is the
// binary exponent from which a written value no longer fits.
struct TypeRow {
    uint8_t code;
    const char *name;
    uint8_t width;
    int32_t lo, hi, miss;
    int elim;
    const char *fmt; // default display format
};

#define DATA_NUMERIC_TYPES(X)                                                                                \
    X(T_LBYTE, "byte", 1, -127, 126, 127, 7, "%8.0g")                                                        \
    X(T_LINT, "int", 2, -32767, 32766, 32767, 15, "%8.0g")                                                   \
    X(T_LLONG, "long", 4, -2147483647, 2147483646, 2147483647, 31, "%12.0g")                                 \
    X(T_LFLOAT, "float", 4, 0, 0, 0, 0, "%9.0g")                                                             \
    X(T_LDOUBLE, "double", 8, 0, 0, 0, 0, "%10.0g")                                                          \
    X(T_BYTE, "byte", 1, -127, 100, 101, 7, "%8.0g")                                                         \
    X(T_INT, "int", 2, -32767, 32740, 32741, 15, "%8.0g")                                                    \
    X(T_LONG, "long", 4, -2147483647, 2147483620, 2147483621, 31, "%12.0g")                                  \
    X(T_FLOAT, "float", 4, 0, 0, 0, 0, "%9.0g")                                                              \
    X(T_DOUBLE, "double", 8, 0, 0, 0, 0, "%10.0g")

#define DATA_TYPE_ROW(code, name, width, lo, hi, miss, elim, fmt)                                            \
    {code, name, width, lo, hi, miss, elim, fmt},
inline constexpr TypeRow numeric_types[10] = {DATA_NUMERIC_TYPES(DATA_TYPE_ROW)};
#undef DATA_TYPE_ROW

// The row of a numeric type code (246 to 255).
inline constexpr const TypeRow &type_row(int code) { return numeric_types[code - T_LBYTE]; }

inline bool is_string_type(int t) { return t >= 1 && t <= T_STRMAX; }
inline bool is_numeric_type(int t) { return t >= T_LBYTE && t <= T_DOUBLE; }
inline bool is_legacy_type(int t) { return t >= T_LBYTE && t <= T_LDOUBLE; }
inline bool is_valid_type(int t) { return is_string_type(t) || is_numeric_type(t); }

// Bytes of a cell of type t: below 246 the code itself.
inline int type_width(int t) { return t < T_LBYTE ? t : numeric_types[t - T_LBYTE].width; }

// "byte", "str12", ... into buf (at least 8 bytes); returns buf.
const char *type_name(int t, char *buf);
// The type code of a type word ("byte" ... "double", "str1" ... "str244"), or 0 when it names none.
int type_from_name(const char *word);
// The default display format of a new variable of type t into buf (at least 16 bytes).
void default_format(int t, char *buf);

// ---- Missing values -------------------------------------------------------------------------

inline uint64_t dbits(double d) {
    uint64_t u;
    std::memcpy(&u, &d, 8);
    return u;
}
inline double dfrom(uint64_t u) {
    double d;
    std::memcpy(&d, &u, 8);
    return d;
}
inline uint32_t fbits(float f) {
    uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}
inline float ffrom(uint32_t u) {
    float f;
    std::memcpy(&f, &u, 4);
    return f;
}

// Unbiased binary exponent; 1023 for every missing value, infinity and NaN.
inline int dexponent(double v) { return (int)((dbits(v) >> 52) & 0x7FF) - 1023; }

// The double of missing value k: 0 is `.`, 1 is `.a`, ..., 26 is `.z`. The letter sits in bits 40-47.
inline double missing_value(int k) {
    return dfrom((dbits(session::lim.dot) & ~(0xFFull << 40)) | ((uint64_t)(k & 0xFF) << 40));
}
inline bool is_missing(double v) { return !(v < session::lim.dot); }
// The letter index of a missing value (0 for `.`), or -1 for a number.
inline int missing_index(double v) {
    if (v < session::lim.dot) return -1;
    return (int)((dbits(v) >> 40) & 0xFF);
}
// The float of missing value k.
inline float missing_float(int k) { return ffrom(fbits(session::lim.fdot) + 0x800u * (uint32_t)k); }

// ---- Reading a cell -------------------------------------------------------------------------

namespace detail {

inline double int_read(int32_t x, int32_t first) {
    if (x < first) return (double)x;
    return dfrom((dbits(session::lim.dot) & ~(0xFFull << 40)) | ((uint64_t)(x - first) << 40));
}

// Float cells at or above the float `.` carry their letter through to the double encoding.
inline double float_read(float f) {
    double d = (double)f;
    if (f < session::lim.fdot) return d;
    uint64_t u = dbits(d);
    uint64_t top = ((u >> 48) & 0xF) | 0x7FE0;
    return dfrom((u & 0x0000FFFFFFFFFFFFull) | (top << 48));
}

// Truncates toward zero; beyond the type's exponent limit, or above its range, the value becomes `.`.
inline int32_t int_write(double v, int t) {
    const int elim = type_row(t).elim;
    const int32_t first = type_row(t).miss;
    int e = dexponent(v);
    if (e == 1023) {
        int k = (int)((dbits(v) >> 40) & 0xFF);
        return k < NMISSING ? first + k : first;
    }
    if (e < elim) {
        int32_t t = (int32_t)v; // truncates toward zero; |v| < 2^31 here
        return t < first ? t : first;
    }
    return first;
}

inline float float_write(double v) {
    int e = dexponent(v);
    if (e < -127) return 0.0f;
    if (e < 127) return (float)v;
    if (e == 1023) {
        uint64_t u = dbits(v);
        uint64_t top = ((u >> 48) & 0xF) | 0x47E0;
        return (float)dfrom((u & 0x0000FFFFFFFFFFFFull) | (top << 48));
    }
    return session::lim.fdot;
}

// Old integer types: beyond the exponent limit the one missing value.
inline int32_t legacy_int_write(double v, int t) {
    if (dexponent(v) < type_row(t).elim) return (int32_t)v;
    return type_row(t).miss;
}

inline float legacy_float_write(double v) {
    int e = dexponent(v);
    if (e < -120) return 0.0f;
    if (e >= 125) return session::lim.fdot; // 2^127, the old float missing value
    return (float)v;
}

} // namespace detail

// The value of a cell of type t as a double; a string cell reads as `.`.
inline double cell_get(const char *p, int t) {
    switch (t) {
    case T_DOUBLE: {
        double d;
        std::memcpy(&d, p, 8);
        return d;
    }
    case T_FLOAT: {
        float f;
        std::memcpy(&f, p, 4);
        return detail::float_read(f);
    }
    case T_LONG: {
        int32_t x;
        std::memcpy(&x, p, 4);
        return detail::int_read(x, type_row(T_LONG).miss);
    }
    case T_INT: {
        int16_t x;
        std::memcpy(&x, p, 2);
        return detail::int_read(x, type_row(T_INT).miss);
    }
    case T_BYTE:
        return detail::int_read((int8_t)*p, type_row(T_BYTE).miss);
    case T_LBYTE:
        return (int8_t)*p == type_row(T_LBYTE).miss ? session::lim.dot : (double)(int8_t)*p;
    case T_LINT: {
        int16_t x;
        std::memcpy(&x, p, 2);
        return x == type_row(T_LINT).miss ? session::lim.dot : (double)x;
    }
    case T_LLONG: {
        int32_t x;
        std::memcpy(&x, p, 4);
        return x == type_row(T_LLONG).miss ? session::lim.dot : (double)x;
    }
    case T_LFLOAT: {
        float f;
        std::memcpy(&f, p, 4);
        return f < session::lim.fdot ? (double)f : session::lim.dot;
    }
    case T_LDOUBLE: {
        double d;
        std::memcpy(&d, p, 8);
        return d < session::lim.dot ? d : session::lim.dot;
    }
    default:
        return session::lim.dot;
    }
}

// Writes v to a numeric cell of type t with the conversion of that type; a string cell is left alone.
inline void cell_put(char *p, int t, double v) {
    switch (t) {
    case T_DOUBLE:
        std::memcpy(p, &v, 8);
        return;
    case T_FLOAT: {
        float f = detail::float_write(v);
        std::memcpy(p, &f, 4);
        return;
    }
    case T_LONG: {
        int32_t x = detail::int_write(v, T_LONG);
        std::memcpy(p, &x, 4);
        return;
    }
    case T_INT: {
        int16_t x = (int16_t)detail::int_write(v, T_INT);
        std::memcpy(p, &x, 2);
        return;
    }
    case T_BYTE:
        *p = (char)(int8_t)detail::int_write(v, T_BYTE);
        return;
    case T_LBYTE:
        *p = (char)(int8_t)detail::legacy_int_write(v, T_LBYTE);
        return;
    case T_LINT: {
        int16_t x = (int16_t)detail::legacy_int_write(v, T_LINT);
        std::memcpy(p, &x, 2);
        return;
    }
    case T_LLONG: {
        int32_t x = detail::legacy_int_write(v, T_LLONG);
        std::memcpy(p, &x, 4);
        return;
    }
    case T_LFLOAT: {
        float f = detail::legacy_float_write(v);
        std::memcpy(p, &f, 4);
        return;
    }
    case T_LDOUBLE:
        std::memcpy(p, &v, 8);
        return;
    default:
        return;
    }
}

// A string cell into buf (at least 245 bytes), NUL-terminated; a numeric cell gives "".
inline void cell_get_str(const char *p, int t, char *buf) {
    if (!is_string_type(t)) {
        buf[0] = 0;
        return;
    }
    std::memcpy(buf, p, t);
    buf[t] = 0;
}

// Writes s to a string cell: at most the width, NUL-terminated when shorter; a numeric cell is left alone.
inline void cell_put_str(char *p, int t, const char *s) {
    if (!is_string_type(t)) return;
    size_t n = strnlen(s, t);
    std::memcpy(p, s, n);
    if ((int)n < t) p[n] = 0;
}

} // namespace data
