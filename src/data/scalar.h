// Named scalars: numbers and strings kept under a name in the named store, and the `scalar` command.
#pragma once
#include <string_view>

namespace data {

// The value of scalar name: 0 when there is none, 1 a number in *v, 2 a string in buf (at least
// EXPR_STRBUF bytes; longer strings are cut to 245 bytes).
int scalar_get(const char *name, double *v, char *buf);
// Defines or replaces scalar name. 0, or 950 with the message written when the store has no room.
int scalar_set(const char *name, double v);
int scalar_set_str(const char *name, std::string_view s);
// Drops scalar name; false when there is none.
bool scalar_drop(const char *name);

// scalar [define] name = exp | scalar {dir|list} [names|_all] | scalar drop {names|_all}
int cmd_scalar(int);

} // namespace data
