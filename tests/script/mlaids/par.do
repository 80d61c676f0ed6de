* enough observations for several chunks: the sums have the same bits with one thread or two, and
* agree with matrix accum to rounding
clear
set obs 20000
generate id = 1 + floor((_n-1)/9)
generate x1 = sin(_n)
generate x2 = cos(_n/3)
generate x3 = mod(_n, 17)/17
generate y = mod(_n*7, 3) == 1
generate w = 1 + mod(_n, 4)
generate a = 0.5 + mod(_n, 5)/4
generate byte touse = mod(_n, 101) != 0
macro drop ML_*
global ML_n 2
global ML_samp touse
global ML_x1 x1 x2 x3
global ML_x2 x2
global ML_fp1 1
global ML_lp1 4
global ML_eq1 xb
global ML_eq2 lns
global ML_w w
matrix b = (0.5, -0.25, 1, 0.1)
mleval xb = b
generate double p = invlogit(xb)
mlsum lnf = cond(y, ln(p), ln(1-p))
display %21x lnf
generate double l = cond(y, ln(p), ln(1-p))
matrix vecaccum L = l if touse [iweight = w]
display reldif(lnf, L[1,1]) < 1e-13
mlvecsum lnf g = y - p
display %21x g[1,1] " " %21x g[1,4]
generate double r = y - p
matrix vecaccum G = r x1 x2 x3 if touse [iweight = w]
display mreldif(g, G) < 1e-13
mlmatsum lnf H = -p*(1-p)
display %21x H[1,1] " " %21x H[3,2] " " %21x H[4,4]
matrix accum A = x1 x2 x3 if touse [iweight = -w*p*(1-p)]
display mreldif(H, A) < 1e-13
mlmatsum lnf H21 = -p*(1-p) if x1 > 0, eq(2,1)
display %21x H21[1,1] " " %21x H21[2,3]
sort id
mlmatbysum lnf M a y, by(id)
display %21x M[1,1] " " %21x M[4,3]
mlmatbysum lnf N a y r, by(id) eq(1,2)
display %21x N[1,1] " " %21x N[4,2]
* an `if` that draws random numbers runs on one thread, one observation at a time: the same sums
mlvecsum lnf g2 = y - p if runiform() < 2
display mreldif(g, g2) == 0
mlmatbysum lnf M2 a y if runiform() < 2, by(id)
display mreldif(M, M2) == 0
