* mlmatbysum on sorted panel data: a hand computation, then sums made with generate and matrix accum
clear
input id a b x
1 1 1 1
1 2 1 2
2 1 2 1
3 -1 1 3
3 1 -1 1
end
generate byte touse = 1
macro drop ML_*
global ML_n 1
global ML_samp touse
global ML_x1 x
global ML_eq1 xb
sort id
* id 1: S = 3, Rx = (3, 2); id 2: S = 1, Rx = (2, 2); id 3: S = 0
* sum of S Rx'Rx = (27, 18 \ 18, 12) + (4, 4 \ 4, 4) = (31, 22 \ 22, 16)
mlmatbysum lnf M a b, by(id)
matrix list M
_mlmatbysum lnf M, a(a) b(b) by(id)
matrix list M
* an observation outside the sample leaves its group
replace touse = 0 in 2
* id 1: S = 1, Rx = (1, 1)
mlmatbysum lnf M a b, by(id)
matrix list M
* with a weight, which enters S alone
replace touse = 1
generate w = 2
global ML_w w
mlmatbysum lnf M a b, by(id)
matrix list M
global ML_w
* a bigger panel
clear
set obs 300
generate id = 1 + floor((_n-1)/7)
generate t = _n - 7*(id-1)
generate x1 = sin(_n)
generate x2 = cos(_n/3)
generate a = 0.5 + mod(_n, 5)/4
generate b = 1 - cos(_n/7)
generate c = sin(_n/11)
generate w = 1 + mod(_n, 3)
generate byte touse = mod(_n, 13) != 0
macro drop ML_*
global ML_n 2
global ML_samp touse
global ML_x1 x1 x2
global ML_x2 x2
global ML_eq1 eq1
global ML_eq2 eq2
global ML_w w
sort id t
mlmatbysum lnf M a b if x1 < 0.9, by(id)
mlmatbysum lnf N a b c if x1 < 0.9, by(id) eq(1,2)
matrix list N
* by hand: each group's sums on its last observation, then S Rx'Ry by weighted cross-products
generate byte use = touse & x1 < 0.9
by id: generate double S = sum(use*w*a)
by id: generate double r1 = sum(use*b*x1)
by id: generate double r2 = sum(use*b*x2)
by id: generate double r3 = sum(use*b)
by id: generate double q2 = sum(use*c*x2)
by id: generate double q3 = sum(use*c)
by id: generate byte last = _n == _N
matrix accum A = r1 r2 r3 if last [iweight = S], noconstant
display mreldif(M, A) < 1e-13
matrix accum B = r1 r2 r3 q2 q3 if last [iweight = S], noconstant
matrix B = B[1..3, 4..5]
display mreldif(N, B) < 1e-13
