// The terminal line reader with its key table, and the review ring of lines typed at the terminal.
#pragma once
#include <string>
#include <string_view>
#include <vector>

namespace session {

// Reads one line into buf (cap bytes with the terminator). With command line editing the keys of the
// table act on the line as it is typed; otherwise a plain line is read from standard input.
// Returns 0 with a line, -1 at end of input, -2 when a Break came while reading.
// The prompt is the caller's: it is on the screen (through the console sink) before the call.
// With editing the typed line stays on its row: the caller ends the row (console sink code 10).
int read_terminal_line(char *buf, int cap);

// Text of function key n (1 to 10). The default gives the start-up values of global macros F1..F10;
// whoever owns the macros points this at a look-up of the macro. A text ending in ';' acts as Enter.
extern std::string (*fkey_text)(int n);
std::string fkey_default(int n);

// Tab completion: the names that begin with a stem, for the word before the cursor. Null (the start-up
// value) means nothing completes and Tab moves eight characters; the dataset points it at its variables.
extern std::vector<std::string> (*complete_names)(std::string_view stem);

// The review ring: maxmaclen bytes allocated once, lines separated by a marker byte, newest last.
// review_init replaces the ring by an empty one of size bytes (tests use small rings).
void review_init(int size);
void review_add(const char *line);
// Line k back (1 is the newest): 0 with its text, 1 when there is no such line or it was overwritten.
int review_get(int k, std::string &out);
// #review [n [m]]: lines n back to n - min(n, m) + 1, oldest first, each as "%d " and the text;
// n is held to 0..100; empty lines at the old end are left out.
void review_show(int n, int m);

} // namespace session
