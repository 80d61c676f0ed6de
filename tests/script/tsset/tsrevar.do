* tsrevar: scratch variables for the operated entries, the base names with list
clear
input id t x y
1 1 1 5
1 2 2 6
1 3 4 8
2 1 3 1
2 2 5 2
end
tsset id t
program define showrev
	tsrevar `0'
	local n : word count `r(varlist)'
	display "`n' entries"
	local k 0
	foreach v of varlist `r(varlist)' {
		local ++k
		if substr("`v'", 1, 2) == "__" display "`k': scratch"
		else display "`k': `v'"
	}
	local vl `r(varlist)'
	gettoken first rest : vl
	gettoken second : rest
	list `first' `second', noobs clean
end
showrev L.x D.y
showrev x L.x L.x
* the scratch variables go with the program
describe, short
tsrevar L(1/2).x y D.y, list
display "`r(varlist)'"
tsrevar x y, substitute
display "`r(varlist)'"
capture noisily tsrevar x, list substitute
* one scratch variable for a repeated entry
tsrevar L.x L.x
local a : word 1 of `r(varlist)'
local b : word 2 of `r(varlist)'
display "`a'" == "`b'"
