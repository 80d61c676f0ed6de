* update: a missing value in memory is filled from the file (4), equal values give 3, different
* ones a conflict (5) that keeps the value in memory, unless replace
input id byte v str4 t
1 1 "a"
2 . "b"
3 3 ""
4 4 "d"
5 . ""
end
sort id
save master
clear
input id double v str8 t
1 1 "a"
2 2.5 "b"
3 3 "cccccc"
4 9 "x"
5 . ""
6 6 "f"
end
sort id
save using2
use master
merge id using using2
display "`: type v' `: type t' `: format t'"
list
use master, clear
merge id using using2, update
display "`: type v' `: type t' `: format t'"
list
use master, clear
merge id using using2, update replace
list
* without keys: row by row, the surplus of either side is 1 or 2
use master, clear
drop in 5
merge using using2, update
list
clear
input id
1
2
3
4
5
6
7
8
end
merge using using2, nokeep
list
