*! logistic: logistic regression of a binary outcome, reported as odds ratios
program logistic, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "logistic" error 301
	}
	local comma = cond(strpos(`"`0'"', ","), "", ",")
	_logit `0' `comma' or logistic
end
