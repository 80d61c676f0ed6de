scalar a = 5
scalar define b = a*2 + 1
scalar s = "hello"
display a + b
display = s + " world"
scalar list
scalar list b
scalar dir
scalar a = "now text"
scalar list a
scalar drop a
scalar list
scalar drop nosuch
scalar list nosuch
scalar 1x = 3
scalar c 4
scalar d = nosuch + 1
scalar e = 1/0
display e
scalar drop _all
scalar list
