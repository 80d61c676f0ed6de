*! ologit_p: predictions after ologit: pr (one variable per outcome, or outcome()), xb
program ologit_p
	version 10.1
	_ordpred logit `0'
end
