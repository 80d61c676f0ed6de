// The readers behind infile and infix: the dictionary, the infix column list, and the text of the
// data read into columns. They know nothing of the dataset, so they can be tested and fuzzed alone.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace data {

// One field of an observation.
struct InField {
    std::string name;   // empty for a `_skip` of a free list
    int type = 0;       // storage type; 0 the default numeric type (float)
    int line = 1;       // line of the observation it is read from (fixed layouts), from 1
    int col = 0;        // column where it starts, from 1; 0: where the last field ended
    int width = 0;      // bytes of a fixed field; 0: a free field, read up to a blank
    int decimals = -1;  // %#.#f: digits implied behind the point when the text has none
    int skip = 0;       // free list: values passed over
    int pre = 0;        // columns passed over first, behind a free field (where col is 0)
    std::string label;  // the variable label a dictionary gives
    std::string vallab; // ... and the value label it links to
};

// How the data text is cut into observations.
struct InLayout {
    std::vector<InField> fields;
    bool fixed = false;     // line by line (dictionary, infix); free lists run across lines
    int lines = 1;          // lines per observation
    int64_t first_line = 1; // line of the data where reading begins
    bool has_using = false; // the dictionary names its data file
    std::string datafile;   // ... that file
    size_t data_at = 0;     // where data following the dictionary begin in its text
};

// `[infile|infix] dictionary [using filename] { ... }`. infix: the body holds infix column specs;
// otherwise `[_column(#)] [_skip(#)] [_line(#)] [_newline[(#)]] [_lines(#)] [_firstlineoffile(#)]
// [type] name [:lblname] [%infmt] ["label"]`. 0, or the code with the message written: 613 no
// dictionary in the text, 614 a line of it that cannot be read (the line named).
int parse_dictionary(std::string_view text, bool infix, InLayout &lay);

// The infix column list: `[# lines] [#:] [type] name col[-col] ...`. 0, or 198 with the message
// written.
int parse_infix_list(std::string_view text, InLayout &lay);

// A column of values read: numbers for numeric fields, texts for string fields.
struct InColumn {
    std::vector<double> num;
    std::vector<std::string> str;
};
struct InResult {
    std::vector<InColumn> cols; // one per named field, in order
    int64_t nobs = 0;
    int64_t bad_numbers = 0;        // texts in numeric fields that are not numbers: made `.`
    std::vector<std::string> notes; // the first few of them, "'abc' cannot be read as a number for x[3]"
    int64_t truncated = 0;          // strings cut to their type's length
};

// The default numeric type of a field without one.
int in_type(const InField &f);

// Reads the data text into columns. 0, or the code with the message written: 198 a value out of the
// range of its type (the line named), 1 at a Break.
int read_records(std::string_view data, const InLayout &lay, InResult &res);

} // namespace data
