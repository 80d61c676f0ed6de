* each file and program has its own locals; a finished level's locals are gone
local top "top level of the file"
program inner
    display "inner sees [`top'] and 1=[`1']"
    local mine "inner's"
    c_local fromin "set by inner"
end
program outer
    local top "outer's own"
    inner x
    display "outer: mine [`mine'] fromin [`fromin'] top [`top']"
end
outer
display "file: top [`top'] fromin [`fromin'] mine [`mine']"
* a failing command ends a program with its code; capture holds it
program fails
    display "before"
    error 198
    display "not reached"
end
fails
capture fails
display "c(rc) after capture: `c(rc)'"
* exit ends the level with its code, and with none it ends it quietly
program leave
    display "in leave"
    exit 459
    display "not reached"
end
leave
program leave0
    exit
    display "not reached"
end
leave0
* a program runs under the version it was defined under; version inside it ends with it
version 9
program v9
    display "`c(version)'"
    version 8
    display "`c(version)'"
end
version 10.1
v9
display "`c(version)'"
* a running program that is dropped stays until its outermost call ends
global call_1 "rec 2"
global call_2 "program drop rec"
program rec
    display "enter `1'"
    ${call_`1'}
    display "leave `1'"
end
rec 1
rec 1
* frames are limited: this file is one level of locals, each call one more, 64 in all
program deep
    local d `1'
    local ++d
    global reached `d'
    deep `d'
end
deep 1
display "deepest call: $reached"
* set trace shows the lines of programs; set inside a program it ends with it
program tracer
    display "traced `1'"
    local x `1'
end
set trace on
tracer a
set trace off
program tracer2
    set trace on
    tracer b
end
tracer2
tracer c
* rmsg is off inside a program and comes back after it
program r2
    display "r2: rmsg `c(rmsg)'"
end
program r1
    set rmsg on
    display "r1: rmsg `c(rmsg)'"
    r2
end
r1
display "after: rmsg `c(rmsg)'"
