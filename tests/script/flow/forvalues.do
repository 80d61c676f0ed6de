* the three forms of the range
forvalues i = 1/3 {
    display "slash `i'"
}
forvalues i = 10(-3)1 {
    display "paren `i'"
}
forvalues i = 1 3 to 9 {
    display "to `i'"
}
forvalues i = 10 9 : 7 {
    display "colon `i'"
}
forvalues i = -2/0 {
    display "negative `i'"
}
* fractional steps
forvalues x = 1(.25)2 {
    display "q `x'"
}
* a range that runs nothing skips its block; the loop macro goes
local i "before"
forvalues i = 1/0 {
    display "never"
}
display "[`i']"
forvalues i = 1/2 {
}
display "[`i']"
* abbreviations, and no blanks round the brace
forv j=1/2{
    display "j`j'"
}
* syntax failures
forvalues i = 1(0)3 {
    display "never"
}
forvalues i = 1 {
}
forvalues i = 1/a {
}
forvalues i 1/3 {
}
forvalues i.j = 1/3 {
}
forvalues i = 1 2 3 {
}
forvalues i = 1/3
forvalues i = 1/3 {   display "x"
}
display "end"
