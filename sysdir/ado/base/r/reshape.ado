*! reshape: data between the wide form (one observation per i) and the long form (one per i and j)
program reshape
	version 10.1
	gettoken how 0 : 0, parse(" ,")
	if "`how'" == "error" {
		Problems
		exit
	}
	if !inlist("`how'", "long", "wide") {
		display as error "reshape: long or wide expected"
		exit 198
	}
	// The form given now, or the one remembered from the last reshape of these data.
	if `"`0'"' == "" {
		local i : char _dta[ReS_i]
		local j : char _dta[ReS_j]
		local stubs : char _dta[ReS_Xij]
		local string : char _dta[ReS_str]
		local values : char _dta[ReS_jv]
		if "`i'" == "" {
			display as error "no reshape form remembered: type reshape `how' stubs, i(varlist) j(varname)"
			exit 198
		}
		if "`how'" == "wide" local values
		if "`: char _dta[ReS_form]'" == "`how'" {
			display as text "(data already `how')"
			exit
		}
	}
	else {
		syntax anything(name=stubs), I(string) J(string) [String]
		local ilist
		foreach v of varlist `i' {
			local ilist `ilist' `v'
		}
		local i `ilist'
		gettoken j values : j
		confirm name `j'
	}
	local stubs : list retokenize stubs
	local values : list retokenize values
	// A failure anywhere brings the data back as they were.
	preserve
	if "`how'" == "long" Long "`stubs'" "`i'" "`j'" "`values'" "`string'"
	else Wide "`stubs'" "`i'" "`j'" "`string'"
	restore, not
end

// The i variables identify the observations; the data are left sorted by them.
program Unique
	args i
	sort `i'
	tempvar dup
	quietly by `i': generate byte `dup' = _N > 1
	quietly count if `dup'
	if r(N) > 0 {
		if `: word count `i'' == 1 display as error "variable `i' does not uniquely identify the observations"
		else display as error "variables `i' do not uniquely identify the observations"
		display as error "{p 4 4 2}Your data are currently wide.  You are performing a reshape long.  " ///
			"There are observations with the same value of i(); they should be distinct.{p_end}"
		exit 9
	}
end

// The storage type that holds every variable of a list: the longest string, or the widest number.
program Widest, rclass
	local best
	local rank 0
	local len 0
	foreach v of local 0 {
		local t : type `v'
		if substr("`t'", 1, 3) == "str" {
			local len = max(`len', real(substr("`t'", 4, .)))
			continue
		}
		local r = cond("`t'" == "byte", 1, cond("`t'" == "int", 2, cond("`t'" == "long", 3, cond("`t'" == "float", 4, 5))))
		if (`r' == 3 & `rank' == 4) | (`r' == 4 & `rank' == 3) local r 5
		local rank = max(`rank', `r')
	}
	if `len' > 0 & `rank' > 0 {
		display as error "xij variables mix string and numeric types: " "`0'"
		exit 109
	}
	if `len' > 0 return local type str`len'
	else return local type : word `rank' of byte int long float double
end

// A stub's parts: the text before and after the place of j (`@`, or the end), and the name of its
// variable in the long form.
program StubParts, rclass
	args s
	local at = strpos("`s'", "@")
	if `at' {
		return local pre = substr("`s'", 1, `at' - 1)
		return local post = substr("`s'", `at' + 1, .)
	}
	else {
		return local pre `s'
		return local post
	}
	return local base = subinstr("`s'", "@", "", 1)
end

