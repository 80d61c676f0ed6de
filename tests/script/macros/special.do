* S_DATE and S_TIME are made when they are read
display "`:regexmatch "$S_DATE" "^[ 123][0-9] [A-Z][a-z][a-z] [0-9][0-9][0-9][0-9]$"'"
display "`:regexmatch "$S_TIME" "^[0-2][0-9]:[0-5][0-9]:[0-5][0-9]$"'"
global S_DATE "not stored"
display "`:regexmatch "$S_DATE" "stored"'"
* `*' and $_* join the arguments of the level
program showargs
    display `"[`*'] [$_*] [`0']"'
end
showargs a "b c"   d
showargs
* under version 3.1 the old % form works when a line has no other reference
global old "percent form"
version 3.1
display "%old %{old} %_* 100%"
display "$old %old"
version 10.1
display "%old"
* references to subjects not part of this build say so
display "`.obj.x'"
display "`gdi(xsize)'"
display "`=1+1'"
* an unknown function name gives nothing
display "[`frobnicate(x)']"
* nor does a characteristic of a variable that does not exist
display "[`x[note]']"
