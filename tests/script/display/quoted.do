* a quoted token is a text item; the expression behind it stands alone
display "b=" -2^2
display "x" !.
display "a" - 1
display "a"-1
display `"q"' -1
display "n=" =2+3
display "a" ~1
* only + and the comparisons carry the text into the expression
display "a" + "b"
display "a"+"b"
display `"q"' + "r"
display "a" "b" + "c"
display "a" == "a"
display "a" != "b"
display "a" ~= "a"
display "a" < "b"
display "b" >= "a"
display "a" <= "a"
display "a" > "b"
display "a" + 1
* an operator strings do not have starts an expression of its own
display "a" * 2
* the same rule in the buffer form
local x : display "b=" -2^2 "," "a" + "b"
display "`x'"
