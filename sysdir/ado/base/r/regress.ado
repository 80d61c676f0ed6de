*! regress: linear regression by least squares, with its robust and cluster variance
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
	* the robust and cluster forms are made by _regress itself, from the residuals of the fit
	local vceopts `robust' `hc2' `hc3'
	if "`cluster'" != "" local vceopts `vceopts' cluster(`cluster')
	* without weights the pass of the fit finds the sample itself, missing clusters included
	if "`weight'" == "" {
		_regress `varlist' `if' `in', `fitopts' `shown' `vceopts' `options'
		exit
	}
	marksample touse
	if "`cluster'" != "" markout `touse' `cluster', strok
	_regress `varlist' `wgt' if `touse', `fitopts' `shown' `vceopts' `options'
end
