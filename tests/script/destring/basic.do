* destring makes numbers of texts that are numbers; tostring makes texts of numbers.
input str8 a str8 b str10 c str6 d
"1" "1.5" "$1,200" "12%"
"2" "x" "$30" "50%"
" 3" "2.25" "" "5%"
end
destring a, replace
destring b, replace
destring b, generate(b2) force
destring c, replace ignore("$,")
destring d, generate(dd) percent
describe
list
destring a, replace
capture noisily destring c d, generate(c2)
display _rc
capture noisily destring d
display _rc
capture noisily destring d, generate(a)
display _rc
capture noisily destring nosuch, replace
display _rc
* dpcomma: the comma is the decimal point.
clear
input str10 e
"1.234,5"
"7,25"
end
destring e, replace dpcomma
list
* tostring
clear
input x y z
1 1.5 123456
2 . 3
3 0.1 .a
end
tostring x, replace
tostring y, generate(ys)
tostring y, replace format(%3.1f)
tostring z, generate(zs) format(%9.0f)
describe
list
capture noisily tostring x, replace
display _rc
capture noisily tostring y
display _rc
tostring z, replace format(%2.0e)
tostring z, replace format(%2.0e) force
list z
