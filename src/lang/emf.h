// Extended macro functions: `local m : function args` and `:function args' in a reference.
#pragma once
#include <string>
#include <string_view>

namespace lang {

// Runs the function whose text (after the colon) is text; value gets the result. Returns 0 or the
// code, with the message written.
int emf_run(std::string_view text, std::string &value);
// The form inside a reference: a failure gives nothing and is not reported, except a function whose
// subject is not built yet, which says so and fails the line.
int emf_in_reference(std::string_view text, std::string &value);

} // namespace lang
