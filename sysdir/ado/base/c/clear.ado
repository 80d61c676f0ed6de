*! clear: remove the data in memory
program clear
	version 10.1
	syntax
	drop _all
	ereturn clear
	_cls free _all
end
