*! mlogit: multinomial logit of an outcome with unordered values; rrr shows relative-risk ratios
program mlogit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "mlogit" error 301
	}
	_mlogit `0'
end
