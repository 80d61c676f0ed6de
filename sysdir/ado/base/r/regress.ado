*! regress: linear regression by least squares; robust and cluster variance from the residuals
program regress, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "regress" error 301
		_regress `0'
		exit
	}
	syntax varlist(numeric) [if] [in] [aw fw iw pw] [, Robust CLuster(varname) vce(string) ///
		noConstant HASCons TSScons Level(cilevel) BEta noHeader PLus EForm(string) MSE1 ///
		DEPname(string) HC2 HC3 *]
	if `"`vce'"' != "" {
		gettoken kind rest : vce
		local n = length("`kind'")
		if "`kind'" == substr("robust", 1, max(1, `n')) & trim(`"`rest'"') == "" {
			local robust robust
		}
		else if "`kind'" == substr("cluster", 1, max(2, `n')) & trim(`"`rest'"') != "" {
			local cluster = trim(`"`rest'"')
			confirm variable `cluster'
		}
		else if "`kind'" != "ols" | trim(`"`rest'"') != "" {
			display as error `"vce(`vce') invalid"'
			exit 198
		}
	}
	if "`weight'" == "pweight" local robust robust
	if "`beta'" != "" & "`cluster'" != "" {
		display as error "beta may not be combined with cluster()"
		exit 198
	}
	marksample touse
	if "`cluster'" != "" markout `touse' `cluster', strok
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	local shown level(`level') `beta' `header' `plus'
	if `"`eform'"' != "" local shown `shown' eform(`eform')
	local fitopts `constant' `hascons' `tsscons' `mse1'
	if `"`depname'"' != "" local fitopts `fitopts' depname(`depname')
	if "`robust'`cluster'`hc2'`hc3'" == "" {
		_regress `varlist' `wgt' if `touse', `fitopts' `shown' `options'
		exit
	}
	* the sandwich: the scores are the residuals of the fit, and _robust replaces e(V)
	capture _robust
	if _rc == 199 {
		display as error "robust variance is not available in this build"
		exit 199
	}
	local clopt
	if "`cluster'" != "" local clopt cluster(`cluster')
	quietly _regress `varlist' `wgt' if `touse', `fitopts' `options'
	tempvar res
	gettoken y : varlist
	tempname b
	matrix `b' = e(b)
	quietly matrix score double `res' = `b' if e(sample)
	quietly replace `res' = `y' - `res'
	_robust `res' `wgt' if e(sample), `clopt' minus(`=e(N)-e(df_r)') `hc2' `hc3'
	_regress, `shown'
end
