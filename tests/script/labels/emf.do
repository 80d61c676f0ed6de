* the extended macro functions of labels and characteristics
clear
set obs 2
generate x = _n
label data "the data"
label variable x "the x"
label define xl 1 one 2 "two words" .a "missing"
label values x xl
char x[c1] first
char x[c2] "second one"
local a : data label
local b : variable label x
local c : value label x
display `"[`a'] [`b'] [`c']"'
local d : label xl 2
local e : label (x) 1
local f : label xl 3
local g : label xl 3, strict
local h : label xl .a
local i : label xl maxlength
local j : label xl 2 3
display `"[`d'] [`e'] [`f'] [`g'] [`h'] [`i'] [`j']"'
local k : char x[c2]
local l : char x[]
local m : char x[nosuch]
local n : char _dta[]
display `"[`k'] [`l'] [`m'] [`n']"'
display `"[`:label (x) 2'] [`:char x[c1]']"'
* failures
local z : data
local z : value x
local z : variable label nosuch
local z : label xl
local z : label xl x
local z : label (nosuch) 1
local z : label xl 1, nosuch
local z : char x
local z : char nosuch[c1]
local z : char x[1x]
