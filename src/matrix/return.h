// The commands of the result stores.
#pragma once

namespace mat {

// return {local|scalar|matrix|list|clear|add} ... ; return alone ends the program
int cmd_return(int);
// ereturn {local|scalar|matrix|list|clear|post|repost|display} ...
int cmd_ereturn(int);
// sreturn {local|clear|list} ...
int cmd_sreturn(int);
// _estimates {hold|unhold|dir|names|varnames|clear|drop|local|scalar|matrix|post|repost} ...
int cmd__estimates(int);
// _return {hold|restore|drop|dir}
int cmd__return(int);

} // namespace mat
