* the messages of mlmatbysum and _mlmatbysum
clear
input id t a b c x str1 s
1 1 1 2 3 1 "a"
1 2 1 2 3 2 "a"
2 1 1 2 3 3 "b"
2 2 1 2 3 4 "b"
end
generate byte touse = 1
global ML_n 2
global ML_samp touse
global ML_x1 x
global ML_x2 x
mlmatbysum lnf H a b
mlmatbysum lnf H a b, by(s)
mlmatbysum lnf H a b, by(id)
sort id t
mlmatbysum lnf H a b c, by(id)
mlmatbysum lnf H a, by(id)
mlmatbysum lnf H0 a b, by(id) eq(1,1)
mlmatbysum lnf H a b, by(id) eq(2,1)
mlmatbysum lnf H a b c d, by(id) eq(2,1)
mlmatbysum lnf H a b c, by(id) eq(3,1)
mlmatbysum lnf H a s, by(id)
mlmatbysum lnf H a b, by(nosuch)
capture matrix list H
display _rc
mlmatbysum lnf H a b, by(id)
matrix list H
mlmatbysum lnf H a b c, by(id) eq(2,1)
matrix list H
_mlmatbysum lnf H, a(a) b(b)
_mlmatbysum lnf H, a(a) b(b) c(c) by(id)
_mlmatbysum lnf H, a(a) by(id)
_mlmatbysum lnf H, a(a) b(b) by(id) eq(1,2)
_mlmatbysum lnf H, a(a) b(b) c(nosuch) by(id) eq(1,2)
_mlmatbysum lnf H, a(a) b(b) by(id)
matrix list H
_mlmatbysum lnf H, a(a) b(b) c(c) by(id) eq(1,2)
matrix list H
* sorted by id and t serves a by(id); sorted by t does not
sort t
_mlmatbysum lnf H, a(a) b(b) by(id)
mlmatbysum lnf H a b, by(t)
matrix list H
