*! xtile: a new variable holding the quantile category of each observation of an expression
program xtile
	version 10.1
	syntax anything(equalok everything) [, Nquantiles(integer 2) ///
		Cutpoints(varname numeric) ALTdef]
	// the weight's expression and the new variable's share the local exp: the weight is taken out
	// of the line first
	local wgt
	if regexm(`"`anything'"', "^(.*)(\[ *[a-z]+ *=[^]]*\])(.*)$") {
		local wgt = regexs(2)
		local anything = regexs(1) + regexs(3)
	}
	local 0 `"`anything'"'
	syntax newvarname =exp [if] [in]
	if "`cutpoints'" != "" & `nquantiles' != 2 {
		display as error "nquantiles() and cutpoints() may not be combined"
		exit 198
	}
	if `nquantiles' < 2 | `nquantiles' > 1001 {
		display as error "nquantiles() must be between 2 and 1001"
		exit 198
	}
	marksample touse, novarlist
	tempvar x
	quietly generate double `x' = `exp' if `touse'
	// category k + 1 for a value above the k-th cut point (ascending) and at or below the next; the
	// percentiles come first, so that a failure leaves no new variable behind
	if "`cutpoints'" == "" {
		quietly _pctile `x' `wgt' if `touse', nquantiles(`nquantiles') `altdef'
	}
	quietly generate `typlist' `varlist' = 1 if `x' < .
	if "`cutpoints'" != "" {
		tempvar c
		quietly generate double `c' = `cutpoints'
		local k 1
		quietly summarize `c', meanonly
		while r(N) > 0 {
			quietly replace `varlist' = `k' + 1 if `x' > r(min) & `x' < .
			local ++k
			quietly summarize `c' if `c' > r(min), meanonly
		}
	}
	else {
		local ncut = `nquantiles' - 1
		forvalues k = 1/`ncut' {
			quietly replace `varlist' = `k' + 1 if `x' > r(r`k') & `x' < .
		}
	}
end
