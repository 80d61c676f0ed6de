* a chain of references at one position: 20 replacements are allowed, the 21st fails
global m21 end
global m20 "\$m21"
global m19 "\$m20"
global m18 "\$m19"
global m17 "\$m18"
global m16 "\$m17"
global m15 "\$m16"
global m14 "\$m15"
global m13 "\$m14"
global m12 "\$m13"
global m11 "\$m12"
global m10 "\$m11"
global m9 "\$m10"
global m8 "\$m9"
global m7 "\$m8"
global m6 "\$m7"
global m5 "\$m6"
global m4 "\$m5"
global m3 "\$m4"
global m2 "\$m3"
global m1 "\$m2"
global m0 "\$m1"
* $m1 needs 21 replacements, $m2 needs 20
display "$m2"
display "$m1"
display "$m0"
* a self reference fails at once, and the command does not run
global self "\$self"
display "not shown $self"
* expansion comes before the command, so capture cannot hold back its failure
capture display "$self"
* a line that grows past the limit: the expanded line must stay shorter than 165216 bytes
global a "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
global b "$a$a$a$a$a$a$a$a$a$a"
global c "$b$b$b$b$b$b$b$b$b$b"
global d "$c$c$c$c$c$c$c$c$c$c"
global a1 "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa"
* "local z " and 165207 bytes make 165215: this fits
local z $d$c$c$c$c$c$c$b$b$b$b$b${a}${a1}12345678
display "fits"
* one byte more does not, and the command does not run
local y $d$c$c$c$c$c$c$b$b$b$b$b${a}${a1}123456789
display "[`y']"
