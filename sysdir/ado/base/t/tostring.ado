*! tostring: numeric variables made string
program tostring
	version 10.1
	syntax varlist , [Generate(string) replace Format(string) force Usedisplayformat]
	if ("`generate'" == "") == ("`replace'" == "") {
		display as error "must specify either generate or replace option"
		exit 198
	}
	if "`format'" != "" & "`usedisplayformat'" != "" {
		display as error "options format() and usedisplayformat may not be combined"
		exit 198
	}
	if "`format'" != "" {
		capture local w = fmtwidth("`format'")
		if _rc | substr("`format'", 1, 1) != "%" {
			display as error "format(`format') invalid"
			exit 120
		}
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
	local k 0
	foreach v of local varlist {
		local ++k
		capture confirm numeric variable `v'
		if _rc {
			display as text "`v' already string; no `what'"
			continue
		}
		local f `format'
		if "`usedisplayformat'" != "" local f : format `v'
		if "`f'" == "" {
			local t : type `v'
			local f = cond(inlist("`t'", "byte", "int", "long"), "%12.0g", cond("`t'" == "float", "%9.0g", "%18.0g"))
		}
		tempvar s bad
		quietly generate str244 `s' = trim(string(`v', "`f'"))
		quietly replace `s' = string(`v') if missing(`v')
		// A string that does not read back as the number loses information.
		local t : type `v'
		tempvar back
		quietly generate `=cond("`t'" == "float", "float", "double")' `back' = real(`s')
		quietly generate byte `bad' = `back' != `v' & !missing(`v')
		drop `back'
		quietly count if `bad'
		drop `bad'
		if r(N) > 0 & "`force'" == "" {
			display as text "`v' cannot be converted reversibly; no `what'"
			drop `s'
			continue
		}
		quietly compress `s'
		local t : type `v'
		local ts : type `s'
		local lab : variable label `v'
		if "`replace'" != "" {
			_move `s' `v'
			drop `v'
			rename `s' `v'
			if `"`lab'"' != "" label variable `v' `"`lab'"'
			display as text "`v' was `t' now `ts'"
		}
		else {
			local name : word `k' of `generate'
			_move `s' `v'
			_move `v' `s'
			rename `s' `name'
			if `"`lab'"' != "" label variable `name' `"`lab'"'
			display as text "`name' generated as `ts'"
		}
	}
end
