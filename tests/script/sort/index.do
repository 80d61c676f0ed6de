* index(): the order of a long variable holding a permutation of 1 to _N
input id v long p long q long r float f
1 10 4 4 4 4
2 20 1 1 1 1
3 30 6 6 7 6
4 40 2 2 2 2
5 50 3 4 3 3
6 60 5 5 5 5
end
sort id
* not a permutation: refused, and nothing moves
sort v, index(q)
sort v, index(r)
sort v, index(f)
sort v, index(nosuch)
sort v, index(p) stable
sort v in 1/3, index(p)
sort v, index()
list id v p, noobs clean
quietly describe
display "sorted by: `r(sortlist)'"
* a permutation: the order is that of sorting by it
sort v, index(p)
list id v p, noobs clean
quietly describe
display "sorted by: `r(sortlist)'"
* p now stands in order: nothing moves
sort id, index(p)
list id p, noobs clean
quietly describe
display "sorted by: `r(sortlist)'"
