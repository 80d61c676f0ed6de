*! mysum: counts and totals of numeric variables over a sample, the way a real command reads its line
program mysum, byable(recall)
	version 10.1
	syntax varlist(numeric) [if] [in] [fweight aweight] [, Detail noHEADer Format(string) *]
	if `"`options'"' != "" {
		display as error `"option `options' not allowed"'
		exit 198
	}
	marksample touse
	quietly count if `touse'
	local n = r(N)
	if "`header'" == "" {
		display as text "obs: " as result `n' as text "  weight: `weight'`exp'"
	}
	if "`format'" == "" {
		local format %9.0g
	}
	foreach v of local varlist {
		tempvar t
		if "`weight'" != "" {
			local wexp = substr(`"`exp'"', 2, .)
			quietly generate double `t' = sum(cond(`touse', `v' * (`wexp'), 0))
		}
		else {
			quietly generate double `t' = sum(cond(`touse', `v', 0))
		}
		* under by the running sum stands in the observations of the group alone
		local tot 0
		forvalues i = 1/`=_N' {
			if !missing(`t'[`i']) {
				local tot = `t'[`i']
			}
		}
		display as text "`v' total: " as result `format' `tot'
		if "`detail'" != "" {
			display as text "  (over `n' observations)"
		}
		drop `t'
	}
end
