* r() as commands and r-class programs leave it
describe
display r(N) " " r(k) " " r(width) " " r(changed)
display "[`r(N)'] [`r(sortlist)'] [`r(nosuch)']"
display r(nosuch)
program half, rclass
	return scalar h = `1'/2
	return local note "half of `1'"
	return scalar n = `1'
end
half 7
return list
display r(h) "|`r(h)'|" r(note) "|" r(n)
* a program of no class leaves r() alone
program noclass
	display "noclass ran"
end
noclass
display r(h)
* a failing r-class program leaves r() as it was
program bad, rclass
	return scalar h = 99
	error 459
end
capture bad
display _rc " " r(h)
* return() is not r() until the program ends: the caller's r() is seen meanwhile
program outer, rclass
	return scalar mine = 1
	half 10
	display "inside: " r(h) " " r(mine)
	return add
end
outer
return list
* the last value given to a name wins; a macro replaces a scalar of the same name
program twice, rclass
	return scalar a = 1
	return scalar a = 2
	return scalar b = 3
	return local b "text now"
end
twice
return list
* return clear empties return(); return alone ends the program
program cleared, rclass
	return scalar gone = 1
	return clear
	return scalar kept = 2
	return
	return scalar never = 3
end
cleared
return list
* an r-class program that returns nothing empties r()
program nothing, rclass
end
nothing
return list
display r(kept)
* the twenty-first scalar and beyond: all still found
program many, rclass
	forvalues i = 1/23 {
		return scalar s`i' = `i' * 10
	}
end
many
display r(s1) " " r(s20) " " r(s21) " " r(s23)
local names : all globals
* missing values and long numbers in references
program odd, rclass
	return scalar m = .b
	return scalar big = 123456789012
	return scalar tiny = 1e-20
end
odd
display "`r(m)' `r(big)' `r(tiny)'"
* the class rules
program plain
	return scalar x = 1
end
plain
program plain2
	return local x y
end
plain2
return junk
return local
return scalar y
program badexp, rclass
	return scalar y = "text"
end
badexp
return matrix m = x
