* equal keys fall in the order the sort generator draws: two seeds give two
* orders, each of them again from the same seed, at any number of processors
program show
    local ids
    forvalues i = `1'/`2' {
        local ids `ids' `=id[`i']'
    }
    display "`ids'"
end
program showall
    forvalues i = 1(20)600 {
        show `i' `=`i' + 19'
    }
end
run ties.inc
set sortseed 1001
sort g
showall
query sortseed
* another seed, another order
sort id
set sortseed 2024
sort g
showall
* the first seed again: the first order again
sort id
set sortseed 1001
sort g
showall
* strings and more than one key
sort id
set sortseed 77
sort s g
showall
sort x s
showall
* a range
sort g x in 101/500
show 91 110
show 491 510
quietly describe
display "sorted by: `r(sortlist)'"
