* Certified linear regression, quadratic: 40 observations, y on x and x squared. Data and
* certified values carried here line for line.
* lre est cert: the log relative error, the number of digits the estimate shares with the
* certified value; kept in $minlre, the smallest so far
capture program drop lre
program lre
	args est cert
	local e = `est'
	local d = abs(`e' - `cert') / abs(`cert')
	local l = cond(`d' == 0, 15, min(15, -log10(`d')))
	display %-10s "`est'" "  " %4.1f `l'
	if "$minlre" == "" | `l' < 0$minlre global minlre = `l'
end

clear
global minlre
input double y double x
.11019 150000
.21956 300000
.32949 450000
.43899 600000
.54803 750000
.65694 900000
.76562 1050000
.87487 1200000
.98292 1350000
1.09146 1500000
1.20001 1650000
1.30822 1800000
1.41599 1950000
1.52399 2100000
1.63194 2250000
1.73947 2400000
1.84646 2550000
1.95392 2700000
2.06128 2850000
2.16844 3000000
.11052 150000
.22018 300000
.32939 450000
.43886 600000
.54798 750000
.65739 900000
.76596 1050000
.87474 1200000
.98300 1350000
1.09150 1500000
1.20004 1650000
1.30818 1800000
1.41613 1950000
1.52408 2100000
1.63159 2250000
1.73965 2400000
1.84696 2550000
1.95445 2700000
2.06177 2850000
2.16829 3000000
end
generate double xsq = x^2
regress y x xsq
lre _b[x] 0.732059160401003E-06
lre _se[x] 0.157817399981659E-09
lre _b[xsq] -0.316081871345029E-14
lre _se[xsq] 0.486652849992036E-16
lre _b[_cons] 0.673565789473684E-03
lre _se[_cons] 0.107938612033077E-03
lre e(rmse) 0.205177424076185E-03
lre e(r2) 0.999999900178537
lre e(rss) 0.155761768796992E-05
display "smallest LRE " %4.1f $minlre
* a near-perfect fit: its residual sum of squares is summed from the residuals themselves
assert $minlre >= 10
