*! _binpred: the predictions of the binary-outcome models: pr (the default), xb, stdp
* Made wherever the regressors (and the offset) are present, in the estimation sample or not.
program _binpred
	version 10.1
	gettoken link 0 : 0
	syntax newvarname [if] [in] [, Pr XB STDP]
	local stat `pr' `xb' `stdp'
	if `: word count `stat'' > 1 {
		display as error "only one statistic may be specified"
		exit 198
	}
	if "`stat'" == "" {
		display as text "(option pr assumed; Pr(`e(depvar)'))"
		local stat pr
	}
	marksample touse, novarlist
	tempvar xbv q
	tempname b
	matrix `b' = e(b)
	quietly matrix score double `xbv' = `b' if `touse'
	if "`e(offset)'" != "" quietly replace `xbv' = `xbv' + `e(offset)'
	if "`stat'" == "xb" {
		generate `typlist' `varlist' = `xbv' if `touse'
		exit
	}
	if "`stat'" == "pr" {
		if "`link'" == "probit" generate `typlist' `varlist' = normal(`xbv') if `touse'
		else generate `typlist' `varlist' = invlogit(`xbv') if `touse'
		exit
	}
	* x V x' over the columns of e(b), the constant's column being 1
	tempname V
	matrix `V' = e(V)
	local names : colnames e(b)
	local k : word count `names'
	quietly generate double `q' = 0 if `touse'
	forvalues i = 1/`k' {
		local a : word `i' of `names'
		if "`a'" == "_cons" local a 1
		forvalues j = 1/`k' {
			local c : word `j' of `names'
			if "`c'" == "_cons" local c 1
			if `V'[`i', `j'] != 0 quietly replace `q' = `q' + (`a') * (`c') * `V'[`i', `j'] if `touse'
		}
	}
	generate `typlist' `varlist' = sqrt(`q') if `touse'
end
