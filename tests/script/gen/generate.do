* types: a word in front, str#, the default, and text that widens as it goes
set obs 6
generate x = _n
generate byte b = _n * 30
generate int i = _n * 10000
generate long l = _n * 1000000000
generate double d = _n / 3
generate str3 s3 = "abcdef"
generate t = substr("abcdefghij", 1, _n)
describe
list
* the default type follows set type
set type double
generate dd = 1/3
set type float
generate ff = 1/3
describe dd ff
* missing values generated, one and several
generate m1 = 1 if _n != 4
generate m2 = .a
generate m3 = . in 2
generate m4 = 0 if x > 99
generate str1 e = "" in 1/3
list m1 m2 m3 m4 e
* in ranges: f, l, negative items, one observation
generate r1 = _n in -2/l
generate r2 = _n in f/2
generate r3 = _n in -1
list r1 r2 r3
* text of 245 bytes is cut at 244 without a message
generate big = "0123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789012345678901234567890123456789XXXXXXXX" in 1
describe big
assert length(big) == 244 in 1
assert big == "" in 2/l
* _n, _N and sum() over the range
generate n = _n in 3/5
generate nn = _N in 3/5
generate s = sum(x) in 3/5
list n nn s
