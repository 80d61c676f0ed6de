* characteristics follow their variable through rename and go with it when it is dropped;
* char rename moves them to another variable
clear
set obs 1
generate a = 1
generate b = 2
char a[one] "first of a"
char a[two] "second of a"
char b[two] "second of b"
rename a c
char list
display "[`c[one]'] [`a[one]']"
* char rename: a characteristic that the new variable has already is refused, and nothing moves
char rename c b
char list
* replace drops the new variable's own first
char rename c b, replace
char list
* to itself, nothing happens
char rename b b
* failures
char rename b
char rename b c d
char rename nosuch b
char rename b nosuch
char rename b c, nosuch
* a dropped variable's characteristics go; clear drops all of them
char c[x] y
drop b
char list
char _dta[d] e
clear
char list
