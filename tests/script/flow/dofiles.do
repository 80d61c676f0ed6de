* a do-file run from a loop runs its own loops
forvalues k = 1/2 {
    do loopfile.inc k`k'
}
* exit inside a loop of a do-file ends the file with its code
do loopfile.inc exit
display "rc after the file"
capture do loopfile.inc exit
display "captured " _rc
* run is silent, include shares the level
run loopfile.inc quiet
local shared "before"
include loopfile.inc
* a loop word that comes from a macro is refused at the top level
local w "forvalues"
`w' i = 1/2 {
    display "never"
}
local line "foreach x in a {"
`line'
    display "not in a loop"
}
* loop heads under prefixes
quietly forvalues i = 1/2 {
    display "hidden `i'"
    noisily display "noisy `i'"
}
capture forvalues i = 1/3 {
    display "i=`i'"
    if `i' == 2 error 111
}
display "rc " _rc
capture noisily foreach x in a b {
    display "x=`x'"
    nosuchcommand
}
display "rc " _rc
* an if block at the top level holding a loop
if 1 {
    forvalues i = 1/2 {
        display "in if `i'"
    }
    display "after the inner loop"
}
