* s(), e() and held r()
program parse1, sclass
	sreturn local first "`1'"
	sreturn local rest "`2' `3'"
end
parse1 a b c
display "`s(first)'|`s(rest)'|" s(first)
sreturn list
local n : s(macros)
display "`n'"
sreturn local x 1
sreturn clear
display "[`s(first)']"
sreturn list
* e()
program est1, eclass
	ereturn scalar ll = -12.5
	ereturn scalar N = 40
	ereturn local cmd "est1"
	ereturn local depvar "y"
	global S_E_cmd "est1"
	scalar S_E_x = 5
	scalar other = 6
end
est1
ereturn list
local n : e(scalars)
local m : e(macros)
local f : e(functions)
display "`n'|`m'|`f'|" e(ll) * 2 "|`e(cmd)'|$S_E_cmd"
ereturn local x 1
ereturn scalar x = 1
ereturn post
ereturn clear
display "[$S_E_cmd]" e(ll) "[`e(cmd)']" other
capture display S_E_x
display _rc
ereturn list
local n : e(nonsense)
local n : e scalars
* ereturn matrix needs an existing matrix
program est2, eclass
	ereturn matrix b = x
end
est2
* _return hold and restore
program two, rclass
	return scalar a = 1
	return local t "two"
end
two
_return hold first
display "[" r(a) "][`r(t)']"
return list
_return dir
_return hold first
_return restore first, hold
display r(a) " `r(t)'"
_return restore first
_return restore first
_return drop first
forvalues i = 1/10 {
	_return hold h`i'
}
_return hold h11
_return dir
_return drop h3
_return hold h11
_return drop _all
_return dir
_return junk x
_return hold
