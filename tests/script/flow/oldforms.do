* under version 7 code may follow an open brace and runs first in the block
version 7
if 1 { display "first command"
    display "second command"
}
{ display "bare block"
}
if 1 {
    display "close brace with text"
} this is not looked at
if 1 else display "no else check"
forvalues i = 1/2 { display "loop `i'"
}
foreach x in a b { display "each `x'"
    display "rest [`ferest()']"
}
version 10.1
if 1 { display "refused now"
}
