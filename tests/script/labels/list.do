* value labels shown by list: cut to the width of the format, widened by define and values
clear
set obs 3
generate byte g = _n
replace g = .a in 3
generate h = _n
label define gl 1 "first" 2 "the second level" .a "unknown"
label values g gl
describe
list
* nofix keeps the format, and the labels are cut to its width
label define hl 1 "a rather long label" 2 "b", nofix
label values h hl, nofix
describe
list
* a later define widens the formats of the variables linked to it
label define hl 3 "three", add
describe
list
* a left-justified format puts the labels at the left
format g %-16.0g
list g
list g, nolabel
* an unlabelled value prints as a number
replace g = 9 in 1
list g
