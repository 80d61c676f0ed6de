// The cross-product subcommands of matrix: accum, glsaccum, opaccum, vecaccum.
#pragma once

namespace mat {

enum : int { ACC_ACCUM = 0, ACC_GLS = 1, ACC_OP = 2, ACC_VEC = 3 };
// matrix {accum|glsaccum|opaccum|vecaccum} A = varlist [if] [in] [weight] [, options]
int cmd_accum(int which);

} // namespace mat
