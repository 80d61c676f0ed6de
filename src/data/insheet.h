// insheet and outsheet: delimited text to and from the dataset. The reader parses a whole file in
// parallel (records split at line ends outside quotes, types decided per block and merged) and only
// then replaces the dataset; the writer formats blocks of observations in parallel into a new file
// that is renamed into place when it is whole.
#pragma once
#include <cmath>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace data {

// insheet using filename [, comma tab delimiter("c") names nonames clear double case]
int cmd_insheet(int);
// outsheet [varlist] using filename [if] [in] [, comma tab delimiter("c") nonames nolabel noquote
// replace]
int cmd_outsheet(int);

// ---- The parse of a text held in memory -------------------------------------------------------

// What a column's values need, as seen so far.
struct CsvColumn {
    enum Kind : uint8_t { EMPTY, INTEGER, REAL, STRING } kind = EMPTY;
    bool float_ok = true;                 // every real value is a float's shortest text
    double lo = HUGE_VAL, hi = -HUGE_VAL; // the range of the numbers
    int64_t maxlen = 0;                   // bytes of the longest value, as text
};
// Widens a by what b saw: the rule of one column over two blocks of records.
void csv_merge(CsvColumn &a, const CsvColumn &b);

// How a field's text reads as a number: 0 a number in *x, 1 a missing value in *x (empty, `.`,
// `.a` to `.z`), -1 not a number. Blanks around the text are ignored. real is set when the number
// is not a whole one, float_ok (when not null) when the text says no more than the float nearest
// to it.
int csv_number(std::string_view text, double *x, bool *real, bool *float_ok);

// The fields of one record, from p to e (line end not included): each field's text, the quotes of
// a quoted field removed and doubled quotes made single. A quoted field may hold separators and
// line ends. scratch holds unquoted texts.
void csv_fields(const char *p, const char *e, char delim, std::vector<std::string_view> &out,
                std::deque<std::string> &scratch);

struct CsvParse {
    // In.
    const char *text = nullptr;
    int64_t size = 0;
    char delim = ',';
    int header = -1;       // 1 the first record names the columns, 0 it does not, -1 decide
    bool asdouble = false; // reals are double, never float
    // Out of csv_split.
    std::vector<int64_t> starts; // records that are not blank: their first byte
    std::vector<int64_t> ends;   // their end, before "\r\n" or "\n"
    bool open_quote = false;     // the file ends inside quotes; starts.back() is where that record began
    // Out of csv_scan.
    std::vector<uint32_t> nfields;         // per record
    std::vector<CsvColumn> cols;           // merged over the data records
    std::vector<std::string> names;        // the header's texts (empty when there is none)
    std::vector<std::vector<double>> vals; // per block: the numbers of its records, field by field
    std::vector<int64_t> block_first;      // per block: its first record
    int expected = 0;                      // fields of the first record
    bool has_header = false;
};

// Finds the records of the text, in parallel: a line end ends a record when an even number of quote
// characters stands before it. 0, or 1 at a Break.
int csv_split(CsvParse &cp);
// Reads every record, in parallel: field counts, the numbers, each column's needs; decides the
// header. 0, or 1 at a Break.
int csv_scan(CsvParse &cp);

// The storage type of a column under the parse's options; truncated is set when strings are cut.
int csv_type(const CsvColumn &c, bool asdouble, bool *truncated);

// Fills every cell of observations 1..nrec of the variables first..first+ncol-1 (already made with
// the types of csv_type) from the parse, in parallel: a short record ends in missing values. *cut
// gets per column the values cut to the string's width. 0, or 1 at a Break.
int csv_fill(const CsvParse &cp, int first, std::vector<int64_t> &cut);

} // namespace data
