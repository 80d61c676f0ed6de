* the row functions over the variables of each observation
input a b c
1 2 3
. 4 .
. . .
-1 0 7
end
generate str3 s = cond(_n == 2, "", "x")
egen rm = rowmean(a b c)
egen rt = rowtotal(a-c)
egen rtm = rowtotal(a b c), missing
egen rmin = rowmin(a b c)
egen rmax = rowmax(a b c)
egen miss = rowmiss(a b c s)
egen nm = rownonmiss(a b c s)
list, noobs sep(0)
generate k = (a < .) + (b < .) + (c < .)
assert rm == (cond(a<.,a,0) + cond(b<.,b,0) + cond(c<.,c,0)) / k if k > 0
egen bad = rowmean(a s)
