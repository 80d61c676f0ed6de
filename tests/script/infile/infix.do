* infix: columns by number, several lines per observation, and its dictionary
file open f using cols.raw, write
file write f "12345abc" _n "line2" _n "67890def" _n "LINE2" _n
file close f
infix id 1-2 str s 6-8 x 3-5 using cols
list
infix 2 lines 1: id 1-2 str s 6-8 2: str t 1-4 using cols, clear
list
infix id 1-2 using cols in 2/3 if id < ., clear
list
file open f using cols.dct, write
file write f "infix dictionary using cols.raw {" _n "    2 lines" _n "    1:" _n "    long id 1-5" _n "    2: str x 1-5" _n "}" _n
file close f
infix using cols, clear
describe
list
