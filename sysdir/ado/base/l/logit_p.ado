*! logit_p: predictions after logit and logistic: pr, xb, stdp
program logit_p
	version 10.1
	_binpred logit `0'
end
