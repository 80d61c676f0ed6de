* numbers, then the missing values in their order: . before .a before .b
input id x str4 s
1 3 b
2 .a a
3 -1 ""
4 . B
5 2.5 ab
6 .b "a b"
7 -1 zz
8 . a
end
sort x
list
quietly describe
display "sorted by: `r(sortlist)'"
* strings by their bytes as unsigned numbers, up to the end of the text:
* the empty string first, capitals before small letters, a high byte last
quietly input id x s
9 0 café
10 0 caf
11 0 été
end
sort s
list id s
* a repeated variable sorts once and stands once in the sort list
sort s x s
quietly describe
display "sorted by: `r(sortlist)'"
* a range sorts only its observations and leaves the dataset unsorted
sort id in 3/7
list id, noobs clean
quietly describe
display "sorted by: `r(sortlist)'"
* the whole dataset written as a range is the whole dataset
sort id in 1/l
quietly describe
display "sorted by: `r(sortlist)'"
* one observation is in order, and so is a dataset without observations
sort x in 4
quietly describe
display "sorted by: `r(sortlist)'"
drop in 1/l
sort x
quietly describe
display "sorted by: `r(sortlist)'"
