*! cnreg: regression of an outcome censored where a variable, censored(), says
program cnreg, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "cnreg" error 301
	}
	_cnreg `0'
end
