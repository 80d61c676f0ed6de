* the settings travel with the saved file
clear
input id t x
1 1 1
1 2 2
2 1 3
2 2 4
end
tsset id t, delta(1)
tempfile f
quietly save `f'
clear
capture noisily tsset
use `f'
tsset
generate dx = D.x
list, noobs clean
