* linking variables to value labels; label dir, copy and drop
clear
set obs 4
generate x = _n
generate y = 5 - _n
generate str3 s = "abc"
label define lx 1 one 2 two 3 three
label values x lx
label values y nosuch
describe
* a table that does not exist is legal: the values print as numbers
list
* a link to strings is refused, and nothing changes
label values x y s lx
describe
* . or no name removes the link
label values x .
label values y
describe
label values x y lx
local v : value label y
display "[`v']"
list, nolabel
* bad names and lists
label values
label values x 1bad
label values nosuch lx
describe
* label dir and r(names)
label define a 1 one
label dir
return list
* copy
label copy lx lx2
label copy lx a
label copy lx a, replace
label copy nosuch b
label copy lx
label copy lx b c
label list a lx2
* drop: the links stay
label drop lx
label list lx
list
label drop nosuch a
label dir
label drop _all
label dir
return list
label drop
describe
