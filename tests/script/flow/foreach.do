* in: words, quoted texts, compound quotes
foreach x in a "b c" `"d "e" f"' g {
    display `"[`x']"'
}
foreach x in {
    display "an empty list runs nothing"
}
* of local: the list is read afresh at each pass
local list "one two three"
foreach w of local list {
    display "`w'"
    if "`w'" == "one" local list "one two four five"
}
* of global
global planets "mercury venus"
foreach p of global planets {
    display "$planets: `p'"
}
* of numlist
foreach n of numlist 1/3 10(5)20 {
    display "n=`n'"
}
foreach n of numlist 1/x {
}
* a list over the length of a line
foreach n of numlist 1/40000 {
}
* of any, and of newlist (names checked, nothing made)
foreach t of any a-b c {
    display "`t'"
}
foreach v of newlist price weight {
    display "new `v'"
}
foreach v of newlist 1bad {
}
* of varlist with no variables
foreach v of varlist nosuch {
}
* an unclosed quote takes the rest of the list
local q `"a "b c"'
foreach x of local q {
    display "[`x']"
}
* ferest() gives the rest of the list
foreach x in a b c {
    display "`x' then [`ferest()']"
}
display "outside [`ferest()']"
* nested loops each have their own list
foreach x in 1 2 {
    foreach y in a b {
        display "`x'`y' rest [`ferest()']"
    }
    display "outer rest [`ferest()']"
}
* the loop macro is gone afterwards
local x "before"
foreach x in a {
}
display "[`x']"
* syntax failures
foreach x on a b {
}
foreach x of local {
}
foreach x of local a b {
}
foreach x of things a {
}
foreach x in a b
display "end"
