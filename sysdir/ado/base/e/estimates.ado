*! estimates: store, restore, replay, dir, drop, clear, table and stats of estimation results
program estimates
	version 10.1
	gettoken sub 0 : 0, parse(" ,")
	local n = length(`"`sub'"')
	if `n' == 0 {
		display as error "subcommand required"
		exit 198
	}
	if `"`sub'"' == substr("store", 1, max(3, `n')) {
		Store `0'
	}
	else if `"`sub'"' == substr("restore", 1, max(3, `n')) {
		Restore `0'
	}
	else if `"`sub'"' == substr("replay", 1, max(3, `n')) {
		Replay `0'
	}
	else if `"`sub'"' == "dir" {
		Dir `0'
	}
	else if `"`sub'"' == "drop" {
		Drop `0'
	}
	else if `"`sub'"' == "clear" {
		Clear `0'
	}
	else if `"`sub'"' == substr("table", 1, max(3, `n')) {
		Table `0'
	}
	else if `"`sub'"' == substr("stats", 1, max(4, `n')) {
		Stats `0'
	}
	else {
		display as error `"`sub' invalid subcommand"'
		exit 198
	}
end

* store name: a copy of the current results under name, replacing what was stored under it
program Store
	syntax name(name=name)
	if "`name'" == "_all" | "`name'" == "." {
		display as error "`name' may not be used as a name"
		exit 198
	}
	* the current results must exist before an old copy under this name goes
	tempname probe
	_estimates hold `probe', copy
	_estimates drop `probe'
	capture _estimates drop `name'
	_estimates hold `name', copy store varname(_est_`name')
end

* restore name: the stored results become the current ones, and stay stored
program Restore
	syntax name(name=name)
	Known `name'
	_estimates unhold `name'
	_estimates hold `name', copy store nullok varname(_est_`name')
end

* fails with 111 when name is not a stored result
program Known
	args name
	quietly _estimates names, store
	local names `r(names)'
	local in : list name in names
	if !`in' {
		display as error "estimation result `name' not found"
		exit 111
	}
end

* the stored names asked for: all of them for none or _all
program Names, rclass
	syntax [anything]
	quietly _estimates names, store
	local all `r(names)'
	if `"`anything'"' == "" | `"`anything'"' == "_all" {
		local anything `all'
	}
	foreach m of local anything {
		Known `m'
	}
	return local names `anything'
end

* replay [namelist]: the coefficient table of each stored result; the current results stay
program Replay
	syntax [anything] [, Level(passthru)]
	Names `anything'
	local names `r(names)'
	tempname cur
	_estimates hold `cur', nullok restore
	foreach m of local names {
		Restore `m'
		display
		display as txt "{hline 78}"
		display as txt "Model " as res "`m'"
		ereturn display, `level'
	}
end

* dir: the stored results with their command and dependent variable
program Dir
	syntax
	quietly _estimates names, store
	local names `r(names)'
	tempname cur
	_estimates hold `cur', nullok restore
	display
	display as txt "{hline 13}{c TT}{hline 40}"
	display as txt %12s "name" " {c |}  command      depvar       npar"
	display as txt "{hline 13}{c +}{hline 40}"
	foreach m of local names {
		Restore `m'
		local npar = 0
		capture {
			tempname b
			matrix `b' = e(b)
			local npar = colsof(`b')
		}
		display as txt %12s "`m'" " {c |}  " as res %-12s "`e(cmd)'" " " %-12s "`e(depvar)'" " " %4.0f `npar'
	}
	display as txt "{hline 13}{c BT}{hline 40}"
end

* drop namelist | _all
program Drop
	syntax anything
	Names `anything'
	foreach m in `r(names)' {
		_estimates drop `m'
	}
end

* clear: drops every stored result
program Clear
	syntax
	quietly _estimates names, store
	foreach m in `r(names)' {
		_estimates drop `m'
	}
end

