// The cross-products of matrix accum and its kin.
#include "matrix/accum.h"

#include "session/errors.h"

namespace mat {

int cmd_accum(int) { return session::not_built("matrix accum"); }

} // namespace mat
