* failures of replace leave the variable as it was
set obs 3
generate x = _n
generate str3 s = "abc"
replace s = 5
replace x = "a"
replace = 1
replace x s = 1
replace nosuch = 1
replace x = 1, fast
replace x = 1 [aweight = x]
replace x
replace x = 1 in 4
replace x = y
list
* a promotion that finds no room: promotion stops, the loop goes on, 903 at the end
clear
set maxvar 2048
set obs 2
forvalues k = 1/100 {
    quietly generate str244 s`k' = ""
}
generate str170 pad = ""
generate byte b = 1
replace b = 1.5e10 in 1
replace b = 50 in 2
describe b
list b
