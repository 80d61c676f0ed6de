// Return codes: error(code) writes the message of a code, and the named-failure helpers write theirs.
#pragma once
#include <string_view>

namespace session {

// Writes the message of code in error class (the caller's class survives) and returns the code,
// or the public code of an alias (5101 -> 101, 6101 -> 101, 7196 -> 180, 7197 -> 198, 7198 -> 198).
int error(int code);

// The `error` command's view of a code: a few codes are shown with another code's text.
int error_cmd_show(int code);

// Writes text (a whole message, ending in a newline) in error class and returns rc: for the
// messages that belong to one command alone.
int fail(int rc, std::string_view text);
// The same for a message written in Rimu markup.
int fail_rimu(int rc, std::string_view markup);
int not_allowed(std::string_view what);     // 101
int required(std::string_view what);        // 100
int invalid_text(std::string_view text);    // 198
int invalid_rest(std::string_view text);    // 198: "'<text>' invalid", text left over
int invalid_name(std::string_view word);    // 198
int invalid_varname(std::string_view word); // 198
// The name rule of variables, macros, programs and scalars (name_ok): 0, or 198 with invalid_name
// unless quiet.
int check_name(std::string_view name, bool quiet = false);
int option_not_allowed(std::string_view name); // 198: "option <name> not allowed"
// "<what> is not available in this build": a feature whose subsystem is not built yet.
int not_built(std::string_view what);                                        // 199
int already_defined(std::string_view word);                                  // 110
int ambiguous(std::string_view word);                                        // 111
int not_found(std::string_view word);                                        // 111
int not_labeled(std::string_view word);                                      // 182
int matrix_not_found(std::string_view name);                                 // 111
int label_not_found(std::string_view name);                                  // 111
int regressor_not_found(std::string_view name);                              // 111
int variable_not_found(std::string_view name);                               // 111
int equation_not_found(std::string_view name);                               // 111
int equation_missing(std::string_view name);                                 // 303
int macro_not_found(std::string_view name);                                  // 111
int unmatched_quote();                                                       // 198
int quotes_unbalanced();                                                     // 198
int brace_not_found();                                                       // 198
int code_after_brace(char c);                                                // 198
int no_observations();                                                       // 0, text class
int op_too_long(std::string_view name);                                      // 1000
int op_invalid_diff(std::string_view name);                                  // 198
int found_where_expected(std::string_view found, std::string_view expected); // 198
int file_error(int code, std::string_view name);                             // the code (697, 698 are notes)
int numlist_error(int code, bool single);                                    // the code
int out_of_memory_for(std::string_view name, int storetype);                 // 0; the caller returns 950

// Session flag: empty groups are normal (2000 becomes a note); set while a by-group runs.
extern bool empty_groups_normal;

} // namespace session
