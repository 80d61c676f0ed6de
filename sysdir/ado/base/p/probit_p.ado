*! probit_p: predictions after probit: pr, xb, stdp
program probit_p
	version 10.1
	_binpred probit `0'
end
