* error takes an expression
capture error 100+98
display _rc
scalar code = 459
capture error code
display _rc
capture error 2*nosuch
display _rc
capture error "198"
display _rc
capture error 1e9
display _rc
error 1 + 110
* a failure in a loop body ends the loop and its code comes out
forvalues i = 1/3 {
    display "i=`i'"
    if `i' == 2 nosuchcommand
}
* a failing line inside an if block skips the rest of the block
if 1 {
    display "first"
    error 198
    display "skipped"
}
display "after the block"
* a failure deep inside nested blocks and loops
foreach x in a b {
    forvalues i = 1/2 {
        if "`x'`i'" == "b1" {
            display "failing at `x'`i'"
            error 111
        }
        display "`x'`i'"
    }
}
* blocks whose close brace never comes
do unclosedif.inc
do unclosedloop.inc
do unclosedskip.inc
* a close brace with nothing open
}
display "end"
