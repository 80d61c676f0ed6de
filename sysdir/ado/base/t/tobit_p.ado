*! tobit_p: predictions after tobit and cnreg: xb (the default), stdp
* Made wherever the regressors (and the offset) are present, in the estimation sample or not.
program tobit_p
	version 10.1
	syntax newvarname [if] [in] [, XB STDP]
	if "`xb'" != "" & "`stdp'" != "" {
		display as error "only one statistic may be specified"
		exit 198
	}
	marksample touse, novarlist
	tempname b V
	tempvar q
	matrix `b' = e(b)
	matrix `V' = e(V)
	local names : colnames e(b)
	local k = colsof(`b') - 1
	if "`stdp'" == "" {
		if "`xb'" == "" display as text "(option xb assumed; fitted values)"
		quietly generate double `q' = 0 if `touse'
		forvalues i = 1/`k' {
			local a : word `i' of `names'
			if "`a'" == "_cons" local a 1
			quietly replace `q' = `q' + `b'[1, `i'] * (`a') if `touse'
		}
		if "`e(offset)'" != "" quietly replace `q' = `q' + `e(offset)'
		generate `typlist' `varlist' = `q' if `touse'
		exit
	}
	* x V x' over the columns of the index, the constant's column being 1
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
