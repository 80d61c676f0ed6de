// The one call point from the command language into the expression evaluator.
#pragma once
#include <string>
#include <string_view>

namespace lang {

// True: the expression evaluator is part of the build.
bool expressions_available();
// Evaluates exp: text gets a number by %18.0g (blanks removed) or the string. Returns 0 or a code;
// quiet writes no message.
int eval_to_text(std::string_view exp, std::string &text, bool quiet);
// The same, with an integer result (exit #, the numbers of old syntax).
int eval_to_int(std::string_view exp, long long &v, bool quiet);
// Writes "<what> is not available in this build" and returns 199: for features whose subsystem is
// not built yet.
int not_built(std::string_view what);

} // namespace lang
