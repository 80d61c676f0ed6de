* Wide to long and back on unbalanced data with two i variables, a string stub, missing values
* and a variable constant within i: the data come back exactly (a stub's variables share one type
* and one format, as they do in the long form).
set seed 12345
local mv 0
local ms 0
set obs 300
generate int g = ceil(_n / 100)
generate long h = mod(_n * 7919, 1000)
generate byte k = mod(_n, 3)
foreach t in 1 2 3 4 7 {
    generate double v`t' = round(rnormal() * 100, .01) if runiform() > .2
    generate str5 s`t' = substr("abcde", 1, ceil(runiform() * 5)) if runiform() > .3
}
format v1 v2 v3 v4 v7 %9.2f
save wide
foreach t in 1 2 3 4 7 {
    quietly count if missing(v`t')
    local mv = `mv' + r(N)
    quietly count if s`t' == ""
    local ms = `ms' + r(N)
}
display "`mv' `ms'"
reshape long v s, i(g h) j(t)
assert _N == 300 * 5
* The cells moved where they belong.
quietly summarize t
display r(min) " " r(max)
quietly count if t == 5
display r(N)
quietly count if missing(v)
display r(N)
quietly count if s == ""
display r(N)
reshape wide
quietly describe
display r(N) " " r(k) " sorted by `r(sortlist)'"
save back
use wide, clear
foreach v of varlist _all {
    rename `v' o_`v'
}
sort o_g o_h
merge using back
foreach v in g h k v1 v2 v3 v4 v7 s1 s2 s3 s4 s7 {
    assert `v' == o_`v'
    local a : type `v'
    local b : type o_`v'
    local f : format `v'
    local e : format o_`v'
    assert "`a'" == "`b'" & "`f'" == "`e'"
}
