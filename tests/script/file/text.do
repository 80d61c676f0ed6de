* file write then read, text: directives, formats, columns, and r(eof) at the end
file open out using notes.txt, write
file write out "first line" _n
file write out "x = " %5.2f (1/3) _tab "y" _col(20) "|" _n
file write out (2+2) " " ("s" + "t") _skip(3) "after" _n(2)
file write out _dup(3) "ab" _char(65) _n
file close out
file open in using notes.txt, read
file read in line
while r(eof) == 0 {
    display "[`line']"
    file read in line
}
display r(eof)
* reading past the end keeps giving r(eof) 1 and an empty macro
file read in line
display r(eof) " [`line']"
file seek in tof
file read in line
display "[`line']"
file seek in query
display r(loc)
file close in
* append adds to the end; replace is needed to write over a file
file open out using notes.txt, append
file write out "appended" _n
file close out
type notes.txt
capture noisily file open out using notes.txt, write
display _rc
file open out using notes.txt, write replace
file write out "new" _n
file close out
type notes.txt
* a file with CR LF line ends reads without the CR
file open out using crlf.txt, write
file write out "one" _char(13) _n "two" _char(13) _n
file close out
file open in using crlf.txt, read text
file read in a
file read in b
display "[`a'][`b']" length("`a'")
file close in
