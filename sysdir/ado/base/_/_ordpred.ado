*! _ordpred: the predictions of the ordered models: pr (the default), one new variable per outcome or
*! the one of outcome(); or xb; or stdp, its standard error
* Made wherever the regressors (and the offset) are present, in the estimation sample or not.
program _ordpred
	version 10.1
	gettoken link 0 : 0
	syntax newvarlist [if] [in] [, Pr XB STDP Outcome(string)]
	if `: word count `pr' `xb' `stdp'' > 1 {
		display as error "only one statistic may be specified"
		exit 198
	}
	local nv : word count `varlist'
	marksample touse, novarlist
	tempvar xbv
	tempname b cat
	matrix `b' = e(b)
	matrix `cat' = e(cat)
	local ncat = e(k_cat)
	local names : colnames e(b)
	local k : word count `names'
	quietly generate double `xbv' = 0 if `touse'
	forvalues i = 1/`k' {
		local a : word `i' of `names'
		if substr("`a'", 1, 4) != "_cut" & `b'[1, `i'] != 0 {
			quietly replace `xbv' = `xbv' + `b'[1, `i'] * `a' if `touse'
		}
	}
	if "`e(offset)'" != "" quietly replace `xbv' = `xbv' + `e(offset)'
	if "`xb'`stdp'" != "" {
		if `nv' > 1 {
			display as error "only one new variable may be specified with `xb'`stdp'"
			exit 103
		}
		if "`xb'" != "" {
			generate `typlist' `varlist' = `xbv' if `touse'
			exit
		}
		* x V x' over the columns of the regressors; the cut points are not part of xb
		tempname V
		tempvar q
		matrix `V' = e(V)
		quietly generate double `q' = 0 if `touse'
		forvalues i = 1/`k' {
			local a : word `i' of `names'
			if substr("`a'", 1, 4) == "_cut" continue
			forvalues j = 1/`k' {
				local c : word `j' of `names'
				if substr("`c'", 1, 4) == "_cut" continue
				if `V'[`i', `j'] != 0 quietly replace `q' = `q' + `a' * `c' * `V'[`i', `j'] if `touse'
			}
		}
		generate `typlist' `varlist' = sqrt(`q') if `touse'
		exit
	}
	* the outcomes asked for: all of them, one variable each, or the one of outcome(#) (#k: the k-th)
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
	local F = cond("`link'" == "probit", "normal", "invlogit")
	local i 0
	forvalues j = `first'/`last' {
		local ++i
		local v : word `i' of `varlist'
		local t : word `i' of `typlist'
		local up = cond(`j' < `ncat', "`F'(_b[_cut`j'] - `xbv')", "1")
		local jm = `j' - 1
		local lo = cond(`j' > 1, "`F'(_b[_cut`jm'] - `xbv')", "0")
		if `j' == `ncat' & `j' > 1 local pe "`F'(`xbv' - _b[_cut`jm'])"
		else local pe "`up' - `lo'"
		generate `t' `v' = `pe' if `touse'
		label variable `v' "Pr(`e(depvar)'==`=`cat'[1, `j']')"
	}
end
