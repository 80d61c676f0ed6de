* j as a string, and values given in j().
input id xa xb xc
1 1 2 3
2 4 5 6
end
reshape long x, i(id) j(k) string
list
reshape wide x, i(id) j(k) string
list
* Values given in j(): one without variables gives missing values.
rename xa x1
rename xb x2
drop xc
reshape long x, i(id) j(t 1/3)
list
reshape wide
list
reshape wide
* The place of j inside the names: @.
clear
input id a1x a2x b
1 10 11 5
2 20 21 6
end
reshape long a@x, i(id) j(q)
list
reshape wide
list
capture noisily reshape long a@y, i(id) j(q)
display _rc
