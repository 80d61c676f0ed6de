// The estimation subcommands of matrix.
#include "matrix/estpost.h"

#include "session/errors.h"

namespace mat {

int cmd_estpost(int which) { return session::not_built(which ? "matrix repost" : "matrix post"); }
int cmd_mlout(int) { return session::not_built("matrix mlout"); }
int cmd_score(int) { return session::not_built("matrix score"); }
int cmd_makecns(int) { return session::not_built("matrix makeCns"); }
int cmd_dispcns(int) { return session::not_built("matrix dispCns"); }

} // namespace mat
