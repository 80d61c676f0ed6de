* with no observations an assertion is checked once
assert 1 + 1 == 2
assert 2 < 1
assert "a" < "b"
capture assert 0
display _rc
* over observations every one is checked
set obs 5
assert _n <= 5
assert _n < 4
assert _n < 4 in 1/3
assert _n < 4 if _n != 4 & _n != 5
assert _N == 5 in 2
assert _n == 1 in f
assert _n == 5 in l
assert mod(_n, 2) == 1 if mod(_n, 2)
* failures
assert
assert nosuch > 1
assert "text"
assert 1 in 9
assert 1, fast
assert (1
