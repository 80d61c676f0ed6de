* counts in parentheses
display _char(0)
display _char(256)
display _char
display _char(65
display _newline(401)
display _newline(-1)
display "x" _skip(401) "y"
display _skip(a)
display _dup(-1) "a"
display _dup "a"
display _dup(401) "a"
display _column(-1000000) "x"
display _column(-999999) "x"
* as and in words
display as foo "x"
display as
display in
display as tex "x"
* formats
display %5.2 1
display %12345678901234f 1
display %-9.2fx 1
* expressions fail with their own codes; what came before stays
display "unknown " nosuchname
display 2 * "a"
display (1
display "a" _request
display "a" _request(1bad)
* _request in batch mode is a note and an empty macro
global answer "old"
display "Name? " _request(answer)
display "[$answer]"
