* in a reference, a failing function gives nothing and says nothing
display "[`:word 0 of a b'] [`:frobnicate'] [`:list frob a'] [`:sysdir nosuch']"
* its value is scanned again like any replacement (macval alone is passed over)
local inner "\$S_OS"
display "[`:copy local inner']"
local s "x"
display "[`:subinstr local s "x" "y"']"
* a function that fails in a definition leaves the macro empty and returns its code
local keep "kept"
local keep : word 0 of a
display "[`keep']"
