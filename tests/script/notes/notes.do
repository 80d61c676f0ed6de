* notes on the dataset and its variables: add, list, drop, replace, renumber
clear
notes
set obs 1
generate mpg = 1
generate price = 2
notes: entered twice and compared
notes: texts keep {bf:braces}, \$ and `"quotes"' as typed
notes mpg: miles per gallon, from the maker
notes pr: in dollars
notes _dta: a third note on the data
notes mpg: a second note on mpg, long enough that the listing has to break it at a blank and go on below the text of the first line
* notes alone, notes list and notes with names list them: _dta first, then the variables in order
notes
notes list price mpg
notes mpg
notes list _dta in 2/3
notes list in 2
notes list mpg in 2/l
* the notes are characteristics: note0 holds the highest number
char list
display "`mpg[note0]' `_dta[note1]'"
* replace gives a note a new text
notes replace _dta in 1: entered twice, compared, and checked
notes list _dta in 1
* drop leaves the other numbers as they are; renumber closes the gaps
notes drop _dta in 2
notes _dta
notes: a fourth, after the gap
notes _dta
notes renumber _dta
notes _dta
notes drop mpg price
notes
* when all the notes of a variable are dropped, numbers start again from 1
notes mpg: again
notes mpg
* TS stands for the date and time
notes price: checked TS
local t : char price[note1]
display regexm("`t'", "^checked [0-9]+ [A-Z][a-z][a-z] [0-9][0-9][0-9][0-9] [0-9][0-9]:[0-9][0-9]$")
notes drop price
* notes follow a variable through rename and go with it
rename mpg m
notes m
drop m
notes
