*! logit: logistic regression of a binary outcome; or shows odds ratios
program logit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "logit" error 301
	}
	_logit `0'
end
