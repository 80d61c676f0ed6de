* panels: sorted by panel then time; strongly, weakly balanced and unbalanced
clear
input id t x
2 2 22
1 2 12
2 1 21
1 1 11
1 3 13
2 3 23
end
tsset id t
list, noobs
display "`r(panelvar)' `r(timevar)' `r(balanced)'"
* the same number of times, not the same times
replace t = 4 in 6
tsset id t
* different numbers of times
drop in 6
tsset id t
display "`r(balanced)' `r(gaps)'"
* a gap within one panel
replace t = 5 in 5
tsset id t
* panel and time must differ
capture noisily tsset t t
capture noisily tsset id t x
