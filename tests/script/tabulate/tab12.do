* tab1: one table per variable; tab2: one per pair
set obs 20
generate a = mod(_n, 2)
generate b = mod(_n, 3)
generate c = mod(_n, 4)
tab1 a b
tab2 a b c, chi2
tab1 a if b == 1, missing
tab2 a
