* save: names, options and messages.
use v114_lohi
save s1
display c(changed) " " c(filename) " " length(c(filedate))
save s1
save s1, replace
save "s 2"
save s3.data
use s3.data, clear
display c(filename)
* a file that cannot be made: a directory, a directory that does not exist
save adir, replace
save nodir/x
* no variables: 111 unless emptyok; no observations: a note
clear
save e1
save e1, emptyok
use e1, clear
display _N " " c(width)
set obs 2
save e2, emptyok
generate x = 1
drop in 1/2
save e3
use e3, clear
display _N " " c(width)
* no name and no S_FN
clear
generate y = 1
save
save, replace
* a name from S_FN longer than 498 bytes is not taken
global S_FN x
forvalues k = 1/498 {
    global S_FN ${S_FN}x
}
local n : length global S_FN
display `n'
save
