* Header, quoted fields with separators, doubled quotes and line breaks, empty fields as missing
insheet using basic.csv
describe
list
* a tab-separated file is found by its first line; other separators are named
insheet using tabbed.txt, clear
describe
list
insheet using semi.csv, delimiter(";") clear
list
insheet using semi.csv, delimiter(";;") clear
* a first line of numbers is data; names forces a header, nonames refuses one
insheet using nohead.csv, clear
list
insheet using nohead.csv, clear names
describe
insheet using semi.csv, clear delimiter(";") nonames
list
* names cleaned into names, repeated and reserved ones made unique, the original text as the label
insheet using names.csv, clear
describe
insheet using names.csv, clear case
describe
* types from the data: byte, int, long, float and double; double makes reals double
insheet using types.csv, clear
describe
list
insheet using types.csv, clear double
describe
display %20.0g f[1] " " %20.0g d[1]
* line ends of two bytes, and a blank line
insheet using crlf.csv, clear comma
list
* the estimates' reference file, written elsewhere
insheet using estref.csv, clear double
describe, short
summarize
list in 1/3
assert y[1] == 1.571671 & x2[2] == 1.635348 & y[_N] == 1.67537
insheet using estref.csv, clear
describe
assert y[1] == float(1.571671) & x2[2] == float(1.635348) & g[1] == 15
* names alone: variables without observations (found by the fuzz test: the columns went missing)
insheet using header.csv, clear names
describe, short
