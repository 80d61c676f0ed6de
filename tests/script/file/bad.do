* failures of file: each leaves a clear message and code
file open h using nosuch.txt, read
file open h using ., read
file open h using x.txt
file open h using x.txt, write text binary
file open h using x.txt, read write
file open h using x.txt, write
file write h "one" _n
file open h using y.txt, write
file close h
file open h using x.txt, write
file read nothere line
file write nothere "x"
file close nothere
file open h using x.txt, read
file write h "x"
file seek h 1000
file seek h -1
file set h byteorder middle
file read h %3b v
file bogus h
file query
file close _all
file query
* a disk that fills while writing
file open full using /dev/full, write replace
file write full _dup(70000) "x"
file close full
file query
* write a file in a program and leave it open: the handle goes at the end of the program, and a
* new file it wrote is not left behind
program leave
    tempname h
    file open `h' using left.txt, write
    file write `h' "text" _n
end
leave
file query
capture confirm file left.txt
display _rc
* an old file stays as it was when its new version fails
file open h using keep.txt, write
file write h "old" _n
file close h
program spoil
    tempname h
    file open `h' using keep.txt, write replace
    file write `h' "new" _n
    error 498
end
capture spoil
display _rc
type keep.txt
