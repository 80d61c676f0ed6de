* syntax: the leading element with its specifiers, =exp, if, in, weights and using
set obs 6
generate x = _n
generate y = _n * 2
generate xz = -_n
generate str4 s = "a"
* the edge case: an empty line leaves varlist, if and in empty
program define e1
    syntax [varlist] [if] [in]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e1
e1 x y if x > 2 in 2/5
e1 x-s in -2/l
e1 _all
e1 x*
* abbreviations and wildcards as the list parser reads them
e1 xz y
e1 nosuch
e1 x, detail
e1 if x > 2 if x > 3
* varlist(min=2) with one name gives 102, with none "varlist required"
program define e2
    syntax varlist(min=2 max=3 numeric)
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e2 x
e2
e2 x y xz x
e2 x s
e2 x y
program define e3
    syntax varlist(string)
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e3 x
e3 s
program define e4
    syntax [varlist(default=all)]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e4
e4 y
program define e5
    syntax varname
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e5 x y
e5 y
program define e6
    syntax [varlist(default=none max=1)] [using/]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e6
e6 using "a file.dta"
e6 x using b.dta
* time-series operators only where the pattern takes them; tsops tells they were seen
program define e7
    syntax varlist(ts)
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e7 L.x D.y
e7 x
program define e8
    syntax varlist
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
e8 L.x
* new variables: names and their types
program define n1
    syntax newvarlist(min=2)
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
n1 a double b str5 c
n1 (double) a b
n1 a
n1 x a
program define n2
    syntax newvarname(generate)
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
    describe `varlist'
end
n2 int made
n2 a b
* =exp, required if, weights
program define q1
    syntax varname =exp [if]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
q1 x = y * 2 if x > 1
q1 x
q1 x = (
program define q2
    syntax [anything] if/
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
q2 a b if x > 1
q2 a b
program define q3
    syntax varlist [fweight aweight iweight]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
q3 x [w = y]
q3 x [aw=y]
q3 x [iw = y + 1]
q3 x [pw=y]
q3 x [frequency = y]
q3 x [cellsize = y]
q3 x [zz = y]
q3 x [fw=y] [fw=y]
q3 x []
program define q4
    syntax [using] [in]
    display `"varlist=[`varlist'] typlist=[`typlist'] tsops=[`tsops'] exp=[`exp'] if=[`if'] in=[`in'] weight=[`weight'] using=[`using']"'
end
q4 using f.dta in 1
q4 in 7
q4 [fw=y]
q4 x
q4 = 3
q4 if x
q4 , opt
* anything, name and namelist
program define a1
    syntax anything(name=what equalok) [, OPt]
    display `"what=[`what'] anything=[`anything'] opt=[`opt']"'
end
a1 a = b "c d" (e, f), opt
a1 , opt
program define a2
    syntax anything(everything)
    display `"anything=[`anything']"'
end
a2 x if y in 3 using z [w=1]
program define a3
    syntax [anything]
    display `"anything=[`anything']"'
end
a3 a b = c
a3 a [w=1]
program define a4
    syntax namelist(min=2 max=3)
    display `"namelist=[`namelist']"'
end
a4 alpha beta
a4 alpha
a4 a b c d
a4 a 1b
program define a5
    syntax name(name=eq)
    display `"eq=[`eq']"'
end
a5 one
a5 one two
a5
