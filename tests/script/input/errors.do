* nothing to input: no variables at all
input
input _all
set obs 3
input
input, automatic
* automatic may not be abbreviated below two letters
input x, a
input x, nosuch
* a list of new variables and one of existing variables cannot be mixed: the first name decides
clear
input a b
1 2
end
input a c
input c a
* a type before an existing name, a name listed twice, a bad type, a bad name
input byte a
input a a
input c c
input str300 c
input (str0) c
input (foo) c
input 1c
input _cons
input c in 1
input c if 1
input c = 1
input L.a
input a-
* none of the failures above made a variable or an observation
describe, short
list
* a failure while the variables are made leaves none of them
input str244 v1-v300
describe, short
list
