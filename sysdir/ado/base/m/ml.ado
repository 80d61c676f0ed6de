*! ml: maximum likelihood with an evaluator the user writes: model, init, check, search, maximize,
*! display and clear over the ML_ globals, the fit itself by the built-in _ml_opt
program ml
	version 10.1
	gettoken sub 0 : 0, parse(" ,")
	local n = length(`"`sub'"')
	if `n' == 0 {
		display as error "ml subcommand required"
		exit 198
	}
	if "`sub'" == substr("model", 1, max(3, `n')) {
		ml_model `0'
	}
	else if "`sub'" == "init" {
		ml_need
		ml_init `0'
	}
	else if "`sub'" == substr("check", 1, max(3, `n')) {
		ml_need
		_ml_opt check `0'
	}
	else if "`sub'" == substr("search", 1, max(3, `n')) {
		ml_need
		_ml_opt search `0'
	}
	else if "`sub'" == substr("maximize", 1, max(3, `n')) {
		ml_need
		ml_max `0'
	}
	else if "`sub'" == substr("display", 1, max(2, `n')) {
		_ml_opt display `0'
	}
	else if "`sub'" == "clear" {
		ml_clear
	}
	else {
		display as error `"ml `sub' invalid"'
		exit 198
	}
end

* the model must have been set
program ml_need
	if "$ML_meth" == "" {
		display as error "ml model not set; use ml model"
		exit 198
	}
end

* every ML_ global and the variables of the sample and the weight go
program ml_clear
	macro drop ML_*
	capture drop __ML_samp
	capture drop __ML_w
	capture drop __ML_t*
	capture matrix drop ML_b
end

