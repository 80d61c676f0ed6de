* values for existing variables go into new observations behind the last
input id str5 name
1 ann
2 bob
end
input id name
3 cy
4 dee
end
list
* with no list, the values are for every variable, in dataset order
input
5 ed
end
list in l
* _all, a range and a wildcard name existing variables too
input _all
6 fay
end
input id-name
7 gil
end
input n*
hal
end
list in 6/l
* a list of some of the variables: the others are missing in the new observations
input name
ivy
end
list in 8/l
* new variables take the values of the observations there are, from the first; the rest stay missing
input byte score
10
20
30
end
list
* lines beyond the last observation add observations
input age
31
32
33
34
35
36
37
38
39
40
end
list
* a name that abbreviates an existing variable begins a new list
input sc
1
end
list score sc in 1/2