// wide -> long
program Long
	args stubs i j values string
	confirm variable `i'
	capture confirm new variable `j'
	if _rc {
		display as error "variable `j' already defined"
		exit 110
	}
	AllVars
	local all `r(all)'
	local nvar0 : word count `all'
	local ns 0
	local bases
	foreach s of local stubs {
		local ++ns
		StubParts `s'
		local pre`ns' `r(pre)'
		local post`ns' `r(post)'
		local base`ns' `r(base)'
		local bases `bases' `r(base)'
	}
	// The values of j: those given, or what stands in the names at the place of j.
	if "`values'" == "" {
		forvalues q = 1/`ns' {
			local lp = length("`pre`q''")
			local lq = length("`post`q''")
			foreach v of local all {
				if substr("`v'", 1, `lp') != "`pre`q''" | length("`v'") <= `lp' + `lq' continue
				if `lq' > 0 & substr("`v'", -`lq', .) != "`post`q''" continue
				local suf = substr("`v'", `lp' + 1, length("`v'") - `lp' - `lq')
				if "`string'" == "" {
					capture confirm number `suf'
					if _rc continue
				}
				local values `values' `suf'
			}
		}
	}
	else if "`string'" == "" {
		numlist "`values'"
		local values `r(numlist)'
	}
	local values : list uniq values
	if "`values'" == "" {
		display as error "no xij variables found"
		display as error "{p 4 4 2}No variable is named by a stub of `stubs' with a value of j.{p_end}"
		exit 111
	}
	if "`string'" == "" {
		numlist "`values'", sort
		local values `r(numlist)'
	}
	else local values : list sort values
	local nj : word count `values'
	local nobs0 = _N

	// Each stub's variables and the type that holds them all.
	local xij
	forvalues q = 1/`ns' {
		local b `base`q''
		if `: list b in all' {
			display as error "variable `b' already defined"
			exit 110
		}
		local have
		foreach v of local values {
			local name `pre`q''`v'`post`q''
			if `: list name in all' local have `have' `name'
		}
		if "`have'" == "" {
			display as error "no xij variables found for stub `: word `q' of `stubs''"
			exit 111
		}
		Widest `have'
		local type`q' `r(type)'
		local first : word 1 of `have'
		local fmt`q' : format `first'
		local xij `xij' `have'
	}

	Unique "`i'"
	tempvar o k
	quietly generate long `o' = _n
	quietly expand `nj'
	sort `o'
	quietly by `o': generate long `k' = _n
	if "`string'" == "" {
		quietly generate double `j' = .
		local n 0
		foreach v of local values {
			local ++n
			quietly replace `j' = `v' if `k' == `n'
		}
		quietly compress `j'
		local t : type `j'
		format `j' `=cond("`t'" == "byte" | "`t'" == "int", "%8.0g", cond("`t'" == "long", "%12.0g", "%10.0g"))'
	}
	else {
		local w 1
		foreach v of local values {
			local w = max(`w', length("`v'"))
		}
		quietly generate str`w' `j' = ""
		local n 0
		foreach v of local values {
			local ++n
			quietly replace `j' = "`v'" if `k' == `n'
		}
	}
	forvalues q = 1/`ns' {
		local b `base`q''
		local miss = cond(substr("`type`q''", 1, 3) == "str", `""""', ".")
		quietly generate `type`q'' `b' = `miss'
		format `b' `fmt`q''
		local n 0
		foreach v of local values {
			local ++n
			local name `pre`q''`v'`post`q''
			if `: list name in all' {
				quietly replace `b' = `name' if `k' == `n'
				quietly drop `name'
			}
		}
	}
	drop `o' `k'
	order `i' `j' `bases'
	sort `i' `j'
	AllVars
	local nvar1 : word count `r(all)'
	char _dta[ReS_i] `i'
	char _dta[ReS_j] `j'
	char _dta[ReS_Xij] `stubs'
	char _dta[ReS_jv] `values'
	char _dta[ReS_str] `string'
	char _dta[ReS_form] long
	Summary wide long `nobs0' `=_N' `nvar0' `nvar1' `nj' "`j'" "`xij'" "`bases'" "`values'"
end

// long -> wide
program Wide
	args stubs i j string
	confirm variable `i'
	AllVars
	local all `r(all)'
	if !`: list j in all' {
		display as error "variable `j' not found"
		exit 111
	}
	local ns 0
	local bases
	foreach s of local stubs {
		local ++ns
		StubParts `s'
		local pre`ns' `r(pre)'
		local post`ns' `r(post)'
		local base`ns' `r(base)'
		local b `r(base)'
		if !`: list b in all' {
			display as error "variable `b' not found"
			exit 111
		}
		local bases `bases' `b'
	}
	capture confirm string variable `j'
	local jstr = _rc == 0
	if `jstr' & "`string'" == "" {
		display as error "variable `j' is string; specify string option"
		exit 109
	}
	if !`jstr' & "`string'" != "" {
		display as error "variable `j' is numeric; string option not allowed"
		exit 109
	}
	local nobs0 = _N
	local nvar0 : word count `all'
	tempvar dup pos
	// One sort by i and j; every later step is a pass over the groups of i.
	sort `i' `j'
	quietly by `i' `j': generate byte `dup' = _N > 1
	quietly count if `dup'
	if r(N) > 0 {
		display as error "values of variable `j' not unique within `i'"
		display as error "{p 4 4 2}Your data are currently long.  You are performing a reshape wide.  " ///
			"There are observations within i() with the same value of j().  Type {cmd:reshape error} " ///
			"for a list of the problem observations.{p_end}"
		global ReS_err `i' `j'
		exit 9
	}
	drop `dup'
	// The other variables must be constant within i: they become single values.
	local others : list all - i
	local others : list others - j
	local others : list others - bases
	foreach v of local others {
		quietly by `i': generate byte `dup' = `v' != `v'[1]
		quietly count if `dup'
		if r(N) > 0 {
			display as error "variable `v' not constant within `i'"
			display as error "{p 4 4 2}Your data are currently long.  You are performing a reshape wide.  " ///
				"`v' varies within i(); list it in the stubs, or drop it.{p_end}"
			exit 9
		}
		drop `dup'
	}
	// The values of j, in order.
	preserve
	quietly keep `j'
	quietly duplicates_free `j'
	local values `r(values)'
	restore
	local nj : word count `values'
	forvalues q = 1/`ns' {
		foreach v of local values {
			local name `pre`q''`v'`post`q''
			if `: list name in all' {
				display as error "variable `name' already defined"
				exit 110
			}
			capture confirm name `name'
			if _rc {
				display as error "`name' invalid variable name"
				exit 198
			}
		}
	}
	local xij
	forvalues q = 1/`ns' {
		local b `base`q''
		local type : type `b'
		local fmt : format `b'
		foreach v of local values {
			local name `pre`q''`v'`post`q''
			local cond = cond(`jstr', `"`j' == "`v'""', "`j' == `v'")
			quietly by `i': generate long `pos' = sum((`cond') * _n)
			quietly by `i': generate `type' `name' = `b'[`pos'[_N]]
			format `name' `fmt'
			drop `pos'
			local xij `xij' `name'
		}
	}
	quietly by `i': keep if _n == _N
	drop `bases' `j'
	order `i'
	AllVars
	local nvar1 : word count `r(all)'
	char _dta[ReS_i] `i'
	char _dta[ReS_j] `j'
	char _dta[ReS_Xij] `stubs'
	char _dta[ReS_jv] `values'
	char _dta[ReS_str] `string'
	char _dta[ReS_form] wide
	Summary long wide `nobs0' `=_N' `nvar0' `nvar1' `nj' "`j'" "`bases'" "`xij'" "`values'"
