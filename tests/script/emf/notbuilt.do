* functions whose subject is not part of this build say so, also inside a reference
local x : value label mpg
local x : variable label mpg
local x : rownames b
local x : char _dta[note]
local x : label lab 1
local x : data label
local x : serset N
local x : constraint 1
local x : all numeric scalars
display "[`:variable label mpg']"
