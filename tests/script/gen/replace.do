* the type of a byte, int or long variable follows its values
set obs 3
generate byte b = 100
replace b = b + 1 in 1
replace b = -127 in 2
replace b = -128 in 3
list b
generate byte b2 = 5
replace b2 = 2.5 in 1
generate int i = 32740
replace i = i + 1 in 1
list i
generate int i2 = -32767
replace i2 = i2 - 1 in 3
generate int i3 = 1
replace i3 = 3e9
generate long l = 2147483620
replace l = l + 1 in 2
generate long l2 = 7
replace l2 = 0.5 in 1
describe
list b2 i2 i3 l l2
* float: a change is what reads back after the store
generate float f = 16777216
replace f = f + 1
replace f = 0.1 in 1
replace f = 1e39 in 2
replace f = 1e-39 in 3
list f
* double
generate double d = 1
replace d = d
replace d = . in 1
replace d = .a in 2
replace d = 1/3 in 3
list d
* missing values keep their letter in every type
generate byte mb = 1
generate int mi = 1
generate long ml = 1
replace mb = .q in 1
replace mi = .z in 1
replace ml = .a in 1
replace f = .b in 1
list mb mi ml f in 1
replace mb = mb
* text widens up to str244; longer text is cut and counted
generate str1 s = "a"
replace s = "abcde" in 2
replace s = "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789XXXXXXXX" in 3
replace s = "" in 1
describe s
assert length(s) == 244 in 3
replace s = s
* an if that selects nothing
replace b = 0 if b > 1000
* nopromote: the type stays and the stores that do not read back are counted
generate byte n = 1
replace n = 200, nopromote
replace n = 1.5 in 1, nopromote
replace n = -3 in 2, nopromote
generate str2 ns = "ab"
replace ns = "abcd" in 1/2, nopromote
describe n ns
list n ns
* promotion off under version 3.1
version 3.1
replace n = 1000 in 1
version 10.1
describe n
