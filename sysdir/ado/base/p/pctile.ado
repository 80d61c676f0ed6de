*! pctile: a new variable holding the quantiles or the percentiles of an expression
program pctile
	version 10.1
	syntax anything(equalok everything) [, Nquantiles(integer 2) ///
		Genp(string) ALTdef]
	// the weight's expression and the new variable's share the local exp: the weight is taken out
	// of the line first
	local wgt
	if regexm(`"`anything'"', "^(.*)(\[ *[a-z]+ *=[^]]*\])(.*)$") {
		local wgt = regexs(2)
		local anything = regexs(1) + regexs(3)
	}
	local 0 `"`anything'"'
	syntax newvarname =exp [if] [in]
	if `nquantiles' < 2 | `nquantiles' > 1001 {
		display as error "nquantiles() must be between 2 and 1001"
		exit 198
	}
	if `nquantiles' > _N + 1 {
		display as error "nquantiles() must be no more than the number of observations plus 1"
		exit 198
	}
	if "`genp'" != "" confirm new variable `genp'
	tempvar x
	quietly generate double `x' = `exp' `if' `in'
	quietly _pctile `x' `wgt', nquantiles(`nquantiles') `altdef'
	quietly generate `typlist' `varlist' = .
	local last = `nquantiles' - 1
	forvalues k = 1/`last' {
		quietly replace `varlist' = r(r`k') in `k'
	}
	if "`genp'" != "" {
		quietly generate `genp' = 100 * _n / `nquantiles' in 1/`last'
	}
end
