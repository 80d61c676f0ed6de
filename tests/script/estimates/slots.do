* 300 slots for holds; the 301st is refused
program postit, eclass
	ereturn post `0'
end
matrix b = (1)
postit b
forvalues i = 1/300 {
	_estimates hold h`i', copy
}
_estimates hold h301, copy
* the slot kept for the system is still free
_estimates hold sys, copy estsystem
_estimates drop h150
_estimates hold h301, copy
quietly _estimates names
local n : word count `r(names)'
display `n'
_estimates drop _all
quietly _estimates names
display "[`r(names)']"