* ml model method evaluator (name: y = x, noconstant offset(v) exposure(v)) /name ...
*   [weight] [if] [in] [, vce(robust | cluster var) robust cluster(var) title(text) maximize
*   maximize's options]
program ml_model
	gettoken meth 0 : 0
	if !inlist("`meth'", "lf", "d0", "d1", "d2") {
		display as error `"method `meth' invalid; lf, d0, d1 or d2"'
		exit 198
	}
	gettoken user 0 : 0, parse(" (/,")
	if `"`user'"' == "" | inlist(`"`user'"', "(", "/", ",") {
		display as error "evaluator program required"
		exit 198
	}
	ml_clear
	local neq 0
	local deps
	local xvars
	local k 0
	* the equations, each read into its globals
	while 1 {
		local 0 = trim(`"`0'"')
		local c = substr(`"`0'"', 1, 1)
		if `"`c'"' == "(" {
			gettoken eq 0 : 0, match(paren)
			local ++neq
			ml_eq `neq' `eq'
			local deps `deps' `r(dep)'
			local xvars `xvars' `r(vars)'
		}
		else if `"`c'"' == "/" {
			local 0 = substr(`"`0'"', 2, .)
			gettoken name 0 : 0, parse(" ,[")
			confirm name `name'
			local ++neq
			global ML_eq`neq' `name'
			global ML_x`neq'
			global ML_ip`neq' 1
		}
		else continue, break
		global ML_fp`neq' = `k' + 1
		local kx : word count ${ML_x`neq'}
		local k = `k' + `kx' + ("${ML_xc`neq'}" == "")
		global ML_lp`neq' `k'
	}
	if `neq' == 0 {
		ml_clear
		display as error "equation required"
		exit 198
	}
	syntax [if] [in] [fw aw pw iw] [, vce(string) Robust CLuster(varname) TItle(string) MAXimize ///
		DIFficult ITERate(passthru) TOLerance(passthru) LTOLerance(passthru) NRTOLerance(passthru) ///
		noLOg noOUTput Level(passthru)]
	if `"`vce'"' != "" {
		gettoken kind rest : vce
		local n = length("`kind'")
		if "`kind'" == substr("robust", 1, max(1, `n')) & trim(`"`rest'"') == "" {
			local robust robust
		}
		else if "`kind'" == substr("cluster", 1, max(2, `n')) & trim(`"`rest'"') != "" {
			local cluster = trim(`"`rest'"')
			confirm variable `cluster'
		}
		else if "`kind'" != "oim" | trim(`"`rest'"') != "" {
			ml_clear
			display as error `"vce(`vce') invalid"'
			exit 198
		}
	}
	* the dependent variables, each once, in order
	local ny 0
	local dlist
	foreach y of local deps {
		if !`:list y in dlist' {
			local dlist `dlist' `y'
			local ++ny
			global ML_y`ny' `y'
		}
	}
	global ML_ny `ny'
	forvalues j = 1/`neq' {
		local xvars `xvars' ${ML_xo`j'} ${ML_xe`j'}
	}
	marksample touse
	markout `touse' `dlist' `xvars'
	if "`cluster'" != "" markout `touse' `cluster', strok
	quietly count if `touse'
	if r(N) == 0 {
		ml_clear
		error 2000
	}
	local nobs = r(N)
	quietly generate byte __ML_samp = `touse'
	if "`weight'" != "" {
		quietly generate double __ML_w `exp' if `touse'
		if "`weight'" == "aweight" {
			* analytic weights are scaled to sum to the count of observations
			tempvar s
			quietly generate double `s' = sum(__ML_w)
			quietly replace __ML_w = __ML_w * `nobs' / `s'[_N]
		}
		global ML_w __ML_w
		global ML_wtyp `weight'
		global ML_wexp `"`exp'"'
	}
	global ML_n `neq'
	global ML_k `k'
	global ML_samp __ML_samp
	global ML_meth `meth'
	global ML_user `user'
	global ML_title `"`title'"'
	if "`robust'" != "" global ML_vce robust
	if "`cluster'" != "" global ML_clust `cluster'
	global ML_mopts `difficult' `iterate' `tolerance' `ltolerance' `nrtolerance' `log' `output' `level'
	matrix ML_b = J(1, `k', 0)
	if "`maximize'" != "" ml_max
end

* one equation: [name:] [depvars =] [indepvars] [, noconstant offset(var) exposure(var)]
program ml_eq, rclass
	gettoken num 0 : 0
	local opts
	local at = strpos(`"`0'"', ",")
	if `at' {
		local opts = substr(`"`0'"', `at' + 1, .)
		local 0 = substr(`"`0'"', 1, `at' - 1)
	}
	local name
	local at = strpos(`"`0'"', ":")
	if `at' {
		local name = trim(substr(`"`0'"', 1, `at' - 1))
		local 0 = substr(`"`0'"', `at' + 1, .)
		confirm name `name'
	}
	local dep
	local at = strpos(`"`0'"', "=")
	if `at' {
		local lhs = trim(substr(`"`0'"', 1, `at' - 1))
		local rhs = trim(substr(`"`0'"', `at' + 1, .))
		local 0 `lhs'
		syntax varlist(numeric)
		local dep `varlist'
		local 0 `rhs'
	}
	syntax [varlist(numeric ts default=none)]
	* an operated variable (L.x, D.x) is held in a scratch variable of the model, and named by its
	* operator in the results through ML_xn#
	local indep
	local operated 0
	foreach v of local varlist {
		if strpos("`v'", ".") {
			local t : word count ${ML_tvars}
			local t __ML_t`=`t' + 1'
			quietly generate double `t' = `v'
			global ML_tvars ${ML_tvars} `t'
			local indep `indep' `t'
			local operated 1
		}
		else local indep `indep' `v'
	}
	if `operated' global ML_xn`num' `varlist'
	local 0 , `opts'
	syntax [, noCONStant OFFset(varname numeric) EXPosure(varname numeric)]
	if "`offset'" != "" & "`exposure'" != "" {
		display as error "only one of offset() or exposure() can be specified"
		exit 198
	}
	if "`indep'" == "" & "`constant'" != "" {
		display as error "equation `num' has neither a variable nor a constant"
		exit 102
	}
	if "`name'" == "" {
		gettoken name : dep
		if "`name'" == "" local name eq`num'
	}
	global ML_eq`num' `name'
	global ML_x`num' `indep'
	if "`constant'" != "" global ML_xc`num' 1
	if "`indep'" == "" global ML_ip`num' 1
	if "`offset'" != "" global ML_xo`num' `offset'
	if "`exposure'" != "" global ML_xe`num' `exposure'
	return local dep `dep'
	return local vars `indep'
end

* ml init matname | ml init # [# ...], copy | ml init [eq:]name=# [/eq=# ...]
program ml_init
	if strpos(`"`0'"', "=") {
		foreach a of local 0 {
			ml_init1 `a'
		}
		exit
	}
	syntax anything [, COPY]
	if "`copy'" != "" {
		local n : word count `anything'
		if `n' != $ML_k {
			display as error "`n' values given, $ML_k needed"
			exit 503
		}
		forvalues j = 1/`n' {
			local v : word `j' of `anything'
			matrix ML_b[1, `j'] = `v'
		}
		exit
	}
	capture local r = rowsof(`anything')
	if _rc {
		display as error "matrix `anything' not found"
		exit 111
	}
	if `r' != 1 | colsof(`anything') != $ML_k {
		display as error "`anything' must be a 1 x $ML_k vector"
		exit 503
	}
	matrix ML_b = `anything'
end

* one starting value: eq:name=#, /eq=# for the constant of eq, or name=# in the first equation
program ml_init1
	local 0 = trim(`"`0'"')
	local at = strpos(`"`0'"', "=")
	local lhs = substr(`"`0'"', 1, `at' - 1)
	local val = substr(`"`0'"', `at' + 1, .)
	if `at' == 0 | `"`lhs'"' == "" | real(`"`val'"') >= . {
		display as error `"`0' invalid; eq:name=#, /eq=# or name=#"'
		exit 198
	}
	if substr(`"`lhs'"', 1, 1) == "/" {
		local eq = substr(`"`lhs'"', 2, .)
		local name _cons
	}
	else if strpos(`"`lhs'"', ":") {
		local c = strpos(`"`lhs'"', ":")
		local eq = substr(`"`lhs'"', 1, `c' - 1)
		local name = substr(`"`lhs'"', `c' + 1, .)
	}
	else {
		local eq ${ML_eq1}
		local name `lhs'
	}
	local pos 0
	forvalues j = 1/$ML_n {
		if "${ML_eq`j'}" == `"`eq'"' {
			local names ${ML_xn`j'}
			if "`names'" == "" local names ${ML_x`j'}
			if "${ML_xc`j'}" == "" local names `names' _cons
			local i : list posof `"`name'"' in names
			if `i' local pos = ${ML_fp`j'} + `i' - 1
		}
	}
	if `pos' == 0 {
		display as error `"`lhs' not found in the model"'
		exit 111
	}
	matrix ML_b[1, `pos'] = `val'
end

* ml maximize [, options]: the fit, e(), and on success the model's state goes
program ml_max
	syntax [, *]
	_ml_opt maximize, $ML_mopts `options'
	ml_clear
end
