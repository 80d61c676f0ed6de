* infile in free format: blanks or commas between values, quoted strings, str# types, _skip
file open f using plain.raw, write
file write f "1 2.5 abc" _n "2 -3e2 " _char(34) "two words" _char(34) _n
file write f "3,,xyz" _n "4 . 'single q'" _n
file close f
infile id x str12 s using plain
list
describe
infile id x str12 s using plain.raw, clear
list
* a value across lines: free format reads values in order whatever the lines
infile a b using plain, clear
list
* _skip passes over values
infile id _skip str12 s using plain, clear
list
* in and if pick observations of the file
infile id x str12 s if id != 2 using plain in 2/4, clear
list
* text that is not a number is made missing with a note
infile id x y using plain, clear
list
* a string longer than its type is cut
infile id x str2 s using plain, clear
list
* a last observation cut short gets missing values
file open f using short.raw, write
file write f "1 2 3" _n "4 5" _n
file close f
infile a b c using short, clear
list
* ranges of names and types
infile (byte) v1-v3 str3 s using short, clear
describe
infile v1-v3 using short, clear
list
