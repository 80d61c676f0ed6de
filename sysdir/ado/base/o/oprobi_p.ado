*! oprobi_p: predictions after oprobit: pr (one variable per outcome, or outcome()), xb, stdp
program oprobi_p
	version 10.1
	_ordpred probit `0'
end
