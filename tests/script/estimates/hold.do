* _estimates hold and unhold: e() moves to a slot and back
program postit, eclass
	ereturn post `0'
end
program extras, eclass
	ereturn scalar ll = -4.25
	ereturn local cmd "handmade"
	ereturn matrix extra = `1'
end
set obs 4
gen x = _n
gen byte s = _n <= 3
matrix b = (1, 2)
matrix colnames b = x _cons
matrix V = (1, 0 \ 0, 4)
matrix m = (7, 8)
postit b V, obs(4) esample(s)
extras m
global S_E_old "kept"
* nothing held yet, and an empty e() is refused without nullok
_estimates dir
_estimates unhold a
_estimates hold a
ereturn list
display "[$S_E_old]"
count if e(sample)
describe
_estimates dir
* e() is empty now
ereturn list
display "[$S_E_old]"
_estimates hold b
_estimates hold b, nullok
_estimates hold a
_estimates hold a, restore
_estimates unhold a
ereturn list
display "[$S_E_old]" _b[_cons]
count if e(sample)
describe
_estimates dir
* copy leaves e() as it is; varname() names the marker's variable
_estimates hold c, copy varname(keepme)
ereturn list
label list
describe keepme
_estimates hold d, copy varname(keepme)
_estimates dir
_estimates names
display "`r(names)'"
_estimates varnames
* drop
_estimates drop c
capture confirm variable keepme
display _rc
_estimates drop nosuch
_estimates hold e, copy
_estimates hold f, copy
_estimates drop _all
_estimates dir
* estsystem uses the slot kept for the system: one at a time
_estimates hold sys1, copy estsystem
_estimates hold sys2, copy estsystem
_estimates unhold sys1
_estimates hold sys2, copy estsystem
_estimates drop sys2
* restore: the hold comes back when the program that made it ends
program inner, eclass
	_estimates hold saved, restore
	ereturn list
	matrix b = (9)
	ereturn post b
	display _b[c1]
end
inner
display _b[x] " " _b[_cons]
_estimates dir
* the subcommands shared with ereturn
_estimates clear
ereturn list
_estimates junk
_estimates hold
