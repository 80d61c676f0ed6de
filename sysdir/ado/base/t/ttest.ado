*! ttest: t tests of the mean of one sample, of two groups, and of paired observations
program ttest, rclass
	version 10.1
	// ttest varname == #|varname [if] [in] [, level(#)]   ttest varname [if] [in], by(varname) [unequal level(#)]
	gettoken v rest : 0, parse(" =,")
	gettoken eq rest2 : rest, parse(" =,")
	if "`eq'" == "=" {
		gettoken eq2 rest2 : rest2, parse(" =,")
		if "`eq2'" != "=" {
			display as error "== required"
			exit 198
		}
		gettoken rhs rest2 : rest2, parse(" ,")
		local 0 `"`v' `rest2'"'
		syntax varname(numeric) [if] [in] [, Level(cilevel)]
		marksample touse
		capture confirm number `rhs'
		if _rc == 0 {
			OneSample `varlist' `touse' `rhs' `level'
		}
		else {
			confirm numeric variable `rhs'
			markout `touse' `rhs'
			Paired `varlist' `rhs' `touse' `level'
		}
	}
	else {
		syntax varname(numeric) [if] [in], BY(varname) [UNEqual Level(cilevel)]
		marksample touse
		markout `touse' `by', strok
		Groups `varlist' `by' `touse' `level' `unequal'
	}
	return add
end

// The line of one sample: name, N, mean, standard error, standard deviation, interval.
program Row
	args name N m se sd lb ub
	display as text %8s abbrev("`name'", 8) " {c |}" as result %8.0f `N' "   " %9.0g `m' "   " ///
		%9.0g `se' "   " %9.0g `sd' "   " %9.0g `lb' "   " %9.0g `ub'
end

program Header
	args level
	local lv = string(`level')
	local cil `"[`lv'% Conf. Interval]"'
	display as text "{hline 9}{c TT}{hline 68}"
	display as text "Variable {c |}     Obs        Mean    Std. Err.   Std. Dev." _skip(3) `"`cil'"'
	display as text "{hline 9}{c +}{hline 68}"
end

