// filefilter: a copy of a file with one byte sequence replaced by another, written whole into place.
#pragma once
#include <string>
#include <string_view>

namespace session {

// filefilter oldfile newfile, from(string) to(string) [replace]
int cmd_filefilter(int);
// The bytes an escaped from() or to() text stands for: \n \r \t \" \\ \BS \Q \LQ \RQ \$ \W \M \U
// and \###d. 0, or 198 with the message written.
int filefilter_unescape(std::string_view text, std::string &out);

} // namespace session
