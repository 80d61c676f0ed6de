* string and several by-variables: groups sorted as sort orders them, missing keys kept as groups
input str3 s k x
"b" 1 1
"a" 2 2
"b" 1 3
"" . 4
"a" 1 5
"a" 2 6
"b" . 7
end
collapse (sum) x (count) n=x, by(s k)
list, noobs
describe