end

// The names of the variables in dataset order.
program AllVars, rclass
	local all
	capture foreach v of varlist _all {
		local all `all' `v'
	}
	return local all `all'
end

// The distinct values of the one variable in memory, in sorted order.
program duplicates_free, rclass
	args v
	sort `v'
	quietly by `v': keep if _n == 1
	local values
	capture confirm string variable `v'
	local s = _rc == 0
	forvalues k = 1/`=_N' {
		if `s' local values `values' `=`v'[`k']'
		else local values `values' `=string(`v'[`k'], "%18.0g")'
	}
	return local values `values'
end

// The table of what changed.
program Summary
	args from to nobs0 nobs1 nvar0 nvar1 nj j before after values
	display as text "(note: j = `values')"
	display
	display as text "Data" _col(36) %4s "`from'" "   ->   " "`to'"
	display as text "{hline 77}"
	display as text "Number of obs." _col(31) as result %9.0g `nobs0' as text "   ->   " as result `nobs1'
	display as text "Number of variables" _col(31) as result %9.0g `nvar0' as text "   ->   " as result `nvar1'
	if "`from'" == "wide" {
		display as text "j variable (`nj' values)" _col(43) "->   " as result "`j'"
	}
	else {
		display as text "j variable (`nj' values)" _col(31) as result %9s "`j'" as text "   ->   (dropped)"
	}
	display as text "xij variables:"
	if "`from'" == "wide" {
		display as result _col(2) %38s "`before'" as text "   ->   " as result "`after'"
	}
	else {
		display as result _col(2) %38s "`before'" as text "   ->   " as result "`after'"
	}
	display as text "{hline 77}"
end

// reshape error: the observations whose j is repeated within i, after a failed reshape wide.
program Problems
	local ij $ReS_err
	if "`ij'" == "" {
		display as text "(no problem observations are known)"
		exit
	}
	local j : word `: word count `ij'' of `ij'
	local i : list ij - j
	tempvar dup
	sort `i' `j'
	quietly by `i' `j': generate byte `dup' = _N > 1
	quietly count if `dup'
	display as text "(`r(N)' of " _N " observations have repeated `j' values)"
	list `i' `j' if `dup'
end
