* what sort refuses, with the data as they were
input id x
3 1
1 2
2 3
end
sort x if id > 1
sort
sort nosuch
sort x, nosuch
sort x, stable(1)
sort x in 0
sort x in 2/1
sort x in 1/9
sort x = 1
sort x [fweight=id]
sort x using somefile
list
quietly describe
display "sorted by: `r(sortlist)'"
* a sort list stays as it was when the sort is refused
sort id
sort id if 1
quietly describe
display "sorted by: `r(sortlist)'"
