* label save writes label define commands to a do-file that makes the tables again
clear
label define yn 0 no 1 yes .a "not asked"
label define odd -5 `"say "what""' 7 "costs \$5 or \`x'" 8 "{it:x}, y"
label save using lbls
type lbls.do
* a file that exists needs replace
label save yn using lbls
label save yn using lbls, replace
type lbls.do
* running the file makes the tables again, texts and values exactly as they were
label save using all.do
label drop _all
do all
label list
* a file name in quotes, with a suffix of its own
label save odd using "odd labels.txt"
type "odd labels.txt"
* failures: no using, no file, a table that does not exist, a bad option, a directory
label save yn
label save yn using
label save nosuch using x
label save using x, nosuch
label save yn using x y
label save using nodir/x
* nothing was written by the failures
capture type x.do
display _rc
