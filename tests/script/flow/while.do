* the condition is tested anew at each pass, with the macros expanded again
local n = 0
while `n' < 3 {
    display "n=`n'"
    local n = `n' + 1
}
local n = 5
while `n' < 3 {
    display "never"
}
display "n still `n'"
* continue and continue, break in while
local n = 0
while `n' < 10 {
    local n = `n' + 1
    if mod(`n', 2) == 0 continue
    if `n' > 7 {
        continue, break
    }
    display "odd `n'"
}
display "left at `n'"
* continue skips to the loop's own end through nested blocks
forvalues i = 1/4 {
    if `i' == 2 {
        if 1 {
            continue
            display "not reached"
        }
        display "not reached either"
    }
    display "i=`i'"
}
* continue, break leaves only the innermost loop
forvalues i = 1/3 {
    foreach c in a b c {
        if "`c'" == "b" continue, break
        display "`i'`c'"
    }
}
* continue outside a loop, and with a bad option
continue
continue, bre
forvalues i = 1/2 {
    continue, nosuch
}
forvalues i = 1/2 {
    continue, b
}
* the one-line while is refused
while 1 display "x"
local k = 0
while `k' < 2 {
    local ++k
    display "k=`k'"
}
display "end"
