* the evaluator aids share one help file: each of their names finds it
capture quietly help mlsum
display _rc
capture quietly help mlvecsum
display _rc
capture quietly help mlmatbysum
display _rc
capture quietly help _mlmatbysum
display _rc
* a name near them that is not one of them does not
help mlsums
