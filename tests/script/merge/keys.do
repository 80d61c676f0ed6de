* merge by keys, checked by hand: the using file is read beside the sorted data in memory
* using: id 1 2 2 4 6, u = 10 20 21 40 60, s = "a" "b" "c" "d" "e"
input id u str3 s
1 10 a
2 20 b
2 21 c
4 40 d
6 60 e
end
sort id
save using1
* one to one, with keys unmatched on both sides: 3 and 5 only in memory, 1:1 on 1 and 4, 6 only
* in the file; the repeated 2 of the file makes a second observation from the master's 2
clear
input id m
1 100
2 200
3 300
4 400
5 500
end
sort id
merge id using using1
list
display _N " [`: sortedby']"
* many to one: repeated keys in memory each take the one using row of their key
clear
input id m
1 1
1 2
4 3
4 4
4 5
7 6
end
sort id
merge id using using1
list
* nokeep: using rows with no partner are not brought
clear
input id m
2 1
3 2
end
sort id
merge id using using1, nokeep
list
* no matching keys at all: outcomes 1 and 2 only
clear
input id
0
3
end
sort id
merge id using using1
list
* the name of the outcome, and one that exists already
clear
input id
1
end
sort id
merge id using using1, _merge(how)
list
drop u s
sort id
merge id using using1, _merge(how)
sort id
merge id using using1, _merge(2bad)
generate _merge = 1
merge id using using1
