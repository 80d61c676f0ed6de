* HC2 and HC3 with observations of leverage 1: each is fitted exactly, its score is missing and it
* does not enter the variance; the note counts them. The standard errors were computed apart, with
* numpy, from inv(X'X) M inv(X'X), M summed over the other observations.
capture program drop near
program near
	args est ref
	if reldif(`est', `ref') > 1e-8 {
		display as error "`est' is " %20.15g `est' ", reference " %20.15g `ref'
		exit 9
	}
end
clear
input y x d d2
1 1 1 0
3 2 0 0
2 3 0 0
5 4 0 0
4 5 0 0
7 6 0 1
end
regress y x d, hc3
near _se[x] 0.6154474065
near _se[d] 2.001020148
near _se[_cons] 2.579827553
regress y x d, hc2 noheader
near _se[x] 0.4112698106
near _se[d] 1.358991223
near _se[_cons] 1.740935709
regress y x d d2, hc3 noheader
near _se[x] 0.6154474065
near _se[d] 1.71956858
near _se[d2] 1.71956858
near _se[_cons] 2.286825127
quietly regress y x d d2, hc2
near _se[x] 0.3703280399
near _se[d] 1.08671633
near _se[d2] 1.08671633
near _se[_cons] 1.415559792
* the ordinary robust form has no leverage: no note
quietly regress y x d, robust
display "[`e(vcetype)']"
