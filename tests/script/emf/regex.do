local r : regexsubexp 0
local m : regexmatch "hello world" "(w)(or)ld$"
display "[`m'] [`:regexsubexp 0'] [`:regexsubexp 1'] [`:regexsubexp 2']"
local r : regexsubexp 3
local m : regexmatch "hello" "^w"
display "[`m']"
local r : regexsubexp 0
local r : regexreplace "2024-06-10" "([0-9]+)-([0-9]+)-([0-9]+)" "\3.\2.\1"
display "[`r']"
local r : regexreplace "no digits" "[0-9]" "#"
display "[`r']"
local r : regexmatch "x" "("
local r : regexmatch "only one"
