// Display formats: the %format grammar, numbers and strings to text, and the text-to-number reader.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace data {

constexpr int FMT_MAXLEN = 48;    // longest %format text
constexpr int FMT_MAXWIDTH = 244; // widest field
constexpr int FMT_MAXITEMS = 80;  // items in the display part of a date format
constexpr int FMT_BUFSIZE = 1024; // an output buffer this large holds any formatted value

// One item of a date display part: a code of the date-code table (dates.h) or a literal byte.
struct DateItem {
    uint8_t code;
    char lit;
};

// A parsed %format. Plain data, no heap: parse once per column, format many values.
struct Fmt {
    int8_t just = 1;    // -1 left, 1 right, 0 centred (strings only)
    bool comma = false; // ',' is the decimal point ("%9,2f"): ',' and '.' swap roles on output
    bool group = false; // 'c': groups of three digits marked in f and g
    bool zero = false;  // width written with a leading 0 ("%09.2f"): pad numbers with zeros
    char kind = 'n';    // 'n' number, 's' string, 't' date
    char style = 'g';   // n: 'e' 'f' 'g' 'x' 'H' 'L';  s: 's';  t: 'd' 'w' 'm' 'q' 'h' 'y' 'c' 'C' 'g'
    int width = 9;      // for dates, the widest text the display part can give
    int digits = 0;     // digits behind the point (f, e) or significant digits (g; 0 = automatic)
    int nitems = 0;     // date display part (the kind's default when none was written)
    DateItem items[FMT_MAXITEMS] = {};
};

// Parses text into f. Returns 0, or 120 for an invalid %format, with "invalid %format" written
// unless quiet; after a failure f must not be used.
int fmt_parse(std::string_view text, Fmt &f, bool quiet = false);

// The format "%9.0g", used where output must go on after an invalid format.
const Fmt &fmt_default();

inline bool fmt_isnum(const Fmt &f) { return f.kind != 's'; }
inline bool fmt_isstr(const Fmt &f) { return f.kind == 's'; }
inline bool fmt_isdate(const Fmt &f) { return f.kind == 't'; }

// Width of the field a format fills.
int fmt_width(const Fmt &f);
// `fmtwidth()` of the expression language: the width of a format text, `.` when it is invalid.
double fmtwidth(std::string_view text);

// Writes v as text under f, justified to its width, NUL-terminated, and returns the length.
// A string format prints the number as "%9.0g". The text is cut only if cap is below FMT_BUFSIZE.
int fmt_number(double v, const Fmt &f, char *out, int cap);

// v under the format text fmt, justified to its width (an invalid text falls back as fmt_parse's
// quiet form does): the cells of the result tables.
std::string fmt_text(double v, const char *fmt);

// A number as macros and messages hold it: %18.0g with the blanks removed.
std::string number_text(double v);

// Writes s under a string format, justified to the width; a number format leaves s as it is.
int fmt_string(std::string_view s, const Fmt &f, char *out, int cap);

// The number reader: decimal text (a 'd' or 'D' exponent letter counts as 'e'), the hexadecimal
// float [sign]1.hhhx[sign]hhh, and with missing on, "." and ".a" to ".z". The whole text must be
// taken. A decimal beyond the largest double reads as `.`.
bool text_to_number(std::string_view text, double &v, bool missing = true);

// While it lives, numbers format with a period whatever `set dp` says: text that programs read
// back (macro values, references) must not change with the reader's decimal point.
struct PeriodDecimal {
    uint8_t saved;
    PeriodDecimal();
    ~PeriodDecimal();
};

} // namespace data
