// postfile, post, postclose, postutil: results posted row by row into a new data file.
#pragma once
#include <cstdint>

namespace data {

// postfile postname newvarlist using filename [, replace every(#) double]
int cmd_postfile(int);
// post postname (exp) (exp) ...
int cmd_post(int);
// postclose postname
int cmd_postclose(int);
// postutil dir | postutil clear
int cmd_postutil(int);

// Abandons, quietly, the postfiles whose names tempname made from number from up to (not including)
// to: a program that ends without postclose leaves no file behind.
void post_drop_temp(int64_t from, int64_t to);
// Finishes every open postfile: the session's exit.
void post_close_all();

} // namespace data
