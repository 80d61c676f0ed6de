*! export: the data in memory to a file of another program's kind; delimited text goes through outsheet
program export
	version 10.1
	gettoken kind 0 : 0
	if `"`kind'"' == "" {
		display as error "kind of file required: export delimited"
		exit 198
	}
	if !(length(`"`kind'"') >= 5 & `"`kind'"' == substr("delimited", 1, length(`"`kind'"'))) {
		display as error `"export `kind': unknown kind of file"'
		exit 199
	}
	syntax [varlist] using/ [if] [in] [, DELIMiter(string) NOVARnames NOLabel REPLACE]
	local file `"`using'"'
	if !regexm(`"`file'"', "\.[^./]*$") {
		local file `"`file'.csv"'
	}
	if `"`delimiter'"' == "" {
		local delimiter ","
	}
	local names
	if "`novarnames'" != "" {
		local names nonames
	}
	outsheet `varlist' using `"`file'"' `if' `in', delimiter(`"`delimiter'"') `names' `nolabel' `replace'
end
