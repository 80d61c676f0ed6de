*! test: Wald tests of linear hypotheses about the estimated coefficients
program test, rclass
	version 10.1
	syntax anything(equalok everything) [, Accumulate NOTest EQual]
	_test `anything', `accumulate' `notest' `equal'
	return add
end
