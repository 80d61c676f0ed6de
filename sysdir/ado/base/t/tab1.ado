*! tab1: a one-way table of each variable in turn
program tab1, byable(recall)
	version 8
	syntax varlist [if] [in] [fw aw iw] [, *]
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	foreach v of local varlist {
		display
		display as text "-> tabulation of `v'"
		tabulate `v' `if' `in' `wgt', `options'
	}
end
