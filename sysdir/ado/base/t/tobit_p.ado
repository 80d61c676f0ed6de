*! tobit_p: predictions after tobit and cnreg: xb (the default), stdp, and for the outcome y = xb + e,
*! e normal(0, sigma): pr(a,b), the chance that a < y < b; e(a,b), the mean of y given that; ystar(a,b),
*! the mean of y censored at a and b.  An end given as . (or a missing value of a variable) is open.
* Made wherever the regressors (and the offset) are present, in the estimation sample or not.
program tobit_p
	version 10.1
	syntax newvarname [if] [in] [, XB STDP Pr(string) E(string) YStar(string)]
	local stat `xb' `stdp'
	if `"`pr'"' != "" local stat `stat' pr
	if `"`e'"' != "" local stat `stat' e
	if `"`ystar'"' != "" local stat `stat' ystar
	if `: word count `stat'' > 1 {
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
		if "`stat'" == "" display as text "(option xb assumed; fitted values)"
		quietly generate double `q' = 0 if `touse'
		forvalues i = 1/`k' {
			local a : word `i' of `names'
			if "`a'" == "_cons" local a 1
			quietly replace `q' = `q' + `b'[1, `i'] * (`a') if `touse'
		}
		if "`e(offset)'" != "" quietly replace `q' = `q' + `e(offset)'
		if "`stat'" == "" | "`stat'" == "xb" {
			generate `typlist' `varlist' = `q' if `touse'
			exit
		}
		* the two ends, standardised: za and zb are missing where the end is open
		local ab `"``stat''"'
		local comma = strpos(`"`ab'"', ",")
		local lo = trim(substr(`"`ab'"', 1, `comma' - 1))
		local hi = trim(substr(`"`ab'"', `comma' + 1, .))
		if `comma' == 0 | `"`lo'"' == "" | `"`hi'"' == "" | strpos(`"`hi'"', ",") {
			display as error "`stat'(`ab') invalid: two ends, a and b, required"
			exit 198
		}
		if real(`"`lo'"') < . & real(`"`hi'"') < . & real(`"`lo'"') >= real(`"`hi'"') {
			display as error "`stat'(`ab') invalid: a must be less than b"
			exit 198
		}
		tempvar za zb FA GA FB GB fA fB P
		local s = _b[_se]
		quietly generate double `za' = ((`lo') - `q') / `s' if `touse'
		quietly generate double `zb' = ((`hi') - `q') / `s' if `touse'
		* F the chance below an end, G the chance above it, each from its own tail
		quietly generate double `FA' = cond(`za' >= ., 0, normal(`za'))
		quietly generate double `GA' = cond(`za' >= ., 1, normal(-`za'))
		quietly generate double `FB' = cond(`zb' >= ., 1, normal(`zb'))
		quietly generate double `GB' = cond(`zb' >= ., 0, normal(-`zb'))
		quietly generate double `fA' = cond(`za' >= ., 0, normalden(`za'))
		quietly generate double `fB' = cond(`zb' >= ., 0, normalden(`zb'))
		* the chance between, as a difference of two small tails rather than of two numbers near 1
		* ends in the wrong order (from variables) give no prediction there
		quietly generate double `P' = cond(`za' > 0 & `za' < ., `GA' - `GB', `FB' - `FA')
		quietly replace `P' = . if `za' >= `zb' & `za' < . & `zb' < .
		if "`stat'" == "pr" {
			generate `typlist' `varlist' = `P' if `touse'
		}
		else if "`stat'" == "e" {
			generate `typlist' `varlist' = `q' + `s' * (`fA' - `fB') / `P' if `touse'
		}
		else {
			* the censored ends: a times the chance below a, b times the chance above b
			local ta 0
			local tb 0
			if `"`lo'"' != "." local ta cond(`za' >= ., 0, (`lo') * `FA')
			if `"`hi'"' != "." local tb cond(`zb' >= ., 0, (`hi') * `GB')
			generate `typlist' `varlist' = `ta' + `q' * `P' + `s' * (`fA' - `fB') + `tb' if `touse'
		}
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
