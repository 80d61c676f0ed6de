// list: the values of variables over observations, in a boxed table that fits the line, or one box
// per observation when the table is too wide.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace data {

// list [varlist] [if exp] [in range] [, noobs clean nolabel separator(#) abbreviate(#)]
int cmd_list(int);

struct ListOpts {
    bool noobs = false;   // no observation numbers
    bool clean = false;   // no box and no rules
    bool nolabel = false; // numbers, not the value labels of their variables
    int separator = 5;    // a rule after every so many rows; 0 for none
    int abbreviate = 8;   // names are cut to no fewer characters than this (5 to 32)
    int linesize = 79;    // the table must fit this; else one box per observation
};

// The listing as lines of markup (no newlines): headers and box in text colour, values in result
// colour, braces in values escaped.
std::vector<std::string> list_lines(const std::vector<int> &vars, const std::vector<int32_t> &obs,
                                    const ListOpts &opts);

// name cut to n characters with `~` before its last character, when it is longer than n.
std::string abbreviate_name(const std::string &name, int n);

} // namespace data
