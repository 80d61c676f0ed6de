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
