*! ologit: ordered logit of an outcome with ordered values; or shows odds ratios
program ologit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "ologit" error 301
	}
	_ologit `0'
end
