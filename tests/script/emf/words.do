* word: quoted groups are one word and lose their quotes
local x : word 2 of a "b c" d
display "[`x']"
display "[`:word 2 of a "b c" d']"
display "[`:word 3 of a `"b "c""' d e']"
display "[`:word 9 of a b']"
local n : word count a "b c" d
display "[`n']"
local n : word count
display "[`n']"
local x : word 0 of a b
local x : word -1 of a b
local x : word 2 a b
local x : word two of a b
display "[`x']"
* piece: pieces of at most # characters, broken at blanks unless nobreak
local t "the quick brown fox jumps"
display "[`:piece 1 10 of "`t'"'] [`:piece 2 10 of "`t'"'] [`:piece 3 10 of "`t'"'] [`:piece 4 10 of "`t'"']"
display "[`:piece 1 10 of "`t'", nobreak'] [`:piece 2 10 of "`t'", nobreak']"
* lengths and copies
display "[`:_length "abc def"'] [`:_length abc']"
local m "12345"
display "[`:length local m'] [`:length global nosuch'] [`:copy local m']"
global g "`m'`m'"
display "[`:length global g']"
local c : copy global g
display "[`c']"
local c : length local
