// The data file: a reader of every known format (102 to 108, 110 to 114, either byte order) and a
// writer of formats 114 and 113. The reader is also the one behind restore, merge and append: a file
// can be opened for its header and descriptors alone, its rows read a block at a time, its value
// labels read last; the dataset can be saved to any file quietly.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "data/dataset.h"

namespace data {

struct ExprRecord;

inline constexpr int DTA_FORMAT = 114;    // what save writes
inline constexpr int DTA_OLDFORMAT = 113; // what save writes with oldformat
inline constexpr int DTA_STAMPLEN = 18;   // the time stamp's slot, with its NUL

// A variable as the file describes it.
struct DtaVar {
    char name[VNAMELEN + 1] = {}; // after the renaming of names that break the name rule
    uint8_t type = 0;             // storage type; the legacy codes 246-250 in formats 111 and below
    int32_t offset = 0;           // of its cell in a row of the file
    char fmt[FMTLEN + 1] = {};    // the memory form; an invalid format is the type's default
    char vallab[VNAMELEN + 1] = {};
    std::string label;
};

// A characteristic of the expansion fields; owner is a variable's name or DTA_OWNER.
struct DtaChar {
    std::string owner, name, text;
};

// A name of the file that broke the name rule, and what it became.
struct DtaRename {
    std::string from, to;
};

// An open data file: what dta_open read of it, and where the reading of its rows stands.
struct DtaFile {
    std::string path; // as messages show it
    int fd = -1;
    int format = 0;
    bool swap = false; // its byte order is not the machine's
    int32_t nvar = 0;
    int32_t nobs = 0;     // observations the header declares
    int32_t nrows = 0;    // of them, the whole rows the file holds
    int32_t width = 0;    // bytes of a row
    int64_t size = 0;     // bytes of the file
    int64_t data_at = 0;  // where the rows begin
    int32_t next_row = 0; // rows read or skipped so far
    char label[LABELLEN + 1] = {};
    char stamp[DTA_STAMPLEN] = {};
    std::vector<DtaVar> vars;
    std::vector<int> sortlist; // variable numbers counted from 1
    std::vector<DtaChar> chars;
    std::vector<DtaRename> renamed;
    // A double cell held the oldest `.` (2^333, formats before 108): per variable, set by the rows.
    std::vector<uint8_t> olddot;

    DtaFile() = default;
    DtaFile(const DtaFile &) = delete;
    DtaFile &operator=(const DtaFile &) = delete;
    ~DtaFile();
};

// Opens a data file and reads its header, descriptors and expansion fields; the reading of rows
// starts at the first row. 0, or the code with the message written: 601 not found, 603 not a file
// or not readable, 610 not a data file or cut short in its header (and format 115 and 116: a later
// format), 609 a file type other than 1, 900 more variables than maxvar, 688 descriptors that
// contradict themselves or the file's size, 692 a read error. No allocation is larger than the file.
int dta_open(const std::string &path, DtaFile &f);
void dta_close(DtaFile &f);

// Reads the next rows, up to max, into dest: f.width bytes each, in the file's layout, numbers in
// the machine's byte order, and the oldest `.` of doubles made the legacy `.` (cell_get reads the
// legacy types). *got is 0 at the end; a file that ends early ends the rows there. 0, 692 (written),
// or 1 at a Break.
int dta_read_rows(DtaFile &f, char *dest, int32_t max, int32_t *got);
// Moves past n rows without reading them.
void dta_skip_rows(DtaFile &f, int32_t n);

// What happened to one value-label table of a file, for the notes of the command.
struct DtaLabelNote {
    enum Kind : uint8_t {
        TOO_LONG, // a label longer than LABELTEXT_MAX: the table is dropped
        EXISTS,   // a table of that name exists: it is kept
        FAILED,   // the table is damaged: code holds the failure
    } kind;
    std::string name;
    int code = 0;
};
// Reads the value-label tables behind the rows into the store, those for which wanted(name) is true
// (all when wanted is null). Damaged tables do not stop the others, unless the damage leaves no way
// to find the next table.
void dta_read_labels(DtaFile &f, const std::function<bool(const char *)> &wanted,
                     std::vector<DtaLabelNote> &notes);
// Writes the notes of the tables: "(label x already defined)", the failure with "above message
// refers to value label x; value label not loaded", and the note of too long labels.
void dta_label_notes(const DtaFile &f, const std::vector<DtaLabelNote> &notes);

// The modern type that holds every value of a legacy type (the type itself for others): what a
// reader of rows who cannot look at every value first converts to.
int dta_modern_type(int t);

// ---- Loading a file into the dataset ------------------------------------------------------------

struct DtaLoad {
    std::vector<uint8_t> keep;           // per variable of the file: loaded (all when empty)
    int32_t first = 1, last = 0;         // the rows of the file, from 1; last 0 is the last row
    ExprRecord *ifexp = nullptr;         // rows kept where true, run with the file's variables in
                                         // the store and _n, _N counting the rows of the file
    bool nolabel = false;                // no value-label tables
    std::vector<DtaLabelNote> notes;     // out: what happened to the tables
    std::vector<std::string> sort_names; // out: a sort list cleared for the oldest `.`, its names
};
// Replaces the dataset by the file (or its part that ld says): variables with their attributes,
// labels and characteristics, rows, the sort list (up to its first variable not loaded), the data
// label; legacy types converted to the modern ones, with their promotions; value-label tables unless
// nolabel. The changed counter is 0; S_FN and S_FNDATE are the caller's. 0, or the code with the
// message written, and then the dataset is empty.
int dta_load(DtaFile &f, DtaLoad &ld);
// Writes the notes of a load: renamed variables, a cleared sort list, the tables.
void dta_load_notes(const DtaFile &f, const DtaLoad &ld);

// While it lives, the dataset's variable table is that of the file, with as many observations as the
// file has rows (no cell is there), so that a variable list, an `if` and an `in` are parsed against
// the file. The table of the dataset comes back at its end.
struct DtaParseScope {
    explicit DtaParseScope(const DtaFile &f);
    ~DtaParseScope();
    DtaParseScope(const DtaParseScope &) = delete;
    DtaParseScope &operator=(const DtaParseScope &) = delete;

