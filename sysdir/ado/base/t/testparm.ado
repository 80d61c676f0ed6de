*! testparm: test that the coefficients of variables are all zero, or all equal
program testparm, rclass
	version 10.1
	syntax varlist [, EQual]
	local inmodel
	foreach v of local varlist {
		capture local junk = _b[`v']
		if _rc == 0 {
			local inmodel `inmodel' `v'
		}
	}
	if "`inmodel'" == "" {
		display as error "no such variables in the model"
		exit 111
	}
	_test `inmodel', `equal'
	return add
end
