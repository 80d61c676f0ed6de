// The subcommands of matrix that decompose or build matrices from others or from the data:
// symeigen, svd, eigenvalues, cat and dissimilarity.
#pragma once

namespace mat {

// matrix symeigen X v = A
int cmd_symeigen(int);
// matrix svd U w V = A
int cmd_svd(int);
// matrix eigenvalues re im = A
int cmd_eigenvalues(int);
// matrix cat C = A B ... [, columns]
int cmd_cat(int);
// matrix dissimilarity D = [varlist] [if] [in] [, measure variables observations names(var)]
int cmd_dissimilarity(int);

} // namespace mat
