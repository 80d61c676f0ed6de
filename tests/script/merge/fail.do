* A merge that fails leaves the dataset as it was: count, variables, types, order, sort list,
* changed state.
program show
    quietly describe
    display _N " obs, width " c(width) ", changed " c(changed) ", sorted by [`r(sortlist)']"
    list
end
input id str3 key u uu1 uu2
1 "a" 10 0 0
1 "a" 11 0 0
2 "b" 20 0 0
end
sort id
save dup
sort key
save dupkey
clear
input str3 id v
"a" 1
end
sort id
save strkey
clear
input id w
2 1
1 1
end
save unsorted
clear
merge id using dup
append using dup
input byte id byte u
1 5
2 6
3 7
end
sort id
save master
show
* not sorted, in memory and in the file
sort u
merge id using dup
sort id
merge id using unsorted
* a key that is not in memory, one that is not in the file
merge key using dupkey
generate key = "a"
sort key
merge key using unsorted
use master, clear
* a key of another kind
merge id using strkey
* keys that do not identify observations
merge id using dup, uniqusing
merge id using dup, unique
replace id = 1 in 2
sort id
merge id using dup, uniqmaster
use master, clear
* keep(): names, wildcards, abbreviations and their failures
merge id using dup, keep(nosuch)
merge id using dup, keep(z*)
merge id using dup, keep(uu~)
merge id using dup, keep(uu)
merge id using dup, keep(uu?*~)
merge id using dup, keep(uu2-uu1)
* a using file that is missing or damaged
merge id using nosuch
merge id using damaged.dta
show
* failures in the walk, behind promotions and new variables: a repeated key of the file under
* uniqusing, with update and replace at work in the rows before it
merge id using dup, update replace uniqusing
show
