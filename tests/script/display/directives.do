* an empty display is an empty line
display
* commas: one blank, and two commas join
display 1,2
display 1,,2
display "a",,"b","c"
* _dup repeats the next item, and multiplies
display _dup(3) "ab"
display _dup(2) _dup(3) "a"
display _d(2) 7
* string formats: right, left and centred
display %5s "ab" "|"
display %-5s "ab" "c"
display %~6s "ab" "|"
display %~7s "ab" "|"
display %2s "abcd" "|"
display _dup(2) %4s "x" "|"
* numbers: the default drops its leading blanks, other formats keep their width
display 3.14159
display -7
display 1e20
display %9.2f 3.14159 "|"
display %12.2fc 1234567.891
display %-9.2f 2.5 "|"
display %td 0
display %td 18000 " " %tm 600
* a string format in force is dropped for a number, a number format for a string
display %10s 12 "|"
display %9.2f "text" "|"
* expressions: strings, comparisons, and =exp
display "a" + "b"
display "abc" == "abc"
display =2*3
display 2+2 " " 2*2 " " 2^10
display length("four") " " upper("up")
scalar half = 0.5
display half*4
* _skip, _column, _char, _quote
display "x" _skip(3) "y"
display "x" _skip "y"
display "x" _skip(-2) "y"
display _column(1) "a"
display "abc" _column(6) "d"
display "a" _col(3) "b" _column(10) "c"
display _asis "abc" _column(2) "d"
display _asis "abc" _column(6) "d"
display _char(65) _char(66) _dup(3) _char(42)
display _char(123) "c -(" _char(125)
display _quote "q" _quote
display _dup(2) _quote
* _newline and _continue
display "a" _newline(2) "b"
display "a" _n "b"
display _dup(2) _n "after two"
display "one" _continue
display " and the same line"
display _c
* markup is read unless _asis; as and in
display "{hline 5}|"
display _asis "{hline 5}|"
display as text "text " as result "result " as error "error " as input "input"
display in rimu "{hline 3}"
display _page "p"
* under version 6 text is literal
version 6: display "{hline 5}"
* quietly shows nothing
quietly display "hidden"
* the buffer form of the extended macro function
local f : display %9.2f 1/3
display "[`f']"
local g : display _dup(3) "ab" _skip(2) "c"
display "[`g']"
