*! edge: the edge cases of syntax, one subcommand each
program edge
	version 10.1
	gettoken sub 0 : 0
	Edge_`sub' `0'
end

program Edge_empty
	syntax [varlist] [if] [in]
	display `"varlist=[`varlist'] if=[`if'] in=[`in']"'
end

program Edge_min2
	syntax varlist(min=2)
	display `"varlist=[`varlist']"'
end

program Edge_name
	syntax , Name(string)
	display `"name=[`name']"'
end

program Edge_match
	local c "(x y) z"
	gettoken a b : c, match(p)
	display `"a=[`a'] b=[`b'] p=[`p']"'
end
