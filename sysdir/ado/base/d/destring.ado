*! destring: string variables that hold numbers made numeric
program destring
	version 10.1
	syntax [varlist] , [Generate(string) replace IGnore(string) force float percent dpcomma]
	if ("`generate'" == "") == ("`replace'" == "") {
		display as error "must specify either generate or replace option"
		exit 198
	}
	local nv : word count `varlist'
	if "`generate'" != "" {
		local ng : word count `generate'
		if `ng' != `nv' {
			display as error "generate() must name as many new variables as varlist has variables"
			exit 198
		}
		confirm new variable `generate'
	}
	local what = cond("`replace'" != "", "replace", "generate")
	local done = cond("`replace'" != "", "replaced", "generated")
	local type = cond("`float'" != "", "float", "double")
	local k 0
	foreach v of local varlist {
		local ++k
		capture confirm string variable `v'
		if _rc {
			display as text "`v' already numeric; no `what'"
			continue
		}
		tempvar s x
		quietly generate str244 `s' = trim(`v')
		// What is ignored goes first, so that "1,000" with ignore(",") is 1000.
		if `"`ignore'"' != "" {
			local n = length(`"`ignore'"')
			forvalues c = 1/`n' {
				local ch = substr(`"`ignore'"', `c', 1)
				quietly replace `s' = subinstr(`s', `"`ch'"', "", .)
			}
		}
		if "`percent'" != "" quietly replace `s' = subinstr(`s', "%", "", .)
		if "`dpcomma'" != "" {
			quietly replace `s' = subinstr(`s', ".", "", .)
			quietly replace `s' = subinstr(`s', ",", ".", .)
		}
		quietly replace `s' = trim(`s')
		quietly count if `s' != "" & `s' != "." & real(`s') == .
		local nbad = r(N)
		if `nbad' > 0 & "`force'" == "" {
			display as text "`v': contains nonnumeric characters; no `what'"
			drop `s'
			continue
		}
		quietly generate `type' `x' = real(`s')
		if "`percent'" != "" quietly replace `x' = `x' / 100
		drop `s'
		quietly compress `x'
		local t : type `x'
		local lab : variable label `v'
		local fmt : format `x'
		if "`replace'" != "" {
			_move `x' `v'
			drop `v'
			rename `x' `v'
			local name `v'
			if `"`lab'"' != "" label variable `v' `"`lab'"'
		}
		else {
			local name : word `k' of `generate'
			_move `x' `v'
			_move `v' `x'
			rename `x' `name'
			if `"`lab'"' != "" label variable `name' `"`lab'"'
		}
		if `nbad' > 0 display as text "`v': contains nonnumeric characters; `done' as `t'"
		else display as text "`v': all characters numeric; `done' as `t'"
	}
end
