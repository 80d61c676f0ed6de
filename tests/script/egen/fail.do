* failures leave nothing made
set obs 3
generate x = _n
generate str1 s = "a"
egen x = mean(x)
egen y = nosuch(x)
egen y = mean(s)
egen y = rowtotal(x s)
egen str5 y = mean(x)
egen y = concat(x), by(s)
sort x
by x: egen y = rowmean(x)
egen y = mean(x) in 1/2, nosuchoption
egen y mean(x)
describe, short
egen y = mean(x) if x > 1
list, noobs
