* Certified linear regression, higher difficulty: 16 observations of six collinear
* regressors. Data and certified values carried here line for line.
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
input double y double x1 double x2 double x3 double x4 double x5 double x6
60323 83.0 234289 2356 1590 107608 1947
61122 88.5 259426 2325 1456 108632 1948
60171 88.2 258054 3682 1616 109773 1949
61187 89.5 284599 3351 1650 110929 1950
63221 96.2 328975 2099 3099 112075 1951
63639 98.1 346999 1932 3594 113270 1952
64989 99.0 365385 1870 3547 115094 1953
63761 100.0 363112 3578 3350 116219 1954
66019 101.2 397469 2904 3048 117388 1955
67857 104.6 419180 2822 2857 118734 1956
68169 108.4 442769 2936 2798 120445 1957
66513 110.8 444546 4681 2637 121950 1958
68655 112.6 482704 3813 2552 123366 1959
69564 114.2 502601 3931 2514 125368 1960
69331 115.7 518173 4806 2572 127852 1961
70551 116.9 554894 4007 2827 130081 1962
end
regress y x1-x6
display %20.15g e(rmse) " " %20.15g e(r2)
lre _b[x1] 15.0618722713733
lre _se[x1] 84.9149257747669
lre _b[x2] -0.358191792925910E-01
lre _se[x2] 0.334910077722432E-01
lre _b[x3] -2.02022980381683
lre _se[x3] 0.488399681651699
lre _b[x4] -1.03322686717359
lre _se[x4] 0.214274163161675
lre _b[x5] -0.511041056535807E-01
lre _se[x5] 0.226073200069370
lre _b[x6] 1829.15146461355
lre _se[x6] 455.478499142212
lre _b[_cons] -3482258.63459582
lre _se[_cons] 890420.383607373
lre e(rmse) 304.854073561965
lre e(r2) 0.995479004577296
display "smallest LRE " %4.1f $minlre
assert $minlre >= 9
