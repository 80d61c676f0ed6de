* functions whose subject is not part of this build say so, also inside a reference
local x : serset N
local x : all numeric scalars
display "[`:serset N']"
