// The readers of command lines: do-files and the user.
#pragma once

#include "session/state.h"

namespace session {

// The prompt of a line read from the terminal or standard input: ". ", or a line number while a
// program definition is being read.
extern const char *line_prompt;

// A do-file being read, with the comment state that spans its lines; null when it cannot be opened.
FileSource *file_open(const char *path);
void file_close(FileSource *f);
// What is echoed before each physical line read (". " for do), or none to echo nothing.
void set_prompt(FileSource *f, const char *prompt);
const char *file_prompt(const FileSource *f);

// Reads one command of a file into buf (cap bytes), doing comments, `///` joins and the delimiter.
// 0 with a command; 1 at end of file; 2 when the command was too long ("input too long" is written and
// the command discarded).
int file_read(FileSource *f, char *buf, int cap);
// Reads a line from the user into buf, trailing blanks cut: the terminal after the prompt, or standard
// input, read like a file and echoed with the prompt, when it is no terminal. 0 with a line, 1 at end
// of input, 2 a line too long (discarded).
int user_read(const char *prompt, char *buf, int cap);

} // namespace session
