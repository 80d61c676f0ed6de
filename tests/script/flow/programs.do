* loops and blocks inside programs
program define table
    forvalues i = 1/`1' {
        local row ""
        forvalues j = 1/`i' {
            local row "`row' `=`i'*`j''"
        }
        display "`i':`row'"
    }
end
table 3
* exit inside a block ends the program with its code
program define check
    if "`1'" == "" {
        display as error "an argument is required"
        exit 198
    }
    while 1 {
        if "`1'" == "stop" exit
        display "got `1'"
        exit 0
    }
end
check a
check
display "rc " _rc
capture check
display "captured " _rc
check stop
* recursion through a block
program define down
    if `1' > 0 {
        display "down `1'"
        down `=`1'-1'
    }
    else display "bottom"
end
down 2
* a failure in a loop body ends the loop and the program
program define failing
    foreach x in a b c {
        display "x=`x'"
        if "`x'" == "b" error 459
    }
    display "not reached"
end
failing
capture noisily failing
display "rc " _rc
* a program called from a loop body is a new level: continue there is out of context
program define cont
    continue
end
forvalues i = 1/2 {
    capture cont
    display "i=`i' rc=" _rc
}
* a loop inside a program called from a loop at the top level
program define inner
    foreach w in `0' {
        display "inner `w'"
    }
end
forvalues i = 1/2 {
    inner x`i' y`i'
}
* program definitions inside a loop body
forvalues i = 1/2 {
    capture program drop p`i'
    program define p`i'
        display "this is p`i'"
    end
}
p1
p2
* a block under capture and under quietly in a program
program define blocks
    capture {
        display "hidden"
        error 7
        display "not reached"
    }
    display "rc " _rc
    quietly {
        display "quiet"
        noisily display "noisy"
    }
end
blocks
