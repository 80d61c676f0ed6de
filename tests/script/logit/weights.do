* weights of each kind against reference fits computed apart (to 1e-7): frequency weights, and
* importance weights that fit alike; analytic weights scaled to sum to the count; sampling weights
* with the sandwich variance
capture program drop near
program near
	args est ref
	local d = reldif(`est', `ref')
	if `d' > 1e-7 {
		display as error "`est' is " %20.15g `est' ", reference " %20.15g `ref'
		exit 9
	}
end
capture program drop nearall
program nearall
	args what b1 b2 b3
	near `what'[x1] `b1'
	near `what'[x2] `b2'
	near `what'[_cons] `b3'
end
run estref.inc
logit yb x1 x2 [fweight = w]
nearall _b 0.792542007362 -0.37686526056 0.349605034686
nearall _se 0.0705582550316 0.0545893631147 0.0611185968461
near e(ll) -779.623064172
display e(N) " `e(wtype)' `e(wexp)'"
logit yb x1 x2 [iweight = w], nolog
nearall _b 0.792542007362 -0.37686526056 0.349605034686
nearall _se 0.0705582550316 0.0545893631147 0.0611185968461
display e(N)
logit yb x1 x2 [aweight = w], nolog
nearall _b 0.792542007362 -0.37686526056 0.349605034686
nearall _se 0.113245449805 0.0876155026473 0.0980948719352
display e(N)
logit yb x1 x2 [pweight = w]
nearall _b 0.792542007362 -0.37686526056 0.349605034686
nearall _se 0.134724350497 0.0961097012993 0.108415706384
display e(N) " `e(vcetype)' `e(crittype)'"
* weights that cannot be
generate double wn = w - 2
logit yb x1 x2 [fweight = wn]
generate double wf = w / 3
logit yb x1 x2 [fweight = wf]
probit yb x1 x2 [fweight = w], nolog
display e(N)
