* rank: ties share the mean place; field counts from the top, track from the bottom, unique breaks ties
input g x
1 5
1 3
1 5
1 .
1 1
2 2
2 2
2 9
end
egen r = rank(x), by(g)
egen rf = rank(x), by(g) field
egen rt = rank(x), by(g) track
egen ru = rank(x), by(g) unique
egen rall = rank(-x)
list, noobs sep(0)
egen bad = rank(x), field track
