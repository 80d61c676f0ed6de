// The estimation subcommands of matrix: post and repost, mlout, score, makeCns and dispCns.
#pragma once

namespace mat {

// matrix post (0) and matrix repost (1): the old names of ereturn post and ereturn repost
int cmd_estpost(int which);
int cmd_mlout(int);
int cmd_score(int);
int cmd_makecns(int);
int cmd_dispcns(int);

} // namespace mat
