// The commands over the text of a dataset: `_label` (the engine of the ado-file `label`) and
// `char`, with the pieces they share.
#pragma once
#include <string>
#include <string_view>

namespace data {

// _label {data|variable|define|values|dir|list|copy|drop|save|language} ...
int cmd_label(int);
// char [define] evarname[charname] ["text"] | char list [evarname[charname]] |
// char rename oldvar newvar [, replace]
int cmd_char(int);

// Widens the display format of each numeric variable linked to the table lblname so that its
// longest label fits (`label define` and `label values` unless nofix, `input, automatic`).
void widen_label_formats(const char *lblname);

// The text argument of a command: the rest of a line, blanks around it cut; a text wholly in plain or
// compound quotes loses one level of them. 0, or 198 with the message written for an unclosed quote
// or text behind the closing one.
int text_argument(std::string_view rest, std::string &text);

// Writes text from column `indent` (counted from 0) of lines linesize wide, broken at blanks, the
// first line behind the head already written and the next ones indented; in result class.
void write_wrapped(std::string_view head, std::string_view text, int indent);

} // namespace data
