*! ologit_p: predictions after ologit: pr (one variable per outcome, or outcome()), xb, stdp
program ologit_p
	version 10.1
	_ordpred logit `0'
end
