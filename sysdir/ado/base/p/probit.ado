*! probit: probit regression of a binary outcome
program probit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "probit" error 301
	}
	_probit `0'
end
