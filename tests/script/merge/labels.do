* labels and notes of the using file come in after the walk, unless nolabel or nonotes
input id u
1 1
2 2
end
label define yn 1 "yes" 2 "no"
label values u yn
label variable u "from the file"
notes u: checked twice
notes: using file made by hand
sort id
save using1
clear
input id m
1 5
2 6
end
label define yn 1 "ja"
label values m yn
notes: the master's own note
sort id
merge id using using1
list
label list yn
describe u
notes
* nolabel and nonotes: the tables and notes of the file stay out
drop u _merge
label drop yn
notes drop _dta
sort id
merge id using using1, nolabel nonotes
label dir
notes
* append brings them in the same way
clear
input id
9
end
append using using1
list
notes
