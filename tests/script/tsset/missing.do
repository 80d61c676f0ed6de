* a string time variable is refused; missing times stand outside the grid
clear
input str3 s t x
a 1 10
b . 20
c 3 30
d 2 40
end
capture noisily tsset s
capture noisily tsset s t
tsset t
list, noobs clean
generate lx = L.x
generate fx = F.x
list, noobs clean
* non-integer times are refused
replace t = 1.5 in 1
capture noisily tsset t
* a missing panel is outside as well
clear
input id t x
1 1 1
. 2 2
1 2 3
end
tsset id t
generate lx = L.x
list, noobs clean
