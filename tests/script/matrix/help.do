* the help of matrix
help matrix
