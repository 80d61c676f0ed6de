* the commands that name variables, on an empty dataset
compress
compress x
rename
rename a
rename a b
rename a b c
order
order a
_move a b
* numlist checks the list and stores r(numlist)
numlist "1/5 10(5)20"
numlist "1 2.5", integer
numlist "1 . 2"
numlist "1 . 2", missingokay
numlist "3 1", ascending
numlist "1 2 3", max(2)
numlist "1", min(2)
numlist "0 5", range(>0)
numlist "a b"
numlist "1(0)3"
numlist "1", nosuch
numlist
* _repart needs exactly one change
_repart 0 0
_repart 2 0
