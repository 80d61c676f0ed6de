// Settings: `set`, `query`, `c()` and `creturn list`, all driven by one table of settings.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "session/state.h"

namespace session {

int cmd_set(int);
int cmd_query(int);
int cmd_creturn(int);

// c(name) as text: numbers by %18.0g, strings as they are. False for a name not in the list.
bool creturn_text(std::string_view name, std::string &text);
// c(name) typed: true with *is_string telling which of num and str holds the value.
bool creturn_value(std::string_view name, double *num, std::string *str, bool *is_string);

// c(name) for the expression evaluator: 0 unknown, 1 a number in *v, 2 text in buf.
int creturn_for_expressions(const char *name, double *v, char *buf);

// Start-up: the settings stored in the preference store (group set_c), and the level (cilevel).
void load_stored_settings();
void load_stored_level();

} // namespace session
