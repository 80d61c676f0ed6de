*! clogit: conditional logit on matched sets, group(); or shows odds ratios
program clogit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "clogit" error 301
	}
	_clogit `0'
end
