*! regress: linear regression by least squares; robust and cluster variance from the residuals
program regress, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "regress" error 301
		_regress `0'
		exit
	}
	syntax varlist(numeric fv ts) [if] [in] [aw fw iw pw] [, Robust CLuster(varname) vce(string) ///
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
	local wgt
	if "`weight'" != "" local wgt [`weight'`exp']
	local shown level(`level') `beta' `header' `plus'
	if `"`eform'"' != "" local shown `shown' eform(`eform')
	local fitopts `constant' `hascons' `tsscons' `mse1'
	if `"`depname'"' != "" local fitopts `fitopts' depname(`depname')
	* plain variables without weights: the pass of the fit finds the sample itself
	if "`robust'`cluster'`hc2'`hc3'`weight'" == "" & !strpos(`"`varlist'"', ".") {
		_regress `varlist' `if' `in', `fitopts' `shown' `options'
		exit
	}
	marksample touse
	if "`cluster'" != "" markout `touse' `cluster', strok
	if "`robust'`cluster'`hc2'`hc3'" == "" {
		_regress `varlist' `wgt' if `touse', `fitopts' `shown' `options'
		exit
	}
	* the scores come from matrix score, which reads the columns as variables of the data
	if strpos(`"`varlist'"', "i(") {
		display as error "factor variables and time-series operators not allowed"
		exit 101
	}
	if "`hc2'`hc3'" != "" {
		display as error "`hc2'`hc3' variance is not available in this build"
		exit 199
	}
	* the sandwich: the scores are the residuals of the fit, and _robust replaces e(V)
	local clopt
	if "`cluster'" != "" local clopt cluster(`cluster')
	quietly _regress `varlist' `wgt' if `touse', `fitopts' `options'
	tempvar res
	gettoken y : varlist
	tempname b
	matrix `b' = e(b)
	quietly matrix score double `res' = `b' if e(sample)
	quietly replace `res' = `y' - `res'
	* the bread of the sandwich is the inverse cross-product, without the residual variance
	tempname D
	if e(rmse) > 0 & e(rmse) < . matrix `D' = e(V) / (e(rmse)^2)
	else matrix `D' = e(V)
	ereturn repost V = `D'
	_robust `res' `wgt' if e(sample), `clopt' minus(`=e(N)-e(df_r)')
	* with clusters the residual degrees of freedom are the clusters less one; the F of the
	* header is the Wald test of the slopes under the new variance
	if "`cluster'" != "" ereturn scalar df_r = e(N_clust) - 1
	local slopes : colnames e(b)
	local cons _cons
	local slopes : list slopes - cons
	if "`slopes'" != "" {
		quietly test `slopes'
		ereturn scalar F = r(F)
		ereturn scalar p = r(p)
		ereturn scalar df_m = r(df)
	}
	_regress, `shown'
end
