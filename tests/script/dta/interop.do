* Files written by other programs: every name, type, value, missing value, format and label comes in.
* pandas, format 114: byte, int, long, two doubles, str20 and a labelled byte.
use pandas_v114
describe
list
display "$S_FN|$S_FNDATE|" c(changed)
format f32 f64 %21x
list f32 f64
* a haven file, format 113: a long with `.`, a double with `.`, a str5 with a left format, a long
* labelled
use haven_v113, clear
describe
list
format xv %21x
list xv
* a foreign file, format 114 without a time stamp: .z in longs, the text "NA" in a string
use foreign_v114, clear
describe
list
format xv %21x
list xv
display "[$S_FNDATE]"
* the same through describe using, and a part of each
describe using pandas_v114
describe i8 s using pandas_v114, short
describe s i* using pandas_v114
describe nosuch using pandas_v114
describe using nosuch
display r(N) " " r(k) " " r(width) " " r(changed)
use i16 s sex using pandas_v114 in 2/4, clear
list
use using haven_v113 if sv != "", clear
list
