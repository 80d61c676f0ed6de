* Certified linear regression, lower difficulty: 36 observations, y on x. The data and the
* certified values are those of the reference data set, carried here line for line.
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
0.1 0.2
338.8 337.4
118.1 118.2
888.0 884.6
9.2 10.1
228.1 226.5
668.5 666.3
998.5 996.3
449.1 448.6
778.9 777.0
559.2 558.2
0.3 0.4
0.1 0.6
778.1 775.5
668.8 666.9
339.3 338.0
448.9 447.5
10.8 11.6
557.7 556.0
228.3 228.1
998.0 995.8
888.8 887.6
119.6 120.2
0.3 0.3
0.6 0.3
557.6 556.8
339.3 339.1
888.0 887.2
998.5 999.0
778.9 779.0
10.2 11.1
117.6 118.3
228.9 229.2
668.4 669.1
449.2 448.9
0.2 0.5
end
regress y x
lre _b[x] 1.00211681802045
lre _se[x] 0.429796848199937E-03
lre _b[_cons] -0.262323073774029
lre _se[_cons] 0.232818234301152
lre e(rmse) 0.884796396144373
lre e(r2) 0.999993745883712
lre e(rss) 26.6173985294224
display "smallest LRE " %4.1f $minlre
assert $minlre >= 11
