*! lincom: estimate a linear combination of the coefficients, with its test and interval
program lincom, rclass
	version 10.1
	syntax anything(equalok everything) [, Level(cilevel) EForm]
	_test `anything', lincom level(`level') `eform'
	return add
end
