// Names and default formats of the storage types.
#include "data/types.h"

#include <cstdio>
#include <cstring>

namespace data {

const char *type_name(int t, char *buf) {
    if (is_string_type(t))
        std::snprintf(buf, 8, "str%d", t);
    else if (is_numeric_type(t))
        std::snprintf(buf, 8, "%s", type_row(t).name);
    else
        buf[0] = 0;
    return buf;
}

// typename := byte | int | long | float | double | str#   (# from 1 to 244, no leading zero)
int type_from_name(const char *word) {
    for (int t = T_BYTE; t <= T_DOUBLE; ++t)
        if (std::strcmp(word, type_row(t).name) == 0) return t;
    if (std::strncmp(word, "str", 3) != 0) return 0;
    const char *p = word + 3;
    if (*p < '1' || *p > '9') return 0;
    int n = 0;
    for (; *p; ++p) {
        if (*p < '0' || *p > '9') return 0;
        n = n * 10 + (*p - '0');
        if (n > maxstrvarlen) return 0;
    }
    return n;
}

void default_format(int t, char *buf) {
    if (is_string_type(t))
        std::snprintf(buf, 16, "%%%ds", t < 9 ? 9 : t);
    else if (is_numeric_type(t))
        std::snprintf(buf, 16, "%s", type_row(t).fmt);
    else
        buf[0] = 0;
}

} // namespace data
