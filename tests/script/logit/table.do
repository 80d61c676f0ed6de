* the outcome table of logit, logistic and probit: each outcome's observed count, the count the fit
* puts there by the sign of xb, and its share; checked against counts worked from predict
run estref.inc
logit yb x1 x2, table nolog
predict double xb, xb
count if yb == 0
count if yb != 0
count if xb < 0
count if xb >= 0
* frequency weights count by weight; probit and logistic have the table too
probit yb x1 x2 [fweight = w], table nolog
predict double pxb, xb
summarize w if pxb >= 0, meanonly
display r(sum)
summarize w if yb != 0, meanonly
display r(sum)
logistic yb x1 in 1/100, table
* on its own the table goes with the fit: replaying with it fails
logit yb x1, table noheader nolog
logit, table
logit
