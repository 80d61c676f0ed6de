* marksample reads the caller's weight, exp, if, in and varlist
set obs 6
generate x = _n
generate y = cond(_n == 3, ., _n)
generate w = cond(_n == 5, 0, 1)
program define tcount
    marksample touse
    count if `touse'
end
program define tsome
    local if "if x > 1"
    local in "in 1/5"
    local varlist "y"
    marksample touse
    list x `touse'
end
program define tweight
    local weight "aweight"
    local exp "= w"
    local varlist "x y"
    marksample touse
    count if `touse'
    marksample touse2, zeroweight novarlist
    count if `touse2'
end
program define tstr
    generate str1 s = cond(_n == 2, "", "a")
    local varlist "s"
    capture marksample touse
    display _rc
    marksample touse, strok
    count if `touse'
    marksample touse, strok noby
    count if `touse'
    drop s
end
tcount
tsome
tweight
tstr
program define tbad
    local weight "fweight"
    local exp "= 1.5"
    marksample touse
end
tbad
program define tbad2
    marksample 1x
end
tbad2
describe, short
