// The pattern of a `syntax` line read into a table: the leading list element, `=exp`, `if`, `in`,
// weights, `using` and the options, each with whether it is allowed, required, and its limits. The
// table depends on the pattern text alone, so a program's pattern is read once and kept.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lang {

enum SynLead : uint8_t {
    SL_NONE,
    SL_VARLIST,
    SL_VARNAME,
    SL_NEWVARLIST,
    SL_NEWVARNAME,
    SL_ANYTHING,
    SL_NAMELIST,
    SL_NAME,
};

inline constexpr int SYN_NOMAX = 2147483647;

struct SynLeadSpec {
    SynLead kind = SL_NONE;
    bool optional = false;
    std::string word; // the element's keyword, for messages ("varlist", "name", ...)
    std::string mac;  // the local that gets the text ("varlist", "anything", "namelist", name=)
    int mincount = 0; // elements (variables, names) when given
    int maxcount = SYN_NOMAX;
    bool numeric = false;    // variables: numeric ones only
    bool string = false;     // variables: string ones only
    bool all = false;        // default=all: an empty list means every variable
    bool generate = false;   // new variables are made as the list is read
    bool ts = false;         // time-series operators allowed
    bool fv = false;         // factor-variable groups allowed
    bool equalok = false;    // anything: `=` is part of the text
    bool everything = false; // anything: the words if, in, using and `[` are part of the text
    bool local = false;      // names: each must be a local macro name
};

enum SynOptKind : uint8_t {
    SO_FLAG,     // Name
    SO_NEG,      // noName
    SO_STRING,   // Name(string [asis])
    SO_REAL,     // Name(real [#])
    SO_INTEGER,  // Name(integer [#])
    SO_CILEVEL,  // Name(cilevel)
    SO_NUMLIST,  // Name(numlist [ascending descending integer missingokay min=# max=#])
    SO_VARLIST,  // Name(varlist [min=# max=# numeric string ts])
    SO_VARNAME,  // Name(varname [numeric string ts])
    SO_NAMELIST, // Name(namelist [min=# max=# local])
    SO_NAME,     // Name(name [local])
    SO_PASSTHRU, // Name(passthru)
};

inline constexpr int SYN_STRMAX = 200; // bytes of a string option's text

struct SynOpt {
    std::string name; // what the user writes, in full and lower case ("detail", "noconstant")
    int minlen = 0;   // the capital-letter part: the shortest abbreviation
    std::string mac;  // the local that gets the value ("detail", "constant")
    SynOptKind kind = SO_FLAG;
    bool required = false; // written outside the brackets of the options
    bool asis = false;
    bool hasdefault = false;
    double defval = 0;
    // numlist, varlist, namelist
    int mincount = 0, maxcount = SYN_NOMAX;
    bool ascending = false, descending = false, integer = false, missingok = false;
    bool numeric = false, string = false, ts = false, local = false;
};

struct SynPattern {
    SynLeadSpec lead;
    bool exp = false, exp_req = false;
    bool ifq = false, if_req = false, if_strip = false;
    bool in = false, in_req = false;
    bool weight = false;
    uint8_t wmask = 0;    // the weight kinds allowed (data::WeightType bits)
    uint8_t wdefault = 0; // what the word `weight` means: the first kind listed
    bool usingf = false, using_req = false, using_strip = false;
    bool options = false; // a comma may follow
    bool star = false;    // unmatched options are collected in `options`
    std::vector<SynOpt> opts;
};

// Reads a pattern into p. 0, or 197 with "invalid syntax" written for a fault in the pattern.
int synpat_parse(std::string_view text, SynPattern &p);

// Position of the byte that closes the parenthesis or bracket opened at s[open], with quotes and
// both kinds of brackets counted; npos when it does not close.
size_t group_close(std::string_view s, size_t open);

} // namespace lang
