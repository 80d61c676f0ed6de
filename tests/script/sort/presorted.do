* data in order cost one pass and move nothing; data in reverse order are
* turned end for end, equal keys included; neither draws from the generator
program show
    local ids
    forvalues i = `1'/`2' {
        local ids `ids' `=id[`i']'
    }
    display "`ids'"
end
run ties.inc
sort id
query sortseed
quietly describe
display "sorted by: `r(sortlist)'"
* in reverse order of rid: reversed
sort rid
show 1 10
query sortseed
quietly describe
display "sorted by: `r(sortlist)'"
* a real sort draws from the generator
sort g
query sortseed
show 1 10
show 591 600
* gd is the order of g turned round: the data stand in reverse order of it,
* with ties, and are turned end for end
sort gd
show 1 10
show 591 600
query sortseed
* in order by gd now, so once more nothing moves
sort gd
show 1 10
* stable: equal neighbours count as in order, so data in reverse order with
* ties are sorted, keeping the order of equal keys; without it they are
* turned round
sort id
sort g, stable
sort gd, stable
assert id > id[_n-1] if _n > 1 & gd == gd[_n-1]
show 1 10
sort id
sort g, stable
sort gd
assert id < id[_n-1] if _n > 1 & gd == gd[_n-1]
show 1 10
quietly describe
display "sorted by: `r(sortlist)'"
