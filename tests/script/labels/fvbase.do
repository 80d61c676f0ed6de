* a factor variable's base given as a word of its value label
clear
set obs 6
generate g = mod(_n, 3) + 1
testfv i(g(low))
label define gl 1 low 2 mid 3 high
testfv i(g(mid))
label values g gl
testfv i(g(mid))
fvdescribe
testfv i(g("high"))
fvdescribe
testfv i(g(nosuch))
