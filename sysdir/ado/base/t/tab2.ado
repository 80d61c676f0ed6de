*! tab2: the two-way table of every pair of the variables
program tab2, byable(recall)
	version 8
	syntax varlist(min=2) [if] [in] [fw aw iw] [, *]
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	local n : word count `varlist'
	forvalues i = 1/`n' {
		local a : word `i' of `varlist'
		forvalues j = `=`i'+1'/`n' {
			local b : word `j' of `varlist'
			display
			display as text "-> tabulation of `a' by `b'"
			tabulate `a' `b' `if' `in' `wgt', `options'
		}
	}
end
