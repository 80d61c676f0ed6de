* expand copies each observation n-1 times at the end; counts below 1 or missing keep it once.
input id n
1 3
2 0
3 .
4 -2
5 2.9
end
sort id
expand n
list
display _N
* = may be given; if and in choose the observations.
expand =2 if id == 1
expand 2 in 1
list if id == 1
display _N
* Nothing to copy.
expand 1
* A total that cannot fit is refused before anything changes.
capture noisily expand 1e12
display _rc
display _N
capture noisily expand "a"
display _rc
capture noisily expand
display _rc
