*! clogit_p: predictions after clogit: pc1 (the default), the chance of a positive outcome given one
*! in the group; xb
program clogit_p
	version 10.1
	syntax newvarname [if] [in] [, PC1 XB]
	if "`pc1'" != "" & "`xb'" != "" {
		display as error "only one statistic may be specified"
		exit 198
	}
	marksample touse, novarlist
	tempname b
	tempvar xbv s ord
	matrix `b' = e(b)
	quietly matrix score double `xbv' = `b' if `touse'
	if "`e(offset)'" != "" quietly replace `xbv' = `xbv' + `e(offset)'
	if "`xb'" != "" {
		generate `typlist' `varlist' = `xbv' if `touse'
		exit
	}
	if "`pc1'" == "" display as text "(option pc1 assumed; conditional probability of a positive outcome)"
	* the group's sum of exp(xb), the data's order kept
	quietly generate long `ord' = _n
	quietly generate double `s' = exp(`xbv') if `touse'
	sort `e(group)' `touse' `ord'
	quietly by `e(group)' `touse': replace `s' = sum(`s')
	quietly by `e(group)' `touse': replace `s' = `s'[_N]
	sort `ord'
	generate `typlist' `varlist' = exp(`xbv') / `s' if `touse'
end
