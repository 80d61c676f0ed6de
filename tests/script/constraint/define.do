* constraint define, dir, list, drop, get, free, and the extended macro function
constraint define 1 x1 = x2
constraint 2 x1 + x2 = 1
constraint def 10 [eq]x = 0
constraint dir
constraint list 1/2
constraint get 2
return list
constraint get 3
return list
constraint free
display r(free)
local c : constraint 1
display "`c'"
local d : constraint dir
display "`d'"
local e : constraint 3
display "[`e']"
* redefining replaces
constraint 1 x1 = 2*x2
constraint dir 1
constraint drop 1 10
constraint dir
constraint free
display r(free)
* definitions survive the clearing of e()
ereturn clear
constraint dir
constraint drop _all
constraint dir
* failures
constraint 0 x1 = 0
constraint 2000 x1 = 0
constraint 3
constraint define x x1 = 0
constraint nosuch
