* reshape long then wide gives the data back exactly.
program types
    foreach v of varlist _all {
        display "`v' `: type `v'' `: format `v''"
    }
    quietly describe
    display _N " obs, sorted by `r(sortlist)'"
end
input id sex inc80 inc81 inc82 ue80 ue81 ue82
1 0 5000 5500 6000 0 1 0
2 1 2000 2200 3300 1 0 0
3 0 3000 2000 1000 0 0 1
end
format inc80 inc81 inc82 %9.1f
save wide, replace
reshape long inc ue, i(id) j(year)
list
types
char list _dta[]
* Back with the remembered form.
reshape wide
list
types
* The same as what we started from: values, types and formats.
save back
use wide, clear
foreach v of varlist _all {
    rename `v' o_`v'
}
merge using back
foreach v in id sex inc80 inc81 inc82 ue80 ue81 ue82 {
    assert `v' == o_`v'
    local a : type `v'
    local b : type o_`v'
    local f : format `v'
    local g : format o_`v'
    assert "`a'" == "`b'" & "`f'" == "`g'"
}
