*! oprobit: ordered probit of an outcome with ordered values
program oprobit, eclass
	version 10.1
	local first = substr(trim(`"`0'"'), 1, 1)
	if `"`first'"' == "" | `"`first'"' == "," {
		if "`e(cmd)'" != "oprobit" error 301
	}
	_oprobit `0'
end
