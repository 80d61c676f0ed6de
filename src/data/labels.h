// The text of a dataset beside its data label: variable labels, value-label tables and
// characteristics, held in the named store. The commands that edit them stand above.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace data {

inline constexpr int LABELTEXT_MAX = 32000;      // a value label's text
inline constexpr int VARLABEL_MAX = 80;          // a variable label
inline constexpr int CHARNAME_LEN = 33;          // the slot of a characteristic's name, with its NUL
inline constexpr int CHARTEXT_MAX = 67784;       // a characteristic's text
inline constexpr const char *DTA_OWNER = "_dta"; // the owner of the dataset's own characteristics

// ---- Variable labels ----------------------------------------------------------------------------

// The label of the variable named name, or null for none.
const char *varlabel_get(const char *name);
// Sets it; an empty text removes it. The text is cut at VARLABEL_MAX bytes. 0, or 950.
int varlabel_set(const char *name, std::string_view text);

// ---- Value-label tables -------------------------------------------------------------------------
//
// A table is kept as its body in the file's layout, in the machine's byte order: the number of
// entries n, the length of the text part, n offsets into the text, n values ascending, the text of
// NUL-terminated labels. Looking a value up is a binary search over the values.

struct ValueLabel {
    int32_t key; // the value as the table holds it (vl_key)
    std::string text;
};

// The key of a value: an integer of the `long` range, or `.a` to `.z` as the long codes of those
// missing values. False for `.`, a non-integer, or a number outside the range.
bool vl_key(double x, int32_t *key);
// The value of a key, as a double (`.a` to `.z` for the missing codes).
double vl_value(int32_t key);

// The text of x in the table name; null when there is no table, x has no key, or no label.
const char *vl_text(const char *name, double x);
// The value labelled text in the table name: 0 and *x, or 111 when there is no such label (quiet).
int vl_value_of(const char *name, std::string_view text, double *x);
bool vl_exists(const char *name);
// The entries of a table in the order of their keys; 111 (quiet) when there is no table.
int vl_entries(const char *name, std::vector<ValueLabel> &out);
// Stores a table from entries (sorted here; a repeated key keeps the last text); replaces a table of
// that name. Texts are cut at LABELTEXT_MAX. 0, or 950.
int vl_store(const char *name, std::vector<ValueLabel> entries);
// A body as read from a file (already in the machine's byte order): checked before it is stored, so
// that offsets past the text, values out of order or a count that does not fit are 688 (quiet).
int vl_store_body(const char *name, const char *body, int32_t bytes);
// The body of a table, as a file holds it; null when there is none.
const char *vl_body(const char *name, int32_t *bytes);
void vl_drop(const char *name);
// The names of the tables, sorted.
std::vector<std::string> vl_names();
// The widest label of a table (its display width, for formats widened by `label define`).
int vl_widest(const char *name);

// ---- Characteristics ----------------------------------------------------------------------------
//
// An owner is a variable's name or DTA_OWNER. The characteristics of one owner keep the order in
// which they were made.

const char *char_get(const char *owner, const char *name);
// Sets a characteristic; an empty text removes it; a text is cut at CHARTEXT_MAX. A name longer than
// CHARNAME_LEN - 1 is 198 (quiet). 0, or 950.
int char_set(const char *owner, const char *name, std::string_view text);
// The names and texts of an owner, in order of creation.
std::vector<std::pair<std::string, std::string>> char_list(const char *owner);
// The owners that have characteristics, DTA_OWNER first, then the variables in dataset order, then
// owners that are no variable.
std::vector<std::string> char_owners();
void char_drop_owner(const char *owner);
// Gives every characteristic of oldowner to newowner (which must have none of the same names).
void char_rekey(const char *oldowner, const char *newowner);

// ---- The dataset's hooks ------------------------------------------------------------------------

// Connects the stores to the dataset: a renamed variable takes its label and characteristics along,
// a dropped one loses them, a cleared dataset loses all of them and its tables. Called at start-up.
void labels_init();

} // namespace data
