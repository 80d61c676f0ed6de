* Bad input: clear message and code, the dataset as it was unless the read finished
insheet using nohead.csv
program show
    display _N " " c(width) " " c(changed)
end
replace v1 = 9 in 1
insheet using semi.csv, delimiter(";")
show
foreach f in nosuch.csv openquote.csv binary.csv {
    capture noisily insheet using `f', clear
    display "r(" _rc ")"
    show
}
* no extension: .raw is tried
capture noisily insheet using nosuch, clear
* rows of other lengths: short ones end in missing values, long ones add variables
insheet using ragged.csv, clear
list
* a column that turns to text halfway is text, every value kept
insheet using halfway.csv, clear
describe
list
* an empty file is an empty dataset
insheet using empty.csv, clear
show
* a value longer than any string is cut, with a note
insheet using long.csv, clear
describe
display length(s[1]) " " n[1]
* options that do not go together
capture noisily insheet using semi.csv, clear comma tab
capture noisily insheet using semi.csv, clear names nonames
capture noisily insheet semi.csv, clear
* a quote inside a value that is not quoted opens a quoted part all the same
capture noisily insheet using stray.csv, clear
display "r(" _rc ")"
