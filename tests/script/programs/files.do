* do passes arguments; the file's locals go with it
local here "files.do's"
do args.inc a "b c" `"d "e""'
display "here is [`here']"
* a failing line stops the file; nostop goes on; capture holds the code
do failing.inc
do failing.inc, nostop
capture do failing.inc
display "c(rc) `c(rc)'"
* exit ends the file with its code and without "end of do-file"
do exits.inc
* include runs in this file's level: it sees and sets our locals
include shared.inc
display "made: [`made']"
include shared.inc extra
* run shows only errors
run quiet.inc
* the delimiter of an inner file does not outlive it
do semi.inc
display "cr again"
* a file that ends without a newline runs its last line
do nonl.inc
* files that are not there, and bad options
do nosuch
do nosuch.inc
run args.inc, frobnicate
do
