*! import: data of another program's kind into memory; delimited text goes through insheet
program import
	version 10.1
	gettoken kind 0 : 0
	if `"`kind'"' == "" {
		display as error "kind of file required: import delimited"
		exit 198
	}
	if !(length(`"`kind'"') >= 5 & `"`kind'"' == substr("delimited", 1, length(`"`kind'"'))) {
		display as error `"import `kind': unknown kind of file"'
		exit 199
	}
	// `using' may be left out before the file's name
	gettoken word rest : 0
	if `"`word'"' == "using" {
		local 0 `"`rest'"'
	}
	syntax anything [, DELIMiters(string) VARNames(string) CASE(string) ASDOUBLE CLEAR]
	local file `anything'
	if !regexm(`"`file'"', "\.[^./]*$") {
		local file `"`file'.csv"'
	}
	local opts `clear'
	if "`asdouble'" != "" {
		local opts `opts' double
	}
	if `"`delimiters'"' != "" {
		local opts `"`opts' delimiter(`"`delimiters'"')"'
	}
	if "`varnames'" == "1" {
		local opts `opts' names
	}
	else if "`varnames'" == "nonames" {
		local opts `opts' nonames
	}
	else if "`varnames'" != "" {
		display as error "varnames() must be 1 or nonames"
		exit 198
	}
	if "`case'" == "preserve" {
		local opts `opts' case
	}
	else if !inlist("`case'", "", "lower") {
		display as error "case() must be preserve or lower"
		exit 198
	}
	insheet using `"`file'"', `opts'
end
