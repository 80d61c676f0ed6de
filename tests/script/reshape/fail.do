* The failures users meet, each leaving the data as they were.
input id x1 x2 z
1 5 6 1
1 7 8 1
2 9 10 2
end
capture noisily reshape long x, i(id) j(t)
display _rc
describe, short
capture noisily reshape long y, i(id) j(t)
display _rc
capture noisily reshape long x, i(nosuch) j(t)
display _rc
capture noisily reshape long x, i(id) j(z)
display _rc
generate x = 1
capture noisily reshape long x, i(id) j(t)
display _rc
drop x
capture noisily reshape sideways x, i(id) j(t)
display _rc
clear
input id t x w
1 1 5 7
1 2 6 8
1 2 7 7
2 1 8 9
end
capture noisily reshape wide x, i(id) j(nosuch)
display _rc
capture noisily reshape wide x, i(id) j(t)
display _rc
reshape error
replace t = 3 in 3
capture noisily reshape wide x, i(id) j(t)
display _rc
list
* A new name that is taken; then w made constant, and the unbalanced data go wide.
replace w = 7 if id == 1
generate x3 = 0
capture noisily reshape wide x, i(id) j(t)
display _rc
drop x3
reshape wide x, i(id) j(t)
list
