* macro list shows globals and the locals of this level; braces show as they are
macro drop _all
global short one
global exactly11ch eleven
global twelve_chars twelve
global braces "{hline 3} stays"
local loc here
macro list
macro list short _loc
macro list nosuch
macro list _nosuch
* drop by name and by pattern; _all keeps the S_ names
global keep1 a
global keep2 b
global gone c
macro drop gone keep*
macro list keep1 
macro drop 1bad short
macro list short
global S_mine mine
macro drop _all
macro list
macro drop S_*
macro list
display "$S_ADO"
* shift moves the numbered locals down
local 1 a
local 2 b
local 3 c
macro shift
display "[`1'|`2'|`3']"
macro shift 2
display "[`1'|`2'|`3']"
macro shift x
macro shift -1
* macval gives the text unexpanded, only at the top of a reference
local inner "\$S_OS and \`loc'"
display "`macval(inner)'"
display "`inner'"