// The interval of a mean from its t quantile.
program Describe, rclass
	args x touse level
	quietly summarize `x' if `touse'
	local a = (100 - `level') / 200
	return scalar N = r(N)
	return scalar mean = r(mean)
	return scalar sd = r(sd)
	return scalar se = r(sd) / sqrt(r(N))
	return scalar lb = r(mean) - invttail(r(N) - 1, `a') * r(sd) / sqrt(r(N))
	return scalar ub = r(mean) + invttail(r(N) - 1, `a') * r(sd) / sqrt(r(N))
end

// The three alternatives beneath the table.
program Tails, rclass
	args t df lhs rhs
	tempname pl pu p
	scalar `pl' = 1 - ttail(`df', `t')
	scalar `pu' = ttail(`df', `t')
	scalar `p' = 2 * ttail(`df', abs(`t'))
	display
	display as text _col(5) "Ha: `lhs' < `rhs'" _col(32) "Ha: `lhs' != `rhs'" _col(60) "Ha: `lhs' > `rhs'"
	display as text _col(2) "Pr(T < t) = " as result %6.4f `pl' as text _col(28) "Pr(|T| > |t|) = " ///
		as result %6.4f `p' as text _col(57) "Pr(T > t) = " as result %6.4f `pu'
	return scalar p_l = `pl'
	return scalar p_u = `pu'
	return scalar p = `p'
end

program OneSample, rclass
	args x touse mu0 level
	Describe `x' `touse' `level'
	if r(N) < 2 {
		error 2001
	}
	tempname N m sd se lb ub t
	scalar `N' = r(N)
	scalar `m' = r(mean)
	scalar `sd' = r(sd)
	scalar `se' = r(se)
	scalar `lb' = r(lb)
	scalar `ub' = r(ub)
	scalar `t' = (`m' - `mu0') / `se'
	display
	display as text "One-sample t test"
	Header `level'
	Row `x' `N' `m' `se' `sd' `lb' `ub'
	display as text "{hline 9}{c BT}{hline 68}"
	display as text _col(5) "mean = mean(" abbrev("`x'", 20) ")" _col(67) "t = " as result %8.4f `t'
	display as text _col(5) "Ho: mean = " %-9.0g `mu0' _col(51) "degrees of freedom = " as result %8.0f `N' - 1
	local df = `N' - 1
	Tails `t' `df' mean `mu0'
	return add
	return scalar N_1 = `N'
	return scalar mu_1 = `m'
	return scalar sd_1 = `sd'
	return scalar se = `se'
	return scalar t = `t'
	return scalar df_t = `N' - 1
	return scalar level = `level'
end

program Paired, rclass
	args x y touse level
	tempvar d
	quietly generate double `d' = `x' - `y' if `touse'
	quietly count if `touse'
	if r(N) < 2 {
		error 2001
	}
	tempname N t se sdd m
	display
	display as text "Paired t test"
	Header `level'
	foreach v in `x' `y' {
		Describe `v' `touse' `level'
		Row `v' r(N) r(mean) r(se) r(sd) r(lb) r(ub)
	}
	display as text "{hline 9}{c +}{hline 68}"
	Describe `d' `touse' `level'
	scalar `N' = r(N)
	scalar `m' = r(mean)
	scalar `se' = r(se)
	scalar `sdd' = r(sd)
	scalar `t' = `m' / `se'
	Row diff r(N) r(mean) r(se) r(sd) r(lb) r(ub)
	display as text "{hline 9}{c BT}{hline 68}"
	display as text _col(5) "mean(diff) = mean(" abbrev("`x'", 12) " - " abbrev("`y'", 12) ")" _col(67) ///
		"t = " as result %8.4f `t'
	display as text _col(1) "Ho: mean(diff) = 0" _col(51) "degrees of freedom = " as result %8.0f `N' - 1
	local df = `N' - 1
	Tails `t' `df' "mean(diff)" 0
	return add
	quietly summarize `x' if `touse'
	return scalar mu_1 = r(mean)
	quietly summarize `y' if `touse'
	return scalar mu_2 = r(mean)
	return scalar N_1 = `N'
	return scalar N_2 = `N'
	return scalar sd_d = `sdd'
	return scalar se = `se'
	return scalar t = `t'
	return scalar df_t = `N' - 1
	return scalar level = `level'
end

program Groups, rclass
	args x g touse level unequal
	// the two groups: the smallest value of the group variable, then the other
	tempvar gi
	capture confirm string variable `g'
	if _rc == 0 {
		quietly generate byte `gi' = .
		tempvar o
		quietly generate long `o' = _n
		sort `touse' `g' `o'
		quietly replace `gi' = sum(`touse' & (`g' != `g'[_n - 1] | !`touse'[_n - 1])) if `touse'
		sort `o'
	}
	else {
		quietly summarize `g' if `touse', meanonly
		quietly generate byte `gi' = cond(`g' == r(min), 1, 2) if `touse'
		quietly count if `touse' & `g' != r(min) & `g' != r(max)
		if r(N) > 0 {
			display as error "more than 2 groups found, only 2 allowed"
			exit 420
		}
	}
	quietly summarize `gi', meanonly
	if r(max) != 2 | r(min) != 1 {
		display as error "more than 2 groups found, only 2 allowed"
		exit 420
	}
	tempname N1 N2 m1 m2 s1 s2 se t df
	display
	if "`unequal'" != "" display as text "Two-sample t test with unequal variances"
	else display as text "Two-sample t test with equal variances"
	Header `level'
	capture confirm string variable `g'
	local isstr = _rc == 0
	forvalues k = 1/2 {
		tempvar in`k'
		quietly generate byte `in`k'' = `touse' & `gi' == `k'
		if `isstr' {
			tempvar first
			quietly generate long `first' = sum(`in`k'')
			quietly count if `first' == 0
			local name`k' = `g'[r(N) + 1]
		}
		else {
			quietly summarize `g' if `in`k'', meanonly
			local name`k' = string(r(min))
		}
		Describe `x' `in`k'' `level'
		scalar `N`k'' = r(N)
		scalar `m`k'' = r(mean)
		scalar `s`k'' = r(sd)
		Row `"`name`k''"' r(N) r(mean) r(se) r(sd) r(lb) r(ub)
	}
	display as text "{hline 9}{c +}{hline 68}"
	Describe `x' `touse' `level'
	Row combined r(N) r(mean) r(se) r(sd) r(lb) r(ub)
	display as text "{hline 9}{c +}{hline 68}"
	if `N1' < 1 | `N2' < 1 | `N1' + `N2' < 3 {
		error 2001
	}
	if "`unequal'" != "" {
		tempname v1 v2
		scalar `v1' = `s1'^2 / `N1'
		scalar `v2' = `s2'^2 / `N2'
		scalar `se' = sqrt(`v1' + `v2')
		scalar `df' = (`v1' + `v2')^2 / (`v1'^2 / (`N1' - 1) + `v2'^2 / (`N2' - 1))
	}
	else {
		scalar `df' = `N1' + `N2' - 2
		scalar `se' = sqrt(((`N1' - 1) * `s1'^2 + (`N2' - 1) * `s2'^2) / `df' * (1 / `N1' + 1 / `N2'))
	}
	local a = (100 - `level') / 200
	tempname d
	scalar `d' = `m1' - `m2'
	display as text "    diff {c |}" _skip(11) as result %9.0g `d' "   " %9.0g `se' _skip(15) ///
		%9.0g `d' - invttail(`df', `a') * `se' "   " %9.0g `d' + invttail(`df', `a') * `se'
	display as text "{hline 9}{c BT}{hline 68}"
	scalar `t' = `d' / `se'
	display as text _col(5) "diff = mean(" abbrev("`name1'", 12) ") - mean(" abbrev("`name2'", 12) ")" ///
		_col(67) "t = " as result %8.4f `t'
	if "`unequal'" != "" {
		display as text "Ho: diff = 0" _col(35) "Satterthwaite's degrees of freedom = " as result %8.0g `df'
	}
	else {
		display as text "Ho: diff = 0" _col(51) "degrees of freedom = " as result %8.0f `df'
	}
	Tails `t' `df' diff 0
	return add
	return scalar N_1 = `N1'
	return scalar N_2 = `N2'
	return scalar mu_1 = `m1'
	return scalar mu_2 = `m2'
	return scalar sd_1 = `s1'
	return scalar sd_2 = `s2'
	return scalar se = `se'
	return scalar t = `t'
	return scalar df_t = `df'
	return scalar level = `level'
end
