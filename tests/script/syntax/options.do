* syntax: options of every kind, their abbreviations, defaults, failures, and no stale values
set obs 3
generate x = _n
generate y = _n * 2
generate str3 s = "abc"
program define o1
    syntax [, Detail noCONStant Title(string) TEXT(string asis) Level(cilevel) Real(real 0.5) Int(integer 3) MAXimum(integer) Num(numlist integer min=2 max=3) ASC(numlist ascending) MISS(numlist missingokay) BY(varlist numeric max=2) Var(varname string) Names(namelist min=1 max=2) Single(name) PASSthru(passthru) noLOG]
    display `"detail=[`detail'] constant=[`constant'] title=[`title'] text=[`text'] level=[`level'] real=[`real'] int=[`int'] maximum=[`maximum']"'
    display `"num=[`num'] asc=[`asc'] miss=[`miss'] by=[`by'] var=[`var'] names=[`names'] single=[`single'] passthru=[`passthru'] log=[`log']"'
end
o1
o1, d nocons ti(a title) text(  "kept as is"  ) l(90) r(2.5e3) i(-7) max(12)
* the capitals say how short an option may be
o1, detail noconstant title("quoted title") level(99.5)
o1, det
o1, nocon
o1, noc
o1, t(x)
o1, tex(x)
o1, ma(1)
o1, pass(anything (at) all) nolog
o1, passthru
* numbers
o1, r(abc)
o1, r
o1, r()
o1, i(2.5)
o1, l(5)
o1, l(100)
o1, l(x)
* number lists
o1, n(1/3)
o1, n(1)
o1, n(1/4)
o1, n(1.5 2)
o1, asc(3 1)
o1, miss(1 . 3)
o1, n(1 .)
o1, n(a b)
* variables and names
o1, by(x y)
o1, by(x y x)
o1, by(s)
o1, by(nosuch)
o1, by(x-)
o1, v(s)
o1, v(x)
o1, v(s s)
o1, names(a)
o1, names(a b c)
o1, names()
o1, names(a 1)
o1, single(one)
o1, single(one two)
* unknown options, flags with an argument, arguments that do not balance
o1, nosuch
o1, detail(1)
o1, title("a)
o1, title(a(b)
o1, title(a])
o1, title([a)
* the string limit of 200 bytes
local t
forvalues i = 1/20 {
    local t `t'abcdefghij
}
o1, title(`t')
o1, title(`t'z)
o1, text(`t'z)
* later options override earlier ones
o1, r(1) r(2) detail
* stale values never survive: a local set before syntax is emptied when the option is not given
program define o2
    local detail "stale"
    local title "stale"
    local options "stale"
    syntax [, Detail Title(string) *]
    display `"detail=[`detail'] title=[`title'] options=[`options']"'
end
o2
o2, other(1 2) x
* a failed syntax leaves nothing of its parts either
program define o3
    local varlist "stale"
    local if "stale"
    capture syntax varlist [if]
    display `"rc=`=_rc' varlist=[`varlist'] if=[`if']"'
end
o3
* * collects what the pattern does not name
program define o4
    syntax varlist [, Detail *]
    display `"varlist=[`varlist'] detail=[`detail'] options=[`options']"'
end
o4 x, d a(1) b c("d e")
o4 x, a
* options required by the pattern: written outside the brackets
program define o5
    syntax varlist, GENerate(string) [Replace]
    display `"generate=[`generate'] replace=[`replace']"'
end
o5 x, gen(new)
o5 x
o5 x, replace
* options not in the pattern at all
program define o6
    syntax varlist
    display "`varlist'"
end
o6 x, detail
* a number under version 9 is shown by %9.0g, under 10 by %18.0g
program define o7
    syntax [, R(real 1) I(integer 100000000)]
    display "r=[`r'] i=[`i']"
end
o7, r(123456789.25)
version 9: o7, r(123456789.25)
program define o8
    version 9
    syntax [, R(real 1) I(integer 100000000)]
    display "r=[`r'] i=[`i']"
end
o8, r(123456789.25)
* a line of more options than the limit
program define o9
    syntax [, *]
end
local t
forvalues i = 1/70 {
    local t `t' a`i'
}
o9, `t'
o9, `t' a71
