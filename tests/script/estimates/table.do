* estimates table and stats on two hand-made models with log likelihoods
program postit, eclass
	ereturn post `0'
end
program addll, eclass
	ereturn scalar ll = `1'
	ereturn local cmd "handmade"
end
matrix b = (2, 1)
matrix colnames b = x _cons
matrix V = (0.25, 0.1 \ 0.1, 0.5)
postit b V, depname(y) obs(20)
addll -30.5
estimates store small
matrix b = (1.5, 0.25, 3)
matrix colnames b = x z _cons
matrix V = (0.09, 0, 0 \ 0, 0.16, 0 \ 0, 0, 1)
postit b V, depname(y) obs(20)
addll -27.25
estimates store big
estimates table small big
estimates table big, b(%7.3f) se(%7.4f)
estimates stats small big
* AIC = -2ll + 2k and BIC = -2ll + k ln N, by hand
display %11.0g -2*-30.5 + 2*2 " " %10.0g -2*-30.5 + 2*ln(20)
display %11.0g -2*-27.25 + 2*3 " " %10.0g -2*-27.25 + 3*ln(20)
* the current results are left alone
ereturn list
estimates replay small
estimates table nosuch
estimates clear
estimates table
