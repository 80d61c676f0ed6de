* if with a block, else on the line after the close brace
local x = 5
if `x' > 3 {
    display "big"
}
else {
    display "small"
}
if `x' > 30 {
    display "big"
}
else {
    display "small"
}
* one-line forms, and else if
if `x' == 5 display "five"
else display "not five"
if `x' == 4 display "four"
else if `x' == 5 display "else if five"
else display "neither"
* a false one-line if that opens a block skips the block
if 0 quietly {
    display "skipped"
}
display "after the skipped block"
* else reads whatever the last if left, even after other commands
if 0 display "no"
display "between"
else display "else after a plain command"
* nested blocks, and a nested if does not disturb the outer else
if 1 {
    if 0 {
        display "inner no"
    }
    else {
        display "inner else"
    }
}
else {
    display "outer else"
}
* a block on its own
{
    display "in a block"
    local inblock "set"
}
display "`inblock'"
* a missing value counts as true
if . display "missing is true"
* string comparisons
if "abc" < "abd" display "ordered"
* failures of the head
if 1
if 1 else display "x"
if "a" {
    display "type mismatch skips the block"
}
if nosuchname > 1 {
    display "not found skips the block"
}
display "after the failing heads"
* text after a brace
if 1 {   display "x"
}
if 1 {
    display "one"
} else {
    display "two"
}
display "end"
