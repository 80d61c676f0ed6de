* bad input: no settings, strings, an operator too large, a list inside an expression
clear
input t x str2 s
1 1 a
2 2 b
end
capture noisily generate y = L.x
capture noisily tsrevar L.x
capture noisily regress x L.t
tsset t
capture noisily generate y = L.s
capture noisily tsrevar D.s
capture noisily generate y = D21.x
capture noisily generate y = D20.x + S1.S2.S3.S4.S5.S6.S7.S8.S9.x
capture noisily generate y = L(1/2).x
capture noisily generate y = Q.x
capture noisily generate y = L.nosuch
capture noisily tsset t L.x
* a time variable dropped after tsset
drop t
capture noisily generate y = L.x
