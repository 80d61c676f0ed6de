* failures of infile, infix and outfile: the message, the code, the dataset unchanged
set obs 2
generate z = _n
infile a b using nosuch
infile a b using nosuch, clear
infile a b using ., clear
file open f using v.raw, write
file write f "1 300" _n "2 4" _n
file close f
infile a b using v
infile a byte b using v, clear
infile a b if nosuch > 1 using v, clear
infile a a using v, clear
infile a b using v, clear nosuchoption
list
* a dictionary that is not one, or has an error (its line named)
file open f using nodict.dct, write
file write f "a b c" _n
file close f
infile using nodict, clear
foreach line in "_colum(3) a" "_column(x) a" "a %5q" "str5 s %5f" "a b" "int" "a %3s" "_column(0) a" {
    file open f using bad.dct, write replace
    file write f "dictionary {" _n `"    `line'"' _n "}" _n
    file close f
    capture noisily infile using bad, clear
}
file open f using quote.dct, write replace
file write f "dictionary {" _n "    a " _char(34) "unclosed" _n "}" _n
file close f
infile using quote, clear
file open f using open.dct, write replace
file write f "dictionary {" _n "    a" _n
file close f
infile using open, clear
file open f using dup.dct, write replace
file write f "dictionary {" _n "    a" _n "    a" _n "}" _n
file close f
infile using dup, clear
infix a 1-2 b 4-3 using v, clear
infix a x using v, clear
infix a 1-2 a 3-4 using v, clear
infix a 1-2 using nosuch, clear
list
* outfile: a file that exists, a disk that fills (the old file stays), a directory that is not there
outfile using v.raw
outfile using /dev/full, replace
outfile using nosuchdir/x
outfile nosuch using w
type v.raw
