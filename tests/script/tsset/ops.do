* every operator against values worked by hand; panel 2 has no time 3, so its lags there are missing
clear
input id t x eL eL2 eF eF2 eD eD2 eS2 eLD eL2D eDS2
1 1  1  .  . 4  9  .  .  .  .  .  .
1 2  4  1  . 9 16  3  .  .  .  .  .
1 3  9  4  1 16 25 5  2  8  3  .  .
1 4 16  9  4 25 36 7  2 12  5  3  4
1 5 25 16  9 36  . 9  2 16  7  5  4
1 6 36 25 16  .  . 11 2 20  9  7  4
2 1  2  .  . 3  .  .  .  .  .  .  .
2 2  3  2  . .  5  1  .  .  .  .  .
2 4  5  .  3 8  .  .  .  2  .  1  .
2 5  8  5  . .  .  3  .  .  .  .  .
end
tsset id t
* the index does not need the data in order
generate negx = -x
sort negx
generate L = L.x
generate L2 = L2.x
generate F = F.x
generate F2 = F2.x
generate D = D.x
generate D2 = D2.x
generate S2 = S2.x
generate LD = LD.x
generate L2D = L2D.x
generate DS2 = DS2.x
foreach v in L L2 F F2 D D2 S2 LD L2D DS2 {
	assert `v' == e`v'
}
sort id t
list id t x L F D D2 S2 L2D, noobs
* operators in either case and order, and inside a larger expression
generate a = d.l2.x + 2*lD.x - x
assert a == eL2D + 2*eLD - x | (missing(a) & missing(eL2D, eLD))
* an operator that cancels is the variable itself
generate b = L.F.x
generate c = L0.x
assert b == x & c == x
* an expression with an operator runs observation by observation
count if D.x > 4
* an operated variable takes no subscript
capture noisily display L.x[3]
