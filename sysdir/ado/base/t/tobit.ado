*! tobit: regression of an outcome censored at known limits, ll() and ul()
program tobit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "tobit" error 301
	}
	_tobit `0'
end