    // The dataset's own table while the file's stands in its place.
    int32_t nvar, nobs, nvar_visible, w_cur;
    std::vector<char> names, fmts, vallabs;
    std::vector<uint8_t> types;
    std::vector<int32_t> offsets;
    std::vector<int16_t> sortlist;
};

// ---- Writing ------------------------------------------------------------------------------------

struct DtaSave {
    bool replace = false;   // the file may exist
    bool nolabel = false;   // no value-label tables
    bool orphans = false;   // also the tables no variable uses
    bool oldformat = false; // format 113, formats cut to 12 bytes
    bool all = false;       // the hidden variable `(e)` too
};
// Writes the dataset to path in logical observation order: into a new file beside it that is renamed
// into place when it is whole, so that a failure or a kill leaves an old file as it was. Unless
// all, `(e)` is first moved to the end and left out. stamp (when given) gets the time stamp written.
// 0, or the code with the message written: 602 exists, 603 cannot be made, 608 read-only, 699 a
// write failed (the new file is removed), 694 the rename failed, 1 a Break.
int dta_save(const std::string &path, const DtaSave &opts, std::string *stamp = nullptr);

// A data file written a row at a time (postfile): the header goes out first with its count of rows
// left open, the rows follow as they come, and finishing writes the count and renames the new file
// into place; a file abandoned leaves an old one as it was.
struct DtaStream {
    std::string path;   // as messages show it
    std::string target; // the file renamed into place
    std::string tmp;    // the new file beside it
    int fd = -1;
    int32_t width = 0; // bytes of a row
    int32_t nobs = 0;  // rows written
    int32_t every = 0; // rows kept before they go to the file; 0: as the buffer fills
    std::string buf;   // rows not yet written
    bool failed = false;

    DtaStream() = default;
    DtaStream(const DtaStream &) = delete;
    DtaStream &operator=(const DtaStream &) = delete;
    ~DtaStream();
};
struct DtaStreamVar {
    std::string name;
    int type;
};
// Opens the new file and writes the header and descriptors. 0, or 602 exists, 603 cannot be made,
// 608 read-only, 699 the disk refused the header (message written, nothing left behind).
int dta_stream_open(const std::string &path, bool replace, const std::vector<DtaStreamVar> &vars,
                    DtaStream &s);
// One row of s.width bytes in the file's layout. 0, or 699/693 with the message written; after a
// failure the stream must be abandoned.
int dta_stream_row(DtaStream &s, const char *row);
// The count of rows written into the header, the file renamed into place. 0, or the code with the
// message written; the new file is gone after a failure.
int dta_stream_finish(DtaStream &s);
void dta_stream_abandon(DtaStream &s);

// The 12-byte form of a format for format 113: a longer date format becomes its kind's default.
std::string dta_short_format(const char *fmt);

} // namespace data
