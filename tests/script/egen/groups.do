* group(), tag() and concat(): numbering in sorted order, missing keys left out unless asked for
input str2 s k
"b" 2
"a" 1
"b" 2
"" 3
"a" .
"a" 1
end
egen gk = group(k)
egen gsk = group(s k)
egen gskm = group(s k), missing
egen tg = tag(s k)
egen tgm = tag(s k), missing
egen c = concat(s k)
egen cp = concat(s k), punct("-")
list, noobs sep(0)
egen gl = group(s), label
label list gl
describe gk tg c
egen gb = group(k), by(s)
by s, sort: egen gb2 = group(k)
