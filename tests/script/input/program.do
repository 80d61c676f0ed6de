* in a program the lines come from the program; its end ends input, since the first end ends the definition
program define mkdata
    input id str3 grp
    1 a
    2 b
    3 "c c"
end
mkdata
list
* the line after input in a program's body is values, even when it looks like a command
program define twolines
    input id grp
    display "not a command"
end
twolines
* a bad line in a program fails with 198 and keeps what was entered
program define badline
    input id grp
    4 d
    five e
    6 f
end
badline
list in 4/l
* the data lines are not macro-expanded; the command line is
global which grp
program define literal
    input id $which
    7 $which
end
literal
list in 5/l
