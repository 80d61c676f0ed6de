*! regres_p: predictions after regress: xb, residuals, stdp, stdf, stdr, leverage, cooksd
* xb, stdp, stdf, residuals and leverage are made wherever the regressors are present; stdr and
* cooksd describe the fit itself and are made in the estimation sample only.
program regres_p
	version 10.1
	syntax newvarname [if] [in] [, XB Residuals STDP STDF STDR Leverage Hat COOKsd]
	if "`hat'" != "" local leverage leverage
	local stat `xb' `residuals' `stdp' `stdf' `stdr' `leverage' `cooksd'
	if `: word count `stat'' > 1 {
		display as error "only one statistic may be specified"
		exit 198
	}
	if "`stat'" == "" {
		display as text "(option xb assumed; fitted values)"
		local stat xb
	}
	marksample touse, novarlist
	if "`stat'" == "stdr" | "`stat'" == "cooksd" quietly replace `touse' = 0 if !e(sample)
	tempvar xbv q
	tempname b
	matrix `b' = e(b)
	quietly matrix score double `xbv' = `b' if `touse'
	if "`stat'" == "xb" {
		generate `typlist' `varlist' = `xbv' if `touse'
		exit
	}
	if "`stat'" == "residuals" {
		generate `typlist' `varlist' = `e(depvar)' - `xbv' if `touse'
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
			local b : word `j' of `names'
			if "`b'" == "_cons" local b 1
			if `V'[`i', `j'] != 0 quietly replace `q' = `q' + (`a') * (`b') * `V'[`i', `j'] if `touse'
		}
	}
	local s2 = e(rmse)^2
	if "`stat'" == "stdp" generate `typlist' `varlist' = sqrt(`q') if `touse'
	else if "`stat'" == "stdf" generate `typlist' `varlist' = sqrt(`q' + `s2') if `touse'
	else if "`stat'" == "leverage" generate `typlist' `varlist' = `q' / `s2' if `touse'
	else if "`stat'" == "stdr" generate `typlist' `varlist' = sqrt(`s2' * (1 - `q' / `s2')) if `touse'
	else {
		generate `typlist' `varlist' = (`e(depvar)' - `xbv')^2 * (`q' / `s2') / ///
			((e(df_m) + ("`: word `k' of `names''" == "_cons")) * `s2' * (1 - `q' / `s2')^2) if `touse'
	}
end
