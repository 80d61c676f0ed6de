// The `display` command, and its text form for the extended macro function `display`.
#pragma once
#include <string>

namespace out {

// How display writes text: 0 literally, 1 as markup with the class colour set first, 2 as markup.
extern int displayMode;

// display [directive ...]
int cmd_display(int);
// The directives in args written into text instead of the screen: no newline is added, and the
// words that only make sense on a screen (as, in, _newline, _continue, _quote, _page, _request) are
// read as expressions. Columns move with blanks. Returns 0 or the code, with the message written.
int display_to_text(const char *args, std::string &text);

} // namespace out
