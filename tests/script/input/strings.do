* strings: plain words, quoted text with blanks, compound quotes, the empty string, numbers as text
input str12 s str3 t
word abc
"two words" "a b"
`"say "hi""' `"q"'
"" ""
1.50 .
it's ok
"  padded  " x
end
list
* a string longer than the variable is cut to its width
input s t
"a string much longer than twelve" abcdefgh
end
list in l
display length(s[7]) " " length(t[7])
* text after a comment marker, or with macro characters, as the do-file reader gives it
input s t
"a // b" c // the rest of the line is a comment
$HOME `x'
end
list in 8/l
* the widest string type
input str244 w
"the longest string type holds it"
end
describe w
