*! mlogit_p: predictions after mlogit: pr (one variable per outcome, or outcome()), xb with outcome()
* Made wherever the regressors are present, in the estimation sample or not.
program mlogit_p
	version 10.1
	syntax newvarlist [if] [in] [, Pr XB Outcome(string)]
	if "`pr'" != "" & "`xb'" != "" {
		display as error "only one statistic may be specified"
		exit 198
	}
	local nv : word count `varlist'
	marksample touse, novarlist
	tempname b cat
	matrix `b' = e(b)
	matrix `cat' = e(cat)
	local ncat = e(k_cat)
	local ibase = e(ibaseout)
	* the index of each outcome but the base, from its equation
	tempvar den
	quietly generate double `den' = 1 if `touse'
	local e 0
	forvalues j = 1/`ncat' {
		if `j' != `ibase' {
			local ++e
			tempvar x`j'
			quietly matrix score double `x`j'' = `b' if `touse', equation(#`e')
			quietly replace `den' = `den' + exp(`x`j'') if `touse'
		}
	}
	if "`outcome'" != "" {
		if `nv' > 1 {
			display as error "only one new variable may be specified with outcome()"
			exit 103
		}
		if substr("`outcome'", 1, 1) == "#" local first = real(substr("`outcome'", 2, .))
		else {
			local first 0
			forvalues j = 1/`ncat' {
				if `cat'[1, `j'] == real("`outcome'") local first `j'
			}
		}
		if `first' < 1 | `first' > `ncat' | `first' == . {
			display as error "outcome(`outcome') not found"
			exit 111
		}
		local last `first'
	}
	else if "`xb'" != "" {
		display as error "xb requires outcome()"
		exit 198
	}
	else if `nv' == `ncat' {
		local first 1
		local last `ncat'
	}
	else if `nv' == 1 {
		display as text "(option pr outcome(#1) assumed)"
		local first 1
		local last 1
	}
	else {
		display as error "`ncat' new variables, one per outcome, or outcome() required"
		exit 198
	}
	local i 0
	forvalues j = `first'/`last' {
		local ++i
		local v : word `i' of `varlist'
		local t : word `i' of `typlist'
		local xj = cond(`j' == `ibase', "0", "`x`j''")
		if "`xb'" != "" generate `t' `v' = `xj' if `touse'
		else {
			generate `t' `v' = exp(`xj') / `den' if `touse'
			label variable `v' "Pr(`e(depvar)'==`=`cat'[1, `j']')"
		}
	}
end
