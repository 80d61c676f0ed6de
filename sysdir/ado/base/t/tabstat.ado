*! tabstat: tables of summary statistics of variables, over the categories of another if asked
program tabstat, rclass
	version 10.1
	syntax varlist(numeric) [if] [in] [aweight fweight] [, Statistics(string) STATs(string) ///
		BY(varname) Columns(string) Format(string) noTotal]
	if `"`stats'"' != "" local statistics `"`statistics' `stats'"'
	if `"`statistics'"' == "" local statistics mean
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	if `"`format'"' == "" local format %9.0g
	local w = max(fmtwidth("`format'"), 8)
	// the statistics by their names, and whether summarize must give its detail
	local names
	local detail
	foreach s of local statistics {
		local t = lower("`s'")
		if "`t'" == "n" | "`t'" == "count" local t N
		else if "`t'" == "var" local t variance
		else if "`t'" == "median" | "`t'" == "med" local t p50
		else if "`t'" == "se(mean)" | "`t'" == "sem" local t semean
		else if "`t'" == "q" local t p25 p50 p75
		else if "`t'" == "skew" local t skewness
		else if "`t'" == "kurt" local t kurtosis
		foreach u of local t {
			if !inlist("`u'", "mean", "N", "sum", "sum_w", "max", "min", "range", "sd") & ///
				!inlist("`u'", "variance", "cv", "semean", "skewness", "kurtosis", "iqr") & ///
				!inlist("`u'", "p1", "p5", "p10", "p25", "p50", "p75", "p90", "p95", "p99") {
				display as error `"`s' is not a valid statistic"'
				exit 198
			}
			if inlist("`u'", "skewness", "kurtosis", "iqr") | substr("`u'", 1, 1) == "p" local detail detail
			local names `names' `u'
		}
	}
	local ns : word count `names'
	local nv : word count `varlist'
	if `"`columns'"' == "" local columns variables
	if `"`columns'"' == substr("statistics", 1, max(1, length(`"`columns'"'))) local columns statistics
	else if `"`columns'"' == substr("variables", 1, max(1, length(`"`columns'"'))) local columns variables
	else {
		display as error `"columns(`columns') invalid"'
		exit 198
	}
	marksample touse
	if "`by'" != "" markout `touse' `by', strok
	// the groups, numbered 1.. in the order of the values of by(), and their names
	local ng 0
	if "`by'" != "" {
		tempvar o g
		quietly generate long `o' = _n
		sort `touse' `by' `o'
		quietly generate long `g' = sum(`touse' & (`by' != `by'[_n - 1] | !`touse'[_n - 1])) if `touse'
		quietly summarize `g', meanonly
		local ng = r(max)
		if `ng' == . local ng 0
		forvalues k = 1/`ng' {
			quietly count if `g' < `k'
			local first = r(N) + 1
			capture confirm string variable `by'
			if _rc == 0 local name`k' = `by'[`first']
			else {
				local name`k' = string(`by'[`first'])
				local vl : value label `by'
				if "`vl'" != "" local name`k' : label `vl' `=`by'[`first']'
			}
		}
		sort `o'
	}
	// the statistics of group k (0 the whole sample) into the matrix Stat`k', statistics by variables
	local last = cond("`total'" == "" | `ng' == 0, `ng' + 1, `ng')
	forvalues k = 1/`last' {
		tempname S`k'
		matrix `S`k'' = J(`ns', `nv', .)
		local sel `touse'
		if `k' <= `ng' local sel `touse' & `g' == `k'
		local j 0
		foreach v of local varlist {
			local ++j
			quietly summarize `v' `wgt' if `sel', `detail'
			local i 0
			foreach u of local names {
				local ++i
				if "`u'" == "range" matrix `S`k''[`i', `j'] = r(max) - r(min)
				else if "`u'" == "variance" matrix `S`k''[`i', `j'] = r(Var)
				else if "`u'" == "cv" matrix `S`k''[`i', `j'] = r(sd) / r(mean)
				else if "`u'" == "semean" matrix `S`k''[`i', `j'] = r(sd) / sqrt(r(N))
				else if "`u'" == "iqr" matrix `S`k''[`i', `j'] = r(p75) - r(p25)
				else matrix `S`k''[`i', `j'] = r(`u')
			}
		}
		matrix rownames `S`k'' = `names'
		matrix colnames `S`k'' = `varlist'
	}
	if `ng' > 0 & "`total'" == "" local name`last' Total
	// the table
	if "`by'" != "" {
		display
		display as text "Summary statistics: " as result "`names'"
		display as text "  by categories of: " as result "`by'"
	}
	display
	local lead = cond("`by'" != "", abbrev("`by'", 12), cond("`columns'" == "variables", "stats", "variable"))
	local lw = cond("`by'" != "", 12, 8)
	local line "{hline `=`lw' + 1'}{c +}"
	if "`columns'" == "variables" {
		local cols `varlist'
		local rows `names'
	}
	else {
		local cols `names'
		local rows `varlist'
	}
	local nc : word count `cols'
	local head `"{txt}`=substr("            ", 1, `lw' - length("`lead'"))'`lead' {c |}"'
	foreach c of local cols {
		local a = abbrev("`c'", `w')
		local head `"`head' `=substr("                                ", 1, `w' - length("`a'"))'`a'"'
		local line `"`line'{hline `=`w' + 1'}"'
	}
	display as text `"`head'"'
	display as text `"`line'"'
	local ngroups = cond("`by'" == "", 1, `last')
	forvalues k = 1/`ngroups' {
		if "`by'" == "" local S `S`last''
		else local S `S`k''
		if `k' == `ngroups' & "`by'" != "" & "`total'" == "" display as text `"`line'"'
		local r 0
		foreach rn of local rows {
			local ++r
			local lab `rn'
			if "`by'" != "" local lab = cond(`r' == 1, `"`name`k''"', "")
			local lab = abbrev(`"`lab'"', `lw')
			local out `"{txt}`=substr("            ", 1, `lw' - length(`"`lab'"'))'`lab' {c |}{res}"'
			forvalues c = 1/`nc' {
				if "`columns'" == "variables" local x = `S'[`r', `c']
				else local x = `S'[`c', `r']
				local t = cond(`x' == ., "", string(`x', "`format'"))
				local out `"`out' `=substr("                                ", 1, `w' - length("`t'"))'`t'"'
			}
			display as text `"`out'"'
		}
	}
	// the results
	if `ng' > 0 {
		forvalues k = 1/`ng' {
			return local name`k' `"`name`k''"'
			return matrix Stat`k' = `S`k''
		}
	}
	if `last' > `ng' return matrix StatTotal = `S`last''
end
