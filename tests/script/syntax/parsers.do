* args, tokenize and gettoken
program define pa
    args first second third
    display `"first=[`first'] second=[`second'] third=[`third']"'
end
pa one "two words"
pa 1 2 3 4 5
pa
program define pa2
    args a 1b
end
pa2 x
* tokenize: blanks, or the characters of parse(), which are tokens themselves
program define pt
    local 9 "stale"
    tokenize `"`0'"'
    display `"[`1'] [`2'] [`3'] [`4'] [`9']"'
end
pt x y "z w"
pt `"a `"b "c" d"' e"'
pt ""
program define pt2
    tokenize "a,b , c", parse(",")
    display `"[`1'] [`2'] [`3'] [`4'] [`5'] [`6']"'
    tokenize "a,b , c", parse(", ")
    display `"[`1'] [`2'] [`3'] [`4'] [`5'] [`6']"'
    tokenize "x+y-(z)", parse("+-()")
    display `"[`1'] [`2'] [`3'] [`4'] [`5'] [`6'] [`7']"'
    tokenize a "b c" g"h i"j ""
    display `"[`1'] [`2'] [`3'] [`4'] [`5']"'
    tokenize
    display `"[`1']"'
end
pt2
tokenize "abc
tokenize a "b
tokenize x y z
display "[`1'] [`2'] [`3']"
tokenize x, parse
tokenize x, nosuch(1)
* gettoken: one token off a macro, the rest to a second
program define pg
    local c "(x y) z"
    gettoken a b : c, match(p)
    display `"a=[`a'] b=[`b'] p=[`p']"'
    local c "plain (x) z"
    gettoken a b : c, match(p)
    display `"a=[`a'] b=[`b'] p=[`p']"'
    local c "a b c"
    gettoken a c : c
    display `"a=[`a'] c=[`c']"'
    gettoken a c : c
    display `"a=[`a'] c=[`c']"'
    gettoken a c : c
    display `"a=[`a'] c=[`c']"'
    gettoken a c : c
    display `"a=[`a'] c=[`c']"'
    local c `""quoted one" rest"'
    gettoken a b : c, qed(q)
    display `"a=[`a'] b=[`b'] q=[`q']"'
    gettoken a b : c, quotes qed(q)
    display `"a=[`a'] b=[`b'] q=[`q']"'
    local c "plain rest"
    gettoken a b : c, qed(q)
    display `"a=[`a'] b=[`b'] q=[`q']"'
    local c "f(a b) [c d] g"
    gettoken a b : c, bind
    display `"a=[`a'] b=[`b']"'
    gettoken a b : b, bind
    display `"a=[`a'] b=[`b']"'
    gettoken a b : c
    display `"a=[`a'] b=[`b']"'
    local c "x=y, z"
    gettoken a b : c, parse("=,")
    display `"a=[`a'] b=[`b']"'
    gettoken a b : b, parse("=,")
    display `"a=[`a'] b=[`b']"'
    gettoken a b : b, parse(", ")
    display `"a=[`a'] b=[`b']"'
    local c "a,b"
    gettoken (global) G (local) r : c, parse(",")
    display `"G=[$G] r=[`r']"'
    global S "one two"
    gettoken a (global) S : (global) S
    display `"a=[`a'] S=[$S]"'
end
pg
program define pg2
    local c "(x (y) z"
    gettoken a b : c, match(p)
end
pg2
program define pg3
    local c "f(a b g"
    gettoken a b : c, bind
end
pg3
program define pg4
    local c `""abc"'
    gettoken a b : c
end
pg4
program define pg5
    gettoken a b c
end
pg5
program define pg6
    gettoken 1a : c
end
pg6
program define pg7
    gettoken a : c, match(1x)
end
pg7
* the positional macros by their numbers: the usual way of taking words off the arguments
program define pg8
    gettoken first 0 : 0
    display `"first=[`first'] 0=[`0']"'
    gettoken 1 2 : 0
    display `"1=[`1'] 2=[`2']"'
end
pg8 alpha beta gamma
