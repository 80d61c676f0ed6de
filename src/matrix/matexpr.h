// Matrix expressions: the matrix stack behind the expression machine's matrix words, the functions
// of matrices, and the entries that evaluate an expression into a matrix.
#pragma once
#include <string>

#include "matrix/matstore.h"

namespace mat {

// Installs the expression machine's hooks for matrices (at start-up, with results_init).
void matexpr_init();

// Evaluates the expression at text as a matrix (a number becomes 1 by 1). *end, when given, gets
// where the expression ended; without it the whole text must be the expression. 0 or the code.
int eval_matrix(const char *text, Matrix &out, const char **end = nullptr);
// The same, telling a number (is_num, num) from a matrix.
int eval_num_or_matrix(const char *text, bool &is_num, double &num, Matrix &out, const char **end = nullptr);

// One subscript: a number expression or a row or column name in quotes, resolved against a stripe.
// Gives the index from 0; 0 or the code (503 when out of range, 111 for an unknown name).
int subscript_index(const std::string &text, const Matrix &m, bool row, int &index);

} // namespace mat
