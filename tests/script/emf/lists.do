local a "x y x z y"
local b "z x w"
display "uniq [`:list uniq a'] dups [`:list dups a'] sort [`:list sort a'] sizeof [`:list sizeof a']"
display "| [`:list a | b'] & [`:list a & b'] - [`:list a - b']"
local u : list uniq a
display "== [`:list a == a'] [`:list u == b'] === [`:list u === u'] in [`:list b in u'] [`:list u in a']"
local c "z y x"
display "=== [`:list u === c'] == [`:list u == c']"
display "posof [`:list posof "z" in a'] [`:list posof "q" in a']"
local q `"a  "b c"   "d"  `"e "f""'"'
display `"retokenize [`:list retok q']"'
display `"clean [`:list clean q']"'
local e
display "empty: [`:list sizeof e'] [`:list uniq e']"
local r : list frobnicate a
local r : list a ~ b
display "[`r']"
