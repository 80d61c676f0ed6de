*! ci: confidence intervals for means, and exact binomial intervals for proportions
program ci, rclass
	version 10.1
	syntax [varlist(numeric)] [if] [in] [aweight fweight] [, Level(cilevel) Binomial ///
		SEParator(integer 5)]
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	if "`binomial'" != "" & "`weight'" == "aweight" {
		display as error "aweights not allowed with binomial"
		exit 101
	}
	marksample touse, novarlist
	local a = (100 - `level') / 200
	local lv = string(`level')
	local cil `"[`lv'% Conf. Interval]"'
	local pad = 24 - length(`"`cil'"')
	if "`binomial'" != "" {
		display as text _col(51) "{hline 2} Binomial Exact {hline 2}"
		local mh "  Proportion"
	}
	else local mh "        Mean"
	display as text "    Variable {c |}        Obs`mh'   Std. Err." _skip(`pad') `"`cil'"'
	display as text "{hline 13}{c +}{hline 59}"
	tempname N m se lb ub
	local row 0
	foreach v of local varlist {
		if `separator' > 0 & `row' > 0 & mod(`row', `separator') == 0 {
			display as text "{hline 13}{c +}{hline 59}"
		}
		local ++row
		if "`binomial'" != "" {
			quietly count if `touse' & `v' < . & `v' != 0 & `v' != 1
			if r(N) > 0 {
				display as error "`v' is not a 0/1 variable"
				exit 2000
			}
		}
		quietly summarize `v' `wgt' if `touse'
		scalar `N' = r(N)
		scalar `m' = r(mean)
		if `N' == 0 {
			display as text %12s abbrev("`v'", 12) " {c |}" as result %11.0f 0
			continue
		}
		if "`binomial'" != "" {
			tempname k
			scalar `k' = round(r(mean) * r(N))
			scalar `se' = sqrt(r(mean) * (1 - r(mean)) / r(N))
			scalar `lb' = cond(`k' == 0, 0, invibeta(`k', `N' - `k' + 1, `a'))
			scalar `ub' = cond(`k' == `N', 1, invibetatail(`k' + 1, `N' - `k', `a'))
		}
		else {
			scalar `se' = sqrt(r(Var) / r(N))
			scalar `lb' = `m' - invttail(`N' - 1, `a') * `se'
			scalar `ub' = `m' + invttail(`N' - 1, `a') * `se'
		}
		display as text %12s abbrev("`v'", 12) " {c |}" as result %11.0f `N' "   " %9.0g `m' ///
			"   " %9.0g `se' "   " %9.0g `lb' "   " %9.0g `ub'
	}
	return scalar N = `N'
	return scalar mean = `m'
	if `N' > 0 {
		return scalar se = `se'
		return scalar lb = `lb'
		return scalar ub = `ub'
	}
	return scalar level = `level'
end
