* import delimited and export delimited over insheet and outsheet
import delimited using basic.csv
list id name score
import delimited semi, delimiters(";") clear
list
import delimited names.csv, clear case(preserve) varnames(nonames)
describe, short
import delimited types.csv, clear asdouble
describe
capture noisily import delimited nohead.csv, clear varnames(2)
capture noisily import spreadsheet nohead.csv
capture noisily import
* export: commas and names by default, .csv when the name has no extension
export delimited b d using ex if b > 0
type ex.csv
capture noisily export delimited using ex
export delimited using ex, delimiter(";") novarnames replace
type ex.csv
