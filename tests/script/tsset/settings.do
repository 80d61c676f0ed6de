* one series: the data are sorted by time, the settings reported and kept as characteristics
clear
input t y
3 30
1 10
2 20
5 50
4 40
end
tsset t
display "`r(timevar)' `r(tmin)' `r(tmax)' `r(tdelta)' `r(gaps)' [`r(panelvar)']"
char list _dta[]
list, noobs clean
quietly describe
display "sorted by: `r(sortlist)'"
* without arguments: the settings in force
tsset
* a gap in the times
drop if t == 3
tsset t
display r(gaps)
* delta: the times must lie on its grid
capture noisily tsset t, delta(2)
replace t = 2*t
tsset t, delta(2)
char list _dta[]
capture noisily tsset t, delta(0)
capture noisily tsset t, delta(1.5)
* the range is shown in the time variable's format
clear
input q x
1 1
2 2
3 3
end
format q %tq
tsset q
display "`r(tmins)' to `r(tmaxs)'"
* clear removes the settings
tsset, clear
char list _dta[]
capture noisily tsset
capture noisily tsset q, clear
