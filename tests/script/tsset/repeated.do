* repeated times: refused before anything moves, in one series and within a panel
clear
input id t
1 1
1 2
2 2
1 2
end
capture noisily tsset t
tsset
capture noisily tsset id t
list, noobs clean
* the same time in two panels is no repeat
drop in 4
tsset id t
* a change that repeats a time is found when the index is next built
replace t = 1 in 2
capture noisily generate y = L.t
capture noisily tsset
