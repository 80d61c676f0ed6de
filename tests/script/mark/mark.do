* mark: 1 for the observations of the sample with a positive weight
set obs 8
generate x = _n
generate w = cond(_n == 2, -1, cond(_n == 3, ., cond(_n == 4, 0, cond(_n == 5, 2.5, 1))))
generate str2 s = cond(_n == 6, "", "a")
mark m1
mark m2 if x > 3
mark m3 in 2/4
mark m4 [aweight = w]
mark m5 [aweight = w], zeroweight
mark m6 [iweight = w] if x != 8
list x w m1-m6
describe m1
* frequency weights must be integers among the selected observations
mark m7 [fweight = w]
mark m7 [fweight = w] if x != 5
mark m8 [fw = w] in 6/8
list m7 m8
* failures leave no variable behind
mark m1
mark
mark q [pweight = nosuch]
mark q, fast
mark q = 1
mark q [weight = w] [aweight = w]
describe, short
* markout: the mark goes to 0 where a variable is missing
markout m1 w
list x w m1
markout m8 s
markout m8 s, strok
list x s m8
markout m1
markout x w
markout m1 w if x > 2
markout m1 nosuch
* markin: the range from the first to the last marked observation
markin if m2, name(r)
display "`r'"
markin if x > 100, name(r)
display "`r'"
markin in 3/5, name(r)
display "`r'"
markin, name(r)
display "`r'"
markin if m1
markin, name(1bad)
