* encode numbers the texts in sorted order and labels them; decode gives them back.
input str8 s x
"pear" 1
"apple" 2
"" 3
"fig" 4
"apple" 5
end
encode s, generate(n)
describe n
list
label list n
decode n, generate(t)
assert t == s
* An existing label keeps its codes; new texts follow its highest value.
label define fruit 10 "fig" 20 "kiwi"
encode s, generate(m) label(fruit)
list s m, nolabel
label list fruit
* The sample: outside it the code is missing.
encode s if x > 1, generate(k)
list s k, nolabel
decode n in 1/2, generate(u) maxlength(3)
list n u
* Failures leave the data as they were.
capture noisily encode s, generate(m)
display _rc
capture noisily encode x, generate(q)
display _rc
capture noisily decode s, generate(q)
display _rc
capture noisily decode x, generate(q)
display _rc
capture noisily encode s, generate(q) label(fruit2) noextend
display _rc
label define small 1 "pear"
capture noisily encode s, generate(q) label(small) noextend
display _rc
capture noisily encode nosuch, generate(q)
display _rc
capture noisily encode s
display _rc
describe, short
