// Internals shared by the Rimu engine's files: line building, the scanner, the old-help reader, logs.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "output/rimu.h"

namespace out {

// lineimage.cpp: packs the stream's current line into img (at least LINE_IMAGE_MAX bytes); returns the size.
int line_build(uint8_t *img, const RimuStream *s);

// rimu_line.cpp: the line being built.
void line_reset(RimuStream *s);                                       // empty line, no indent
void line_begin(RimuStream *s);                                       // empty line with the mode-3 indent
void line_raw(RimuStream *s, const char *p, int n, uint8_t sty);      // indent, "> ", separators
void line_place(RimuStream *s, const char *p, int n, uint8_t sty);    // shown text: opens a due link
void line_write(RimuStream *s, const char *p, size_t n, uint8_t sty); // with "> " continuation
void line_blanks(RimuStream *s, int n);                               // n blanks in the current style
void finish_line(RimuStream *s);
void link_close(RimuStream *s);                                         // ends the link on the line
void link_begin(RimuStream *s, int kind, const char *arg, int arg_len); // link due at the next character
// The text writer: paragraph writer in mode 3, line writer otherwise; newlines act.
void text_write(RimuStream *s, const char *p, size_t n);
void text_write_styled(RimuStream *s, const char *p, size_t n, uint8_t sty);
// Places the pending word of mode 3; extra is the width of what must join it on the same line.
void word_done(RimuStream *s, int extra, bool forced);
// {p}: starts a paragraph after the checks and clamps; false when an argument is out of range.
bool para_begin(RimuStream *s, int first, int next, int margin, int line_width);

// rimu_scan.cpp: a piece of input at the top (steps counts the paragraph-end and newline checks),
// and text inside a directive.
void scan_piece(RimuStream *s, const char *p, size_t n, bool steps);
void scan_nested(RimuStream *s, const char *p, size_t n);

// rimu_chars.cpp: the code of a {c} name, or -1; *linedraw tells that it shows in line-drawing style.
int char_code(std::string_view name, bool *linedraw);

// rimu_oldhelp.cpp: mode 4.
void oldhelp_feed(RimuStream *s, const char *p, size_t n);
void oldhelp_flush(RimuStream *s); // a partial line waiting in pendingTag is read as a line

// rimu.cpp: what happens to a finished line besides the sink, and measuring.
void text_log_line(RimuStream *s);
void pager_count(RimuStream *s);
int measure_first_word(std::string_view rimu);

} // namespace out
