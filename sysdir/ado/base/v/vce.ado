*! vce: the variance matrix of the estimates, or with corr their correlations
program vce
	version 10.1
	syntax [, Corr Rho]
	if "`e(cmd)'" == "" error 301
	tempname V
	matrix `V' = e(V)
	if "`corr'`rho'" != "" {
		matrix `V' = corr(`V')
		display _n as text "Correlation matrix of coefficients of `e(cmd)' model"
	}
	else display _n as text "Covariance matrix of coefficients of `e(cmd)' model"
	matrix list `V', noheader format(%10.0g)
end
