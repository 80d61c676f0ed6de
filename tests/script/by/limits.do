* more by-variables than maxvar: 1002
set obs 2
generate x = 1
local l
forvalues i = 1/5001 {
    local l `l' x
}
by `l': count
* a by with no variables, and text where the colon should be
by: count
by x count
by x, nosuch: count
