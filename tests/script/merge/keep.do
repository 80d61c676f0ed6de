* keep() names the variables of the file that come in: names, ranges, abbreviations, wildcards; the
* keys always come
input id str3 key u uu1 uu2 v
1 "a" 10 11 12 13
2 "b" 20 21 22 23
end
sort id
save using3
clear
input id
1
2
end
sort id
merge id using using3, keep(k u)
list
drop key u _merge
sort id
merge id using using3, keep(uu1-v)
list
drop uu* v _merge
sort id
merge id using using3, keep(uu? k~)
list
