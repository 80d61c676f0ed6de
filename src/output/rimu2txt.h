// Rimu rendered to plain text lines, as a text log holds them.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "output/rimu.h"

namespace out {

// Renders Rimu text to plain lines: line-drawing characters become "-", "|" and "+".
struct TextTarget {
    int fd = -1;                 // written to when >= 0
    std::string *into = nullptr; // else appended to this
    int width = 79;
    int lmargin = 0;        // blanks in front of each line
    bool cmdnumber = false; // command lines ". cmd" numbered "1. cmd"
    int pagelines = 0;      // a form feed after this many lines, 0 for none
    bool header = false;    // a heading line on each page
    std::string headertext, projecttext, user;
    // Kept while rendering.
    std::string buf;
    std::string carry; // a line not yet ended, between two feeds
    int lines = 0;     // lines of the current page
    int page = 0;
    int commands = 0;
    int64_t total = 0;   // lines written
    bool failed = false; // a write failed
    RimuStream *stream = nullptr;
};
// Starts rendering into t; feed pieces of any size (they go to the engine a line at a time); end
// finishes the last paragraph or line, writes out what is buffered and frees the stream.
void rimu_to_text_begin(TextTarget *t);
void rimu_to_text_feed(TextTarget *t, std::string_view text);
void rimu_to_text_end(TextTarget *t);

} // namespace out
