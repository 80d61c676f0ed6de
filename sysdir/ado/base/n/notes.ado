*! notes: notes on the dataset and its variables, kept as the characteristics note0 (the highest
*! number in use) and note1, note2, ... (the texts) of _dta or of the variable
program notes
	version 10.1
	local hascolon : regexmatch `"`macval(0)'"' "^([^:]*):[ ]*(.*[^ ])?[ ]*$"
	if `hascolon' {
		local head : regexsubexp 1
		local text : regexsubexp 2
		local w1 : word 1 of `head'
		if "`w1'" == "replace" {
			NotesNumbered `head'
			local len : length local text
			if `len' == 0 {
				display as error "note text required"
				exit 100
			}
			local old : char `_owner'[note`_from']
			local len : length local old
			if `len' == 0 {
				display as error "note `_from' of `_owner' not found"
				exit 111
			}
			local t = substr(c(current_time), 1, 5)
			local text : subinstr local text "TS" "`c(current_date)' `t'", word all
			char `_owner'[note`_from'] `"`macval(text)'"'
			display as text "(note `_from' of `_owner' replaced)"
			exit
		}
		NotesOwner `head'
		local len : length local text
		if `len' == 0 {
			display as error "note text required"
			exit 100
		}
		local t = substr(c(current_time), 1, 5)
		local text : subinstr local text "TS" "`c(current_date)' `t'", word all
		local n : char `_owner'[note0]
		if "`n'" == "" {
			local n 0
		}
		local n = `n' + 1
		char `_owner'[note`n'] `"`macval(text)'"'
		char `_owner'[note0] `n'
		exit
	}
	local w1 : word 1 of `0'
	if "`w1'" == "drop" {
		local rest : subinstr local 0 "drop" "", word
		NotesRange `rest'
		if "`_list'" == "" {
			display as error "varlist required"
			exit 100
		}
		NotesOwners `_list'
		local dropped 0
		foreach o of local _owners {
			local n : char `o'[note0]
			if "`n'" == "" {
				continue
			}
			local to = min(`n', `_to')
			forvalues i = `_from'/`to' {
				local t : char `o'[note`i']
				local len : length local t
				if `len' > 0 {
					char `o'[note`i']
					local ++dropped
				}
			}
			local top 0
			forvalues i = 1/`n' {
				local t : char `o'[note`i']
				local len : length local t
				if `len' > 0 {
					local top `i'
				}
			}
			if `top' == 0 {
				char `o'[note0]
			}
			else {
				char `o'[note0] `top'
			}
		}
		display as text "(`dropped' " plural(`dropped', "note") " dropped)"
		exit
	}
	if "`w1'" == "renumber" {
		local rest : subinstr local 0 "renumber" "", word
		NotesOwners `rest'
		foreach o of local _owners {
			local n : char `o'[note0]
			if "`n'" == "" {
				continue
			}
			local k 0
			forvalues i = 1/`n' {
				local t : char `o'[note`i']
				local len : length local t
				if `len' > 0 {
					local ++k
					if `k' < `i' {
						char `o'[note`k'] `"`macval(t)'"'
						char `o'[note`i']
					}
				}
			}
			if `k' == 0 {
				char `o'[note0]
			}
			else {
				char `o'[note0] `k'
			}
		}
		exit
	}
	local rest `0'
	if "`w1'" == "list" {
		local rest : subinstr local 0 "list" "", word
	}
	NotesRange `rest'
	NotesOwners `_list'
	local width = c(linesize) - 7
	foreach o of local _owners {
		local n : char `o'[note0]
		if "`n'" == "" {
			continue
		}
		local to = min(`n', `_to')
		local shown 0
		forvalues i = `_from'/`to' {
			local t : char `o'[note`i']
			local len : length local t
			if `len' == 0 {
				continue
			}
			if !`shown' {
				display _newline as text "`o':"
				local shown 1
			}
			local p : piece 1 `width' of `"`macval(t)'"'
			display as text %3.0f `i' ".  " _asis as result `"`macval(p)'"'
			local k 2
			local p : piece `k' `width' of `"`macval(t)'"'
			local len : length local p
			while `len' > 0 {
				display _skip(6) _asis as result `"`macval(p)'"'
				local ++k
				local p : piece `k' `width' of `"`macval(t)'"'
				local len : length local p
			}
		}
	}
end

* The owner of new notes: _dta when nothing is named, else one variable.
program NotesOwner
	local w : word count `0'
	local w1 : word 1 of `0'
	if `w' == 0 | (`w' == 1 & "`w1'" == "_dta") {
		c_local _owner _dta
		exit
	}
	syntax varname
	c_local _owner `varlist'
end

* The owners of a list: _dta first when it is named or nothing is, then the variables in their order.
program NotesOwners
	local nw : word count `0'
	local dta = `nw' == 0
	local vl
	foreach w of local 0 {
		if "`w'" == "_dta" {
			local dta 1
		}
		else {
			local vl `vl' `w'
		}
	}
	local owners
	if `dta' {
		local owners _dta
	}
	if "`vl'" != "" | `nw' == 0 {
		if "`vl'" == "" {
			local vl _all
		}
		foreach v of varlist `vl' {
			local owners `owners' `v'
		}
	}
	c_local _owners `owners'
end

* list [in #[/#]]: the words before `in' go to _list, the range to _from and _to.
program NotesRange
	local at : list posof "in" in 0
	local list `0'
	local from 1
	local to 2147483647
	if `at' > 0 {
		local list
		forvalues i = 1/`=`at'-1' {
			local w : word `i' of `0'
			local list `list' `w'
		}
		local range : word `=`at'+1' of `0'
		local more : word `=`at'+2' of `0'
		local ok : regexmatch "`range'" "^([0-9]+)(/([0-9]+|l))?$"
		if !`ok' | "`more'" != "" {
			display as error "invalid note range"
			exit 198
		}
		local from : regexsubexp 1
		local to : regexsubexp 3
		if "`to'" == "" {
			local to `from'
		}
		if "`to'" == "l" {
			local to 2147483647
		}
		if `from' < 1 | `to' < `from' {
			display as error "invalid note range"
			exit 198
		}
	}
	c_local _list `list'
	c_local _from `from'
	c_local _to `to'
end

* replace evarname in #: the owner to _owner and the number to _from.
program NotesNumbered
	local rest : subinstr local 0 "replace" "", word
	NotesRange `rest'
	if "`_from'" != "`_to'" {
		display as error "one note number required"
		exit 198
	}
	local w : word count `_list'
	if `w' == 0 {
		display as error "varname required"
		exit 100
	}
	NotesOwner `_list'
	c_local _owner `_owner'
	c_local _from `_from'
end
