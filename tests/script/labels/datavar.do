* the data label and variable labels: set, shown by describe, removed, cut at 80 characters
clear
label data "Survey of 2009"
set obs 2
generate age = 20 + _n
generate str4 name = "ann"
label variable age "age in years"
label var name `"the "name" field"'
describe
local x : data label
local y : variable label age
display `"[`x'] [`y']"'
* a text longer than 80 characters is cut, with a note
label data "123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123"
local x : data label
display length("`x'")
label variable age 123456789 123456789 123456789 123456789 123456789 123456789 123456789 123456789 xyz
local y : variable label age
display "`y'"
* without a text the label goes
label data
label variable age
describe
* abbreviations of the subcommands and of the variable
label da "d"
label v a "a"
label va na "n"
describe
* failures leave the labels as they were
label variable
label variable nosuch "x"
label variable age "open
label variable age "a" extra
label data "x" "y"
label variable n "ambiguous?"
generate nx = 1
label variable n "ambiguous"
label nosuch
label
describe
* a label is a change of the data (describe's r(changed) counts the changes); one of a variable
* whose name begins with _ is not, as for other changes
quietly describe
local c0 = r(changed)
label variable age "changed"
quietly describe
display r(changed) - `c0'
label data "changed too"
quietly describe
display r(changed) - `c0'
generate _tmp = 1
quietly describe
local c0 = r(changed)
label variable _tmp "scratch"
quietly describe
display r(changed) - `c0'