* table [namelist] [, b(fmt) se(fmt)]: the models side by side, each coefficient with its standard
* error below it, then N and the log likelihood
program Table
	syntax [anything] [, b(string) se(string)]
	if "`b'" == "" local b "%9.0g"
	if "`se'" == "" local se "%9.0g"
	Names `anything'
	local names `r(names)'
	local k : word count `names'
	if `k' == 0 {
		display as error "no stored estimation results"
		exit 301
	}
	tempname cur
	_estimates hold `cur', nullok restore
	local i 0
	local all
	foreach m of local names {
		local ++i
		Restore `m'
		tempname b`i' v`i'
		matrix `b`i'' = e(b)
		local hasv`i' 0
		capture matrix `v`i'' = e(V)
		if !_rc local hasv`i' 1
		local N`i' = e(N)
		local ll`i' = e(ll)
		local cn`i' : colfullnames `b`i''
		foreach c of local cn`i' {
			local there : list c in all
			if !`there' local all `all' `c'
		}
	}
	* the constant of a one-equation model stands last, whichever model brought it first
	local cons _cons
	local hascons : list cons in all
	if `hascons' {
		local all : list all - cons
		local all `all' _cons
	}
	local w = 13 + 12 * `k'
	display
	display as txt "{hline 13}{c TT}{hline `=12*`k''}"
	display as txt %12s "Variable" " {c |}" _continue
	forvalues i = 1/`k' {
		local m : word `i' of `names'
		display as txt %12s abbrev("`m'", 11) _continue
	}
	display
	display as txt "{hline 13}{c +}{hline `=12*`k''}"
	foreach c of local all {
		display as txt %12s abbrev("`c'", 12) " {c |}" _continue
		forvalues i = 1/`k' {
			local j : list posof "`c'" in cn`i'
			if `j' {
				display as res %12s string(`b`i''[1, `j'], "`b'") _continue
			}
			else {
				display _skip(12) _continue
			}
		}
		display
		display as txt _skip(12) " {c |}" _continue
		forvalues i = 1/`k' {
			local j : list posof "`c'" in cn`i'
			if `j' & `hasv`i'' {
				display as res %12s string(sqrt(`v`i''[`j', `j']), "`se'") _continue
			}
			else {
				display _skip(12) _continue
			}
		}
		display
	}
	display as txt "{hline 13}{c +}{hline `=12*`k''}"
	display as txt %12s "N" " {c |}" _continue
	forvalues i = 1/`k' {
		display as res "   " %9.0g `N`i'' _continue
	}
	display
	display as txt %12s "ll" " {c |}" _continue
	forvalues i = 1/`k' {
		display as res "   " %9.0g `ll`i'' _continue
	}
	display
	display as txt "{hline 13}{c BT}{hline `=12*`k''}"
	display as txt _skip(20) "legend: b/se"
end

* stats [namelist]: N, log likelihood, degrees of freedom, AIC = -2ll + 2k and BIC = -2ll + k ln N,
* with k the parameters: e(rank) where it is posted, else the coefficients with a variance
program Stats
	syntax [anything]
	Names `anything'
	local names `r(names)'
	tempname cur
	_estimates hold `cur', nullok restore
	display
	display as txt "{hline 13}{c TT}{hline 63}"
	display as txt %12s "Model" " {c |}    Obs    ll(null)   ll(model)     df          AIC         BIC"
	display as txt "{hline 13}{c +}{hline 63}"
	foreach m of local names {
		Restore `m'
		local N = e(N)
		local ll = e(ll)
		local ll0 = e(ll_0)
		local df = e(rank)
		if `df' >= . {
			local df 0
			capture {
				tempname b
				matrix `b' = e(b)
				local df = colsof(`b')
			}
			capture {
				tempname V
				matrix `V' = e(V)
				local df 0
				forvalues j = 1/`=rowsof(`V')' {
					if `V'[`j', `j'] != 0 local ++df
				}
			}
		}
		local aic = -2 * `ll' + 2 * `df'
		local bic = -2 * `ll' + `df' * ln(`N')
		display as txt %12s abbrev("`m'", 12) " {c |}" as res %7.0f `N' "  " %10.0g `ll0' "  " %10.0g `ll' "  " %5.0f `df' "  " %11.0g `aic' "  " %10.0g `bic'
	}
	display as txt "{hline 13}{c BT}{hline 63}"
end
