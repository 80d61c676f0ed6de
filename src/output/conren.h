// `set conren`.
#pragma once
#include <string_view>

#include "output/term.h"

namespace out {

// The byte words of `set conren`: a one-character word is that character, "<number>" (0-255) that byte,
// a longer word its characters in order. Returns 0, or 198 for a 20th byte or a malformed "<" word.
int conren_parse_bytes(std::string_view words, ConSeq &seq);
// set conren [clear | [font] colour|uloff|ulon|reset|off [bytes]]
int set_conren(int);

} // namespace out
