// The terminal line reader with its key table, and the review ring.
#pragma once
#include <string>

namespace session {

// Reads a line into buf: 0 with a line, -1 at end of input, -2 when a Break came while typing.
int read_terminal_line(char *buf, int cap);
void review_add(const char *line);
void review_show(int n, int m);
int review_get(int k, std::string &out);

}  // namespace session
