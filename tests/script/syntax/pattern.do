* syntax: a fault in the pattern itself is 197
* p1 runs syntax with the pattern it is given, on an empty line
program define p1
    local pat `"`0'"'
    local 0
    syntax `pat'
    display "fine"
end
p1 varlist
p1 [varlist] [if] [in] [fweight aweight] [using] [, Detail]
p1 anything =exp
p1 foo
p1 varlist varlist
p1 [if] varlist
p1 [if] [if]
p1 [in] [in]
p1 [using] using/
p1 [=exp] =exp
p1 [fweight] [aweight]
p1 [bweight]
p1 [varlist(min=3 max=2)]
p1 varlist(numeric string)
p1 varlist(nosuch)
p1 varlist(min=x)
p1 varlist(default=some)
p1 varlist(min=2
p1 [varlist
p1 , Detail Detail
p1 , Detail(nosuch)
p1 , Detail(real x)
p1 , Detail(integer 1.5)
p1 , Detail(string other)
p1 , Detail [Other
p1 , Detail] Other
p1 , * Detail
p1 , [Detail] [Other] *
p1 [, Detail] [if]
p1 , Required
p1 [fweight] =exp
p1 [if/] [using/]
p1 , Num(numlist ascending descending)
