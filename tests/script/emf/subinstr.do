local s "the cat and the catalogue"
local r : subinstr local s "cat" "dog"
display "[`r']"
local r : subinstr local s "cat" "dog", all
display "[`r']"
local r : subinstr local s "cat" "dog", all word
display "[`r']"
local r : subinstr local s "the" "a", all count(local n)
display "[`r'] `n'"
global gs "a-b-c"
local r : subinstr global gs "-" "", all count(global gn)
display "[`r'] $gn"
local r : subinstr local s "cat" "dog", count(0)
display "[`r']"
local r : subinstr local s "cat" "dog", frobnicate
local r : subinstr local s "cat"
local r : subinstr nolocal s "a" "b"
