* infile with a dictionary: columns, skips, lines, input formats, labels
file open f using fixed.raw, write
file write f "header line" _n
file write f "001 12.5 abcde" _n "xx second" _n
file write f "002  3.1 fghij" _n "yy another" _n
file close f
file open f using fixed.dct, write
file write f "* a dictionary with a comment" _n
file write f "infile dictionary using fixed.raw {" _n
file write f "    _firstlineoffile(2)" _n
file write f "    _lines(2)" _n
file write f "    int id %3f " _char(34) "the id" _char(34) _n
file write f "    _column(5) double x %4.1f" _n
file write f "    _skip(1) str5 s %5s " _char(34) "five letters" _char(34) _n
file write f "    _line(2) str2 tag %2s" _n
file write f "    _column(4) str10 rest" _n
file write f "}" _n
file close f
infile using fixed
describe
list
* implied decimals: %4.1f reads 125 as 12.5
file open f using imp.dct, write
file write f "dictionary {" _n "    v %3.1f" _n "    w %2f" _n "}" _n "12534" _n " 7 1" _n
file close f
infile using imp, clear
list
* the data may follow the dictionary, and using() names another file
file open f using free.dct, write
file write f "dictionary" _n "{" _n "  a:yn" _n "  str5 b" _n "}" _n "1 x" _n "2 y" _n
file close f
infile using free, clear
label define yn 1 "yes"
list
display "`: value label a'"
file open f using other.raw, write
file write f "9 z" _n
file close f
infile using free, using(other.raw) clear
list
