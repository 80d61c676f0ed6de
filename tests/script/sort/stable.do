* stable: equal keys keep the order they had
program show
    local ids
    forvalues i = `1'/`2' {
        local ids `ids' `=id[`i']'
    }
    display "`ids'"
end
run ties.inc
sort g x, stable
assert g > g[_n-1] | (g == g[_n-1] & x >= x[_n-1]) if _n > 1
assert id > id[_n-1] if _n > 1 & g == g[_n-1] & x == x[_n-1]
show 1 20
show 581 600
quietly describe
display "sorted by: `r(sortlist)'"
* equal keys keep the order they had, not that of id
sort s, stable
capture assert id > id[_n-1] if _n > 1 & s == s[_n-1]
display _rc
sort id
sort s, stable
assert id > id[_n-1] if _n > 1 & s == s[_n-1]
show 1 20
* without it equal keys are drawn into an order of their own
sort id
sort g
capture assert id > id[_n-1] if _n > 1 & g == g[_n-1]
display _rc
* a range
sort id
sort x in 201/400, stable
assert x >= x[_n-1] in 202/400
assert id > id[_n-1] if x == x[_n-1] in 202/400
show 195 206
